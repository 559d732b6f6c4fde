#include "toolkit/check/model_checker.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "common/pick_conf.h"
#include "decoder/phrase_table_format.h"
#include "decoder/target_data.h"
#include "toolkit/check/model_files.h"
#include "toolkit/check/resource_checker.h"
#include "toolkit/folder/manifest.h"

namespace koralite::toolkit {

namespace {

// Values that the engine would read as something else than what stands there, and searches that
// apps refuse.
void check_parameters(FileReport report) {
  std::vector<std::string> lines;
  try {
    common::PickConf(report.path(), lines);
  } catch (const std::runtime_error& error) {
    return report.wrong("", error.what());
  }
  const auto check_number = [&](std::string_view section, auto number) {
    std::string value;
    if (!common::find_conf(lines, std::string(section), value)) {
      return;
    }
    const char* end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end ||
        !std::isfinite(static_cast<double>(number))) {
      report.wrong(std::string(section), "'" + value + "' is no number");
    } else if ((section == "[stack]" || section == "[option]") && number > decoder::kWidestSearch) {
      report.wrong(std::string(section), "above " + std::to_string(decoder::kWidestSearch) +
                                             ", which apps refuse to open");
    }
  };
  for (const char* section : {"[stack]", "[option]", "[distort]", "[ngram]"}) {
    check_number(section, std::int32_t{0});
  }
  for (const char* section :
       {"[beam]", "[distort-weight]", "[word-weight]", "[unknown-weight]", "[reorder-weight]",
        "[lang-weight]", "[trans-weight]", "[phrase-weight]"}) {
    check_number(section, 0.0F);
  }
}

}  // namespace

check_report_t check_model_folder(const model_folder_t& folder, bool with_manifest) {
  check_report_t out;
  try {
    if (with_manifest) {
      out.problems = verify_manifest(folder, read_manifest(folder.path));
    }
  } catch (const std::exception& error) {
    out.problems.emplace_back(error.what());
  }
  const std::string no_direction = why_not_translated(folder.engine.direction);
  if (!no_direction.empty()) {
    out.problems.push_back(folder.engine_path() + ": direction " + folder.engine.direction.name() +
                           ": " + no_direction + "; use one of: " + direction_names());
  }
  check_parameters({out, folder.file(folder.engine.decoder)});
  const decoder::Parameter& p = folder.decoder;
  const auto path = [&](const std::string& name) { return folder.file(name); };
  decoder::Vocab source;
  decoder::Vocab target;
  check_vocab({out, path(p.source_vocab)}, source);
  check_vocab({out, path(p.target_vocab)}, target);
  target.encode("<s>");
  target.encode("</s>");
  check_lang_model({out, path(p.lang_model)}, target);

  const int score_size = p.prune ? decoder::phrase_table_format::kScoresWithoutLanguage
                                 : decoder::phrase_table_format::kScores;
  std::optional<decoder::Compressor> compressor;
  if (p.compress) {
    compressor = check_quantifier({out, path(p.compress_vocab)}, score_size);
  }
  decoder::TargetData::s_score_size = score_size;
  check_phrases(out, path(p.trans_model),
                {&source, &target, compressor ? &*compressor : nullptr, p.compress});

  const engine_config_t& engine = folder.engine;
  const auto check = [&](const std::string& name, const auto& how, auto... more) {
    if (!name.empty()) {
      how(FileReport(out, path(name)), more...);
    }
  };
  check(engine.segment, check_segment_file, SegmentKind::kWords);
  check(engine.segment_name, check_segment_file, SegmentKind::kNames);
  check(engine.ambiguous_path, check_segment_file, SegmentKind::kAmbiguous);
  check(engine.pinyin, check_pinyin_file);
  check(engine.anti_name, check_record_file, RecordKind::kSorted);
  check(engine.entities, check_record_file, RecordKind::kEntities);
  check(engine.recase, check_record_file, RecordKind::kRecase);
  check(engine.rules, check_record_file, RecordKind::kRules);
  return out;
}

}  // namespace koralite::toolkit
