// EngNumAcceptor: reads numbers written in lower-case English words.
//
// A token is a word up to the next blank: "twenty-one" is one, "twenty one" two.
// Token types: 0 a digit word (0 to 99, and "a" for one), 1 a base (thousand to
// trillion; the value is its index), 2 "point", 3 an ordinal digit word, 4 an
// ordinal base, 5 "and", 6 "double", 7 "hundred", 8 "hundredth". The word table
// is filled once; reading is safe from several threads.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "common/string_hash_map.h"
#include "numtrans/num_acceptor.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {

class EngNumAcceptor : public NumAcceptor {
 public:
  static constexpr const auto& ENG_DIGITS = kEngDigitWords;
  static constexpr const auto& ENG_ORDINAL_DIGITS = kEngOrdinalWords;
  static constexpr const auto& ENG_BASES = kEngBaseWords;
  static constexpr const auto& ENG_ORDINAL_BASES = kEngOrdinalBaseWords;
  static constexpr const auto& ENG_BASE_VALUES = kEngBaseNumbers;
  static constexpr const auto& ENG_BASE_SIZES = kEngBaseLengths;
  static constexpr const char* ENG_A = "a";
  static constexpr const char* ENG_POINT = "point";
  static constexpr const char* ENG_AND = "and";
  static constexpr const char* ENG_DOUBLE = "double";
  static constexpr const char* ENG_HUNDRED = "hundred";
  static constexpr const char* ENG_HUNDREDTH = "hundredth";

  EngNumAcceptor();

  // Categories (ed), (eb), (eds), (ei), (ef), (eo). Blanks before a word are
  // skipped; the cursor ends right after the last word taken.
  bool accept(const char*& cursor, const char* category, Number& result) const override;
  bool read_token(const char*& cursor, int& type, int& value) const override;

  // All words that the acceptor knows.
  void get_keywords(std::vector<const char*>& words) const;

 private:
  bool accept_digits(const char*& cursor, Number& result) const;
  bool accept_integer(const char*& cursor, Number& result) const;
  bool accept_ordinal(const char*& cursor, Number& result) const;
  bool accept_float(const char*& cursor, Number& result) const;

  common::StringHashMap<token_t> tokens_{65536};
};

}  // namespace koralite::numtrans
