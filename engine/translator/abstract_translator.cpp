#include "translator/abstract_translator.h"

#include <stdexcept>

namespace koralite::translator {

bool AbstractTranslator::Translate(textProcess::ProcessWordSeq&, std::string&, std::string&) {
  throw std::runtime_error("Not support this type of translate!");
}

bool AbstractTranslator::Translate(textProcess::ProcessWordSeq&, std::string&,
                                   std::vector<common::align_t>&, std::string&) {
  throw std::runtime_error("Not support this type of translate!");
}

}  // namespace koralite::translator
