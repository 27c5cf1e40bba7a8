// CommandArgs and the command-line helpers: splitting a line into arguments and joining
// arguments into a line that splits back to them.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Splits `line` into arguments. Blanks (space, tab, line feed, carriage return) separate
// arguments outside double quotes; a double quote toggles quoting and is dropped, so ""
// is one empty argument; a backslash before a double quote or a backslash stands for that
// character, any other backslash for itself.
//
// The result is one calloc block: the pointer table, a null entry, then the characters;
// one free() releases it all. `*argc` seeds the count and receives the total (seed plus
// the arguments found); the arguments found fill the table from index 0. `line` and
// `argc` may be null.
VEXAPI_API WChar** MakeArgcArgvW(const WChar* line, int* argc);
VEXAPI_API char** MakeArgcArgvA(const char* line, int* argc);

// Joins arguments into one line: each wrapped in double quotes, each double quote and
// backslash in it escaped with a backslash, single blanks between. Splitting the line gives
// the same list back. One calloc block; null entries count as empty arguments.
VEXAPI_API WChar* MakeCommandLineW(int argc, const WChar* const* argv);
VEXAPI_API char* MakeCommandLineA(int argc, const char* const* argv);

// A program's arguments, as a list and as one line: built from either, and the other made
// on first demand.
//
// Ownership: it owns both forms. The form given to the constructor is a deep copy made
// with new[]; the form made on demand is a calloc block from the functions above.
class VEXAPI_API CommandArgs {
public:
    // From a list: copies `argc` strings of `argv` (null entries become empty strings).
    CommandArgs(int argc, const WChar* const* argv);
    // From a line: copies `cmdLine`; `argc` seeds the count that splitting adds to.
    CommandArgs(const WChar* cmdLine, int argc);
    ~CommandArgs();
    CommandArgs(const CommandArgs&) = delete;
    CommandArgs& operator=(const CommandArgs&) = delete;

    // 0 and null when neither form exists (a null list or line was given).
    int argc();
    WChar** argv();
    WChar* cmdLine();

private:
    void split();

    WChar** m_argv;
    WChar* m_cmdLine;
    int m_argc;
    bool m_fromLine; // which constructor ran, and so which form is a deep copy
};
