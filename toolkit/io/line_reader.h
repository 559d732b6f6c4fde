// The lines of a text file, plain or gzip (told by its content, not its name), with
// their numbers, so that every complaint can name its place.
//
// One owner, one thread. Memory is bounded by the longest line, which is limited.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::toolkit {

class LineReader {
 public:
  static constexpr std::size_t kMaxLine = 1U << 20U;  // bytes

  // Throws IoError "can't read PATH: REASON; REMEDY".
  explicit LineReader(std::string path);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // The next line without its line feed and a carriage return before it; valid until the next
  // call. False at the end. Throws when the file is damaged or a line too long.
  bool next(std::string_view& line);

  std::uint64_t number() const { return number_; }  // of the last line, from 1

  // "PATH:LINE: what", for the last line.
  std::runtime_error error(const std::string& what) const;

 private:
  bool fill();

  struct File;
  std::string path_;
  std::unique_ptr<File> file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool ended_ = false;
  std::uint64_t number_ = 0;
};

// Cuts a line at runs of blanks and tabs. `fields` is emptied first.
void split_blanks(std::string_view line, std::vector<std::string_view>& fields);

// A whole field as a decimal number (locale-independent); false if it is none. "inf", "-inf" and
// "nan" are numbers.
bool parse_number(std::string_view field, double& value);

}  // namespace koralite::toolkit
