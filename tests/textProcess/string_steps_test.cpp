// Every string step: what it makes of the texts of steps.txt, and of any bytes the
// same text with and without positions, positions inside the source and in order.

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/detokenize_eng_str_processors.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/norm_str_processors.h"
#include "textProcess/tokenize_eng_str_processor.h"
#include "text_steps.h"

namespace koralite::textProcess {
namespace {

struct Step {
  const char* section;  // of steps.txt
  bool copies;          // whether each byte of the output but blanks is the one at its position
  std::unique_ptr<AbstractStringProcessor> step;
};

template <class Processor, class... Arguments>
Step make(const char* section, bool copies, Arguments... arguments) {
  return {section, copies, std::make_unique<Processor>(0U, nullptr, arguments...)};
}

std::vector<Step> all_steps() {
  std::vector<Step> steps;
  steps.push_back(make<TokenizeEngStrProcessor>("tokenize_eng", true));
  steps.push_back(make<DetokenizeEngStrProcessor>("detoken", true));
  steps.push_back(make<InsertBlankEngStrProcessor>("insert_blank", true));
  steps.push_back(make<ConnectEllipsisStrProcessor>("connect_ellipsis", true));
  steps.push_back(make<UniqueBlankStrProcessor>("unique_blank", true));
  steps.push_back(make<CleanStrProcessor>("clean", true));
  steps.push_back(make<EraseBlankChsStrProcessor>("erase_blank_chs", true));
  steps.push_back(make<EraseCommaStrProcessor>("erase", true));
  steps.push_back(make<RestoreSpecCharStrProcessor>("restore_spec_char", true));
  steps.push_back(make<ReplaceSpecCharStrProcessor>("replace_spec_char", false));
  steps.push_back(make<LowercaseEngStrProcessor>("lowercase_eng", false));
  steps.push_back(make<Sbc2DbcStrProcessor>("sbc2dbc", false));
  steps.push_back(make<NormPuncChsStrProcessor>("norm_punc_chs", false));
  steps.push_back(make<NormPuncEngStrProcessor>("norm_punc_eng", false));
  steps.push_back(make<ReplaceCharStrProcessor>("text_replace", false, '\t', ' '));
  steps.push_back(make<EngRecaseStrProcessor>("recase without a model", false, ""));
  return steps;
}

TEST(StringSteps, MakeOfTextsWhatTheTableSays) {
  for (const Step& s : all_steps()) {
    expect_cases(*s.step, s.section);
  }
}

// Texts that make every rule likely: short pieces that the rules name, and wild bytes.
std::string random_text(std::mt19937& random) {
  static const auto kPieces = kora_test::read_cases("steps.txt", "pieces of texts").at(0).cells;
  std::string text;
  for (std::size_t count = random() % 30; count > 0; --count) {
    const std::size_t pick = random() % (kPieces.size() + 3);
    text +=
        pick < kPieces.size() ? kPieces[pick] : std::string(1, static_cast<char>(random() % 256));
  }
  return text;
}

TEST(StringSteps, BothPathsAgreeAndPositionsHold) {
  const std::vector<Step> steps = all_steps();
  ReplaceSpecCharStrProcessor escape(0);
  RestoreSpecCharStrProcessor restore(0);
  std::mt19937 random(7);
  for (int round = 0; round < 8000; ++round) {
    const std::string text = random_text(random);
    for (const Step& s : steps) {
      SCOPED_TRACE(std::string(s.section) + " of [" + text + "]");
      const ProcessStr placed = run_step(*s.step, text, true);
      ASSERT_EQ(run_step(*s.step, text, false).text(), placed.text());
      ASSERT_TRUE(placed.consistent());
      std::int32_t before = 0;
      for (std::size_t i = 0; i < placed.text().size(); ++i) {
        const std::int32_t place = placed.positions()[i];
        ASSERT_LE(before, place);
        ASSERT_LT(place, static_cast<std::int32_t>(text.size()));
        if (s.copies && placed.text()[i] != ' ') {
          ASSERT_EQ(placed.text()[i], text[static_cast<std::size_t>(place)]);
        }
        before = place;
      }
    }
    ProcessStr escaped = run_step(escape, text, true);
    ASSERT_NE(restore.Process(escaped), 0);
    ASSERT_EQ(escaped.text(), text);
  }
}

TEST(StringSteps, PositionsThatDoNotNumberTheBytesAreRefused) {
  for (const Step& s : all_steps()) {
    ProcessStr str(true, "a, b");
    EXPECT_EQ(s.step->Process(str), 0) << s.section;
    EXPECT_EQ(str.text(), "a, b") << s.section;
  }
}

TEST(StringSteps, ChainsRunInOrderAndStopAtAFailure) {
  class Fails final : public AbstractStringProcessor {
   public:
    Fails() : AbstractStringProcessor(0, nullptr, "fails") {}
    int OnProcess(ProcessStr&) override { return 0; }
  };
  CleanStrProcessor after_failure(0, std::make_unique<Fails>());
  ProcessStr str(false, std::string(1, 0));
  EXPECT_EQ(after_failure.Process(str), 0);
  EXPECT_EQ(str.text().size(), 1U);

  auto first = std::make_unique<ReplaceCharStrProcessor>(0, nullptr, 'a', 'b');
  ReplaceCharStrProcessor last(0, std::move(first), 'b', ' ');
  EXPECT_EQ(run_step(last, "xaby", false).text(), "x  y");
}

}  // namespace
}  // namespace koralite::textProcess
