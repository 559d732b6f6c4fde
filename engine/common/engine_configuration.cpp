#include "common/engine_configuration.h"

#include "common/pick_conf.h"

namespace koralite::common {

EngineConfiguration::EngineConfiguration(const FilePath& path) : path_(path) {
  PickConf(path, lines_);
}

bool EngineConfiguration::has_known_version() const {
  return value(lines_, "[version]").starts_with("1.0.");
}

std::string EngineConfiguration::parameter_file() const {
  std::vector<std::string> values;
  return find_conf(lines_, "[decoder]", values) ? values.front() : std::string();
}

bool EngineConfiguration::debug_level(const std::vector<std::string>& lines) {
  const std::string level = value(lines, "[debugLevel]");
  return !level.empty() && level.front() != '0';
}

std::string EngineConfiguration::value(const std::vector<std::string>& lines,
                                       std::string_view section) {
  std::string found;
  return find_conf(lines, section, found) ? found : std::string();
}

}  // namespace koralite::common
