// CeNumTranslator: rules from Chinese to English.
//
// Phrases are segmented words put together without blanks. Ownership and threads
// as in RuleTranslator.
#pragma once

#include "numtrans/chs_num_acceptor.h"
#include "numtrans/eng_num_generator.h"
#include "numtrans/num_translator.h"

namespace koralite::numtrans {

class CeNumTranslator : public NumTranslator<ChsNumAcceptor, EngNumGenerator> {
 public:
  explicit CeNumTranslator(const common::FilePath& path);

  // True when each character is a digit, a full stop, a numeral or a character
  // of some rule's literal text.
  bool is_acceptable(const char* text) const override;
};

}  // namespace koralite::numtrans
