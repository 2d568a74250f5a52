#include "vexalib/edge_shape.h"

#include <algorithm>
#include <cmath>

#include "measure/store_output.h"
#include "support/numbers.h"
#include "vexalib/edge_location.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// The samples on both sides of a crossing; one that fell on a sample is not found again from there.
int32_t sampleBefore(float crossing)
{
    return truncToInt32(std::floor(static_cast<double>(crossing) - 0.01));
}
int32_t sampleBehind(float crossing)
{
    return truncToInt32(std::ceil(static_cast<double>(crossing) + 0.01));
}

int32_t searchIndex(int32_t start, int32_t n, float width)
{
    const double third = static_cast<double>(width) / 3.0;
    const double lowest = 1.0 + third;
    if (start < lowest)
        return truncToInt32(lowest);
    return truncToInt32(std::min<double>(start, n - third - 2.0));
}

// A profile without the zeros at its ends.
struct TrimmedProfile {
    const float* data;
    int32_t first;
    int32_t n;

    TrimmedProfile(const float* samples, int32_t count, int32_t start)
    {
        const auto isZero = [](float sample) { return sample == 0.0F; };
        const float* const begin = std::find_if_not(samples, samples + start, isZero);
        const float* end = samples + count;
        while (end - 1 > samples + start && isZero(end[-1]))
            --end;
        data = begin;
        first = static_cast<int32_t>(begin - samples);
        n = static_cast<int32_t>(end - begin);
    }

    float find(int32_t start, int32_t step, float level) const
    {
        return I_FindEdgeType(data, n, start, step, level, PIX_FLOAT);
    }
    // Back to an index of the whole profile. Required: exactly 0.0 stays.
    float whole(float edge) const
    {
        if (edge > static_cast<float>(n - 1))
            edge = -1.0F;
        return edge > 0.0F ? edge + static_cast<float>(first) : edge;
    }
};

double sideProduct(float a, float b, float level)
{
    return static_cast<double>(a - level) * static_cast<double>(b - level);
}

bool crossesNear(const float* a, int64_t n, int64_t start, int64_t range, float level)
{
    const int64_t end = std::min(n - 3, start + range - 1);
    for (int64_t i = std::max<int64_t>(start - range + 1, 1); i < end; ++i)
        if (sideProduct(a[i - 1], a[i + 1], level) < 0.0)
            return true;
    return false;
}

} // namespace
} // namespace vexa

using namespace vexa;

float I_GetEdges(const float* data, int32_t n, int32_t start, float width, float level, float* e1, float* e2,
                 float* e3)
{
    if (start < 0)
        return 0.0F;
    storeOutput(e1, -1.0F);
    storeOutput(e2, -1.0F);
    storeOutput(e3, -1.0F);
    if (!data)
        return 0.0F;
    const int32_t index = searchIndex(start, n, width);
    float crossing = I_FindEdgeType(data, n, index, 1, level, PIX_FLOAT);
    if (crossing < 0.0F) {
        crossing = I_FindEdgeType(data, n, index, -1, level, PIX_FLOAT);
        if (I_GetDebug() != 0)
            vexa_dprintf("e2 looking left e2=%.1f", static_cast<double>(crossing));
    }
    storeOutput(e2, crossing);
    if (!(crossing >= 0.0F))
        return 0.0F;
    const int32_t before = sampleBefore(crossing);
    const int32_t behind = sampleBehind(crossing);
    // Required: floor without the 0.01 of the sample before. A crossing at the last sample has none behind
    // it.
    const int32_t at = std::min(truncToInt32(std::floor(crossing)), n - 1);
    const float rise = std::fabs(data[at] - data[std::min(behind, n - 1)]);
    const float left = I_FindEdgeType(data, n, before, -1, level, PIX_FLOAT);
    const float right = I_FindEdgeType(data, n, behind, 1, level, PIX_FLOAT);
    storeOutput(e1, left);
    storeOutput(e3, right);
    if (I_GetDebug() != 0)
        vexa_dprintf("Done: e1=%.1f e2=%.1f e3=%.1f ctr2=%d ctr3=%d", static_cast<double>(left),
                     static_cast<double>(crossing), static_cast<double>(right), before, behind);
    return rise;
}

float I_GetEdges5(const float* data, int32_t n, int32_t start, float level, float* edges)
{
    if (edges)
        std::fill_n(edges, 5, -1.0F);
    if (!data || !edges || start <= 0 || start >= n)
        return static_cast<float>(n);
    const TrimmedProfile profile(data, n, start);
    edges[2] = profile.find(start - profile.first, 1, level);
    // Required: without edges[2] the search starts at the index as given, not counted from the first sample.
    edges[1] = profile.find(edges[2] > 0.0F ? sampleBefore(edges[2]) : start, -1, level);
    if (edges[1] > 0.0F)
        edges[0] = profile.find(sampleBefore(edges[1]), -1, level);
    if (edges[2] > 0.0F)
        edges[3] = profile.find(sampleBehind(edges[2]), 1, level);
    if (edges[3] > 0.0F)
        edges[4] = profile.find(sampleBehind(edges[3]), 1, level);
    for (int32_t i = 0; i < 5; ++i)
        edges[i] = profile.whole(edges[i]);
    for (const float edge : {edges[1], edges[2]})
        if (edge >= 0.0F)
            return static_cast<float>(std::fabs(static_cast<double>(edge) - start));
    return static_cast<float>(n);
}

int32_t I_AdjustStartEdge(const float* a, const float* b, int32_t n, int32_t start, float level,
                          int32_t range)
{
    if (start >= n)
        return 0;
    if (!a || !b || range < 1 || !crossesNear(a, n, start, range, level))
        return start;
    const auto limited = [n](int64_t i) { return static_cast<int32_t>(std::clamp<int64_t>(i, 0, n - 1)); };
    const float atStart = a[limited(start)];
    // Beyond both ends of the profile nothing changes any more.
    const int64_t reach = std::min<int64_t>(range, std::abs(int64_t{start}) + n + 1);
    for (int64_t k = 0; k < reach; ++k) {
        const bool opposite = sideProduct(a[limited(start + k)], atStart, level) < 0.0;
        const int64_t t = opposite ? -k : k;
        for (const int64_t candidate : {start - t, start + t}) {
            const int32_t c = limited(candidate);
            if (sideProduct(a[c], b[c], level) > 0.0)
                return c;
        }
    }
    return start;
}
