// aCDataSet: the record grid's data model. Typed columns and numbered rows with a current
// position, raw and nulled row images, null and empty tiles, a direct-mapped row cache, a
// virtual row, sparse display records and text conversion. Subclasses supply the rows.
#pragma once

#include <vexapi/grid/acarrays.h>
#include <vexapi/grid/accolumn.h>
#include <vexapi/grid/acrowerrormap.h>
#include <vexapi/grid/apstypes.h>

#include <vexapi/core/acstring.h>
#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/types.h>

namespace VexAPI {

// What a data set asks of the view that shows it (set by the view with SetOwner).
class VEXAPI_API aCDataSetOwner {
public:
    virtual ~aCDataSetOwner();
    // The cell filter: the slot to show for `slot` of column `col`, and the value to store.
    virtual const void* GetFilter(VLong col, const void* slot) { return slot; }
    virtual const void* SetFilter(VLong col, const void* value) { return value; }
    // A combo set column, and the type and size of its current value; row 0 is the virtual
    // row.
    virtual bool IsComboSetCol(VLong col) { return false; }
    virtual void GetComboSetInfo(VLong col, VLong row, VLong& type, VLong& size)
    {
        type = 0;
        size = 0;
    }
};

// One cache entry's header, followed in the cache block by a nulled row image.
struct TCashEntryHeader {
    VLong status; // the row's read error, 0 when good
    VLong row;    // the row held, 0 for a free entry
};

// The grid's data model.
//
// Rows and columns count from 1; 0 means none in a result. Two current rows: the logical one
// (what the view shows, the virtual row counted) and the physical one (the row of the store,
// the virtual row not counted).
//
// Row images: the raw form is the columns' slots laid end to end by their szData sizes; the
// nulled form (szDataTiled) adds, when null flags are on, one tile byte after each slot
// (apsTileNull, apsTileEmpty). With null flags off the two forms are one. Slots follow the
// column order until SwapCol runs; from then on they follow each column's physical index.
//
// Ownership: the data set owns its column, row and cell records (arrays whose element 0 is a
// default record for columns and rows), the virtual row buffer, the cache, its work rows and
// its block. Customising a row or a cell is the only thing that makes per-row records.
//
// Failures: operations return a short status and leave the last error (GetError); with the
// exception flag on, moves past the ends, invalid data and invalid text also throw
// `new aCDataFailure(code)`; a record number outside the table always throws.
//
// Invariants (checkInvariants):
//  1. The column and row arrays hold their default record at 0; column records are non-null.
//  2. When the column order is permuted, physical indices are a permutation of 1..count.
//  3. The virtual row number is 0 or in 1..GetRowCount(), and there is a buffer exactly when
//     it is not 0.
//  4. Every cache header names row 0 or the row it maps to (ToEntry(row) is its entry).
class VEXAPI_API aCDataSet : public virtual Object {
public:
    aCDataSet();
    ~aCDataSet() override;
    aCDataSet(const aCDataSet&) = delete;
    aCDataSet& operator=(const aCDataSet&) = delete;

    // ---- 1. Column and row attributes (0 or an unknown number: the default record) ----
    virtual VULong GetColState(VLong col);
    virtual bool SetColState(VLong col, VULong state);
    virtual short GetColDisplaySize(VLong col);
    // Stored only when above the minimum display size; the result says whether.
    virtual bool SetColDisplaySize(VLong col, short size);
    virtual bool SetRowDisplaySize(VLong row, short size);
    virtual VULong GetRowState(VLong row);
    virtual short GetRowDisplaySize(VLong row);
    virtual bool SetRowState(VLong row, VULong state);
    virtual const Font& GetHeaderFont(VLong col);
    virtual void SetHeaderFont(VLong col, const Font& font);
    virtual const Font& GetCellFont(VLong col, VLong row = 0);
    virtual void SetCellFont(VLong col, const Font& font);
    virtual VULong GetHeaderTextFormat(VLong col);
    virtual VULong GetCellTextFormat(VLong col, VLong row = 0);
    virtual aCColumn* GetColumn(VLong col);
    // By header name or by identifying name, over columns 1 to count - 1: the last column
    // is deliberately never found (callers rely on it). 0 when not found.
    virtual VLong GetColNum(const WChar* name, bool byHeader = false);
    // On: each blank of the column's header becomes a line feed; off: line feeds dropped.
    virtual void SetNameLineBreak(VLong col, bool on);
    virtual void SetHeaderTextFormat(VLong col, VULong format);
    virtual void SetCellTextFormat(VLong col, VULong format);
    virtual const WChar* GetColName(VLong col);
    virtual const WChar* GetRowName(VLong row);
    virtual void SetColName(VLong col, const WChar* name);
    virtual void SetRowName(VLong row, const WChar* name);
    virtual void SetCellItem(VLong col, VLong row, void* item);
    virtual void SetColItem(VLong col, void* item);
    virtual void SetRowItem(VLong row, void* item);
    void SetAllNameLineBreak(bool on);

    // ---- 2. Definition records ----
    // Replace a record (the old one is destroyed); numbers above the table throw.
    virtual void SetColInfo(VLong col, aCColumn* column);
    virtual void SetRowInfo(VLong row, aCRow* info);
    virtual void SetCellInfo(VLong col, VLong row, aCCellInfo* info);
    // Element 0 for column or row 0 and for rows without a record; a number above the
    // count (or below 0) throws aCDataFailure 2 / 1.
    virtual aCColumn* GetColInfo(VLong col);
    virtual aCRow* GetRowInfo(VLong row);
    // Null when the cell has no record; an index outside rows x columns throws 3.
    virtual aCCellInfo* GetCellInfo(VLong col, VLong row);
    // Appends a column (owned from now on) and gives its number; its physical index is its
    // number (the next index after SwapCol, too).
    virtual VLong AddColDef(aCColumn* column);
    // The row's record, made when missing (a default aCRow, or `info`, then owned).
    virtual aCRow* AddRowDef(VLong row, aCRow* info = nullptr);
    // The cell's record, made from the column when missing.
    virtual aCCellInfo* AddCellDef(VLong col, VLong row);
    virtual void DeleteCellDef(VLong col, VLong row);
    // Removes the column's record and its cell records; the physical indices above its own
    // close the gap. Rows are not rebuilt (DeleteColumn does that).
    virtual void DeleteColDef(VLong col);
    virtual void DeleteRowDef(VLong row);
    virtual VLong GetCellIndex(VLong col, VLong row);
    virtual VLong GetCellDefCount();
    virtual VLong GetRowDefCount();
    virtual void DeleteAllColumn();
    virtual void DeleteAllRow();
    // Swaps two columns' places (and their cell records); the slots stay where they are:
    // from now on slots follow the physical index. False for a bad number.
    virtual bool SwapCol(VLong a, VLong b);
    virtual bool SwapRow(VLong a, VLong b);

    // ---- 3. Searching ----
    // Rows whose columns' texts equal the patterns exactly: mode 1 any column, else all.
    // The row, 0, or -1 when no text buffer could be had.
    virtual VLong GroupFind(VLong count, const VLong* columns, const WChar* const* patterns,
                            VLong startRow, int direction, int mode);
    virtual VLong Find(VLong col, const void* value, VLong startRow, int direction,
                       bool asText, VLong startPos, VLong& foundPos);
    virtual VLong QuickFind(VLong col, const void* value, int direction);
    virtual VLong InternalQuickFind(bool nulled, VLong col, const void* value, int direction);
    virtual VLong InternalFind(bool nulled, VLong col, const void* value, VLong startRow,
                               int direction, bool asText, VLong startPos, VLong& foundPos);

    // ---- 4. Null and empty (slot = a column's slot of a nulled image) ----
    virtual bool IsDataNull(VLong col, const void* slot);
    virtual bool IsDataEmpty(VLong col, const void* slot);
    virtual void ClearTile(VLong col, void* slot);
    virtual void SetDataToNull(VLong col, void* slot);
    virtual void SetDataToEmpty(VLong col, void* slot);
    // False unless null flags and text stamps are on; compares with the stamp of the
    // column's class. IsTextEmpty also accepts "" for number and date columns.
    virtual bool IsTextNull(VLong col, const WChar* text);
    virtual void SetTextToNull(VLong col, WChar* buffer, int size);
    virtual bool IsTextEmpty(VLong col, const WChar* text);
    virtual void SetTextToEmpty(VLong col, WChar* buffer, int size);
    // Raw to nulled and back (see the class comment). Sublimate reports tiles to
    // WriteNullMark / WriteEmptyMark.
    virtual void DissolveNullFlag(const void* raw, void* nulled);
    virtual void SublimateNullFlag(void* raw, const void* nulled);
    // The current row's column: with null flags off IsNull/IsEmpty are false and
    // ToNull/ToEmpty do nothing. Results as SetNulledColData.
    virtual int ToNull(VLong col);
    virtual bool IsNull(VLong col);
    virtual int ToEmpty(VLong col);
    virtual bool IsEmpty(VLong col);

    // ---- 5. Cache ----
    virtual void ClearCash();
    virtual void ClearEntry(VLong entry);
    // Reads `count` rows from `row` into their entries with the exception flag off; 1 when
    // the last one failed.
    virtual int WriteCash(VLong row, VLong count);
    // The cached nulled image of `row` (read on a miss), copied to dest when given; null
    // for row 0 or without a cache. The entry's status becomes the last error.
    virtual const void* ReadCash(VLong row, void* dest = nullptr);
    virtual void SetEntryHeader(VLong entry, VLong status, VLong row);
    virtual TCashEntryHeader* GetEntryHeader(VLong entry);
    virtual void SetEntry(VLong entry, const void* image);
    virtual void* GetEntry(VLong entry);
    // n entries (0 removes the cache); false when n is negative.
    virtual bool SetCash(VLong n);
    // One entry per row, all rows read.
    virtual bool SetFullCash();
    // The entry holding `row`, or 0.
    virtual VLong IsCashed(VLong row);
    // row mod n + 1; 0 for row 0 or without a cache.
    virtual VLong ToEntry(VLong row);

    // ---- 6. Virtual row and position ----
    virtual int SetVirtualRow(VLong at = 0);
    virtual int UnsetVirtualRow();
    virtual void DeleteVirtualRow();
    virtual VLong GetVirtualRow() { return m_virtualRow; }
    // 0 on success, else the last error.
    virtual int MoveToRow(int direction, VLong row = 0, bool useCache = true);
    // The current row's nulled image (see the rules of reading), or null.
    virtual void* GetData(bool useCache = true);
    // form 2 (or 0 with null flags off): GetRowData as it is; else the nulled image.
    virtual void* GetNulledData(int form = 0);
    // Writes a whole image of the current row: form 1 (or 0 with null flags on) nulled, form
    // 2 raw. 0 on success.
    virtual int SetNulledData(const void* image, int form = 0);
    // SetNulledData(image, 0), and the row's cache entry is read again. On the virtual row
    // `image` replaces the buffer: the data set takes it (it must come from malloc) and the
    // old buffer is not released, as callers hand the same buffer back.
    virtual int SetData(void* image);
    // 1 go on, 0 refused, 2 the target is the virtual row.
    virtual int CalcPosition(int direction, VLong row, VLong& logical, VLong& physical);
    virtual bool IsValid(VLong col, const void* value);
    virtual bool IsTextValid(VLong col, const WChar* text);

    // ---- 7. Row changes ----
    // Data (nulled form, from malloc; owned from now on) or null for a zeroed row, at `at`
    // (0 appends). 0 on success. The base stores nothing and only counts.
    virtual int AddRow(void* data = nullptr, VLong at = 0);
    virtual int DeleteRow(VLong at = 0);
    virtual int InsertColumn(aCColumn* column, VLong at = 0);
    virtual int DeleteColumn(VLong at);
    virtual VLong GetCurRow() { return m_curRow; }
    virtual int ConvertDirection(int direction) { return direction; }
    // Puts row `row` of the store (physical) into what GetRowData gives; 0 or an error.
    virtual int ToRow(int direction, VLong row, bool keep) = 0;
    virtual void* GetRowData() = 0;
    virtual int SetRowData(const void* data) { return 0; }
    virtual void UserHook1() {}
    virtual void UserHook2() {}
    virtual void UserHook3() {}
    virtual void UserHook4() {}
    virtual void UserHook5() {}
    // The text of the last error ("" in the base).
    virtual bool GetLastErrorText(WChar* buffer, int size);
    // Whether a raw slot stands for NULL / EMPTY, and how to mark it so (false and nothing
    // in the base: a raw image carries no marking unless a subclass says how).
    virtual bool IsColumnNull(VLong col, const void* rawSlot) { return false; }
    virtual void WriteNullMark(VLong col, void* rawSlot) {}
    virtual bool IsColumnEmpty(VLong col, const void* rawSlot) { return false; }
    virtual void WriteEmptyMark(VLong col, void* rawSlot) {}
    virtual VLong GetRowLimit() { return 0; }
    virtual VLong GetRowCount();

    // ---- 8. Column access of the current row ----
    // The slot in the nulled image (through the owner's filter when on), copied to dest
    // (GetColSize(col, szRealDataTiled) bytes, never more than the slot) when given.
    virtual const void* GetNulledColData(VLong col, void* dest = nullptr);
    // Writes a tiled value: 0 success (or nothing to do), 1 refused (see the last error).
    virtual int SetNulledColData(VLong col, const void* value);
    virtual int IntoCol(VLong col, const void* value);
    virtual bool IsUpdatable(VLong col);
    virtual void SetUpdatable(VLong col, bool on);
    virtual VLong GetColCount();
    virtual bool CanClose() { return true; }
    virtual VLong GetSysError() { return 0; }
    virtual void UserHook6() {}
    // szData bytes of the slot into dest; the slot, or null.
    virtual const void* GetColData(VLong col, void* dest = nullptr);
    virtual int SetColData(VLong col, const void* value);
    virtual int GetColText(VLong col, WChar* buffer, int size);
    virtual int SetColText(VLong col, const WChar* text);

    // ---- 9. Cell access ----
    virtual int SetCellData(VLong col, VLong row, const void* value);
    virtual const void* GetCellData(VLong col, VLong row, void* dest = nullptr);
    virtual int SetCellText(VLong col, VLong row, const WChar* text);
    virtual int GetCellText(VLong col, VLong row, WChar* buffer);
    virtual int GetCellText(VLong col, VLong row, WChar* buffer, int size);
    // Types 2, 3, 4, 5, 8, 13, 14; error 1 (and 0.0) for the others.
    virtual double GetCellNumber(VLong col, VLong row, int& error);
    virtual int SetCellNumber(VLong col, VLong row, double value);
    // The current row's text of the column; the buffer holds TextBufferSize(col) characters.
    virtual void GetColDataAsText(VLong col, WChar* buffer);
    // The same into a buffer of `size` characters.
    virtual void GetColDataAsText(VLong col, WChar* buffer, int size);
    // 0 success (or nothing to do), 1 refused (last error 8 or 7).
    virtual int SetColDataFromText(VLong col, const WChar* text);
    // The free DataToText, then the clip of the space clip mode.
    virtual int DataToText(const aCColumn* column, WChar* buffer, const void* data, int size);
    virtual int TextToData(const aCColumn* column, void* data, const WChar* text, int size);
    // -2 for a null pointer; with `nulled` a NULL on either side gives 0; else -1, 0, 1.
    virtual int CompareData(const aCColumn* column, const void* a, const void* b, bool nulled);
    // A new value (delete[] it as unsigned char) in the target type, or null; the text
    // pointer and blob types give `data` itself.
    virtual void* ConvertData(const void* data, int to, int from);
    // The column whose physical index is k + 1, or 0 at the end.
    virtual VLong GetNextColInRow(VLong k);
    virtual VLong GetColOffset(VLong col, int kind);
    // Zeroed memory for a value of the column (free() it): GetColSize(col, kind) raised to
    // 51 below 50, doubled for the text kinds.
    virtual void* AllocData(VLong col, VLong* length, int kind);
    virtual void* AllocData(VLong col, int kind = szDataTiled);
    virtual VLong GetColSize(VLong col, int kind);
    virtual VLong GetColSize(const aCColumn* column, int kind);
    virtual VLong GetDataSize(int kind);
    virtual VLong RealColSize(VLong col) { return 0; }
    virtual int GetError() { return m_lastError; }
    // Structure and rows into `target`; -1 on a bad range, else 0 or the error met.
    virtual int CopyTo(aCDataSet* target, bool structure, VLong fromRow = 0, VLong toRow = 0,
                       VLong colShift = 0, bool dataOnly = false);
    virtual int CellTo(aCDataSet* target, VLong fromCol, VLong fromRow, VLong toCol,
                       VLong toRow, VLong targetFromCol, VLong targetFromRow,
                       VLong targetToCol, VLong targetToRow);
    virtual const void* GetFilter(VLong col, const void* slot);
    virtual const void* SetFilter(VLong col, const void* value);

    // ---- 10. Moving hooks (signals: (logical, physical) of the new row before a move, of
    // the old row after it) ----
    virtual bool onPreMoving(VLong row, VLong physicalRow) { return true; }
    virtual bool onPostMoving(VLong row, VLong physicalRow) { return true; }
    virtual bool onMoveRefused(VLong row, VLong physicalRow) { return true; }

    // ---- 11. Blob (0 in the base, but for the sizes) ----
    virtual int AppendBlob(VLong col, const void* data, VLong length) { return 0; }
    virtual int ClearBlob(VLong col) { return 0; }
    virtual int GetBlob(VLong col, void* buffer, VLong* length, VLong offset) { return 0; }
    virtual void SetCurrentBlobSize(VLong col, VULong size);
    virtual VULong GetBlobSize(VLong col);
    virtual VULong GetFisicalBlobSize(VLong col) { return GetBlobSize(col); }
    virtual int GetBlobType(VLong col) { return 0; }
    virtual int SetBlob(VLong col, const void* data, VLong length, VLong offset) { return 0; }

    // ---- Flags, stamps and the rest ----
    // Text buffer size (characters) GetColDataAsText(col, buffer) assumes.
    VLong TextBufferSize(VLong col);
    bool SetStampString(int mask, const WChar* text);
    bool GetStampString(int bit, WChar* buffer, int size = 51);
    const WChar* StampOf(VLong col, bool empty);
    void SetSpaceClipMode(int mode) { m_spaceClip = mode; }
    int GetSpaceClipMode() const { return m_spaceClip; }
    void SetExceptionFlag(bool on) { m_exceptions = on; }
    bool GetExceptionFlag() const { return m_exceptions; }
    void SetNullFlags(bool on);
    bool GetNullFlags() const { return m_nullFlags; }
    void SetTextStamps(bool on) { m_textStamps = on; }
    bool GetTextStamps() const { return m_textStamps; }
    void SetValidate(bool on) { m_validate = on; }
    void SetNoVirtualOnAdd(bool on) { m_noVirtualOnAdd = on; }
    void SetFilterOn(bool on) { m_filter = on; }
    void SetRowCountByCounter(bool on, VLong count = 0) { m_countByCounter = on; m_rowCount = count; }
    void SetDataMode(int mode) { m_dataMode = mode; }
    int GetDataMode() const { return m_dataMode; }
    bool IsCached() const { return m_cached; }
    void SetEditableByView(bool on) { m_editableByView = on; }
    bool GetEditableByView() const { return m_editableByView; }
    void SetPhysicalBlobSize(bool on) { m_physBlobSize = on; }
    bool GetPhysicalBlobSize() const { return m_physBlobSize; }
    void SetTrimMode(unsigned char mode) { m_trimMode = mode; }
    unsigned char GetTrimMode() const { return m_trimMode; }
    VLong GetPhysRow() const { return m_physRow; }
    VLong GetCashCount() const { return m_entryCount; }
    bool IsColumnOrderPermuted() const { return m_permuted; }
    void SetOwner(aCDataSetOwner* owner) { m_owner = owner; }
    aCDataSetOwner* GetOwner() const { return m_owner; }
    aCRowErrorMap& GetRowErrorMap() { return m_errorMap; }
    void SetError(int error) { m_lastError = error; }
    int checkInvariants();

    // The process-wide captions: 0 the validation message, 1 the blob cell text format,
    // 2..5 the button texts.
    static const WChar* GetCaption(int i);

protected:
    // Throws `new aCDataFailure(code)` when `always` or the exception flag is on.
    void Fail(int code, bool always = false);
    aCObjectArray* ColArray() { return m_columns; }
    aCObjectArray* RowArray() { return m_rows; }
    aCObjectArray* CellArray() { return m_cells; }
    // The slot of `col` in `image` (nulled form), or null for a bad column.
    unsigned char* SlotOf(void* image, VLong col);
    // Ensures the work rows hold a nulled and a raw image.
    unsigned char* WorkRow(bool raw);
    // Cell records follow a row insertion or deletion of the store.
    void ShiftCellsForRow(VLong at, bool insert);
    void ShiftRowDefs(VLong at, bool insert);
    // Validates a column number: 1..count.
    bool GoodCol(VLong col) { return col >= 1 && col <= GetColCount(); }
    unsigned char* CashBlock() { return m_cash; }
    // A header and a nulled image, rounded up to 8 bytes so that every header is aligned.
    VLong EntrySize() { return VLong(sizeof(TCashEntryHeader)) + (GetDataSize(szDataTiled) + 7) / 8 * 8; }
    // The clip of the space clip mode; `length` is the text's, or -1.
    void ApplyClip(WChar* buffer, int length = -1);
    // The nulled image changed its layout (a column's type or size, the null flags or a
    // stamp changed while rows exist): stored images take the new size. The base resizes the
    // virtual row's buffer.
    virtual void OnImageSizeChanged(VLong oldSize, VLong newSize);
    // Inside OnImageSizeChanged: a new image (malloc) with each column's value moved from its
    // place in the old layout; `image` is freed when `release` says so.
    unsigned char* RelayImage(unsigned char* image, bool release = true);
    // Clamps the logical row into the rows and derives the physical one from it.
    void SyncPosition();
    // Lays the cell records out for new columns: map[i] is the new number of old column
    // i + 1, or 0 when it goes.
    void RelayCells(VLong oldCount, VLong newCount, const VLong* map);
    void SetPositions(VLong logical, VLong physical) { m_curRow = logical; m_physRow = physical; }
    void Uncached() { m_cached = false; }
    void SetVirtualRowNumber(VLong v) { m_virtualRow = v; }
    unsigned char* VirtualBufferPtr() { return m_virtualBuf; }
    // Takes `buffer` (malloc) as the virtual row's buffer; the old one is freed.
    void ReplaceVirtualBuffer(unsigned char* buffer);
    bool GetNoVirtualOnAdd() const { return m_noVirtualOnAdd; }

    aCDataSetOwner* m_owner = nullptr;
    VLong m_rowCount = 0;
    unsigned char* m_block = nullptr;
    VLong m_blockSize = 0;
    int m_dataMode = 0;
    int m_lastError = 0;
    bool m_exceptions = true;

private:
    struct Layout;
    void InvalidateLayout();
    const Layout& GetLayout();
    VLong TextLengthOf(const aCColumn* c, bool currentRow);

    aCObjectArray* m_columns;
    aCObjectArray* m_rows;
    aCObjectArray* m_cells;
    VLong m_curRow = 1;
    VLong m_physRow = 1;
    unsigned char* m_virtualBuf = nullptr;
    VLong m_virtualRow = 0;
    bool m_validate = true;
    bool m_noVirtualOnAdd = true;
    bool m_editableByView = false;
    bool m_cached = false;
    bool m_nullFlags = false;
    bool m_textStamps = false;
    bool m_filter = false;
    bool m_countByCounter = false;
    bool m_physBlobSize = true;
    unsigned char m_trimMode = 0;
    int m_spaceClip = 3;
    unsigned char* m_workRow = nullptr;
    unsigned char* m_rawRow = nullptr;
    VLong m_workSize = 0;
    unsigned char* m_cash = nullptr;
    VLong m_entryCount = 0;
    bool m_permuted = false;
    aCString m_stamps[6];
    aCRowErrorMap m_errorMap;
    Layout* m_layout = nullptr;
    Layout* m_previous = nullptr;
    bool m_previousValid = false;
    unsigned m_stampGen = 0;
};

} // namespace VexAPI
