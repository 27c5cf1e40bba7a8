// MoveObject: resizes the children of a dialog or form with it, so that a layout made at
// one size works at any other.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/toolkit/geometry.h>

class WVisualObject;

// Places an object itself (updatePosition); gives true when it did, and the scaling rule
// then leaves the object alone.
class VEXAPI_API MoveObjectPositioner {
public:
    virtual ~MoveObjectPositioner();
    virtual bool placeObject(WVisualObject* object) = 0;
};

// One child of the list, the list running from the last child to the first.
struct ChildsListSt {
    WVisualObject* child;
    ChildsListSt* next;
};

// Every rectangle is remembered when the list is made (createChildsList); a resize places
// each child from the stored rectangles of itself and its parent, never from the present
// ones, so no rounding error adds up and the initial size gives the initial layout back.
//
// moveType: 0 a plain widget; 1 an object with children (containers); 2 keeps its width
// and stays at the right edge (unless the parent is proportional) and keeps its height;
// 3 is never moved.
class VEXAPI_API MoveObject {
public:
    MoveObject();
    virtual ~MoveObject();
    MoveObject(const MoveObject&) = delete;
    MoveObject& operator=(const MoveObject&) = delete;

    // Makes the list of `object`, turns the moving on and follows its onSize.
    void MoveInit(WVisualObject* object, bool proportional);
    void MoveReInit(WVisualObject* object);
    // Stops following `object`'s size and frees its list.
    void MoveDeInit(WVisualObject* object);
    // Stores `object`'s rectangles and those of its descendants; null unless `object` has
    // moveType 1 and wants the automatic moves.
    ChildsListSt* createChildsList(WVisualObject* object, bool proportional);
    // Frees this object's list, recursively, and turns the moving off.
    void clearChildsList();
    void MoveChild(WVisualObject* child, WVisualObject* parent);
    // Places each listed child that is still a child of `object`, and their children.
    void MoveDialogComponents(WVisualObject* object);

    int moveType() const { return m_moveType; }
    void setMoveType(int type) { m_moveType = type; }
    bool moveEnabled() const { return m_moveEnabled; }
    bool proportional() const { return m_proportional; }
    Rect storedRect() const { return m_storedRect; }
    const ChildsListSt* childsList() const { return m_childsList; }

private:
    bool m_moveEnabled = false;
    bool m_proportional = false;
    int m_moveType = 0;
    Rect m_storedRect;
    ChildsListSt* m_childsList = nullptr;
};
