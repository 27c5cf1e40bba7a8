// TypicalControl: what every standard control has: a text, colours, a relief, a font and
// a border.
#pragma once

#include <vexapi/core/wstring.h>
#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/font.h>
#include <vexapi/toolkit/visualobject.h>

// The frame drawn around a control's client area.
enum Relief : int {
    ReliefFlat = 0,   // none
    ReliefSunken = 1, // a deep sunken edge, as around an input field
    ReliefRaised = 2, // a raised double edge
    ReliefThin = 3    // a thin sunken edge, as around a read-only field
};

// Declares the operations only: the platform twin holds the values, so that what the
// native control changes by itself (the text a user types) is read from where it lives.
class VEXAPI_API TypicalControl : public virtual VisualObject {
public:
    TypicalControl();
    ~TypicalControl() override;

    virtual void setText(const WChar* text) = 0;
    // Copies at most size - 1 characters and a terminator; gives the characters copied.
    // A null buffer or a size below 1 copies nothing and gives 0.
    virtual int getText(WChar* buffer, int size) = 0;
    virtual int getTextLen() = 0;
    virtual void setTextColor(const Color& color) = 0;
    virtual Color getTextColor() const = 0;
    virtual void setBkColor(const Color& color) = 0;
    virtual Color getBkColor() const = 0;
    // A value outside the Relief enum is refused (false), the relief unchanged.
    virtual bool setRelief(Relief relief) = 0;
    virtual Relief getRelief() const = 0;
    virtual void setFont(const Font& font) = 0;
    virtual Font getFont() const = 0;
    virtual void setBorder(bool border) = 0;
    virtual bool getBorder() const = 0;
    // The control's natural size: its text in its font, and its frame.
    virtual void getSizeHint(int* width, int* height) = 0;
};
