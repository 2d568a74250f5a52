// One-dimensional alignment against plain references, on random and on structured profiles and pictures.
#include <cmath>
#include <optional>

#include "tests/support/precompiled.h"
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/align1d.h"
#include "vexalib/correlation.h"

namespace
{

using vexa::test::byteImage;
using vexa::test::closeImages;
using vexa::test::plain::between;
using vexa::test::plain::Random;
using Ints = std::vector<int32_t>;

// The modes of a correlation; they are the library's own for as long as the object lives.
struct Modes {
    bool linear, strict;
    Modes(bool isLinear, bool isStrict) : linear(isLinear), strict(isStrict)
    {
        I_SetLinearCorrelation(linear ? 1 : 0);
        I_SetStrict1DConvolve(strict ? 1 : 0);
    }
    ~Modes()
    {
        I_SetLinearCorrelation(1);
        I_SetStrict1DConvolve(0);
    }
    Modes(const Modes&) = delete;
    Modes& operator=(const Modes&) = delete;
};

struct Stats {
    double mean = 0, deviation = 0, low = 0, high = 0;
    explicit Stats(const Ints& v)
    {
        I_ArrayStatsType(v.data(), static_cast<int32_t>(v.size()), PIX_DWORD, &mean, &deviation, &low, &high);
    }
    bool flat() const { return low == high || deviation < 0.1 || high - low <= 2; }
};

double meanDistance(const Ints& v, double mean)
{
    float sum = 0;
    for (const int32_t e : v)
        sum = static_cast<float>(sum + std::abs(e - mean));
    return static_cast<double>(sum) / static_cast<double>(v.size());
}

bool betterPeak(double v, double p, double bestV, double bestP)
{
    if (bestV * 1.05 < v)
        return true;
    if (v * 1.05 < bestV)
        return false;
    if (std::abs(p) * 0.66 > std::abs(bestP))
        return false;
    if (std::abs(p) < std::abs(bestP) * 0.66)
        return true;
    return v > bestV;
}

float bestOf(std::vector<float>& c, int32_t range, bool linear, float& quality)
{
    const auto at = [&](int32_t k) -> float& { return c[static_cast<std::size_t>(k + range)]; };
    at(-range) = std::min(at(-range), at(-range + 1));
    at(range) = std::min(at(range), at(range - 1));
    const bool upper = at(range) > at(-range);
    float bestV = at(upper ? range : -range), bestP = static_cast<float>(upper ? range : -range);
    int32_t ties = 0;
    for (int32_t k = -range + 1; k < range; ++k) {
        const float l = at(k - 1), m = at(k), r = at(k + 1);
        if (m < std::max(l, r))
            continue;
        float v = 0, d = I_FindPeak(l, m, r, &v, 1);
        if (!linear)
            d = static_cast<float>(0.6 * I_FindPeak(l, m, r, nullptr, 0) + 0.4 * d);
        const float p = static_cast<float>(k) + d * 1.005F;
        ties += v == bestV ? 1 : 0;
        if (betterPeak(v, p, bestV, bestP)) {
            bestV = v;
            bestP = p;
        }
    }
    quality = bestV;
    const float limit = static_cast<float>(range) + 0.5F;
    return std::clamp(bestP + static_cast<float>(ties / 2), -limit, limit);
}

float crossCorrelate(Ints& a, Ints& b, int32_t range, float& quality, const Modes& modes)
{
    const bool linear = modes.linear;
    quality = 0;
    const int32_t len = static_cast<int32_t>(std::min(a.size(), b.size()));
    if (len < 3)
        return 0;
    const Stats sa(a);
    const double da = meanDistance(a, sa.mean);
    if (sa.flat())
        return 0;
    for (int32_t& e : a)
        e = static_cast<int32_t>(linear ? e - sa.mean : (e - sa.mean) * 1000 / std::max(sa.deviation, 0.75));
    const Stats sb(b);
    if (sb.flat())
        return 0;
    const double db = meanDistance(b, sb.mean), gain = db <= 0.1 ? 1 : da / db;
    for (int32_t& e : b)
        e = static_cast<int32_t>(linear ? (e - sb.mean) * gain
                                        : (e - sb.mean) * 1000 / std::max(sb.deviation, 0.5));
    const double norm = linear ? da : 1000000.0;
    range = std::min(range, len - 2);
    if (range <= 0)
        return 0;
    std::vector<float> c(static_cast<std::size_t>(2 * range + 1));
    for (int32_t k = -range; k <= range; ++k) {
        const int32_t lo = modes.strict ? range : std::max(-k, 0), hi = modes.strict ? range : std::max(k, 0);
        const int32_t n = len - hi - lo;
        if (n < 2 || norm < 0.07)
            break;
        int64_t sum = 0;
        for (int32_t i = lo; i < len - hi; ++i) {
            const int64_t p = a[static_cast<std::size_t>(i)], q = b[static_cast<std::size_t>(i + k)];
            sum += linear ? -std::abs(p - q) : p * q;
        }
        const double mean = static_cast<int32_t>(static_cast<uint32_t>(sum)) / norm / n;
        c[static_cast<std::size_t>(k + range)] = static_cast<float>(linear ? 1 + mean : mean);
    }
    return bestOf(c, range, linear, quality);
}

// Steps, noise, a ramp, a period, blocks: what profiles look like.
Ints structured(Random& random, int32_t n, int32_t kind)
{
    Ints v(static_cast<std::size_t>(n));
    const int32_t period = between(random, 3, 12), level = between(random, 0, 3000),
                  edge = between(random, 0, n);
    for (int32_t i = 0; i < n; ++i) {
        int32_t e = level;
        if (kind == 0)
            e += between(random, -1000, 1000);
        else if (kind == 1)
            e += i % period < period / 2 ? 500 : 0;
        else if (kind == 2)
            e += (i >= edge ? 800 : 0) + between(random, 0, 20);
        else if (kind == 3)
            e += 7 * i + between(random, 0, 2);
        else if (kind == 4)
            e += i > edge && i < edge + 9 ? 1000 : 0;
        else
            e += between(random, 0, 3);
        v[static_cast<std::size_t>(i)] = e;
    }
    return v;
}

void compareArrays(Ints a, Ints b, int32_t range, const Modes& modes)
{
    Ints plainA = a, plainB = b;
    float quality = -9, expectedQuality = 0;
    const float expected = crossCorrelate(plainA, plainB, range, expectedQuality, modes);
    const float offset = I_CrossCorrelateArray(a.data(), static_cast<int32_t>(a.size()), b.data(),
                                               static_cast<int32_t>(b.size()), range, &quality);
    ASSERT_NEAR(quality, expectedQuality, 2e-5 * std::max(1.0F, std::abs(expectedQuality)));
    ASSERT_NEAR(offset, expected, 2e-3);
    ASSERT_EQ(a, plainA);
    ASSERT_EQ(b, plainB);
}

TEST(IndependentAlign1D, ArraysOfEveryKind)
{
    Random random(701);
    for (int32_t run = 0; run < 3000; ++run) {
        const int32_t n = run % 50 == 0 ? between(random, 2000, 3000) : between(random, 1, 90);
        const int32_t kind = between(random, 0, 5),
                      other = between(random, 0, 9) ? kind : between(random, 0, 5);
        Ints a = structured(random, n, kind);
        Ints b = structured(random, std::max(1, n + between(random, -3, 3)), other);
        const int32_t shift = between(random, -8, 8);
        if (between(random, 0, 2)) {
            for (int32_t i = 0; i < static_cast<int32_t>(b.size()); ++i)
                b[static_cast<std::size_t>(i)] =
                    a[static_cast<std::size_t>(std::clamp(i - shift, 0, n - 1))] +
                    (run % 3 ? between(random, -4, 4) : 0);
        }
        const Modes modes(run % 2 == 0, run % 5 == 0);
        SCOPED_TRACE(testing::Message()
                     << "run " << run << " length " << n << " kind " << kind << ", " << other
                     << (modes.linear ? " linear" : "") << (modes.strict ? " strict" : ""));
        ASSERT_NO_FATAL_FAILURE(
            compareArrays(a, b, between(random, 0, 9) ? between(random, 1, 25) : 10000, modes));
    }
}

TEST(IndependentAlign1D, PeriodicArraysTakeThePeakNearZero)
{
    for (const bool linear : {true, false}) {
        const Modes modes(linear, false);
        for (int32_t period = 4; period < 15; ++period) {
            Ints a(120);
            for (std::size_t i = 0; i < a.size(); ++i)
                a[i] = static_cast<int32_t>(i) % period < period / 2 ? 700 : 100;
            ASSERT_NO_FATAL_FAILURE(compareArrays(a, a, 3 * period + 1, modes)) << period;
        }
    }
}

TEST(IndependentAlign1D, AutoCorrelationOfBytes)
{
    Random random(702);
    for (int32_t run = 0; run < 2000; ++run) {
        const int32_t n = between(random, 2, 70), maxLag = between(random, 0, 80);
        std::vector<uint8_t> bytes(static_cast<std::size_t>(n));
        const int32_t period = between(random, 2, 20);
        for (int32_t i = 0; i < n; ++i)
            bytes[static_cast<std::size_t>(i)] = static_cast<uint8_t>(run % 2          ? random() % 256
                                                                      : i % period < 2 ? 200
                                                                                       : 10);
        int64_t mean = 0;
        for (const uint8_t e : bytes)
            mean += e;
        mean /= n;
        const int32_t lags = std::min(maxLag, n - 1);
        std::vector<int32_t> expected(static_cast<std::size_t>(std::max(lags, 0)) + 1, -77), out = expected;
        for (int32_t lag = 0; lag < lags; ++lag) {
            int64_t sum = 0;
            for (int32_t i = 0; i + lag < n; ++i)
                sum += (bytes[static_cast<std::size_t>(i)] - mean) *
                       (bytes[static_cast<std::size_t>(i + lag)] - mean);
            expected[static_cast<std::size_t>(lag)] = static_cast<int32_t>(sum / std::max((n - lag) / 8, 1));
        }
        int32_t peak = 1;
        for (int32_t lag = 1; lag + 1 < lags; ++lag) {
            const auto i = static_cast<std::size_t>(lag);
            peak = lag;
            if (expected[i] > expected[i - 1] && expected[i] > expected[i + 1])
                break;
        }
        ASSERT_EQ(AutoCorrelate1D(bytes.data(), out.data(), n, maxLag), peak) << n << " " << maxLag;
        ASSERT_EQ(out, expected) << n << " " << maxLag;
    }
}

TEST(IndependentAlign1D, AutoCorrelationCurveAndClearRepeats)
{
    Random random(703);
    for (int32_t run = 0; run < 400; ++run) {
        const int32_t period = between(random, 6, 20), n = period * between(random, 6, 9);
        Ints v(static_cast<std::size_t>(n));
        for (int32_t i = 0; i < n; ++i)
            v[static_cast<std::size_t>(i)] =
                static_cast<int32_t>(std::lround(1000 + 500 * std::cos(2 * M_PI * i / period)));
        const int32_t maxLag = between(random, 2 * period, n), lags = std::min(maxLag, (n + 1) / 2);
        std::vector<float> curve(static_cast<std::size_t>(lags) + 1);
        float quality = 0;
        EXPECT_NEAR(I_AutoCorrelate1DType(v.data(), n, PIX_DWORD, curve.data(), maxLag, &quality), period,
                    0.2);
        EXPECT_GT(quality, 0.9F);
        double sum = 0;
        for (const int32_t e : v)
            sum += e;
        const double mean = std::trunc(sum / n);
        const auto correlation = [&](int32_t lag) {
            double s = 0;
            for (int32_t i = 0; i + lag < n; ++i)
                s += (v[static_cast<std::size_t>(i)] - mean) * (v[static_cast<std::size_t>(i + lag)] - mean);
            return s / (n - lag);
        };
        for (int32_t lag = 0; lag < lags; ++lag)
            ASSERT_NEAR(curve[static_cast<std::size_t>(lag)], correlation(lag) / correlation(0), 1e-4) << lag;
    }
}

struct Box {
    int32_t x, y, cols, rows;
    bool operator==(const Box&) const = default;
};

struct Pair {
    int32_t imDef, imRef, defCols, defRows, refCols, refRows;
};

std::optional<Box> adjusted(Box b, int32_t ox, int32_t oy, const Pair& p)
{
    if (std::abs(ox) >= p.refCols - 5 || std::abs(oy) >= p.refRows - 5)
        return {};
    if (b.cols <= 0)
        b.cols = b.cols - b.x + std::min(p.defCols, p.refCols - ox);
    if (b.rows <= 0)
        b.rows = b.rows - b.y + std::min(p.defRows, p.refRows - oy);
    if (b.x < 0) {
        b.cols += b.x;
        b.x = 0;
    }
    if (b.y < 0) {
        b.rows += b.y;
        b.y = 0;
    }
    if (b.x + ox < 0) {
        b.cols += b.x + ox;
        b.x = -ox;
    }
    if (b.y + oy < 0) {
        b.rows += b.y + oy;
        b.y = -oy;
    }
    b.cols = std::min({b.cols, p.defCols - b.x, p.refCols - ox - b.x});
    b.rows = std::min({b.rows, p.defRows - b.y, p.refRows - oy - b.y});
    if (b.cols < 1 || b.rows < 1 || (b.cols < 3 && b.rows < 3))
        return {};
    return b;
}

void loadProfiles(const Box& b, int32_t im, Ints& columns, Ints& rows)
{
    columns.assign(static_cast<std::size_t>(b.cols), 0);
    rows.assign(static_cast<std::size_t>(b.rows), 0);
    for (int32_t y = 0; y < b.rows; ++y) {
        for (int32_t x = 0; x < b.cols; ++x) {
            const auto value = static_cast<int32_t>(vexa::test::pixel(im, b.x + x, b.y + y));
            columns[static_cast<std::size_t>(x)] += value;
            rows[static_cast<std::size_t>(y)] += value;
        }
    }
}

// result, dx, dy, qualities; the eight properties follow in their own order.
struct Alignment {
    int32_t result = 0;
    float dx = 0, dy = 0, qualX = 0, qualY = 0;
    std::vector<float> properties;
};

void properties(const Ints& profile, int32_t across, int32_t maxLag, float& repeat, float& quality,
                float& contrast, float& step)
{
    const double divisor = across * 255.0;
    double low = divisor, high = 0, largest = 0;
    for (std::size_t i = 0; i + 1 < profile.size(); ++i) {
        low = std::min<double>(low, profile[i]);
        high = std::max<double>(high, profile[i]);
        largest = std::max<double>(largest, std::abs(profile[i + 1] - profile[i]));
    }
    contrast = static_cast<float>((high - low) / divisor);
    step = static_cast<float>(largest / divisor);
    repeat = quality = 0;
    if (profile.size() > 5)
        repeat = I_AutoCorrelate1DType(profile.data(), static_cast<int32_t>(profile.size()), PIX_DWORD,
                                       nullptr, maxLag, &quality);
}

Alignment align(const Pair& pair, const Box& given, int32_t xRange, int32_t yRange, float dx, float dy,
                const Modes& modes)
{
    Alignment r{0, dx, dy, 0, 0, {}};
    int32_t ox = Rnd(dx), oy = Rnd(dy);
    const std::optional<Box> first = adjusted(given, ox, oy, pair);
    if (!first)
        return r;
    Box box = *first;
    Ints defX, defY, refX, refY;
    loadProfiles(box, pair.imDef, defX, defY);
    loadProfiles({box.x + ox, box.y + oy, box.cols, box.rows}, pair.imRef, refX, refY);
    float shiftX = 0, shiftY = 0;
    if (xRange >= 1) {
        shiftX = crossCorrelate(defX, refX, xRange, r.qualX, modes);
        if (r.qualX > 0.2F)
            r.dx = static_cast<float>(ox) + shiftX;
    }
    if (yRange >= 1) {
        shiftY = crossCorrelate(defY, refY, yRange, r.qualY, modes);
        if (r.qualY > 0.2F)
            r.dy = static_cast<float>(oy) + shiftY;
    }
    const auto moved = [](float d, int32_t range) {
        return std::abs(d) > 0.51F && std::abs(d) < static_cast<float>(range) - 0.1F;
    };
    if (std::min(r.qualX, r.qualY) > 0.25F && (moved(shiftX, xRange) || moved(shiftY, yRange))) {
        ox = Rnd(r.dx);
        oy = Rnd(r.dy);
        // A box that is gone at the new offset leaves what the first pass found.
        if (const std::optional<Box> second = adjusted(given, ox, oy, pair)) {
            if (*second != box)
                loadProfiles(*second, pair.imDef, defX, defY);
            box = *second;
            loadProfiles({box.x + ox, box.y + oy, box.cols, box.rows}, pair.imRef, refX, refY);
            r.dx = static_cast<float>(ox) + crossCorrelate(defX, refX, 1, r.qualX, modes);
            r.dy = static_cast<float>(oy) + crossCorrelate(defY, refY, 1, r.qualY, modes);
        }
    }
    const int32_t maxLag = std::max(std::max(box.cols, box.rows) / 2, 15);
    r.properties.resize(8);
    auto& p = r.properties;
    properties(defX, box.rows, maxLag, p[0], p[2], p[4], p[6]);
    properties(defY, box.cols, maxLag, p[1], p[3], p[5], p[7]);
    const auto clampTo = [](float& value, float start, int32_t range) {
        const float limit = static_cast<float>(range) + 0.5F;
        if (range >= 1)
            value = std::clamp(value, start - limit, start + limit);
    };
    clampTo(r.dx, dx, xRange);
    clampTo(r.dy, dy, yRange);
    r.result = 1;
    return r;
}

// A scene of blobs, lines or noise, seen by two images of different size and shift.
Pair scene(Random& random)
{
    Pair p{};
    p.defCols = between(random, 8, 70);
    p.defRows = between(random, 8, 60);
    p.refCols = between(random, 0, 1) ? p.defCols : between(random, 8, 70);
    p.refRows = between(random, 0, 1) ? p.defRows : between(random, 8, 60);
    const int32_t kind = between(random, 0, 4), sx = between(random, -6, 6), sy = between(random, -6, 6);
    const int32_t period = between(random, 5, 14), edgeX = between(random, 5, 50),
                  edgeY = between(random, 5, 40);
    const int32_t noise = between(random, 0, 12);
    Random grain(random());
    const auto value = [&](int32_t x, int32_t y) {
        int32_t v = 60;
        if (kind == 0)
            v += (x >= edgeX ? 80 : 0) + (y >= edgeY ? 60 : 0);
        else if (kind == 1)
            v += (x + 100) % period < period / 2 && (y + 100) % period < period / 2 ? 120 : 0;
        else if (kind == 2)
            v += std::abs(x - edgeX) < 5 && std::abs(y - edgeY) < 7 ? 130 : 0;
        else if (kind == 3)
            v += (x >= edgeX ? 50 : 0) + ((x * 7 + y * 13) % 31);
        return std::clamp(v + between(grain, -noise, noise), 0, 255);
    };
    p.imDef = byteImage(p.defCols, p.defRows, [&](int32_t x, int32_t y) { return value(x, y); });
    p.imRef = byteImage(p.refCols, p.refRows, [&](int32_t x, int32_t y) { return value(x - sx, y - sy); });
    return p;
}

TEST(IndependentAlign1D, BoxesOfPictures)
{
    Random random(704);
    int32_t done = 0;
    for (int32_t run = 0; run < 700; ++run) {
        const Pair pair = scene(random);
        const Modes modes(run % 2 == 0, run % 7 == 0);
        const Box box = run % 3 == 0 ? Box{0, 0, 0, 0}
                                     : Box{between(random, -5, 20), between(random, -5, 20),
                                           between(random, -8, 60), between(random, -8, 60)};
        const float dx = run % 4 ? 0.0F : static_cast<float>(between(random, -700, 700)) / 100.0F;
        const float dy = run % 4 ? 0.0F : static_cast<float>(between(random, -700, 700)) / 100.0F;
        const int32_t xRange = between(random, 0, 12), yRange = between(random, 0, 12);
        const Alignment expected = align(pair, box, xRange, yRange, dx, dy, modes);
        Alignment r{0, dx, dy, 9, 9, std::vector<float>(8)};
        I_SetError(0, "");
        r.result = I_ImageAlign1D(pair.imDef, pair.imRef, box.x, box.y, box.cols, box.rows, xRange, yRange,
                                  &r.dx, &r.dy, &r.qualX, &r.qualY);
        I_SetError(0, "");
        auto& p = r.properties;
        I_GetAlign1DParams(&p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7]);
        SCOPED_TRACE(testing::Message()
                     << "run " << run << " box " << box.x << " " << box.y << " " << box.cols << " "
                     << box.rows << " ranges " << xRange << " " << yRange << " start " << dx << " " << dy
                     << " images " << pair.defCols << "x" << pair.defRows << ", " << pair.refCols << "x"
                     << pair.refRows);
        ASSERT_EQ(r.result, expected.result);
        ASSERT_NEAR(r.qualX, expected.qualX, 1e-4);
        ASSERT_NEAR(r.qualY, expected.qualY, 1e-4);
        ASSERT_NEAR(r.dx, expected.dx, 5e-3);
        ASSERT_NEAR(r.dy, expected.dy, 5e-3);
        if (expected.result) {
            ++done;
            for (std::size_t i = 0; i < 8; ++i)
                ASSERT_NEAR(p[i], expected.properties[i], 1e-4) << "property " << i;
        }
        closeImages({pair.imDef, pair.imRef});
    }
    EXPECT_GT(done, 350);
}

TEST(IndependentAlign1D, TooSmallABoxIsNamed)
{
    const Pair p{byteImage(20, 20), byteImage(20, 20), 20, 20, 20, 20};
    float dx = 0, dy = 0, qx = 0, qy = 0;
    EXPECT_EQ(I_ImageAlign1D(p.imDef, p.imRef, 18, 18, 9, 9, 3, 3, &dx, &dy, &qx, &qy), 0);
    EXPECT_EQ(vexa::test::errorText(),
              "ImageAlign1D: box too small after cropping=2 x 2. xy=18,18; imSize=20,20");
    vexa::test::clearError();
    closeImages({p.imDef, p.imRef});
}

} // namespace
