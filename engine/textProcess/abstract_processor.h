// What the two halves of a language pipeline share: reading the engine's
// configuration file and finding the optional resources that it names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/engine_configuration.h"
#include "common/file_path.h"

namespace koralite::textProcess {

class AbstractProcessor {
 public:
  using Lines = std::vector<std::string>;

  AbstractProcessor() = default;
  AbstractProcessor(const AbstractProcessor&) = delete;
  AbstractProcessor& operator=(const AbstractProcessor&) = delete;
  virtual ~AbstractProcessor() = default;

  // The lines of a configuration file, for tools and tests: pipelines get them read. Throws as
  // common::PickConf.
  static Lines Config2Vec(const common::FilePath& path);
  // Whether "[debugLevel]" has a value that does not begin with "0".
  static bool GetDebLevel(const Lines& configuration);

 protected:
  // The value of a section; empty when the section is absent.
  static std::string section_value(const Lines& configuration, std::string_view section);
  // The path of the file in the model folder that a section names; empty when
  // the section is absent or has an empty value, which leaves the service out.
  static common::FilePath section_path(const Lines& configuration, std::string_view section,
                                       const common::FilePath& model_folder);
};

}  // namespace koralite::textProcess
