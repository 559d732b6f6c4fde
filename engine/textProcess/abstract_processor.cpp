#include "textProcess/abstract_processor.h"

#include "common/pick_conf.h"

namespace koralite::textProcess {

AbstractProcessor::Lines AbstractProcessor::Config2Vec(const common::FilePath& path) {
  Lines lines;
  common::PickConf(path, lines);
  return lines;
}

bool AbstractProcessor::GetDebLevel(const Lines& configuration) {
  const std::string value = section_value(configuration, "[debugLevel]");
  return !value.empty() && value.front() != '0';
}

std::string AbstractProcessor::section_value(const Lines& configuration, std::string_view section) {
  std::string value;
  if (!common::find_conf(configuration, section, value)) {
    value.clear();
  }
  return value;
}

common::FilePath AbstractProcessor::section_path(const Lines& configuration,
                                                 std::string_view section,
                                                 const common::FilePath& model_folder) {
  const std::string value = section_value(configuration, section);
  return value.empty() ? common::FilePath() : model_folder.file(value);
}

}  // namespace koralite::textProcess
