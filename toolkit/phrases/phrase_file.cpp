#include "toolkit/phrases/phrase_file.h"

#include <charconv>
#include <cstring>
#include <stdexcept>

#include "common/mapped_file.h"
#include "toolkit/folder/tag_words.h"

namespace koralite::toolkit {

namespace {

constexpr std::string_view kBars = " ||| ";

void append_words(std::string& text, std::span<const WordId> words, const WordTable& table) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) {
      text += ' ';
    }
    text += table.word(words[i]);
  }
}

template <class Number>
void append_number(std::string& text, Number number) {
  char buffer[32];
  std::to_chars_result result{};
  if constexpr (std::is_floating_point_v<Number>) {
    result = std::to_chars(buffer, buffer + sizeof(buffer), number, std::chars_format::general, 6);
  } else {
    result = std::to_chars(buffer, buffer + sizeof(buffer), number);
  }
  text.append(buffer, result.ptr);
}

// Takes the text up to the next bars.
std::string_view take_field(std::string_view& rest) {
  const std::size_t end = rest.find(kBars);
  const std::string_view field = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + kBars.size());
  return field;
}

void split_into(std::string_view text, std::vector<std::string_view>& words) {
  words.clear();
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    if (end > begin) {
      words.push_back(text.substr(begin, end - begin));
    }
    begin = end + 1;
  }
}

template <class Numbers>
bool parse_numbers(std::string_view text, Numbers& numbers) {
  const char* at = text.data();
  const char* const end = at + text.size();
  for (auto& number : numbers) {
    while (at != end && *at == ' ') {
      ++at;
    }
    const auto result = std::from_chars(at, end, number);
    if (result.ec != std::errc()) {
      return false;
    }
    at = result.ptr;
  }
  return at == end;
}

}  // namespace

std::string format_phrase(const PhrasePair& pair, const WordTable& source,
                          const WordTable& target) {
  std::string line;
  append_words(line, pair.source, source);
  line += kBars;
  append_words(line, pair.target, target);
  line += kBars;
  append_number(line, pair.forward);
  for (const double p : {pair.forward_lexical, pair.backward, pair.backward_lexical}) {
    line += ' ';
    append_number(line, p);
  }
  line += kBars;
  bool is_first = true;
  for (std::size_t s = 0; s < pair.source.size(); ++s) {
    for (std::size_t t = 0; t < pair.target.size(); ++t) {
      if (((pair.links >> (s * 8 + t)) & 1U) == 0) {
        continue;
      }
      if (!is_first) {
        line += ' ';
      }
      is_first = false;
      append_number(line, s);
      line += '-';
      append_number(line, t);
    }
  }
  line += kBars;
  append_number(line, pair.count);
  for (const std::uint32_t n : {pair.source_count, pair.target_count}) {
    line += ' ';
    append_number(line, n);
  }
  line += " |||";
  for (const auto& counts : {pair.previous, pair.next}) {
    for (const std::uint32_t n : counts) {
      line += ' ';
      append_number(line, n);
    }
  }
  line += '\n';
  return line;
}

void read_phrase_file(const std::string& path,
                      const std::function<void(const phrase_line_t&)>& use) {
  const common::MappedFile file(path);
  std::string_view text(reinterpret_cast<const char*>(file.data().data()), file.size());
  phrase_line_t phrase;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view rest = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    split_into(take_field(rest), phrase.source);
    split_into(take_field(rest), phrase.target);
    const bool has_scores = parse_numbers(take_field(rest), phrase.probabilities);
    const std::string_view links = take_field(rest);
    take_field(rest);  // counts
    if (!has_scores || phrase.source.empty() || phrase.target.empty() ||
        !parse_numbers(rest, phrase.orientations)) {
      throw std::runtime_error(path + ":" + std::to_string(number) +
                               ": not a line of a trained phrase table; remove the file to have "
                               "it made again");
    }
    phrase.links = parse_links(links);
    use(phrase);
  }
}

bool number_tags(const phrase_line_t& phrase, std::vector<std::string>& target) {
  target.assign(phrase.target.begin(), phrase.target.end());
  std::uint32_t taken = 0;  // source positions
  for (std::size_t t = 0; t < target.size(); ++t) {
    if (!is_tag_word(target[t])) {
      continue;
    }
    bool has_partner = false;
    for (const Link& link : phrase.links) {
      if (link.target != t || link.source >= phrase.source.size()) {
        continue;
      }
      if (phrase.source[link.source] != phrase.target[t]) {
        continue;
      }
      if (((taken >> link.source) & 1U) != 0) {
        return false;
      }
      taken |= 1U << link.source;
      std::uint32_t number = 0;
      for (std::size_t s = 0; s < link.source; ++s) {
        if (phrase.source[s] == phrase.target[t]) {
          ++number;
        }
      }
      target[t].back() = static_cast<char>('0' + number);
      has_partner = true;
      break;
    }
    if (!has_partner) {
      return false;
    }
  }
  // A span that the target leaves out would lose what the text says.
  for (std::size_t s = 0; s < phrase.source.size(); ++s) {
    if (is_tag_word(phrase.source[s]) && ((taken >> s) & 1U) == 0) {
      return false;
    }
  }
  return true;
}

}  // namespace koralite::toolkit
