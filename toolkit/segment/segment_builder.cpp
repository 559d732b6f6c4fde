#include "toolkit/segment/segment_builder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <string_view>

#include "lexicut/trie_format.h"
#include "toolkit/io/byte_writer.h"
#include "toolkit/io/io_error.h"
#include "toolkit/segment/trie_builder.h"

namespace koralite::toolkit {

namespace format = lexicut_format;

namespace {

using points_t = std::vector<std::uint32_t>;

// -ln(probability) in thousandths, at least 1 so that it is never taken for "no word".
std::uint32_t cost_of(double probability) {
  const double cost = std::round(-std::log(probability) * format::kCostScale);
  return static_cast<std::uint32_t>(std::clamp(cost, 1.0, static_cast<double>(format::kMaxCost)));
}

std::uint16_t value_of(double probability, bool is_name) {
  return static_cast<std::uint16_t>((cost_of(probability) << 1) |
                                    (is_name ? format::kNameFlag : 0));
}

// A name of a person cut into surname and given name; empty parts when it is none.
struct person_t {
  points_t surname;
  points_t given;
};

class SurnameSet {
 public:
  explicit SurnameSet(const std::vector<std::string>& surnames) {
    for (const std::string& surname : surnames) {
      surnames_.insert(strict_code_points(surname));
    }
  }

  person_t split(const points_t& name) const {
    for (const std::size_t n : {2U, 1U}) {
      if (name.size() <= n || name.size() > n + 2) {
        continue;
      }
      points_t surname(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(n));
      if (surnames_.contains(surname)) {
        return {std::move(surname), {name.begin() + static_cast<std::ptrdiff_t>(n), name.end()}};
      }
    }
    return {};
  }

 private:
  std::set<points_t> surnames_;
};

std::string utf8_of(const points_t& points) {
  std::string text;
  for (const std::uint32_t c : points) {
    const auto put = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
      put(c);
    } else if (c < 0x800) {
      put(0xC0 | (c >> 6));
      put(0x80 | (c & 0x3F));
    } else {
      if (c < 0x10000) {
        put(0xE0 | (c >> 12));
      } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
      }
      put(0x80 | ((c >> 6) & 0x3F));
      put(0x80 | (c & 0x3F));
    }
  }
  return text;
}

// The share of all names from which on a surname counts as common.
constexpr double kCommonSurnameShare = 0.004;

// How many words tagged as names of persons begin with each surname.
std::map<points_t, double> count_surnames(const std::vector<segment_word_t>& words,
                                          const SurnameSet& surnames) {
  std::map<points_t, double> counts;
  for (const segment_word_t& word : words) {
    if (word.tag != "nr") {
      continue;
    }
    const person_t person = surnames.split(strict_code_points(word.word));
    if (!person.given.empty()) {
      counts[person.surname] += 1;
    }
  }
  return counts;
}

[[noreturn]] void fail_at(const std::string& path, std::size_t line, const std::string& what) {
  throw std::runtime_error(path + ":" + std::to_string(line) + ": " + what);
}

template <class Use>
void for_each_line(const std::string& path, Use&& use) {
  require_readable(path);
  std::ifstream file(path);
  std::string line;
  for (std::size_t number = 1; std::getline(file, line); ++number) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (line.empty() || line.front() == '#') {
      continue;
    }
    use(line, number);
  }
}

}  // namespace

std::vector<segment_word_t> read_segment_words(const std::string& path) {
  std::vector<segment_word_t> words;
  for_each_line(path, [&](const std::string& line, std::size_t number) {
    const std::size_t word_end = line.find_first_of("\t ");
    if (word_end == std::string::npos || word_end == 0) {
      fail_at(path, number, "a line is 'word count [tag]', separated by TABs or spaces");
    }
    segment_word_t word;
    word.word = line.substr(0, word_end);
    const char* begin = line.data() + word_end + 1;
    const char* end = line.data() + line.size();
    const auto [after, error] = std::from_chars(begin, end, word.count);
    if (error != std::errc() || (after != end && *after != '\t' && *after != ' ')) {
      fail_at(path, number, "the count of '" + word.word + "' is no whole number");
    }
    if (after != end) {
      word.tag.assign(after + 1, end);
    }
    words.push_back(std::move(word));
  });
  return words;
}

std::vector<std::string> read_segment_lines(const std::string& path) {
  std::vector<std::string> lines;
  for_each_line(path, [&](std::string& line, std::size_t) { lines.push_back(line); });
  return lines;
}

segment_report_t build_segment_dictionary(const std::string& path,
                                          const std::vector<segment_word_t>& words,
                                          const std::vector<std::string>& surnames) {
  segment_report_t report;
  const SurnameSet surname_set(surnames);
  double total = 0;
  for (const segment_word_t& word : words) {
    total += static_cast<double>(std::max<std::uint64_t>(word.count, 1));
  }
  const std::map<points_t, double> surname_counts = count_surnames(words, surname_set);
  double names = 0;
  for (const auto& [surname, count] : surname_counts) {
    names += count;
  }

  TrieBuilder trie;
  for (const segment_word_t& word : words) {
    const points_t points = strict_code_points(word.word);
    if (points.empty() || points.size() > format::kMaxKeyCharacters) {
      ++report.dropped;
      continue;
    }
    const person_t person = word.tag == "nr" ? surname_set.split(points) : person_t{};
    const bool is_name = person.given.size() == 2 &&
                         surname_counts.at(person.surname) >= kCommonSurnameShare * names;
    const auto count = static_cast<double>(std::max<std::uint64_t>(word.count, 1));
    trie.add(word.word, value_of(count / total, is_name));
    report.person_words += is_name ? 1 : 0;
  }
  report.words = trie.size();
  // A character that is in no word is a little less probable than the rarest word.
  const std::uint32_t unknown = total > 0 ? cost_of(0.5 / total) : 1;
  trie.write(path, format::kDictionaryMagic, unknown, {});
  return report;
}

segment_report_t build_segment_names(const std::string& path,
                                     const std::vector<segment_word_t>& words,
                                     const std::vector<std::string>& surnames, double name_share,
                                     double threshold) {
  segment_report_t report;
  const SurnameSet surname_set(surnames);

  // Every surname counts once before any name was seen.
  std::map<points_t, double> surname_counts = count_surnames(words, surname_set);
  for (const std::string& surname : surnames) {
    surname_counts[strict_code_points(surname)] += 1;
  }
  std::array<std::map<std::uint32_t, double>, format::kGivenPositions> given;
  std::array<double, 2> by_length = {1, 1};  // names with one and with two given characters
  for (const segment_word_t& word : words) {
    if (word.tag != "nr") {
      continue;
    }
    const person_t person = surname_set.split(strict_code_points(word.word));
    if (person.given.empty()) {
      continue;
    }
    by_length[person.given.size() - 1] += 1;
    if (person.given.size() == 1) {
      given[0][person.given[0]] += 1;
    } else {
      given[1][person.given[0]] += 1;
      given[2][person.given[1]] += 1;
    }
  }

  TrieBuilder trie;
  double surname_total = 0;
  for (const auto& [surname, count] : surname_counts) {
    surname_total += count;
  }
  for (const auto& [surname, count] : surname_counts) {
    trie.add(utf8_of(surname), value_of(name_share * count / surname_total, true));
  }
  std::set<std::uint32_t> characters;
  for (const auto& counts : given) {
    for (const auto& [character, count] : counts) {
      characters.insert(character);
    }
  }
  for (const std::uint32_t character : characters) {
    trie.add_character(character);
  }

  const auto codes = trie.codes();
  std::vector<std::uint16_t> costs((codes.size() + 1) * format::kGivenPositions,
                                   format::kGivenUnseen);
  for (std::size_t position = 0; position < given.size(); ++position) {
    double total = 0;
    for (const auto& [character, count] : given[position]) {
      total += count;
    }
    // The share of names of this length goes into the first character's cost.
    const double share = position == 2 ? 1.0 : by_length[position] / (by_length[0] + by_length[1]);
    for (const auto& [character, count] : given[position]) {
      costs[codes.at(character) * format::kGivenPositions + position] =
          static_cast<std::uint16_t>(cost_of(share * count / total));
    }
  }
  ByteWriter extra;
  for (const std::uint16_t cost : costs) {
    extra.put_u16(cost);
  }

  report.surnames = trie.size();
  report.given_characters = characters.size();
  const auto limit = static_cast<std::uint32_t>(std::lround(threshold * format::kCostScale));
  trie.write(path, format::kNamesMagic, limit, {extra.bytes().begin(), extra.bytes().end()});
  return report;
}

segment_report_t build_segment_ambiguous(const std::string& path,
                                         const std::vector<std::string>& segmentations) {
  segment_report_t report;
  TrieBuilder trie;
  std::vector<std::vector<unsigned char>> records;
  std::set<std::string> seen;
  for (const std::string& segmentation : segmentations) {
    std::string key;
    std::vector<unsigned char> record = {0};
    for (std::size_t begin = 0; begin < segmentation.size();) {
      const std::size_t end = std::min(segmentation.find(' ', begin), segmentation.size());
      if (end > begin) {
        if (end - begin > 255) {
          throw std::runtime_error("a word of more than 255 bytes in '" + segmentation + "'");
        }
        record.push_back(static_cast<unsigned char>(end - begin));
        ++record[0];
        key.append(segmentation, begin, end - begin);
      }
      begin = end + 1;
    }
    if (!seen.insert(key).second) {
      throw std::runtime_error("'" + key + "' is given twice; keep one segmentation of it");
    }
    if (records.size() == 0xFFFE) {
      throw std::runtime_error("more than 65534 ambiguous strings");
    }
    records.push_back(std::move(record));
    trie.add(key, static_cast<std::uint16_t>(records.size()));
  }

  // Record i of the trie's values (from 1) begins at the i-th 32-bit offset; entry 0 is the count.
  ByteWriter extra;
  extra.put_u32(static_cast<std::uint32_t>(records.size()));
  auto offset = static_cast<std::uint32_t>(4 * (records.size() + 1));
  for (const auto& record : records) {
    extra.put_u32(offset);
    offset += static_cast<std::uint32_t>(record.size());
  }
  for (const auto& record : records) {
    extra.put_bytes(record);
  }
  report.ambiguous = records.size();
  trie.write(path, format::kAmbiguousMagic, 0, {extra.bytes().begin(), extra.bytes().end()});
  return report;
}

}  // namespace koralite::toolkit
