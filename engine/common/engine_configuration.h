// The engine configuration of a model folder (docs/format-config.md), read once and handed to all
// that ask it: the interface for version and parameter file, the text steps for their resources,
// the manifest for the files that a folder must hold.
//
// A value; reading it changes nothing, so any number of threads may.
#pragma once

#include <array>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/file_path.h"

namespace koralite::common {

class EngineConfiguration {
 public:
  // Sections whose value is a file in the model folder.
  static constexpr std::string_view kRecase = "[recase]";
  static constexpr std::string_view kEntities = "[ne]";
  static constexpr std::string_view kRules = "[rule]";
  static constexpr std::string_view kSegment = "[segment]";
  static constexpr std::string_view kSegmentNames = "[segment_name]";
  static constexpr std::string_view kAmbiguousPaths = "[ambiguous_path]";
  static constexpr std::string_view kAntiNames = "[anti-name]";
  static constexpr std::string_view kPinyin = "[pinyin]";
  static constexpr std::array kResources = {kRecase,       kEntities,       kRules,     kSegment,
                                            kSegmentNames, kAmbiguousPaths, kAntiNames, kPinyin};
  // "1" splits sources without a segmenter into characters.
  static constexpr std::string_view kSingleWordSplit = "[single-word-split]";

  // Reads the file; throws as PickConf.
  explicit EngineConfiguration(const FilePath& path);
  // Whoever names the file where a configuration is wanted means what it holds.
  template <class Path>
  requires(std::convertible_to<Path, FilePath> &&
           !std::is_same_v<std::remove_cvref_t<Path>, EngineConfiguration>)
      EngineConfiguration(Path&& path)
      : EngineConfiguration(static_cast<const FilePath&>(FilePath(std::forward<Path>(path)))) {}

  const FilePath& path() const { return path_; }
  const std::vector<std::string>& lines() const { return lines_; }

  // Whether "[version]" begins with "1.0.".
  bool has_known_version() const;
  // The name of the decoder parameter file: the first value of "[decoder]"; empty without one.
  std::string parameter_file() const;
  // Whether "[debugLevel]" has a value that does not begin with "0".
  static bool debug_level(const std::vector<std::string>& lines);
  // The value of a section; empty when the section is absent.
  static std::string value(const std::vector<std::string>& lines, std::string_view section);

 private:
  FilePath path_;
  std::vector<std::string> lines_;
};

}  // namespace koralite::common
