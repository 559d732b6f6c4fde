#include "toolkit/pack/folder_packer.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>

#include "decoder/compact_lm_model.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/folder/model_folder.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/io_error.h"
#include "toolkit/io/text_lines.h"
#include "toolkit/lm/arpa.h"
#include "toolkit/pack/phrase_text.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/pinyin_builder.h"
#include "toolkit/resource/recase_builder.h"
#include "toolkit/resource/resource_file.h"
#include "toolkit/resource/rule_source.h"
#include "toolkit/resource/vocab_file.h"
#include "toolkit/segment/segment_builder.h"

namespace koralite::toolkit {

namespace {

namespace fs = std::filesystem;

// A folder that vanishes unless it is renamed.
class HalfMade {
 public:
  explicit HalfMade(const std::string& output)
      : output_(output), path_(output + ".part" + std::to_string(::getpid())) {
    if (fs::exists(output)) {
      throw IoError(output + ": exists already; remove it or choose another name");
    }
    std::error_code error;
    if (!fs::create_directories(path_, error)) {
      throw IoError("can't make the folder " + path_ + ": " + error.message() +
                    "; check the name and the rights");
    }
  }
  HalfMade(const HalfMade&) = delete;
  HalfMade& operator=(const HalfMade&) = delete;
  ~HalfMade() {
    std::error_code ignored;
    if (!done_) {
      fs::remove_all(path_, ignored);
    }
  }
  void finish() {
    fs::rename(path_, output_);
    done_ = true;
  }
  const std::string& path() const { return path_; }

 private:
  std::string output_;
  std::string path_;
  bool done_ = false;
};

using tell_t = std::function<void(const std::string&)>;

void pack_segmenter(const pack_options_t& options, model_folder_t& folder) {
  engine_config_t& engine = folder.engine;
  if (options.dictionary.empty()) {
    if (engine.direction.source == "zh") {
      throw std::runtime_error("a Chinese source needs a word list; name one with --dictionary");
    }
    // Only the general pipeline asks for it: words stand apart by blanks as they come.
    if (engine.direction.source != "en") {
      engine.single_word_split = "0";
    }
    return;
  }
  engine.segment = "segment";
  const auto words = read_segment_words(options.dictionary);
  std::vector<std::string> surnames;
  if (!options.surnames.empty()) {
    surnames = read_segment_lines(options.surnames);
  }
  build_segment_dictionary(folder.file(engine.segment), words, surnames);
  // Without pinyin a name would have no translation.
  if (!surnames.empty() && !options.readings.empty()) {
    engine.segment_name = "segment-names";
    build_segment_names(folder.file(engine.segment_name), words, surnames);
  }
  if (!options.ambiguous.empty()) {
    engine.ambiguous_path = "segment-ambiguous";
    build_segment_ambiguous(folder.file(engine.ambiguous_path),
                            read_segment_lines(options.ambiguous));
  }
  if (!options.anti_names.empty()) {
    engine.anti_name = "anti-names";
    auto names = read_segment_lines(options.anti_names);
    std::sort(names.begin(), names.end());  // the engine searches them
    write_resource_file(folder.file(engine.anti_name), names);
  }
}

void pack_resources(const pack_options_t& options, model_folder_t& folder, const tell_t& tell) {
  engine_config_t& engine = folder.engine;
  pack_segmenter(options, folder);
  if (!options.readings.empty()) {
    engine.pinyin = "pinyin";
    PinyinBuilder pinyin;
    const std::vector<std::string> lines = read_lines(options.readings);
    try {
      for (const std::string& line : lines) {
        pinyin.add_line(line);
      }
      static_cast<void>(pinyin.bytes());
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(options.readings + ": " + error.what());
    }
    pinyin.write(folder.file(engine.pinyin));
  }
  if (!options.rules.empty()) {
    engine.rules = "rules";
    const rule_source_t rules = read_rule_source(options.rules);
    if (rules.direction != options.direction.name()) {
      throw std::runtime_error(options.rules + ": rules for " + rules.direction + ", not " +
                               options.direction.name() + "; name the rules of this direction");
    }
    write_rule_file(rules, folder.file(engine.rules));
  }
  if (!options.recase.empty()) {
    engine.recase = "recase";
    const recase_report_t report =
        write_recase_file(folder.file(engine.recase), read_segment_lines(options.recase));
    if (report.dropped > 0) {
      tell(options.recase + ": " + std::to_string(report.dropped) +
           " entries left out: a second form of an entry, or one that a record cannot hold");
    }
  }
  if (!options.entities.empty()) {
    // Phrases go through the text steps of the source, which need all of the above.
    write_file(folder.engine_path(), std::string_view(format_engine_config(engine)));
    const entity_options_t how =
        chain_entity_options(options.direction, folder.engine_path(), folder.path);
    engine.entities = "entities";
    const entity_report_t report =
        write_entity_file(read_entities(options.entities), how, folder.file(engine.entities));
    for (const std::string& line : report.dropped) {
      tell(options.entities + ":" + line);
    }
  }
}

}  // namespace

void pack_folder(const pack_options_t& options, const tell_t& tell) {
  for (const std::string* input :
       {&options.phrases, &options.reordering, &options.lang_model, &options.dictionary,
        &options.surnames, &options.ambiguous, &options.anti_names, &options.readings,
        &options.rules, &options.entities, &options.recase}) {
    require_readable(*input);
  }
  HalfMade half(options.output);
  model_folder_t folder;
  folder.path = half.path();
  folder.engine.direction = options.direction;
  decoder::Parameter& p = folder.decoder;
  p.ngram_order = options.order;
  p.compress = options.compact;
  p.translation_weight = 1.0F;  // the weights of the scores are folded into one
  p.source_vocab = "source.vocab";
  p.target_vocab = "target.vocab";
  p.lang_model = "lm";
  p.trans_model = "phrases";
  if (options.compact) {
    p.compress_vocab = "phrases.quant";
  }

  VocabBuilder source;
  VocabBuilder target;
  std::set<std::string, std::less<>> escaped;  // words of any side
  const auto plain = [&](std::string_view word) {
    if (word.find('&') == std::string_view::npos) {
      return std::string(word);
    }
    std::string text = unescaped(word);
    if (text != word) {
      escaped.emplace(word);
    }
    return options.keep_escapes ? std::string(word) : text;
  };
  std::set<std::string, std::less<>> capitals;
  const auto source_id = [&](std::string_view word) {
    const auto is_capital = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (options.direction.source == "en" && std::any_of(word.begin(), word.end(), is_capital)) {
      capitals.emplace(word);
    }
    return source.encode(plain(word));
  };
  const auto target_id = [&](std::string_view word) { return target.encode(plain(word)); };
  target.encode("<s>");
  lang_model_options_t lm_options;
  lm_options.end_id = target.encode("</s>");
  lm_options.first_word_id = 256;
  LangModelBuilder lm_builder(lm_options);
  read_arpa(options.lang_model, target_id, lm_builder);
  for (const std::string& line : lm_builder.write(folder.file(p.lang_model)).warnings()) {
    tell(options.lang_model + ": " + line);
  }
  decoder::CompactLmModel lang_model(folder.file(p.lang_model), options.order);

  phrase_table_options_t table;
  table.compact = options.compact;
  table.max_targets = options.max_targets;
  table.lang_model = &lang_model;
  table.translation_weight = p.translation_weight;
  table.word_weight = p.word_weight;
  table.lang_weight = p.lang_weight;
  if (options.compact) {
    table.quantifier_path = folder.file(p.compress_vocab);
  }
  PhraseTableBuilder builder(table);
  phrase_text_options_t text;
  text.weights = options.weights;
  const phrase_text_report_t read =
      read_phrase_table(options.phrases, source_id, target_id, builder, text);
  if (!options.reordering.empty()) {
    read_reordering_table(options.reordering, source_id, target_id, builder, text);
  }
  const phrase_table_report_t written = builder.write(folder.file(p.trans_model));
  for (const std::string& line : written.warnings()) {
    tell(options.phrases + ": " + line);
  }
  if (!escaped.empty()) {
    tell(std::to_string(escaped.size()) + " words are escaped, such as '" + *escaped.begin() +
         (options.keep_escapes ? "': text never holds such words"
                               : "': stored as people write them; --keep-escapes leaves them"));
  }
  if (!capitals.empty()) {
    tell(
        options.phrases + ": " + std::to_string(capitals.size()) +
        " source words have capitals, such as '" + *capitals.begin() +
        "': text is made small before it is looked up, so that they never match; train the table " +
        "on small letters");
  }
  source.save(folder.file(p.source_vocab));
  target.save(folder.file(p.target_vocab));

  pack_resources(options, folder, tell);
  write_file(folder.engine_path(), std::string_view(format_engine_config(folder.engine)));
  write_file(folder.file(folder.engine.decoder), std::string_view(format_decoder_config(p)));
  const std::vector<std::pair<std::string, std::string>> built_from = {
      {"direction", options.direction.name()},
      {"phrase table", options.phrases},
      {"phrase pairs", std::to_string(read.lines)},
      {"language model", options.lang_model}};
  write_file(folder.file(kManifestName),
             std::string_view(format_manifest(make_manifest(folder, built_from))));
  half.finish();
}

}  // namespace koralite::toolkit
