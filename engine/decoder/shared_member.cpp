#include "decoder/shared_member.h"

#include <exception>
#include <stdexcept>

#include "common/causes.h"
#include "decoder/phrase_table_format.h"
#include "decoder/target_data.h"

namespace koralite::decoder {

SharedMember::SharedMember(Parameter* parameters, const common::FilePath& model_folder)
    : parameter(parameters) {
  const auto load = [&](const std::string& name, const auto& read) {
    const common::FilePath path = model_folder.file(name);
    common::naming_file(path.text(), [&] { read(path); });
  };
  try {
    load(parameter->lang_model, [&](const auto& path) {
      lang_model = std::make_unique<CompactLmModel>(path, parameter->ngram_order);
    });
    source_vocab = std::make_unique<Vocab>();
    load(parameter->source_vocab, [&](const auto& path) { source_vocab->load(path); });
    target_vocab = std::make_unique<Vocab>();
    load(parameter->target_vocab, [&](const auto& path) { target_vocab->load(path); });
    target_vocab->encode("<s>");
    target_vocab->encode("</s>");
    source_vocab->remove_useless_capacity();
    target_vocab->remove_useless_capacity();
    const int score_size = parameter->prune ? phrase_table_format::kScoresWithoutLanguage
                                            : phrase_table_format::kScores;
    TargetData::s_score_size = score_size;
    if (parameter->compress) {
      load(parameter->compress_vocab,
           [&](const auto& path) { compressor = std::make_unique<Compressor>(path, score_size); });
    }
    trans_model_path = model_folder.file(parameter->trans_model);
  } catch (const std::exception&) {
    std::throw_with_nested(std::runtime_error("failed to create SharedMember"));
  }
}

SharedMember::~SharedMember() = default;

}  // namespace koralite::decoder
