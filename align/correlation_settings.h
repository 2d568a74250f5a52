// What the correlations of this folder are set to.
#ifndef VEXA_ALIGN_CORRELATION_SETTINGS_H
#define VEXA_ALIGN_CORRELATION_SETTINGS_H

#include <cstdint>

namespace vexa
{

struct CorrelationSettings {
    int32_t linear = 1; // sums of absolute differences instead of normalised correlation
    int32_t mode2 = 1;
    float minPeak = -0.2F;
    int32_t stopLevel = 0;
    int32_t cacheEnable = 1;
};

CorrelationSettings& correlationSettings();

} // namespace vexa

#endif
