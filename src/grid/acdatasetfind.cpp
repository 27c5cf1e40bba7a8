// aCDataSet: searching, comparing and converting values, copying to another data set.
#include <vexapi/grid/acdataset.h>

#include "exceptionsoff.h"

#include <vexapi/core/wtext.h>
#include <vexapi/values/qvarn.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace VexAPI {

using detail::ExceptionsOff;

namespace {

template <class T>
int cmp3(const void* a, const void* b)
{
    T x, y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return x < y ? -1 : x > y ? 1 : 0;
}

int textChars(const aCColumn* c)
{
    return c->type == apsChar ? c->size : c->type == apsWide ? c->size / 2 : 0;
}

} // namespace

int aCDataSet::CompareData(const aCColumn* column, const void* a, const void* b, bool nulled)
{
    if (!column || !a || !b)
        return -2;
    if (nulled && m_nullFlags) {
        const VLong tile = GetColSize(column, szDataTiled) - 1;
        if ((static_cast<const unsigned char*>(a)[tile] & apsTileNull) ||
            (static_cast<const unsigned char*>(b)[tile] & apsTileNull))
            return 0;
    }
    switch (column->type) {
    case apsChar:
    case apsWide: {
        // Slots may sit at odd offsets: units are read through memcpy.
        const int n = std::max(0, textChars(column));
        for (int i = 0; i < n; ++i) {
            WChar x, y;
            std::memcpy(&x, static_cast<const unsigned char*>(a) + 2 * i, 2);
            std::memcpy(&y, static_cast<const unsigned char*>(b) + 2 * i, 2);
            if (x != y)
                return x < y ? -1 : 1;
            if (!x)
                break;
        }
        return 0;
    }
    case apsTextPtr: {
        const WChar *x, *y;
        std::memcpy(&x, a, sizeof x);
        std::memcpy(&y, b, sizeof y);
        const WChar none[] = {0};
        const int r = wstrcmp(x ? x : none, y ? y : none);
        return r < 0 ? -1 : r > 0 ? 1 : 0;
    }
    case apsShort: return cmp3<std::int16_t>(a, b);
    case apsLong: return cmp3<std::int32_t>(a, b);
    case apsFloat: return cmp3<float>(a, b);
    case apsDouble: return cmp3<double>(a, b);
    case apsByte: case apsBool: return cmp3<std::uint8_t>(a, b);
    case apsInt64: return cmp3<std::int64_t>(a, b);
    case apsDate: // the arguments go to CMPDATE the other way round, as callers expect
        return CMPDATE(static_cast<const OrvCPP::OrvDate*>(b), static_cast<const OrvCPP::OrvDate*>(a));
    case apsDecimal:
        return CMPDECIMAL(static_cast<const OrvCPP::OrvDec*>(a), static_cast<const OrvCPP::OrvDec*>(b));
    default: // binary, blob: equal
        return 0;
    }
}

void* aCDataSet::ConvertData(const void* data, int to, int from)
{
    if (!data)
        return nullptr;
    if (from == apsTextPtr || from == apsBlob || to == apsTextPtr || to == apsBlob)
        return const_cast<void*>(data);
    const VLong toSize = GetDefTypeSize(to), fromSize = GetDefTypeSize(from);
    if (toSize <= 0)
        return nullptr;
    auto make = [&]() { return new unsigned char[std::size_t(toSize)](); };
    if (to == from) {
        unsigned char* out = make();
        std::memcpy(out, data, std::size_t(std::min(toSize, fromSize)));
        return out;
    }
    double d = 0;
    long long i = 0;
    bool isFloat = false;
    switch (from) {
    case apsDouble: std::memcpy(&d, data, 8); isFloat = true; break;
    case apsFloat: { float f; std::memcpy(&f, data, 4); d = f; isFloat = true; break; }
    case apsLong: { std::int32_t v; std::memcpy(&v, data, 4); i = v; break; }
    case apsShort: { std::int16_t v; std::memcpy(&v, data, 2); i = v; break; }
    case apsInt64: { std::int64_t v; std::memcpy(&v, data, 8); i = v; break; }
    default: return nullptr;
    }
    const bool ok =
        (from == apsDouble && to == apsFloat) ||
        (isFloat && (to == apsLong || to == apsShort || to == apsByte)) ||
        (from == apsLong && to == apsShort) ||
        ((from == apsLong || from == apsShort) && to == apsByte) ||
        (from == apsInt64 && (to == apsLong || to == apsShort || to == apsByte));
    if (!ok)
        return nullptr;
    unsigned char* out = make();
    if (to == apsFloat) {
        const float f = float(d);
        std::memcpy(out, &f, 4);
        return out;
    }
    if (isFloat)
        i = static_cast<long long>(d); // truncating
    // The low bytes (little-endian on every build).
    std::memcpy(out, &i, std::size_t(toSize));
    return out;
}

VLong aCDataSet::InternalFind(bool nulled, VLong col, const void* value, VLong startRow,
                              int direction, bool asText, VLong startPos, VLong& foundPos)
{
    foundPos = 0;
    if (!GoodCol(col) || !value)
        return 0;
    ExceptionsOff off(this);
    if (MoveToRow(dirAbsolute, startRow, true))
        return 0;
    aCColumn* column = GetColInfo(col);
    std::vector<WChar> text(std::size_t(TextBufferSize(col)) + 1);
    const WChar* pattern = static_cast<const WChar*>(value);
    const int patLen = asText ? wstrlen(pattern) : 0;
    bool first = true;
    for (;;) {
        if (asText) {
            if (patLen == 0)
                return m_curRow;
            GetColDataAsText(col, text.data(), int(text.size()));
            const WChar* t = text.data();
            const int len = wstrlen(t);
            if (direction == 1) {
                // Only offsets 0 to the pattern's length are tried.
                for (int p = 0; p <= patLen && p + patLen <= len; ++p)
                    if (wstrncmp(t + p, pattern, patLen) == 0) {
                        foundPos = p + patLen;
                        return m_curRow;
                    }
            } else {
                const int from = first ? std::min<int>(int(startPos), len) : len;
                for (int p = from - patLen; p >= 0; --p) {
                    // From the pattern's last character down to its second.
                    bool hit = true;
                    for (int k = patLen - 1; k >= 1 && hit; --k)
                        hit = t[p + k] == pattern[k];
                    if (hit) {
                        foundPos = p;
                        return m_curRow;
                    }
                }
            }
        } else {
            const void* data = nulled ? GetNulledColData(col) : GetColData(col);
            if (data && CompareData(column, data, value, nulled) == 0)
                return m_curRow;
        }
        first = false;
        if (MoveToRow(direction == 1 ? dirNext : dirPrev, 0, true))
            return 0;
    }
}

VLong aCDataSet::Find(VLong col, const void* value, VLong startRow, int direction, bool asText,
                      VLong startPos, VLong& foundPos)
{
    return InternalFind(false, col, value, startRow, direction, asText, startPos, foundPos);
}

VLong aCDataSet::GroupFind(VLong count, const VLong* columns, const WChar* const* patterns,
                           VLong startRow, int direction, int mode)
{
    if (count <= 0 || !columns || !patterns)
        return 0;
    VLong size = 0;
    for (VLong i = 0; i < count; ++i)
        size = std::max(size, GoodCol(columns[i]) ? TextBufferSize(columns[i]) : 1);
    std::unique_ptr<WChar[]> text(new (std::nothrow) WChar[std::size_t(size) + 1]);
    if (!text)
        return -1;
    ExceptionsOff off(this);
    if (MoveToRow(dirAbsolute, startRow, true))
        return 0;
    for (;;) {
        bool any = false, all = true;
        for (VLong i = 0; i < count; ++i) {
            GetColDataAsText(columns[i], text.get(), int(size) + 1);
            const bool eq = patterns[i] && *patterns[i] && wstrcmp(text.get(), patterns[i]) == 0;
            any = any || eq;
            all = all && eq;
        }
        if (mode == 1 ? any : all)
            return m_curRow;
        if (MoveToRow(direction == 1 ? dirNext : dirPrev, 0, true))
            return 0;
    }
}

VLong aCDataSet::InternalQuickFind(bool nulled, VLong col, const void* value, int direction)
{
    if (!GoodCol(col) || !value)
        return 0;
    ExceptionsOff off(this);
    aCColumn* column = GetColInfo(col);
    VLong low = 0, high = GetRowCount();
    while (low < high) {
        const VLong mid = low == high - 1 ? high : low + (high - low) / 2;
        if (MoveToRow(dirAbsolute, mid, true))
            return 0;
        const void* data = nulled ? GetNulledColData(col) : GetColData(col);
        const int r = CompareData(column, data, value, nulled);
        if (r == 0)
            return mid;
        const bool up = direction == 1 ? r < 1 : !(r < 1);
        if (up) {
            low = mid;
        } else {
            if (mid == high)
                return 0; // the last candidate missed: stop rather than try it forever
            high = mid;
        }
    }
    return 0;
}

VLong aCDataSet::QuickFind(VLong col, const void* value, int direction)
{
    return InternalQuickFind(false, col, value, direction);
}

namespace {

// Copies one cell of the current rows: the slot when both columns hold the same kind of
// value in the same slot shape, else through its text.
int copyCell(aCDataSet* from, VLong fc, aCDataSet* to, VLong tc)
{
    const aCColumn* a = from->GetColInfo(fc);
    const aCColumn* b = to->GetColInfo(tc);
    if (a->type == b->type && from->GetColSize(fc, szDataTiled) == to->GetColSize(tc, szDataTiled) &&
        from->GetNullFlags() == to->GetNullFlags()) {
        const void* slot = from->GetNulledColData(fc);
        return slot ? to->SetNulledColData(tc, slot) : 0;
    }
    std::vector<WChar> text(std::size_t(from->TextBufferSize(fc)) + 1);
    from->GetColDataAsText(fc, text.data(), int(text.size()));
    return to->SetColDataFromText(tc, text.data());
}

} // namespace

int aCDataSet::CopyTo(aCDataSet* target, bool structure, VLong fromRow, VLong toRow,
                      VLong colShift, bool dataOnly)
{
    if (!target || target == this)
        return -1;
    if (structure && !dataOnly) {
        for (VLong c = 1; c <= GetColCount(); ++c) {
            aCColumn* copy = new aCColumn;
            GetColInfo(c)->CopyTo(copy);
            target->AddColDef(copy);
        }
    }
    const VLong count = GetRowCount();
    if (count == 0)
        return 0;
    if (fromRow == 0)
        fromRow = 1;
    if (toRow == 0)
        toRow = count;
    if (fromRow < 1 || toRow > count || fromRow > toRow)
        return -1;
    const bool sameShape = colShift == 0 && target->GetColCount() == GetColCount() &&
                           target->GetNullFlags() == m_nullFlags &&
                           target->GetDataSize(szDataTiled) == GetDataSize(szDataTiled);
    for (VLong r = fromRow; r <= toRow; ++r) {
        MoveToRow(dirAbsolute, r, false);
        if (GetError())
            return GetError();
        target->AddRow(nullptr, 0);
        if (target->GetError())
            return target->GetError();
        const VLong where = target->m_virtualRow ? target->m_virtualRow : target->GetRowCount();
        target->MoveToRow(dirAbsolute, where, false);
        if (target->GetError())
            return target->GetError();
        if (sameShape) {
            void* image = GetData(false);
            if (target->m_virtualRow)
                target->SetData(image);
            else
                target->SetNulledData(image, target->m_nullFlags ? 1 : 2);
        } else {
            for (VLong c = 1; c <= GetColCount(); ++c) {
                const VLong tc = c + colShift;
                if (tc >= 1 && tc <= target->GetColCount())
                    copyCell(this, c, target, tc);
                if (target->GetError())
                    return target->GetError();
            }
        }
        if (target->GetError())
            return target->GetError();
        if (target->m_virtualRow)
            target->UnsetVirtualRow();
        if (target->GetError())
            return target->GetError();
    }
    return 0;
}

int aCDataSet::CellTo(aCDataSet* target, VLong fromCol, VLong fromRow, VLong toCol, VLong toRow,
                      VLong targetFromCol, VLong targetFromRow, VLong targetToCol,
                      VLong targetToRow)
{
    if (!target)
        return -1;
    const VLong n = GetColCount(), count = GetRowCount();
    const VLong tn = target->GetColCount(), tcount = target->GetRowCount();
    if (fromCol == 0) fromCol = 1;
    if (toCol == 0) toCol = n;
    if (fromRow == 0) fromRow = 1;
    if (toRow == 0) toRow = count;
    if (targetFromCol == 0) targetFromCol = 1;
    if (targetToCol == 0) targetToCol = tn;
    if (targetFromRow == 0) targetFromRow = 1;
    if (targetToRow == 0) targetToRow = tcount;
    if (fromCol < 1 || toCol > n || fromCol > toCol || fromRow < 1 || toRow > count ||
        fromRow > toRow || targetFromCol < 1 || targetToCol > tn || targetFromCol > targetToCol ||
        targetFromRow < 1 || targetToRow > tcount || targetFromRow > targetToRow)
        return -1;
    for (VLong r = fromRow, tr = targetFromRow; r <= toRow && tr <= targetToRow; ++r, ++tr) {
        MoveToRow(dirAbsolute, r, false);
        if (GetError())
            return GetError();
        target->MoveToRow(dirAbsolute, tr, false);
        if (target->GetError())
            return target->GetError();
        for (VLong c = fromCol, tc = targetFromCol; c <= toCol && tc <= targetToCol; ++c, ++tc) {
            copyCell(this, c, target, tc);
            if (target->GetError())
                return target->GetError();
        }
    }
    return 0;
}

} // namespace VexAPI
