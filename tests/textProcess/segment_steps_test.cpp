// The steps that put blanks between Chinese words, and their readers of UTF-8.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/fake_lexicut.h"
#include "textProcess/single_word_seg_str_processor.h"
#include "textProcess/tmining_util.h"
#include "textProcess/word_segment_str_processor.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using kora_test::Case;
using kora_test::for_cases;
using ::testing::ElementsAre;
using tests::FakeLibrary;
using tests::whole_piece;

ProcessStr with_identity(const std::string& text) {
  ProcessStr str(true, text);
  str.set_identity();
  return str;
}

TEST(Utf8, LengthsAndCodePoints) {
  for_cases("words.txt", "utf8", [](const Case& c) {
    unsigned code = 7;
    EXPECT_EQ(TMiningUtil::get_utf8_encoding(c[0].data(), static_cast<unsigned>(c[0].size()),
                                             static_cast<unsigned>(c.number(1)), code),
              c.number(2));
    EXPECT_EQ(code, c.number(3) < 0 ? 7 : static_cast<unsigned>(c.number(3)));
  });
  std::vector<std::string> characters = {"old"};
  TMiningUtil::split_utf8("a中\xE4\xB8😀\x80", characters);
  EXPECT_THAT(characters, ElementsAre("a", "中", "\xE4", "\xB8", "😀", "\x80"));
}

TEST(AlignString, FindsThePositionsOfTheSource) {
  for_cases("words.txt", "align_string", [](const Case& c) {
    ProcessStr source = with_identity(c[0]);
    for (auto& position : source.positions()) {
      position *= 10;
    }
    ProcessStr target(true, c[1]);
    const bool ok = c[2] != "none";
    EXPECT_EQ(SegmentStrProcessor::text_align_string(source, target), ok);
    EXPECT_EQ(target.positions(), ok ? c.numbers(2) : std::vector<int>());
  });

  ProcessStr target(true, "a b");
  EXPECT_FALSE(SegmentStrProcessor::text_align_string(ProcessStr(false, "ab"), target));
  EXPECT_FALSE(SegmentStrProcessor::text_align_string(ProcessStr(true, "ab"), target));
  ProcessStr bare(false, "a b");
  EXPECT_FALSE(SegmentStrProcessor::text_align_string(with_identity("ab"), bare));
}

TEST(SingleWordSplit, SetsMultiByteCharactersApart) {
  SingleWordSegStrProcessor step(0, nullptr);
  for_cases("words.txt", "single word split", [&](const Case& c) {
    ProcessStr plain(false, c[0]);
    EXPECT_NE(step.Process(plain), 0);
    EXPECT_EQ(plain.text(), c[1]);
    ProcessStr placed = with_identity(c[0]);
    EXPECT_EQ(step.Process(placed) != 0, !c[0].empty());
    EXPECT_EQ(placed.text(), c[1]);
    EXPECT_TRUE(placed.consistent());
  });
}

// Words as they are written in `cut`, separated by "/"; "*" behind one makes it a
// name, "~" before one leaves it out of the record.
FakeLibrary::Answer words_of(const std::string& cut) {
  return [cut](const std::string&, lexicut_out& out) {
    std::int32_t at = 0;
    out.count = 0;
    for (std::size_t begin = 0; begin <= cut.size();) {
      const std::size_t end = std::min(cut.find('/', begin), cut.size());
      std::string word = cut.substr(begin, end - begin);
      begin = end + 1;
      const bool left_out = word.starts_with('~');
      if (left_out) {
        word.erase(0, 1);
      }
      const bool name = word.ends_with('*');
      if (name) {
        word.pop_back();
      }
      if (!left_out) {
        out.offsets[out.count] = at;
        out.lengths[out.count] = static_cast<std::int32_t>(word.size());
        out.properties[out.count] = name ? 0x11U : 0x2EFU;
        ++out.count;
      }
      at += static_cast<std::int32_t>(word.size());
    }
    return 1;
  };
}

ChsSegmentStrProcessor make_segmenter(const std::string& anti_names = {}) {
  return {0, nullptr, "d", "n", "a", anti_names.c_str(), 10240, FakeLibrary::api()};
}

TEST(WordSegment, PutsBlanksBetweenWords) {
  const kora_test::TempFolder folder;
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step =
      make_segmenter(folder.write_lines("anti", {"", "小五", "小五", "王五"}));
  std::set<std::string> names;
  for_cases("words.txt", "word segment", [&](const Case& c) {
    std::string text = c[0];
    std::erase_if(text, [](char b) { return b == '/' || b == '*' || b == '~'; });
    library.answer = words_of(c[0]);

    step.SetNameBuffer(nullptr);
    ProcessStr plain(false, text);
    EXPECT_NE(step.Process(plain), 0);
    EXPECT_EQ(plain.text(), c[1]);

    names = {"from the text before"};
    step.SetNameBuffer(&names);
    ProcessStr placed = with_identity(text);
    const bool ok = c.cells.size() < 4;
    EXPECT_EQ(step.Process(placed) != 0, ok);
    EXPECT_EQ(placed.text(), ok ? c[1] : text);
    const std::vector<std::string> found = c.words(2);
    EXPECT_EQ(names, std::set<std::string>(found.begin(), found.end()));
  });
}

TEST(WordSegment, SurvivesAHostileLibrary) {
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step = make_segmenter();
  const std::string text = "中文ab";  // 8 bytes
  for_cases("words.txt", "hostile library", [&](const Case& c) {
    library.answer = [&c](const std::string&, lexicut_out& out) {
      const std::vector<int> words = c.numbers(1);
      for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
        out.offsets[i / 2] = words[i];
        out.lengths[i / 2] = words[i + 1];
      }
      const bool counted = !c[2].empty() && c[2].find_first_not_of("-0123456789") == c[2].npos;
      out.count = counted ? c.number(2) : static_cast<std::int32_t>(words.size() / 2);
      if (c[2] == "no offsets") {
        out.offsets = nullptr;
      }
      if (c[2] == "no lengths") {
        out.lengths = nullptr;
      }
      if (c[2] == "no properties") {
        out.properties = nullptr;
      }
      return c[2] == "failure" ? 0 : 1;
    };
    for (const bool placed : {false, true}) {
      ProcessStr str(placed, text);
      str.set_identity();
      EXPECT_EQ(step.Process(str), 0);
      EXPECT_EQ(str.text(), text);
      EXPECT_TRUE(str.consistent());
    }
  });
  // A later piece that fails takes no names of earlier ones away.
  std::set<std::string> names;
  step.SetNameBuffer(&names);
  library.pieces.clear();
  library.answer = [&](const std::string& piece, lexicut_out& out) {
    out.properties[0] = 0x10;
    return library.pieces.size() < 2 ? whole_piece(piece, out) : 0;
  };
  ProcessStr str(false, std::string(300, 'x'));
  EXPECT_EQ(step.Process(str), 0);
  EXPECT_EQ(str.text(), std::string(300, 'x'));
  EXPECT_EQ(names.size(), 1U);
}

// "中*85 w*30": each part so many times over.
std::string repeated(const std::string& pattern) {
  std::string out;
  for (const std::string& part : Case{{}, {pattern}}.words(0)) {
    const std::size_t star = part.rfind('*');
    for (int n = std::stoi(part.substr(star + 1)); n > 0; --n) {
      out += part.substr(0, star);
    }
  }
  return out;
}

TEST(WordSegment, CutsPiecesAtCharactersAndAsciiWords) {
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step = make_segmenter();
  // Pieces with blanks between them become the text; without, they are the text before.
  const auto lengths_of = [&](const std::string& text) {
    library.pieces.clear();
    ProcessStr str(false, text);
    EXPECT_NE(step.Process(str), 0);
    std::vector<int> lengths;
    std::string joined;
    std::string spaced;
    for (const std::string& piece : library.pieces) {
      lengths.push_back(static_cast<int>(piece.size()));
      joined += piece;
      spaced += (spaced.empty() ? "" : " ") + piece;
    }
    EXPECT_EQ(joined, text);
    return std::pair(lengths, str.text() == spaced);
  };
  for_cases("words.txt", "pieces", [&](const Case& c) {
    const bool blanks = c.cells.size() > 2;
    EXPECT_EQ(lengths_of(blanks ? std::string(300, ' ') : repeated(c[0])),
              std::pair(c.numbers(1), true));
  });
  // Any bytes: within the limit, and not many.
  std::mt19937 random(5);
  const std::string bits[] = {"中", "é", "😀", "a", "9", "-", " ", "\x80", "\xE4", "word"};
  for (int round = 0; round < 300; ++round) {
    std::string text;
    const std::size_t kinds = 1 + random() % std::size(bits);
    while (text.size() < 2000) {
      text += bits[random() % kinds];
    }
    const std::vector<int> lengths = lengths_of(text).first;
    ASSERT_LE(*std::max_element(lengths.begin(), lengths.end()), 255);
    ASSERT_LE(lengths.size(), 2 * (text.size() / 255 + 1));
  }
}

TEST(WordSegment, LoadsAndReleasesInOrder) {
  FakeLibrary library(whole_piece);
  const auto built = [&](bool chinese) {
    library.calls.clear();
    const std::string error = kora_test::message_of([&] {
      if (chinese) {
        ChsSegmentStrProcessor step(0, nullptr, "d", "", "a", nullptr, 0, FakeLibrary::api());
      } else {
        GeneralSegmentStrProcessor step(0, nullptr, "d", "n", "a", "", 10, FakeLibrary::api());
      }
    });
    std::string calls;
    for (const std::string& call : library.calls) {
      calls += call + ", ";
    }
    return calls + error;
  };
  EXPECT_EQ(built(true), "load d  a 0, create 256, destroy_out, destroy, ");
  EXPECT_EQ(built(false), "load d n a 0, create 11, destroy_out, destroy, ");
  library.has_record = false;
  EXPECT_EQ(built(true),
            "load d  a 0, create 256, destroy, "
            "NULL word segment output buffer in ChsSegmenter::ChsSegmenter()");
  EXPECT_EQ(built(false),
            "load d n a 0, create 11, destroy, "
            "create out failed. GeneralSegmentStrProcessor::GeneralSegmentStrProcessor");
  library.has_model = false;
  EXPECT_EQ(built(true),
            "load d  a 0, NULL word segment dictionary in ChsSegmenter::ChsSegmenter()");
  EXPECT_EQ(built(false),
            "load d n a 0, load model failed. "
            "GeneralSegmentStrProcessor::GeneralSegmentStrProcessor()");
}

TEST(WordSegment, RefusesUnsortedOrMissingAntiNames) {
  kora_test::TempFolder folder;
  FakeLibrary library(whole_piece);
  EXPECT_EQ(kora_test::message_of([&] {
              make_segmenter(folder.write_lines("anti", {"b", "c", "a"}));
            }),
            "Invalidate antiname!");
  EXPECT_THAT(library.calls, ElementsAre("load d n a 0", "create 256", "destroy_out", "destroy"));
  EXPECT_EQ(kora_test::message_of([&] { make_segmenter(folder.path("none")); }),
            "Invalidate Input file");
}

}  // namespace
}  // namespace koralite::textProcess
