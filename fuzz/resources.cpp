// Every resource reader on a file of any bytes, and lookups in what it took. The
// first byte picks the reader.
#include "common/des_file_reader.h"
#include "common/pick_conf.h"
#include "common/string_index.h"
#include "decoder/parameter.h"
#include "decoder/vocab.h"
#include "fuzz/fuzz.h"
#include "lexicut/lexicut.h"
#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/ne_dict.h"
#include "textProcess/pinyin_converter.h"
#include "toolkit/resource/resource_file.h"

namespace {

using namespace kora_fuzz;

void read_one(unsigned reader, const std::string& path) {
  using namespace koralite;
  switch (reader) {
    case 0: {
      common::DesFileReader file(path);
      std::string line;
      std::uint64_t count = 0;
      while (file.getline(line)) {
        require(line.size() <= file.record_size(), "a line fits its record");
        ++count;
      }
      require(count == file.record_count(), "all records are read");
      std::string again;
      require(!file.getline(again, static_cast<unsigned>(count)), "no record behind the last");
      break;
    }
    case 1: {
      const textProcess::NeDict dictionary(path.c_str());
      const char* type = nullptr;
      const char* target = nullptr;
      for (const char* phrase : {"", "new york", "a"}) {
        const bool found = dictionary.find(phrase, type, target);
        require(!found || (type != nullptr && target != nullptr), "a hit has type and target");
      }
      break;
    }
    case 2:
    case 3: {
      std::unique_ptr<numtrans::RuleTranslator> rules;
      if (reader == 2) rules = std::make_unique<numtrans::EcNumTranslator>(path.c_str());
      if (reader == 3) rules = std::make_unique<numtrans::CeNumTranslator>(path.c_str());
      for (const char* phrase : {"5 percent", "第三名", "1 / 0", "99999999999999999999", "3.5"}) {
        accepts([&] {
          std::string target;
          std::string type;
          rules->translate(phrase, target, type);
        });
      }
      break;
    }
    case 4: {
      textProcess::EngRecaseStrProcessor step(0, nullptr, path);
      textProcess::ProcessStr text(true, "i moved to new york . smith stayed");
      text.set_identity();
      step.Process(text);
      require(text.text().size() == text.positions().size(), "each byte has a place");
      break;
    }
    case 5: {
      const textProcess::PinyinConverter pinyin(path);
      std::string out;
      pinyin.get_pinyin("张三abc\xE4", out);
      break;
    }
    case 6: {
      common::StringIndex index;
      index.load(path);
      for (std::size_t i = 1; i < index.nodes().size(); ++i) {
        require(index.nodes()[i - 1] < index.nodes()[i], "an index is in order");
      }
      break;
    }
    case 7: {
      decoder::Vocab vocab;
      vocab.load(path.c_str());
      break;
    }
    case 8:
      decoder::Parameter(path.c_str());
      break;
    case 9:
      toolkit::read_resource_file(path);
      break;
    default: {
      lexicut_model* model = lexicut_load_model(path.c_str(), reader > 10 ? path.c_str() : nullptr,
                                                reader > 11 ? path.c_str() : nullptr, 0);
      if (model == nullptr) break;
      lexicut_out* out = lexicut_create_out(64);
      const std::string text = "上海张三打开文件5个abc";
      lexicut_segment_full(model, text.data(), static_cast<std::int32_t>(text.size()), out, 0);
      lexicut_destroy_out(&out);
      lexicut_destroy(&model);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder folder;
  Bytes bytes(data, size);
  const unsigned reader = bytes.byte() % 13;
  const std::string path = write(folder.file("resource"), bytes.rest());
  const Budget budget(size);
  accepts([&] { read_one(reader, path); });
  return 0;
}
