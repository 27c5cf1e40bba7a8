// What the value tests share about streams: ASCII text widened to 16 bits, and the check of
// a value type's operator>> in both widths (what it reads, whether it fails, what it leaves).
#pragma once

#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace valuetesting {

// Each char becomes the unit of the same value: the inputs are ASCII.
inline WString widen(const std::string& s)
{
    WString w;
    for (char c : s)
        w.push_back(WChar(static_cast<unsigned char>(c)));
    return w;
}

// One read: the input, the text of the value read (null: the read fails and leaves an
// invalid value), and what the stream still holds after it.
struct ReadCase {
    const char* input;
    const char* value;
    const char* rest;
};

// Reads each case with operator>> from a narrow and from a wide stream, into a copy of
// `start` (a valid value, so that a failed read is seen to invalidate it); `text` gives the
// canonical text of a value.
template <class Value, class Text, std::size_t N>
void expectStreamReads(const ReadCase (&cases)[N], const Value& start, Text text)
{
    for (const ReadCase& c : cases) {
        for (int width = 0; width < 2; ++width) {
            Value v = start;
            std::string rest;
            bool failed;
            if (width == 0) {
                std::istringstream is(c.input);
                is >> v;
                failed = is.fail();
                is.clear();
                std::getline(is, rest, '\0');
            } else {
                std::basic_istringstream<WChar> is(widen(c.input));
                is >> v;
                failed = is.fail();
                is.clear();
                for (WChar ch; is.get(ch);)
                    rest.push_back(char(ch));
            }
            if (c.value) {
                EXPECT_FALSE(failed) << c.input;
                EXPECT_EQ(text(v), c.value) << c.input;
            } else {
                EXPECT_TRUE(failed) << c.input;
                EXPECT_FALSE(v.isValid()) << c.input;
            }
            EXPECT_EQ(rest, c.rest) << c.input << " width " << width;
        }
    }
}

} // namespace valuetesting
