#include "robustness/sizes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "robustness/process.h"
#include "robustness/strange_text.h"
#include "robustness/translator.h"

namespace kora_proof {

namespace {

namespace fs = std::filesystem;

// Cost per byte of the largest text may be this many times that of one a tenth and one a
// hundredth as long; what grows with the square of the size costs ten and a hundred times.
constexpr double kGrowthLimit = 3;
// Nanoseconds a byte that are always fine: so much costs copying outside the caches.
constexpr double kFreeCost = 150;
constexpr double kLeastSeconds = 0.02;  // measured at least, by repeating short texts
constexpr unsigned kBudgetSeconds = 600;

struct cost_t {
  double seconds = 0;          // CPU, one translation
  double aligned_seconds = 0;  // CPU, one translation with alignment
  double peak_kb = 0;          // private memory of the process above what a handle needs
  double kept_kb = 0;          // what the handle holds more after it and one short sentence
  bool failed = true;
};

template <class Call>
double seconds_of(const Call& call) {
  const double begin = cpu_seconds();
  int times = 0;
  double end = begin;
  do {
    call();
    ++times;
    end = cpu_seconds();
  } while (end - begin < kLeastSeconds);
  return (end - begin) / times;
}

cost_t measure_here(const std::string& folder, const std::string& text,
                    const std::vector<std::string>& warm_up) {
  const Translator translator(folder);
  for (const std::string& sentence : warm_up) {
    translator.translate_aligned(sentence);
  }
  const long before = status_kb("RssAnon:");
  const double allocated = allocated_bytes();
  cost_t cost;
  cost.seconds = seconds_of([&] { translator.translate(text); });
  cost.aligned_seconds = seconds_of([&] { translator.translate_aligned(text); });
  // The peak counts touched pages of mapped files too; those never go again.
  cost.peak_kb = static_cast<double>(status_kb("VmHWM:") - status_kb("RssFile:") - before);
  translator.translate_aligned(warm_up.front());  // a sentence ends what the one before left
  cost.kept_kb = (allocated_bytes() - allocated) / 1024;
  cost.failed = false;
  return cost;
}

// In a process of its own, since a peak is never forgotten. A text that fails, takes too
// long or ends the process leaves `failed` set.
cost_t measure(const std::string& folder, const std::string& text,
               const std::vector<std::string>& warm_up) {
  int status = 0;
  return kora_proof::in_child(
             [&] {
               alarm(kBudgetSeconds);
               return measure_here(folder, text, warm_up);
             },
             status)
      .value_or(cost_t{});
}

// The cost per byte of the largest size over that of the two below.
double growth(const std::vector<double>& costs) {
  double worst = 0;
  for (std::size_t back = 2; back <= std::min<std::size_t>(costs.size(), 3); ++back) {
    worst = std::max(worst, costs.back() / costs[costs.size() - back]);
  }
  return worst;
}

// A folder of links to another, with another width of search.
class NarrowFolder {
 public:
  NarrowFolder(const std::string& folder, int stack) {
    std::string pattern = (fs::temp_directory_path() / "kora-narrow-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    path_ = pattern;
    for (const auto& entry : fs::directory_iterator(folder)) {
      const fs::path place = path_ / entry.path().filename();
      if (entry.path().filename() != "decoder.conf") {
        fs::create_symlink(fs::absolute(entry.path()), place);
        continue;
      }
      std::ifstream from(entry.path());
      std::ofstream to(place);
      for (std::string line; std::getline(from, line);) {
        to << line << '\n';
        if ((line == "[stack]" || line == "[option]") && std::getline(from, line)) {
          to << stack << '\n';
        }
      }
    }
  }
  NarrowFolder(const NarrowFolder&) = delete;
  NarrowFolder& operator=(const NarrowFolder&) = delete;
  ~NarrowFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  std::string path() const { return path_.string(); }

 private:
  fs::path path_;
};

}  // namespace

bool print_sizes(const sizes_options_t& options) {
  const std::string direction = direction_of(options.folder);
  const std::string language = direction.substr(0, direction.find('-'));
  const std::vector<std::string> warm_up = ordinary_sentences(language, 50);
  std::optional<NarrowFolder> narrow;
  if (options.stack > 0) {
    narrow.emplace(options.folder, options.stack);
  }
  const std::string folder = narrow ? narrow->path() : options.folder;
  std::vector<std::size_t> sizes;
  for (std::size_t size = 1000; size <= options.largest; size *= 10) {
    sizes.push_back(size);
  }

  std::printf("| %s |", direction.c_str());
  for (const std::size_t size : sizes) {
    std::printf(" %zu KB |", size / 1000);
  }
  std::printf(" growth | aligned | growth | peak | kept KB |\n|---|");
  for (std::size_t i = 0; i < sizes.size() + 5; ++i) {
    std::printf("---:|");
  }
  std::printf("\n");
  bool good = true;
  for (const std::string& kind : strange_kinds()) {
    if (kind.find(options.only) == std::string::npos) {
      continue;
    }
    std::printf("| %s |", kind.c_str());
    std::vector<double> plain;
    std::vector<double> aligned;
    cost_t cost{.failed = false};
    double bytes = 0;
    for (const std::size_t size : sizes) {
      if (!plain.empty() && plain.back() * 1e-9 * static_cast<double>(size) > options.budget) {
        std::printf(" |");
        continue;
      }
      const std::string text = strange_text(kind, language, size);
      bytes = static_cast<double>(text.size());
      cost = measure(folder, text, warm_up);
      // What looks like growth may be the machine's other work; that does not come three times.
      const auto slower = [&](const std::vector<double>& costs, double seconds) {
        return !costs.empty() && seconds / bytes * 1e9 > kGrowthLimit * costs.back();
      };
      for (int again = 0; again < 2 && !cost.failed &&
                          (slower(plain, cost.seconds) || slower(aligned, cost.aligned_seconds));
           ++again) {
        const cost_t other = measure(folder, text, warm_up);
        cost.failed = other.failed;
        cost.seconds = std::min(cost.seconds, other.seconds);
        cost.aligned_seconds = std::min(cost.aligned_seconds, other.aligned_seconds);
      }
      if (cost.failed) {
        break;
      }
      plain.push_back(cost.seconds / bytes * 1e9);
      aligned.push_back(cost.aligned_seconds / bytes * 1e9);
      std::printf(" %.0f |", plain.back());
      std::fflush(stdout);
    }
    if (cost.failed) {
      std::printf(" failed |\n");
      good = false;
      continue;
    }
    const bool grows = (growth(plain) > kGrowthLimit && plain.back() > kFreeCost) ||
                       (growth(aligned) > kGrowthLimit && aligned.back() > kFreeCost);
    std::printf(" %.1f | %.0f | %.1f | %.0f | %.0f |%s\n", growth(plain), aligned.back(),
                growth(aligned), cost.peak_kb * 1024 / bytes, cost.kept_kb,
                grows ? " too much" : "");
    std::fflush(stdout);
    good = good && !grows;
  }
  return good;
}

}  // namespace kora_proof
