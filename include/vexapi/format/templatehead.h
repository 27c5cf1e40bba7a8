// The head of a format template: the colour sections "<NEG:r g b>", "<ZERO:...>",
// "<POS:...>", "<NULL:...>" and the null text "<NULLTEXT:text>" before the first ";".
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>

// A colour as a template states it: red in the low byte of `rgb`, then green, then blue,
// the layout of the toolkit's Color, which is built from `rgb`. The default is black.
struct VEXAPI_API FormaterColor {
    VULong rgb;

    FormaterColor() : rgb(0) {}
    FormaterColor(int red, int green, int blue)
        : rgb(VULong(red & 0xFF) | (VULong(green & 0xFF) << 8) | (VULong(blue & 0xFF) << 16))
    {
    }
    int red() const { return int(rgb & 0xFF); }
    int green() const { return int((rgb >> 8) & 0xFF); }
    int blue() const { return int((rgb >> 16) & 0xFF); }
    bool operator==(const FormaterColor& o) const { return rgb == o.rgb; }
    bool operator!=(const FormaterColor& o) const { return rgb != o.rgb; }
};

// The parsed head of a template: four colours, which of them the head set, and the text
// shown for null.
//
// Grammar: the head is everything before the template's first ";" (no ";" means no head).
// It is a run of sections "<NAME:content>"; text between sections is ignored. NAME is
// compared without regard to case (blanks around it are ignored) with NEG, ZERO, POS,
// NULL and NULLTEXT. A colour's content is three decimal integers from 0 to 255 separated
// by blanks or commas; NULLTEXT's content is the rest of the section with its backslash
// escapes removed, and a ">" escaped as "\>" does not end the section. A section without
// ":", with an unknown name or with a colour that does not read as three such integers is
// skipped; the scan ends where a "<" or its ">" is missing. Later sections win.
//
// Invariants: a colour's flag is set exactly when a section set that colour; a colour whose
// flag is clear is black.
class VEXAPI_API TemplateHead {
public:
    enum ColorFlag { cfNeg = 1, cfZero = 2, cfPos = 4, cfNull = 8 };

    TemplateHead();
    void clear();

    // Parses the head of `tmpl` (`length` units, or up to its terminator when negative)
    // and answers the offset of the mask: one behind the first ";", or 0.
    int parse(const WChar* tmpl, int length = -1);
    // The offset of the mask in `tmpl` without parsing the head.
    static int maskOffset(const WChar* tmpl, int length = -1);

    const FormaterColor& negColor() const { return m_neg; }
    const FormaterColor& zeroColor() const { return m_zero; }
    const FormaterColor& posColor() const { return m_pos; }
    const FormaterColor& nullColor() const { return m_null; }
    // Bit 0 NEG, bit 1 ZERO, bit 2 POS, bit 3 NULL.
    unsigned char colorFlags() const { return m_flags; }
    const WCharString& nullText() const { return m_nullText; }

private:
    void parseSection(const WChar* s, int n);

    FormaterColor m_neg, m_zero, m_pos, m_null;
    unsigned char m_flags;
    WCharString m_nullText;
};
