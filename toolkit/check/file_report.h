// Collects what a check finds wrong with one file, and the way to the file's
// bytes. Belongs to one thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "common/mapped_file.h"
#include "toolkit/check/model_checker.h"

namespace koralite::toolkit {

// A position such as "record 12".
inline std::string at(const char* what, std::uint64_t index) {
  return std::string(what) + ' ' + std::to_string(index);
}

class FileReport {
 public:
  static constexpr std::size_t kMostProblems = 20;

  FileReport(check_report_t& report, std::string path) : report_(report), path_(std::move(path)) {}

  void wrong(const std::string& position, const std::string& what) {
    if (++count_ > kMostProblems) {
      return;
    }
    report_.problems.push_back(path_ + ": " + (position.empty() ? "" : position + ": ") + what +
                               "; copy the file again, or build it again");
  }
  // The file's bytes, or none with the reason reported.
  std::optional<common::MappedFile> open() {
    std::string reason;
    auto file = common::MappedFile::open(path_, &reason);
    if (!file) {
      wrong("", reason);
    }
    return file;
  }
  void fact(const std::string& what) {
    if (count_ == 0) {
      report_.facts.push_back(path_ + ": " + what);
    }
  }
  bool is_sound() const { return count_ == 0; }
  const std::string& path() const { return path_; }

 private:
  check_report_t& report_;
  std::string path_;
  std::size_t count_ = 0;
};

}  // namespace koralite::toolkit
