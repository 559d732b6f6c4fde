#include "textProcess/eng_recase_str_processor.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "common/des_file_reader.h"
#include "common/text_split.h"

namespace koralite::textProcess {
namespace {

[[noreturn]] void refuse() {
  // Programs compare this text, so its spelling stays.
  throw std::runtime_error("Invalidate head info in ercase");
}

// The three numbers that begin the head line.
std::array<std::uint32_t, 3> parse_head(std::string_view line) {
  const auto is_space = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  std::array<std::uint32_t, 3> numbers{};
  const char* at = line.data();
  const char* const end = at + line.size();
  for (std::uint32_t& number : numbers) {
    const char* const before = at;
    while (at != end && is_space(*at)) {
      ++at;
    }
    if (&number != numbers.data() && at == before) {
      refuse();
    }
    if (at != end && *at == '+') {
      ++at;
    }
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc()) {
      refuse();
    }
    at = next;
  }
  return numbers;
}

}  // namespace

EngRecaseStrProcessor::EngRecaseStrProcessor(unsigned id,
                                             std::unique_ptr<AbstractStringProcessor> prior,
                                             const common::FilePath& path)
    : RewriteStrProcessor(id, std::move(prior), "eng-recase") {
  if (!path.empty()) {
    load(path);
  }
}

void EngRecaseStrProcessor::load(const common::FilePath& path) {
  common::DesFileReader reader(path);
  std::string line;
  if (!reader.getline(line)) {
    refuse();
  }
  const auto [max_words, entries, bytes] = parse_head(line);
  if (entries == 0 || bytes == 0) {
    refuse();
  }
  // The buffers grow with what the file really holds, never by the head's word.
  while (reader.getline(line)) {
    if (line.empty()) {
      continue;
    }
    if (starts_.size() == entries || line.size() + 1 > bytes - cased_.size()) {
      refuse();
    }
    starts_.push_back(static_cast<std::uint32_t>(cased_.size()));
    cased_.append(line).push_back('\0');
  }
  if (starts_.size() != entries) {
    refuse();
  }
  common::text_lowercase_eng(cased_, lowered_);
  max_words_ = max_words;
}

std::string_view EngRecaseStrProcessor::lowered_entry(std::size_t index) const {
  const std::size_t begin = starts_[index];
  const std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] : lowered_.size();
  return std::string_view(lowered_).substr(begin, end - 1 - begin);
}

bool EngRecaseStrProcessor::GetNextToken(std::span<const std::string_view>& tokens,
                                         std::string& token) const {
  if (tokens.empty()) {
    return false;
  }
  // Grows the key by a token as long as some entry begins with it; entries that do stand together.
  const std::size_t limit = std::min<std::size_t>(max_words_, tokens.size());
  std::size_t low = 0;
  std::size_t taken = 0;
  std::size_t found = 0;
  std::string& key = token;
  key.clear();
  for (std::size_t n = 1; n <= limit; ++n) {
    if (n > 1) {
      key.push_back(' ');
    }
    key.append(tokens[n - 1]);
    std::size_t high = starts_.size();
    while (low < high) {
      const std::size_t middle = low + (high - low) / 2;
      if (lowered_entry(middle) < key) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low == starts_.size() || !lowered_entry(low).starts_with(key)) {
      break;
    }
    if (lowered_entry(low).size() == key.size()) {
      taken = n;
      found = low;
    }
  }
  if (taken == 0) {
    token = tokens.front();
    tokens = tokens.subspan(1);
  } else {
    token = std::string_view(cased_).substr(starts_[found], lowered_entry(found).size());
    tokens = tokens.subspan(taken);
  }
  return true;
}

template <bool kPlaced>
void EngRecaseStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  std::vector<std::string_view> list;
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t first = std::min(in.find_first_not_of(' ', i), in.size());
    const std::size_t end = std::min(in.find(' ', first), in.size());
    if (first < end) {
      list.push_back(in.substr(first, end - first));
    }
    i = end;
  }
  std::span<const std::string_view> tokens = list;
  std::string unit;
  std::size_t blank = 0;  // where the blanks before the next token begin
  for (auto next = tokens; GetNextToken(next, unit); tokens = next) {
    // A unit has the length of its tokens and single blanks; each byte finds its place in them.
    const char* cased = unit.data();
    for (const std::string_view token : tokens.first(tokens.size() - next.size())) {
      const auto first = static_cast<std::size_t>(token.data() - in.data());
      if (!out.empty()) {
        out.insert(' ', blank);
      }
      if (cased != unit.data()) {
        ++cased;
      }
      for (std::size_t i = 0; i < token.size(); ++i) {
        out.insert(*cased++, first + i);
      }
      blank = first + token.size();
    }
  }
}

int EngRecaseStrProcessor::OnProcess(ProcessStr& str) {
  if (!str.consistent()) {
    return 0;
  }
  if (max_words_ > 0) {
    if (const int result = RewriteStrProcessor::OnProcess(str); result == 0) {
      return result;
    }
  }
  // The first letter of the text is a sentence start like the others.
  common::text_uppercase_eng(str.text(), str.text());
  return 1;
}

KORA_INSTANTIATE_REWRITE(EngRecaseStrProcessor);

}  // namespace koralite::textProcess
