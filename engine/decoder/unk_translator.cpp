#include "decoder/unk_translator.h"

namespace koralite::decoder {

void UnkTranslator::translate(const char* word, std::string& result) const {
  if (copy_) {
    result.assign(word);
  } else {
    result.clear();
  }
}

}  // namespace koralite::decoder
