#include "toolkit/bulk/row_source.h"

#include <zlib.h>
#include <zstd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "toolkit/io/interrupt.h"
#include "toolkit/io/io_error.h"

namespace koralite::toolkit::bulk {

namespace {

constexpr std::size_t kBlockSize = 1U << 17U;

[[noreturn]] void fail(const std::string& path) {
  throw IoError("can't read " + path + ": " + std::generic_category().message(errno) +
                "; check the name and the rights");
}

// zlib reads plain files as well.
class PlainOrGzip : public RowSource::Decoder {
 public:
  explicit PlainOrGzip(const std::string& path) : file_(::gzopen(path.c_str(), "rb")) {
    if (file_ == nullptr) {
      fail(path);
    }
    ::gzbuffer(file_, kBlockSize);
  }
  PlainOrGzip(const PlainOrGzip&) = delete;
  PlainOrGzip& operator=(const PlainOrGzip&) = delete;
  ~PlainOrGzip() override { ::gzclose(file_); }

  std::ptrdiff_t read(char* to, std::size_t size) override {
    const int count = ::gzread(file_, to, static_cast<unsigned>(size));
    int code = Z_OK;
    ::gzerror(file_, &code);
    return count < 0 || (count == 0 && code != Z_OK && code != Z_STREAM_END) ? -1 : count;
  }

 private:
  gzFile file_;
};

class Zstd : public RowSource::Decoder {
 public:
  explicit Zstd(const std::string& path)
      : file_(std::fopen(path.c_str(), "rb")), stream_(::ZSTD_createDStream()), in_(kBlockSize) {
    if (!file_) {
      fail(path);
    }
    if (!stream_) {
      throw std::bad_alloc();
    }
  }

  std::ptrdiff_t read(char* to, std::size_t size) override {
    ZSTD_outBuffer out{to, size, 0};
    while (out.pos == 0) {
      if (input_.pos == input_.size) {
        input_ = {in_.data(), std::fread(in_.data(), 1, in_.size(), file_.get()), 0};
        if (input_.size == 0) {
          return std::ferror(file_.get()) != 0 || wanted_ != 0 ? -1 : 0;
        }
      }
      wanted_ = ::ZSTD_decompressStream(stream_.get(), &out, &input_);
      if (::ZSTD_isError(wanted_) != 0) {
        return -1;
      }
    }
    return static_cast<std::ptrdiff_t>(out.pos);
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
    void operator()(ZSTD_DStream* stream) const { ::ZSTD_freeDStream(stream); }
  };
  std::unique_ptr<std::FILE, Close> file_;
  std::unique_ptr<ZSTD_DStream, Close> stream_;
  std::vector<char> in_;
  ZSTD_inBuffer input_{nullptr, 0, 0};
  std::size_t wanted_ = 0;  // 0 between frames, where a file may end
};

bool is_zstd(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) {
    fail(path);
  }
  std::array<char, 4> head{};
  const std::size_t count = std::fread(head.data(), 1, head.size(), file.get());
  return std::string_view(head.data(), count) == "\x28\xb5\x2f\xfd";
}

}  // namespace

RowSource::RowSource(std::string path) : path_(std::move(path)) {
  require_readable(path_);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path_, error)) {
    throw IoError("can't read " + path_ +
                  ": it is no regular file, and bulk work reads its input more than once; write it "
                  "to a file first");
  }
  if (is_zstd(path_)) {
    decoder_ = std::make_unique<Zstd>(path_);
  } else {
    decoder_ = std::make_unique<PlainOrGzip>(path_);
  }
}

RowSource::~RowSource() = default;

bool RowSource::next(std::string& row) {
  for (std::size_t searched = begin_;;) {
    const std::size_t end = buffer_.find('\n', searched);
    if (end != std::string::npos) {
      row.assign(buffer_, begin_, end - begin_);
      begin_ = end + 1;
      break;
    }
    stop_if_interrupted();
    buffer_.erase(0, begin_);
    begin_ = 0;
    searched = buffer_.size();
    if (ended_) {
      if (buffer_.empty()) {
        return false;
      }
      row = std::exchange(buffer_, {});
      break;
    }
    const auto complain = [&](const std::string& what) {
      return std::runtime_error(path_ + ":" + std::to_string(number_ + 1) + ": " + what);
    };
    if (buffer_.size() > kMaxRow) {
      throw complain("a line of more than " + std::to_string(kMaxRow) +
                     " bytes; is this a text file?");
    }
    buffer_.resize(searched + kBlockSize);
    const std::ptrdiff_t count = decoder_->read(buffer_.data() + searched, kBlockSize);
    if (count < 0) {
      throw complain("the file is damaged or cut short; copy or make it again");
    }
    buffer_.resize(searched + static_cast<std::size_t>(count));
    ended_ = count == 0;
  }
  ++number_;
  return true;
}

}  // namespace koralite::toolkit::bulk
