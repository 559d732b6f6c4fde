// Damages every file of a model folder in six ways and counts what comes of it.
//
//   damage [--each N] [--checks N] [--text FILE] [--work FOLDER] MODEL OTHER
//
// OTHER is another model, whose files are put in the place of MODEL's. Damage is done to
// a copy in the work folder (default: memory where there is some), and each mutant is met
// by a process of its own: it opens the folder and translates, then opens it with the
// manifest checked; for the first mutants of each file and kind it checks the folder as
// `kora check` does. Prints Markdown tables; exits with 1 if there is a crash or a hang, or
// if damage was accepted where the manifest was checked.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "robustness/process.h"
#include "robustness/translator.h"
#include "toolkit/check/model_checker.h"
#include "toolkit/folder/model_folder.h"

namespace {

namespace fs = std::filesystem;
using kora_proof::Translator;

constexpr unsigned kLongestSeconds = 30;  // of CPU time; ten times as long by the clock
constexpr std::uint64_t kMostMemory = std::uint64_t{2} << 30U;  // address space of a process
constexpr std::size_t kPageSize = 4096;
constexpr std::size_t kBlockSize = 64;

constexpr std::array kKinds = {"truncated",     "one flipped bit",  "a flipped block",
                               "a zeroed page", "of another model", "a size edited"};
enum : std::size_t { kTruncated, kBit, kBlock, kPage, kSwap, kSize };

struct options_t {
  std::size_t each = 100;
  std::size_t checks = 1;
  std::string text;
  std::string work = fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string();
  std::string model;
  std::string other;
};

// What a process says of the folder.
struct verdict_t {
  enum Outcome : int { kError, kSame, kDifferent, kCrash, kHang };
  Outcome outcome = kCrash;
  bool loads_with_manifest = false;
  bool passes_check = false;
};

struct counts_t {
  std::size_t outcomes[5] = {};
  std::size_t accepted = 0;  // opened with the manifest checked
  std::size_t checks = 0;    // looked at by `kora check`
  std::size_t passed = 0;    // and found sound by it

  void add(const verdict_t& verdict, bool checked) {
    ++outcomes[verdict.outcome];
    accepted += verdict.loads_with_manifest;
    checks += checked;
    passed += verdict.passes_check;
  }
  bool is_good() const {
    return outcomes[verdict_t::kCrash] + outcomes[verdict_t::kHang] + accepted + passed == 0;
  }
};

std::string translate_all(const Translator& translator, const std::vector<std::string>& text) {
  std::string output;
  for (const std::string& line : text) {
    output += translator.translate_aligned(line) + '\n';
  }
  return output;
}

verdict_t judge_here(const std::string& folder, const std::vector<std::string>& text,
                     const std::string& expected, bool checks) {
  verdict_t verdict;
  try {
    const std::string output = translate_all(Translator(folder), text);
    verdict.outcome = output == expected ? verdict_t::kSame : verdict_t::kDifferent;
  } catch (const std::runtime_error&) {
    verdict.outcome = verdict_t::kError;
  }
  try {
    const Translator translator(folder, KORA_C_CHECK_MANIFEST);
    verdict.loads_with_manifest = true;
  } catch (const std::runtime_error&) {
  }
  if (!checks) {
    return verdict;
  }
  try {
    const auto opened = koralite::toolkit::open_model_folder(folder);
    verdict.passes_check = koralite::toolkit::check_model_folder(opened).problems.empty();
  } catch (const std::runtime_error&) {
  }
  return verdict;
}

verdict_t judge(const std::string& folder, const std::vector<std::string>& text,
                const std::string& expected, bool checks) {
  int status = 0;
  const auto told = kora_proof::in_child(
      [&] {
        const rlimit memory{kMostMemory, kMostMemory};
        setrlimit(RLIMIT_AS, &memory);
        const rlimit time{kLongestSeconds, kLongestSeconds + 1};
        setrlimit(RLIMIT_CPU, &time);
        alarm(10 * kLongestSeconds);
        return judge_here(folder, text, expected, checks);
      },
      status);
  verdict_t verdict = told.value_or(verdict_t{});
  if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGALRM)) {
    verdict.outcome = verdict_t::kHang;
  }
  return verdict;
}

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file) {
    throw std::runtime_error(path.string() + ": cannot be read");
  }
  return bytes;
}

void write_at(const fs::path& path, std::size_t at, const std::string& bytes) {
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(at));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.flush();
  if (!file) {
    throw std::runtime_error(path.string() + ": cannot be written");
  }
}

// The files of the copy, damaged one by one and made whole again.
class Copy {
 public:
  Copy(const std::string& model, const std::string& other, const std::string& work)
      : other_(other) {
    std::string pattern = work + "/kora-damage-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error(work + ": cannot be used");
    }
    root_ = pattern;
    fs::create_directory(root_ / "kept");
    fs::copy(model, folder());
    names_ = koralite::toolkit::open_model_folder(folder()).named_files();
    names_.emplace_back("manifest.conf");
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;
  ~Copy() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }

  std::string folder() const { return (root_ / "model").string(); }
  const std::vector<std::string>& names() const { return names_; }

  // Damages one file; restore() mends it. False when this kind cannot change the file.
  bool damage(const std::string& name, std::size_t kind, std::size_t number, std::mt19937& random) {
    if (kind == kSwap) {
      return take_others(name, number, random);
    }
    if (whole_name_ != name) {
      whole_ = read_file(path(name));
      whole_name_ = name;
    }
    name_ = name;
    if (whole_.empty()) {
      return false;
    }
    const auto below = [&](std::size_t limit) { return random() % limit; };
    if (kind == kTruncated) {
      at_ = below(whole_.size());
      bytes_ = whole_.size() - at_;
      fs::resize_file(path(name), at_);
      return true;
    }
    std::string changed;
    do {  // a page that is zero already is no damage
      at_ = below(whole_.size());
      changed = change(kind, below, random);
    } while (whole_.compare(at_, changed.size(), changed) == 0);
    bytes_ = changed.size();
    write_at(path(name), at_, changed);
    return true;
  }

  void restore() {
    for (const std::string& name : taken_) {
      fs::remove(path(name));
      fs::rename(root_ / "kept" / name, path(name));
    }
    taken_.clear();
    if (bytes_ != 0) {
      write_at(path(name_), at_, whole_.substr(at_, bytes_));
    }
    bytes_ = 0;
  }

 private:
  fs::path path(const std::string& name) const { return root_ / "model" / name; }

  template <class Below>
  std::string change(std::size_t kind, const Below& below, std::mt19937& random) {
    std::string part;
    switch (kind) {
      case kBit:
        part = whole_.substr(at_, 1);
        part[0] = static_cast<char>(part[0] ^ (1 << below(8)));
        break;
      case kBlock:
        part = whole_.substr(at_, kBlockSize);
        for (char& byte : part) {
          byte = static_cast<char>(~byte);
        }
        break;
      case kPage:
        if (below(8) != 0) {
          at_ -= at_ % kPageSize;  // else one that begins anywhere
        }
        part.assign(std::min(kPageSize, whole_.size() - at_), '\0');
        break;
      default: {  // a 32-bit number, half of the time in the file's head, made extreme
        if (below(2) == 0) {
          at_ = below(std::min<std::size_t>(whole_.size(), 64));
        }
        const auto size = static_cast<std::uint32_t>(whole_.size());
        const std::uint32_t values[] = {
            0,          1,    0x7FFFFFFF, 0x80000000,
            0xFFFFFFFF, size, size + 1,   static_cast<std::uint32_t>(random())};
        const std::uint32_t value = values[below(std::size(values))];
        for (std::size_t k = 0; k < std::min<std::size_t>(4, whole_.size() - at_); ++k) {
          part += static_cast<char>(value >> (8 * k) & 0xFFU);
        }
      }
    }
    return part;
  }

  // The file of the other model under the same name, for the first mutant alone and for
  // the others with some more files of that model; where it has none, any file of it.
  bool take_others(const std::string& name, std::size_t number, std::mt19937& random) {
    for (const std::string& each : names_) {
      const bool takes = each == name || (number > 0 && random() % 3 == 0);
      if (!takes || taken_.size() + 1 == names_.size()) {
        continue;
      }
      fs::path from = fs::path(other_) / each;
      if (!fs::exists(from)) {
        if (each != name) {
          continue;
        }
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(other_)) {
          files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        from = files[random() % files.size()];
      }
      if (fs::file_size(from) == fs::file_size(path(each)) &&
          read_file(from) == read_file(path(each))) {
        continue;
      }
      fs::rename(path(each), root_ / "kept" / each);
      fs::create_symlink(fs::absolute(from), path(each));
      taken_.push_back(each);
    }
    return !taken_.empty();
  }

  fs::path root_;
  std::string other_;
  std::vector<std::string> names_;
  std::string whole_name_;  // the file that whole_ holds
  std::string whole_;
  std::string name_;  // what is damaged: bytes_ bytes at at_
  std::size_t at_ = 0;
  std::size_t bytes_ = 0;
  std::vector<std::string> taken_;
};

void print_row(const std::string& title, const counts_t& counts) {
  std::size_t all = 0;
  for (const std::size_t count : counts.outcomes) {
    all += count;
  }
  std::printf("| %s | %zu |", title.c_str(), all);
  for (const std::size_t count : counts.outcomes) {
    std::printf(" %zu |", count);
  }
  std::printf(" %zu | %zu of %zu |\n", counts.accepted, counts.passed, counts.checks);
}

void print_head(const char* first) {
  std::printf(
      "| %s | mutants | clean error | same result | different result | crash | hang | "
      "accepted with the manifest | `kora check` passes |\n|---|---|---|---|---|---|---|---|---|\n",
      first);
}

bool run(const options_t& options) {
  const std::string direction = kora_proof::direction_of(options.model);
  std::vector<std::string> text;
  if (options.text.empty()) {
    text = direction.starts_with("zh")
               ? std::vector<std::string>{"单击菜单打开新文件。", "张小明有3.5万个文件，百分之五。"}
               : std::vector<std::string>{"Click the menu to open a new file.",
                                          "It is 5% of the well-known files."};
  } else {
    std::ifstream file(options.text);
    for (std::string line; std::getline(file, line);) {
      text.push_back(line);
    }
  }

  Copy copy(options.model, options.other, options.work);
  const std::string expected = translate_all(Translator(copy.folder()), text);
  const verdict_t sound = judge(copy.folder(), text, expected, true);
  if (sound.outcome != verdict_t::kSame || !sound.loads_with_manifest || !sound.passes_check) {
    throw std::runtime_error(options.model + ": not sound before any damage");
  }

  std::map<std::string, counts_t> files;
  std::array<counts_t, kKinds.size()> by_kind;
  counts_t total;
  std::mt19937 random(1);
  for (const std::string& name : copy.names()) {
    for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
      for (std::size_t number = 0; number < options.each; ++number) {
        if (!copy.damage(name, kind, number, random)) {
          continue;
        }
        const bool checks = number < options.checks;
        const verdict_t verdict = judge(copy.folder(), text, expected, checks);
        for (counts_t* counts : {&files[name], &by_kind[kind], &total}) {
          counts->add(verdict, checks);
        }
        counts_t alone;
        alone.add(verdict, checks);
        if (!alone.is_good()) {
          const fs::path kept = fs::temp_directory_path() /
                                ("kora-damage-" + name + '-' + std::to_string(total.outcomes[3]) +
                                 '-' + std::to_string(kind) + '-' + std::to_string(number));
          fs::copy_file(fs::path(copy.folder()) / name, kept, fs::copy_options::overwrite_existing);
          std::fprintf(stderr, "%s, %s: outcome %d, accepted %d, check passes %d; kept as %s\n",
                       name.c_str(), kKinds[kind], verdict.outcome, verdict.loads_with_manifest,
                       verdict.passes_check, kept.c_str());
        }
        copy.restore();
      }
    }
  }
  // Everything is as it was, so the counts above were not of damage left behind.
  if (judge(copy.folder(), text, expected, true).outcome != verdict_t::kSame) {
    throw std::runtime_error("the copy was not made whole again");
  }
  print_head("Damage");
  for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
    print_row(kKinds[kind], by_kind[kind]);
  }
  print_row("all", total);
  std::printf("\n");
  print_head("File");
  for (const auto& [name, counts] : files) {
    print_row('`' + name + '`', counts);
  }
  return total.is_good();
}

}  // namespace

int main(int argc, char** argv) {
  options_t options;
  CLI::App program("Damages copies of a model folder and says what the library makes of them.");
  program.add_option("--each", options.each, "Damages of each kind for each file");
  program.add_option("--checks", options.checks, "Of these, how many kora check sees as well");
  program.add_option("--text", options.text, "Sentences to translate");
  program.add_option("--work", options.work, "Folder for copies");
  program.add_option("model", options.model, "Model folder")->required();
  program.add_option("other", options.other, "Another, whose files take the place of its own")
      ->required();
  CLI11_PARSE(program, argc, argv);
  try {
    return run(options) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return 1;
  }
}
