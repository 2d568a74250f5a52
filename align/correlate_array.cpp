#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "align/correlation_settings.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/align1d.h"
#include "vexalib/conversion.h"
#include "vexalib/listing.h"
#include "vexalib/numeric.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kParabola = 0;
constexpr int32_t kTriangle = 1;
constexpr int32_t kShortest = 3;
constexpr double kFlat = 0.1;
constexpr double kLeastSpan = 2.0;
constexpr double kUnit = 1000.0; // a deviation of 1 in normalised arrays
constexpr double kLeastNorm = 0.07;
constexpr float kPeakGain = 1.005F;
constexpr double kNearEqual = 1.05;
constexpr double kCloser = 0.66;

struct State {
    int32_t strict = 0;
    int32_t keepBuffers = 0;
    int32_t values[2] = {0, 0};
};
State state;

struct ArrayMoments {
    double mean = 0.0, deviation = 0.0, low = 0.0, high = 0.0;

    bool isFlat() const { return low == high || deviation < kFlat || high - low <= kLeastSpan; }
};

ArrayMoments momentsOf(const int32_t* array, int32_t length)
{
    ArrayMoments m;
    I_ArrayStatsType(array, length, PIX_DWORD, &m.mean, &m.deviation, &m.low, &m.high);
    return m;
}

// Mean distance to the mean.
double meanDistance(const int32_t* array, int32_t length, double mean)
{
    float sum = 0.0F;
    for (int32_t i = 0; i < length; ++i)
        sum = static_cast<float>(sum + std::fabs(array[i] - mean));
    return static_cast<double>(sum) / length;
}

void centre(int32_t* array, int32_t length, double mean, double gain)
{
    for (int32_t i = 0; i < length; ++i)
        array[i] = truncToInt32((array[i] - mean) * gain);
}

void normalise(int32_t* array, int32_t length, double mean, double deviation)
{
    for (int32_t i = 0; i < length; ++i)
        array[i] = truncToInt32((array[i] - mean) * kUnit / deviation);
}

// The scores at all offsets from -range to range.
class Curve
{
public:
    explicit Curve(int32_t range) : range_(range), scores_(2 * int64_t{range} + 1) {}
    explicit operator bool() const { return static_cast<bool>(scores_); }
    const float* data() const { return scores_.data(); }
    float& at(int32_t k) { return scores_[int64_t{k} + range_]; }

    void fill(const int32_t* a, const int32_t* b, int32_t length, bool isLinear, double norm)
    {
        for (int32_t k = -range_; k <= range_; ++k) {
            const int32_t first = state.strict ? range_ : std::max(-k, 0);
            const int32_t end = length - (state.strict ? range_ : std::max(k, 0));
            const int32_t n = end - first;
            if (n < 2 || norm < kLeastNorm)
                return;
            uint32_t sum = 0;
            for (int32_t i = first; i < end; ++i)
                sum += isLinear ? distance(a[i], b[i + k])
                                : static_cast<uint32_t>(a[i]) * static_cast<uint32_t>(b[i + k]);
            const double mean = static_cast<int32_t>(sum) / norm / n;
            at(k) = static_cast<float>(isLinear ? 1.0 - mean : mean);
        }
    }

    void lowerEnds()
    {
        at(-range_) = std::min(at(-range_), at(1 - range_));
        at(range_) = std::min(at(range_), at(range_ - 1));
    }

private:
    static uint32_t distance(int32_t a, int32_t b)
    {
        return a > b ? static_cast<uint32_t>(a) - static_cast<uint32_t>(b)
                     : static_cast<uint32_t>(b) - static_cast<uint32_t>(a);
    }

    int32_t range_;
    Buffer<float> scores_;
};

struct Peak {
    float value;
    float position;
};

// Near-equal peaks go by closeness to offset 0.
bool isBetterPeak(const Peak& peak, const Peak& best)
{
    if (best.value * kNearEqual < peak.value)
        return true;
    if (peak.value * kNearEqual < best.value)
        return false;
    const double distance = std::fabs(peak.position), bestDistance = std::fabs(best.position);
    if (distance * kCloser > bestDistance)
        return false;
    if (distance < bestDistance * kCloser)
        return true;
    return peak.value > best.value;
}

Peak bestPeak(Curve& curve, int32_t range, bool isLinear)
{
    curve.lowerEnds();
    const Peak left = {curve.at(-range), static_cast<float>(-range)},
               right = {curve.at(range), static_cast<float>(range)};
    Peak best = right.value > left.value ? right : left;
    int32_t ties = 0;
    for (int32_t k = 1 - range; k < range; ++k) {
        const float before = curve.at(k - 1), here = curve.at(k), after = curve.at(k + 1);
        if (!(here >= std::max(before, after)))
            continue;
        Peak peak = {0.0F, 0.0F};
        float shift = I_FindPeak(before, here, after, &peak.value, kTriangle);
        if (!isLinear)
            shift =
                static_cast<float>(0.6 * I_FindPeak(before, here, after, nullptr, kParabola) + 0.4 * shift);
        peak.position = static_cast<float>(k) + shift * kPeakGain;
        ties += peak.value == best.value;
        if (isBetterPeak(peak, best))
            best = peak;
    }
    // A flat top gives its middle.
    const float reach = static_cast<float>(range) + 0.5F;
    best.position = std::clamp(best.position + static_cast<float>(ties / 2), -reach, reach);
    return best;
}

// Brings both arrays to a common level; the norm of the scores, or 0 for a flat array.
double bringToLevel(int32_t* a, int32_t lenA, int32_t* b, int32_t lenB, bool isLinear)
{
    const ArrayMoments ma = momentsOf(a, lenA);
    const double distanceA = meanDistance(a, lenA, ma.mean);
    if (ma.isFlat())
        return 0.0;
    if (isLinear)
        centre(a, lenA, ma.mean, 1.0);
    else
        normalise(a, lenA, ma.mean, std::max(ma.deviation, 0.75));
    const ArrayMoments mb = momentsOf(b, lenB);
    if (mb.isFlat())
        return 0.0;
    if (!isLinear) {
        normalise(b, lenB, mb.mean, std::max(mb.deviation, 0.5));
        return kUnit * kUnit;
    }
    const double distanceB = meanDistance(b, lenB, mb.mean);
    centre(b, lenB, mb.mean, distanceB <= kFlat ? 1.0 : distanceA / distanceB);
    return distanceA;
}

// Of centred values: partial sums, as one after another would wait for each addition.
double sumOfProducts(const double* a, const double* b, int32_t n)
{
    double sums[4] = {};
    int32_t i = 0;
    for (; i + 4 <= n; i += 4)
        for (int32_t part = 0; part < 4; ++part)
            sums[part] += a[i + part] * b[i + part];
    for (; i < n; ++i)
        sums[0] += a[i] * b[i];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

constexpr int32_t kTracedValues = 48;
using TracedText = char[kTracedValues * 16];

template <typename T>
const char* formatTraced(TracedText& text, const T* values, int32_t n, const char* numberFormat)
{
    text[0] = 0;
    I_FormatArrayEx(text, values, sizeof(T), std::min(n, kTracedValues), 1, numberFormat, "\t", nullptr);
    return text;
}

void trace(const int32_t* a, const int32_t* b, int32_t length, const Curve& curve, int32_t range,
           const Peak& best, double norm)
{
    TracedText source1, source2, scores;
    char text[sizeof(TracedText) * 3 + 200];
    std::snprintf(text, sizeof text,
                  "off=%.2f, qual=%.2f, range=%d, meandiff= %.1f len=%d\nsrc1\t%s\nsrc2\t%s\ncorr\t%s",
                  double{best.position}, double{best.value}, range, norm, length,
                  formatTraced(source1, a, length, "%d"), formatTraced(source2, b, length, "%d"),
                  formatTraced(scores, curve.data(), 2 * range + 1, "%.2f"));
    I_SetClipboardText(text);
    vexa_dprintf("off=%.2f qual=%.2f, Len=%d range=%d\nArrays are now in clipboard.", double{best.position},
                 double{best.value}, length, range);
}

// The autocorrelation of an array over lags 0 to maxLag, as a part of that at lag 0. False for a flat array. centred has
// room for the array.
bool autocorrelate(const int32_t* array, int32_t length, double* centred, float* out, int32_t maxLag)
{
    double sum = 0.0;
    for (int32_t i = 0; i < length; ++i)
        sum += array[i];
    const int32_t mean = truncToInt32(sum / length);
    for (int32_t i = 0; i < length; ++i)
        centred[i] = static_cast<double>(array[i]) - mean;
    for (int32_t lag = 0; lag <= maxLag; ++lag)
        out[lag] = static_cast<float>(sumOfProducts(centred, centred + lag, length - lag) / (length - lag));
    const float whole = out[0];
    if (!(whole > 1.0F))
        return false;
    for (int32_t lag = 0; lag <= maxLag; ++lag)
        out[lag] /= whole;
    return true;
}

constexpr int32_t kReach = 4; // lags to a neighbour that tells a peak from noise

// The first lag at which the curve falls below the mean of what came before.
int32_t firstCrossing(const float* curve, int32_t maxLag)
{
    double sum = curve[0];
    for (int32_t lag = 1; lag <= maxLag; ++lag) {
        if (curve[lag] < sum / lag)
            return lag;
        sum += curve[lag];
    }
    return maxLag;
}

// The first strong maximum of the curve; 0 for none.
int32_t firstRepeat(const float* curve, int32_t maxLag)
{
    const int32_t crossing = firstCrossing(curve, maxLag);
    const float low = *std::min_element(curve, curve + maxLag + 1);
    const float high = *std::max_element(curve + crossing, curve + maxLag + 1);
    const float mid = (high + low) / 2.0F;
    for (int32_t lag = std::max(crossing - 3, 1); lag + kReach <= maxLag; ++lag) {
        if (!(curve[lag] > mid && curve[lag + kReach] > mid))
            continue;
        for (int32_t i = lag; i < maxLag; ++i)
            if (curve[i] > mid && curve[i] >= curve[i - 1] && curve[i] > curve[i + 1])
                return i;
        break;
    }
    constexpr float kLeastFallback = -0.25F;
    for (int32_t i = kReach; i + kReach <= maxLag; ++i)
        if (curve[i] > curve[i - kReach] && curve[i] > curve[i + kReach] && curve[i] > kLeastFallback)
            return i;
    return 0;
}

// Only a clearly stronger later lag moves the answer.
int32_t strongestRepeat(const float* curve, int32_t maxLag, int32_t first)
{
    int32_t found = first;
    for (int32_t lag = first + 1; lag < maxLag; ++lag)
        if (curve[lag] > kNearEqual * curve[found])
            found = lag;
    return found;
}

} // namespace
} // namespace vexa

using namespace vexa;

float I_CrossCorrelateArray(int32_t* a, int32_t lenA, int32_t* b, int32_t lenB, int32_t range, float* quality)
{
    if (quality)
        *quality = 0.0F;
    const int32_t length = std::min(lenA, lenB);
    if (!a || !b || length < kShortest)
        return 0.0F;
    const bool isLinear = correlationSettings().linear != 0;
    const double norm = bringToLevel(a, lenA, b, lenB, isLinear);
    range = std::min(range, length - 2);
    if (norm == 0.0 || range <= 0)
        return 0.0F;
    Curve curve(range);
    if (malloctest(curve.data(), "I_CrossCorrelateArray 2 noffsets=%d", 2 * range + 1))
        return 0.0F;
    curve.fill(a, b, length, isLinear, norm);
    const Peak best = bestPeak(curve, range, isLinear);
    if (quality)
        *quality = best.value;
    if (I_GetDebug())
        trace(a, b, length, curve, range, best, norm);
    return best.position;
}

float I_AutoCorrelate1DType(const void* array, int32_t length, int32_t pixelType, float* workBuffer,
                            int32_t maxLag, float* quality)
{
    if (quality)
        *quality = 0.0F;
    if (!array || length < 4 || maxLag < 2)
        return 0.0F;
    Buffer<int32_t> converted;
    if (pixelType != PIX_DWORD) {
        converted = Buffer<int32_t>(length);
        if (malloctest(converted.data(), "AutoCorrelate1DType slen=%d", length))
            return 0.0F;
        I_ArrayConvert(array, pixelType, converted.data(), PIX_DWORD, length);
        array = converted.data();
    }
    maxLag = std::min(maxLag, (length + 1) / 2);
    if (maxLag < 4)
        maxLag = 2;
    Buffer<float> own;
    if (!workBuffer) {
        own = Buffer<float>(int64_t{maxLag} + 1);
        if (malloctest(own.data(), "AutoCorrelate1DType slen=%d", length))
            return 0.0F;
        workBuffer = own.data();
    }
    Buffer<double> centred(length);
    if (malloctest(centred.data(), "AutoCorrelate1DType slen=%d", length) ||
        !autocorrelate(static_cast<const int32_t*>(array), length, centred.data(), workBuffer, maxLag))
        return 0.0F;
    const int32_t first = firstRepeat(workBuffer, maxLag);
    if (first == 0)
        return 0.0F;
    const int32_t lag = strongestRepeat(workBuffer, maxLag, first);
    return static_cast<float>(lag) +
           I_FindPeak(workBuffer[lag - 1], workBuffer[lag], workBuffer[lag + 1], quality, kTriangle);
}

int32_t AutoCorrelate1D(const uint8_t* bytes, int32_t* out, int32_t length, int32_t maxLag)
{
    if (!bytes || !out || length < 1)
        return 1;
    int64_t sum = 0;
    for (int32_t i = 0; i < length; ++i)
        sum += bytes[i];
    const auto mean = static_cast<int32_t>(sum / length);
    const int32_t count = std::min(maxLag, length - 1);
    for (int32_t lag = 0; lag < count; ++lag) {
        int64_t products = 0;
        for (int32_t i = 0; i + lag < length; ++i)
            products += (bytes[i] - mean) * (bytes[i + lag] - mean);
        out[lag] = saturateToInt32(products / std::max((length - lag) / 8, 1));
    }
    for (int32_t lag = 1; lag + 1 < count; ++lag)
        if (out[lag - 1] < out[lag] && out[lag] > out[lag + 1])
            return lag;
    return std::max(count, 3) - 2;
}

int32_t I_SetStrict1DConvolve(int32_t flag)
{
    return state.strict = flag;
}

int32_t Setup1DCorrelate(int32_t selector, int32_t value)
{
    switch (selector) {
    case 0:
        return state.keepBuffers = value;
    case 4:
    case 5:
        return std::exchange(state.values[selector - 4], value);
    case 6:
    case 7:
        return state.values[selector - 6];
    default:
        return selector > 7 ? value : 0;
    }
}
