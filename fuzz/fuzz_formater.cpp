// Compiles arbitrary templates for every type and drives arbitrary keys, characters, caret
// moves and values through the formater, checking its invariants after every step: the
// text always fits its mask and the caret stays inside it.
#include <vexapi/core/vexassert.h>
#include <vexapi/format/formater.h>
#include <vexapi/format/patternprocessor.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

// A template that does not fit its buffer reports "maxSym" on every editing call; the run
// goes on to show that nothing breaks after the report.
int g_reports = 0;
void countReport(const char*, const char*, int) { ++g_reports; }

struct Input {
    const std::uint8_t* data;
    std::size_t size;
    std::size_t pos;

    bool more() const { return pos < size; }
    unsigned byte() { return pos < size ? data[pos++] : 0; }
    WChar unit()
    {
        unsigned hi = byte();
        return WChar((hi << 8) | byte());
    }
};

// Template text: bytes up to a 0 byte; 0x01 takes the next two bytes as one 16-bit unit.
std::vector<WChar> readTemplate(Input& in)
{
    std::vector<WChar> t;
    while (in.more()) {
        unsigned b = in.byte();
        if (b == 0)
            break;
        t.push_back(b == 1 ? in.unit() : WChar(b));
    }
    t.push_back(0);
    return t;
}

void checkProcessor(const PatternProcessor& p)
{
    for (int f = 0; f < p.fieldCount(); ++f) {
        check(p.beginField(f) < p.endField(f));
        check(f + 1 == p.fieldCount() || p.endField(f) <= p.beginField(f + 1));
        for (int i = p.beginField(f); i < p.endField(f); ++i)
            check(!p.isLiteral(i) && p.curField(i) == f);
    }
    for (int i = 0; i < p.count(); ++i)
        check(p.sourceBegin(i) < p.sourceEnd(i) && p.elementAt(p.sourceBegin(i)) == i);
}

void checkFormater(Formater& f)
{
    check(f.checkInvariants() == 0);
    const WChar* text = f.getFormatText();
    check(text != nullptr);
    int n = 0;
    while (text[n])
        ++n;
    check(n == f.getFormatLen());
    check(f.getFormatPos() >= 0 && f.getFormatPos() <= (f.isNull() ? 0 : f.getTextLen()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    VexAPI::setAssertHandler(&countReport);
    Input in = {data, size, 0};
    const auto type = static_cast<DataSourceAPI::Type>(in.byte() % 12);
    const int capacity = int(in.byte() % 72);
    std::vector<WChar> tmpl = readTemplate(in);

    // The buffer has guard units on both sides that must survive.
    std::vector<WChar> buffer(std::size_t(capacity) + 2, WChar(0xBEEF));
    WChar* text = buffer.data() + 1;
    Formater f;
    f.reset(capacity ? text : nullptr, capacity, type, tmpl.data());
    checkProcessor(f.processor());
    checkFormater(f);

    unsigned char value[320];
    unsigned char out[320];
    std::vector<WChar> primary(80);
    while (in.more()) {
        const unsigned op = in.byte();
        switch (op) {
        case 0: // a value of the type from the next 16 bytes, terminated for the texts
            std::memset(value, 0, sizeof value);
            for (int i = 0; i < 16; ++i)
                value[i] = std::uint8_t(in.byte());
            f.setBinValue(value, false);
            break;
        case 1:
            f.setBinValue(nullptr, true);
            break;
        case 2: {
            bool isNull = false;
            f.getBinValue(out, int(in.byte() % sizeof out), isNull);
            check(isNull == f.isNull());
            break;
        }
        case 3:
            f.OnChangePos(int(in.byte()) - 8);
            break;
        case 4: {
            const int cap = int(in.byte() % primary.size());
            const int len = f.getPrimaryText(cap ? primary.data() : nullptr, cap,
                                             FormaterCaller(in.byte() & 1));
            check(len >= 0 && (cap == 0 || len < cap));
            break;
        }
        case 5: { // set the primary text from the next bytes up to a 0
            std::vector<WChar> t = readTemplate(in);
            f.setPrimaryText(t.data(), FormaterCaller(in.byte() & 1));
            break;
        }
        case 6:
            f.setNull(in.byte() & 1);
            break;
        case 7: {
            FormaterColor color;
            f.specialColor(color);
            break;
        }
        case 8:
            f.OnChar(8);
            break;
        case 9:
            f.OnChar(in.unit());
            break;
        case 10:
            f.calcValue();
            break;
        default:
            if (op >= 0xF0)
                f.OnKeyDown(int(op - 0xF0)); // 0..15: the keys and some that are not
            else
                f.OnChar(int(op));
            break;
        }
        checkFormater(f);
        check(buffer.front() == 0xBEEF && buffer.back() == 0xBEEF);
    }
    return 0;
}
