// Whole files as bytes.
#include "filebytes.h"

#include <vexapi/core/textfile.h>

#include <cstdio>

namespace VexAPI {
namespace detail {

bool readFileBytes(const WChar* path, std::vector<unsigned char>& out)
{
    FILE* f = path ? wfopen(path, "rb") : nullptr;
    if (!f)
        return false;
    unsigned char buffer[65536];
    std::size_t n;
    out.clear();
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0)
        out.insert(out.end(), buffer, buffer + n);
    std::fclose(f);
    return true;
}

bool writeFileBytes(const WChar* path, const std::vector<unsigned char>& data)
{
    FILE* f = path ? wfopen(path, "wb") : nullptr;
    if (!f)
        return false;
    bool ok = std::fwrite(data.data(), 1, data.size(), f) == data.size();
    return std::fclose(f) == 0 && ok;
}

} // namespace detail
} // namespace VexAPI
