// The five functions of the segmentation library as a table, so that a segmenter
// can be given another library than the linked one. Plain constant data.
#pragma once

#include "lexicut/lexicut.h"

namespace koralite::textProcess {

struct LexicutApi {
  decltype(&lexicut_load_model) load_model;
  decltype(&lexicut_create_out) create_out;
  decltype(&lexicut_segment_full) segment_full;
  decltype(&lexicut_destroy_out) destroy_out;
  decltype(&lexicut_destroy) destroy;
};

// The library that the engine is linked with.
inline LexicutApi linked_lexicut() {
  return {lexicut_load_model, lexicut_create_out, lexicut_segment_full, lexicut_destroy_out,
          lexicut_destroy};
}

}  // namespace koralite::textProcess
