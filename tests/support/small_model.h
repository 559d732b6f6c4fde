// A small English to Chinese model folder with known translations, complete with
// configuration and manifest, for tests that go through the public faces. Its
// sentences: "hello world", "good morning", "the cat sat", words of them in any
// order, and anything else as unknown words.
#pragma once

#include <string>

namespace kora_test {

// Writes the model into a folder that exists.
void write_small_model(const std::string& folder, const std::string& direction = "en-zh");

}  // namespace kora_test
