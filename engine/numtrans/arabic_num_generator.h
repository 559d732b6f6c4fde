// ArabicNumGenerator: writes numbers with the digits 0 to 9. Stateless.
#pragma once

#include "numtrans/num_generator.h"

namespace koralite::numtrans {

class ArabicNumGenerator : public NumGenerator {
 public:
  // Categories (ads), (ai), (ao), (af). Always appends.
  bool generate(const Number& number, const char* category, std::string& out) const override;
};

}  // namespace koralite::numtrans
