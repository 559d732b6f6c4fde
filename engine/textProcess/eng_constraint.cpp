#include "textProcess/eng_constraint.h"

namespace koralite::textProcess {

namespace {

constexpr const char* kMarks[] = {"\"", "(", ")", ",", ":", ";", "?", ".", "!", "..."};
enum : unsigned char { kQuote = 1, kOpen, kClose, kComma, kColon, kSemicolon };

// Quotes at even places among the quotes open, those at odd ones close; only the
// last can be left without a partner.
int quote_code(std::span<const unsigned char> classes, int p) {
  int before = 0;
  int previous = 0;
  for (int q = 0; q < p; ++q) {
    if (classes[static_cast<std::size_t>(q)] != kQuote) {
      continue;
    }
    ++before;
    previous = q;
  }
  if (before % 2 == 1) {
    return previous - p + 1;
  }
  for (int q = p + 1; q < static_cast<int>(classes.size()); ++q) {
    if (classes[static_cast<std::size_t>(q)] == kQuote) {
      return q - p - 1;
    }
  }
  return 0;
}

}  // namespace

EngConstraint::EngConstraint() : MarkConstraint(kMarks, "EngConstraint") {}

int EngConstraint::code_at(std::span<const unsigned char> classes, int p) const {
  switch (classes[static_cast<std::size_t>(p)]) {
    case kQuote:
      return quote_code(classes, p);
    case kOpen:
      return opening_code(classes, p, kClose);
    case kClose:
      return closing_code(classes, p, kOpen);
    case kComma:
    case kSemicolon:
      return clause_code(classes, p);
    case kColon:
      return 0;
    default:
      return -p;
  }
}

}  // namespace koralite::textProcess
