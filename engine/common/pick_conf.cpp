#include "common/pick_conf.h"

#include "common/mapped_file.h"

namespace koralite::common {

void PickConf(const FilePath& path, std::vector<std::string>& lines) {
  lines.clear();
  const MappedFile file =
      MappedFile::need(path, "failed to open config [file=" + path.text() + "]");
  std::string_view rest(reinterpret_cast<const char*>(file.data().data()), file.size());
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    lines.emplace_back(rest.substr(0, end));
    if (end == std::string_view::npos) {
      break;
    }
    rest.remove_prefix(end + 1);
  }
}

bool find_conf(const std::vector<std::string>& lines, std::string_view section,
               std::string& value) {
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    if (lines[i] != section) {
      continue;
    }
    value = lines[i + 1];
    return true;
  }
  return false;
}

bool find_conf(const std::vector<std::string>& lines, std::string_view section,
               std::vector<std::string>& values) {
  values.clear();
  std::size_t i = 0;
  while (i < lines.size() && lines[i] != section) {
    ++i;
  }
  for (++i; i < lines.size() && !lines[i].empty(); ++i) {
    values.push_back(lines[i]);
  }
  return !values.empty();
}

}  // namespace koralite::common
