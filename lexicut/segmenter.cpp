#include "lexicut/segmenter.h"

#include <limits>

#include "lexicut/character_class.h"
#include "lexicut/trie_format.h"
#include "lexicut/utf8.h"

namespace lexicut {

namespace format = lexicut_format;

namespace {

constexpr std::uint64_t kUnreached = std::numeric_limits<std::uint64_t>::max();

// What each further byte of a fallback token adds, in thousandths of a nat: little, so that an
// unknown loan word stays whole, but enough for known words to win where they cover it.
constexpr std::uint64_t kByteCost = 150;

bool is_chinese(std::uint32_t character) {
  return (character >= 0x3400 && character <= 0x9FFF) ||
         (character >= 0x20000 && character <= 0x323AF);
}

bool is_digit(unsigned char c) {
  return c >= '0' && c <= '9';
}
bool is_word_byte(unsigned char c) {
  return class_of(c) == CharacterClass::kLetter;
}

// Whether the ASCII mark at text[i] joins what is on both sides, as in 3.14, 10,000, don't, e-mail.
bool joins(const unsigned char* text, std::uint32_t i, std::uint32_t length) {
  if (i == 0 || i + 1 >= length) {
    return false;
  }
  const unsigned char before = text[i - 1];
  const unsigned char after = text[i + 1];
  if (text[i] == ',') {
    return is_digit(before) && is_digit(after);
  }
  if (text[i] != '.' && text[i] != '\'' && text[i] != '-') {
    return false;
  }
  return before < 0x80 && after < 0x80 && is_word_byte(before) && is_word_byte(after);
}

// Whether words of these lengths begin and end between characters.
template <class Place>
bool cuts_characters(std::uint32_t begin, std::span<const unsigned char> lengths,
                     const std::vector<Place>& places) {
  for (const unsigned char bytes : lengths) {
    if (bytes == 0 || places[begin].length == 0) {
      return false;
    }
    begin += bytes;
  }
  return true;
}

// Costs of given names behind the surname trie: three 16-bit costs for each character code.
std::uint32_t given_cost(const Trie& names, std::uint32_t code, std::size_t position) {
  const std::size_t at = (std::size_t{code} * format::kGivenPositions + position) * 2;
  if (code == 0 || at + 2 > names.extra().size()) {
    return format::kGivenUnseen;
  }
  return koralite::common::load_le<std::uint16_t>(names.extra().data() + at);
}

}  // namespace

Lattice::Lattice(std::uint32_t capacity) : places_(std::size_t{capacity} + 1) {}

std::optional<Segmenter> Segmenter::load(const koralite::common::FilePath& dictionary,
                                         const koralite::common::FilePath& names,
                                         const koralite::common::FilePath& ambiguous) {
  auto words = Trie::open(dictionary, format::kDictionaryMagic);
  if (!words) {
    return std::nullopt;
  }
  Segmenter segmenter(std::move(*words));
  if (!names.empty()) {
    segmenter.names_ = Trie::open(names, format::kNamesMagic);
    if (!segmenter.names_) {
      return std::nullopt;
    }
  }
  if (!ambiguous.empty()) {
    segmenter.ambiguous_ = Trie::open(ambiguous, format::kAmbiguousMagic);
    if (!segmenter.ambiguous_) {
      return std::nullopt;
    }
  }
  return segmenter;
}

void Segmenter::read_characters(const unsigned char* text, std::uint32_t length,
                                Lattice& lattice) const {
  auto& places = lattice.places_;
  for (std::uint32_t i = 0; i < length;) {
    std::uint32_t character = 0;
    const std::uint32_t bytes = lexicut_utf8::decode(text + i, length - i, character);
    for (std::uint32_t k = 0; k < bytes; ++k) {
      places[i + k] = {};
      places[i + k].cost = kUnreached;
      places[i + k].closed = k > 0;
    }
    places[i].character = character;
    places[i].code = dictionary_.code_of(character);
    places[i].length = static_cast<std::uint8_t>(bytes);
    i += bytes;
  }
  places[length] = {};
  places[length].cost = kUnreached;

  // Letters and digits stay whole, with the marks between them.
  auto before = CharacterClass::kSingle;
  for (std::uint32_t i = 0; i < length; i += places[i].length) {
    const auto here =
        joins(text, i, length) ? CharacterClass::kLetter : class_of(places[i].character);
    places[i].closed = here == CharacterClass::kLetter && before == CharacterClass::kLetter;
    before = here;
  }
}

void Segmenter::cut_ambiguous(std::uint32_t length, Lattice& lattice) const {
  auto& places = lattice.places_;
  const std::span<const unsigned char> extra = ambiguous_->extra();
  const koralite::common::ByteReader records(extra);
  for (std::uint32_t begin = 0; begin < length;) {
    std::uint32_t node = Trie::kRoot;
    std::uint32_t match_end = 0;
    std::uint32_t record = 0;
    std::uint32_t end = begin;
    for (std::size_t k = 0; k < format::kMaxKeyCharacters && end < length; ++k) {
      node = ambiguous_->step(node, ambiguous_->code_of(places[end].character));
      if (node == Trie::kNoNode) {
        break;
      }
      end += places[end].length;
      if (ambiguous_->value(node) != 0 && !places[end].closed) {
        match_end = end;
        record = ambiguous_->value(node);
      }
    }
    if (match_end == 0 || places[begin].closed) {
      begin += places[begin].length;
      continue;
    }

    // A record: the number of words and the length of each in bytes.
    std::uint32_t offset = 0;
    std::uint8_t count = 0;
    std::span<const unsigned char> lengths;
    std::uint32_t sum = 0;
    if (records.read_at(std::uint64_t{record} * 4, offset) && records.read_at(offset, count) &&
        records.bytes_at(std::uint64_t{offset} + 1, count, lengths)) {
      for (const unsigned char bytes : lengths) {
        sum += bytes;
      }
    }
    if (sum == match_end - begin && cuts_characters(begin, lengths, places)) {
      for (std::uint32_t i = begin + 1; i < match_end; ++i) {
        places[i].closed = true;
      }
      for (const unsigned char bytes : lengths) {
        places[begin].closed = false;
        places[begin].barrier = true;
        places[begin].fixed = true;
        begin += bytes;
      }
      places[match_end].barrier = true;
    } else {
      begin += places[begin].length;
    }
  }
}

// A run of one class is one token, and so is everything up to the next place where a cut may lie.
// Found from the back, so that each character looks at its neighbour only.
void Segmenter::find_fallbacks(std::uint32_t length, Lattice& lattice) {
  auto& places = lattice.places_;
  for (std::uint32_t i = length; i-- > 0;) {
    if (places[i].length == 0) {
      continue;  // inside a character
    }
    const std::uint32_t next = i + places[i].length;
    const auto here = class_of(places[i].character);
    const bool goes_on =
        next < length &&
        (places[next].closed || (!places[next].barrier && here != CharacterClass::kSingle &&
                                 here == class_of(places[next].character)));
    places[i].fallback = goes_on ? places[next].fallback : next;
  }
}

namespace {

template <class Place>
void relax(std::vector<Place>& places, std::uint32_t begin, std::uint32_t end, std::uint64_t cost,
           bool is_name) {
  const std::uint64_t total = places[begin].cost + cost;
  if (total < places[end].cost) {
    places[end].cost = total;
    places[end].previous = begin;
    places[end].is_name = is_name;
  }
}

}  // namespace

void Segmenter::add_words(std::uint32_t begin, std::uint32_t length, Lattice& lattice) const {
  auto& places = lattice.places_;
  std::uint32_t node = Trie::kRoot;
  std::uint32_t end = begin;
  for (std::size_t k = 0; k < format::kMaxKeyCharacters && end < length; ++k) {
    node = dictionary_.step(node, places[end].code);
    if (node == Trie::kNoNode) {
      return;
    }
    end += places[end].length;
    const std::uint32_t value = dictionary_.value(node);
    if (value != 0 && !places[end].closed) {
      relax(places, begin, end, value >> 1, (value & format::kNameFlag) != 0);
    }
    if (places[end].barrier) {
      return;
    }
  }
}

void Segmenter::add_names(std::uint32_t begin, std::uint32_t length, Lattice& lattice) const {
  auto& places = lattice.places_;
  const Trie& names = *names_;
  const std::uint32_t threshold = names.parameter();
  const auto offer = [&](std::uint32_t end, std::uint64_t cost) {
    if (cost <= threshold && !places[end].closed) {
      relax(places, begin, end, cost, true);
    }
  };
  const auto goes_on = [&](std::uint32_t end) {
    return end < length && !places[end].barrier && is_chinese(places[end].character);
  };

  std::uint32_t node = Trie::kRoot;
  std::uint32_t surname_end = begin;
  while (surname_end == begin || goes_on(surname_end)) {
    node = names.step(node, names.code_of(places[surname_end].character));
    if (node == Trie::kNoNode) {
      return;
    }
    surname_end += places[surname_end].length;
    const std::uint64_t surname = names.value(node) >> 1;
    if (surname == 0 || !goes_on(surname_end)) {
      continue;
    }

    const std::uint32_t first = names.code_of(places[surname_end].character);
    const std::uint32_t first_end = surname_end + places[surname_end].length;
    offer(first_end, surname + given_cost(names, first, 0));
    if (!goes_on(first_end)) {
      continue;
    }
    const std::uint32_t second = names.code_of(places[first_end].character);
    offer(first_end + places[first_end].length,
          surname + given_cost(names, first, 1) + given_cost(names, second, 2));
  }
}

void Segmenter::find_path(const unsigned char* text, std::uint32_t length, Lattice& lattice) const {
  read_characters(text, length, lattice);
  if (ambiguous_) {
    cut_ambiguous(length, lattice);
  }
  auto& places = lattice.places_;

  find_fallbacks(length, lattice);
  places[0].cost = 0;
  for (std::uint32_t begin = 0; begin < length; ++begin) {
    if (places[begin].closed || places[begin].cost == kUnreached) {
      continue;
    }
    const std::uint32_t token_end = places[begin].fallback;
    const std::uint32_t further_bytes = token_end - begin - places[begin].length;
    relax(places, begin, token_end, dictionary_.parameter() + kByteCost * further_bytes, false);
    if (places[begin].fixed) {
      continue;
    }
    add_words(begin, length, lattice);
    if (names_ && is_chinese(places[begin].character)) {
      add_names(begin, length, lattice);
    }
  }
}

}  // namespace lexicut
