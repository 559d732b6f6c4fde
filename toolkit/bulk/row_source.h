// The rows of a large text file, plain, gzip or zstd (told by its content, not its name), byte for
// byte but for the line feeds between them.
//
// One owner, one thread. Memory is bounded by the longest row, which is limited.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace koralite::toolkit::bulk {

class RowSource {
 public:
  static constexpr std::size_t kMaxRow = std::size_t{1} << 26U;  // bytes

  // Throws IoError "can't read PATH: REASON; REMEDY"; also for what is no regular file, since it is
  // read more than once.
  explicit RowSource(std::string path);
  ~RowSource();
  RowSource(const RowSource&) = delete;
  RowSource& operator=(const RowSource&) = delete;

  // The next row without its line feed; false at the end. A last row without a line feed counts.
  // Throws std::runtime_error naming file and line when the file is damaged or a row too long, and
  // InterruptedError when a signal was caught.
  bool next(std::string& row);

  std::uint64_t number() const { return number_; }  // rows read so far

  // Reads bytes of the text after a file's compression, at most `size`, 0 at the end; -1 when it
  // is damaged.
  class Decoder {
   public:
    virtual ~Decoder() = default;
    virtual std::ptrdiff_t read(char* to, std::size_t size) = 0;
  };

 private:
  std::string path_;
  std::unique_ptr<Decoder> decoder_;
  std::string buffer_;
  std::size_t begin_ = 0;  // of what is unread
  bool ended_ = false;
  std::uint64_t number_ = 0;
};

}  // namespace koralite::toolkit::bulk
