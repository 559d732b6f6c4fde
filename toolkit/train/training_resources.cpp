#include "toolkit/train/training_resources.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include "toolkit/io/atomic_file.h"
#include "toolkit/io/parallel.h"
#include "toolkit/io/text_lines.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/pinyin_builder.h"
#include "toolkit/resource/recase_builder.h"
#include "toolkit/resource/resource_file.h"
#include "toolkit/resource/rule_source.h"
#include "toolkit/segment/segment_builder.h"
#include "toolkit/segment/word_breaks.h"
#include "toolkit/train/word_pairs.h"

namespace koralite::toolkit {

namespace fs = std::filesystem;

namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += text.empty() ? "" : " ";
    text += word;
  }
  return text;
}

}  // namespace

void TrainingResources::make_segmenter(std::string_view language, const std::string& text,
                                       const std::string& path) {
  std::vector<segment_word_t> words;
  std::vector<std::string> surnames;
  if (language == "zh" && !options_.dictionary.empty()) {
    words = read_segment_words(options_.dictionary);
    if (!options_.surnames.empty()) {
      surnames = read_segment_lines(options_.surnames);
    }
  } else {
    words = learn_words(read_lines(text), language);
  }
  build_segment_dictionary(path, words, surnames);
  if (!surnames.empty()) {
    build_segment_names(path + "-names", words, surnames);
  }
  if (language == "zh" && !options_.ambiguous.empty()) {
    build_segment_ambiguous(path + "-ambiguous", read_segment_lines(options_.ambiguous));
  }
}

void TrainingResources::make() {
  const direction_t& direction = options_.direction;
  // What an earlier run with other options made must not be taken for this one's.
  for (const char* name : {"segment", "segment-names", "segment-ambiguous", "anti-names", "pinyin",
                           "rules", "entities", "recase"}) {
    fs::remove(model_.file(name));
  }
  if (has_no_blanks(direction.source)) {
    make_segmenter(direction.source, options_.source, model_.file("segment"));
  }
  if (has_no_blanks(direction.target)) {
    make_segmenter(direction.target, options_.target, stages_.file("target-segment"));
  }
  if (!options_.rules.empty()) {
    const rule_source_t rules = read_rule_source(options_.rules);
    if (rules.direction != direction.name()) {
      throw std::runtime_error(options_.rules + ": rules for " + rules.direction + ", not " +
                               direction.name());
    }
    write_rule_file(rules, model_.file("rules"));
  }
  if (!options_.readings.empty() && direction.source == "zh") {
    PinyinBuilder pinyin;
    for (const std::string& line : read_lines(options_.readings)) {
      pinyin.add_line(line);
    }
    pinyin.write(model_.file("pinyin"));
  }
  if (!options_.entities.empty()) {
    make_entities();
  }
}

void TrainingResources::make_entities() {
  enter();
  const entity_options_t options =
      chain_entity_options(options_.direction, stages_.file("source.conf"), model_.path);
  const entity_report_t report =
      write_entity_file(read_entities(options_.entities), options, model_.file("entities"));
  if (!report.dropped.empty()) {
    warn_(std::to_string(report.dropped.size()) + " of " + std::to_string(report.read) +
          " entities left out, the first: " + report.dropped.front());
  }
}

void TrainingResources::enter() {
  engine_config_t& engine = model_.engine;
  const auto name_if_there = [&](const char* name, std::string& value) {
    value = fs::exists(model_.file(name)) ? name : "";
  };
  if (has_no_blanks(options_.direction.source)) {
    name_if_there("segment", engine.segment);
    name_if_there("segment-names", engine.segment_name);
    name_if_there("segment-ambiguous", engine.ambiguous_path);
  } else if (options_.direction.source != "en") {
    engine.single_word_split = "0";
  }
  name_if_there("pinyin", engine.pinyin);
  // Without pinyin a name would have no translation.
  if (engine.pinyin.empty()) {
    engine.segment_name.clear();
  }
  name_if_there("anti-names", engine.anti_name);
  name_if_there("rules", engine.rules);
  name_if_there("entities", engine.entities);
  name_if_there("recase", engine.recase);
  write_configurations();
}

bool TrainingResources::finds_names() const {
  return !model_.engine.segment_name.empty() && !model_.engine.pinyin.empty();
}

void TrainingResources::write_configurations() const {
  write_file(stages_.file("source.conf"), format_engine_config(model_.engine));
  engine_config_t target;
  target.direction = options_.direction;
  if (has_no_blanks(options_.direction.target)) {
    target.segment = "../target-segment";
  } else if (options_.direction.target != "en") {
    target.single_word_split = "0";
  }
  write_file(stages_.file("target.conf"), format_engine_config(target));
}

preparation_files_t TrainingResources::files() const {
  return {options_.direction, stages_.file("source.conf"), stages_.file("target.conf"),
          model_.path};
}

// The segmenter takes words for names of persons that are none in this text: those whose reading
// the other side does not have.
void TrainingResources::find_false_names() {
  fs::remove(model_.file("anti-names"));
  enter();
  const std::vector<std::string> source = read_lines(options_.source);
  const std::vector<std::string> target = read_lines(options_.target);
  const unsigned threads = thread_count(options_.threads);
  std::vector<std::unique_ptr<Preparer>> preparers;
  for (unsigned i = 0; i < threads; ++i) {
    preparers.push_back(std::make_unique<Preparer>(files()));
  }
  struct count_t {
    std::uint64_t found = 0;
    std::uint64_t matched = 0;
  };
  std::vector<std::map<std::string, count_t>> counts(threads);
  parallel_for(
      std::min(source.size(), target.size()), threads,
      [&](std::size_t i, unsigned worker) {
        for (const auto& [name, reading] : preparers[worker]->names(source[i])) {
          count_t& count = counts[worker][name];
          ++count.found;
          const bool has_reading = target[i].find(reading) != std::string::npos;
          count.matched += has_reading ? 1 : 0;
        }
      },
      progress_, "names");
  std::map<std::string, count_t> total;
  for (const auto& part : counts) {
    for (const auto& [name, count] : part) {
      total[name].found += count.found;
      total[name].matched += count.matched;
    }
  }
  std::vector<std::string> false_names;  // in byte order, as the segmenter wants them
  for (const auto& [name, count] : total) {
    if (2 * count.matched < count.found) {
      false_names.push_back(name);
    }
  }
  say_("  " + std::to_string(false_names.size()) + " of " + std::to_string(total.size()) +
       " names of persons are none in this text");
  if (!false_names.empty()) {
    write_resource_file(model_.file("anti-names"), false_names);
  }
}

void TrainingResources::learn_capitals() {
  RecaseBuilder builder;
  Preparer preparer(files());
  std::vector<std::string> lines = read_lines(options_.target);
  if (!options_.recase_text.empty()) {
    const auto more = read_lines(options_.recase_text);
    lines.insert(lines.end(), more.begin(), more.end());
  }
  for (const std::string& line : lines) {
    builder.add_line(joined(preparer.cased_target(line)));
  }
  if (!options_.word_pairs.empty()) {
    for (const std::string& word : read_word_pairs(options_.word_pairs).target) {
      builder.add_entry(joined(preparer.cased_target(word)));
    }
  }
  const auto entries = builder.entries();
  fs::remove(model_.file("recase"));
  if (entries.empty()) {
    warn_("no word with a capital was seen often enough: only sentence starts get one");
  } else {
    write_recase_file(model_.file("recase"), entries);
  }
}

}  // namespace koralite::toolkit
