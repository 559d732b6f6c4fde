// The bulk part of kora translate: a large file in shards (toolkit/bulk). One thread.
#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "toolkit/bulk/shard_run.h"
#include "toolkit/folder/model_folder.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit::cli {

struct bulk_options_t {
  bulk::shard_options_t run;
  std::string shards;       // "N" or "FIRST-LAST", empty for all
  std::size_t cache = 256;  // MB
};

// Adds the options; each asks for --output-dir, which turns bulk work on. Gives the latter.
CLI::Option* add_bulk_options(CLI::App& command, bulk_options_t& options);

// Runs it and prints the report. `translate_line` gives a text's translation, by the worker's
// handle; `settings` is what it depends on beside the model folder. Gives the exit code.
int run_bulk(
    bulk_options_t options, const model_folder_t& folder, std::size_t threads,
    const std::string& settings,
    const std::function<std::string(std::size_t worker, const std::string& text)>& translate_line,
    const std::function<translator::TransImpl&(std::size_t worker)>& handle);

}  // namespace koralite::toolkit::cli
