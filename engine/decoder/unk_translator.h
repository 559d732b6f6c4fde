// What becomes of a source word that no model can translate. The decoder asks
// the translator that its driver handed it; a language may derive one that, for
// instance, writes the word in another script. Without state that changes, so
// safe to share; it must outlive the decoder.
#pragma once

#include <string>

namespace koralite::decoder {

class UnkTranslator {
 public:
  // With `copy` the word is copied into the output, without it is dropped.
  explicit UnkTranslator(bool copy = true) : copy_(copy) {}
  UnkTranslator(const UnkTranslator&) = default;
  UnkTranslator& operator=(const UnkTranslator&) = default;
  virtual ~UnkTranslator() = default;

  // Sets `result` to the translation of `word` (UTF-8, zero-terminated).
  virtual void translate(const char* word, std::string& result) const;

 protected:
  bool copies() const { return copy_; }

 private:
  bool copy_;
};

}  // namespace koralite::decoder
