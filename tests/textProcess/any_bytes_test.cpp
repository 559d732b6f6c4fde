// Every string step on texts of any bytes: the same text with and without
// positions, positions that stay inside the source and in order, and linear time.

#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_split.h"
#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/detokenize_eng_str_processors.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/norm_str_processors.h"
#include "textProcess/tokenize_eng_str_processor.h"
#include "text_steps.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

struct Step {
  std::unique_ptr<AbstractStringProcessor> step;
  bool copies;  // whether each byte of the output but blanks is the one at its position
};

template <class Processor>
Step step(bool copies) {
  return {std::make_unique<Processor>(0), copies};
}

std::vector<Step> all_steps() {
  std::vector<Step> steps;
  steps.push_back(step<TokenizeEngStrProcessor>(true));
  steps.push_back(step<DetokenizeEngStrProcessor>(true));
  steps.push_back(step<InsertBlankEngStrProcessor>(true));
  steps.push_back(step<ConnectEllipsisStrProcessor>(true));
  steps.push_back(step<UniqueBlankStrProcessor>(true));
  steps.push_back(step<CleanStrProcessor>(true));
  steps.push_back(step<EraseBlankChsStrProcessor>(true));
  steps.push_back(step<EraseCommaStrProcessor>(true));
  steps.push_back(step<RestoreSpecCharStrProcessor>(true));
  steps.push_back(step<ReplaceSpecCharStrProcessor>(false));
  steps.push_back(step<LowercaseEngStrProcessor>(false));
  steps.push_back(step<Sbc2DbcStrProcessor>(false));
  steps.push_back(step<NormPuncChsStrProcessor>(false));
  steps.push_back(step<NormPuncEngStrProcessor>(false));
  steps.push_back({std::make_unique<ReplaceCharStrProcessor>(0, nullptr, '\t', ' '), false});
  steps.push_back({std::make_unique<EngRecaseStrProcessor>(0, nullptr, ""), false});
  return steps;
}

// Texts that make every rule likely: short pieces that the rules name, and wild bytes.
std::string random_text(std::mt19937& random) {
  constexpr std::string_view kPieces[] = {
      " ",   " ",     "  ",   ".",     "...",  ",",        ":",    "'",   "\"",  "-", "(",
      ")",   "a",     "S",    "b",     "The",  "mr",       "'s",   "1",   "234", "#", "\\",
      "\t",  "\n",    "\0"sv, "中",    "，",   "：",       "。",   "　",  "Ａ",  "…", "“",
      "://", "ab.cd", "f()",  "aaaaa", "\xe3", "\xef\xbc", "\x80", "\xff"};
  std::string text;
  for (std::size_t count = random() % 30; count > 0; --count) {
    const std::size_t pick = random() % (std::size(kPieces) + 3);
    text += pick < std::size(kPieces) ? std::string(kPieces[pick])
                                      : std::string(1, static_cast<char>(random() % 256));
  }
  return text;
}

TEST(AnyBytes, BothPathsAgreeAndPositionsHold) {
  const std::vector<Step> steps = all_steps();
  std::mt19937 random(7);
  for (int round = 0; round < 8000; ++round) {
    const std::string text = random_text(random);
    for (const Step& s : steps) {
      const ProcessStr plain = run_plain(*s.step, text);
      const ProcessStr placed = run_placed(*s.step, text);
      ASSERT_EQ(plain.text(), placed.text()) << s.step->name() << " of [" << text << "]";
      ASSERT_TRUE(placed.consistent()) << s.step->name() << " of [" << text << "]";
      std::int32_t before = 0;
      for (std::size_t i = 0; i < placed.text().size(); ++i) {
        const std::int32_t place = placed.positions()[i];
        ASSERT_LE(before, place) << s.step->name() << " of [" << text << "]";
        ASSERT_LT(place, static_cast<std::int32_t>(text.size()));
        if (s.copies && placed.text()[i] != ' ') {
          ASSERT_EQ(placed.text()[i], text[static_cast<std::size_t>(place)]) << s.step->name();
        }
        before = place;
      }
    }
    ProcessStr escaped = run_placed(*step<ReplaceSpecCharStrProcessor>(false).step, text);
    ASSERT_NE(step<RestoreSpecCharStrProcessor>(true).step->Process(escaped), 0);
    ASSERT_EQ(escaped.text(), text);
  }
}

TEST(AnyBytes, PositionsThatDoNotNumberTheBytesAreRefused) {
  for (const Step& s : all_steps()) {
    ProcessStr str(true, "a, b");
    EXPECT_EQ(s.step->Process(str), 0) << s.step->name();
    EXPECT_EQ(str.text(), "a, b") << s.step->name();
  }
}

TEST(AnyBytes, ChainsRunInOrderAndStopAtAFailure) {
  class Fails final : public AbstractStringProcessor {
   public:
    Fails() : AbstractStringProcessor(0, nullptr, "fails") {}
    int OnProcess(ProcessStr&) override { return 0; }
  };
  CleanStrProcessor after_failure(0, std::make_unique<Fails>());
  ProcessStr str(false, "\0"s);
  EXPECT_EQ(after_failure.Process(str), 0);
  EXPECT_EQ(str.text().size(), 1U);

  UniqueBlankStrProcessor last(
      0, std::make_unique<ReplaceCharStrProcessor>(
             0, std::make_unique<ReplaceCharStrProcessor>(0, nullptr, 'a', 'b'), 'b', ' '));
  expect_texts(last, {{"xaby", "x y"}});
}

// A quadratic step would need a minute for such a text; a linear one needs milliseconds.
TEST(AnyBytes, HalfAMegabyteOfAnythingTakesLinearTime) {
  constexpr std::size_t kSize = 1U << 19U;
  constexpr double kSeconds = 5;
  const auto check = [&](std::string_view what, std::string_view piece, const auto& run) {
    const std::clock_t start = std::clock();
    run();
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_LT(seconds, kSeconds) << what << " of half a megabyte of [" << piece << "]";
  };
  const std::vector<Step> steps = all_steps();
  for (const std::string_view piece : {"a"sv,  "."sv,    "\""sv,  "'"sv,   "-"sv,  " "sv,  "\0"sv,
                                       "中"sv, "\x80"sv, "a.b"sv, "ab."sv, "a'"sv, "'s"sv, "@a"sv,
                                       "a:"sv, "://"sv,  "a_("sv, "1,"sv,  " ."sv, ".A"sv, "!"sv}) {
    std::string text;
    while (text.size() < kSize) text += piece;
    for (const Step& s : steps) {
      check(s.step->name(), piece, [&] { run_placed(*s.step, text); });
    }
    std::string out;
    check("split_sent", piece, [&] {
      common::text_split_sent_eng(text, out);
      common::text_split_sent_chs(text, out);
      common::text_uppercase_eng(text, out);
    });
  }
}

}  // namespace
}  // namespace koralite::textProcess
