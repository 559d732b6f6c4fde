#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "decoder/compact_trans_model.h"
#include "support/cases.h"
#include "support/temp_folder.h"
#include "toolkit/io/line_reader.h"
#include "toolkit/lm/arpa.h"
#include "toolkit/pack/phrase_text.h"

using namespace kora_test;
using namespace koralite::decoder;
using namespace koralite::toolkit;

namespace {

std::string write_gz(const TempFolder& folder, const std::string& name, const std::string& text) {
  gzFile file = ::gzopen(folder.path(name).c_str(), "wb");
  ::gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
  ::gzclose(file);
  return folder.path(name);
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// Ids of "a", "b", "c" and the sentence marks; nothing else has one.
std::int32_t id_of(std::string_view word) {
  static const std::map<std::string_view, std::int32_t> kIds = {
      {"a", 257}, {"b", 258}, {"c", 259}, {"<s>", 260}, {"</s>", 261}, {"<unk>", 256}};
  const auto found = kIds.find(word);
  return found == kIds.end() ? -1 : found->second;
}

TEST(LineReader, CutsLinesOfAnyLengthPlainOrCompressed) {
  const TempFolder folder;
  const std::string long_line(300000, 'x');
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {"", {}},
      {"\n", {""}},
      {"a", {"a"}},
      {"a\n", {"a"}},
      {"a\r\nb\r\n\r\n", {"a", "b", ""}},
      {"a\rb\n", {"a\rb"}},
      {long_line + "\n\n" + long_line, {long_line, "", long_line}},
      {std::string("a\0b\n", 4), {std::string("a\0b", 3)}},
  };
  const auto lines_of = [](const std::string& path) {
    LineReader reader(path);
    std::vector<std::string> lines;
    for (std::string_view line; reader.next(line);) {
      lines.emplace_back(line);
    }
    EXPECT_EQ(reader.number(), lines.size());
    return lines;
  };
  for (const auto& [text, lines] : cases) {
    EXPECT_EQ(lines_of(folder.write("plain", text)), lines);
    EXPECT_EQ(lines_of(write_gz(folder, "packed", text)), lines);
  }
  std::string packed = read_file(write_gz(folder, "packed", "a\n" + long_line));
  const std::string cut = folder.write("cut", packed.substr(0, packed.size() / 2));
  EXPECT_THAT(message_of([&] { lines_of(cut); }), testing::HasSubstr("damaged or cut short"));
  EXPECT_NE(message_of([&] { LineReader reader(folder.path("none")); }), "");
  EXPECT_NE(message_of([&] { LineReader reader(folder.path()); }), "");
  const std::string huge = folder.write("huge", "\n" + std::string(3U << 20U, 'x'));
  EXPECT_THAT(message_of([&] { lines_of(huge); }),
              testing::HasSubstr("huge:2: a line of more than"));
}

const char* const kArpa = R"(a comment

\data\
ngram 1=6
ngram 2=3
ngram 3=1

\1-grams:
-1.0	<unk>
-99	<s>	-0.5
-1.5	</s>
-0.75	a	-0.25
-1	b	0.125
-2	far	-1

\2-grams:
-0.5	<s> a	-0.25
-0.25	a b
-0.5	a far

\3-grams:
-0.125	<s> a b

\end\
after the end anything may stand
)";

TEST(Arpa, ReadsEverySpelling) {
  const TempFolder folder;
  const std::string text = kArpa;
  const std::string paths[] = {
      folder.write("plain", text),
      folder.write("crlf", replaced(text, "\n", "\r\n")),
      folder.write("blanks", replaced(text, "\t", "  ")),
      folder.write("spaced", replaced(replaced(text, "=", " = "), "ngram", "ngram ")),
      write_gz(folder, "packed", text),
  };
  for (const std::string& path : paths) {
    LangModelBuilder builder;
    const arpa_report_t report = read_arpa(path, id_of, builder);
    EXPECT_EQ(report.by_order, (std::vector<std::uint64_t>{6, 3, 1}));
    EXPECT_EQ(report.unknown_words, 2U);
    EXPECT_EQ(builder.write(folder.path("lm")).written, 8U);
    const CompactLmModel model(folder.path("lm"), 3);
    for_cases("cases.txt", "scores", [&](const Case& c) {
      EXPECT_NEAR(model.compute_ngram_score(c.numbers(0)), c.ratios(1).at(0) * std::log(10.0),
                  0.006)
          << path;
    });
  }
}

TEST(Arpa, NamesTheLineOfWhatIsWrong) {
  const TempFolder folder;
  for_cases("cases.txt", "ARPA mistakes", [&](const Case& c) {
    const std::string path = folder.write("arpa", replaced(kArpa, c[0], c[1]));
    LangModelBuilder builder;
    EXPECT_EQ(message_of([&] { read_arpa(path, id_of, builder); }), path + c[2]);
  });
}

TEST(PhraseText, ReadsTablesAndReordering) {
  const TempFolder folder;
  const std::string table =
      "a b ||| c ||| 0.5 0.25 0.5 0.125 ||| 0-0 1-0 ||| 4 2 1 ||| |||\n"
      "a ||| b c ||| 1 1 1 0\n"
      "\n"
      "far ||| a ||| 1 1 1 1\n"
      "||||| a : ||| |||| ||| 1 1 1 1\n"  // phrases may hold bars
      "c ||| ||| 0.5 0.5 0.5 0.5\n";
  const std::string reordering =
      "a b ||| c ||| 0.5 0.25 0.25 0.2 0.3 0.5\n"
      "b ||| b ||| 0.5 0.25 0.25 0.2 0.3 0.5\n";
  for (const bool packed : {false, true}) {
    const std::string ending = packed ? "\r\n" : "\n";
    const std::string tables[] = {replaced(table, "\n", ending),
                                  replaced(reordering, "\n", ending)};
    PhraseTableBuilder builder({.score_size = 7});
    const auto write = [&](const char* name, const std::string& text) {
      return packed ? write_gz(folder, name, text) : folder.write(name, text);
    };
    read_reordering_table(write("reordering", tables[1]), id_of, id_of, builder);
    const phrase_text_report_t report =
        read_phrase_table(write("table", tables[0]), id_of, id_of, builder);
    EXPECT_EQ(report.lines, 5U);
    EXPECT_EQ(report.unknown_words, 2U);
    EXPECT_EQ(report.floored, 1U);
    const auto built = builder.write(folder.path("packed-table"));
    EXPECT_EQ(built.written, 3U);
    EXPECT_EQ(built.lone_reordering, 1U);

    TargetData::s_score_size = 7;
    const CompactTransModel model(folder.path("packed-table"));
    CompactTransModel::target_table_t blocks;
    model.search_sentence(std::vector<int>{257, 258, 259}, blocks);
    std::vector<int> ids;
    std::vector<float> scores;
    ASSERT_TRUE(blocks[0][1].next(ids, scores));
    EXPECT_EQ(ids, std::vector<int>{259});
    EXPECT_FLOAT_EQ(scores[0], std::log(0.5F * 0.25F * 0.5F * 0.125F));
    EXPECT_FLOAT_EQ(scores[1], std::log(0.5F));
    EXPECT_FLOAT_EQ(scores[5], std::log(0.3F));
    ASSERT_TRUE(blocks[0][0].next(ids, scores));
    EXPECT_EQ(ids, (std::vector<int>{258, 259}));
    EXPECT_FLOAT_EQ(scores[0], std::log(1e-10F));
    ASSERT_TRUE(blocks[2][0].next(ids, scores));
    EXPECT_TRUE(ids.empty());
    TargetData::s_score_size = 9;
  }
}

TEST(PhraseText, NamesTheLineOfWhatIsWrong) {
  const TempFolder folder;
  for_cases("cases.txt", "phrase mistakes", [&](const Case& c) {
    const std::string path = folder.write("table", c[0]);
    PhraseTableBuilder builder({.score_size = 7});
    EXPECT_EQ(message_of([&] { read_phrase_table(path, id_of, id_of, builder); }), path + c[1]);
  });
}

}  // namespace
