#include "common/mapped_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>

#if defined(__unix__) || defined(__APPLE__)
#define KORA_CAN_MAP 1
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#endif
#include "common/causes.h"
#include "common/windows_file.h"

namespace koralite::common {
namespace {

#ifndef _WIN32
std::string error_text(int code) {
  return std::generic_category().message(code);
}

#ifdef KORA_CAN_MAP
struct Descriptor {
  int fd;
  explicit Descriptor(int value) : fd(value) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd >= 0) {
      ::close(fd);
    }
  }
};
#endif

#ifdef KORA_CAN_MAP
// Slow file systems may be interrupted by a signal while they open.
int open_uninterrupted(const char* path) {
  int fd = -1;
  do {
    fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  } while (fd < 0 && errno == EINTR);
  return fd;
}
#endif

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::FILE* open_stream(const char* path) {
  std::FILE* file = nullptr;
  do {
    file = std::fopen(path, "rb");
  } while (file == nullptr && errno == EINTR);
  return file;
}

// Plain reading: no more is allocated than the bytes that are really there need.
bool read_whole(const std::string& path, std::vector<unsigned char>& bytes, std::string& reason) {
  const std::unique_ptr<std::FILE, CloseFile> file(open_stream(path.c_str()));
  if (!file) {
    reason = error_text(errno);
    return false;
  }
  std::size_t used = 0;
  bytes.resize(std::size_t{1} << 16);
  for (;;) {
    const std::size_t got = std::fread(bytes.data() + used, 1, bytes.size() - used, file.get());
    used += got;
    if (used == bytes.size()) {
      bytes.resize(bytes.size() * 2);
    } else if (!std::ferror(file.get())) {
      break;
    } else if (errno == EINTR) {  // a signal came in between
      std::clearerr(file.get());
    } else {
      reason = error_text(errno);
      return false;
    }
  }
  bytes.resize(used);
  bytes.shrink_to_fit();
  return true;
}
#endif  // not _WIN32

}  // namespace

MappedFile::MappedFile(const FilePath& path, Access access) {
  std::string reason;
  std::optional<MappedFile> file = open(path, &reason, access);
  if (!file) {
    throw std::runtime_error("can't open [file=" + path.text() + "]: " + reason);
  }
  *this = std::move(*file);
}

MappedFile MappedFile::need(const FilePath& path, const std::string& message) {
  std::string reason;
  std::optional<MappedFile> file = open(path, &reason);
  if (!file) {
    throw_caused(message, path.text() + ": " + reason);
  }
  return std::move(*file);
}

std::optional<MappedFile> MappedFile::open(const FilePath& place, std::string* reason,
                                           Access access) {
  const auto refuse = [&](const std::string& why) {
    if (reason) {
      *reason = why;
    }
    return std::nullopt;
  };
  if (place.memory() != nullptr) {
    const auto* const bytes = place.memory()->find(place.text());
    if (bytes == nullptr) {
      return refuse("not among the files in memory");
    }
    MappedFile view;
    view.bytes_ = *bytes;
    return view;
  }
  const std::string& path = place.text();
  // A path is handed to the system as a C string and would be cut at a zero byte.
  if (path.find('\0') != std::string::npos) {
    return refuse("zero byte in the name");
  }
  MappedFile file;
#ifdef _WIN32
  std::string why;
  std::span<const unsigned char> view;
  if (!windows::read_file(path, access == Access::kMap, view, file.copy_, why)) {
    return refuse(why);
  }
  file.mapped_ = !view.empty();
  file.bytes_ = file.mapped_ ? view : std::span<const unsigned char>(file.copy_);
  return file;
#else
  // Only regular files have a size that bounds the work; a pipe or a device could stall the caller.
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    return refuse(error_text(errno));
  }
  if ((status.st_mode & S_IFMT) == S_IFDIR) {
    return refuse("is a folder");
  }
  if ((status.st_mode & S_IFMT) != S_IFREG) {
    return refuse("is not a regular file");
  }

#ifdef KORA_CAN_MAP
  if (access == Access::kMap) {
    const Descriptor descriptor(open_uninterrupted(path.c_str()));
    if (descriptor.fd < 0) {
      return refuse(error_text(errno));
    }
    // Asked of the open file, since the name may stand for another one by now.
    if (::fstat(descriptor.fd, &status) != 0) {
      return refuse(error_text(errno));
    }
    if ((status.st_mode & S_IFMT) != S_IFREG) {
      return refuse("is not a regular file");
    }
    if (static_cast<std::uintmax_t>(status.st_size) > std::numeric_limits<std::size_t>::max() / 2) {
      return refuse("is too large");
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size == 0) {
      return file;
    }
    void* at = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor.fd, 0);
    if (at != MAP_FAILED) {
      file.bytes_ = {static_cast<const unsigned char*>(at), size};
      file.mapped_ = true;
      return file;
    }
    // Some file systems cannot map: read instead.
  }
#else
  static_cast<void>(access);
#endif
  std::string why;
  if (!read_whole(path, file.copy_, why)) {
    return refuse(why);
  }
  file.bytes_ = file.copy_;
  return file;
#endif
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : bytes_(std::exchange(other.bytes_, {})),
      copy_(std::move(other.copy_)),
      mapped_(std::exchange(other.mapped_, false)) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
  if (this != &other) {
    release();
    bytes_ = std::exchange(other.bytes_, {});
    copy_ = std::move(other.copy_);  // keeps its address, so the span stays right
    mapped_ = std::exchange(other.mapped_, false);
  }
  return *this;
}

MappedFile::~MappedFile() {
  release();
}

void MappedFile::release() noexcept {
#if defined(KORA_CAN_MAP)
  if (mapped_) {
    ::munmap(const_cast<unsigned char*>(bytes_.data()), bytes_.size());
  }
#elif defined(_WIN32)
  if (mapped_) {
    windows::unmap(bytes_);
  }
#endif
  mapped_ = false;
  bytes_ = {};
  copy_.clear();
}

}  // namespace koralite::common
