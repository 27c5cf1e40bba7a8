// The SQL corpus that scripts/deps/sql-corpus extracts: one file of selects a source, each
// NUL-ended UTF-8. Shared by the corpus tests and the analysis benchmark, whose targets
// define VEXAPI_SQL_CORPUS_DIR; VEXAPI_SQL_CORPUS in the environment overrides it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace sqlcorpus {

inline std::string dir()
{
    if (const char* dir = std::getenv("VEXAPI_SQL_CORPUS"))
        return dir;
    return VEXAPI_SQL_CORPUS_DIR;
}

// The statements of one extracted file; empty when it is missing.
inline std::vector<std::string> loadSelects(const std::string& name)
{
    std::vector<std::string> out;
    FILE* f = std::fopen((dir() + "/" + name + ".selects").c_str(), "rb");
    if (!f)
        return out;
    std::string all;
    char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0)
        all.append(buf, n);
    std::fclose(f);
    std::size_t start = 0;
    for (std::size_t i = 0; i < all.size(); ++i)
        if (all[i] == '\0') {
            out.push_back(all.substr(start, i - start));
            start = i + 1;
        }
    return out;
}

} // namespace sqlcorpus
