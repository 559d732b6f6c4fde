// kora info: what a model folder holds.
#include <unistd.h>

#include "common/mapped_file.h"
#include "decoder/compact_lm_model.h"
#include "decoder/compact_trans_model.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/folder/manifest.h"

namespace koralite::toolkit::cli {

namespace {

int show(const model_options_t& options) {
  const model_folder_t folder = open_model(options);
  LineWriter writer(STDOUT_FILENO);
  const auto put = [&](const std::string& name, const std::string& value) {
    writer.write(name + '\t' + value + '\n');
  };
  put("folder", folder.path);
  put("direction", folder.engine.direction.name());
  try {
    for (const auto& [name, value] : read_manifest(folder.path).built_from) {
      if (name != "direction") {
        put(name, value);
      }
    }
  } catch (const std::runtime_error& error) {
    put("manifest", error.what());
  }
  std::size_t total = 0;
  for (const std::string& name : folder.named_files()) {
    std::string reason;
    const auto file = common::MappedFile::open(folder.file(name), &reason);
    put("file " + name, file ? std::to_string(file->size()) + " bytes" : reason);
    if (file) {
      total += file->size();
    }
  }
  put("all files", std::to_string(total) + " bytes");

  const auto handle = open_handle(folder);
  const decoder::SharedMember& models = handle->translator().models();
  const decoder::CompactTransModel table(models.trans_model_path);
  put("source vocabulary", std::to_string(models.source_vocab->word_count()) + " words, " +
                               std::to_string(models.source_vocab->ne_count()) + " tag words");
  put("target vocabulary", std::to_string(models.target_vocab->word_count()) + " words, " +
                               std::to_string(models.target_vocab->ne_count()) + " tag words");
  put("language model", std::to_string(models.lang_model->head_count()) + " words, " +
                            std::to_string(models.lang_model->tree_count()) + " trees, " +
                            std::to_string(models.lang_model->resident_count()) +
                            " resident, order " + std::to_string(models.lang_model->order()));
  put("phrase table", std::to_string(table.head_count()) + " first words, " +
                          std::to_string(table.trailing_count()) + " records, " +
                          (models.compressor ? "compact" : "plain"));
  writer.flush();
  return kFine;
}

}  // namespace

void add_info(CLI::App& program, run_t& run) {
  const auto [command, options] =
      add_command<model_options_t>(program, run, "info", "Say what a model folder holds", show);
  add_model_options(*command, *options);
  command->footer("Example:\n  kora info -m models/en-zh");
}

}  // namespace koralite::toolkit::cli
