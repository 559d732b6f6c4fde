// Chooses the sample values that stand for all values of one score in a compact
// phrase table. Free functions; the same values give the same samples.
#pragma once

#include <vector>

#include "decoder/quantifier.h"

namespace koralite::toolkit {

// At most `count` (at least 1) ascending samples without repetition that minimise, as far as
// Lloyd's algorithm from quantiles gets, the squared distance of the values to their nearest
// sample. No more distinct values than `count`: exactly these. No values: no samples.
std::vector<float> kmeans_samples(std::vector<float> values, int count);

// At most `count` ascending samples, each the mean of an equal share of the values.
std::vector<float> quantile_samples(std::vector<float> values, int count);

// Root mean square of the distances between values and what they come back as.
double quantize_error(const std::vector<float>& values, const decoder::Quantifier& quantifier);

}  // namespace koralite::toolkit
