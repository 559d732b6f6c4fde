// Builds the three files of a packed phrase table (docs/format-phrase-table.md),
// and the quantifier file of a compact one, from phrase pairs in any order.
//
// Pairs are kept packed in memory until they are written: about 50 bytes and 4 per
// word. One owner, one thread. Files appear whole or not at all. What the format or
// a limit forces out is counted and told, never dropped in silence; only what would
// make the table wrong is an error (std::runtime_error).
//
// Entries and blocks are written by the engine's own decoder::TargetData, so that they cannot come
// to differ from what it reads. Writing therefore sets TargetData::s_score_size, as opening a model
// of this kind does.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "decoder/compressor.h"
#include "decoder/lang_model.h"
#include "decoder/target_data.h"
#include "toolkit/pack/phrase_entry.h"

namespace koralite::toolkit {

enum class Quantization : std::uint8_t {
  kKMeans,    // samples that minimise the squared error of all scores
  kQuantiles  // samples that stand for equally many scores each
};

struct phrase_table_options_t {
  bool compact = false;  // entries of 1 + 2n + (S - 6) + 2 bytes
  int score_size = 9;    // 9, or 7 to leave the language model scores out
  int max_targets = 0;   // targets kept per source phrase, the best; 0: all
  int samples = 256;     // per score of a compact table, 1 to 256
  Quantization quantize = Quantization::kKMeans;
  std::string quantifier_path = {};  // written when compact; may not be empty then

  // Scores the targets of a table of nine scores; needed then. Its visible trees change.
  decoder::LangModel* lang_model = nullptr;

  // Targets are stored best first by these weights, the decoder's defaults.
  float translation_weight = 0.2F;
  float word_weight = 1.0F;
  float lang_weight = 0.5F;
};

struct phrase_table_report_t {
  std::uint64_t added = 0;              // pairs given
  std::uint64_t written = 0;            // pairs in the table
  std::uint64_t sources = 0;            // source phrases in the table
  std::uint64_t repeated = 0;           // pairs given again; the best translation score stays
  std::uint64_t bad_source_words = 0;   // a negative id, or one above 65534 past the first word
  std::uint64_t bad_target_words = 0;   // a negative id, or one above 65535 in a compact table
  std::uint64_t bad_source_length = 0;  // no word, or more than eight
  std::uint64_t long_targets = 0;       // more than eight words: the decoder would skip them
  std::uint64_t bad_scores = 0;         // a score that is no finite number
  std::uint64_t over_limit = 0;         // beyond `max_targets`
  std::uint64_t lone_reordering = 0;    // reordering values of pairs that were never given
  std::uint64_t data_bytes = 0;
  std::uint64_t node_bytes = 0;
  std::uint64_t head_bytes = 0;
  std::vector<double> quantize_error;  // root mean square per score of a compact table

  std::uint64_t bytes() const { return data_bytes + node_bytes + head_bytes; }
  // One line per kind of loss, for the one who builds the model. Empty if nothing was lost.
  std::vector<std::string> warnings() const;
};

// The index (see decoder::Compressor) whose probabilities come nearest to three given as natural
// logarithms.
int nearest_reordering(std::span<const float, 3> log_probs);

class PhraseTableBuilder {
 public:
  explicit PhraseTableBuilder(phrase_table_options_t options);

  void add(const phrase_entry_t& entry);

  // Reordering values of a pair that is given, before or after, by `add` without any.
  void add_reordering(const phrase_t& source, const phrase_t& target, ReorderingKind kind,
                      const std::array<float, 6>& values);

  // Sorts, scores and writes PATH, PATH.nodes and PATH.data. The builder is empty afterwards.
  phrase_table_report_t write(const std::string& path);

 private:
  struct item_t {
    std::uint64_t words = 0;  // place of the ids, source before target
    std::uint8_t source_count = 0;
    std::uint8_t target_count = 0;
    ReorderingKind kind = ReorderingKind::kNone;
    float translation = 0.0F;
    std::array<float, 6> reordering{};
  };
  struct scored_t {
    std::uint32_t item = 0;
    float complete = 0.0F;
    float total = 0.0F;
    float rank = 0.0F;
  };
  std::span<const std::int32_t> source(const item_t& item) const;
  std::span<const std::int32_t> target(const item_t& item) const;
  bool accept(const phrase_t& source, const phrase_t& target);
  item_t store(const phrase_t& source, const phrase_t& target);
  int compare_sources(const item_t& a, const item_t& b) const;
  bool before(const item_t& a, const item_t& b) const;
  void sort_and_merge();
  void join_reordering();
  std::vector<scored_t> score();
  std::vector<float> translation_scores(const scored_t& entry) const;
  decoder::Compressor train(const std::vector<scored_t>& scored);
  void append_entry(decoder::TargetData& block, const scored_t& entry,
                    const decoder::Compressor* compressor) const;

  phrase_table_options_t options_;
  phrase_table_report_t report_;
  std::vector<std::int32_t> words_;
  std::vector<item_t> items_;
  std::vector<item_t> reordering_;
};

}  // namespace koralite::toolkit
