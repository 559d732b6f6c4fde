#include "toolkit/formats/translation_memory.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <pugixml.hpp>
#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "toolkit/io/io_error.h"
#include "toolkit/io/line_reader.h"

namespace koralite::toolkit {

namespace {

bool is_valid_utf8(const std::string& text) {
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t i = 0; i < length;) {
    UChar32 character = 0;
    U8_NEXT(reinterpret_cast<const std::uint8_t*>(text.data()), i, length, character);
    if (character < 0) {
      return false;
    }
  }
  return true;
}

std::string lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return out;
}

// Whether a code such as "zh_CN" names the language.
bool names(std::string_view code, std::string_view language) {
  std::string tag = lower(code);
  std::replace(tag.begin(), tag.end(), '_', '-');
  if (tag == language) {
    return true;
  }
  if (!tag.starts_with(std::string(language) + '-')) {
    return false;
  }
  if (language == "zh") {
    for (const std::string_view traditional : {"hant", "-tw", "-hk", "-mo"}) {
      if (tag.find(traditional) != std::string::npos) {
        return false;
      }
    }
  }
  return true;
}

std::string with_single_spaces(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const bool is_space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    if (!is_space) {
      out += c;
    } else if (!out.empty() && out.back() != ' ') {
      out += ' ';
    }
  }
  if (!out.empty() && out.back() == ' ') {
    out.pop_back();
  }
  return out;
}

std::string_view local_name(const char* name) {
  const std::string_view text(name);
  const std::size_t colon = text.find(':');
  return colon == std::string_view::npos ? text : text.substr(colon + 1);
}

// The text of a segment without the codes in it. Walks without recursion, since a file may nest as
// deep as it likes.
class SegmentText : public pugi::xml_tree_walker {
 public:
  static std::string of(pugi::xml_node segment) {
    SegmentText walker;
    segment.traverse(walker);
    return with_single_spaces(walker.text_);
  }

  bool for_each(pugi::xml_node& node) override {
    if (node.type() == pugi::node_element) {
      if (code_depth_ >= depth()) {
        code_depth_ = kNone;
      }
      const std::string_view name = local_name(node.name());
      const bool is_code = name == "bpt" || name == "ept" || name == "ph" || name == "it" ||
                           name == "ut" || name == "sub";
      if (is_code && code_depth_ == kNone) {
        code_depth_ = depth();
      }
      return true;
    }
    if (code_depth_ != kNone && depth() <= code_depth_) {
      code_depth_ = kNone;
    }
    if (code_depth_ == kNone &&
        (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata)) {
      text_ += node.value();
    }
    return true;
  }

 private:
  static constexpr int kNone = -1;
  int code_depth_ = kNone;  // of the code that the walk is in
  std::string text_;
};

// Takes or refuses pairs and counts which.
class Collector {
 public:
  void add(std::string source, std::string target) {
    memory_report_t& r = memory_.report;
    if (source.empty()) {
      ++r.no_source;
    } else if (target.empty()) {
      ++r.no_target;
    } else if (!is_valid_utf8(source) || !is_valid_utf8(target)) {
      ++r.ill_formed;
    } else if (source == target) {
      ++r.identical;
    } else if (!seen_.insert(source + '\n' + target).second) {
      ++r.repeated;
    } else {
      ++r.pairs;
      memory_.source.push_back(std::move(source));
      memory_.target.push_back(std::move(target));
    }
  }
  memory_report_t& report() { return memory_.report; }
  memory_t take() { return std::move(memory_); }

 private:
  memory_t memory_;
  std::unordered_set<std::string> seen_;
};

pugi::xml_document load(const std::string& path) {
  require_readable(path);
  pugi::xml_document document;
  const pugi::xml_parse_result result =
      document.load_file(path.c_str(), pugi::parse_default | pugi::parse_ws_pcdata);
  if (result.status == pugi::status_io_error || result.status == pugi::status_file_not_found) {
    throw IoError(path + ": can't be read");
  }
  if (!result) {
    // The parser tells bytes, people want lines.
    LineReader reader(path);
    std::ptrdiff_t bytes = 0;
    for (std::string_view line; bytes < result.offset && reader.next(line);) {
      bytes += static_cast<std::ptrdiff_t>(line.size()) + 1;
    }
    throw std::runtime_error(path + ':' +
                             std::to_string(std::max<std::uint64_t>(reader.number(), 1)) +
                             ": no well-formed XML: " + result.description());
  }
  return document;
}

pugi::xml_node child(pugi::xml_node node, std::string_view name) {
  for (const pugi::xml_node each : node.children()) {
    if (local_name(each.name()) == name) {
      return each;
    }
  }
  return {};
}

void read_tmx(const std::string& path, const direction_t& direction, Collector& collector) {
  const pugi::xml_document document = load(path);
  const pugi::xml_node body = document.child("tmx").child("body");
  if (!body) {
    throw std::runtime_error(path + ":1: no TMX: the root element must be <tmx> with a <body>");
  }
  for (const pugi::xml_node unit : body.children("tu")) {
    ++collector.report().units;
    std::string source;
    std::string target;
    for (const pugi::xml_node variant : unit.children("tuv")) {
      const char* code = variant.attribute("xml:lang").value();
      if (*code == '\0') {
        code = variant.attribute("lang").value();
      }
      if (source.empty() && names(code, direction.source)) {
        source = SegmentText::of(variant.child("seg"));
      } else if (target.empty() && names(code, direction.target)) {
        target = SegmentText::of(variant.child("seg"));
      }
    }
    collector.add(std::move(source), std::move(target));
  }
}

// Walks all units of an XLIFF file, whatever groups they lie in.
class XliffReader : public pugi::xml_tree_walker {
 public:
  XliffReader(const direction_t& direction, Collector& collector)
      : direction_(direction), collector_(collector) {}

  bool for_each(pugi::xml_node& node) override {
    const std::string_view name = local_name(node.name());
    if (name == "file" || name == "xliff") {
      const bool is_second = name == "xliff";
      const std::string_view source =
          node.attribute(is_second ? "srcLang" : "source-language").value();
      const std::string_view target =
          node.attribute(is_second ? "trgLang" : "target-language").value();
      if (!source.empty()) {
        is_turned_ = names(source, direction_.target) && names(target, direction_.source);
        fits_ = is_turned_ || (names(source, direction_.source) &&
                               (target.empty() || names(target, direction_.target)));
      }
    } else if (name == "trans-unit" || name == "segment") {
      take(node, name == "segment" ? node.parent() : node);
    }
    return true;
  }

 private:
  void take(pugi::xml_node unit, pugi::xml_node outer) {
    ++collector_.report().units;
    const pugi::xml_node target = child(unit, "target");
    // Version 2 keeps the state at the segment, version 1.2 at the target.
    const std::string_view state =
        unit == outer ? target.attribute("state").value() : unit.attribute("state").value();
    if (!fits_) {
      ++collector_.report().no_source;
    } else if (std::string_view(outer.attribute("translate").value()) == "no" || state == "new" ||
               state == "initial" || state == "needs-translation") {
      ++collector_.report().unfinished;
    } else {
      std::string first = SegmentText::of(child(unit, "source"));
      std::string second = SegmentText::of(target);
      if (is_turned_) {
        first.swap(second);
      }
      collector_.add(std::move(first), std::move(second));
    }
  }

  const direction_t& direction_;
  Collector& collector_;
  bool is_turned_ = false;
  bool fits_ = false;
};

void read_xliff(const std::string& path, const direction_t& direction, Collector& collector) {
  pugi::xml_document document = load(path);
  if (local_name(document.document_element().name()) != "xliff") {
    throw std::runtime_error(path + ":1: no XLIFF: the root element must be <xliff>");
  }
  XliffReader reader(direction, collector);
  document.traverse(reader);
}

void read_tsv(const std::string& path, Collector& collector) {
  require_readable(path);
  LineReader reader(path);
  for (std::string_view line; reader.next(line);) {
    ++collector.report().units;
    const std::size_t tab = std::min(line.find('\t'), line.size());
    const std::size_t next = tab < line.size() ? tab + 1 : tab;
    const std::string_view target = line.substr(next);
    collector.add(with_single_spaces(line.substr(0, tab)),
                  with_single_spaces(target.substr(0, target.find('\t'))));
  }
}

MemoryFormat format_of(const std::string& path) {
  const std::string name = lower(path);
  if (name.ends_with(".tmx")) {
    return MemoryFormat::kTmx;
  }
  if (name.ends_with(".xlf") || name.ends_with(".xliff") || name.ends_with(".sdlxliff") ||
      name.ends_with(".mqxliff")) {
    return MemoryFormat::kXliff;
  }
  if (name.ends_with(".tsv") || name.ends_with(".txt") || name.ends_with(".tab")) {
    return MemoryFormat::kTsv;
  }
  throw std::runtime_error(path + ": the name doesn't tell the format; name it (tmx, xliff, tsv)");
}

}  // namespace

std::vector<std::string> memory_report_t::lines() const {
  std::vector<std::string> lines;
  const auto tell = [&](std::uint64_t count, const char* why) {
    if (count > 0) {
      lines.push_back(std::to_string(count) + ' ' + why);
    }
  };
  tell(no_source, "without text in the source language");
  tell(no_target, "without a translation");
  tell(unfinished, "marked as not translated or not to be translated");
  tell(identical, "with both sides the same");
  tell(repeated, "repeat a pair");
  tell(ill_formed, "are not valid UTF-8");
  return lines;
}

memory_t read_translation_memory(const std::string& path, const direction_t& direction,
                                 MemoryFormat format) {
  Collector collector;
  switch (format == MemoryFormat::kByName ? format_of(path) : format) {
    case MemoryFormat::kTmx:
      read_tmx(path, direction, collector);
      break;
    case MemoryFormat::kXliff:
      read_xliff(path, direction, collector);
      break;
    default:
      read_tsv(path, collector);
  }
  return collector.take();
}

}  // namespace koralite::toolkit
