#include "toolkit/bulk/row_format.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace koralite::toolkit::bulk {

namespace {

using nlohmann::json;

std::string quoted(const std::string& text) {
  return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

const char* row_format_t::suffix() const {
  if (!field.empty()) {
    return ".jsonl";
  }
  return column > 0 ? ".tsv" : ".txt";
}

std::string text_of(const row_format_t& format, const std::string& row) {
  if (!format.field.empty()) {
    const json object = json::parse(row, nullptr, false);
    if (!object.is_object()) {
      throw std::runtime_error("no JSON object");
    }
    if (object.contains(format.output)) {
      throw std::runtime_error("already has a field '" + format.output +
                               "'; choose another with --output-field");
    }
    const auto found = object.find(format.field);
    if (found == object.end() || !found->is_string()) {
      throw std::runtime_error("no text in a field '" + format.field + "'");
    }
    return found->get<std::string>();
  }
  if (format.column == 0) {
    return row;
  }
  std::size_t begin = 0;
  for (std::size_t i = 1; i < format.column; ++i) {
    begin = row.find('\t', begin);
    if (begin == std::string::npos) {
      throw std::runtime_error("only " + std::to_string(i) + " columns");
    }
    ++begin;
  }
  std::size_t end = row.find('\t', begin);
  if (end == std::string::npos) {
    end = row.ends_with('\r') ? row.size() - 1 : row.size();
  }
  return row.substr(begin, end - begin);
}

std::string with_translation(const row_format_t& format, const std::string& row,
                             const std::string& translation) {
  if (!format.field.empty()) {
    const std::size_t brace = row.rfind('}');
    return row.substr(0, brace) + "," + quoted(format.output) + ":" + quoted(translation) +
           row.substr(brace);
  }
  if (translation.find_first_of(format.column > 0 ? "\n\t" : "\n") != std::string::npos) {
    throw std::runtime_error("the translation holds a tab or line feed");
  }
  if (format.column == 0) {
    return translation;
  }
  const std::size_t end = row.ends_with('\r') ? row.size() - 1 : row.size();
  return row.substr(0, end) + '\t' + translation + row.substr(end);
}

std::string without_translation(const row_format_t& format, const std::string& row) {
  return format.field.empty() ? with_translation(format, row, "") : row;
}

}  // namespace koralite::toolkit::bulk
