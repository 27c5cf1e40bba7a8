// The C-style decimal and date routines: thin wrappers over OrvDec and OrvDate that add the
// conventions of the routines (status codes, null checks, unchanged output on failure).
#include <vexapi/values/qvarn.h>

#include <limits>

using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace {

template <class C>
int strToDec(const C* text, OrvDec* result, int length)
{
    if (!text || !result)
        return QV_EARG;
    return OrvDec::fromText(text, length, *result);
}

template <class C>
int decToStr(const OrvDec* value, C* buffer, int size, int decimals)
{
    if (!value || !buffer || size < 0 || decimals < -1 || decimals > OrvDec::MaxScale)
        return QV_EARG;
    if (decimals < 0 || !value->isValid())
        return value->toText(buffer, size);
    OrvDec rounded = value->rescale(decimals);
    if (!rounded.isValid()) {
        if (size > 0)
            buffer[0] = 0;
        return QV_ERANGE;
    }
    return rounded.toText(buffer, size);
}

template <class C>
int tickToStr(const OrvDate* date, const C* format, C* buffer, int size)
{
    if (!date)
        return QV_EARG;
    return date->format(format, buffer, size);
}

template <class C>
int strToTick(const C* text, const C* format, OrvDate* result, int length)
{
    if (!text || !result)
        return QV_EARG;
    return OrvDate::parse(text, length, format, *result);
}

} // namespace

int STRTODEC(const char* text, OrvDec* result, int length)
{
    return strToDec(text, result, length);
}

int STRTODEC(const WChar* text, OrvDec* result, int length)
{
    return strToDec(text, result, length);
}

int DECTOSTR(const OrvDec* value, char* buffer, int size, int decimals)
{
    return decToStr(value, buffer, size, decimals);
}

int DECTOSTR(const OrvDec* value, WChar* buffer, int size, int decimals)
{
    return decToStr(value, buffer, size, decimals);
}

int TICKTOSTRF(const OrvDate* date, const char* format, char* buffer, int size)
{
    return tickToStr(date, format, buffer, size);
}

int TICKTOSTRF(const OrvDate* date, const WChar* format, WChar* buffer, int size)
{
    return tickToStr(date, format, buffer, size);
}

int STRTOTICKF(const char* text, const char* format, OrvDate* result, int length)
{
    return strToTick(text, format, result, length);
}

int STRTOTICKF(const WChar* text, const WChar* format, OrvDate* result, int length)
{
    return strToTick(text, format, result, length);
}

int COPYDEC(OrvDec* to, const OrvDec* from)
{
    if (!to || !from)
        return QV_EARG;
    // Through the value's own accessors, so that a broken image arrives as Invalid rather
    // than being copied on.
    OrvDec copy = *from;
    if (!copy.isValid())
        copy.setStatus(copy.status());
    else
        copy = OrvDec::fromParts(copy.coefficientLow(), copy.coefficientHigh(), copy.scale(),
                                 copy.isNegative());
    *to = copy;
    return QV_OK;
}

int CMPDATE(const OrvDate* a, const OrvDate* b)
{
    if (!a || !b)
        return a ? 1 : b ? -1 : 0;
    return OrvDate::compare(*a, *b);
}

int CMPDECIMAL(const OrvDec* a, const OrvDec* b)
{
    if (!a || !b)
        return a ? 1 : b ? -1 : 0;
    return OrvDec::compare(*a, *b);
}

int SETDECSTATUS(int status, OrvDec* value)
{
    if (!value || (status != OrvDec::Invalid && status != OrvDec::Valid &&
                   status != OrvDec::Overflow))
        return QV_EARG;
    value->setStatus(OrvDec::Status(status));
    return QV_OK;
}

double DecToDbl(const OrvDec* value)
{
    if (!value)
        return std::numeric_limits<double>::quiet_NaN();
    return static_cast<double>(*value);
}
