// VisualObject: the portable root of every widget, with its geometry, its place among its
// parent's children, focus bookkeeping, accelerators and the event handlers.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>
#include <vexapi/core/object.h>
#include <vexapi/core/types.h>
#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/geometry.h>
#include <vexapi/toolkit/region.h>
#include <vexapi/toolkit/virtualkey.h>

#include <vector>

class Container;
class Cursor;
class PaintDevice;

namespace VexAPI { namespace detail { struct VisualObjectAccess; } }

// The sounds of messageBeep.
struct MsgBeep {
    enum Type { Default = 0, Information, Warning, Error, Question };
};

// One accelerator. A table handed to setAccelTable ends at the first entry whose key is 0.
struct VEXAPI_API accelEntry {
    typedef bool (Object::*Callback)(Object*);

    VirtualKey::KeyboardKey key;
    int modifiers;     // bit 0 Ctrl, bit 1 Shift, bit 2 Alt: matched exactly
    void* data;        // handed to onAccelPressed
    Object* object;    // the callback's target
    Callback callback; // may be null
    bool enabled;

    enum { Ctrl = 1, Shift = 2, Alt = 4 };
};

// The portable half of a widget. A concrete widget is a W class that joins this with its
// platform twin through virtual bases; this half holds the state and the rules, the twin
// the native window.
//
// Ownership: whoever holds a widget owns it. A parent never deletes its children; when a
// parent dies each child is left alive with a null parent (onParentDtor, subscribed to the
// parent's onDtor while the child is attached).
//
// The object itself is the node of its parent's child list (List::Node, not virtual). The
// list is in z-order, first child on top.
//
// Invariants (checkInvariants):
//  1. parent is null exactly when the node is unlinked.
//  2. With a parent, the parent's child list holds this node, and its childCount equals the
//     length of that list.
//  3. With a parent, this object is subscribed to the parent's onDtor exactly once.
//  4. width and height are not negative.
//  5. Every accelerator in the table has a non-zero key.
class VEXAPI_API VisualObject : public virtual Object, public List::Node {
public:
    VisualObject();
    ~VisualObject() override;
    VisualObject(const VisualObject&) = delete;
    VisualObject& operator=(const VisualObject&) = delete;

    // ---- place among siblings, and life ----
    virtual void setParent(Container* newParent);
    // Re-inserts this object in front of `above` (null: at the end, the bottom). Nothing
    // happens without a parent, with above == this, or when above has another parent.
    virtual void zmove(VisualObject* above);
    virtual bool create();
    virtual void destroy();

    // ---- handlers: each native event reaches one of these by send ----
    virtual bool onMouseMove(int x, int y, VLong flags) = 0;
    virtual bool onMouseEnter() { return true; }
    virtual bool onMouseLeave() { return true; }
    virtual bool onLButtonDown(int x, int y, VLong flags) = 0;
    virtual bool onLButtonUp(int x, int y, VLong flags) = 0;
    virtual bool onRButtonDown(int x, int y, VLong flags) = 0;
    virtual bool onRButtonUp(int x, int y, VLong flags) = 0;
    virtual bool onLButtonDblClk(int x, int y, VLong flags) = 0;
    virtual bool onRButtonDblClk(int x, int y, VLong flags) = 0;
    virtual bool onMButtonDown(int x, int y, VLong flags) = 0;
    virtual bool onMButtonUp(int x, int y, VLong flags) = 0;
    virtual bool onMButtonDblClk(int x, int y, VLong flags) = 0;
    virtual bool onSize() { return true; }
    virtual bool doPaint(PaintDevice* device) { return true; }
    virtual bool onCreate() { return true; }
    virtual bool onDestroy();
    virtual bool onKeyDown(VirtualKey key) = 0;
    virtual bool onKeyUp(VirtualKey key) = 0;
    virtual bool onChar(WChar* text) = 0;
    // Asked of the focused object before the focus moves away (setFocus, a click): true
    // refuses, and the focus stays.
    virtual bool onLosingFocus() { return false; }
    virtual bool onKillFocus() { return false; }
    virtual bool onSetFocus();
    virtual bool doMove(int x, int y, int w, int h);
    virtual bool onMove() { return true; }
    virtual bool doShow(bool show);
    virtual bool onShow(bool shown) { return true; }
    virtual bool doEnable(bool enable);
    virtual bool onEnable(bool enabled) { return true; }

    // ---- drawing ----
    virtual void invalidate(const Rect& rect) {}
    virtual void invalidate() {}
    virtual void invalidate(int x, int y, int w, int h) {}
    // A null region invalidates nothing.
    virtual void invalidate(const Region& region) {}
    virtual void repaint() {}
    // The shape of the object, in its own window coordinates: outside it nothing is drawn
    // and no mouse is seen. The null region stands for the whole rectangle.
    virtual void setRegion(const Region& region) { m_region = region; }
    virtual Region getRegion() const { return m_region; }

    // ---- geometry and state, stored here ----
    virtual void move(int x, int y, int w, int h);
    virtual void enable(bool enable) {}
    virtual void show(bool show) {}
    virtual bool getEnable() const { return false; }
    virtual bool getShow() const { return false; }
    virtual void client2screen(Rect* rect) = 0;
    virtual void client2screen(int* x, int* y) = 0;
    virtual void screen2client(Rect* rect) = 0;
    virtual void screen2client(int* x, int* y) = 0;
    virtual void mouseCapture() = 0;
    virtual void releaseMouseCapture() = 0;
    virtual bool setFocus() = 0;
    virtual bool setCursor(Cursor* cursor) = 0;
    virtual Cursor* getCursor() const = 0;
    virtual bool setToolTip(const WChar* text) = 0;
    virtual bool getToolTip(WChar* buffer, int size) = 0;
    virtual bool onShowToolTip() { return false; }
    virtual bool onHideToolTip() { return false; }
    virtual Rect getClientRect() = 0;
    virtual bool setForegroundWindow() = 0;
    virtual void setColor(const Color& color) {}
    virtual Color getColor() const { return Color(); }
    virtual void setAutoFill(bool autoFill) {}
    virtual bool getAutoFill() const { return false; }
    virtual bool wantsSysKey(VirtualKey key) { return false; }
    virtual bool messageBeep(MsgBeep::Type type);
    virtual void lockUpdate() = 0;
    virtual void unlockUpdate() = 0;

    // ---- accelerators and dragging ----
    virtual bool onAccelPressed(int index, void* data) { return true; }
    virtual bool doDragDrop(const Object* info) { return false; }
    virtual bool onDragging(const Object* info, bool canDrop) { return true; }
    virtual bool onDragEnter(const Object* info) { return false; }
    virtual bool onDragOver(const Object* info, int x, int y) { return false; }
    virtual bool onDragLeave(const Object* info) { return true; }
    virtual bool onDrop(const Object* info, int x, int y) { return false; }
    virtual bool activateAccel(int index) { return true; }
    virtual bool deactivateAccel(int index) { return true; }
    virtual bool deactivateAllAccels() { return true; }

    // A slot on the parent's onDtor: the parent is dying, this object stays, parentless.
    virtual SlotResult onParentDtor(Object* sender);

    // ---- plain members ----
    bool isCreated() const { return m_created; }
    Container* getParent() const { return m_parent; }
    Rect getRect() const { return Rect(m_left, m_top, m_left + m_width, m_top + m_height); }
    int left() const { return m_left; }
    int top() const { return m_top; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    // Neighbours in the parent's list (null at either end or without a parent).
    VisualObject* prevSibling() const;
    VisualObject* nextSibling() const;
    // This object when the focused object is this one or one of its descendants, else null.
    VisualObject* getChildFocus();

    // The accelerator table. setAccelTable replaces it with the entries up to the first
    // with key 0 (a null table clears it). addAccel gives the new index; indices past the
    // end are refused (false, -1, or no change).
    void setAccelTable(const accelEntry* table);
    int getAccelsCount() const { return int(m_accels.size()); }
    const accelEntry* getAccel(int index) const;
    int addAccel(VirtualKey::KeyboardKey key, int modifiers, void* data = nullptr,
                 Object* object = nullptr, accelEntry::Callback callback = nullptr,
                 bool enabled = true);
    bool delAccel(int index);
    void clearAccelTable();
    bool enableAccel(int index, bool enable);
    // Every entry with this key and these modifiers; false when none matched.
    bool enableAccel(VirtualKey::KeyboardKey key, int modifiers, bool enable);
    // The first enabled entry whose key and modifier bits equal these exactly, or -1.
    int findAccel(VirtualKey::KeyboardKey key, int modifiers) const;

    // The position of the mouse on the screen; the object holding the focus and the one
    // holding the mouse capture, or null when no object of the library does.
    static void getCursorPos(int* x, int* y);
    static VisualObject* getFocus();
    static VisualObject* getMouseCapture();

    int checkInvariants() const;

protected:
    // Geometry in the parent's client coordinates: kept here, never read back from the
    // native window.
    int m_left = 0;
    int m_top = 0;
    int m_width = 0;
    int m_height = 0;
    bool m_created = false;
    Container* m_parent = nullptr;
    Cursor* m_cursor = nullptr;
    Region m_region;

private:
    friend class Container;
    friend struct VexAPI::detail::VisualObjectAccess;
    // Takes this object off its parent: focus pretender, list, count, subscription.
    void detachFromParent();

    std::vector<accelEntry> m_accels;
};
