// The grid model's records: a column (aCColumn), a customised row (aCRow), a customised
// cell (aCCellInfo), a cell address (aCCell), a thrown failure (aCDataFailure).
#pragma once

#include <vexapi/grid/apstypes.h>
#include <vexapi/grid/gridstyle.h>

#include <vexapi/core/acstring.h>
#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/types.h>

namespace VexAPI {

class aCColumn;

typedef gridstyle::Color Color;
typedef gridstyle::Font Font;
typedef gridstyle::Picture Picture;

// Substitution table of a column: `count` entries; entry i is the text that starts i
// characters into each table (the one-character stride is how tables are written).
struct aCSubstStrings {
    const WChar* from;
    const WChar* to;
};

// Compares `in` with each from-text of the column's table and on a hit copies the matching
// to-text into `out` (at most outSize - 1 characters). False when nothing matched.
VEXAPI_API bool ProcSubstString(const aCColumn* col, const WChar* in, WChar* out, int outSize);

// Column state bits.
enum ApsColState { colNotUpdatable = 1, colHidden = 4, colReadOnly = 16 };
// Frame kinds of a column's in-place editor.
enum ApsFrameKind {
    frameEdit = 1, frameCombo = 2, frameCheck = 3, frameImage = 4, frameComboSet = 6,
    frameButton = 7
};
// Picture mode bits.
enum ApsPictureMode { picTop = 1, picBottom = 2, picCentre = 4, picLeft = 8, picRight = 16,
                      picFit = 32 };

typedef int (*aCImageIndexFn)(const aCColumn* column, double value);
typedef bool (*aCDataValidatorFn)(const aCColumn* column, const void* data);
typedef bool (*aCTextValidatorFn)(const aCColumn* column, const WChar* text);

// The records derive from Object without a virtual base, so that the data set's arrays of
// Object pointers give them back with a plain cast.
//
// A column: its type and size (which decide its slot in the row image), its names and format,
// and what the view needs to show it. The data set owns its columns. Fields are public, as
// the view and applications set them directly; a change of type or size after rows exist is
// the caller's business (InsertColumn / DeleteColumn rebuild rows).
class VEXAPI_API aCColumn : public Object {
public:
    aCColumn();
    // The size is GetDefTypeSize(type, size); an empty format takes the type's default; the
    // first spare short becomes the state flags; `name` is also the identifying name.
    aCColumn(const WChar* name, int type, VLong size = 0, const WChar* format = nullptr,
             short spare1 = 0, short spare2 = 0, VULong frameKind = frameEdit);
    ~aCColumn() override;

    virtual void DrawHeader(void* painter, int left, int top, int right, int bottom) {}
    // True for a null pointer or with validation off; else the validator callback, or
    // Validate.
    virtual bool IsValid(const void* data);
    virtual bool Validate(const void* data) { return true; }
    virtual bool IsTextValid(const WChar* text);
    virtual bool ValidateText(const WChar* text) { return true; }
    // The callback, or the value truncated.
    virtual int GetImageIndex(double value);
    // Resets the display attributes to their defaults (type, size and names stay).
    virtual void InitDefault();
    // Copies everything but the physical index into `target`.
    virtual void CopyTo(aCColumn* target) const;

    // The format in force: the column's own, or the type's default.
    const WChar* GetFormat() const;

    VLong physIndex = 0;
    unsigned char type = apsNone;
    unsigned char serverType = 0;
    VLong size = 0;
    VULong blobSize = 0;
    aCString name;
    Picture headerPicture;
    aCString colName;
    aCString format;
    bool flag = false;
    short minDisplaySize = -1;
    short displaySize = -1;
    VULong state = 0;
    VULong frameKind = frameEdit;
    VLong headerImageIndex = -1;
    VULong headerImageMode = 1;
    VULong headerImageAlign = 4;
    Font headerFont;
    Font cellFont;
    unsigned char pictureMode = picFit;
    VULong headerTextFormat = 2;
    VULong cellTextFormat = 4;
    VULong backgroundMode = 1;
    Color cellBackground = Color::system(gridstyle::SysWindow);
    Color cellText = Color::system(gridstyle::SysButtonText);
    Color headerBackground = Color::system(gridstyle::SysButtonFace);
    Color headerText = Color::system(gridstyle::SysButtonText);
    bool ownerDrawHeader = false;
    bool readOnlyColors = true;
    bool validationOn = true;
    VULong substCount = 0;
    aCSubstStrings* substTable = nullptr; // not owned
    aCString validationMessage;
    VULong noMessage = 0;
    aCImageIndexFn imageIndexFn = nullptr;
    aCDataValidatorFn dataValidator = nullptr;
    aCTextValidatorFn textValidator = nullptr;
    void* userItem = nullptr;
};

// A customised row: made only for rows the application changed.
class VEXAPI_API aCRow : public Object {
public:
    explicit aCRow(short displaySize = -1) : displaySize(displaySize) {}

    aCString name;
    Picture picture;
    VULong state = 0; // colReadOnly (16) is the one bit read
    Font font;
    VULong headerTextFormat = 2;
    short minDisplaySize = -1;
    short displaySize = -1;
    unsigned char pictureMode = picFit;
    void* userItem = nullptr;
};

// A customised cell. It owns its focus frame, if one was given.
class VEXAPI_API aCCellInfo : public Object {
public:
    aCCellInfo();
    // Colours and font taken from the column.
    explicit aCCellInfo(const aCColumn* column);
    ~aCCellInfo() override;
    aCCellInfo(const aCCellInfo&) = delete;
    aCCellInfo& operator=(const aCCellInfo&) = delete;

    void setColor(const Color& text, const Color& background)
    {
        textColor = text;
        backColor = background;
    }
    // The view's in-place editor of this cell. Takes ownership of `frame` (the old one is
    // destroyed); the record destroys it with itself.
    void SetFocusFrame(Object* frame);
    Object* GetFocusFrame() const { return m_focusFrame; }

    Color textColor = Color::system(gridstyle::SysButtonText);
    Color backColor = Color::system(gridstyle::SysWindow);
    Picture picture;
    unsigned char pictureMode = picFit;
    VULong cellTextFormat = 4;
    VULong state = 0;
    VLong backgroundMode = 1; // -1: the column's
    void* userItem = nullptr;
    Font font;

private:
    Object* m_focusFrame = nullptr;
};

// The address of a cell.
class VEXAPI_API aCCell : public Object {
public:
    aCCell(VLong col = 0, VLong row = 0) : col(col), row(row) {}
    bool operator==(const aCCell& o) const { return col == o.col && row == o.row; }
    bool operator!=(const aCCell& o) const { return !(*this == o); }
    VLong col;
    VLong row;
};

// What the grid model throws: `throw new aCDataFailure(code)`; the catcher deletes it.
class VEXAPI_API aCDataFailure : public Object {
public:
    explicit aCDataFailure(short code) : code(code) {}
    short code;
};

} // namespace VexAPI
