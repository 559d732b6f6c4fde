#include "toolkit/train/preparation.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "toolkit/folder/tag_words.h"
#include "toolkit/io/corpus.h"
#include "toolkit/io/parallel.h"
#include "toolkit/train/shared_spans.h"

namespace koralite::toolkit {

namespace {

using textProcess::LangType;
using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

// More copies of one pair teach nothing new, but can drown the rest.
constexpr std::uint32_t kMaxCopies = 10;

// The decoder tells eight spans of one tag apart.
constexpr std::uint32_t kMaxSpans = 8;

constexpr std::size_t kLinesPerBlock = 256;

bool is_valid_utf8(const std::string& text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t i = 0; i < length;) {
    UChar32 character = 0;
    U8_NEXT(bytes, i, length, character);
    if (character < 0) {
      return false;
    }
  }
  return true;
}

std::vector<std::string> words_of(std::string_view text) {
  std::vector<std::string> words;
  for (const std::string_view word : split_blanks(text)) {
    words.emplace_back(word);
  }
  return words;
}

std::string join(const std::vector<std::string>& words, std::string_view between) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) {
      text += between;
    }
    text += word;
  }
  return text;
}

// The first run of whole words from `begin` on whose letters are `letters`; (size, size) if none.
std::pair<std::size_t, std::size_t> find_run(const std::vector<std::string>& words,
                                             const std::string& letters) {
  for (std::size_t begin = 0; begin < words.size(); ++begin) {
    std::size_t length = 0;
    for (std::size_t end = begin; end < words.size() && length < letters.size(); ++end) {
      if (is_tag_word(words[end]) || letters.compare(length, words[end].size(), words[end]) != 0) {
        break;
      }
      length += words[end].size();
      if (length == letters.size()) {
        return {begin, end + 1};
      }
    }
  }
  return {words.size(), words.size()};
}

}  // namespace

Preparer::Preparer(const preparation_files_t& files)
    : source_(language_type(files.direction.source), language_type(files.direction.target),
              files.source_conf, files.folder),
      target_(language_type(files.direction.target), language_type(files.direction.source),
              files.target_conf, files.folder),
      source_spans_(language_type(files.direction.source)),
      target_spans_(language_type(files.direction.target)) {}

std::vector<std::string> Preparer::target(const std::string& line) {
  ProcessStr str(false, line);
  target_.Preprocess(str);
  return words_of(str.text());
}

std::vector<std::string> Preparer::cased_target(const std::string& line) {
  ProcessStr str(true, line);
  str.set_identity();
  target_.Preprocess(str);
  std::string text = str.text();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char original = line[static_cast<std::size_t>(str.positions()[i])];
    if (original >= 'A' && original <= 'Z' && text[i] == original - 'A' + 'a') {
      text[i] = original;
    }
  }
  return words_of(text);
}

std::vector<std::pair<std::string, std::string>> Preparer::names(const std::string& source) {
  ProcessStr str(false, source);
  ProcessWordSeq words(false);
  source_.Preprocess(str, words);
  std::vector<std::pair<std::string, std::string>> names;
  for (const common::word_node_t& node : words.words()) {
    if (node.tag != nullptr && std::string_view(node.tag) == "<PE>#0" &&
        node.translation != nullptr) {
      names.emplace_back(node.word, node.translation);
    }
  }
  return names;
}

prepared_pair_t Preparer::pair(const std::string& source, const std::string& target,
                               std::map<std::string, tag_count_t>& tags) {
  prepared_pair_t result;
  const shared_spans_t shared = share_spans(source_spans_, target_spans_, source, target);
  const document::StandIns& stand_ins = shared.stand_ins;
  ProcessStr str(false, shared.source);
  ProcessWordSeq words(false);
  ProcessWordSeq removed(false);
  source_.Preprocess(str, words);
  source_.TruncatePunct(words, removed);
  result.target = this->target(shared.target);
  for (std::size_t i = removed.words().size(); i-- > 0 && !result.target.empty();) {
    if (result.target.back() != removed.words()[i].translation) {
      break;
    }
    result.target.pop_back();
  }

  std::map<std::string, std::uint32_t> spans;
  for (const common::word_node_t& node : words.words()) {
    if (const std::size_t index = stand_ins.index_of(node.word); index < stand_ins.size()) {
      const std::string name = stand_ins[index].tag;
      std::uint32_t& number = spans['<' + name + ">#"];
      const auto place = std::find(result.target.begin(), result.target.end(), node.word);
      ++tags[name].found;
      if (place == result.target.end() || number == kMaxSpans) {
        result.source.emplace_back(kLostSpan);
        continue;
      }
      ++tags[name].matched;
      *place = '<' + name + ">#" + std::to_string(number++);
      result.source.push_back(*place);
      continue;
    }
    if (node.tag == nullptr || node.translation == nullptr) {
      result.source.emplace_back(node.word);
      continue;
    }
    const std::string stem(node.tag, std::char_traits<char>::length(node.tag) - 1);  // "<tag>#"
    tag_count_t& count = tags[stem.substr(1, stem.size() - 3)];
    ++count.found;
    const std::string letters = join(this->target(node.translation), "");
    const auto [begin, end] = find_run(result.target, letters);
    std::uint32_t& number = spans[stem];
    if (begin == end || number == kMaxSpans) {
      result.source.emplace_back(kLostSpan);
      continue;
    }
    ++count.matched;
    const std::string tag = stem + std::to_string(number++);
    result.source.push_back(tag);
    const auto first = result.target.begin() + static_cast<std::ptrdiff_t>(begin);
    *first = tag;
    result.target.erase(first + 1, result.target.begin() + static_cast<std::ptrdiff_t>(end));
  }
  // What has no partner among the source's words must not be learned as a word.
  for (std::string& word : result.target) {
    if (stand_ins.size() > 0 && stand_ins.index_of(word) < stand_ins.size()) {
      word = kLostSpan;
    }
  }
  return result;
}

prepared_text_t prepare(const preparation_files_t& files, std::span<const std::string> source,
                        std::span<const std::string> target, const preparation_options_t& options,
                        const Progress& progress) {
  if (source.size() != target.size()) {
    throw std::runtime_error("the source has " + std::to_string(source.size()) +
                             " lines, the target " + std::to_string(target.size()) +
                             "; both need a line for each sentence pair");
  }
  const unsigned threads = thread_count(options.threads);
  std::vector<std::unique_ptr<Preparer>> preparers;
  for (unsigned i = 0; i < threads; ++i) {
    preparers.push_back(std::make_unique<Preparer>(files));
  }

  enum class Fate : std::uint8_t { kKept, kEmpty, kTooLong, kIdentical, kIllFormed };
  struct line_t {
    Fate fate = Fate::kKept;
    std::string source;
    std::string target;
    std::size_t source_words = 0;
    std::size_t target_words = 0;
  };
  std::vector<line_t> lines(source.size());
  std::vector<std::map<std::string, tag_count_t>> tags(threads);
  const auto prepare_line = [&](std::size_t i, unsigned worker) {
    line_t& line = lines[i];
    if (!is_valid_utf8(source[i]) || !is_valid_utf8(target[i])) {
      line.fate = Fate::kIllFormed;
    } else if (source[i] == target[i] && !source[i].empty()) {
      line.fate = Fate::kIdentical;
    } else {
      const prepared_pair_t pair = preparers[worker]->pair(source[i], target[i], tags[worker]);
      line.source_words = pair.source.size();
      line.target_words = pair.target.size();
      if (pair.source.empty() || pair.target.empty()) {
        line.fate = Fate::kEmpty;
      } else if (std::max(line.source_words, line.target_words) > options.max_words) {
        line.fate = Fate::kTooLong;
      } else {
        line.source = join(pair.source, " ");
        line.target = join(pair.target, " ");
      }
    }
  };
  parallel_blocks(
      lines.size(), kLinesPerBlock, threads,
      [&](std::size_t begin, std::size_t end, unsigned worker) {
        for (std::size_t i = begin; i < end; ++i) {
          prepare_line(i, worker);
        }
      },
      progress, "prepare");

  prepared_text_t result;
  preparation_report_t& report = result.report;
  report.pairs = lines.size();
  std::unordered_map<std::string, std::uint32_t> copies;
  for (line_t& line : lines) {
    switch (line.fate) {
      case Fate::kEmpty:
        ++report.empty;
        continue;
      case Fate::kTooLong:
        ++report.too_long;
        continue;
      case Fate::kIdentical:
        ++report.identical;
        continue;
      case Fate::kIllFormed:
        ++report.ill_formed;
        continue;
      case Fate::kKept:
        break;
    }
    if (++copies[line.source + '\n' + line.target] > kMaxCopies) {
      ++report.repeated;
      continue;
    }
    report.source_words += line.source_words;
    report.target_words += line.target_words;
    result.source.push_back(std::move(line.source));
    result.target.push_back(std::move(line.target));
  }
  report.kept = result.source.size();
  for (const auto& counts : tags) {
    for (const auto& [tag, count] : counts) {
      report.tags[tag].found += count.found;
      report.tags[tag].matched += count.matched;
    }
  }
  if (report.kept == 0) {
    throw std::runtime_error(
        "no sentence pair is left after preparation: of " + std::to_string(report.pairs) +
        " pairs " + std::to_string(report.empty) + " have an empty side, " +
        std::to_string(report.identical) + " are identical, " + std::to_string(report.too_long) +
        " too long, " + std::to_string(report.ill_formed) + " are not UTF-8");
  }
  return result;
}

std::vector<std::string> prepare_target(const preparation_files_t& files,
                                        std::span<const std::string> lines,
                                        const preparation_options_t& options,
                                        const Progress& progress) {
  const unsigned threads = thread_count(options.threads);
  std::vector<std::unique_ptr<Preparer>> preparers;
  for (unsigned i = 0; i < threads; ++i) {
    preparers.push_back(std::make_unique<Preparer>(files));
  }
  std::vector<std::string> prepared(lines.size());
  parallel_blocks(
      lines.size(), kLinesPerBlock, threads,
      [&](std::size_t begin, std::size_t end, unsigned worker) {
        for (std::size_t i = begin; i < end; ++i) {
          if (!is_valid_utf8(lines[i])) {
            continue;
          }
          prepared[i] = join(preparers[worker]->target(lines[i]), " ");
        }
      },
      progress, "prepare text");
  std::erase_if(prepared, [](const std::string& line) { return line.empty(); });
  return prepared;
}

}  // namespace koralite::toolkit
