#include "decoder/parameter.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/cases.h"
#include "support/temp_folder.h"

using kora_test::message_of;
using kora_test::TempFolder;
using koralite::decoder::Parameter;

namespace {

const std::string kPaths =
    "[source-vocab]\ns.voc\n[target-vocab]\nt.voc\n[lang-model]\nlm\n[trans-model]\ntm\n";

// Every field in the order of its key in the file.
std::string listing(const Parameter& p) {
  std::ostringstream out;
  out.precision(9);
  out << p.debug << p.combine << p.detail << p.prune << p.compress << ' ' << p.stack_limit << ' '
      << p.translation_limit << ' ' << p.distortion_limit << ' ' << p.ngram_order << ' '
      << p.beam_threshold << ' ' << p.distortion_weight << ' ' << p.word_weight << ' '
      << p.unknown_weight << ' ' << p.reordering_weight << ' ' << p.lang_weight << ' '
      << p.translation_weight << ' ' << p.phrase_weight << ' ' << p.source_vocab << ' '
      << p.target_vocab << ' ' << p.compress_vocab << ' ' << p.lang_model << ' ' << p.trans_model
      << ' ' << p.further.size();
  return out.str();
}

TEST(Parameter, DefaultsAndEveryKey) {
  const TempFolder folder;
  const std::string numbers =
      "01000 100 20 6 8 11.5120001 0.300000012 1 100 0.300000012 0.5 0.200000003 0.200000003 ";
  EXPECT_EQ(listing(Parameter()), numbers + "     0");
  EXPECT_EQ(listing(Parameter(folder.write("file", kPaths).c_str())),
            numbers + "s.voc t.voc  lm tm 0");
  const std::string all =
      "[debug]\n1\n[combine]\n0\n[detail]\n1\n[prune]\n1\n[compress]\n1\n[stack]\n1\n[option]\n2\n"
      "[distort]\n-3\n[ngram]\n4\n[beam]\n5.5\n[distort-weight]\n6\n[word-weight]\n-7\n"
      "[unknown-weight]\n8\n[reorder-weight]\n9\n[lang-weight]\n10\n[trans-weight]\n11\n"
      "[phrase-weight]\n1e999\n[compress-vocab]\nq.bin\n";
  EXPECT_EQ(listing(Parameter(folder.write("file", all + kPaths).c_str())),
            "10111 1 2 -3 4 5.5 6 -7 8 9 10 11 inf s.voc t.voc q.bin lm tm 0");
}

TEST(Parameter, ValuesAndTheirChecks) {
  const TempFolder folder;
  kora_test::for_cases("cases.txt", "parameters", [&](const kora_test::Case& c) {
    const std::string path = folder.write("file", c[0] + "\n" + kPaths);
    EXPECT_EQ(message_of([&] { Parameter p(path.c_str()); }), c[1]);
  });
}

TEST(Parameter, FindsOneValueOrAList) {
  const std::vector<std::string> lines = {"[a]", "1", "2", "", "[a]", "3", "[b]"};
  std::string value = "old";
  EXPECT_TRUE(Parameter::find(lines, "[a]", value));
  EXPECT_EQ(value, "1");
  EXPECT_FALSE(Parameter::find(lines, "[b]", value));
  std::vector<std::string> list = {"old"};
  EXPECT_TRUE(Parameter::find(lines, "[a]", list));
  EXPECT_EQ(list, (std::vector<std::string>{"1", "2"}));
  EXPECT_FALSE(Parameter::find(lines, "[b]", list));
  EXPECT_TRUE(list.empty());
}

TEST(Parameter, NeededFilesAndTheFileItself) {
  const TempFolder folder;
  const std::pair<const char*, const char*> cases[] = {
      {"[source-vocab]", "can't find source vocabulary file in Parameter::initialize()"},
      {"[target-vocab]", "can't find target vocablulary file in Parameter::initialize()"},
      {"[lang-model]", "can't find language model file in Parameter::initialize()"},
      {"[trans-model]", "can't find translation model file in Parameter::Paramter()"},
  };
  for (const auto& [key, message] : cases) {
    std::string text = kPaths;
    text.replace(text.find(key), std::string(key).size(), "[other]");
    EXPECT_EQ(message_of([&] { Parameter p(folder.write("file", text).c_str()); }), message);
  }
  // A key on the last line is absent, and fields before the failing key keep their new values.
  Parameter p;
  const std::string text = "[stack]\n7\n" + kPaths.substr(0, kPaths.size() - 3);
  EXPECT_EQ(message_of([&] { p.initialize(folder.write("file", text).c_str()); }), cases[3].second);
  EXPECT_EQ(p.stack_limit, 7);
  EXPECT_EQ(p.lang_model, "lm");
  for (const std::string& path : {folder.path("missing"), folder.path()}) {
    EXPECT_EQ(message_of([&] { p.initialize(path.c_str()); }),
              "failed to open config [file=" + path + "]");
  }
}

}  // namespace
