// Units of English text that tokenization must not split: addresses, empty
// function calls, long runs of one byte, runs of non-ASCII bytes.
//
// The free functions look at one place of a zero-terminated text. UnitScanner
// answers the same for every index of a text in turn, in linear time overall: all
// that an address asks of the bytes after it is a fact of the token's tail, found
// once per token and carried along.
#pragma once

#include <cstddef>
#include <string_view>

namespace koralite::textProcess {

// Length of the empty function call ("name()") that begins here, or 0.
std::size_t text_is_function(const char* text);
// Length of the address-like unit ("abc.def", "ab://cd.ef/g") that begins here, or 0.
std::size_t text_is_url(const char* text);
// Length of the unit that begins here and must stay whole, or 0.
std::size_t text_is_integral(const char* text);

class UnitScanner {
 public:
  // Borrows the text, which may hold any bytes; a zero byte ends what is seen from before it.
  explicit UnitScanner(std::string_view text) : text_(text) {}

  // As the free functions, for the text from `at` on. Calls must not go back: each `at` is at or
  // after that of the call before.
  std::size_t function_at(std::size_t at);
  std::size_t url_at(std::size_t at);
  std::size_t integral_at(std::size_t at);

  // The end of a stretch of word bytes from `at` on in which no unit begins, as far as that is seen
  // at once; `at` where it is not. Not going back either.
  std::size_t plain_word_end(std::size_t at);

 private:
  // The first byte at or after `at` that is outside of some class, remembered for the next call.
  struct Run {
    std::size_t from = 0;
    std::size_t end = 0;
    bool known = false;
  };

  template <class Inside>
  std::size_t run_end(Run& run, std::size_t at, Inside inside) const;
  // The byte at `at`; 0 at the end of the text.
  char byte(std::size_t at) const { return at < text_.size() ? text_[at] : '\0'; }
  void enter_token(std::size_t at);

  std::string_view text_;

  // Facts of the token that url_at is in: it ends at a space, a zero byte or the text's end.
  bool in_token_ = false;
  std::size_t token_end_ = 0;
  std::size_t last_dot_ = 0;   // with has_dot_
  std::size_t last_flaw_ = 0;  // with has_flaw_: no address has its first dot at or before this
  bool has_dot_ = false;
  bool has_flaw_ = false;

  Run word_;        // word bytes
  Run path_;        // what may stand before an address's "://" or "@"
  Run label_;       // of an address without such a head
  Run head_label_;  // of an address after such a head
};

}  // namespace koralite::textProcess
