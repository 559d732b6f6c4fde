// Makes the pinyin file (docs/format-pinyin.md) from the Unihan readings: the
// first kMandarin reading of each character, tones off, ü written as v.
//
// Feed it the lines of Unihan_Readings.txt, then write. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::toolkit {

struct pinyin_report_t {
  std::size_t characters = 0;  // written
  std::size_t readings = 0;    // distinct ones
  std::size_t longest = 0;     // bytes of a reading
  std::size_t outside = 0;     // characters left out: not three bytes long in UTF-8
};

class PinyinBuilder {
 public:
  // Takes one line without its line feed: "U+4E2D", TAB, "kMandarin", TAB, readings
  // separated by blanks. Comments, empty lines and other fields are skipped; of a
  // character that comes twice the first reading stays. Throws std::runtime_error
  // naming the line's number and the fault when a kMandarin line is malformed.
  void add_line(std::string_view line);
  void add_lines(std::istream& lines);

  // The file's bytes. Throws std::runtime_error when no character has a reading.
  std::vector<unsigned char> bytes() const;
  // Writes the file whole or not at all.
  pinyin_report_t write(const std::string& path) const;

  pinyin_report_t report() const;

 private:
  std::map<std::uint32_t, std::string> readings_;  // by code point: also the order of their bytes
  std::size_t outside_ = 0;
  std::size_t line_ = 0;
};

// A reading without its tone ("lǜ" becomes "lv"); empty when it is none, that is
// when anything but letters a to z is left.
std::string toneless_pinyin(std::string_view reading);

}  // namespace koralite::toolkit
