// Translation memories as tools write them, read as sentence pairs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "toolkit/formats/translation_memory.h"
#include "toolkit/io/io_error.h"

namespace {

using namespace koralite::toolkit;
using kora_test::message_of;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

class MemoryTest : public ::testing::Test {
 protected:
  std::vector<std::pair<std::string, std::string>> read(const std::string& name,
                                                        const std::string& text,
                                                        const char* direction = "en-zh") {
    folder_.write(name, text);
    const memory_t memory = read_translation_memory(folder_.path(name), *find_direction(direction));
    report_ = memory.report;
    EXPECT_EQ(memory.source.size(), memory.target.size());
    EXPECT_EQ(memory.source.size(), report_.pairs);
    std::vector<std::pair<std::string, std::string>> pairs;
    for (std::size_t i = 0; i < memory.source.size(); ++i) {
      pairs.emplace_back(memory.source[i], memory.target[i]);
    }
    return pairs;
  }

  kora_test::TempFolder folder_;
  memory_report_t report_;
};

const std::string kTmx = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE tmx SYSTEM "tmx14.dtd">
<tmx version="1.4"><header srclang="en"/><body>
<tu><tuv xml:lang="EN-us"><seg>Press <bpt i="1">&lt;b&gt;</bpt>OK<ept i="1">&lt;/b&gt;</ept> &amp;
  wait<ph x="1">{0}<sub>hidden</sub></ph>.</seg></tuv>
 <tuv xml:lang="zh-TW"><seg>按確定。</seg></tuv><tuv xml:lang="zh-CN"><seg>按<hi>确定</hi>并等待。</seg></tuv></tu>
<tu><tuv lang="zh_Hans"><seg>红</seg></tuv><tuv lang="en"><seg>red</seg></tuv></tu>
<tu><tuv xml:lang="en"><seg>red</seg></tuv><tuv xml:lang="zh"><seg>红</seg></tuv></tu>
<tu><tuv xml:lang="en"><seg>OK</seg></tuv><tuv xml:lang="zh"><seg>OK</seg></tuv></tu>
<tu><tuv xml:lang="en"><seg>lonely</seg></tuv><tuv xml:lang="fr"><seg>seul</seg></tuv></tu>
<tu><tuv xml:lang="fr"><seg>seul</seg></tuv><tuv xml:lang="zh"><seg><ph/> </seg></tuv></tu>
</body></tmx>)";

}  // namespace

TEST_F(MemoryTest, TmxGivesTextWithoutCodes) {
  EXPECT_THAT(read("a.tmx", kTmx),
              ElementsAre(Pair("Press OK & wait.", "按确定并等待。"), Pair("red", "红")));
  EXPECT_EQ(report_.units, 6U);
  EXPECT_THAT(report_.lines(),
              ElementsAre("1 without text in the source language", "1 without a translation",
                          "1 with both sides the same", "1 repeat a pair"));
  EXPECT_THAT(read("a.TMX", kTmx, "zh-en"),
              ElementsAre(Pair("按确定并等待。", "Press OK & wait."), Pair("红", "red")));
}

TEST_F(MemoryTest, XliffOfBothVersions) {
  const std::string first =
      R"(<xliff version="1.2"><file source-language="en" target-language="zh-CN"><body>
<trans-unit id="1"><source>Save <g id="1">all</g> files<x id="2"/></source><target state="translated">保存<g id="1">全部</g>文件<x id="2"/></target></trans-unit>
<group><trans-unit id="2"><source>new</source><target state="needs-translation">新</target></trans-unit>
<trans-unit id="3" translate="no"><source>Kora</source><target>科拉</target></trans-unit>
<trans-unit id="4"><source>open</source></trans-unit></group></body></file>
<file source-language="en" target-language="fr"><body><trans-unit id="1"><source>yes</source><target>oui</target></trans-unit></body></file>
<file source-language="zh" target-language="en"><body><trans-unit id="1"><source>关闭</source><target>close</target></trans-unit></body></file></xliff>)";
  EXPECT_THAT(read("a.xlf", first),
              ElementsAre(Pair("Save all files", "保存全部文件"), Pair("close", "关闭")));
  EXPECT_EQ(report_.units, 6U);
  EXPECT_EQ(report_.unfinished, 2U);
  EXPECT_EQ(report_.no_target, 1U);
  EXPECT_EQ(report_.no_source, 1U);
  const std::string second =
      R"(<xliff version="2.0" xmlns="urn:oasis:names:tc:xliff:document:2.0" srcLang="en" trgLang="zh">
<file id="f"><unit id="1"><segment state="final"><source>One <pc id="1">two</pc><ph id="2"/>.</source><target>一<pc id="1">二</pc>。</target></segment>
<ignorable><source> </source></ignorable><segment state="initial"><source>Three.</source><target>三。</target></segment></unit></file></xliff>)";
  EXPECT_THAT(read("b.xliff", second), ElementsAre(Pair("One two.", "一二。")));
  EXPECT_EQ(report_.unfinished, 1U);
}

TEST_F(MemoryTest, TextWithTabs) {
  EXPECT_THAT(
      read("a.tsv", "one\t一\tremark\r\n  two  words \t两个词\none\n\t三\n\xFF\t四\none\t一\n"),
      ElementsAre(Pair("one", "一"), Pair("two words", "两个词")));
  EXPECT_EQ(report_.no_target, 1U);
  EXPECT_EQ(report_.no_source, 1U);
  EXPECT_EQ(report_.ill_formed, 1U);
  EXPECT_EQ(report_.repeated, 1U);
}

TEST_F(MemoryTest, WhatIsNoMemoryIsAnError) {
  EXPECT_THAT(message_of([&] { read("a.tmx", "<tmx>\n<body>\n<tu></body></tmx>"); }),
              HasSubstr("a.tmx:3: no well-formed XML"));
  EXPECT_THAT(message_of([&] { read("a.tmx", "<xliff/>"); }), HasSubstr("a.tmx:1: no TMX"));
  EXPECT_THAT(message_of([&] { read("a.xlf", "<tmx/>"); }), HasSubstr("a.xlf:1: no XLIFF"));
  EXPECT_THAT(message_of([&] { read("a.xml", "<tmx/>"); }), HasSubstr("doesn't tell the format"));
  EXPECT_THROW(read_translation_memory(folder_.path("none.tmx"), *find_direction("en-zh")),
               IoError);
  // Deeper than any call stack.
  std::string deep = "<tmx><body><tu><tuv xml:lang='en'><seg>";
  for (int i = 0; i < 200000; ++i) {
    deep += "<hi>";
  }
  deep += "x";
  for (int i = 0; i < 200000; ++i) {
    deep += "</hi>";
  }
  deep += "</seg></tuv><tuv xml:lang='zh'><seg>一</seg></tuv></tu></body></tmx>";
  EXPECT_THAT(read("deep.tmx", deep), ElementsAre(Pair("x", "一")));
}
