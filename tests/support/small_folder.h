// Writes a complete model folder of a few kilobytes: both models, both vocabularies
// and every resource that a direction can name, so that each reader of the engine
// has a file to read. Words are real ones, so that ordinary text meets phrases,
// names, numbers and rules. The same arguments give the same bytes.
//
// Needs kora_toolkit and nothing of a test framework.
#pragma once

#include <string>
#include <string_view>

namespace kora_test {

// `direction` is a name like "zh-en" whose source is zh, en, ja or ko. The folder is made. A narrow
// one keeps few hypotheses, for those who translate very often.
void make_small_folder(const std::string& path, std::string_view direction, bool compact = true,
                       bool narrow = false);

}  // namespace kora_test
