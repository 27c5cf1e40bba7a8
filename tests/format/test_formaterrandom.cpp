// Random keys and characters on random templates (fixed seed): after every step the text
// must still fit its mask, checked against a model of the mask built beside the template,
// and the caret must stay inside the text. Values written back and read again are stable.
#include "formatertest.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>
#include <vexapi/core/wstring.h>

using namespace formatertest;
using DataSourceAPI::Type;

namespace {

// What one position of the model accepts.
enum Accepts { Digit, Letter, Alnum, RangeCM, Upper, Lower, Any, Literal };

struct Position {
    Accepts accepts;
    WChar literal;
};

struct Token {
    const char* text;
    std::vector<Position> positions;
};

// The characters typed: every class the mask knows, signs, points, blanks, controls, and
// letters beyond ASCII (with their case partners).
const WChar pool[] = {'0', '1', '5', '9', 'a', 'c', 'd', 'k', 'm', 'z', 'A', 'C', 'M', 'Z', '-',
                      '+', '.', '/', '%', ' ', '_', '#', '\t', 0x7F, 0x00E9, 0x00C9, 0x0416,
                      0x0436, 0x4E2D, 0x0663};

bool isLetter(WChar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == 0x00E9 || c == 0x00C9 ||
           c == 0x0416 || c == 0x0436 || c == 0x4E2D;
}
bool isDigit(WChar c) { return c >= '0' && c <= '9'; }
bool isControl(WChar c) { return c < 0x20 || c == 0x7F; }
bool isLower(WChar c) { return (c >= 'a' && c <= 'z') || c == 0x00E9 || c == 0x0436; }
bool isUpper(WChar c) { return (c >= 'A' && c <= 'Z') || c == 0x00C9 || c == 0x0416; }

bool accepts(const Position& p, WChar c)
{
    switch (p.accepts) {
    case Digit: return isDigit(c);
    case Letter: return isLetter(c);
    case Alnum: return isDigit(c) || isLetter(c);
    case RangeCM: return c > 'c' && c < 'm';
    case Upper: return !isControl(c) && !isLower(c);
    case Lower: return !isControl(c) && !isUpper(c);
    case Any: return !isControl(c);
    case Literal: return c == p.literal;
    }
    return false;
}

const std::vector<Token> plainTokens = {
    {"#", {{Digit, 0}}},         {"A", {{Letter, 0}}},       {"9", {{Alnum, 0}}},
    {"[cm]", {{RangeCM, 0}}},    {"U", {{Upper, 0}}},        {"L", {{Lower, 0}}},
    {"*", {{Any, 0}}},           {"##", {{Digit, 0}, {Digit, 0}}},
    {"\\-", {{Literal, '-'}}},   {"\\#", {{Literal, '#'}}},  {"'%'", {{Literal, '%'}}},
    {".", {{Literal, '.'}}},     {"/", {{Literal, '/'}}},    {" ", {{Literal, ' '}}},
    {"!-", {{Literal, '-'}}},    {"!)", {{Literal, ')'}}},   {"!'='", {{Literal, '='}}},
};

// Date letters, each followed by a literal so that two runs never merge.
const std::vector<Token> dateTokens = {
    {"DD.", {{Digit, 0}, {Digit, 0}, {Literal, '.'}}},
    {"YYYY-", {{Digit, 0}, {Digit, 0}, {Digit, 0}, {Digit, 0}, {Literal, '-'}}},
    {"HH:", {{Digit, 0}, {Digit, 0}, {Literal, ':'}}},
    {"MI ", {{Digit, 0}, {Digit, 0}, {Literal, ' '}}},
    {"MMM/", {{Letter, 0}, {Letter, 0}, {Letter, 0}, {Literal, '/'}}},
};

const Type types[] = {DataSourceAPI::tInt,  DataSourceAPI::tSmall, DataSourceAPI::tChar,
                      DataSourceAPI::tText, DataSourceAPI::tReal,  DataSourceAPI::tDouble,
                      DataSourceAPI::tDec,  DataSourceAPI::tDate};

bool isNumeric(Type t)
{
    return t == DataSourceAPI::tInt || t == DataSourceAPI::tSmall || t == DataSourceAPI::tReal ||
           t == DataSourceAPI::tDouble || t == DataSourceAPI::tDec;
}

// The model's verdict on the shown text: every position holds its literal, a blank or a
// character its class takes; a numeric type may have a sign in front of the first
// field's number.
::testing::AssertionResult fitsModel(const std::vector<Position>& model, Type type,
                                     const Formater& f)
{
    if (f.isNull())
        return f.getFormatPos() == 0 ? ::testing::AssertionSuccess()
                                     : ::testing::AssertionFailure() << "caret on null";
    const WChar* text = f.getFormatText();
    const int len = f.getFormatLen();
    if (len > int(model.size()))
        return ::testing::AssertionFailure() << "text longer than the mask";
    if (f.getFormatPos() < 0 || f.getFormatPos() > len)
        return ::testing::AssertionFailure() << "caret " << f.getFormatPos() << " outside";
    int field0 = 0;
    while (field0 < int(model.size()) && model[std::size_t(field0)].accepts == Literal)
        ++field0;
    bool blanksOnly = true;
    for (int i = 0; i < len; ++i) {
        const Position& p = model[std::size_t(i)];
        const WChar c = text[i];
        const bool inField0 = i >= field0 && p.accepts != Literal &&
                              [&] {
                                  for (int k = field0; k < i; ++k)
                                      if (model[std::size_t(k)].accepts == Literal)
                                          return false;
                                  return true;
                              }();
        const bool ok = p.accepts == Literal ? c == p.literal
                        : c == ' '          ? true
                        : (c == '-' || c == '+') && isNumeric(type) && inField0 && blanksOnly
                            ? true
                            : accepts(p, c);
        if (!ok)
            return ::testing::AssertionFailure()
                   << "position " << i << " holds " << int(c) << " in \"" << N(text) << "\"";
        if (inField0 && c != ' ')
            blanksOnly = false;
    }
    if (text[len] != 0)
        return ::testing::AssertionFailure() << "no terminator at the text's end";
    return ::testing::AssertionSuccess();
}

TEST(FormaterRandom, TextAlwaysFitsItsMask)
{
    std::mt19937 rng(20260322);
    auto pick = [&](int n) { return int(rng() % unsigned(n)); };

    for (int round = 0; round < 400; ++round) {
        const Type type = types[pick(8)];
        std::string mask;
        std::vector<Position> model;
        const int tokens = 1 + pick(10);
        for (int t = 0; t < tokens; ++t) {
            const bool date = type == DataSourceAPI::tDate && pick(2) == 0;
            const Token& token =
                date ? dateTokens[std::size_t(pick(int(dateTokens.size())))]
                     : plainTokens[std::size_t(pick(int(plainTokens.size())))];
            mask += token.text;
            model.insert(model.end(), token.positions.begin(), token.positions.end());
        }
        bool digitsOnly = true;
        for (const Position& p : model)
            digitsOnly = digitsOnly && (p.accepts == Digit || p.accepts == Literal);
        std::string tmpl = pick(3) == 0 ? "<NULLTEXT:-><NEG:1 1 1>;" + mask : mask;
        SCOPED_TRACE("template \"" + tmpl + "\" type " + std::to_string(int(type)));

        std::vector<WChar> buffer(model.size() + 1 + std::size_t(pick(3)));
        TestFormater f;
        f.reset(buffer.data(), int(buffer.size()), type, W(tmpl).c_str());
        ASSERT_EQ(f.getMaxSym(), int(model.size()));
        ASSERT_TRUE(fitsModel(model, type, f));

        std::string log;
        for (int step = 0; step < 300; ++step) {
            const int op = pick(100);
            if (op < 60) {
                const WChar c = pool[pick(int(sizeof pool / sizeof pool[0]))];
                f.OnChar(c);
                log += " c" + std::to_string(int(c));
            } else if (op < 70) {
                f.OnChar(8);
                log += " bs";
            } else if (op < 90) {
                const int key = 5 + pick(8);
                f.OnKeyDown(key);
                log += " k" + std::to_string(key);
            } else if (op < 95) {
                const int pos = pick(int(model.size()) + 4) - 2;
                f.OnChangePos(pos);
                log += " p" + std::to_string(pos);
            } else if (op < 98) {
                // The value read back and written again shows a text that reads back the
                // same again: a second round changes nothing. (Numbers only where the mask
                // holds nothing but digits: a number in letter positions has no text.)
                if (isNumeric(type) && !digitsOnly)
                    continue;
                unsigned char v1[320] = {}, v2[320] = {};
                bool isNull = false;
                f.getBinValue(v1, sizeof v1, isNull);
                f.setBinValue(v1, isNull);
                const std::string shown = N(f.getFormatText());
                f.getBinValue(v2, sizeof v2, isNull);
                f.setBinValue(v2, isNull);
                ASSERT_EQ(N(f.getFormatText()), shown) << log;
                log += " rt";
            } else if (op < 99) {
                f.setNull(true);
                log += " null";
            } else {
                WString text;
                for (int k = pick(int(model.size()) + 3); k > 0; --k)
                    text.push_back(pool[pick(int(sizeof pool / sizeof pool[0]))]);
                f.setPrimaryText(text.c_str());
                log += " set";
            }
            ASSERT_EQ(f.checkInvariants(), 0) << log;
            ASSERT_TRUE(fitsModel(model, type, f)) << log;
        }
    }
}

} // namespace
