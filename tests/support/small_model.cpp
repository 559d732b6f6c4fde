#include "support/small_model.h"

#include <span>
#include <string_view>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/folder/model_folder.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/pack/phrase_table_builder.h"
#include "toolkit/resource/vocab_file.h"

namespace kora_test {

namespace toolkit = koralite::toolkit;

void write_small_model(const std::string& folder, const std::string& direction) {
  struct pair_t {
    std::vector<const char*> source;
    std::vector<const char*> target;
    float score;
  };
  const std::vector<pair_t> pairs = {{{"hello"}, {"你好"}, -0.1F},
                                     {{"world"}, {"世界"}, -0.2F},
                                     {{"hello", "world"}, {"你好", "世界"}, -0.1F},
                                     {{"good", "morning"}, {"早上", "好"}, -0.1F},
                                     {{"good"}, {"好"}, -0.5F},
                                     {{"morning"}, {"早上"}, -0.4F},
                                     {{"the"}, {"这"}, -1.0F},
                                     {{"the", "cat"}, {"猫"}, -0.3F},
                                     {{"cat"}, {"猫"}, -0.3F},
                                     {{"sat"}, {"坐"}, -0.3F},
                                     {{","}, {"，"}, -0.1F},
                                     {{"cat", "sat"}, {"猫", "坐", "着"}, -0.2F}};

  toolkit::VocabBuilder source;
  toolkit::VocabBuilder target;
  const int begin = target.encode("<s>");
  const int end = target.encode("</s>");
  std::vector<toolkit::phrase_entry_t> entries;
  toolkit::LangModelBuilder lang_model({.end_id = end});
  for (const pair_t& pair : pairs) {
    toolkit::phrase_entry_t& entry = entries.emplace_back();
    for (const char* word : pair.source) {
      entry.source.push_back(source.encode(word));
    }
    std::vector<std::int32_t> ids = {begin};
    for (const char* word : pair.target) {
      entry.target.push_back(target.encode(word));
      ids.push_back(target.encode(word));
      lang_model.add(std::span(ids).last(1), -2.0F, -0.3F);
    }
    for (std::size_t i = 1; i < ids.size(); ++i) {
      lang_model.add(std::span(ids).subspan(i - 1, 2), -0.5F, 0.0F);
    }
    entry.translation = pair.score;
  }
  for (const int word : {begin, end, 256}) {
    lang_model.add(std::span(&word, 1), word == begin ? -99.0F : -2.5F, -0.1F);
  }

  koralite::decoder::Parameter parameter;
  parameter.source_vocab = "source.vocab";
  parameter.target_vocab = "target.vocab";
  parameter.lang_model = "lm";
  parameter.trans_model = "phrases";
  parameter.compress_vocab = "phrases.quant";
  parameter.compress = true;
  const auto file = [&](const std::string& name) { return folder + '/' + name; };
  source.save(file("source.vocab"));
  target.save(file("target.vocab"));
  lang_model.write(file("lm"));
  koralite::decoder::CompactLmModel scorer(file("lm"), 8);
  toolkit::PhraseTableBuilder table({.compact = true,
                                     .score_size = parameter.prune ? 7 : 9,
                                     .quantifier_path = file("phrases.quant"),
                                     .lang_model = &scorer});
  for (const auto& entry : entries) {
    table.add(entry);
  }
  table.write(file("phrases"));
  toolkit::engine_config_t engine;
  engine.direction = *toolkit::find_direction(direction);
  toolkit::write_file(file("engine.conf"), std::string_view(toolkit::format_engine_config(engine)));
  toolkit::write_file(file("decoder.conf"),
                      std::string_view(toolkit::format_decoder_config(parameter)));
  toolkit::write_file(file("manifest.conf"),
                      std::string_view(toolkit::format_manifest(toolkit::make_manifest(
                          toolkit::open_model_folder(folder), {{"made by", "a test"}}))));
}

}  // namespace kora_test
