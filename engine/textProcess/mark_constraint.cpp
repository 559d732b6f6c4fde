#include "textProcess/mark_constraint.h"

#include <array>
#include <new>
#include <stdexcept>
#include <string>

#include "decoder/vocab.h"

namespace koralite::textProcess {

namespace {

int class_at(std::span<const unsigned char> classes, int p) {
  return classes[static_cast<std::size_t>(p)];
}

}  // namespace

void MarkConstraint::initialize(const decoder::Vocab& source_vocab) {
  try {
    class_of_id_.assign(source_vocab.word_count() + decoder::Vocab::kFirstWordId, 0);
  } catch (const std::bad_alloc&) {
    throw std::runtime_error(std::string("failed to malloc memory in ") + name_ + "::initialize()");
  }
  unsigned char mark_class = 0;
  for (const char* mark : marks_) {
    ++mark_class;
    int id = 0;
    if (!source_vocab.find(mark, id) || id < 0) {
      continue;
    }
    if (static_cast<std::size_t>(id) < class_of_id_.size()) {
      class_of_id_[static_cast<std::size_t>(id)] = mark_class;
    }
  }
}

void MarkConstraint::build(std::span<const std::int32_t> words) {
  const std::span<int> codes = reset(words.size());
  std::array<unsigned char, kMaxPositions> memory{};
  const std::span<unsigned char> classes{memory.data(), words.size()};
  for (std::size_t p = 0; p < words.size(); ++p) {
    const std::int32_t id = words[p];
    const bool known = id >= 0 && static_cast<std::size_t>(id) < class_of_id_.size();
    if (known) {
      classes[p] = class_of_id_[static_cast<std::size_t>(id)];
    }
  }
  for (std::size_t p = 0; p < words.size(); ++p) {
    if (classes[p] != 0) {
      codes[p] = code_at(classes, static_cast<int>(p));
    }
  }
}

int MarkConstraint::opening_code(std::span<const unsigned char> classes, int p, int closing) {
  const int opening = class_at(classes, p);
  int depth = 0;
  for (int q = p + 1; q < static_cast<int>(classes.size()); ++q) {
    const int here = class_at(classes, q);
    if (here == opening) {
      ++depth;
    }
    if (here == closing && depth-- == 0) {
      return q - p - 1;
    }
  }
  return 0;
}

int MarkConstraint::closing_code(std::span<const unsigned char> classes, int p, int opening) {
  const int closing = class_at(classes, p);
  int depth = 0;
  for (int q = p - 1; q >= 0; --q) {
    const int here = class_at(classes, q);
    if (here == closing) {
      ++depth;
    }
    if (here == opening && depth-- == 0) {
      return q - p + 1;
    }
  }
  return 0;
}

int MarkConstraint::clause_code(std::span<const unsigned char> classes, int p) {
  for (int q = p - 1; q >= 0; --q) {
    if (class_at(classes, q) != 0) {
      return q - p + 1;
    }
  }
  return -p;
}

}  // namespace koralite::textProcess
