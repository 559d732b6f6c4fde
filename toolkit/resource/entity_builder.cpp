#include "toolkit/resource/entity_builder.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

#include "textProcess/processor.h"
#include "toolkit/io/io_error.h"
#include "toolkit/io/text_form.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

// Longest tag that the word steps can mark a word with.
constexpr std::size_t kLongestType = 10235;
constexpr std::size_t kLongestSource = 102399;  // what a string table's block holds

std::vector<std::string> cut_at_blanks(const std::string& phrase) {
  std::vector<std::string> words;
  std::istringstream in(phrase);
  for (std::string word; std::getline(in, word, ' ');) {
    if (!word.empty()) {
      words.push_back(word);
    }
  }
  return words;
}

// The last step of every output chain takes one level of backslashes off.
std::string escape(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\' || c == '#') {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

}  // namespace

std::vector<entity_t> parse_entities(std::string_view text, const std::string& name) {
  std::vector<entity_t> entities;
  std::size_t number = 0;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    ++number;
    if (line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    const std::size_t first = line.find('\t');
    if (line.empty() || (line[0] == '#' && first == std::string_view::npos)) {
      continue;
    }
    const std::size_t second = first == std::string_view::npos ? first : line.find('\t', first + 1);
    const auto fail = [&](const char* what) {
      throw std::runtime_error(name + ":" + std::to_string(number) + ": " + what);
    };
    if (second == std::string_view::npos) {
      fail("an entry is SOURCE, TAB, TYPE, TAB, TARGET");
    }
    const entity_t entity{std::string(line.substr(0, first)),
                          std::string(line.substr(first + 1, second - first - 1)),
                          std::string(line.substr(second + 1)), number};
    if (entity.source.empty() || entity.type.empty() || entity.target.empty()) {
      fail("an entry has an empty field");
    }
    if (entity.target.find('\t') != std::string::npos) {
      fail("an entry has more than three fields");
    }
    if (entity.type.size() > kLongestType) {
      fail("the type is too long");
    }
    entities.push_back(entity);
  }
  return entities;
}

entity_options_t chain_entity_options(const direction_t& direction, const std::string& config,
                                      const std::string& folder) {
  entity_options_t options;
  if (has_no_blanks(direction.source)) {
    options.join.clear();
  }
  options.words = [chain = std::make_shared<textProcess::Processor>(
                       language_type(direction.source), language_type(direction.target), config,
                       folder)](const std::string& phrase) {
    textProcess::ProcessStr str(false, phrase);
    chain->Preprocess(str);
    std::istringstream text(str.text());
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
      words.push_back(std::move(word));
    }
    return words;
  };
  return options;
}

std::vector<entity_t> read_entities(const std::string& path) {
  require_readable(path);
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return parse_entities(text.view(), path);
}

std::vector<std::string> entity_lines(std::span<const entity_t> entities,
                                      const entity_options_t& options, entity_report_t& report) {
  report = {};
  report.read = entities.size();
  std::set<std::string> sources;
  std::set<std::string> types;
  std::vector<std::string> lines;
  for (const entity_t& entity : entities) {
    const auto drop = [&](const std::string& why) {
      report.dropped.push_back(std::to_string(entity.line) + ": " + entity.source + ": " + why);
    };
    const std::vector<std::string> words =
        options.words ? options.words(entity.source) : cut_at_blanks(entity.source);
    const std::string source = join(words, options.join);
    if (source.empty() || source.find('\t') != std::string::npos) {
      drop("nothing that could be looked up is left of it");
      continue;
    }
    if (words.size() > options.most_words) {
      drop("has " + std::to_string(words.size()) + " words, " + std::to_string(options.most_words) +
           " at most are looked up");
      continue;
    }
    const std::string line = source + '\t' + entity.type + '\t' + escape(entity.target);
    std::string why;
    if (source.size() > kLongestSource) {
      drop("is too long");
    } else if (!resource_line_survives(line, static_cast<std::uint32_t>(line.size() + 1), &why)) {
      drop(why);
    } else if (!sources.insert(source).second) {
      drop("is there already as \"" + source + "\"");
    } else {
      lines.push_back(line);
      types.insert(entity.type);
    }
  }
  std::sort(lines.begin(), lines.end());
  report.written = lines.size();
  report.types.assign(types.begin(), types.end());
  return lines;
}

entity_report_t write_entity_file(std::span<const entity_t> entities,
                                  const entity_options_t& options, const std::string& path) {
  entity_report_t report;
  write_resource_file(path, entity_lines(entities, options, report));
  return report;
}

}  // namespace koralite::toolkit
