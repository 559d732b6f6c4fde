#include "numtrans/chs_num_acceptor.h"

#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

constexpr int kDigitToken = 0;
constexpr int kBaseToken = 1;
constexpr int kPoint = 2;

constexpr int kShi = 0;   // index of 十
constexpr int kWan = 3;   // index of 万, the first of the large bases
constexpr int kZhao = 5;  // index of 兆, the largest base

// total += section x factor, or false when that leaves 64 bits.
bool add_product(std::int64_t& total, std::int64_t section, std::int64_t factor) {
  std::int64_t product = 0;
  return !__builtin_mul_overflow(section, factor, &product) &&
         !__builtin_add_overflow(total, product, &total);
}

// total = (total + section) x factor, or false when that leaves 64 bits.
bool raise(std::int64_t& total, std::int64_t section, std::int64_t factor) {
  return !__builtin_add_overflow(total, section, &total) &&
         !__builtin_mul_overflow(total, factor, &total);
}

// The numeral reader: a machine over tokens. A section is what stands since the
// last large base (below 10000 in a well-formed numeral).
class NumeralReader {
 public:
  enum class Step { kTaken, kFinished, kFailed };

  Step start(int type, int value) {
    if (type == kDigitToken) {
      digit_ = value;
      length_ = 1;
      state_ = State::kDigit;
      return Step::kTaken;
    }
    if (type == kBaseToken && value == kShi) {  // 十五 is 15
      length_ = 2;
      return ten();
    }
    return Step::kFailed;
  }

  Step next(int type, int value) {
    switch (state_) {
      case State::kStart:
        return start(type, value);
      case State::kDigit:
        return type == kBaseToken ? base_after_digit(value) : Step::kFinished;
      case State::kBase:
        if (type == kDigitToken) {
          return digit(value);
        }
        if (type == kBaseToken && value == kShi) {
          return ten();
        }
        if (type == kBaseToken && value >= kWan && value > last_base_) {
          return base_after_base(value);
        }
        return Step::kFinished;
      case State::kLargeBase:
        if (type == kDigitToken) {
          return digit(value);
        }
        if (type == kBaseToken && value == kShi) {
          return ten();
        }
        return Step::kFinished;
      case State::kZero:
        if (type == kDigitToken && value != 0) {
          return digit(value);
        }
        if (type == kBaseToken && value == kShi) {
          return ten();
        }
        return Step::kFinished;
    }
    return Step::kFailed;
  }

  // The value of what was taken; false when there is none that fits.
  bool finish(Number& result) {
    if (state_ == State::kStart) {
      return false;
    }
    if (__builtin_add_overflow(section_, digit_, &section_)) {
      return false;
    }
    if (__builtin_add_overflow(total_, section_, &total_)) {
      return false;
    }
    result.numerator = total_;
    result.length = length_;
    return length_ <= Number::MAX_SIZE;
  }

 private:
  enum class State { kStart, kDigit, kBase, kLargeBase, kZero };

  Step digit(int value) {
    digit_ = value;
    state_ = value == 0 ? State::kZero : State::kDigit;
    return Step::kTaken;
  }

  Step ten() {
    if (!add_product(section_, 1, 10)) {
      return Step::kFailed;
    }
    last_base_ = kShi;
    digit_ = 0;
    state_ = State::kBase;
    return Step::kTaken;
  }

  Step base_after_digit(int base) {
    const auto index = static_cast<std::size_t>(base);
    const std::int64_t value = CHS_BASE_NUMBERS[index];
    if (base < kWan) {
      if (last_base_ <= base) {
        return Step::kFailed;  // 一百二百
      }
      if (!add_product(section_, digit_, value)) {
        return Step::kFailed;
      }
    } else {
      std::int64_t product = 0;
      if (!add_product(section_, digit_, 1) || __builtin_mul_overflow(section_, value, &product)) {
        return Step::kFailed;
      }
      if (total_ < product ? !raise(total_, section_, value)
                           : !add_product(total_, section_, value)) {
        return Step::kFailed;
      }
      section_ = 0;
    }
    last_base_ = base;
    digit_ = 0;
    if (length_ < CHS_BASE_DIGITS[index]) {
      length_ += CHS_BASE_DIGITS[index] - 1;
    }
    state_ = State::kBase;
    return Step::kTaken;
  }

  Step base_after_base(int base) {
    const auto index = static_cast<std::size_t>(base);
    const std::int64_t value = CHS_BASE_NUMBERS[index];
    if (value <= total_) {
      if (!add_product(total_, section_, value)) {
        return Step::kFailed;
      }
    } else {
      if (!raise(total_, section_, value)) {
        return Step::kFailed;
      }
      length_ += CHS_BASE_DIGITS[index] - 1;
    }
    last_base_ = base;
    section_ = 0;
    digit_ = 0;
    state_ = State::kLargeBase;
    return Step::kTaken;
  }

  State state_ = State::kStart;
  std::int64_t total_ = 0;
  std::int64_t section_ = 0;
  std::int64_t digit_ = 0;
  int last_base_ = kZhao;
  int length_ = 0;
};

}  // namespace

ChsNumAcceptor::ChsNumAcceptor() {
  for (std::size_t i = 0; i < CHS_DIGITS.size(); ++i) {
    tokens_.insert(CHS_DIGITS[i], {kDigitToken, static_cast<std::int32_t>(i)});
  }
  tokens_.insert(CHS_LIANG, {kDigitToken, 2});
  for (std::size_t i = 0; i < CHS_BASES.size(); ++i) {
    tokens_.insert(CHS_BASES[i], {kBaseToken, static_cast<std::int32_t>(i)});
  }
  tokens_.insert(CHS_DIAN, {kPoint, 0});
}

void ChsNumAcceptor::get_keywords(std::vector<const char*>& words) const {
  words = {CHS_DIAN, CHS_LIANG};
  words.insert(words.end(), CHS_BASES.begin(), CHS_BASES.end());
  words.insert(words.end(), CHS_DIGITS.begin(), CHS_DIGITS.end());
}

bool ChsNumAcceptor::read_token(const char*& cursor, int& type, int& value) const {
  if ((static_cast<unsigned char>(cursor[0]) & 0xF0U) != 0xE0U) {
    return false;
  }
  if (cursor[1] == '\0' || cursor[2] == '\0') {
    return false;
  }
  token_t token{};
  if (!tokens_.find(cursor, KEYWORD_LEN, token)) {
    return false;
  }
  type = token.type;
  value = token.value;
  cursor += KEYWORD_LEN;
  return true;
}

bool ChsNumAcceptor::accept(const char*& cursor, const char* category, Number& result) const {
  result = Number{};
  int value = 0;
  switch (parse_category(category)) {
    case Category::kChineseDigit:
      if (!take(cursor, kDigitToken, value)) {
        return false;
      }
      result.numerator = value;
      result.length = 1;
      return true;
    case Category::kChineseBase:
      if (!take(cursor, kBaseToken, value)) {
        return false;
      }
      result.numerator = CHS_BASE_VALUES[static_cast<std::size_t>(value)];
      result.length = CHS_BASE_SIZES[static_cast<std::size_t>(value)];
      return true;
    case Category::kChineseDigits:
      return accept_digits(cursor, result);
    case Category::kChineseInteger:
      return accept_integer(cursor, result);
    case Category::kChineseFloat:
      return accept_float(cursor, result);
    default:
      return false;
  }
}

bool ChsNumAcceptor::accept_digits(const char*& cursor, Number& result) const {
  return accept_digit_run(cursor, kDigitToken, result);
}

bool ChsNumAcceptor::accept_integer(const char*& cursor, Number& result) const {
  NumeralReader reader;
  int type = 0;
  int value = 0;
  while (true) {
    const char* const before = cursor;
    if (!read_token(cursor, type, value)) {
      break;
    }
    const NumeralReader::Step step = reader.next(type, value);
    if (step == NumeralReader::Step::kFailed) {
      return false;
    }
    if (step == NumeralReader::Step::kFinished) {
      cursor = before;
      break;
    }
  }
  return reader.finish(result);
}

bool ChsNumAcceptor::accept_float(const char*& cursor, Number& result) const {
  Number fraction;
  int type = 0;
  int value = 0;
  if (!accept_integer(cursor, result)) {
    return false;
  }
  if (!read_token(cursor, type, value) || type != kPoint) {
    return false;
  }
  return accept_digits(cursor, fraction) && join_fraction(result, fraction);
}

}  // namespace koralite::numtrans
