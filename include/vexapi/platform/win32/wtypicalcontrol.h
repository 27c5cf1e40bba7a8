// WTypicalControl: a standard control on a native window, holding its text, colours,
// relief, font and border.
#pragma once

#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/typicalcontrol.h>

// Before the window exists every value is stored; _create applies them all. With a window
// the text lives in the window (a native edit changes it by itself); the other values stay
// here and are applied at once. The font is kept here too, so that its platform handle
// lives as long as the window uses it.
//
// Colours: the parent container answers the control's WM_CTLCOLOR* message with
// colourBrush: text and background colours on the context, a brush of the background.
// Default colours: the window text on the button face (the library's window background);
// a control class with other native defaults sets its own in its constructor.
class VEXAPI_API WTypicalControl : public virtual TypicalControl, public virtual WVisualObject {
public:
    WTypicalControl();
    ~WTypicalControl() override;

    // A window of the library's own class with the stored values applied.
    bool create() override;

    void setText(const WChar* text) override;
    int getText(WChar* buffer, int size) override;
    int getTextLen() override;
    void setTextColor(const Color& color) override;
    Color getTextColor() const override { return m_textColor; }
    void setBkColor(const Color& color) override;
    Color getBkColor() const override { return m_bkColor; }
    bool setRelief(Relief relief) override;
    Relief getRelief() const override { return m_relief; }
    void setFont(const Font& font) override;
    Font getFont() const override { return m_font; }
    void setBorder(bool border) override;
    bool getBorder() const override { return m_border; }
    void getSizeHint(int* width, int* height) override;

    VULong setupStyle(VULong style) override;
    VULong setupExStyle(VULong exStyle) override;

    // Sets the colours on `context` (an HDC) and gives the background brush (an HBRUSH),
    // made anew each time; the former one is deleted.
    void* colourBrush(void* context);

protected:
    // Applies the stored text, font and frame to the window just made.
    bool _create();
    // Makes a native control of `className`, bound to the common window procedure, and
    // applies the stored values.
    bool createControl(const WChar* className);

private:
    void applyFrame();

    WString m_text;
    Color m_textColor;
    Color m_bkColor;
    Font m_font;
    Relief m_relief = ReliefFlat;
    bool m_border = false;
    void* m_bkBrush = nullptr;
};
