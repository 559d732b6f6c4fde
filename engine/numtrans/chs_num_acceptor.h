// ChsNumAcceptor: reads numbers written in Chinese numerals.
//
// Token types: 0 a digit (零 to 九, and 两 for two), 1 a base (十 百 千 万 亿 兆;
// the value is its index), 2 the point 点. Other characters, 〇 and the
// traditional and full-width forms among them, are no tokens. The word table is
// filled once; reading is safe from several threads.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "common/string_hash_map.h"
#include "numtrans/num_acceptor.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {

class ChsNumAcceptor : public NumAcceptor {
 public:
  static constexpr std::size_t KEYWORD_LEN = CHS_TOKEN_BYTES;
  static constexpr const auto& CHS_DIGITS = kChsDigitWords;
  static constexpr const auto& CHS_BASES = kChsBaseWords;
  static constexpr const auto& CHS_BASE_VALUES = CHS_BASE_NUMBERS;
  static constexpr const auto& CHS_BASE_SIZES = CHS_BASE_DIGITS;
  static constexpr const char* CHS_LIANG = "两";
  static constexpr const char* CHS_DIAN = "点";

  ChsNumAcceptor();

  // Categories (cd), (cb), (cds), (ci), (cf).
  bool accept(const char*& cursor, const char* category, Number& result) const override;
  bool read_token(const char*& cursor, int& type, int& value) const override;

  // All words that the acceptor knows.
  void get_keywords(std::vector<const char*>& words) const;

 private:
  bool accept_digits(const char*& cursor, Number& result) const;
  bool accept_integer(const char*& cursor, Number& result) const;
  bool accept_float(const char*& cursor, Number& result) const;

  common::StringHashMap<token_t> tokens_{65536};
};

}  // namespace koralite::numtrans
