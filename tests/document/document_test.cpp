// The layer of documents: the recogniser by its table, and translations through the
// small model whose every word is known.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <map>
#include <memory>
#include <string>

#include "document/clause_splitter.h"
#include "document/document_translator.h"
#include "document/markup_scanner.h"
#include "document/span_recognizer.h"
#include "document/text_encoding.h"
#include "support/cases.h"
#include "support/small_model.h"
#include "support/temp_folder.h"

namespace {

using namespace koralite::document;
using kora_test::Case;
using kora_test::for_cases;
using koralite::textProcess::LangType;

const std::map<std::uint32_t, std::string> kNames = {
    {kFormats, "format"},   {kAccelerators, "accelerator"},
    {kTags, "tag"},         {kAddresses, "address"},
    {kFiles, "file"},       {kCode, "code"},
    {kMentions, "mention"}, {kSymbols, "symbol"},
    {kPhones, "phone"},     {kForeignWords, "word"},
    {kPatterns, "pattern"}, {kNumbers, "number"}};

std::string found_in(const SpanRecognizer& recognizer, const std::string& text, bool with_kinds) {
  std::string found;
  for (const span_t& span : recognizer.find(text)) {
    found += (found.empty() ? "" : " ; ") + (with_kinds ? kNames.at(span.kind) + ':' : "") +
             text.substr(span.begin, span.end - span.begin);
  }
  return found;
}

TEST(SpanRecognizer, FindsWhatTheTableSays) {
  for_cases("cases.txt", "spans", [](const Case& c) {
    const SpanRecognizer recognizer(c[1] == "zh" ? LangType::kChinese : LangType::kEnglish);
    EXPECT_EQ(found_in(recognizer, c[0], true), c[2]);
  });
}

TEST(SpanRecognizer, KindsCanBeSwitchedOffAndPatternsAdded) {
  const std::string text = "%s https://a.org foo_bar <b>";
  SpanRecognizer recognizer(LangType::kEnglish, kFormats | kCode);
  EXPECT_EQ(found_in(recognizer, text, false), "%s ; foo_bar");
  recognizer.set_kinds(0);
  EXPECT_EQ(found_in(recognizer, text, false), "");
  for_cases("cases.txt", "patterns", [](const Case& c) {
    SpanRecognizer one(LangType::kEnglish, kPatterns);
    one.add_pattern(c[0]);
    EXPECT_EQ(found_in(one, c[1], false), c[2]);
  });
  for_cases("cases.txt", "refused patterns", [](const Case& c) {
    SpanRecognizer one(LangType::kEnglish);
    EXPECT_THROW(one.add_pattern(c[0]), std::runtime_error);
  });
}

// Ten times the text takes about ten times as long, whatever is repeated.
TEST(SpanRecognizer, TakesLinearTime) {
  const SpanRecognizer recognizer(LangType::kEnglish);
  for (const char* unit :
       {"<a ", "<a=\"", "{",  "${",   "a-", "a.", "`",  "%(",   "1,", "1.",  "a@",   "/", "://a",
        "&a",  "--a",   "é-", "<!--", "(1", "$(", "@a", "\xE2", "a_", "a::", "a/b/", "*"}) {
    const auto seconds = [&](std::size_t count) {
      std::string text;
      while (text.size() < count) {
        text += unit;
      }
      double best = 1e9;
      for (int i = 0; i < 3; ++i) {
        const std::clock_t start = std::clock();
        recognizer.find(text);
        best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
      }
      return best;
    };
    const double small = seconds(20'000);
    EXPECT_LT(seconds(200'000), 40 * small + 0.02) << unit;
  }
}

TEST(ClauseSplitter, CutsWhereClausesEnd) {
  for_cases("cases.txt", "clauses", [](const Case& c) {
    std::vector<std::string> words = c.words(0);
    std::vector<std::size_t> wanted;
    for (const int begin : c.numbers(2)) {
      wanted.push_back(static_cast<std::size_t>(begin));
    }
    EXPECT_EQ(cut_into_clauses({words.begin(), words.end()}, c.size(1)), wanted);
  });
  // No piece is longer than it may be, nothing is lost.
  for (std::size_t n = 1; n < 200; ++n) {
    const std::vector<std::string_view> words(n, n % 3 == 0 ? "," : "x");
    const auto begins = cut_into_clauses(words, 32);
    ASSERT_EQ(begins.front(), 0U);
    for (std::size_t i = 0; i < begins.size(); ++i) {
      const std::size_t end = i + 1 < begins.size() ? begins[i + 1] : n;
      ASSERT_GT(end, begins[i]);
      ASSERT_LE(end - begins[i], 32U);
    }
  }
}

class Documents : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    place_ = std::make_unique<kora_test::TempFolder>();
    kora_test::write_small_model(place_->path());
    handle_ = std::make_unique<koralite::translator::TransImpl>(
        LangType::kEnglish, LangType::kChinese, place_->path("engine.conf"), place_->path(),
        "decoder.conf");
  }
  static void TearDownTestSuite() {
    handle_.reset();
    place_.reset();
  }

  DocumentTranslator make() const { return {*handle_, LangType::kEnglish, LangType::kChinese}; }
  std::string text(const std::string& input) const {
    return make().translate_text(input, false).text;
  }

  static inline std::unique_ptr<kora_test::TempFolder> place_;
  static inline std::unique_ptr<koralite::translator::TransImpl> handle_;
};

TEST_F(Documents, KeepLayout) {
  for_cases("cases.txt", "layout", [&](const Case& c) { EXPECT_EQ(text(c[0]), c[1]); });
}

TEST_F(Documents, KeepSpansAndCopiedWords) {
  for_cases("cases.txt", "kept", [&](const Case& c) {
    const std::string result = text(c[0]);
    for (const std::string& part : c.parts(1, " ; ")) {
      EXPECT_THAT(result, testing::HasSubstr(part));
    }
  });
}

TEST_F(Documents, TranslateMarkup) {
  for_cases("cases.txt", "markup", [&](const Case& c) {
    DocumentTranslator translator = make();
    const auto result =
        translator.translate_markup(c[0], {.with_links = true, .translates_attributes = true});
    EXPECT_EQ(result.text, c[1]);
    EXPECT_EQ(translator.translate_markup(c[0], {.translates_attributes = true}).text, result.text);
  });
}

TEST_F(Documents, GlossariesAreObeyed) {
  for_cases("cases.txt", "glossary", [&](const Case& c) {
    DocumentTranslator translator = make();
    EXPECT_EQ(translator.lines().glossary().add(c[0], false, *handle_), "");
    EXPECT_EQ(translator.translate_text(c[1], false).text, c[2]);
    translator.lines().glossary().clear();
    EXPECT_EQ(translator.translate_text(c[1], false).text, text(c[1]));
  });
  for_cases("cases.txt", "glossary reports", [&](const Case& c) {
    const std::string report = make().lines().glossary().add(c[0], false, *handle_);
    EXPECT_EQ(report.empty(), c[1].empty());
    EXPECT_THAT(report, testing::HasSubstr(c[1]));
  });
  DocumentTranslator translator = make();
  translator.lines().glossary().add("Hello\tH", true, *handle_);
  EXPECT_EQ(translator.translate_text("Hello hello", false).text, "H你好");
}

// Links lie in both documents, follow one another, and cover each word of the output.
TEST_F(Documents, LinksSpeakOfTheWholeDocument) {
  const std::string input = "  hello %s world.\r\n\n- The cat sat: GitHub!\thello <b>world</b>";
  const auto result = make().translate_text(input, true);
  EXPECT_EQ(result.text, text(input));
  std::vector<bool> covered(result.text.size());
  std::map<std::string, std::string> pairs;
  std::int32_t end = 0;
  for (const auto& link : result.links) {
    ASSERT_LE(end, link.target_first);
    ASSERT_LE(link.target_first, link.target_last);
    ASSERT_LT(link.target_last, static_cast<std::int32_t>(result.text.size()));
    ASSERT_LE(0, link.source_first);
    ASSERT_LE(link.source_first, link.source_last);
    ASSERT_LT(link.source_last, static_cast<std::int32_t>(input.size()));
    end = link.target_last + 1;
    const auto part = [](const std::string& whole, std::int32_t first, std::int32_t last) {
      return whole.substr(static_cast<std::size_t>(first),
                          static_cast<std::size_t>(last - first + 1));
    };
    pairs[part(input, link.source_first, link.source_last)] =
        part(result.text, link.target_first, link.target_last);
  }
  EXPECT_EQ(pairs["hello"], "你好");
  EXPECT_EQ(pairs["%s"], "%s");
  EXPECT_EQ(pairs["GitHub"], "GitHub");
}

TEST_F(Documents, PlainSentencesAreTheEngines) {
  for (const std::string sentence :
       {"hello world", "the cat sat, good morning", "good morning.", "xyzzy hello!"}) {
    std::string bare;
    handle_->Translate(sentence, bare);
    EXPECT_EQ(text(sentence), bare);
  }
}

// Documents that no one would write: the spans are there, the tags balance as before.
TEST_F(Documents, SurviveAnything) {
  std::string tags;
  for (int i = 0; i < 100'000; ++i) {
    tags += "<b>";
  }
  const std::string closed = [&] {
    std::string all = "<i>hello</i> ";
    for (int i = 0; i < 2'000; ++i) {
      all += "<b>hello</b> <u>";
    }
    return all;
  }();
  const auto count = [](const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) {
      ++n;
    }
    return n;
  };
  DocumentTranslator translator = make();
  EXPECT_EQ(translator.translate_markup(tags, {}).text, tags);
  EXPECT_EQ(count(translator.translate_markup(tags + "hello", {}).text, "<b>"), 100'000U);
  const std::string result = translator.translate_markup(closed, {}).text;
  EXPECT_EQ(count(result, "<b>"), 2'000U);
  EXPECT_EQ(count(result, "</b>"), 2'000U);
  EXPECT_EQ(count(result, "<u>"), 2'000U);
  std::string spans;
  for (int i = 0; i < 3'000; ++i) {
    spans += "%s hello ";
  }
  EXPECT_EQ(count(text(spans), "%s"), 3'000U);
  const std::string zeros("a\0b %s \0", 8);
  EXPECT_EQ(count(text(zeros), "%s"), 1U);
}

TEST(TextEncoding, TellsWhatIsNoUtf8) {
  using std::string;
  const std::pair<string, string> cases[] = {
      {"plain text", ""},
      {"François 世界", ""},
      {string("\xFF\xFEh\0i\0", 6), "UTF-16"},
      {string("\xFE\xFF\0h\0i", 6), "UTF-16"},
      {string("h\0e\0l\0l\0o\0 \0y\0o\0u\0", 18), "UTF-16LE"},
      {string("\0h\0e\0l\0l\0o\0 \0y\0o\0u", 18), "UTF-16BE"},
      {string("\xFF\xFE\0\0h\0\0\0", 8), "UTF-32"},
      {"Fran\xE7ois M\xFCller", "ISO-8859-1"},
      {"\xC4\xE3\xBA\xC3\xCA\xC0\xBD\xE7", "GB18030"},
      {"mostly text \xFF", "ISO-8859-1"},
      {string("a\0b", 3), ""},
      {"", ""}};
  for (const auto& [bytes, name] : cases) {
    EXPECT_EQ(find_encoding(bytes), name) << bytes;
  }
  EXPECT_EQ(conversion_advice("GB18030", "a b.txt"), "iconv -f GB18030 -t UTF-8 'a b.txt'");
}

}  // namespace
