// NumAcceptor: reads a written number at a place in a text.
//
// An acceptor reads from the cursor or fails: it skips no garbage and never looks
// further on. It is greedy and stops, without failing, in front of the first
// token that does not fit. It reports by its result alone, never by exceptions.
// Built once and only read afterwards: safe from several threads.
#pragma once

#include <cstdint>
#include <string_view>

#include "numtrans/number.h"

namespace koralite::numtrans {

class NumAcceptor {
 public:
  virtual ~NumAcceptor() = default;

  // Reads a number of the category (short or long name) from the zero-terminated
  // text at `cursor`. On success `result` is set and the cursor stands after the
  // last token taken; on failure neither is to be relied on.
  virtual bool accept(const char*& cursor, const char* category, Number& result) const = 0;

  // Reads one token: its type and value, in the acceptor's own numbering. On
  // success the cursor stands after it; on failure it is unchanged.
  virtual bool read_token(const char*& cursor, int& type, int& value) const = 0;

 protected:
  struct token_t {
    std::int32_t type;
    std::int32_t value;
  };

  // Reads one token of this type.
  bool take(const char*& cursor, int wanted, int& value) const;
  // Reads a run of tokens of type `digit`, each of them a digit. One that the result has no room
  // for ends the run: it is taken, but dropped.
  bool accept_digit_run(const char*& cursor, int digit, Number& result) const;
};

// Appends the digits read as a fraction to an integer; false when the result
// would have more than Number::MAX_SIZE digits or leave 64 bits.
bool join_fraction(Number& integer, const Number& fraction);

// Whether the text that an acceptor took for a number of this category holds a
// digit that the number does not: a digit run swallows the 19th digit.
bool has_dropped_digit(std::string_view category, std::string_view taken, const Number& number);

}  // namespace koralite::numtrans
