// What kora check finds in models that only the right builder makes.
#include "toolkit/check/model_checker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decoder/compact_lm_model.h"
#include "decoder/vocab.h"
#include "support/small_model.h"
#include "support/temp_folder.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/pack/phrase_table_builder.h"

namespace {

using namespace koralite;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> problems(const kora_test::TempFolder& folder) {
  return toolkit::check_model_folder(toolkit::open_model_folder(folder.path()), false).problems;
}

TEST(ModelChecker, FindsNgramsThatALinkOfZeroCutsOff) {
  const kora_test::TempFolder folder;
  kora_test::write_small_model(folder.path());
  toolkit::LangModelBuilder builder({.end_id = 258});
  const std::vector<int> words = {259, 260, 261};
  for (std::size_t i = 0; i < words.size(); ++i) {
    builder.add(std::span(words).subspan(i, 1), -2.0F, -0.3F);
  }
  builder.add(std::span(words).first(2), -1.0F, -0.1F);
  builder.add(std::span(words).last(2), -1.0F, -0.1F);
  builder.add(words, -0.5F, 0.0F);
  builder.write(folder.path("lm"));
  ASSERT_THAT(problems(folder), IsEmpty());

  // The only tree of two nodes is that of the last word; its first node leads to the second.
  std::string lm = kora_test::read_file(folder.path("lm"));
  const std::size_t tree = lm.find(std::string("\2\0\0\0", 4), lm.size() - 40);
  ASSERT_NE(tree, std::string::npos);
  ASSERT_EQ(lm.substr(tree + 6, 2), std::string("\2\0", 2));
  lm[tree + 6] = 0;
  folder.write("lm", lm);
  EXPECT_THAT(problems(folder), ElementsAre(HasSubstr(": 1 nodes that no link reaches")));
}

TEST(ModelChecker, FindsTagWordsThatStandForNothing) {
  const kora_test::TempFolder folder;
  kora_test::write_small_model(folder.path());
  decoder::Vocab source;
  decoder::Vocab target;
  source.load(folder.path("source.vocab"));
  target.load(folder.path("target.vocab"));
  const int from = source.encode("<num>#0");
  target.encode("<other>#0");
  const int to = target.encode("<num>#0");
  source.save(folder.path("source.vocab").c_str());
  target.save(folder.path("target.vocab").c_str());
  decoder::CompactLmModel scorer(folder.path("lm"), 8);
  // Two spans of the source stand after two tag words of the target, not after three.
  for (const int digits : {1, 2, 3}) {
    toolkit::PhraseTableBuilder table(
        {.compact = true, .quantifier_path = folder.path("phrases.quant"), .lang_model = &scorer});
    toolkit::phrase_entry_t entry;
    entry.source.push_back(from);
    entry.source.push_back(from);
    for (int digit = 0; digit < digits; ++digit) {
      entry.target.push_back(to + digit);
    }
    entry.translation = -0.1F;
    table.add(entry);
    table.write(folder.path("phrases"));
    const std::vector<std::string> found = problems(folder);
    if (digits < 3) {
      EXPECT_THAT(found, IsEmpty()) << digits;
    } else {
      EXPECT_THAT(found, ElementsAre(HasSubstr("a tag word that stands for no span")));
    }
  }
}

}  // namespace
