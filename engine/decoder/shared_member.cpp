#include "decoder/shared_member.h"

#include <exception>
#include <stdexcept>

#include "decoder/target_data.h"

namespace koralite::decoder {

SharedMember::SharedMember(Parameter* parameters, const common::FilePath& model_folder)
    : parameter(parameters) {
  const auto in_folder = [&](const std::string& name) { return model_folder.file(name); };
  try {
    lang_model =
        std::make_unique<CompactLmModel>(in_folder(parameter->lang_model), parameter->ngram_order);
    source_vocab = std::make_unique<Vocab>();
    source_vocab->load(in_folder(parameter->source_vocab));
    target_vocab = std::make_unique<Vocab>();
    target_vocab->load(in_folder(parameter->target_vocab));
    target_vocab->encode("<s>");
    target_vocab->encode("</s>");
    source_vocab->remove_useless_capacity();
    target_vocab->remove_useless_capacity();
    const int score_size = parameter->prune ? 7 : 9;
    TargetData::s_score_size = score_size;
    if (parameter->compress) {
      compressor = std::make_unique<Compressor>(in_folder(parameter->compress_vocab), score_size);
    }
    trans_model_path = in_folder(parameter->trans_model);
  } catch (const std::exception&) {
    throw std::runtime_error("failed to create SharedMember");
  }
}

SharedMember::~SharedMember() = default;

}  // namespace koralite::decoder
