#include "decoder/parameter.h"

#include <stdexcept>

#include "common/parse_number.h"
#include "common/pick_conf.h"

namespace koralite::decoder {
namespace {

using Lines = std::vector<std::string>;

void read_flag(const Lines& lines, const char* key, bool& field) {
  std::string value;
  if (common::find_conf(lines, key, value)) {
    field = value == "1";
  }
}

bool read_int(const Lines& lines, const char* key, std::int32_t& field) {
  std::string value;
  if (!common::find_conf(lines, key, value)) {
    return false;
  }
  field = common::parse_leading_int(value);
  return true;
}

bool read_float(const Lines& lines, const char* key, float& field) {
  std::string value;
  if (!common::find_conf(lines, key, value)) {
    return false;
  }
  field = common::parse_leading_float(value);
  return true;
}

void require(bool holds, const char* message) {
  if (!holds) {
    throw std::runtime_error(message);
  }
}

}  // namespace

Parameter::Parameter(const common::FilePath& path) {
  initialize(path);
}

void Parameter::initialize(const common::FilePath& path) {
  Lines lines;
  common::PickConf(path, lines);

  read_flag(lines, "[debug]", debug);
  read_flag(lines, "[combine]", combine);
  read_flag(lines, "[detail]", detail);
  read_flag(lines, "[prune]", prune);
  read_flag(lines, "[compress]", compress);

  require(!read_int(lines, "[stack]", stack_limit) || stack_limit >= 1,
          "illegal stack limit in Parameter::initialize()");
  require(!read_int(lines, "[option]", translation_limit) || translation_limit >= 1,
          "illegal translation limit in Parameter::initialize()");
  read_int(lines, "[distort]", distortion_limit);
  require(!read_int(lines, "[ngram]", ngram_order) || (ngram_order >= 1 && ngram_order <= 8),
          "ngram order overflow in Parameter::initialize()");
  require(!read_float(lines, "[beam]", beam_threshold) || beam_threshold > 0,
          "illegal beam threshold in Parameter::initialize()");

  read_float(lines, "[distort-weight]", distortion_weight);
  read_float(lines, "[word-weight]", word_weight);
  read_float(lines, "[unknown-weight]", unknown_weight);
  read_float(lines, "[reorder-weight]", reordering_weight);
  read_float(lines, "[lang-weight]", lang_weight);
  read_float(lines, "[trans-weight]", translation_weight);
  read_float(lines, "[phrase-weight]", phrase_weight);

  // Programs compare these texts, so their spelling stays.
  require(find(lines, "[source-vocab]", source_vocab),
          "can't find source vocabulary file in Parameter::initialize()");
  require(find(lines, "[target-vocab]", target_vocab),
          "can't find target vocablulary file in Parameter::initialize()");
  require(find(lines, "[compress-vocab]", compress_vocab) || !compress,
          "can't find compressed vocablulary file in Parameter::initialize()");
  require(find(lines, "[lang-model]", lang_model),
          "can't find language model file in Parameter::initialize()");
  require(find(lines, "[trans-model]", trans_model),
          "can't find translation model file in Parameter::Paramter()");
}

bool Parameter::find(const Lines& lines, const std::string& section, std::string& value) {
  return common::find_conf(lines, section, value);
}

bool Parameter::find(const Lines& lines, const std::string& section,
                     std::vector<std::string>& values) {
  return common::find_conf(lines, section, values);
}

}  // namespace koralite::decoder
