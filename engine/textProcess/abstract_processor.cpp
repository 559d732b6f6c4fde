#include "textProcess/abstract_processor.h"

namespace koralite::textProcess {

AbstractProcessor::Lines AbstractProcessor::Config2Vec(const common::FilePath& path) {
  return common::EngineConfiguration(path).lines();
}

bool AbstractProcessor::GetDebLevel(const Lines& configuration) {
  return common::EngineConfiguration::debug_level(configuration);
}

std::string AbstractProcessor::section_value(const Lines& configuration, std::string_view section) {
  return common::EngineConfiguration::value(configuration, section);
}

common::FilePath AbstractProcessor::section_path(const Lines& configuration,
                                                 std::string_view section,
                                                 const common::FilePath& model_folder) {
  const std::string value = section_value(configuration, section);
  return value.empty() ? common::FilePath() : model_folder.file(value);
}

}  // namespace koralite::textProcess
