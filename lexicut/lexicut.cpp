// The plainest library behind lexicut.h: it reads no dictionary and treats each
// character as a word, whatever the model files say. It finds no names.
#include "lexicut/lexicut.h"

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

struct lexicut_model {};

namespace {

struct Record : lexicut_out {
  std::vector<std::int32_t> offset_store;
  std::vector<std::int32_t> length_store;
  std::vector<std::uint32_t> property_store;
};

bool is_continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace

lexicut_model* lexicut_load_model(const char* dictionary, const char*, const char*, std::int32_t) {
  if (dictionary == nullptr || *dictionary == '\0') return nullptr;
  try {
    return std::make_unique<lexicut_model>().release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

lexicut_out* lexicut_create_out(std::int32_t capacity) {
  if (capacity < 1) return nullptr;
  try {
    const auto room = static_cast<std::size_t>(capacity);
    auto record = std::make_unique<Record>();
    record->offset_store.resize(room);
    record->length_store.resize(room);
    record->property_store.resize(room);
    record->offsets = record->offset_store.data();
    record->lengths = record->length_store.data();
    record->properties = record->property_store.data();
    record->count = 0;
    return record.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::int32_t lexicut_segment_full(const lexicut_model* model, const char* text, std::int32_t length,
                                  lexicut_out* out, std::int32_t) {
  if (out == nullptr) return 0;
  out->count = 0;
  if (model == nullptr || text == nullptr || length < 0) return 0;
  const auto room = static_cast<Record*>(out)->offset_store.size();
  std::size_t words = 0;
  for (std::int32_t begin = 0; begin < length;) {
    std::int32_t end = begin + 1;
    while (end < length && is_continuation(text[end])) ++end;
    if (words == room) return 0;
    out->offsets[words] = begin;
    out->lengths[words] = end - begin;
    out->properties[words] = 0;
    ++words;
    begin = end;
  }
  out->count = static_cast<std::int32_t>(words);
  return 1;
}

void lexicut_destroy_out(lexicut_out** out) {
  if (out == nullptr) return;
  std::unique_ptr<Record>(static_cast<Record*>(*out)).reset();
  *out = nullptr;
}

void lexicut_destroy(lexicut_model** model) {
  if (model == nullptr) return;
  std::unique_ptr<lexicut_model>(*model).reset();
  *model = nullptr;
}
