// The readers of text models and of what people write: ARPA, phrase and reordering
// tables, rule sources, entities, word lists, manifests, folders. The first byte
// picks the reader, the rest is the file.
#include "fuzz/fuzz.h"
#include "toolkit/model/manifest.h"
#include "toolkit/pack/arpa.h"
#include "toolkit/pack/phrase_text.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/pinyin_builder.h"
#include "toolkit/resource/rule_source.h"
#include "toolkit/segment/segment_builder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  using namespace koralite::toolkit;
  static const Folder folder;
  Bytes bytes(data, size);
  const unsigned reader = bytes.byte() % 8;
  const std::string path = write(folder.file(reader == 6   ? "manifest.conf"
                                             : reader == 7 ? "engine.conf"
                                                           : "text"),
                                 bytes.rest());
  const auto id = [](std::string_view word) {
    return word.size() < 4 && !word.empty() ? 256 + static_cast<unsigned char>(word[0]) : -1;
  };
  const Budget budget(size);
  accepts([&] {
    switch (reader) {
      case 0: {
        LangModelBuilder builder;
        read_arpa(path, id, builder);
        builder.write(folder.file("lm"));
        break;
      }
      case 1: {
        PhraseTableBuilder builder({});
        read_phrase_table(path, id, id, builder);
        builder.write(folder.file("phrases"));
        break;
      }
      case 2: {
        PhraseTableBuilder builder({});
        read_reordering_table(path, id, id, builder);
        break;
      }
      case 3:
        write_rule_file(read_rule_source(path), folder.file("rules"));
        break;
      case 4:
        write_entity_file(read_entities(path), {}, folder.file("entities"));
        break;
      case 5: {
        build_segment_dictionary(folder.file("segment"), read_segment_words(path), {});
        PinyinBuilder pinyin;
        pinyin.add_line(bytes.rest());
        break;
      }
      case 6:
        read_manifest(folder.path());
        break;
      default:
        open_model_folder(folder.path(), "en-zh");
    }
  });
  return 0;
}
