#include "toolkit/bulk/shard_run.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <span>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

#include "common/sha256.h"
#include "toolkit/bulk/row_source.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/io_error.h"
#include "toolkit/io/parallel.h"

namespace koralite::toolkit::bulk {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::size_t kBlockRows = 4096;  // translated together
constexpr std::size_t kBlockBytes = std::size_t{16} << 20U;
constexpr std::size_t kMostFailed = 20;       // described in a record
constexpr std::size_t kMostUnknown = 20;      // named in a record
constexpr std::size_t kWordsCounted = 50000;  // different unknown words counted in a shard

// A digest of a stream of text.
class Digest {
 public:
  void add(std::string_view text) {
    sha_.update({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    size_ += text.size();
  }
  std::uint64_t size() const { return size_; }
  std::string hex() {
    std::string text;
    for (const std::uint8_t byte : sha_.finish()) {
      constexpr std::string_view kDigits = "0123456789abcdef";
      text += kDigits[byte >> 4U];
      text += kDigits[byte & 15U];
    }
    return text;
  }

 private:
  common::Sha256 sha_;
  std::uint64_t size_ = 0;
};

using counts_t = std::unordered_map<std::string, std::uint64_t>;

std::vector<std::pair<std::string, std::uint64_t>> most_frequent(const counts_t& counts) {
  std::vector<std::pair<std::string, std::uint64_t>> all(counts.begin(), counts.end());
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  all.resize(std::min(all.size(), kMostUnknown));
  return all;
}

// Text for JSON, which takes nothing but UTF-8.
std::string dump(const json& value) {
  return value.dump(1, ' ', false, json::error_handler_t::replace) + '\n';
}

class ShardRun {
 public:
  ShardRun(const shard_options_t& options, const translate_t& translate, const Progress& progress)
      : options_(options), translate_(translate), progress_(progress), cache_(options.cache_bytes) {
    Digest settings;
    settings.add(options.settings);
    settings.add('\n' + std::to_string(options.shard_size) + '\n' +
                 std::to_string(options.format.column) + '\n' + options.format.field + '\n' +
                 options.format.output);
    settings_ = settings.hex();
    std::random_device device;
    tag_ = "." + std::to_string((std::uint64_t{device()} << 32U) | device());
  }

  shard_report_t run() {
    const auto begin = std::chrono::steady_clock::now();
    fs::create_directories(options_.output_dir);
    plan();
    translate_missing();
    if (options_.first == 0 && options_.last == std::numeric_limits<std::uint64_t>::max()) {
      finish();
    }
    sum_up();
    report_.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return std::move(report_);
  }

 private:
  struct shard_t {
    std::uint64_t rows = 0;
    std::string source_digest;
    std::optional<json> record;  // once the shard is there
  };

  std::string path_of(std::uint64_t shard, const char* suffix) const {
    std::string number = std::to_string(shard);
    number.insert(0, 6 - std::min<std::size_t>(number.size(), 6), '0');
    return options_.output_dir + "/shard-" + number + suffix;
  }
  bool is_wanted(std::uint64_t shard) const {
    return shard >= options_.first && shard <= options_.last;
  }

  // Reads the input once: which rows each shard has, and which shards are there already.
  void plan() {
    RowSource source(options_.input);
    std::uint64_t shard = 0;
    Digest digest;
    std::uint64_t rows = 0;
    const auto end_shard = [&] {
      if (is_wanted(shard)) {
        shard_t& plan = shards_[shard];
        plan.rows = rows;
        plan.source_digest = digest.hex();
        plan.record = read_record(shard, plan);
        report_.were_there += plan.record ? 1 : 0;
      }
      digest = {};
      rows = 0;
      ++shard;
    };
    for (std::string row; shard <= options_.last && source.next(row);) {
      if (is_wanted(shard)) {
        digest.add(row);
        digest.add("\n");
      }
      if (++rows == options_.shard_size) {
        end_shard();
      }
    }
    if (rows > 0) {
      end_shard();
    }
    report_.shards = shards_.size();
  }

  // The record of a shard that is there and right.
  std::optional<json> read_record(std::uint64_t shard, const shard_t& plan) const {
    const std::string path = path_of(shard, ".json");
    std::ifstream file(path, std::ios::binary);
    if (!file) {
      return std::nullopt;
    }
    json record = json::parse(file, nullptr, false);
    const auto text = [&](const char* name) {
      const auto found = record.find(name);
      return found != record.end() && found->is_string() ? found->get<std::string>() : "";
    };
    if (!record.is_object()) {
      return std::nullopt;
    }
    if (text("settings") != settings_) {
      throw std::runtime_error(path +
                               ": made with another model or other options; name another "
                               "--output-dir, or remove this one");
    }
    for (const char* name : {"rows", "words", "unknown_words", "failures", "bytes"}) {
      if (!record.contains(name) || !record[name].is_number_unsigned()) {
        return std::nullopt;
      }
    }
    if (!record.contains("failed") || !record.contains("unknown") ||
        text("source_sha256") != plan.source_digest) {
      return std::nullopt;
    }
    std::ifstream output(path_of(shard, options_.format.suffix()), std::ios::binary);
    Digest digest;
    std::vector<char> block(1U << 20U);
    while (output) {
      stop_if_interrupted();
      output.read(block.data(), static_cast<std::streamsize>(block.size()));
      digest.add({block.data(), static_cast<std::size_t>(output.gcount())});
    }
    if (digest.hex() != text("sha256")) {
      return std::nullopt;
    }
    return record;
  }

  // Reads the input again and translates what is not there.
  void translate_missing() {
    std::uint64_t wanted = 0;
    for (const auto& [shard, plan] : shards_) {
      wanted += plan.record ? 0 : plan.rows;
    }
    if (wanted == 0) {
      return;
    }
    RowSource source(options_.input);
    std::string row;
    for (std::uint64_t at = 0; report_.rows_now < wanted; ++at) {
      const auto found = shards_.find(at);
      if (found != shards_.end() && !found->second.record) {
        translate_shard(source, at, found->second, wanted);
        continue;
      }
      for (std::uint64_t i = 0; i < options_.shard_size && source.next(row); ++i) {
      }
    }
  }

  void translate_shard(RowSource& source, std::uint64_t shard, shard_t& plan,
                       std::uint64_t wanted) {
    const std::string path = path_of(shard, options_.format.suffix());
    AtomicFile file(path + tag_);
    Digest source_digest;
    Digest digest;
    counts_t unknown;
    std::uint64_t words = 0;
    std::uint64_t unknown_words = 0;
    std::uint64_t failures = 0;
    json failed = json::array();
    std::vector<std::string> rows;
    for (std::uint64_t done = 0; done < plan.rows; done += rows.size()) {
      rows.clear();
      std::size_t bytes = 0;
      for (std::string row; rows.size() < std::min<std::uint64_t>(kBlockRows, plan.rows - done) &&
                            bytes < kBlockBytes && source.next(row);
           rows.push_back(std::move(row))) {
        source_digest.add(row);
        source_digest.add("\n");
        bytes += row.size();
      }
      if (rows.empty()) {
        break;
      }
      const std::uint64_t number = source.number() - rows.size() + 1;
      translate_block(rows, [&](std::size_t i, const translation_t& translation) {
        std::string output;
        std::string failure = translation.failure;
        try {
          if (failure.empty()) {
            output = with_translation(options_.format, rows[i], translation.text);
          }
        } catch (const std::runtime_error& error) {
          failure = error.what();
        }
        if (!failure.empty()) {
          output = without_translation(options_.format, rows[i]);
          if (++failures <= kMostFailed) {
            failed.push_back({number + i, failure});
          }
        }
        output += '\n';
        digest.add(output);
        file.write(output);
        words += translation.words;
        unknown_words += translation.unknown.size();
        for (const std::string& word : translation.unknown) {
          if (const auto found = unknown.find(word); found != unknown.end()) {
            ++found->second;
          } else if (unknown.size() < kWordsCounted) {
            unknown.emplace(word, 1);
          }
        }
      });
      report_.rows_now += rows.size();
      toolkit::report(progress_, "translating",
                      static_cast<double>(report_.rows_now) / static_cast<double>(wanted));
    }
    if (source_digest.hex() != plan.source_digest) {
      throw std::runtime_error(options_.input + ": changed while it was read; run again");
    }
    report_.words_now += words;
    const std::uint64_t size = digest.size();
    json record = {{"file", fs::path(path).filename().string()},
                   {"rows", plan.rows},
                   {"source_sha256", plan.source_digest},
                   {"bytes", size},
                   {"sha256", digest.hex()},
                   {"settings", settings_},
                   {"words", words},
                   {"unknown_words", unknown_words},
                   {"unknown", most_frequent(unknown)},
                   {"failures", failures},
                   {"failed", failed}};
    file.commit();
    fs::rename(path + tag_, path);
    write_json(path_of(shard, ".json"), record);
    plan.record = std::move(record);
  }

  // Translates what the cache does not have, each text once, then hands out all in order.
  template <class Use>
  void translate_block(const std::vector<std::string>& rows, Use&& use) {
    std::vector<std::string> texts(rows.size());
    std::vector<std::string> failures(rows.size());
    std::map<std::string_view, translation_t> fresh;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      try {
        texts[i] = text_of(options_.format, rows[i]);
      } catch (const std::runtime_error& error) {
        failures[i] = error.what();
        continue;
      }
      if (cache_.find(texts[i]) == nullptr) {
        fresh.try_emplace(texts[i]);
      }
    }
    std::vector<std::pair<const std::string_view, translation_t>*> work;
    for (auto& entry : fresh) {
      work.push_back(&entry);
    }
    parallel_for(work.size(), options_.threads, [&](std::size_t i, unsigned worker) {
      stop_if_interrupted();
      auto& [text, translation] = *work[i];
      try {
        translation = translate_(worker, std::string(text));
      } catch (const std::runtime_error& error) {
        translation = {};
        translation.failure = error.what();
      }
    });
    report_.translated += work.size();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (!failures[i].empty()) {
        translation_t none;
        none.failure = failures[i];
        use(i, none);
        continue;
      }
      // A small cache may have let go of what it had when the block began.
      const auto found = fresh.find(texts[i]);
      if (found != fresh.end()) {
        use(i, found->second);
        continue;
      }
      const translation_t* known = cache_.find(texts[i]);
      if (known != nullptr) {
        use(i, *known);
        continue;
      }
      ++report_.translated;
      use(i, cache_.add(texts[i], translate_one(texts[i])));
    }
    for (auto& [text, translation] : fresh) {
      cache_.add(std::string(text), std::move(translation));
    }
  }

  translation_t translate_one(const std::string& text) {
    try {
      return translate_(0, text);
    } catch (const std::runtime_error& error) {
      translation_t none;
      none.failure = error.what();
      return none;
    }
  }

  void write_json(const std::string& path, const json& value) const {
    write_file(path + tag_, std::string_view(dump(value)));
    fs::rename(path + tag_, path);
  }

  // All shards are there: one file that says so, and no half-written files of runs that were
  // killed.
  void finish() {
    json list = json::array();
    std::uint64_t rows = 0;
    for (const auto& [shard, plan] : shards_) {
      list.push_back(*plan.record);
      rows += plan.rows;
    }
    if (fs::exists(path_of(shards_.size(), ".json"))) {
      throw std::runtime_error(path_of(shards_.size(), ".json") +
                               ": stands for rows that the input does not have; remove the shards "
                               "from there on, or name another --output-dir");
    }
    for (const auto& entry : fs::directory_iterator(options_.output_dir)) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with("shard-") && name.ends_with(".part")) {
        std::error_code gone;
        fs::remove(entry.path(), gone);
      }
    }
    write_json(options_.output_dir + "/manifest.json", {{"rows", rows},
                                                        {"shard_size", options_.shard_size},
                                                        {"settings", settings_},
                                                        {"shards", list}});
    report_.has_manifest = true;
  }

  void sum_up() {
    counts_t unknown;
    for (const auto& [shard, plan] : shards_) {
      if (!plan.record) {
        continue;
      }
      const json& record = *plan.record;
      report_.rows += record["rows"].get<std::uint64_t>();
      report_.words += record["words"].get<std::uint64_t>();
      report_.unknown_words += record["unknown_words"].get<std::uint64_t>();
      report_.failures += record["failures"].get<std::uint64_t>();
      for (const json& pair : record["failed"]) {
        if (report_.failed.size() < kMostFailed) {
          report_.failed.push_back(pair.get<std::pair<std::uint64_t, std::string>>());
        }
      }
      for (const json& pair : record["unknown"]) {
        const auto [word, count] = pair.get<std::pair<std::string, std::uint64_t>>();
        unknown[word] += count;
      }
    }
    report_.unknown = most_frequent(unknown);
  }

  const shard_options_t& options_;
  const translate_t& translate_;
  const Progress& progress_;
  TranslationCache cache_;
  std::string settings_;
  std::string tag_;  // of this process's half-written files
  std::map<std::uint64_t, shard_t> shards_;
  shard_report_t report_;
};

std::string rounded(double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.1f", value);
  return text.data();
}

}  // namespace

shard_report_t translate_shards(const shard_options_t& options, const translate_t& translate,
                                const Progress& progress) {
  return ShardRun(options, translate, progress).run();
}

std::string format_report(const shard_report_t& report) {
  const auto number = [](std::uint64_t value) { return std::to_string(value); };
  const double seconds = std::max(report.seconds, 1e-9);
  std::string text = "shards: " + number(report.shards) + ", " + number(report.were_there) +
                     " of them were there\nrows: " + number(report.rows) + ", " +
                     number(report.rows_now) + " of them now, from " + number(report.translated) +
                     " different texts\nspeed: " + rounded(report.seconds) + " s, " +
                     rounded(static_cast<double>(report.rows_now) / seconds) + " rows/s, " +
                     rounded(static_cast<double>(report.words_now) / seconds) +
                     " words/s\nunknown words: " + number(report.unknown_words) + " of " +
                     number(report.words);
  for (std::size_t i = 0; i < report.unknown.size(); ++i) {
    text +=
        (i == 0 ? ": " : ", ") + report.unknown[i].first + ' ' + number(report.unknown[i].second);
  }
  text += "\nfailures: " + number(report.failures) + '\n';
  for (const auto& [row, reason] : report.failed) {
    text += "  row " + number(row) + ": " + reason + '\n';
  }
  return text;
}

}  // namespace koralite::toolkit::bulk
