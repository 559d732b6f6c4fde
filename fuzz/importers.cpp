// The readers of text models and of what people write: ARPA, phrase and reordering
// tables, rule sources, entities, word lists, manifests, folders. The first byte
// picks the reader, the rest is the file. What a builder writes, the engine reads.
#include "decoder/compact_lm_model.h"
#include "decoder/compact_trans_model.h"
#include "fuzz/fuzz.h"
#include "lexicut/lexicut.h"
#include "numtrans/ec_num_translator.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/ne_dict.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/lm/arpa.h"
#include "toolkit/pack/phrase_text.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/pinyin_builder.h"
#include "toolkit/resource/recase_builder.h"
#include "toolkit/resource/rule_source.h"
#include "toolkit/segment/segment_builder.h"

namespace {

using namespace kora_fuzz;
using namespace koralite;
using namespace koralite::toolkit;

std::int32_t id(std::string_view word) {
  return word.size() < 4 && !word.empty() ? 256 + static_cast<unsigned char>(word[0]) : -1;
}

void language_model(const std::string& path, const std::string& packed) {
  LangModelBuilder builder;
  read_arpa(path, id, builder);
  builder.write(packed);
  decoder::CompactLmModel model(packed, 3);
  const int words[] = {256 + 'a', 256 + 'b', 256 + '<'};
  model.add_to_cache(words);
  for (const std::span<const int> ids : {std::span(words).first(1), std::span(words).last(2)}) {
    require(model.compute_ngram_score(ids) == model.compute_ngram_score(ids),
            "a score is a number");
  }
}

// A phrase table, a byte of 0xFF and a reordering table.
void phrase_table(Bytes bytes, const std::string& path, const std::string& packed, bool compact) {
  PhraseTableBuilder builder(
      {.compact = compact, .score_size = 7, .quantifier_path = packed + ".quant"});
  write(path, bytes.part());
  read_phrase_table(path, id, id, builder);
  write(path, bytes.rest());
  accepts([&] { read_reordering_table(path, id, id, builder); });
  builder.write(packed);
  decoder::TargetData::s_score_size = 7;
  const decoder::CompactTransModel model(packed);
  const int words[] = {256 + 'a', 256 + 'b', 256 + 'c'};
  std::vector<decoder::TargetData> targets;
  model.search_all(words, targets);
  require(targets.size() <= decoder::TransModel::kMaxPhrase, "a phrase has at most eight words");
}

void read_one(unsigned reader, Bytes bytes, const std::string& path, const std::string& packed) {
  const bool read_back = accepts([&] {
    switch (reader) {
      case 0:
        language_model(path, packed);
        break;
      case 1:
      case 2:
        phrase_table(bytes, path, packed, reader == 2);
        break;
      case 3:
        write_rule_file(read_rule_source(path), packed);
        break;
      case 4:
        write_entity_file(read_entities(path), {}, packed);
        break;
      case 5:
        build_segment_dictionary(packed, read_segment_words(path), {"a", "\xE5\xBC\xA0"});
        break;
      case 8: {
        RecaseBuilder builder({.min_count = 1});
        for (std::string_view rest = bytes.rest(); !rest.empty();) {
          const std::size_t end = std::min(rest.find('\n'), rest.size());
          builder.add_line(rest.substr(0, end));
          rest.remove_prefix(std::min(rest.size(), end + 1));
        }
        write_recase_file(packed, builder.entries());
        break;
      }
      case 9: {
        PinyinBuilder pinyin;
        pinyin.add_line(bytes.rest());
        break;
      }
      default:
        break;
    }
  });
  if (!read_back) {
    return;
  }
  try {
    if (reader == 3) {
      numtrans::EcNumTranslator{packed.c_str()};
    }
    if (reader == 4) {
      textProcess::NeDict{packed.c_str()};
    }
    if (reader == 8) {
      textProcess::EngRecaseStrProcessor{0, nullptr, packed};
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    require(false, "the engine reads what a builder wrote");
  }
  if (reader == 5) {
    lexicut_model* model = lexicut_load_model(packed.c_str(), nullptr, nullptr, 0);
    require(model != nullptr, "the segmenter reads what its builder wrote");
    lexicut_destroy(&model);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder kFolder;
  Bytes bytes(data, size);
  const unsigned reader = bytes.byte() % 10;
  const std::string path = write(kFolder.file(reader == 6   ? "manifest.conf"
                                              : reader == 7 ? "engine.conf"
                                                            : "text"),
                                 bytes.rest());
  const Budget budget(size);
  if (reader == 6) {
    accepts([&] { read_manifest(kFolder.path()); });
  } else if (reader == 7) {
    accepts([&] { open_model_folder(kFolder.path(), "en-zh"); });
  } else {
    read_one(reader, bytes, path, kFolder.file("packed"));
  }
  return 0;
}
