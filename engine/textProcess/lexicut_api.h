// The functions of the segmentation library as a table, so that a segmenter
// can be given another library than the linked one. Plain constant data.
#pragma once

#include <cstdint>

#include "lexicut/lexicut.h"

// A library in its place may do without this one; its address is then null.
extern "C" __attribute__((weak)) lexicut_model* lexicut_load_memory(const lexicut_bytes* dictionary,
                                                                    const lexicut_bytes* names,
                                                                    const lexicut_bytes* ambiguous,
                                                                    std::int32_t flags);

namespace koralite::textProcess {

struct LexicutApi {
  decltype(&lexicut_load_model) load_model;
  decltype(&lexicut_create_out) create_out;
  decltype(&lexicut_segment_full) segment_full;
  decltype(&lexicut_destroy_out) destroy_out;
  decltype(&lexicut_destroy) destroy;
  decltype(&lexicut_load_memory) load_memory = nullptr;
};

// The library that the engine is linked with.
inline LexicutApi linked_lexicut() {
  return {lexicut_load_model,  lexicut_create_out, lexicut_segment_full,
          lexicut_destroy_out, lexicut_destroy,    lexicut_load_memory};
}

}  // namespace koralite::textProcess
