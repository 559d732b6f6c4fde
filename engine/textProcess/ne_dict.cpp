#include "textProcess/ne_dict.h"

#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace koralite::textProcess {
namespace {

struct Fields {
  std::string_view source;
  std::string_view type;
  std::string_view target;  // the rest of the line
};

bool cut(std::string_view line, Fields& fields) {
  const std::size_t first = line.find('\t');
  if (first == std::string_view::npos) {
    return false;
  }
  const std::size_t second = line.find('\t', first + 1);
  if (second == std::string_view::npos) {
    return false;
  }
  fields.source = line.substr(0, first);
  fields.type = line.substr(first + 1, second - first - 1);
  fields.target = line.substr(second + 1);
  return true;
}

}  // namespace

NeDict::NeDict(const common::FilePath& path) : reader_(path) {
  std::string line;
  std::string previous;
  index_.reserve(10000);
  // Empty records have a number too: it is what a record is fetched by.
  for (std::int32_t number = 0; reader_.getline(line); ++number) {
    if (line.empty()) {
      continue;
    }
    if (line < previous) {
      // Programs compare this text, so its spelling stays.
      throw std::runtime_error("Invalidate NE Input");
    }
    Fields fields;
    if (!cut(line, fields)) {
      throw std::runtime_error("unknown format in named entity dictionary file [" + line + "]");
    }
    if (index_.insert(fields.source, number) == nullptr) {
      throw std::runtime_error("duplicated source words in named entity dictionary file [" + line +
                               "]");
    }
    previous.swap(line);
  }
  index_.shrink_to_fit();
  reader_.CloseEnumMode();
}

bool NeDict::find(const char* source, const char*& type, const char*& target) const {
  std::int32_t number = 0;
  std::string line;
  Fields fields;
  if (!index_.find(source, number) || !reader_.getline(line, static_cast<unsigned>(number)) ||
      !cut(line, fields)) {
    return false;
  }
  type = found_.emplace_back(fields.type).c_str();
  target = found_.emplace_back(fields.target).c_str();
  return true;
}

}  // namespace koralite::textProcess
