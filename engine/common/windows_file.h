// The bytes of a file by the calls of Windows: mapped, or copied into memory. Paths are UTF-8 and
// of any length. Free functions without state: safe on any thread; MappedFile owns what they give.
// Empty elsewhere.
#pragma once

#ifdef _WIN32

#include <span>
#include <string>
#include <vector>

namespace koralite::common::windows {

// Gives the bytes of a regular file as a view that unmap() takes back, or in `copy` when `map` is
// false or the file cannot be mapped. False with a reason when there is no such file, it is a
// folder or no regular file, or it cannot be read.
bool read_file(const std::string& path, bool map, std::span<const unsigned char>& view,
               std::vector<unsigned char>& copy, std::string& reason);

void unmap(std::span<const unsigned char> view) noexcept;

}  // namespace koralite::common::windows

#endif  // _WIN32
