// ValueInfo (where one value goes to or comes from in a server call) and BindMap (column or
// parameter numbers mapped to ValueInfos).
#pragma once

#include <vexapi/values/servertypes.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>

namespace OrvCPP {

// The description of one buffer taking part in a server call: the server type of the form
// the value travels in, the buffer and its length in bytes, the null flag (0 a value,
// non-zero null), where the call stores the value's real length, and precision and scale.
//
// A ValueInfo only points at memory; it owns none of it. The pointers must stay valid for
// as long as a BindMap holding the ValueInfo is used in a call.
class ValueInfo {
public:
    // Nothing bound: type orvNone, no buffer.
    ValueInfo()
        : m_buffer(nullptr), m_nullFlag(nullptr), m_realLen(nullptr), m_len(0), m_type(orvNone),
          m_precision(0), m_scale(0)
    {
    }
    // Any form: the general case.
    ValueInfo(short type, void* buffer, VLong len, char* nullFlag, VLong* realLen = nullptr,
              short precision = 0, short scale = 0)
        : m_buffer(buffer), m_nullFlag(nullFlag), m_realLen(realLen), m_len(len), m_type(type),
          m_precision(precision), m_scale(scale)
    {
    }
    // A 32-bit integer (orvInteger).
    ValueInfo(VLong* value, char* nullFlag)
        : ValueInfo(orvInteger, value, VLong(sizeof(VLong)), nullFlag)
    {
    }
    // A 16-bit integer (orvSmallInt): also the form in which a cursor handle is read.
    ValueInfo(unsigned short* value, char* nullFlag)
        : ValueInfo(orvSmallInt, value, VLong(sizeof(unsigned short)), nullFlag)
    {
    }
    // 8-bit text with a terminating zero (orvCString) in a buffer of `len` bytes.
    ValueInfo(char* buffer, VLong len, char* nullFlag, VLong* realLen)
        : ValueInfo(orvCString, buffer, len, nullFlag, realLen)
    {
    }

    short type() const { return m_type; }
    void* buffer() const { return m_buffer; }
    VLong len() const { return m_len; }
    char* nullFlag() const { return m_nullFlag; }
    VLong* realLen() const { return m_realLen; }
    short precision() const { return m_precision; }
    short scale() const { return m_scale; }

    // Whether the flag says null; a ValueInfo without a flag is never null.
    bool isNull() const { return m_nullFlag && *m_nullFlag != 0; }

private:
    void* m_buffer;
    char* m_nullFlag;
    VLong* m_realLen;
    VLong m_len;
    short m_type;
    short m_precision;
    short m_scale;
};

// Column or parameter numbers mapped to ValueInfos, for a call that reads or writes several
// values at once (execute with parameters, fetch, multiFetch).
//
// Invariants:
//  1. Each number is bound at most once; binding it again replaces the earlier ValueInfo.
//  2. Entries are kept in ascending order of their numbers, so `numberAt(0..count()-1)` walks
//     the bindings in column order whatever the order of the `bind` calls.
// Numbers are not negative; 0 is allowed for a call that uses it.
class VEXAPI_API BindMap {
public:
    BindMap();
    ~BindMap();

    void bind(short n, const ValueInfo& info);
    // Removes the binding of `n`; false if there was none.
    bool unbind(short n);
    void clear();

    // The ValueInfo bound to `n`, or null.
    const ValueInfo* find(short n) const;
    bool isBound(short n) const { return find(n) != nullptr; }

    int count() const { return m_entries.size(); }
    short numberAt(int i) const { return m_entries[i].n; }
    const ValueInfo& infoAt(int i) const { return m_entries[i].info; }
    // The highest bound number, or -1 when nothing is bound.
    short maxNumber() const { return count() ? m_entries[count() - 1].n : short(-1); }

private:
    struct Entry {
        short n;
        ValueInfo info;
    };

    // Index of the first entry whose number is not below `n`.
    int lowerBound(short n) const;

    VectorOf<Entry> m_entries;
};

} // namespace OrvCPP
