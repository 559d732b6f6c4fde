#include "support/random_model.h"

#include <set>
#include <string_view>
#include <utility>

#include "decoder/compact_lm_model.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/pack/phrase_table_builder.h"

namespace kora_test {

namespace decoder = koralite::decoder;

RandomModel::RandomModel(std::string folder, const random_model_options_t& options)
    : folder_(std::move(folder)), options_(options), random_(options.seed) {
  make_vocabs();
  make_lang_model();
  if (options_.pairs == 0) {
    return;
  }
  source_vocab_.save(folder_ + "/source.vocab");
  target_vocab_.save(folder_ + "/target.vocab");
  make_phrase_table();
  std::string text = "[source-vocab]\nsource.vocab\n\n[target-vocab]\ntarget.vocab\n\n";
  text += "[lang-model]\nlm.bin\n\n[trans-model]\nphrases\n\n[compress-vocab]\nquantifier\n\n";
  text += std::string("[compress]\n") + (options.compact ? "1" : "0") + "\n\n";
  text += std::string("[prune]\n") + (options.prune ? "1" : "0") + "\n\n";
  toolkit::write_file(parameter_path(), std::string_view(text));
}

void RandomModel::make_vocabs() {
  source_vocab_.encode("<name>#0");
  target_vocab_.encode("<name>#0");
  for (int i = 1; i <= options_.source_words; ++i) {
    source_ids_.push_back(source_vocab_.encode("s" + std::to_string(i)));
  }
  begin_ = target_vocab_.encode("<s>");
  end_ = target_vocab_.encode("</s>");
  for (int i = 1; i <= options_.target_words; ++i) {
    target_ids_.push_back(target_vocab_.encode("t" + std::to_string(i)));
  }
}

int RandomModel::source_word() {
  if (random(12) == 0) {
    return random(3);
  }
  if (random(40) == 0) {
    return 256;  // "<unk>"
  }
  return source_ids_[static_cast<std::size_t>(skewed(options_.source_words))];
}

int RandomModel::target_word() {
  if (random(12) == 0) {
    return random(3);
  }
  if (random(40) == 0) {
    return 256;
  }
  return target_ids_[static_cast<std::size_t>(skewed(options_.target_words))];
}

void RandomModel::make_lang_model() {
  toolkit::LangModelBuilder builder({.end_id = end_});
  std::set<std::vector<int>> seen;
  const auto add = [&](std::vector<int> ids, bool last_order) {
    if (!seen.insert(ids).second) {
      return;
    }
    const float probability = -grid(1, 40, 0.25F);
    const float back_off = last_order ? 0.0F : grid(-8, 3, 0.125F);
    builder.add(ids, probability, back_off);
    ngrams_.push_back({std::move(ids), probability, back_off});
  };
  for (int tag = 0; tag < 8; ++tag) {
    add({tag}, false);
  }
  if (random(3) != 0) {
    add({256}, false);
  }
  add({begin_}, false);
  add({end_}, false);
  for (const int word : target_ids_) {
    if (random(15) != 0) {
      add({word}, false);  // a few words have no one-word entry
    }
  }
  for (int i = 0; i < options_.ngrams && options_.order > 1; ++i) {
    std::vector<int> ids;
    const int length = 2 + random(options_.order - 1);
    ids.push_back(random(5) == 0 ? begin_ : target_word());
    while (static_cast<int>(ids.size()) < length) {
      ids.push_back(target_word());
    }
    if (random(6) == 0) {
      ids.back() = end_;
    }
    const bool closed = random(5) != 0;
    for (std::size_t end = closed ? 2 : ids.size(); end <= ids.size(); ++end) {
      for (std::size_t begin = 0; begin + 2 <= end; ++begin) {
        add({ids.begin() + static_cast<std::ptrdiff_t>(begin),
             ids.begin() + static_cast<std::ptrdiff_t>(end)},
            static_cast<int>(end - begin) == options_.order);
        if (!closed) {
          break;
        }
      }
    }
  }
  builder.write(lm_path());
}

void RandomModel::make_phrase_table() {
  decoder::CompactLmModel lang_model(lm_path(), 8);
  toolkit::PhraseTableBuilder builder({.compact = options_.compact,
                                       .score_size = options_.prune ? 7 : 9,
                                       .quantifier_path = quantifier_path(),
                                       .lang_model = &lang_model});
  std::set<std::pair<std::vector<int>, std::vector<int>>> seen;
  for (int i = 0; i < options_.pairs; ++i) {
    toolkit::phrase_entry_t pair;
    const int source_length = 1 + skewed(options_.max_phrase);
    const int target_length = random(30) == 0 ? 0 : 1 + skewed(options_.max_phrase);
    for (int k = 0; k < source_length; ++k) {
      pair.source.push_back(source_word());
    }
    for (int k = 0; k < target_length; ++k) {
      pair.target.push_back(target_word());
    }
    const auto source = pair.source.words();
    const auto target = pair.target.words();
    if (!seen.insert({{source.begin(), source.end()}, {target.begin(), target.end()}}).second) {
      continue;
    }
    pair.translation = -grid(0, 60, 0.125F);
    pair.kind = toolkit::ReorderingKind::kCounts;
    for (float& count : pair.reordering) {
      count = grid(0, 5, 1.0F);
    }
    pairs_.push_back(pair);
    builder.add(pair);
  }
  builder.write(folder_ + "/phrases");
}

}  // namespace kora_test
