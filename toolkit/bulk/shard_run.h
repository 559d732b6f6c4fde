// Translates a large file in shards, so that the work may be stopped anywhere, spread over
// processes, and run again: what is there and right is left alone.
//
// The output folder gets for each shard of the input its file, shard-000000.txt, and a record,
// shard-000000.json: counts and digests of both sides. Both are written beside and renamed, the
// record last, so that a shard with a record is whole. Any number of processes may work on one
// folder, also on the same shard. A run over all shards ends with manifest.json, all records in one
// file. Neither holds times or depends on who translated what: the same input and model give the
// same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/bulk/row_format.h"
#include "toolkit/bulk/translation_cache.h"
#include "toolkit/io/progress.h"

namespace koralite::toolkit::bulk {

struct shard_options_t {
  std::string input;
  std::string output_dir;             // made if missing
  std::uint64_t shard_size = 100000;  // rows
  std::uint64_t first = 0;            // the shards to do, from 0
  std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
  row_format_t format;
  std::size_t cache_bytes = std::size_t{256} << 20U;  // of texts that are translated once
  unsigned threads = 1;
  std::string settings;  // stands for the model and all else that a translation depends on
};

// Translates one text; worker is 0 to threads - 1 and each runs on one thread at a time. An
// std::runtime_error is a failure of this text alone.
using translate_t = std::function<translation_t(unsigned worker, const std::string& text)>;

struct shard_report_t {
  std::uint64_t shards = 0;      // of the chosen ones that the input has
  std::uint64_t were_there = 0;  // of these
  // Of all these shards:
  std::uint64_t rows = 0;
  std::uint64_t failures = 0;
  std::vector<std::pair<std::uint64_t, std::string>> failed;  // the first: row from 1, reason
  std::uint64_t words = 0;                                    // of the source
  std::uint64_t unknown_words = 0;
  std::vector<std::pair<std::string, std::uint64_t>> unknown;  // the most frequent
  // Of this run:
  std::uint64_t rows_now = 0;
  std::uint64_t words_now = 0;
  std::uint64_t translated = 0;  // texts, each counted once
  double seconds = 0;
  bool has_manifest = false;
};

// Throws IoError, std::runtime_error naming file and line, and InterruptedError; finished shards
// stay. A shard whose rows have changed is done again; a folder with shards of other settings is
// refused.
shard_report_t translate_shards(const shard_options_t& options, const translate_t& translate,
                                const Progress& progress = {});

// The report for people, some lines.
std::string format_report(const shard_report_t& report);

}  // namespace koralite::toolkit::bulk
