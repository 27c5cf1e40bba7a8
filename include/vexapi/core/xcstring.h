// xCString: the 8-bit twin of aCString, with the in-place Russian code-page conversions;
// convertACtoXC / convertXCtoAC between the two.
#pragma once

#include <vexapi/core/acstring.h>
#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace VexAPI {

// An 8-bit text in one exactly sized heap block: the members and invariants of aCString
// (see acstring.h), with `char` units. 16-bit text comes in and goes out through the
// platform's 8-bit charset (getStdCharset; UTF-8 when the conversions do not know it), where
// a character the charset lacks becomes '?'.
class VEXAPI_API xCString {
public:
    static constexpr int MAX_FORMAT_BUFFER = 0x20000;

    xCString();
    xCString(const char* text, int n);
    xCString(const char* text);
    xCString(const xCString& other);
    xCString(xCString&& other) noexcept;
    xCString(const WChar* text);
    xCString(const aCString& text);
    ~xCString();

    xCString& operator=(const xCString& other);
    xCString& operator=(xCString&& other) noexcept;
    xCString& operator=(const char* text);
    xCString& operator=(const WChar* text);
    xCString& operator=(const aCString& text);

    xCString& operator+=(const xCString& other);
    xCString& operator+=(const char* text);
    xCString& operator+=(const WChar* text);

    bool operator==(const xCString& other) const;
    bool operator==(const char* text) const;
    bool operator!=(const xCString& other) const { return !(*this == other); }
    bool operator!=(const char* text) const { return !(*this == text); }

    char operator[](int i) const;
    operator const char*() const { return GetData(); }
    const char* GetData() const;
    int GetLength() const { return static_cast<int>(length); }
    bool IsEmpty() const { return length == 0; }
    void Empty();

    char* GetBuffer(int n);
    char* GetBufferSetLength(int n) { return GetBuffer(n); }
    void ReleaseBuffer(int n = -1);
    void SetAt(int i, char c);

    xCString Mid(int first) const;
    xCString Mid(int first, int count) const;
    xCString Left(int count) const;
    xCString Right(int count) const;

    int Find(char c, int start = 0) const;
    int Find(const char* text, int start = 0) const;
    int ReverseFind(char c) const;
    int Replace(const char* from, const char* to);

    // White space: blank, tab, line feed, vertical tab, form feed, carriage return.
    xCString& Trim();
    xCString& TrimLeft();
    xCString& TrimRight();

    // Formats with the C library's vsnprintf; the buffer limit and its assertion are those of
    // aCString::Format.
    void Format(const char* format, ...);

    // In place over the text, by the conversion of the same name in codepages.h: CP866 is
    // "OEM", CP1251 "ANSI"/"Char", KOI8-R "Koi". Like those, they stop at a zero byte.
    void CharToOemA();
    void OemToCharA();
    void OemToKoi();
    void KoiToOem();
    void AnsiToKoi();
    void KoiToAnsi();

    char* data;
    VULong length;
};

VEXAPI_API xCString operator+(const xCString& a, const xCString& b);

inline bool operator==(const char* text, const xCString& s) { return s == text; }
inline bool operator!=(const char* text, const xCString& s) { return s != text; }

} // namespace VexAPI

// Copies between the two classes through the platform's 8-bit charset.
VEXAPI_API void convertACtoXC(VexAPI::xCString& to, const VexAPI::aCString& from);
VEXAPI_API void convertXCtoAC(VexAPI::aCString& to, const VexAPI::xCString& from);
