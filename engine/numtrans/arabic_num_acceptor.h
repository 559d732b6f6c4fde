// ArabicNumAcceptor: reads numbers written with the digits 0 to 9 and a full
// stop. Token types: 0 a digit, 1 the full stop. Stateless.
#pragma once

#include "numtrans/num_acceptor.h"

namespace koralite::numtrans {

class ArabicNumAcceptor : public NumAcceptor {
 public:
  // Categories (ad), (ads), (ai), (ao), (af). A run of digits takes one digit
  // more than Number::MAX_SIZE if there is one, and drops it.
  bool accept(const char*& cursor, const char* category, Number& result) const override;
  bool read_token(const char*& cursor, int& type, int& value) const override;

  // Digits and full stops only, any number of them, and then at most one of the
  // endings "th", "st", "nd", "rd".
  static bool is_acceptable(const char* word);
  static bool is_acceptable(const char* begin, const char* end);
  static bool is_acceptable(char c);

 private:
  bool accept_digits(const char*& cursor, Number& result) const;
  bool accept_float(const char*& cursor, Number& result) const;
};

}  // namespace koralite::numtrans
