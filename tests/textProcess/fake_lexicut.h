// A segmentation library under a test's control: its answer fills the record of
// each piece, well or badly, and calls and pieces are kept. One at a time.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "textProcess/lexicut_api.h"
#include "textProcess/tmining_util.h"

namespace koralite::tests {

struct FakeLibrary {
  using Answer = std::function<int(const std::string& piece, lexicut_out& out)>;

  Answer answer;
  bool has_model = true;
  bool has_record = true;
  std::vector<std::string> calls;
  std::vector<std::string> pieces;

  int model = 0;
  lexicut_out record{};
  std::int32_t offsets[256] = {};
  std::int32_t lengths[256] = {};
  std::uint32_t properties[256] = {};

  inline static FakeLibrary* current = nullptr;

  explicit FakeLibrary(Answer first) : answer(std::move(first)) { current = this; }
  ~FakeLibrary() { current = nullptr; }

  static textProcess::LexicutApi api() { return {load, create, segment, destroy_out, destroy}; }

  static lexicut_model* load(const char* a, const char* b, const char* c, std::int32_t flags) {
    current->calls.push_back(std::string("load ") + a + " " + b + " " + c + " " +
                             std::to_string(flags));
    return current->has_model ? reinterpret_cast<lexicut_model*>(&current->model) : nullptr;
  }
  static lexicut_out* create(std::int32_t capacity) {
    current->calls.push_back("create " + std::to_string(capacity));
    return current->has_record ? &current->record : nullptr;
  }
  static std::int32_t segment(const lexicut_model* model, const char* text, std::int32_t length,
                              lexicut_out* out, std::int32_t mode) {
    EXPECT_EQ(model, reinterpret_cast<const lexicut_model*>(&current->model));
    EXPECT_EQ(mode, 29);
    current->pieces.emplace_back(text, static_cast<std::size_t>(length));
    *out = {current->offsets, current->lengths, current->properties, 0};
    return current->answer(current->pieces.back(), *out);
  }
  static void destroy_out(lexicut_out** out) {
    EXPECT_EQ(*out, &current->record);
    current->calls.push_back("destroy_out");
  }
  static void destroy(lexicut_model** model) {
    EXPECT_EQ(*model, reinterpret_cast<lexicut_model*>(&current->model));
    current->calls.push_back("destroy");
  }
};

// Answers.

inline int whole_piece(const std::string& piece, lexicut_out& out) {
  out.lengths[0] = static_cast<std::int32_t>(piece.size());
  out.count = 1;
  return 1;
}

// Each character is a word; 张三 is one too, and the name of a person.
inline int by_character(const std::string& piece, lexicut_out& out) {
  const std::string name = "张三";
  for (std::size_t at = 0; at < piece.size(); ++out.count) {
    const bool named = piece.compare(at, name.size(), name) == 0;
    const int size = named ? static_cast<int>(name.size())
                           : std::max(1, textProcess::text_get_utf8_char_len(piece.substr(at, 6)));
    out.offsets[out.count] = static_cast<std::int32_t>(at);
    out.lengths[out.count] = size;
    out.properties[out.count] = named ? LEXICUT_PROPERTY_NAME : 0;
    at += static_cast<std::size_t>(size);
  }
  return 1;
}

}  // namespace koralite::tests
