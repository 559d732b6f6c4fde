#include "support/small_folder.h"

#include <array>
#include <filesystem>
#include <random>

#include "decoder/compact_lm_model.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/folder/model_folder.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/pack/phrase_table_builder.h"
#include "toolkit/resource/pinyin_builder.h"
#include "toolkit/resource/resource_file.h"
#include "toolkit/resource/vocab_file.h"
#include "toolkit/segment/segment_builder.h"

namespace kora_test {

namespace toolkit = koralite::toolkit;

namespace {

// Words of a language that the models know.
const std::vector<std::string>& small_words(std::string_view language) {
  static const std::vector<std::string> kEnglish = {
      "the", "file", "opens", "a", "program", "reads", "new",  "york", "is",
      "not", ".",    ",",     "5", "well-",   "known", "it",   "menu", "click",
      "and", "save", "to",    "?", "%",       "\"",    "page", "in"};
  static const std::vector<std::string> kChinese = {
      "这", "个",   "文件", "打开", "程序", "读取", "上海", "是", "不", "。", "，",  "5",
      "和", "保存", "到",   "？",   "张",   "三",   "页",   "在", "了", "第", "单击"};
  static const std::vector<std::string> kJapanese = {
      "この", "ファイル", "を", "開く", "は", "東京", "。", "、", "5", "に", "友達"};
  static const std::vector<std::string> kKorean = {"이",   "파일", "을", "열", "프로그램",
                                                   "서울", ".",    ",",  "5",  "저장"};
  if (language == "en") {
    return kEnglish;
  }
  if (language == "ja") {
    return kJapanese;
  }
  if (language == "ko") {
    return kKorean;
  }
  return kChinese;
}

// Both vocabularies and both models, in a folder that exists.
void make_small_models(const std::string& path, std::string_view source, std::string_view target,
                       bool compact) {
  std::mt19937 random(11);
  const auto below = [&random](std::size_t limit) { return static_cast<int>(random() % limit); };
  toolkit::VocabBuilder sources;
  toolkit::VocabBuilder targets;
  for (const char* tag : {"<NUM>#0", "<LOC>#0"}) {
    sources.encode(tag);
    targets.encode(tag);
  }
  std::vector<std::int32_t> from;
  std::vector<std::int32_t> to;
  const std::int32_t begin = targets.encode("<s>");
  const std::int32_t end = targets.encode("</s>");
  for (const std::string& word : small_words(source)) {
    from.push_back(sources.encode(word));
  }
  for (const std::string& word : small_words(target)) {
    to.push_back(targets.encode(word));
  }
  sources.save(path + "/source.vocab");
  targets.save(path + "/target.vocab");

  const auto any = [&](const std::vector<std::int32_t>& ids) {
    return ids[static_cast<std::size_t>(below(ids.size()))];
  };
  toolkit::LangModelBuilder grams({.end_id = end});
  for (const std::int32_t tag : {0, 8, 256, begin, end}) {
    grams.add(std::array{tag}, -2.5F, -0.5F);
  }
  for (const std::int32_t word : to) {
    grams.add(std::array{word}, -3.0F, -0.25F);
  }
  for (int i = 0; i < 120; ++i) {
    const std::array ids{i % 7 == 0 ? begin : any(to), any(to), i % 5 == 0 ? end : any(to)};
    grams.add(std::span(ids).first(2), -0.5F * static_cast<float>(1 + below(6)), -0.125F);
    grams.add(std::span(ids).last(2), -0.5F * static_cast<float>(1 + below(6)), -0.125F);
    grams.add(ids, -0.25F * static_cast<float>(1 + below(6)), 0.0F);
  }
  grams.write(path + "/lm");

  koralite::decoder::CompactLmModel model(path + "/lm", 3);
  toolkit::PhraseTableBuilder pairs(
      {.compact = compact, .quantifier_path = path + "/phrases.quant", .lang_model = &model});
  const auto add = [&](std::size_t source_length, std::size_t target_length, std::int32_t first) {
    toolkit::phrase_entry_t pair;
    pair.source.push_back(first);
    while (pair.source.count < source_length) {
      pair.source.push_back(any(from));
    }
    while (pair.target.count < target_length) {
      pair.target.push_back(any(to));
    }
    pair.translation = -0.25F * static_cast<float>(1 + below(20));
    pair.kind = toolkit::ReorderingKind::kCounts;
    for (float& count : pair.reordering) {
      count = static_cast<float>(below(5));
    }
    pairs.add(pair);
  };
  for (const std::int32_t word : from) {
    for (std::size_t k = 0; k < 4; ++k) {
      add(1, 1 + k % 2, word);
    }
  }
  for (int i = 0; i < 60; ++i) {
    add(static_cast<std::size_t>(2 + below(2)), static_cast<std::size_t>(1 + below(3)), any(from));
  }
  pairs.write(path + "/phrases");
}

}  // namespace

void make_small_folder(const std::string& path, std::string_view direction, bool compact,
                       bool narrow) {
  using lines_t = std::vector<std::string>;
  std::filesystem::create_directories(path);
  toolkit::model_folder_t folder;
  folder.path = path;
  folder.engine.direction = toolkit::find_direction(direction).value();
  const std::string_view source = folder.engine.direction.source;
  const std::string_view target = folder.engine.direction.target;
  make_small_models(path, source, target, compact);

  folder.engine.recase = "recase";
  folder.engine.entities = "entities";
  toolkit::write_resource_file(path + "/recase", lines_t{"2 3 17", "I", "New York", "Smith"});
  toolkit::write_resource_file(
      path + "/entities",
      lines_t{"new york\tLOC\t纽约", "上海\tLOC\tShanghai", "東京\tLOC\tTokyo"});
  if (source == "en" || source == "zh") {
    folder.engine.rules = "rules";
    toolkit::write_resource_file(
        path + "/rules",
        source == "en" ? lines_t{"(ei) percent ||| 百分之(ci) ||| NUM", "(ai) % ||| (ai)% ||| NUM",
                                 "(ai) / (ai) ||| s0 != 0 ||| t0 = s1 / s0 ||| (af) ||| NUM",
                                 "(ai) ||| (ai) ||| NUM"}
                       : lines_t{"第(ci)名 ||| no. (ai) ||| NUM", "(ci)万 ||| (ai) ||| NUM",
                                 "(ai) ||| (ai) ||| NUM"});
  }
  if (source == "zh" || source == "ja") {
    folder.engine.segment = "segment";
    folder.engine.segment_name = "segment-names";
    folder.engine.ambiguous_path = "segment-ambiguous";
    folder.engine.anti_name = "anti-names";
    folder.engine.pinyin = "pinyin";
    std::vector<toolkit::segment_word_t> words;
    for (const std::string& word : small_words(source)) {
      if (static_cast<unsigned char>(word[0]) >= 0x80) {
        words.push_back({word, 10 + word.size(), ""});
      }
    }
    words.push_back({"张三", 3, "nr"});
    words.push_back({"张小明", 2, "nr"});
    const lines_t surnames{"张", "王"};
    toolkit::build_segment_dictionary(path + "/segment", words, surnames);
    toolkit::build_segment_names(path + "/segment-names", words, surnames);
    toolkit::build_segment_ambiguous(path + "/segment-ambiguous", {"上海 是 不是"});
    toolkit::write_resource_file(path + "/anti-names", lines_t{"张开"});
    toolkit::PinyinBuilder pinyin;
    pinyin.add_line("U+5F20\tkMandarin\tzhāng");
    pinyin.add_line("U+4E09\tkMandarin\tsān");
    pinyin.write(path + "/pinyin");
  }
  if (source == "ko") {
    folder.engine.single_word_split = "1";
  }
  folder.decoder.compress = compact;
  folder.decoder.ngram_order = 3;
  if (narrow) {
    folder.decoder.stack_limit = 8;
    folder.decoder.translation_limit = 4;
  }
  folder.decoder.source_vocab = "source.vocab";
  folder.decoder.target_vocab = "target.vocab";
  folder.decoder.compress_vocab = compact ? "phrases.quant" : "";
  folder.decoder.lang_model = "lm";
  folder.decoder.trans_model = "phrases";
  toolkit::write_file(path + "/engine.conf", toolkit::format_engine_config(folder.engine));
  toolkit::write_file(path + "/decoder.conf", toolkit::format_decoder_config(folder.decoder));
  toolkit::write_file(path + "/manifest.conf",
                      toolkit::format_manifest(toolkit::make_manifest(folder, {})));
}

}  // namespace kora_test
