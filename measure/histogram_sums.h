// What statistics need of a set of byte values, whether a histogram or a pass over the pixels gathered it.
#ifndef VEXA_MEASURE_HISTOGRAM_SUMS_H
#define VEXA_MEASURE_HISTOGRAM_SUMS_H

#include <cstdint>

namespace vexa
{

struct HistogramSums {
    uint32_t total = 0; // of the counts
    double sum = 0.0;   // of the values
    double squares = 0.0;
};

// The end of I_GetHistStats: mean, deviation (left as it is where the values do not vary), adjusted total.
int32_t finishGetHistStats(const HistogramSums& sums, double* mean, double* deviation);
// The end of I_HistStats: mean, deviation, adjusted total.
int32_t finishHistStats(const HistogramSums& sums, float* mean, float* deviation);

} // namespace vexa

#endif
