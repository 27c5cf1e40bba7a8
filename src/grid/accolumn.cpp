// The grid model's column, cell and substitution records.
#include <vexapi/grid/accolumn.h>

#include <vexapi/core/wtext.h>

namespace VexAPI {

aCColumn::aCColumn() = default;

aCColumn::aCColumn(const WChar* name, int type, VLong size, const WChar* format, short spare1,
                   short spare2, VULong frameKind)
    : type(static_cast<unsigned char>(type)),
      size(GetDefTypeSize(type, size)),
      name(name),
      colName(name),
      format(format && *format ? format : GetDefTypeFormat(type)),
      state(static_cast<VULong>(static_cast<unsigned short>(spare1))),
      frameKind(frameKind)
{
}

aCColumn::~aCColumn() = default;

bool aCColumn::IsValid(const void* data)
{
    if (!data || !validationOn)
        return true;
    return dataValidator ? dataValidator(this, data) : Validate(data);
}

bool aCColumn::IsTextValid(const WChar* text)
{
    if (!text || !validationOn)
        return true;
    return textValidator ? textValidator(this, text) : ValidateText(text);
}

int aCColumn::GetImageIndex(double value)
{
    return imageIndexFn ? imageIndexFn(this, value) : static_cast<int>(value);
}

void aCColumn::InitDefault()
{
    aCColumn fresh;
    minDisplaySize = fresh.minDisplaySize;
    displaySize = fresh.displaySize;
    state = fresh.state;
    frameKind = fresh.frameKind;
    headerImageIndex = fresh.headerImageIndex;
    headerImageMode = fresh.headerImageMode;
    headerImageAlign = fresh.headerImageAlign;
    headerFont = fresh.headerFont;
    cellFont = fresh.cellFont;
    pictureMode = fresh.pictureMode;
    headerTextFormat = fresh.headerTextFormat;
    cellTextFormat = fresh.cellTextFormat;
    backgroundMode = fresh.backgroundMode;
    cellBackground = fresh.cellBackground;
    cellText = fresh.cellText;
    headerBackground = fresh.headerBackground;
    headerText = fresh.headerText;
    ownerDrawHeader = false;
    readOnlyColors = true;
    validationOn = true;
}

void aCColumn::CopyTo(aCColumn* t) const
{
    if (!t || t == this)
        return;
    const VLong phys = t->physIndex;
    t->type = type; t->serverType = serverType; t->size = size; t->blobSize = blobSize;
    t->name = name; t->headerPicture = headerPicture; t->colName = colName; t->format = format;
    t->flag = flag; t->minDisplaySize = minDisplaySize; t->displaySize = displaySize;
    t->state = state; t->frameKind = frameKind; t->headerImageIndex = headerImageIndex;
    t->headerImageMode = headerImageMode; t->headerImageAlign = headerImageAlign;
    t->headerFont = headerFont; t->cellFont = cellFont; t->pictureMode = pictureMode;
    t->headerTextFormat = headerTextFormat; t->cellTextFormat = cellTextFormat;
    t->backgroundMode = backgroundMode; t->cellBackground = cellBackground;
    t->cellText = cellText; t->headerBackground = headerBackground; t->headerText = headerText;
    t->ownerDrawHeader = ownerDrawHeader; t->readOnlyColors = readOnlyColors;
    t->validationOn = validationOn; t->substCount = substCount; t->substTable = substTable;
    t->validationMessage = validationMessage; t->noMessage = noMessage;
    t->imageIndexFn = imageIndexFn; t->dataValidator = dataValidator;
    t->textValidator = textValidator; t->userItem = userItem;
    t->physIndex = phys;
}

const WChar* aCColumn::GetFormat() const
{
    return format.IsEmpty() ? GetDefTypeFormat(type) : format.GetData();
}

bool ProcSubstString(const aCColumn* col, const WChar* in, WChar* out, int outSize)
{
    if (!col || !in || !out || outSize <= 0 || !col->substTable)
        return false;
    const aCSubstStrings* t = col->substTable;
    if (!t->from || !t->to)
        return false;
    const int fromLen = wstrlen(t->from), toLen = wstrlen(t->to);
    // Entry i starts i characters into each table: the stride is one character.
    for (VULong i = 0; i < col->substCount && int(i) < fromLen; ++i) {
        if (wstrcmp(in, t->from + i) == 0) {
            if (int(i) >= toLen) {
                out[0] = 0;
            } else {
                wstrlcpy(out, t->to + i, outSize);
            }
            return true;
        }
    }
    return false;
}

aCCellInfo::aCCellInfo() = default;

aCCellInfo::aCCellInfo(const aCColumn* column)
{
    if (column) {
        textColor = column->cellText;
        backColor = column->cellBackground;
        font = column->cellFont;
    }
}

aCCellInfo::~aCCellInfo() { delete m_focusFrame; }

void aCCellInfo::SetFocusFrame(Object* frame)
{
    if (frame == m_focusFrame)
        return;
    delete m_focusFrame;
    m_focusFrame = frame;
}

} // namespace VexAPI
