#include "toolkit/resource/recase_builder.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "common/text_class.h"
#include "common/text_split.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

constexpr std::size_t kHeadingWord = 4;  // letters; shorter words stay lower case in headings

std::vector<std::string_view> split_blanks(std::string_view line) {
  std::vector<std::string_view> tokens;
  for (std::size_t i = 0; i < line.size();) {
    const std::size_t first = std::min(line.find_first_not_of(' ', i), line.size());
    i = std::min(line.find(' ', first), line.size());
    if (first < i) {
      tokens.push_back(line.substr(first, i - first));
    }
  }
  return tokens;
}

std::string lower(const std::string& text) {
  std::string out;
  common::text_lowercase_eng(text, out);
  return out;
}

std::size_t count_words(std::string_view entry) {
  return 1 + static_cast<std::size_t>(std::count(entry.begin(), entry.end(), ' '));
}

bool has_letter(std::string_view token) {
  return std::any_of(token.begin(), token.end(), common::text_is_letter);
}
bool has_upper(std::string_view token) {
  return std::any_of(token.begin(), token.end(), common::text_is_upper);
}
bool has_lower(std::string_view token) {
  return std::any_of(token.begin(), token.end(), common::text_is_lower);
}

bool ends_sentence(std::string_view token) {
  return token == "." || token == "?" || token == "!" || token == ":" || token == "...";
}

// "Word" and "A": what a sentence start does to any word.
bool is_plain_capitalised(std::string_view token) {
  return common::text_is_upper(token[0]) && !has_upper(token.substr(1));
}

// Lines without running text: all in capitals, or no sentence but two and more words with a
// capital, the first one too, and no longer word without.
bool is_heading(std::span<const std::string_view> tokens) {
  bool any_lower = false;
  bool running = false;
  std::size_t capitals = 0;
  for (const std::string_view token : tokens) {
    any_lower = any_lower || has_lower(token);
    if (has_upper(token)) {
      ++capitals;
    } else if (has_letter(token)) {
      running = running || capitals == 0 || token.size() >= kHeadingWord;
    } else {
      running = running || ends_sentence(token);
    }
  }
  return !any_lower || (!running && capitals > 1);
}

// A form with its count; forms of the same letters stand together, shorter groups first.
struct Form {
  std::size_t words;
  std::string lowered;
  std::string text;
  std::uint64_t count;
};

// What the recaser makes of a lower-case group with the entries found so far.
class Recaser {
 public:
  void add(std::string lowered, std::string cased) {
    longest_ = std::max(longest_, count_words(lowered));
    entries_.insert_or_assign(std::move(lowered), std::move(cased));
  }

  std::string recase(std::string_view group) const {
    const std::vector<std::string_view> tokens = split_blanks(group);
    std::string out;
    for (std::size_t i = 0; i < tokens.size();) {
      std::string unit(tokens[i]);
      std::size_t taken = 1;
      std::string key;
      for (std::size_t n = 1; n <= longest_ && i + n <= tokens.size(); ++n) {
        if (n > 1) {
          key += ' ';
        }
        key += tokens[i + n - 1];
        if (const auto entry = entries_.find(key); entry != entries_.end()) {
          unit = entry->second;
          taken = n;
        }
      }
      if (!out.empty()) {
        out += ' ';
      }
      out += unit;
      i += taken;
    }
    return out;
  }

 private:
  std::unordered_map<std::string, std::string> entries_;
  std::size_t longest_ = 0;
};

}  // namespace

RecaseBuilder::RecaseBuilder(recase_options_t options) : options_(options) {
  options_.max_words = std::max(options_.max_words, 1U);
}

void RecaseBuilder::add_line(std::string_view line) {
  const std::vector<std::string_view> tokens = split_blanks(line);
  if (is_heading(tokens)) {
    return;
  }
  bool start = true;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const std::string_view token = tokens[i];
    if (!has_letter(token)) {
      // Quotes and brackets open a sentence as well as its first word would.
      start = ends_sentence(token) || (start && !common::text_is_digit(token[0]));
      continue;
    }
    const bool silent = start && is_plain_capitalised(token);
    start = false;
    if (silent) {
      continue;
    }
    std::string form;
    for (std::size_t n = 1; n <= options_.max_words && i + n <= tokens.size(); ++n) {
      const std::string_view last = tokens[i + n - 1];
      if (ends_sentence(last)) {
        break;
      }
      if (form.size() + last.size() >= options_.max_bytes) {
        break;
      }
      if (n > 1) {
        form += ' ';
      }
      form += last;
      if (has_letter(last)) {
        ++forms_[form];
      }
    }
  }
  if (forms_.size() > options_.max_forms) {
    forget_rare();
  }
}

void RecaseBuilder::add_entry(std::string_view entry) {
  const std::vector<std::string_view> tokens = split_blanks(entry);
  if (tokens.empty() || tokens.size() > options_.max_words || entry.size() >= options_.max_bytes) {
    return;
  }
  std::string form;
  for (const std::string_view token : tokens) {
    form += form.empty() ? "" : " ";
    form += token;
  }
  // An entry that no text has is certain enough.
  forms_[form] += options_.min_count;
}

void RecaseBuilder::forget_rare() {
  while (forms_.size() > options_.max_forms / 2) {
    ++rare_;
    std::erase_if(forms_, [this](const auto& form) { return form.second <= rare_; });
  }
}

std::vector<std::string> RecaseBuilder::entries() const {
  std::vector<Form> forms;
  forms.reserve(forms_.size());
  for (const auto& [text, count] : forms_) {
    forms.push_back({count_words(text), lower(text), text, count});
  }
  // The most frequent form first; of equals the one with fewer capitals in front.
  std::sort(forms.begin(), forms.end(), [](const Form& a, const Form& b) {
    if (a.words != b.words) {
      return a.words < b.words;
    }
    if (a.lowered != b.lowered) {
      return a.lowered < b.lowered;
    }
    return a.count != b.count ? a.count > b.count : a.text > b.text;
  });

  Recaser model;
  std::vector<std::string> found;
  for (std::size_t i = 0; i < forms.size();) {
    const Form& best = forms[i];
    std::uint64_t total = 0;
    for (; i < forms.size() && forms[i].lowered == best.lowered; ++i) {
      total += forms[i].count;
    }
    const double share = static_cast<double>(best.count) / static_cast<double>(total);
    if (best.count < options_.min_count || share < options_.min_share) {
      continue;
    }
    if (model.recase(best.lowered) == best.text) {
      continue;
    }
    model.add(best.lowered, best.text);
    found.push_back(best.text);
  }
  std::sort(found.begin(), found.end(),
            [](const std::string& a, const std::string& b) { return lower(a) < lower(b); });
  return found;
}

recase_report_t write_recase_file(const std::string& path, std::span<const std::string> entries) {
  recase_report_t report;
  std::vector<std::pair<std::string, const std::string*>> sorted;
  sorted.reserve(entries.size());
  for (const std::string& entry : entries) {
    sorted.emplace_back(lower(entry), &entry);
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });

  std::size_t record = std::string_view("4294967295 4294967295 4294967295").size() + 1;
  for (const auto& entry : sorted) {
    record = std::max(record, entry.first.size() + 1);
  }
  constexpr std::uint64_t kLimit = std::numeric_limits<std::uint32_t>::max();
  if (record > std::numeric_limits<std::int32_t>::max()) {
    throw std::runtime_error(path + ": an entry is too long for a record");
  }

  std::vector<std::string> lines(1);
  std::uint64_t bytes = 0;
  const std::string* last = nullptr;
  for (const auto& [lowered, entry] : sorted) {
    const bool again = last != nullptr && *last == lowered;
    if (lowered.empty() || again ||
        !resource_line_survives(*entry, static_cast<std::uint32_t>(record))) {
      ++report.dropped;
      continue;
    }
    last = &lowered;
    report.longest = std::max(report.longest, count_words(lowered));
    bytes += lowered.size() + 1;
    lines.push_back(*entry);
  }
  report.entries = lines.size() - 1;
  if (report.entries == 0) {
    throw std::runtime_error(path + ": no entries to write; leave the recasing resource out");
  }
  if (bytes > kLimit) {
    throw std::runtime_error(path + ": entries have more than 4294967295 bytes; write fewer");
  }
  lines[0] = std::to_string(report.longest) + " " + std::to_string(report.entries) + " " +
             std::to_string(bytes);
  write_resource_file(path, lines, static_cast<std::uint32_t>(record));
  return report;
}

}  // namespace koralite::toolkit
