// Rules and phrases: each input is rule lines, a byte of 0xFF, and phrases a line
// each. Rules are packed as they stand and run in both directions.
#include "fuzz/fuzz.h"
#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "toolkit/resource/resource_file.h"

namespace {

std::vector<std::string> lines_of(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty() && lines.size() < 40) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(text.size(), end + 1));
  }
  return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  using namespace koralite::numtrans;
  static const Folder kFolder;
  Bytes bytes(data, size);
  const std::vector<std::string> rules = lines_of(bytes.part());
  const std::string path = kFolder.file("rules");
  if (!accepts([&] { koralite::toolkit::write_resource_file(path, rules); })) {
    return 0;
  }
  const Budget budget(size);
  EcNumTranslator from_english(path.c_str());
  CeNumTranslator from_chinese(path.c_str());
  for (RuleTranslator* translator :
       {static_cast<RuleTranslator*>(&from_english), static_cast<RuleTranslator*>(&from_chinese)}) {
    require(translator->rules().size() == rules.size(), "each line is a rule");
    for (const std::string& phrase : lines_of(bytes.rest())) {
      const auto run = [&] {
        std::string target;
        std::string type;
        bool done = false;
        if (!accepts([&] { done = translator->translate(phrase, target, type); })) {
          return type;
        }
        return done ? target + '\t' + type : std::string();
      };
      require(run() == run(), "the same phrase gives the same bytes");
    }
  }
  return 0;
}
