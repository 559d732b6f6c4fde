// The C boundary of the segmentation library: pointers and capacities are
// checked here, nothing is thrown across it.
#include "lexicut/lexicut.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lexicut/segmenter.h"

struct lexicut_model {
  lexicut::Segmenter segmenter;
};

namespace {

struct Record : lexicut_out {
  explicit Record(std::uint32_t room)
      : lexicut_out{}, offset_store(room), length_store(room), property_store(room), lattice(room) {
    offsets = offset_store.data();
    lengths = length_store.data();
    properties = property_store.data();
  }

  std::vector<std::int32_t> offset_store;
  std::vector<std::int32_t> length_store;
  std::vector<std::uint32_t> property_store;
  lexicut::Lattice lattice;
};

using koralite::common::FilePath;
using koralite::common::MemoryFiles;

// A null model for every failure.
lexicut_model* load(const FilePath& dictionary, const FilePath& names, const FilePath& ambiguous) {
  auto segmenter = lexicut::Segmenter::load(dictionary, names, ambiguous);
  if (!segmenter) {
    return nullptr;
  }
  return std::make_unique<lexicut_model>(lexicut_model{std::move(*segmenter)}).release();
}

}  // namespace

lexicut_model* lexicut_load_model(const char* dictionary, const char* names, const char* ambiguous,
                                  std::int32_t) {
  try {
    return load(dictionary, names, ambiguous);
  } catch (const std::exception&) {
    return nullptr;
  }
}

lexicut_model* lexicut_load_memory(const lexicut_bytes* dictionary, const lexicut_bytes* names,
                                   const lexicut_bytes* ambiguous, std::int32_t) {
  try {
    MemoryFiles files;
    const auto path_of = [&](const char* name, const lexicut_bytes* bytes) {
      if (bytes == nullptr || bytes->data == nullptr) {
        return FilePath();
      }
      files.add(name, {static_cast<const unsigned char*>(bytes->data), bytes->size});
      return FilePath(files).file(name);
    };
    return load(path_of("dictionary", dictionary), path_of("names", names),
                path_of("ambiguous", ambiguous));
  } catch (const std::exception&) {
    return nullptr;
  }
}

lexicut_out* lexicut_create_out(std::int32_t capacity) {
  if (capacity < 1) {
    return nullptr;
  }
  try {
    return std::make_unique<Record>(static_cast<std::uint32_t>(capacity)).release();
  } catch (const std::exception&) {
    return nullptr;
  }
}

std::int32_t lexicut_segment_full(const lexicut_model* model, const char* text, std::int32_t length,
                                  lexicut_out* out, std::int32_t) {
  if (out == nullptr) {
    return 0;
  }
  out->count = 0;
  if (model == nullptr || text == nullptr || length < 0) {
    return 0;
  }
  auto* record = static_cast<Record*>(out);
  const auto bytes = static_cast<std::uint32_t>(length);
  if (bytes > record->lattice.capacity()) {
    return 0;
  }

  // Words come from the last to the first: fill from the back, then move to the front.
  const std::size_t room = record->offset_store.size();
  std::size_t at = room;
  const std::uint32_t count = model->segmenter.segment(
      reinterpret_cast<const unsigned char*>(text), bytes, record->lattice,
      [&](const lexicut::Segmenter::token_t& token) {
        --at;
        record->offset_store[at] = static_cast<std::int32_t>(token.offset);
        record->length_store[at] = static_cast<std::int32_t>(token.length);
        record->property_store[at] = token.is_name ? LEXICUT_PROPERTY_NAME : 0;
      });
  const auto shift = [&](auto& store) {
    std::move(store.begin() + static_cast<std::ptrdiff_t>(at), store.end(), store.begin());
  };
  shift(record->offset_store);
  shift(record->length_store);
  shift(record->property_store);
  out->count = static_cast<std::int32_t>(count);
  return 1;
}

void lexicut_destroy_out(lexicut_out** out) {
  if (out == nullptr) {
    return;
  }
  std::unique_ptr<Record>(static_cast<Record*>(*out)).reset();
  *out = nullptr;
}

void lexicut_destroy(lexicut_model** model) {
  if (model == nullptr) {
    return;
  }
  std::unique_ptr<lexicut_model>(*model).reset();
  *model = nullptr;
}
