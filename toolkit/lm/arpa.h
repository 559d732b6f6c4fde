// Reads a language model in the ARPA format, plain or gzip.
//
// Fields may stand apart by tabs or blanks; carriage returns are tolerated. What
// breaks the format is a std::runtime_error "PATH:LINE: what is wrong".
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/lm/lang_model_builder.h"

namespace koralite::toolkit {

struct arpa_report_t {
  std::vector<std::uint64_t> by_order;  // n-grams of 1, 2, ... words in the file
  std::uint64_t unknown_words = 0;      // n-grams left out for a word without id
};

// Adds every n-gram of the file to `builder`, scores turned from common to natural logarithms.
// `id_of` gives the id of a word as it stands in the file ("<s>", "</s>" and "<unk>" included), or
// a negative number to leave its n-grams out.
arpa_report_t read_arpa(const std::string& path,
                        const std::function<std::int32_t(std::string_view)>& id_of,
                        LangModelBuilder& builder);

}  // namespace koralite::toolkit
