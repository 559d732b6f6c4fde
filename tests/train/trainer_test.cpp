// The whole of training on a small text that is made here: sentences of a few patterns, some with
// numbers that the rules translate.
#include "toolkit/train/trainer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/phrases/phrase_file.h"
#include "toolkit/tune/engine_tuner.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

namespace {

using namespace koralite;
using namespace koralite::toolkit;
using kora_test::message_of;
using ::testing::HasSubstr;

using pairs_t = std::vector<std::pair<std::string, std::string>>;
const pairs_t kPeople = {
    {"I", "我"}, {"we", "我们"}, {"they", "他们"}, {"the teacher", "老师"}, {"you", "你"}};
const pairs_t kVerbs = {{"see", "看见"}, {"sell", "出售"}, {"need", "需要"}, {"want", "想要"}};
const pairs_t kThings = {
    {"red", "红色"}, {"books", "书"}, {"tables", "桌子"}, {"water", "水"}, {"bread", "面包"}};

// Sentence pairs in a fixed order: subject, verb, thing, every third with an amount of money.
std::pair<std::string, std::string> sentences(std::size_t count) {
  std::pair<std::string, std::string> text;
  for (std::size_t i = 0; i < count; ++i) {
    const auto& person = kPeople[i % kPeople.size()];
    const auto& verb = kVerbs[i / 5 % kVerbs.size()];
    const auto& thing = kThings[i / 20 % kThings.size()];
    const std::string amount = std::to_string(10 + i * 7);
    text.first += person.first + " " + verb.first + " " + thing.first;
    text.first += i % 3 == 0 ? " for " + amount + " dollars.\n" : ".\n";
    text.second += person.second + (i % 3 == 0 ? "用" + amount + "美元" : "");
    text.second += verb.second + thing.second + "。\n";
  }
  return text;
}

class TrainerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto write = [this](const std::string& name, std::size_t count) {
      const auto [english, chinese] = sentences(count);
      folder_.write(name + ".en", english);
      folder_.write(name + ".zh", chinese);
    };
    write("a", 300);
    write("dev", 40);
    std::string words = "用 9\n美元 9\n";
    for (const pairs_t* pairs : {&kPeople, &kVerbs, &kThings}) {
      for (const auto& [english, chinese] : *pairs) {
        words += chinese + " 9\n";
      }
    }
    folder_.write("words", words);
    options_.direction = *find_direction("en-zh");
    options_.source = folder_.path("a.en");
    options_.target = folder_.path("a.zh");
    options_.dictionary = folder_.path("words");
    options_.output = folder_.path("model");
    options_.threads = 2;
    options_.order = 3;
    options_.tune_rounds = 2;
    options_.nbest = 10;
  }

  train_result_t run() {
    said_.clear();
    return train(options_, {}, [&](const std::string& text) { said_ += text + '\n'; });
  }

  std::string translate(const std::string& text) const {
    const model_folder_t folder = open_model_folder(options_.output);
    translator::TransImpl handle(language_type(folder.engine.direction.source),
                                 language_type(folder.engine.direction.target),
                                 folder.engine_path(), folder.path, folder.engine.decoder);
    std::string output;
    translator::translate_text(handle, handle.source_type(), text, output);
    return output;
  }

  std::string translate_after_training(const std::string& text) {
    run();
    return translate(text);
  }

  kora_test::TempFolder folder_;
  train_options_t options_;
  std::string said_;
};

}  // namespace

TEST_F(TrainerTest, TrainsAFolderThatTranslates) {
  options_.dev_source = folder_.path("dev.en");
  options_.dev_target = folder_.path("dev.zh");
  options_.rules = std::string(KORA_SOURCE_DIR) + "/data/rules/en-zh.rules";
  const train_result_t result = run();
  EXPECT_EQ(result.preparation.kept, 300U);
  EXPECT_GT(result.rounds.size(), 0U);
  // Every span that a rule translates became a tag word on both sides where both agree.
  std::uint64_t found = 0;
  std::uint64_t matched = 0;
  for (const auto& [tag, count] : result.preparation.tags) {
    found += count.found;
    matched += count.matched;
  }
  EXPECT_EQ(found, 100U);
  EXPECT_EQ(matched, 100U);

  // A sentence that is not in the text, and an amount that nothing has seen.
  EXPECT_EQ(translate("You want bread."), "你想要面包。");
  EXPECT_THAT(translate("They need books for 987654 dollars."), HasSubstr("987654美元"));

  const model_folder_t folder = open_model_folder(options_.output);
  EXPECT_THAT(verify_manifest(folder, read_manifest(folder.path)), ::testing::IsEmpty());
  const std::string report = kora_test::read_file(options_.output + ".html");
  EXPECT_THAT(report, HasSubstr("<td>kept</td><td class=\"n\">300</td>"));
  EXPECT_THAT(report, HasSubstr("<polyline"));
}

TEST_F(TrainerTest, RunsOnlyWhatChanged) {
  run();
  const auto skipped = [&] {
    std::size_t count = 0;
    for (const stage_time_t& time : run().times) {
      count += time.was_done ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(skipped(), 6U);
  EXPECT_THAT(said_, ::testing::Not(HasSubstr("align\n")));
  options_.max_targets = 5;  // phrases and all that follows
  EXPECT_EQ(skipped(), 3U);
  std::filesystem::remove(options_.output + ".work/align.done");  // as a killed run leaves it
  EXPECT_EQ(skipped(), 5U);
  folder_.write("words", "我们 9\n老师 9\n");
  EXPECT_EQ(skipped(), 0U);
}

// Features times weights must order translations as the decoder does, or tuning would be blind.
TEST_F(TrainerTest, FolderTunerSeesWhatTheDecoderWeighs) {
  options_.compact = false;
  run();
  const std::vector<std::string> source = {"you want bread", "the teacher sells red tables",
                                           "they need books"};
  const std::vector<std::vector<std::string>> references = {source};
  FolderTuner tuner(open_model_folder(options_.output), source, references, {10, 2});
  const std::vector<double> weights = {0.4, 0.2, 0.7, 0.5, -0.3, 0.9};
  const NbestLists lists = tuner.decode(weights);
  ASSERT_EQ(lists.size(), source.size());
  for (const auto& list : lists) {
    ASSERT_GT(list.size(), 1U);
    double before = std::numeric_limits<double>::infinity();
    for (const TuneCandidate& candidate : list) {
      ASSERT_EQ(candidate.features.size(), weights.size());
      double score = 0;
      for (std::size_t i = 0; i < weights.size(); ++i) {
        score += weights[i] * static_cast<double>(candidate.features[i]);
      }
      EXPECT_LE(score, before + 1e-3);
      before = score;
    }
  }
}

TEST_F(TrainerTest, ReversedDirectionLearnsCapitalsAndReadings) {
  std::swap(options_.source, options_.target);
  options_.direction = *find_direction("zh-en");
  folder_.write("readings", "U+6211\tkMandarin\twǒ\nU+9F98\tkMandarin\tdá\n");
  options_.readings = folder_.path("readings");
  run();
  EXPECT_EQ(translate("你想要水。"), "You want water.");
  EXPECT_EQ(translate("龘"), "Da");
}

// The text decides about words that it knows, the dictionary about others, and names only fill what
// neither knows.
TEST_F(TrainerTest, DictionaryAndNamesFillWhatTheTextLacks) {
  folder_.write("pairs",
                "umbrella\t雨伞\tnoun\nUmbrella\t伞\nice cream\t冰淇淋\nwater\t石头\n"
                "books\t书\nsame\tsame\n");
  folder_.write("names", "Springfield\tloc\t斯普林菲尔德\nwater\tloc\t沃特\n");
  folder_.write("words",
                kora_test::read_file(folder_.path("words")) + "雨伞 1\n伞 1\n冰淇淋 1\n石头 1\n");
  EXPECT_THAT(translate_after_training("we need umbrella"), HasSubstr("umbrella"));
  options_.word_pairs = folder_.path("pairs");
  options_.names = folder_.path("names");
  EXPECT_EQ(translate_after_training("we need umbrella"), "我们需要雨伞");
  EXPECT_THAT(said_, HasSubstr("5 of 6 dictionary pairs kept"));
  EXPECT_THAT(said_, HasSubstr("1 of 2 names hold a word that the text does not"));
  EXPECT_EQ(translate("you want ice cream"), "你想要冰淇淋");
  EXPECT_EQ(translate("they want water"), "他们想要水");
  EXPECT_THAT(translate("you see Springfield"), HasSubstr("斯普林菲尔德"));
  folder_.write("pairs", "water\t水\numbrella\n");
  EXPECT_THAT(message_of([&] { run(); }), HasSubstr("pairs:2: a line must be SOURCE, TAB, TARGET"));
}

TEST_F(TrainerTest, NoisyPairsSeenOnceGo) {
  folder_.write("a.en", kora_test::read_file(folder_.path("a.en")) + "we see gold and silver\n");
  folder_.write("a.zh", kora_test::read_file(folder_.path("a.zh")) + "我们看见\n");
  const auto lines_of = [&](double min_lexical) {
    options_.min_lexical = min_lexical;
    run();
    std::size_t pairs = 0;
    std::size_t noise = 0;
    read_phrase_file(options_.output + ".work/phrases", [&](const phrase_line_t& phrase) {
      ++pairs;
      noise += phrase.source.size() > 4 && phrase.target.size() == 2 ? 1 : 0;
    });
    return std::pair(pairs, noise);
  };
  const auto all = lines_of(0);
  const auto clean = lines_of(0.1);
  EXPECT_GT(all.second, 0U);
  EXPECT_EQ(clean.second, 0U);
  EXPECT_GT(clean.first, all.first / 2);
}

// A user's own text in other directions: what was trained on must come back, for languages with
// spaces and without.
TEST_F(TrainerTest, FiveDirectionsOfTheUsersOwn) {
  std::vector<std::string> rows;
  for (const char* topic : {"greetings", "shopping", "weather"}) {
    const std::string text = kora_test::read_file(std::string(KORA_SOURCE_DIR) +
                                                  "/data/phrasebook/sentences/" + topic + ".tsv");
    for (std::size_t begin = text.find('\n') + 1; begin < text.size();) {
      const std::size_t end = text.find('\n', begin);
      rows.push_back(text.substr(begin, end - begin));
      begin = end + 1;
    }
  }
  ASSERT_GT(rows.size(), 500U);
  const auto column = [](const std::string& row, int number) {
    std::size_t begin = 0;
    for (; number > 0; --number) {
      begin = row.find('\t', begin) + 1;
    }
    return row.substr(begin, row.find('\t', begin) - begin);
  };
  const std::vector<std::string> columns = {"en", "zh", "ja", "ko"};
  options_.dictionary.clear();
  for (const char* name : {"en-zh", "zh-en", "en-ja", "ja-zh", "ko-zh"}) {
    options_.direction = *find_direction(name);
    const auto number = [&](std::string_view language) {
      return static_cast<int>(std::find(columns.begin(), columns.end(), language) -
                              columns.begin());
    };
    const int from = number(options_.direction.source);
    const int to = number(options_.direction.target);
    std::string source;
    std::string target;
    for (const std::string& row : rows) {
      source += column(row, from) + '\n';
      target += column(row, to) + '\n';
    }
    folder_.write("own.source", source);
    folder_.write("own.target", target);
    options_.source = folder_.path("own.source");
    options_.target = folder_.path("own.target");
    options_.output = folder_.path(name);
    run();
    int right = 0;
    int tried = 0;
    for (std::size_t i = 0; i < rows.size(); i += 20) {
      ++tried;
      right += translate(column(rows[i], from)) == column(rows[i], to) ? 1 : 0;
    }
    EXPECT_GE(2 * right, tried) << name << ": " << right << " of " << tried;
  }
}

TEST_F(TrainerTest, BadInputSaysWhatIsWrong) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"a\nb\n", "一\n", "the source has 2 lines, the target 1"},
      {"", "", "no sentence pair is left"},
      {"\n\n", "一\n二\n", "2 have an empty side"},
      {"same\n", "same\n", "1 are identical"},
      {"\xFF\n", "一\n", "1 are not UTF-8"},
  };
  for (const auto& [english, chinese, message] : cases) {
    folder_.write("a.en", english);
    folder_.write("a.zh", chinese);
    EXPECT_THAT(message_of([&] { run(); }), HasSubstr(message));
    EXPECT_FALSE(std::filesystem::exists(options_.output)) << message;
  }
}

// Text may hold what parts the fields of the phrase file.
TEST_F(TrainerTest, BarsInTheText) {
  folder_.write("a.en", "we need ||| water\nwe need bread\n|||\n");
  folder_.write("a.zh", "我们需要 ||| 水\n我们需要面包\n||| |||\n");
  run();
  EXPECT_EQ(translate("we need bread"), "我们需要面包");
}

// One pair, or one pair again and again, is little to learn from, but no reason to fail.
TEST_F(TrainerTest, TinyTextsTrain) {
  for (const int copies : {1, 1000}) {
    std::string english;
    std::string chinese;
    for (int i = 0; i < copies; ++i) {
      english += "we need water\n";
      chinese += "我们需要水\n";
    }
    folder_.write("a.en", english);
    folder_.write("a.zh", chinese);
    EXPECT_LE(run().preparation.kept, 10U);
    EXPECT_EQ(translate("we need water"), "我们需要水");
  }
}

TEST(PhraseFile, NumbersTagsByTheirPartners) {
  kora_test::for_cases("cases.txt", "number tags", [](const kora_test::Case& c) {
    phrase_line_t phrase;
    phrase.source = split_blanks(c[0]);
    phrase.target = split_blanks(c[1]);
    phrase.links = parse_links(c[2]);
    std::vector<std::string> target;
    std::string text;
    if (number_tags(phrase, target)) {
      for (const std::string& word : target) {
        text += (text.empty() ? "" : " ") + word;
      }
    }
    EXPECT_EQ(text, c[3]);
  });
}

TEST(PhraseFile, RefusesLinesOfAnotherForm) {
  const kora_test::TempFolder folder;
  for (const char* line : {"a ||| b\n", "a ||| b ||| 1 1 1 x |||  ||| 1 1 1 ||| 0 0 0 0 0 0\n",
                           " ||| b ||| 1 1 1 1 ||| 0-0 ||| 1 1 1 ||| 0 0 0 0 0 0\n",
                           "a ||| b ||| 1 1 1 1 ||| 0-0 ||| 1 1 1 ||| 0 0 0 0 0\n"}) {
    folder.write("phrases",
                 "a ||| b ||| 1 1 1 1 ||| 0-0 ||| 1 1 1 ||| 0 0 0 0 0 0\n" + std::string(line));
    EXPECT_THAT(
        message_of([&] { read_phrase_file(folder.path("phrases"), [](const phrase_line_t&) {}); }),
        HasSubstr("phrases:2: not a line of a trained phrase table"))
        << line;
  }
}
