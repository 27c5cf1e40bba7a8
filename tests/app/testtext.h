// Small helpers of the frame's tests: 16-bit strings, file paths and scratch folders.
#pragma once

#include "testplatform.h"

#include <vexapi/app/application.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

inline WString W(const char* ascii)
{
    WString out;
    for (; *ascii; ++ascii)
        out += WChar(static_cast<unsigned char>(*ascii));
    return out;
}

inline fs::path toPath(const WString& s)
{
    return fs::path(std::u16string(s.begin(), s.end()));
}

inline WString fromPath(const fs::path& p)
{
    std::u16string s = p.u16string();
    return WString(s.begin(), s.end());
}

// Joins with the library's own separator.
inline WString join(const WString& a, const WString& b)
{
    return a + Application::pathSep() + b;
}

inline std::string readFile(const fs::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

// The lines of a text, without their line feeds; a carriage return before one is dropped
// too (what a text-mode stream writes on Windows). A last line without a feed counts.
inline std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::string line;
    for (char c : text) {
        if (c == '\r')
            continue;
        if (c == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += c;
        }
    }
    if (!line.empty())
        lines.push_back(line);
    return lines;
}

inline std::string hexOf(const WString& s)
{
    std::string out;
    char unit[8];
    for (WChar c : s) {
        std::snprintf(unit, sizeof unit, "%04x", unsigned(c));
        out += unit;
    }
    return out;
}

inline WString fromHex(const std::string& hex)
{
    WString out;
    for (std::size_t i = 0; i + 4 <= hex.size(); i += 4)
        out += WChar(std::stoul(hex.substr(i, 4), nullptr, 16));
    return out;
}

// A folder of its own for one test, below the system's temporary folder, removed at the
// end with all it holds.
class ScratchDir {
public:
    ScratchDir()
    {
        static int serial = 0;
        fs::path base = fs::temp_directory_path();
        for (;;) {
            m_path = base / ("vexapi-app-" + std::to_string(Application::GetPID()) + "-"
                             + std::to_string(++serial));
            if (fs::create_directory(m_path))
                break;
        }
    }
    ~ScratchDir()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const fs::path& path() const { return m_path; }
    WString wpath() const { return fromPath(m_path); }
    WString wpath(const char* name) const { return fromPath(m_path / name); }

private:
    fs::path m_path;
};

// A name of this process's own, for folders made where no scratch folder can be used.
inline WString ownName(const char* what)
{
    return W(("vexapi-test-" + std::string(what) + "-" + std::to_string(Application::GetPID()))
                 .c_str());
}
