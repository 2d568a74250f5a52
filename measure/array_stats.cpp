// Statistics of plain arrays.
#include <cmath>
#include <cstring>

#include "core/pixel_types.h"
#include "measure/byte_sums.h"
#include "measure/store_output.h"
#include "vexalib/conversion.h"
#include "vexalib/numeric.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct Outputs {
    double* mean;
    double* deviation;
    double* minimum;
    double* maximum;
};

void statsOfBytes(const void* buffer, int32_t length, const Outputs& out)
{
    ByteSums sums;
    addBytes(buffer, length, sums);
    meanstdv(length, static_cast<double>(sums.sum), static_cast<double>(sums.squares), out.mean,
             out.deviation);
    storeOutput(out.minimum, sums.low);
    storeOutput(out.maximum, sums.high);
}

// Required: the sum is kept in 32 bits, element after element; the squares in 64.
template <typename Element>
void statsOfElements(const void* buffer, int32_t length, const Outputs& out)
{
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    float sum = 0.0F;
    double squares = 0.0;
    Element low{};
    Element high{};
    for (int32_t i = 0; i < length; ++i) {
        Element element;
        std::memcpy(&element, bytes + sizeof element * static_cast<std::size_t>(i), sizeof element);
        if (i == 0)
            low = high = element;
        sum += static_cast<float>(element);
        squares += static_cast<double>(element) * static_cast<double>(element);
        low = element < low ? element : low;
        high = element > high ? element : high;
    }
    meanstdv(length, static_cast<double>(sum), squares, out.mean, out.deviation);
    storeOutput(out.minimum, low);
    storeOutput(out.maximum, high);
}

// One count per pair of bytes at the bin that sits at their sum or difference.
template <typename Bin>
void countPairs(const void* a, const void* b, int32_t length, Bin bin)
{
    const auto* bytesA = static_cast<const uint8_t*>(a);
    const auto* bytesB = static_cast<const uint8_t*>(b);
    for (int32_t i = 0; i < length; ++i)
        ++*bin(int32_t{bytesA[i]}, int32_t{bytesB[i]});
}

// Tells of a type that the byte statistics do not take.
bool isBytes(int32_t type, const char* caller)
{
    if (type == PIX_BYTE)
        return true;
    vexa_dprintf("%s: buftype %d not yet supported", caller, type);
    return false;
}

} // namespace
} // namespace vexa

int32_t I_ArrayStatsType(const void* buffer, int32_t length, int32_t type, double* mean, double* deviation,
                         double* minimum, double* maximum)
{
    using namespace vexa;
    if (!buffer || length < 1)
        return 0;
    const Outputs out{mean, deviation, minimum, maximum};
    switch (type) {
    case PIX_BYTE:
        statsOfBytes(buffer, length, out);
        return length;
    case PIX_DWORD:
        statsOfElements<int32_t>(buffer, length, out);
        return length;
    case PIX_FLOAT:
        statsOfElements<float>(buffer, length, out);
        return length;
    default:
        void* floats = I_ArrayConvert(buffer, type, nullptr, PIX_FLOAT, length);
        if (!floats)
            return 0;
        statsOfElements<float>(floats, length, out);
        vexaFree(floats);
        return length;
    }
}

float I_ArrayStats(const void* buffer, int32_t length, int32_t type, uint32_t* histogram, int32_t* lowest,
                   int32_t* highest, float* deviation)
{
    if (!vexa::isBytes(type, "I_ArrayStats") || !buffer)
        return 0.0F;
    uint32_t bins[256] = {};
    I_HistBuf(static_cast<const uint8_t*>(buffer), length, bins, 0);
    float mean = 0.0F;
    I_HistStats(bins, 0, 255, lowest, highest, &mean, deviation);
    if (histogram)
        std::memcpy(histogram, bins, sizeof bins);
    return mean;
}

float I_ArraySumStats(const void* a, const void* b, int32_t length, int32_t type, int32_t* lowest,
                      int32_t* highest, float* deviation)
{
    if (!vexa::isBytes(type, "I_ArrayStatsType") || !a || !b)
        return 0.0F;
    uint32_t bins[512] = {};
    vexa::countPairs(a, b, length, [&](int32_t x, int32_t y) { return bins + x + y; });
    float mean = 0.0F;
    I_HistStats(bins, 0, 511, lowest, highest, &mean, deviation);
    return mean;
}

float I_ArrayDiffStats(const void* a, const void* b, int32_t length, int32_t type, int32_t* lowest,
                       int32_t* highest, float* deviation)
{
    if (!vexa::isBytes(type, "I_ArrayStatsType") || !a || !b)
        return 0.0F;
    uint32_t bins[512] = {};
    uint32_t* const equal = bins + 255; // the bin of a difference of 0
    vexa::countPairs(a, b, length, [&](int32_t x, int32_t y) { return equal + x - y; });
    float mean = 0.0F;
    I_HistStats(equal, -255, 255, lowest, highest, &mean, deviation);
    return mean;
}

double scaledDist(const VexaPoint* a, const VexaPoint* b, double xScale, double yScale)
{
    if (!a || !b)
        return 0.0;
    const double dx = (static_cast<double>(a->x) - b->x) * xScale;
    const double dy = (static_cast<double>(a->y) - b->y) * yScale;
    return std::sqrt(dx * dx + dy * dy);
}
