// DataSource's typed access: typed field and parameter reads and writes through the
// conversion matrix, the parameter write with change detection, the typed family, and the
// growing readers of DataRepresentationWithNulls.
#include <vexapi/datasource/datasource.h>

#include <algorithm>

using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace DataSourceAPI {

using namespace DataRepresentationWithNulls;

namespace {

// What a string of `type` needs beyond a reported size, which for hexadecimal text leaves
// the terminator out.
int terminatorRoom(Type type)
{
    return type == tChar ? 1 : type == tText ? 2 : 0;
}

int filled(const DynValueBase& v)
{
    return int(std::min<VLong>(v.realLen, v.capacity()));
}

} // namespace

// ---- Fields ----

bool DataSource::getField(Iterator it, int col, void* buf, int bufLen, Type type, bool* isNull,
                          VLong* realLen) const
{
    const Type own = colType(col);
    if (type == own) {
        getField(it, col, buf, bufLen, isNull, realLen);
        return true;
    }
    ConvValue value;
    DataRepresentationWithNulls::getField(this, it, col, value);
    if (isNull)
        *isNull = value.isNull;
    if (value.isNull)
        return true;
    return convert(buf, bufLen, type, value.data(), filled(value), own, realLen,
                   getBlobEncoding(col));
}

bool DataSource::setField(Iterator it, int col, const void* data, int len, Type type, bool isNull)
{
    const Type own = colType(col);
    if (isNull || type == own) {
        setField(it, col, data, len, isNull);
        return true;
    }
    ConvValue value;
    if (!data || !DataRepresentationWithNulls::convert(value, own, data, len, type,
                                                       getBlobEncoding(col)))
        return false;
    setField(it, col, value.data(), filled(value), false);
    return true;
}

// ---- Parameters ----

bool DataSource::getParam(int param, void* buf, int bufLen, Type type, bool* isNull,
                          VLong* realLen) const
{
    const Type own = paramInfo(param).type();
    if (type == own) {
        getParam(param, buf, bufLen, isNull, realLen);
        return true;
    }
    ConvValue value;
    DataRepresentationWithNulls::getParam(this, param, value);
    if (isNull)
        *isNull = value.isNull;
    if (value.isNull)
        return true;
    return convert(buf, bufLen, type, value.data(), filled(value), own, realLen, nullptr);
}

bool DataSource::setParam(int param, const void* data, int len, Type type, bool isNull,
                          bool* changed)
{
    const Type own = paramInfo(param).type();

    // Step 1: a null is written at once, and then the steps below run as well, with the
    // same arguments. Links rely on both outcomes of this: a null of the parameter's own
    // type reports a change even on a parameter that was null already, and a null of type
    // 0 (what setLinkParams writes for a master on no row) reports none and answers false.
    if (isNull) {
        if (changed) {
            DynValue<> old;
            DataRepresentationWithNulls::getParam(this, param, old);
            *changed = !old.isNull;
        }
        setParam(param, data, len, true);
    }

    // Step 2: the parameter's own type. A null of any other type but 0 converts as a null of
    // this type, whatever `data` points at (a null read leaves its buffer unwritten).
    if (type == own || (isNull && type != tNone)) {
        if (isNull)
            data = nullptr, len = 0;
        if (changed) {
            ConvValue old;
            DataRepresentationWithNulls::getParam(this, param, old);
            *changed = old.isNull || compare(old.data(), filled(old), data, len, own) != 0;
            if (!*changed)
                return true;
        }
        setParam(param, data, len, isNull);
        return true;
    }

    // Step 3: any other type, converted first.
    ConvValue value;
    if (!data || !DataRepresentationWithNulls::convert(value, own, data, len, type, nullptr)) {
        if (changed)
            *changed = false;
        return false;
    }
    if (changed) {
        ConvValue old;
        DataRepresentationWithNulls::getParam(this, param, old);
        *changed = old.isNull || compare(old.data(), filled(old), value.data(), filled(value), own) != 0;
    }
    setParam(param, value.data(), filled(value), isNull);
    return true;
}

// ---- The typed family: writes (the reads are inline) ----

bool DataSource::setFieldInt(Iterator it, int col, VLong value, bool isNull)
{
    return setField(it, col, &value, 4, tInt, isNull);
}

bool DataSource::setFieldSmall(Iterator it, int col, short value, bool isNull)
{
    return setField(it, col, &value, 2, tSmall, isNull);
}

bool DataSource::setFieldReal(Iterator it, int col, float value, bool isNull)
{
    return setField(it, col, &value, 4, tReal, isNull);
}

bool DataSource::setFieldDouble(Iterator it, int col, double value, bool isNull)
{
    return setField(it, col, &value, 8, tDouble, isNull);
}

bool DataSource::setFieldDec(Iterator it, int col, const OrvDec& value, bool isNull)
{
    return setField(it, col, &value, 16, tDec, isNull);
}

bool DataSource::setFieldDate(Iterator it, int col, const OrvDate& value, bool isNull)
{
    return setField(it, col, &value, 16, tDate, isNull);
}

// These three have no length of their own: the column's declared length stands for it
// (texts are read to their terminator whatever it says; bytes are read for that length).
bool DataSource::setFieldChar(Iterator it, int col, const char* value, bool isNull)
{
    return setField(it, col, value, colInfo(col).len(), tChar, isNull);
}

bool DataSource::setFieldText(Iterator it, int col, const WChar* value, bool isNull)
{
    return setField(it, col, value, colInfo(col).len(), tText, isNull);
}

bool DataSource::setFieldByte(Iterator it, int col, const unsigned char* value, bool isNull)
{
    return setField(it, col, value, colInfo(col).len(), tByte, isNull);
}

// ---- Growing readers ----

namespace DataRepresentationWithNulls {

// A source that leaves the outputs alone (a union's missing field) reads as null.

void getField(const DataSource* ds, DataSource::Iterator it, int col, DynValueBase& value)
{
    bool isNull = true;
    VLong len = 0;
    ds->getField(it, col, value.data(), value.capacity(), &isNull, &len);
    value.isNull = isNull;
    value.realLen = len;
    if (!isNull && value.alloc(int(len))) {
        ds->getField(it, col, value.data(), value.capacity(), &isNull, &len);
        value.isNull = isNull;
        value.realLen = len;
    }
}

bool getField(const DataSource* ds, DataSource::Iterator it, int col, Type type,
              DynValueBase& value)
{
    bool isNull = true;
    VLong len = 0;
    bool ok = ds->getField(it, col, value.data(), value.capacity(), type, &isNull, &len);
    value.isNull = isNull;
    value.realLen = len;
    if (ok && !isNull && value.alloc(int(len) + terminatorRoom(type))) {
        ok = ds->getField(it, col, value.data(), value.capacity(), type, &isNull, &len);
        value.isNull = isNull;
        value.realLen = len;
    }
    return ok;
}

void getParam(const DataSource* ds, int param, DynValueBase& value)
{
    bool isNull = true;
    VLong len = 0;
    ds->getParam(param, value.data(), value.capacity(), &isNull, &len);
    value.isNull = isNull;
    value.realLen = len;
    if (!isNull && value.alloc(int(len))) {
        ds->getParam(param, value.data(), value.capacity(), &isNull, &len);
        value.isNull = isNull;
        value.realLen = len;
    }
}

bool getParam(const DataSource* ds, int param, Type type, DynValueBase& value)
{
    bool isNull = true;
    VLong len = 0;
    bool ok = ds->getParam(param, value.data(), value.capacity(), type, &isNull, &len);
    value.isNull = isNull;
    value.realLen = len;
    if (ok && !isNull && value.alloc(int(len) + terminatorRoom(type))) {
        ok = ds->getParam(param, value.data(), value.capacity(), type, &isNull, &len);
        value.isNull = isNull;
        value.realLen = len;
    }
    return ok;
}

} // namespace DataRepresentationWithNulls
} // namespace DataSourceAPI
