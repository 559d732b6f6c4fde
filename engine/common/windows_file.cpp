#include "common/windows_file.h"

#ifdef _WIN32

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace koralite::common::windows {
namespace {

class Handle {
 public:
  explicit Handle(HANDLE value) : value_(value) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (valid()) {
      ::CloseHandle(value_);
    }
  }
  bool valid() const { return value_ != nullptr && value_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return value_; }

 private:
  HANDLE value_;
};

std::string error_text(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
      return "No such file or directory";
    case ERROR_ACCESS_DENIED:
      return "Permission denied";
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return "Cannot allocate memory";
    default:
      return "Windows error " + std::to_string(code);
  }
}

// Empty when the path is not UTF-8.
std::wstring wide(const std::string& path) {
  const auto bytes = static_cast<int>(std::min<std::size_t>(path.size(), 1U << 20U));
  const int units =
      ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(), bytes, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(std::max(units, 0)), L'\0');
  ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(), bytes, text.data(), units);
  return text;
}

// Paths of 260 units and more are only taken whole and behind a prefix.
std::wstring of_any_length(const std::wstring& path) {
  constexpr std::size_t kOrdinary = 248;
  if (path.size() < kOrdinary || path.starts_with(L"\\\\")) {
    return path;
  }
  const DWORD size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  full.resize(::GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
  return full.empty() ? path : L"\\\\?\\" + full;
}

bool read_whole(HANDLE file, std::size_t size, std::vector<unsigned char>& copy,
                std::string& reason) {
  copy.resize(size);
  std::size_t used = 0;
  while (used < size) {
    const auto want = static_cast<DWORD>(std::min<std::size_t>(size - used, 1U << 30U));
    DWORD got = 0;
    if (!::ReadFile(file, copy.data() + used, want, &got, nullptr)) {
      reason = error_text(::GetLastError());
      return false;
    }
    if (got == 0) {
      break;  // cut short meanwhile
    }
    used += got;
  }
  copy.resize(used);
  return true;
}

}  // namespace

bool read_file(const std::string& path, bool map, std::span<const unsigned char>& view,
               std::vector<unsigned char>& copy, std::string& reason) {
  const std::wstring name = of_any_length(wide(path));
  if (name.empty()) {
    reason = path.empty() ? "No such file or directory" : "the path is not UTF-8";
    return false;
  }
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    reason = "is a folder";
    return false;
  }
  const Handle file(::CreateFileW(name.c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) {
    reason = error_text(::GetLastError());
    return false;
  }
  LARGE_INTEGER length = {};
  if (::GetFileType(file.get()) != FILE_TYPE_DISK || !::GetFileSizeEx(file.get(), &length)) {
    reason = "is not a regular file";
    return false;
  }
  if (static_cast<std::uint64_t>(length.QuadPart) > std::numeric_limits<std::size_t>::max() / 2) {
    reason = "is too large";
    return false;
  }
  const auto size = static_cast<std::size_t>(length.QuadPart);
  if (size == 0) {
    return true;
  }
  if (map) {
    // The view keeps the section and the file; neither handle is needed any more.
    const Handle section(::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    const void* at =
        section.valid() ? ::MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, 0) : nullptr;
    if (at != nullptr) {
      view = {static_cast<const unsigned char*>(at), size};
      return true;
    }
  }
  return read_whole(file.get(), size, copy, reason);
}

void unmap(std::span<const unsigned char> view) noexcept {
  ::UnmapViewOfFile(view.data());
}

}  // namespace koralite::common::windows

#endif  // _WIN32
