// EcNumTranslator: rules from English to Chinese.
//
// Phrases are the blank-separated, lower-case tokens of the English text steps.
// Ownership and threads as in RuleTranslator.
#pragma once

#include "numtrans/chs_num_generator.h"
#include "numtrans/eng_num_acceptor.h"
#include "numtrans/num_translator.h"

namespace koralite::numtrans {

class EcNumTranslator : public NumTranslator<EngNumAcceptor, ChsNumGenerator> {
 public:
  explicit EcNumTranslator(const common::FilePath& path);

  // True when each word is a digit string, a number word or a word of some
  // rule's literal text.
  bool is_acceptable(const char* text) const override;
};

}  // namespace koralite::numtrans
