// Conversions between the library's 16-bit text and byte strings in named character sets
// (wcs2mbs, mbs2wcs, mbs2mbs, getStdCharset), and the table of the charsets they know.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wstring.h>

#include <string>

// ---- The charset table ----
//
// One table serves both builds, so a name that works on Linux works on Windows. Names are
// matched without regard to case, against the canonical name and its aliases:
//
//   canonical     aliases                                 Windows code page
//   UTF-8         UTF8                                    65001
//   UTF-16LE      UTF16LE                                 1200
//   UTF-16BE      UTF16BE                                 1201
//   US-ASCII      ASCII ANSI_X3.4-1968 ANSI_X3.4-1986 ... 20127
//   ISO-8859-1    ISO8859-1 ISO_8859-1 LATIN1 L1          28591
//   ISO-8859-2    ISO8859-2 ISO_8859-2 LATIN2 L2          28592
//   ISO-8859-5    ISO8859-5 ISO_8859-5 CYRILLIC           28595
//   ISO-8859-15   ISO8859-15 ISO_8859-15 LATIN-9 LATIN9   28605
//   CP1250..CP1258  WINDOWS-125x                          1250..1258
//   CP874         WINDOWS-874                             874
//   CP866         IBM866 866                              866
//   CP437, CP850, CP855  IBM437, IBM850, IBM855           437, 850, 855
//   KOI8-R        KOI8R                                   20866
//   KOI8-U        KOI8U                                   21866
//
// (charsetCount / charsetAt list the full table with every alias.)
//
// UTF-8, UTF-16 and the two definitional sets US-ASCII and ISO-8859-1 are converted by the
// library itself. Every other charset is a single-byte code page whose byte table comes from
// the platform (iconv on Linux, MultiByteToWideChar on Windows) and is then made to agree:
//  - a byte the code page leaves unassigned decodes to U+FFFD on both builds. Windows maps
//    such bytes of the windows-125x pages and CP874 to the C1 control of the same number
//    (or to a private-use character), where iconv rejects them; the library treats both as
//    unassigned;
//  - KOI8-U follows RFC 2319 (0xAE is U+255D, 0xBE is U+256C); Windows' code page 21866
//    puts the Belarusian short U there instead;
//  - CP1255 0xCA is U+05BA, as in Windows' table; glibc leaves it unassigned.

enum CharsetKind {
    CharsetUtf8,
    CharsetUtf16LE,
    CharsetUtf16BE,
    CharsetAscii,
    CharsetLatin1,
    CharsetSingleByte // a code page whose byte table comes from the platform
};

struct CharsetInfo {
    const char* name;      // canonical name, as getStdCharset reports it
    const char* aliases;   // other accepted names, separated by '|'; may be empty
    const char* iconvName; // the name given to iconv
    unsigned codePage;     // the Windows code page number
    CharsetKind kind;
};

VEXAPI_API int charsetCount();
// The i-th entry (0-based), or null out of range.
VEXAPI_API const CharsetInfo* charsetAt(int i);
// The entry whose name or alias matches `name` without regard to case, or null.
VEXAPI_API const CharsetInfo* findCharset(const char* name);

// ---- Conversions ----
//
// The contract shared by wcs2mbs, mbs2wcs and mbs2mbs:
//  1. Units. A WChar text is counted in WChars, a byte string in bytes. A byte string in
//     UTF-16LE/BE has two-byte units: its terminator is two zero bytes.
//  2. srcLen. A positive srcLen is the number of source units to read; the conversion also
//     stops early at a zero unit, so a fixed-size field padded with zeros converts right.
//     srcLen 0 or negative reads to the source's terminator (callers pass 0 for "the whole
//     text": keep it so). A null source is the empty text.
//  3. dstLen. The size of `dst` in its units, the terminator included. Nothing is written at
//     or past dst[dstLen]. When dstLen > 0 the result is always terminated, so at most
//     dstLen - 1 units of text are written (dstLen - 2 bytes for a UTF-16 target). A
//     character is never split: when its whole sequence (a UTF-8 sequence, a surrogate pair)
//     does not fit, the conversion stops before it.
//  4. Measuring. With a null `dst`, nothing is written and the result is the number of
//     units the whole conversion needs, the terminator not counted.
//  5. Result. The number of units written, the terminator not counted; or -1 when a charset
//     name is null or not in the table, or `dst` is given with a negative dstLen. On -1 a
//     `dst` with dstLen > 0 holds the empty text.
//  6. Replacement. A character the target cannot hold becomes '?' in a single-byte target
//     and U+FFFD in a Unicode one. Malformed source - an unassigned byte of a code page,
//     an ill-formed UTF-8 sequence (each maximal ill-formed part, as Unicode recommends),
//     an odd trailing byte of UTF-16, a lone surrogate - is one U+FFFD, then replaced again
//     by the target's rule. Replacement is not an error: the result counts it.
//  7. Surrogates. WChar text is UTF-16: a surrogate pair is one character, and to UTF-8 it
//     becomes one four-byte sequence; a four-byte UTF-8 sequence becomes a pair.
//  8. Thread safety. The functions keep no state but a table cache that is built once per
//     charset under a lock; they may be called from any thread.

// 16-bit text to a byte string in `charset`.
VEXAPI_API int wcs2mbs(char* dst, const WChar* src, const char* charset, int dstLen, int srcLen);

// A byte string in `charset` to 16-bit text.
VEXAPI_API int mbs2wcs(WChar* dst, const char* src, const char* charset, int dstLen, int srcLen);

// A byte string in `fromCharset` to one in `toCharset`. The source's charset comes first:
// 8-bit text of the platform to UTF-8 is mbs2mbs(dst, src, getStdCharset(), "UTF-8", ...).
VEXAPI_API int mbs2mbs(char* dst, const char* src, const char* fromCharset,
                       const char* toCharset, int dstLen, int srcLen);

// The charset of the platform's 8-bit text: on Linux the current locale's (nl_langinfo
// CODESET; the C locale's "ANSI_X3.4-1968" is reported as "US-ASCII"), on Windows the ANSI
// code page (GetACP). The table's canonical name when the charset is in the table;
// otherwise the platform's own name ("EUC-JP", "CP932"), which the conversions refuse
// with -1. The text is static, or owned by the locale until its next change.
VEXAPI_API const char* getStdCharset();

// ---- Whole texts and UTF-8 ----
// UTF-8 is the encoding of Linux file names, of program arguments and of XML values, so
// these two run wherever 16-bit text meets such a string. They follow the contract above
// (a pair is one four-byte sequence, malformed input becomes U+FFFD); `n` is srcLen.

VEXAPI_API std::string utf8FromWide(const WChar* text, int n = 0);
VEXAPI_API WString wideFromUtf8(const char* text, int n = 0);
