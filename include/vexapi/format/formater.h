// Formater: the mask-driven field editor and value formatter of format templates. It shows a
// value of a data-source type through a template, takes key codes and characters, keeps the
// caret, and gives back the text, the binary value and the colour by sign.
#pragma once

#include <vexapi/format/patternprocessor.h>
#include <vexapi/format/templatehead.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/datasource/dsdefs.h>

#include <vector>

// Who asks for or hands over the primary text. The grid's own text path is 0; for any other
// caller a date travels in its canonical text form ("yyyy-mm-dd hh:mi:ss.ff") instead of
// the mask's.
enum FormaterCaller { fcGrid = 0, fcOutside = 1 };

// Edits one field's value through a template "<head>;mask" (see TemplateHead for the head
// and PatternProcessor for the mask). A cell of the grid or a data-aware control keeps one
// per edited field: it hands over a buffer with reset(), puts the value in with
// setBinValue(), feeds OnKeyDown() and OnChar(), shows getFormatText() with the caret at
// getFormatPos() in the colour of specialColor(), and takes the value back with
// getBinValue().
//
// Types: tInt, tSmall, tReal, tDouble and tDec are numeric: a sign may be typed at the
// start of the first field, and the first field is shown as a whole number aligned right,
// the second (the decimals) aligned left and filled with zeros; a number reads from its
// input positions and literal points, other literals left out ("$ 1,234.50" is 1234.50).
// tChar and tText are text. tDate is written through the mask's date letters (Y, M, MMM
// for month names, D, H, MI, S, F), or, when the mask has none, as the canonical date
// text; a short year takes the clock's century, a blank month or day is the first, and
// fields beyond their range carry over (31.02. is in March). Other types hold no value.
//
// Where a step would put a character that the mask refuses (a "0" that fills decimals in
// letter positions, a number longer than its field), the step leaves the text as it was:
// the text never holds what its mask does not allow.
//
// Ownership: the buffer belongs to the caller and must outlive the formater's use of it
// (until the next reset); everything else is the formater's own.
//
// Invariants (checkInvariants() tests them, by number):
//  1. With a buffer: 0 <= textLen < capacity and buffer[textLen] is NUL. Without one (null
//     buffer or capacity 0) textLen and caret are 0.
//  2. 0 <= caret <= textLen.
//  3. When not null and the mask fits (maxSym > 0): textLen <= maxSym and
//     fixedLen <= textLen.
//  4. When not null, every position below textLen holds what its element allows: a
//     literal its character; any other element a blank or a character the element takes
//     as it stands; for a numeric type also a sign that only blanks precede in the first
//     field.
//  5. When not null, maxSym == 0 means an empty text.
class VEXAPI_API Formater {
public:
    // The key codes OnKeyDown takes, those of the toolkit's keyboard keys.
    enum Key {
        kInsert = 5,
        kDelete = 6,
        kHome = 7,
        kEnd = 8,
        kLeft = 9,
        kUp = 10,
        kRight = 11,
        kDown = 12
    };
    enum {
        ValueRoom = 300,     // bytes of the binary value
        TextValueChars = 150, // characters of a tText value, terminator included
        PatternLimit = 4096, // characters of a template that are kept
        DateFieldCount = 7
    };
    // Date fields, in the order of their index.
    enum DateField { dfYear, dfMonth, dfDay, dfHour, dfMinute, dfSecond, dfFraction };

    Formater();
    virtual ~Formater();
    // A formater points into its caller's buffer; a copy would write there too.
    Formater(const Formater&) = delete;
    Formater& operator=(const Formater&) = delete;

    // Starts over on `buffer` of `capacity` characters with a value of `type` shown
    // through `pattern`: the value is null, the head is parsed and the mask compiled. A
    // mask with more positions than capacity - 1 does not fit: maxSym is 0 and every
    // editing call reports the assertion "maxSym".
    void reset(WChar* buffer, int capacity, DataSourceAPI::Type type, const WChar* pattern);

    // Keys: Delete, Home, End, Left, Up, Right, Down (Insert and other codes do nothing).
    // Always true.
    bool OnKeyDown(int key);
    // A typed character; 8 is Backspace. Always true; a character the mask refuses is
    // ignored.
    bool OnChar(int ch);
    // Reformats the field under the caret and moves the caret to `pos` (kept within the
    // text). Always false.
    bool OnChangePos(int pos);

    // The text without the display-only characters of the mask ('c'), cut to
    // capacity - 1, into `buffer`; answers its length. Empty when null. An outside caller
    // gets a date in its canonical text.
    int getPrimaryText(WChar* buffer, int capacity, FormaterCaller caller = fcGrid);
    // Puts `text` through the mask; characters the mask refuses are dropped and a text
    // longer than the mask is cut. The value is no longer null. An outside caller gives a
    // date as canonical text: false when it does not read, and blank text makes it null.
    bool setPrimaryText(const WChar* text, FormaterCaller caller = fcGrid);
    int getPrimaryTextLen() const;

    // What to show: the null text when null, else the edited text.
    const WChar* getFormatText() const;
    int getFormatLen() const;
    // The caret, an index into getFormatText().
    int getFormatPos() const { return m_caret; }
    // The template as given (at most PatternLimit characters).
    const WChar* getPattern() const { return m_pattern.constData(); }
    const WChar* textOfNull() const { return m_head.nullText().constData(); }

    // Stores a value of the formater's type read from `value` (tChar and tText
    // terminated, cut to what the value holds) and shows it; `isNull` (or a null pointer)
    // shows the null text. False for a type that holds no value.
    bool setBinValue(const void* value, bool isNull);
    // Reads the text back into the value and copies min(size, valueSize) bytes of it, or
    // zeros `size` bytes when there is none; `isNull` tells whether the value is null.
    // False when the text does not read as a value of the type (the value is then zero,
    // or an invalid date).
    bool getBinValue(void* buffer, int size, bool& isNull);
    bool isNull() const { return m_null; }
    // true: as setBinValue(nullptr, true). false: a null value becomes an empty text.
    void setNull(bool null);
    // Reads the text into the binary value (a null value stays as it is). False when the
    // text does not read as a value of the type.
    bool calcValue();

    // The colour the head gives the last binary value: NULL for null; NEG, ZERO or POS by
    // sign for a numeric type; ZERO for every other type. False when the head set no such
    // colour.
    bool specialColor(FormaterColor& color) const;
    DataSourceAPI::Type getType() const { return m_type; }

    // ---- State, for the controls that draw the text and for tests ----
    const PatternProcessor& processor() const { return m_processor; }
    const TemplateHead& head() const { return m_head; }
    int getMaxSym() const { return m_maxSym; }
    int getFixedLen() const { return m_fixedLen; }
    int getTextLen() const { return m_textLen; }
    const void* value() const { return m_value; }
    int valueSize() const { return m_valueSize; }
    bool hasDateFields() const { return m_hasDateFields; }
    // The date field's first position in the text and its length (0 when absent).
    int dateOffset(int field) const;
    int dateLength(int field) const;
    bool isNumeric() const;
    // 0 when every invariant above holds, else the number of the first that does not.
    int checkInvariants() const;

protected:
    // Editing steps, as the keys call them.
    void NewChar(WChar c);
    void VkBackSpace();
    void VkDelete();
    void VkLeft();
    void VkRight();
    // Reformats field `f` of a numeric type (fields 0 and 1 only).
    void FormatField(int f);
    // Puts every literal in place and the important ones up to fixedLen.
    void FillAllStatics();
    // validChar, and a sign at the start of the first field of a numeric type.
    bool ValidEx(int pos, WChar& c) const;

    // The year that completes a short year field: the clock's. A hook for tests and for
    // applications with a working date of their own.
    virtual int currentYear() const;

private:
    void clearValue();
    void startOver();
    void setTextLen(int len);
    void putChar(int pos, WChar c);
    bool isBlankBelow(int pos) const;
    bool valueIsZero() const;
    bool holdsText(int pos, WChar c) const;
    bool placeField(int begin, const std::vector<WChar>& text);
    bool hasLiteral(WChar c) const;
    std::vector<WChar> primaryText() const;
    std::vector<char> numberText() const;
    bool readNumber();
    bool readText();
    bool readDate();

    // Date fields (formaterdate.cpp).
    void scanDateFields(std::vector<WChar>& mask);
    void mapDateFields();
    void writeDateFields(const void* date);
    bool readDateFields(void* date) const;

    WChar* m_buffer;
    int m_capacity;
    int m_maxSym;
    int m_fixedLen;
    DataSourceAPI::Type m_type;
    WCharString m_pattern;
    alignas(8) unsigned char m_value[ValueRoom];
    int m_valueSize;
    bool m_null;
    int m_textLen;
    int m_caret;
    TemplateHead m_head;
    PatternProcessor m_processor;
    int m_dateOffsets[DateFieldCount];
    int m_dateLengths[DateFieldCount];
    bool m_hasDateFields;
};
