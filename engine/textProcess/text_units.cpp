#include "textProcess/text_units.h"

#include "textProcess/text_helpers.h"

namespace koralite::textProcess {
namespace {

constexpr std::size_t kShortestRun = 5;  // of one byte
constexpr std::size_t kShortestUrl = 4;

bool ends_token(char c) {
  return c == ' ' || c == '\0';
}
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr common::ByteSet kWordBytes(kLetters, "0123456789_");
constexpr common::ByteSet kLabelBytes(kLetters, "0123456789_-");
constexpr common::ByteSet kPathBytes(kLetters, "0123456789_-./");

bool is_word_byte(char c) {
  return kWordBytes.contains(c);
}
bool is_label_byte(char c) {
  return kLabelBytes.contains(c);
}
bool is_path_byte(char c) {
  return kPathBytes.contains(c);
}

bool stops_head(char c) {
  switch (c) {
    case ',':
    case ';':
    case '?':
    case '!':
    case ' ':
    case ':':
    case '@':
    case '\0':
      return true;
    default:
      return false;
  }
}

}  // namespace

template <class Inside>
std::size_t UnitScanner::run_end(Run& run, std::size_t at, Inside inside) const {
  if (run.known && run.from <= at && at <= run.end) {
    return run.end;
  }
  run.known = true;
  run.from = at;
  run.end = at;
  while (run.end < text_.size() && inside(text_[run.end])) {
    ++run.end;
  }
  return run.end;
}

std::size_t UnitScanner::function_at(std::size_t at) {
  const std::size_t end = run_end(word_, at, is_word_byte);
  return end > at && byte(end) == '(' && byte(end + 1) == ')' ? end + 2 - at : 0;
}

void UnitScanner::enter_token(std::size_t at) {
  in_token_ = true;
  has_dot_ = false;
  has_flaw_ = false;
  token_end_ = at;
  while (token_end_ < text_.size() && !ends_token(text_[token_end_])) {
    if (text_[token_end_] == '.') {
      has_dot_ = true;
      last_dot_ = token_end_;
    }
    ++token_end_;
  }
  if (!has_dot_) {
    return;
  }
  // What forbids an address from its first dot on: a dot without letters or digits beside it
  // (behind it the token may end), an odd byte that is not the token's last. The last flaw decides.
  for (std::size_t i = token_end_; i-- > at;) {
    const char c = text_[i];
    bool flaw = false;
    if (c == '.') {
      flaw = i == 0 || !text_is_digit_or_letter(text_[i - 1]) ||
             (i + 1 < token_end_ && !text_is_digit_or_letter(text_[i + 1]));
    } else {
      flaw = !is_path_byte(c) && i + 1 < token_end_;
    }
    if (flaw) {
      has_flaw_ = true;
      last_flaw_ = i;
      return;
    }
  }
}

std::size_t UnitScanner::url_at(std::size_t at) {
  if (ends_token(byte(at))) {
    return 0;
  }
  if (!in_token_ || at >= token_end_) {
    enter_token(at);
  }
  if (!has_dot_ || last_dot_ < at) {
    return 0;
  }

  const std::size_t stop = run_end(path_, at, is_path_byte);
  const char stopper = byte(stop);
  if (!stops_head(stopper)) {
    return 0;
  }
  std::size_t host = at;
  Run* label = &label_;
  if (stopper == ':' && byte(stop + 1) == '/' && byte(stop + 2) == '/') {
    host = stop + 3;
    label = &head_label_;
  } else if (stopper == '@') {
    host = stop + 1;
    label = &head_label_;
  }

  const std::size_t dot = run_end(*label, host, is_label_byte);
  if (dot == host || byte(dot) != '.' || !text_is_digit_or_letter(byte(dot + 1))) {
    return 0;
  }
  if (has_flaw_ && dot <= last_flaw_) {
    return 0;
  }

  const char last = text_[token_end_ - 1];
  const std::size_t length =
      token_end_ - at - (text_is_digit_or_letter(last) || last == '/' ? 0 : 1);
  if (length < kShortestUrl) {
    return 0;
  }
  return text_[at + length - 1] == '.' || text_[at + length - 2] == '.' ? 0 : length;
}

std::size_t UnitScanner::integral_at(std::size_t at) {
  const char first = byte(at);
  if (first == '\0') {
    return 0;
  }
  if (const std::size_t length = url_at(at)) {
    return length;
  }
  if (const std::size_t length = function_at(at)) {
    return length;
  }
  std::size_t end = at + 1;
  while (byte(end) == first) {
    ++end;
  }
  if (end - at >= kShortestRun) {
    return end - at;
  }
  if (!text_is_non_ascii(first)) {
    return 0;
  }
  while (text_is_non_ascii(byte(end))) {
    ++end;
  }
  return end - at;
}

std::size_t UnitScanner::plain_word_end(std::size_t at) {
  std::size_t end = at;
  std::size_t first = at;  // of the bytes equal to the one looked at
  std::size_t run = 0;     // where five such bytes begin, if run_found
  bool run_found = false;
  for (; end < text_.size() && kWordBytes.contains(text_[end]); ++end) {
    if (text_[end] != text_[first]) {
      first = end;
    } else if (end + 1 - first == kShortestRun) {
      run = first;
      run_found = true;
      break;
    }
  }
  if (run_found) {
    if (run == at) {
      return at;
    }
    end = run_end(word_, at, is_word_byte);
  }
  // A word that ends its token is plain. Otherwise the rest of the token has a say.
  if (!ends_token(byte(end))) {
    if (byte(end) == '(' && byte(end + 1) == ')') {
      return at;
    }
    if (!in_token_ || at >= token_end_) {
      enter_token(at);
    }
    if (has_dot_ && last_dot_ >= at) {
      return at;
    }
  }
  return run_found ? run : end;
}

std::size_t text_is_function(const char* text) {
  return UnitScanner(text).function_at(0);
}

std::size_t text_is_url(const char* text) {
  return UnitScanner(text).url_at(0);
}

std::size_t text_is_integral(const char* text) {
  return UnitScanner(text).integral_at(0);
}

}  // namespace koralite::textProcess
