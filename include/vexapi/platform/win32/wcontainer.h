// WContainer: a container bound to a native window, parent of its children's windows.
#pragma once

#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/container.h>

struct tagNMHDR;

// The children's windows are child windows of this one. Moves of children may be batched
// (deferMoves, one DeferWindowPos batch) so that they repaint once; a container that wants
// it overrides lockMove and unlockMove with beginMoveBatch and endMoveBatch.
class VEXAPI_API WContainer : public virtual Container, public virtual WVisualObject {
public:
    WContainer();
    ~WContainer() override;

    bool onSetFocus() override;
    // The offset of children's coordinates, for containers with an inner origin.
    virtual void adjustPoint(int* x, int* y) {}
    virtual bool onCommand(unsigned short code, unsigned short id, void* hwnd);
    virtual bool onNotify(int id, tagNMHDR* header) { return false; }
    virtual bool onDrawItem(int id, void* item) { return false; }
    std::intptr_t procMessage(unsigned message, std::uintptr_t wParam,
                              std::intptr_t lParam) override;

    bool deferMoves() const { return m_deferMoves; }
    // Container's invariants, then WVisualObject's.
    int checkInvariants() const;
    // The native tool-tip window that holds the tips of the children, made on first use
    // (null until then, or when it cannot be made).
    void* toolTipWindow();

protected:
    // Starts collecting child moves in one batch; endMoveBatch applies them at once.
    void beginMoveBatch();
    void endMoveBatch();

private:
    friend class WVisualObject;
    void* m_batch = nullptr;
    bool m_deferMoves = false;
    void* m_toolTip = nullptr;
};
