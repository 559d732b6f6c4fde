// Every resource reader on a file of any bytes, and lookups in what it took. The
// first byte picks the reader; with its highest bit the rest is the lines of a
// resource file, which are packed first.
#include <array>

#include "common/des_file_reader.h"
#include "common/pick_conf.h"
#include "common/string_index.h"
#include "decoder/compressor.h"
#include "decoder/parameter.h"
#include "decoder/vocab.h"
#include "fuzz/edit.h"
#include "fuzz/fuzz.h"
#include "lexicut/lexicut.h"
#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/name_converter.h"
#include "textProcess/ne_dict.h"
#include "textProcess/pinyin_converter.h"
#include "toolkit/resource/resource_file.h"
#include "translator/model_manifest.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t limit);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t limit, unsigned seed);

namespace {

using namespace kora_fuzz;

// The files of the small Chinese folder that the readers are made for.
constexpr std::array<const char*, 15> kFiles = {"recase",
                                                "entities",
                                                "rules",
                                                "rules",
                                                "recase",
                                                "pinyin",
                                                "source.vocab",
                                                "target.vocab",
                                                "decoder.conf",
                                                "anti-names",
                                                "segment",
                                                "segment-names",
                                                "segment-ambiguous",
                                                "manifest.conf",
                                                "phrases.quant"};

const SmallFolders::folder_t& sound_folder() {
  static SmallFolders folders;
  return folders.get(0);
}

std::string sound(unsigned reader) {
  return sound_folder().sound.at(kFiles[reader]);
}

void segment(const std::string& dictionary, const std::string& names,
             const std::string& ambiguous) {
  lexicut_model* model =
      lexicut_load_model(dictionary.c_str(), names.c_str(), ambiguous.c_str(), 0);
  if (model == nullptr) {
    return;
  }
  const std::string text = "张三和张小明打开上海的不是文件5个abc\xE4";
  lexicut_out* out = lexicut_create_out(static_cast<std::int32_t>(text.size()) + 1);
  require(lexicut_segment_full(model, text.data(), static_cast<std::int32_t>(text.size()), out,
                               LEXICUT_MODE_FULL) == 1,
          "a piece that fits is cut");
  std::int32_t end = 0;
  for (std::int32_t i = 0; i < out->count; ++i) {
    require(out->offsets[i] == end && out->lengths[i] > 0, "words follow one another");
    end += out->lengths[i];
  }
  require(end == static_cast<std::int32_t>(text.size()), "words cover the text");
  lexicut_destroy_out(&out);
  lexicut_destroy(&model);
}

void read_one(unsigned reader, const std::string& path) {
  using namespace koralite;
  const std::string& folder = sound_folder().path;
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
      for (const char* phrase : {"", "new york", "a", "上海"}) {
        const bool found = dictionary.find(phrase, type, target);
        require(!found || (type != nullptr && target != nullptr), "a hit has type and target");
      }
      break;
    }
    case 2:
    case 3: {
      std::unique_ptr<numtrans::RuleTranslator> rules;
      if (reader == 2) {
        rules = std::make_unique<numtrans::EcNumTranslator>(path.c_str());
      }
      if (reader == 3) {
        rules = std::make_unique<numtrans::CeNumTranslator>(path.c_str());
      }
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
      textProcess::NameConverter(pinyin).convert("张三", out);
      break;
    }
    case 6: {
      common::StringIndex index;
      index.load(path);
      for (std::size_t i = 1; i < index.nodes().size(); ++i) {
        require(index.nodes()[i - 1] < index.nodes()[i], "an index is in order");
      }
      for (const auto& node : index.nodes()) {
        std::int32_t id = 0;
        require(index.find(node.text, id) && id == node.id, "each string is found");
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
    case 10:
      segment(path, "", "");
      break;
    case 11:
      segment(folder + "/segment", path, "");
      break;
    case 12:
      segment(folder + "/segment", folder + "/segment-names", path);
      break;
    case 13: {
      std::vector<std::string> lines;
      common::PickConf(path, lines);
      for (const auto& file : translator::manifest_files(lines, path)) {
        require(!file.name.empty() && file.sha256.size() == 64, "an entry is whole");
      }
      break;
    }
    default: {
      const decoder::Compressor compressor(path, 9);
      for (const auto& samples : compressor.quantifiers()) {
        samples.unquantify(255);
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder kFolder;
  Bytes bytes(data, size);
  const unsigned first = bytes.byte();
  const unsigned reader = first % 0x80 % kFiles.size();
  const std::string path = kFolder.file("resource");
  if (first < 0x80) {
    write(path, bytes.rest());
  } else {
    std::vector<std::string> lines;
    for (std::string_view rest = bytes.rest(); !rest.empty();) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      lines.emplace_back(rest.substr(0, end));
      rest.remove_prefix(std::min(rest.size(), end + 1));
    }
    if (!accepts([&] { koralite::toolkit::write_resource_file(path, lines); })) {
      return 0;
    }
  }
  const Budget budget(size);
  accepts([&] { read_one(reader, path); });
  return 0;
}

// Begins from a sound file of the reader and edits numbers and records of it, or any bytes.
std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t limit,
                                    unsigned seed) {
  std::minstd_rand random(seed + 1);
  random.discard(2);
  if (size < 1 || limit < 2) {
    return LLVMFuzzerMutate(data, size, limit);
  }
  if (random() % 64 == 0) {
    data[0] = static_cast<std::uint8_t>(random() >> 8U);
  }
  const unsigned edits = static_cast<unsigned>(random() % 4);
  if (data[0] >= 0x80 || (edits == 0 && size > 1)) {
    return 1 + LLVMFuzzerMutate(data + 1, size - 1, limit - 1);
  }
  const unsigned reader = data[0] % static_cast<unsigned>(kFiles.size());
  std::string file(reinterpret_cast<const char*>(data + 1), size - 1);
  if (size == 1 || random() % 16 == 0) {
    file = sound(reader);
  }
  for (unsigned i = 0; i < edits; ++i) {
    edit(random, kFiles[reader], file);
  }
  file.resize(std::min(file.size(), limit - 1));
  std::memcpy(data + 1, file.data(), file.size());
  return 1 + file.size();
}
