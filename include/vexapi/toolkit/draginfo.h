// What a drag carries inside the process: TypicalDragInfo with its copy flag, and DragText.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/wcharstring.h>

// The usual payload of doDragDrop. `copy` says whether the drop copies (true) or moves; a
// source may flip it while the drag runs, from the modifier keys in onDragging.
class VEXAPI_API TypicalDragInfo : public Object {
public:
    explicit TypicalDragInfo(bool copy = false) : copy(copy) {}
    bool copy;
};

// A drag of a piece of text.
class VEXAPI_API DragText : public TypicalDragInfo {
public:
    explicit DragText(const WChar* text = nullptr, bool copy = false);
    const WChar* text() const { return m_text.constData(); }
    void setText(const WChar* text);

private:
    WCharString m_text;
};
