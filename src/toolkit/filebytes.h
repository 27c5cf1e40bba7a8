// Whole files as bytes, for the image classes that load and save through memory blocks.
#pragma once

#include <vexapi/core/types.h>

#include <vector>

namespace VexAPI {
namespace detail {

// Reads the whole file into out; false when path is null or the file cannot be opened.
bool readFileBytes(const WChar* path, std::vector<unsigned char>& out);
// Writes data as the whole file; false when path is null, the file cannot be opened, or
// writing or closing fails.
bool writeFileBytes(const WChar* path, const std::vector<unsigned char>& data);

} // namespace detail
} // namespace VexAPI
