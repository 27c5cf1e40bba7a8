// CommandArgs, and the splitting and joining of command lines in their one-block layout.
#include <vexapi/app/commandargs.h>

#include <vexapi/core/wtext.h>

#include <cstdlib>
#include <cstring>

namespace {

template <class T>
bool isBlank(T c)
{
    return c == T(' ') || c == T('\t') || c == T('\n') || c == T('\r');
}

// One scan of a line, used twice: first with null `table` and `out` to count the
// arguments and the characters (terminators included), then to store them.
template <class T>
void scanLine(const T* line, int& args, std::size_t& chars, T** table, T* out)
{
    bool inArgument = false;
    bool inQuotes = false;
    args = 0;
    chars = 0;
    for (const T* p = line; p && *p; ++p) {
        T c = *p;
        if (!inQuotes && isBlank(c)) {
            if (inArgument) {
                if (out)
                    out[chars] = T(0);
                ++chars;
                inArgument = false;
            }
            continue;
        }
        if (!inArgument) {
            // Any character opens an argument, a double quote too: "" is one empty argument.
            if (table)
                table[args] = out + chars;
            ++args;
            inArgument = true;
        }
        if (c == T('"')) {
            inQuotes = !inQuotes;
            continue;
        }
        if (c == T('\\') && (p[1] == T('"') || p[1] == T('\\')))
            c = *++p;
        if (out)
            out[chars] = c;
        ++chars;
    }
    if (inArgument) {
        if (out)
            out[chars] = T(0);
        ++chars;
    }
}

template <class T>
T** makeArgcArgv(const T* line, int* argc)
{
    int seed = argc && *argc > 0 ? *argc : 0;
    int found = 0;
    std::size_t chars = 0;
    scanLine<T>(line, found, chars, nullptr, nullptr);

    // The table has a slot for every counted argument (seed included) and the null entry;
    // calloc leaves the slots that the seed adds null.
    int total = seed + found;
    std::size_t tableBytes = (std::size_t(total) + 1) * sizeof(T*);
    void* block = std::calloc(1, tableBytes + chars * sizeof(T));
    if (!block)
        return nullptr;
    T** table = static_cast<T**>(block);
    T* text = reinterpret_cast<T*>(static_cast<char*>(block) + tableBytes);
    scanLine<T>(line, found, chars, table, text);
    if (argc)
        *argc = total;
    return table;
}

template <class T>
T* makeCommandLine(int argc, const T* const* argv)
{
    if (argc < 0 || !argv)
        argc = 0;
    std::size_t length = 1;
    for (int i = 0; i < argc; ++i) {
        length += 2 + (i > 0 ? 1 : 0);
        for (const T* p = argv[i]; p && *p; ++p)
            length += (*p == T('"') || *p == T('\\')) ? 2 : 1;
    }
    T* line = static_cast<T*>(std::calloc(length, sizeof(T)));
    if (!line)
        return nullptr;
    T* out = line;
    for (int i = 0; i < argc; ++i) {
        if (i > 0)
            *out++ = T(' ');
        *out++ = T('"');
        for (const T* p = argv[i]; p && *p; ++p) {
            if (*p == T('"') || *p == T('\\'))
                *out++ = T('\\');
            *out++ = *p;
        }
        *out++ = T('"');
    }
    *out = T(0);
    return line;
}

} // namespace

WChar** MakeArgcArgvW(const WChar* line, int* argc)
{
    return makeArgcArgv<WChar>(line, argc);
}

char** MakeArgcArgvA(const char* line, int* argc)
{
    return makeArgcArgv<char>(line, argc);
}

WChar* MakeCommandLineW(int argc, const WChar* const* argv)
{
    return makeCommandLine<WChar>(argc, argv);
}

char* MakeCommandLineA(int argc, const char* const* argv)
{
    return makeCommandLine<char>(argc, argv);
}

CommandArgs::CommandArgs(int argc, const WChar* const* argv)
    : m_argv(nullptr), m_cmdLine(nullptr), m_argc(0), m_fromLine(false)
{
    if (!argv)
        return;
    m_argc = argc > 0 ? argc : 0;
    m_argv = new WChar*[std::size_t(m_argc) + 1];
    for (int i = 0; i < m_argc; ++i)
        m_argv[i] = wstrdup(argv[i] ? argv[i] : WSTR("")); // null entries become empty
    m_argv[m_argc] = nullptr;
}

CommandArgs::CommandArgs(const WChar* cmdLine, int argc)
    : m_argv(nullptr), m_cmdLine(nullptr), m_argc(argc), m_fromLine(true)
{
    if (cmdLine)
        m_cmdLine = wstrdup(cmdLine);
    else
        m_argc = 0;
}

CommandArgs::~CommandArgs()
{
    if (!m_fromLine) {
        if (m_argv) {
            for (int i = 0; i < m_argc; ++i)
                delete[] m_argv[i];
            delete[] m_argv;
        }
        std::free(m_cmdLine);
    } else {
        std::free(m_argv);
        delete[] m_cmdLine;
    }
    m_argc = 0;
    m_argv = nullptr;
    m_cmdLine = nullptr;
}

void CommandArgs::split()
{
    if (m_fromLine && !m_argv && m_cmdLine)
        m_argv = MakeArgcArgvW(m_cmdLine, &m_argc);
}

int CommandArgs::argc()
{
    split();
    return m_argv ? m_argc : 0;
}

WChar** CommandArgs::argv()
{
    split();
    return m_argv;
}

WChar* CommandArgs::cmdLine()
{
    if (!m_fromLine && !m_cmdLine && m_argv)
        m_cmdLine = MakeCommandLineW(m_argc, m_argv);
    return m_cmdLine;
}
