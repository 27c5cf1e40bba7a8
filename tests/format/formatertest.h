// Helpers of the format template tests: 16-bit text from ASCII and back, key scripts, and
// binary values written and read as text.
#pragma once

#include <vexapi/format/formater.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/core/wstring.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace formatertest {


// ASCII (and Latin-1 bytes) to 16-bit text.
inline WString W(const std::string& s)
{
    WString w;
    for (unsigned char c : s)
        w.push_back(WChar(c));
    return w;
}

// 16-bit text to ASCII; anything else shows as "?".
inline std::string N(const WChar* s, int n = -1)
{
    std::string r;
    for (int i = 0; s && (n < 0 ? s[i] != 0 : i < n); ++i)
        r.push_back(s[i] < 0x80 ? char(s[i]) : '?');
    return r;
}

// A formater whose clock stands in 2026, so that year completion is stable.
class TestFormater : public Formater {
public:
    using Formater::VkDelete;
    int year = 2026;

protected:
    int currentYear() const override { return year; }
};

// Runs a key script: plain characters are typed; "{B}" is Backspace, "{X}" Delete, "{I}"
// Insert, "{H}" Home, "{E}" End, "{L}" Left, "{R}" Right, "{U}" Up, "{D}" Down, "{Pn}"
// moves the caret to n. After each step `each` runs (if given).
template <class Each>
void play(Formater& f, const std::string& script, Each each)
{
    for (std::size_t i = 0; i < script.size(); ++i) {
        if (script[i] != '{') {
            f.OnChar(static_cast<unsigned char>(script[i]));
        } else {
            const std::size_t close = script.find('}', i);
            const std::string k = script.substr(i + 1, close - i - 1);
            i = close;
            switch (k[0]) {
            case 'B': f.OnChar(8); break;
            case 'X': f.OnKeyDown(Formater::kDelete); break;
            case 'I': f.OnKeyDown(Formater::kInsert); break;
            case 'H': f.OnKeyDown(Formater::kHome); break;
            case 'E': f.OnKeyDown(Formater::kEnd); break;
            case 'L': f.OnKeyDown(Formater::kLeft); break;
            case 'R': f.OnKeyDown(Formater::kRight); break;
            case 'U': f.OnKeyDown(Formater::kUp); break;
            case 'D': f.OnKeyDown(Formater::kDown); break;
            case 'P': f.OnChangePos(std::stoi(k.substr(1))); break;
            }
        }
        each();
    }
}

inline void play(Formater& f, const std::string& script)
{
    play(f, script, [] {});
}

// A binary value of `type` from its text: an integer, a number, a decimal, a canonical
// date, or the text itself.
inline std::vector<unsigned char> makeValue(DataSourceAPI::Type type, const std::string& text)
{
    std::vector<unsigned char> v(320, 0);
    switch (type) {
    case DataSourceAPI::tInt: {
        VLong x = VLong(std::stol(text));
        std::memcpy(v.data(), &x, sizeof x);
        break;
    }
    case DataSourceAPI::tSmall: {
        std::int16_t x = std::int16_t(std::stoi(text));
        std::memcpy(v.data(), &x, sizeof x);
        break;
    }
    case DataSourceAPI::tReal: {
        float x = std::stof(text);
        std::memcpy(v.data(), &x, sizeof x);
        break;
    }
    case DataSourceAPI::tDouble: {
        double x = std::stod(text);
        std::memcpy(v.data(), &x, sizeof x);
        break;
    }
    case DataSourceAPI::tDec: {
        OrvCPP::OrvDec x(text.c_str());
        std::memcpy(v.data(), &x, sizeof x);
        break;
    }
    case DataSourceAPI::tDate: {
        OrvCPP::OrvDate x;
        OrvCPP::OrvDate::fromText(text.c_str(), -1, x);
        std::memcpy(v.data(), &x, sizeof x);
        break;
    }
    case DataSourceAPI::tChar:
        std::memcpy(v.data(), text.c_str(), text.size() + 1);
        break;
    case DataSourceAPI::tText: {
        WString w = W(text);
        std::memcpy(v.data(), w.c_str(), (w.size() + 1) * sizeof(WChar));
        break;
    }
    default:
        break;
    }
    return v;
}

// A binary value as text, the reverse of makeValue: numbers in their shortest form.
inline std::string valueText(DataSourceAPI::Type type, const unsigned char* v)
{
    char text[64] = "";
    switch (type) {
    case DataSourceAPI::tInt: {
        VLong x;
        std::memcpy(&x, v, sizeof x);
        return std::to_string(x);
    }
    case DataSourceAPI::tSmall: {
        std::int16_t x;
        std::memcpy(&x, v, sizeof x);
        return std::to_string(x);
    }
    case DataSourceAPI::tReal: {
        float x;
        std::memcpy(&x, v, sizeof x);
        *std::to_chars(text, text + sizeof text, x).ptr = 0;
        return text;
    }
    case DataSourceAPI::tDouble: {
        double x;
        std::memcpy(&x, v, sizeof x);
        *std::to_chars(text, text + sizeof text, x).ptr = 0;
        return text;
    }
    case DataSourceAPI::tDec: {
        OrvCPP::OrvDec x;
        std::memcpy(&x, v, sizeof x);
        x.toText(text, sizeof text);
        return text;
    }
    case DataSourceAPI::tDate: {
        OrvCPP::OrvDate x;
        std::memcpy(&x, v, sizeof x);
        x.toText(text, sizeof text);
        return text;
    }
    case DataSourceAPI::tChar:
        return reinterpret_cast<const char*>(v);
    case DataSourceAPI::tText: {
        WString w;
        for (int i = 0;; ++i) {
            WChar c;
            std::memcpy(&c, v + i * sizeof(WChar), sizeof c);
            if (!c)
                break;
            w.push_back(c);
        }
        return N(w.c_str());
    }
    default:
        return "";
    }
}

// The binary value the formater gives back, as text; "NULL" for null.
inline std::string readBack(Formater& f)
{
    unsigned char v[320] = {};
    bool isNull = false;
    f.getBinValue(v, sizeof v, isNull);
    return isNull ? "NULL" : valueText(f.getType(), v);
}

// The colour specialColor gives, as "r,g,b", or "" for none.
inline std::string colourText(const Formater& f)
{
    FormaterColor c;
    if (!f.specialColor(c))
        return "";
    return std::to_string(c.red()) + "," + std::to_string(c.green()) + "," +
           std::to_string(c.blue());
}

} // namespace formatertest
