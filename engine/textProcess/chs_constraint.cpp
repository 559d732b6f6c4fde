#include "textProcess/chs_constraint.h"

namespace koralite::textProcess {

namespace {

constexpr const char* kMarks[] = {"“",  "”",  "‘",  "’",  "（", "）", "，",
                                  "：", "；", "？", "。", "！", "…"};
// Classes 1 to 6 are three pairs, the opening mark first.
enum : unsigned char { kLastPaired = 6, kComma, kColon, kSemicolon };

}  // namespace

ChsConstraint::ChsConstraint(const char* name) : MarkConstraint(kMarks, name) {}

int ChsConstraint::code_at(std::span<const unsigned char> classes, int p) const {
  const int mark = classes[static_cast<std::size_t>(p)];
  if (mark <= kLastPaired) {
    return mark % 2 == 1 ? opening_code(classes, p, mark + 1) : closing_code(classes, p, mark - 1);
  }
  if (mark == kComma || mark == kSemicolon) {
    return clause_code(classes, p);
  }
  return mark == kColon ? 0 : -p;
}

}  // namespace koralite::textProcess
