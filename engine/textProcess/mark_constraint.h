// What the language constraints share: a table from source word id to the class
// of a punctuation mark, and the ways in which a mark finds its partner. A
// language class says which marks there are and what each class means.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "decoder/constraint.h"

namespace koralite::textProcess {

class MarkConstraint : public decoder::Constraint {
 public:
  // Looks the marks up in the source vocabulary; those that it does not hold get
  // no class. Throws std::runtime_error "failed to malloc memory in
  // <class>::initialize()" when there is no memory for the table.
  void initialize(const decoder::Vocab& source_vocab) override;
  void build(std::span<const std::int32_t> words) override;

 protected:
  // `marks`: class k + 1 is marks[k]; `name` is the class's name in messages.
  // Both must live as long as the program.
  MarkConstraint(std::span<const char* const> marks, const char* name)
      : marks_(marks), name_(name) {}

  // The code of position p. `classes` holds the class of each position; one that
  // is not 0 stands at p.
  virtual int code_at(std::span<const unsigned char> classes, int p) const = 0;

  // The codes of a mark that opens or closes a pair, counting nested pairs; 0
  // when it has no partner.
  static int opening_code(std::span<const unsigned char> classes, int p, int closing);
  static int closing_code(std::span<const unsigned char> classes, int p, int opening);
  // The code of a mark that ends a clause: back to the word after the nearest
  // mark of any class, or to the start.
  static int clause_code(std::span<const unsigned char> classes, int p);

 private:
  std::span<const char* const> marks_;
  const char* name_;
  std::vector<unsigned char> class_of_id_;
};

}  // namespace koralite::textProcess
