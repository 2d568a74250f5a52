// Pyramid correlation and window search against plain references, on noise, steps, plateaus and periods.
#include <cmath>
#include <optional>

#include "tests/support/precompiled.h"
#include "tests/support/random_images.h"
#include "tests/support/test_images.h"
#include "vexalib/correlation.h"
#include "vexalib/search.h"

namespace
{

using vexa::test::byteImage;
using vexa::test::closeImages;
using vexa::test::plain::between;
using vexa::test::plain::Random;
using Bytes = std::vector<uint8_t>;

struct Moments {
    double mean = 0, deviation = 0;
};

Moments momentsOf(const uint8_t* p, int32_t stride, int32_t cols, int32_t rows)
{
    double sum = 0, squares = 0;
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x) {
            const double v = p[y * stride + x];
            sum += v;
            squares += v * v;
        }
    }
    const double n = static_cast<double>(cols) * rows;
    const double variance = n > 1 ? (squares - sum * sum / n) / (n - 1) : 0;
    return {sum / n, std::sqrt(std::max(variance, 0.0))};
}

// The scores of a pattern; in normalised mode its bytes are changed.
void correlate(uint8_t* pattern, int32_t cols, int32_t rows, const uint8_t* image, int32_t stride,
               std::vector<float>& out, int32_t outCols, int32_t outRows, bool linear)
{
    const Moments p = momentsOf(pattern, cols, cols, rows);
    const int32_t mr = Rnd(static_cast<float>(p.mean));
    float a = 0;
    for (int32_t i = 0; i < cols * rows; ++i) {
        a = static_cast<float>(a + std::abs(pattern[i] - p.mean));
        if (!linear)
            pattern[i] = static_cast<uint8_t>(pattern[i] - mr);
    }
    const auto divisor = static_cast<float>(linear ? a : cols * rows * p.deviation);
    for (int32_t oy = 0; oy < outRows; ++oy) {
        for (int32_t ox = 0; ox < outCols; ++ox) {
            const uint8_t* w = image + oy * stride + ox;
            const Moments m = momentsOf(w, stride, cols, rows);
            int64_t sum = 0;
            for (int32_t y = 0; y < rows; ++y)
                for (int32_t x = 0; x < cols; ++x)
                    sum += linear ? std::abs(pattern[y * cols + x] - w[y * stride + x])
                                  : (w[y * stride + x] - static_cast<int32_t>(m.mean)) *
                                        static_cast<int8_t>(pattern[y * cols + x]);
            double n = a - static_cast<double>(sum);
            if (!linear)
                n = m.deviation < 0.1 ? 0 : static_cast<double>(sum) / m.deviation;
            out[static_cast<std::size_t>(oy * outCols + ox)] = static_cast<float>(n) / divisor;
        }
    }
}

// Noise, blobs, steps, a period, or a constant with one spot.
Bytes picture(Random& random, int32_t cols, int32_t rows, int32_t kind)
{
    Bytes v(static_cast<std::size_t>(cols * rows));
    const int32_t period = between(random, 5, 14), cx = between(random, 0, cols),
                  cy = between(random, 0, rows);
    const int32_t size = between(random, 2, 12);
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x) {
            int32_t e = 60;
            if (kind == 0)
                e = between(random, 0, 255);
            else if (kind == 1)
                e += std::abs(x - cx) < size && std::abs(y - cy) < size ? 120 : between(random, 0, 5);
            else if (kind == 2)
                e += (x > cx ? 80 : 0) + (y > cy ? 70 : 0);
            else if (kind == 3)
                e += x % period < period / 2 && y % period < period / 2 ? 150 : 0;
            else
                e += static_cast<int32_t>(60 * std::sin(x * 0.17 + 1) + 50 * std::sin(y * 0.23 + x * 0.05));
            v[static_cast<std::size_t>(y * cols + x)] = static_cast<uint8_t>(e);
        }
    }
    return v;
}

TEST(IndependentCorrelation, SurfacesOfBothModes)
{
    Random random(711);
    for (int32_t run = 0; run < 300; ++run) {
        const bool linear = run % 2 == 0;
        const int32_t cols = between(random, 1, 40), rows = between(random, 1, 14);
        const int32_t stride = cols + between(random, 0, 30), height = rows + between(random, 0, 9);
        const Bytes image = picture(random, stride, height, between(random, 0, 4));
        Bytes pattern = picture(random, cols, rows, 0);
        if (run % 3) {
            const int32_t px = between(random, 0, stride - cols), py = between(random, 0, height - rows);
            for (int32_t y = 0; y < rows; ++y)
                for (int32_t x = 0; x < cols; ++x)
                    pattern[static_cast<std::size_t>(y * cols + x)] =
                        image[static_cast<std::size_t>((py + y) * stride + px + x)];
        }
        if (!linear) // whose distance to the mean fits a signed byte
            for (uint8_t& e : pattern)
                e = static_cast<uint8_t>(e / 2);
        if (momentsOf(pattern.data(), cols, cols, rows).deviation < 0.1)
            continue;
        const int32_t outCols = stride - cols + 1, outRows = height - rows + 1;
        std::vector<float> expected(static_cast<std::size_t>(outCols * outRows)), out = expected;
        Bytes changed = pattern;
        correlate(changed.data(), cols, rows, image.data(), stride, expected, outCols, outRows, linear);
        I_SetLinearCorrelation(linear ? 1 : 0);
        EXPECT_EQ(
            Corr2D(pattern.data(), cols, cols, rows, image.data(), stride, out.data(), outCols, outRows, "x"),
            cols * rows);
        I_SetLinearCorrelation(1);
        EXPECT_EQ(pattern, changed);
        // Sliding sums in floats: a window without structure may be taken for one with a little, and the reverse.
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_NEAR(out[i], expected[i], linear ? 2e-5 : 3e-3)
                << run << " " << cols << "x" << rows << " at " << i;
    }
}

struct Peak {
    float value = 0, levelX = 0, levelY = 0, fullX = 0, fullY = 0;
};

bool insertPeak(std::vector<Peak>& list, float value, float x, float y)
{
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (!(list[i].value < value))
            continue;
        Peak peak = list[i];
        for (std::size_t j = list.size() - 1; j > i; --j)
            list[j] = list[j - 1];
        peak.value = value;
        peak.levelX = x;
        peak.levelY = y;
        list[i] = peak;
        return i != 0;
    }
    return false;
}

void findPeaks(const std::vector<float>& s, int32_t cols, int32_t rows, std::vector<Peak>& list)
{
    const auto at = [&](int32_t x, int32_t y) { return s[static_cast<std::size_t>(y * cols + x)]; };
    list[0].value = -2;
    int32_t count = 0, sumX = 0, sumY = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x) {
            const float c = at(x, y);
            const bool isInX = x >= 1 && x < cols - 1, isInY = y >= 1 && y < rows - 1;
            if (!isInX && !isInY)
                continue;
            if (!isInX || !isInY) {
                // One column has nothing inward, one row the zeros behind the surface.
                const bool isAboveInward = isInY ? cols == 1 || at(x == 0 ? 1 : x - 1, y) < c
                                                 : (rows == 1 ? 0.0F : at(x, y == 0 ? 1 : y - 1)) < c;
                const bool isPeak = isAboveInward && (isInY ? at(x, y - 1) < c && at(x, y + 1) < c
                                                            : at(x - 1, y) < c && at(x + 1, y) < c);
                if (isPeak)
                    insertPeak(list, c, static_cast<float>(x), static_cast<float>(y));
                continue;
            }
            bool isPeak = true;
            for (int32_t j = -1; j <= 1; ++j)
                for (int32_t i = -1; i <= 1; ++i)
                    isPeak = isPeak && !(at(x + i, y + j) > c);
            if (!isPeak)
                continue;
            float pu = 0, pm = 0, pd = 0, pv = 0;
            const auto fit = [&](int32_t row, float& height) {
                return I_FindPeak(at(x - 1, row), at(x, row), at(x + 1, row), &height, 1);
            };
            const float dxm = fit(y, pm), dxu = fit(y - 1, pu), dxd = fit(y + 1, pd);
            const float dy = I_FindPeak(pu, pm, pd, &pv, 1);
            float fx = static_cast<float>(x) + dxm;
            const float fy = static_cast<float>(y) + dy;
            fx += dy >= 0 ? (dxd - dxm) * dy : (dxm - dxu) * dy;
            const float t = std::max(list[0].value * 0.5F, 0.0F);
            const bool isTied = !(c < t) && (at(x - 1, y) == c || at(x, y - 1) == c);
            if (!isTied || list[0].value < pv) {
                const bool isBehind = insertPeak(list, pv, fx, fy);
                if (isBehind || !isTied) {
                    count = sumX = sumY = 0;
                    x0 = x1 = x;
                    y0 = y1 = y;
                }
            }
            ++count;
            x0 = std::min(x0, x);
            x1 = std::max(x1, x);
            y0 = std::min(y0, y);
            y1 = std::max(y1, y);
            sumX += x;
            sumY += y;
        }
    }
    if (count >= 2 && x1 != x0)
        list[0].levelX = static_cast<float>(sumX) / static_cast<float>(count);
    if (count >= 2 && y1 != y0)
        list[0].levelY = static_cast<float>(sumY) / static_cast<float>(count);
}

// A pyramid with the pixels that it points to.
struct Pyramid {
    PatternPyramid record{};
    Bytes pixels;

    Pyramid(const Bytes& level0, int32_t cols, int32_t rows, bool isPattern, bool linear)
    {
        record.recordSize = 184;
        record.cols = cols;
        record.rows = rows;
        Bytes level = level0;
        for (int32_t k = 0; k < 8; ++k) {
            record.levelOffset[k] = static_cast<int32_t>(pixels.size());
            const int32_t w = cols >> k, h = rows >> k;
            pixels.insert(pixels.end(), level.begin(), level.end());
            Bytes next;
            for (int32_t y = 0; y < h / 2; ++y)
                for (int32_t x = 0; x < w / 2; ++x) {
                    const auto i = static_cast<std::size_t>(2 * y * w + 2 * x),
                               j = i + static_cast<std::size_t>(w);
                    next.push_back(
                        static_cast<uint8_t>((level[i] + level[i + 1] + level[j] + level[j + 1] + 2) >> 2));
                }
            level = next;
        }
        for (int32_t k = 0; isPattern && k < 8; ++k)
            finishLevel(k, linear);
        point();
    }
    Pyramid(const Pyramid& other) : record(other.record), pixels(other.pixels) { point(); }
    Pyramid& operator=(const Pyramid&) = delete;
    uint8_t* level(int32_t k) { return pixels.data() + record.levelOffset[k]; }

private:
    void point()
    {
        pixels.resize(pixels.size() + 64); // no level begins behind the pixels
        record.data = pixels.data();
    }
    void finishLevel(int32_t k, bool linear)
    {
        const int32_t n = (record.cols >> k) * (record.rows >> k);
        if (n == 0)
            return;
        uint8_t* p = level(k);
        const auto [low, high] = std::minmax_element(p, p + n);
        const int32_t min = *low, mean = static_cast<int32_t>(momentsOf(p, n, n, 1).mean);
        const int32_t d = std::max({mean - min, *high - mean, 1});
        for (int32_t i = 0; !linear && i < n; ++i)
            p[i] = static_cast<uint8_t>((p[i] - min) * 125 / d);
        const Moments m = momentsOf(p, n, n, 1);
        double sum = 0;
        for (int32_t i = 0; i < n; ++i)
            sum += std::abs(p[i] - m.mean);
        record.levelMean[k] = static_cast<float>(m.mean);
        record.levelDeviation[k] = static_cast<float>(m.deviation);
        record.levelMeanDiff[k] = static_cast<float>(sum / n);
    }
};

struct Follow {
    float minPeak = -0.2F;
    int32_t stopLevel = 0;
};

// The candidates, or nothing where the search answers 0.
std::optional<std::vector<Peak>> align(Pyramid pattern, Pyramid search, int32_t levels, std::size_t maxPeaks,
                                       bool linear, const Follow& follow)
{
    std::vector<Peak> list(maxPeaks);
    int32_t top = (levels < 1 ? 1 : levels > 7 ? 8 : levels) - 1;
    bool isFirst = true;
    for (int32_t level = top; level >= 0; --level) {
        const int32_t scale = 1 << level, pc = pattern.record.cols / scale, pr = pattern.record.rows / scale,
                      sc = search.record.cols / scale, sr = search.record.rows / scale;
        if (pattern.record.levelDeviation[level] < 0.1F) {
            if (level == 0)
                return {};
            level = top--; // a level that is given up lowers the top, and all begins there again
            continue;
        }
        if (level > 0 && (pc < 6 || pr < 6 || sc - pc < 6 || sr - pr < 6)) {
            level = top--;
            continue;
        }
        const int32_t cols = isFirst ? sc - pc + 1 : 5, rows = isFirst ? sr - pr + 1 : 5;
        if (cols < 1 || rows < 1)
            return {};
        std::vector<float> surface(static_cast<std::size_t>(cols * rows));
        for (Peak& peak : list) {
            if (!isFirst && follow.minPeak > peak.value)
                continue;
            int32_t ox = 0, oy = 0;
            if (!isFirst) { // the window stays inside the level
                ox = std::clamp(static_cast<int32_t>(peak.fullX) / scale - 2, 0, std::max(sc - pc - 4, 0));
                oy = std::clamp(static_cast<int32_t>(peak.fullY) / scale - 2, 0, std::max(sr - pr - 4, 0));
            }
            correlate(pattern.level(level), pc, pr, search.level(level) + oy * sc + ox, sc, surface, cols,
                      rows, linear);
            if (isFirst) {
                findPeaks(surface, cols, rows, list);
                for (Peak& p : list) {
                    p.fullX = p.levelX * static_cast<float>(scale);
                    p.fullY = p.levelY * static_cast<float>(scale);
                }
                break;
            }
            std::vector<Peak> one(1);
            findPeaks(surface, cols, rows, one);
            peak.value = one[0].value;
            peak.fullX = (static_cast<float>(ox) + one[0].levelX) * static_cast<float>(scale);
            peak.fullY = (static_cast<float>(oy) + one[0].levelY) * static_cast<float>(scale);
        }
        isFirst = false;
        if (maxPeaks > 1 && (level <= follow.stopLevel || (level < 2 && pc * pr > 1000)))
            break;
    }
    if (isFirst)
        return {};
    return list;
}

struct Tolerance {
    float place, value;
};

void comparePeaks(const std::vector<Peak>& expected, const std::vector<float>& x, const std::vector<float>& y,
                  const std::vector<float>& q, const Tolerance& t)
{
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_NEAR(q[i], expected[i].value, t.value) << "peak " << i;
        ASSERT_NEAR(x[i], expected[i].fullX, t.place) << "peak " << i;
        ASSERT_NEAR(y[i], expected[i].fullY, t.place) << "peak " << i;
    }
}

Bytes cutOut(const Bytes& from, int32_t stride, const VexaBox& box)
{
    Bytes cut;
    for (int32_t y = box.top; y <= box.bottom; ++y)
        for (int32_t x = box.left; x <= box.right; ++x)
            cut.push_back(from[static_cast<std::size_t>(y * stride + x)]);
    return cut;
}

TEST(IndependentCorrelation, CandidatesThroughTheLevels)
{
    Random random(712);
    int32_t found = 0, refused = 0;
    for (int32_t run = 0; run < 400; ++run) {
        const bool linear = run % 4 != 3;
        const int32_t kind = linear ? between(random, 0, 4) : between(random, 0, 1) * 4;
        const int32_t cols = between(random, 6, 70), rows = between(random, 6, 60);
        const int32_t left = between(random, 0, cols / 2), top = between(random, 0, rows / 2);
        const VexaBox box{left, top, between(random, left + 2, cols - 1), between(random, top + 2, rows - 1)};
        const Bytes area = picture(random, cols, rows, kind);
        Bytes part = cutOut(area, cols, box);
        for (uint8_t& e : part)
            e = static_cast<uint8_t>(std::clamp(e + between(random, -2, 2) * (run % 3), 0, 255));
        const Pyramid pattern(part, box.right - box.left + 1, box.bottom - box.top + 1, true, linear);
        const Pyramid search(area, cols, rows, false, linear);
        const int32_t levels = between(random, 0, 5), maxPeaks = run % 2 ? 1 : between(random, 1, 6);
        const Follow follow{static_cast<float>(between(random, -5, 5)) / 10, between(random, 0, 2)};
        I_SetLinearCorrelation(linear ? 1 : 0);
        I_SetMultiAlignParams(follow.minPeak, follow.stopLevel, 1);
        const auto expected =
            align(pattern, search, levels, static_cast<std::size_t>(maxPeaks), linear, follow);
        Pyramid p(pattern), s(search);
        std::vector<float> x(6, -7), y(6, -7), q(6, -7);
        const int32_t n = I_Align2D(&p.record, &s.record, levels, x.data(), y.data(), q.data(), maxPeaks);
        I_SetLinearCorrelation(1);
        I_SetMultiAlignParams(-0.2F, 0, 1);
        I_SetError(0, "");
        SCOPED_TRACE(testing::Message()
                     << "run " << run << (linear ? " linear" : "") << " kind " << kind << " area " << cols
                     << "x" << rows << " pattern " << pattern.record.cols << "x" << pattern.record.rows
                     << " levels " << levels << " peaks " << maxPeaks << " from " << follow.minPeak
                     << " stop " << follow.stopLevel);
        ASSERT_EQ(n, expected ? maxPeaks : 0);
        if (!expected) {
            ++refused;
            continue;
        }
        ++found;
        ASSERT_NO_FATAL_FAILURE(
            comparePeaks(*expected, x, y, q, linear ? Tolerance{2e-2F, 1e-4F} : Tolerance{0.1F, 5e-3F}));
    }
    EXPECT_GT(found, 200);
    EXPECT_GT(refused, 0);
}

TEST(IndependentSearch, BoxesOfPictures)
{
    Random random(721);
    for (int32_t run = 0; run < 100; ++run) {
        const int32_t cols = between(random, 20, 90), rows = between(random, 20, 80);
        const Bytes area = picture(random, cols, rows, between(random, 0, 1) * 4);
        const int32_t im = byteImage(
            cols, rows, [&](int32_t x, int32_t y) { return area[static_cast<std::size_t>(y * cols + x)]; });
        VexaBox pattern{between(random, -4, cols / 2), between(random, -4, rows / 2), 0, 0};
        pattern.right = run % 5 == 0 ? 0 : pattern.left + between(random, 6, cols);
        pattern.bottom = run % 5 == 0 ? 0 : pattern.top + between(random, 6, rows);
        VexaBox search{between(random, -4, 3), between(random, -4, 3), run % 2 ? 0 : cols - 1, 0};
        const auto clamped = [&](const VexaBox& b) {
            return VexaBox{std::max(b.left, 0), std::max(b.top, 0),
                           std::min(b.right ? b.right : cols - 1, cols - 1),
                           std::min(b.bottom ? b.bottom : rows - 1, rows - 1)};
        };
        const VexaBox p = clamped(pattern), s = clamped(search);
        const int32_t levels = between(random, 1, 4), maxPeaks = between(random, 1, 4);
        const Pyramid pp(cutOut(area, cols, p), p.right - p.left + 1, p.bottom - p.top + 1, true, true);
        const Pyramid sp(cutOut(area, cols, s), s.right - s.left + 1, s.bottom - s.top + 1, false, true);
        auto expected = align(pp, sp, levels, static_cast<std::size_t>(maxPeaks), true, {});
        const VexaBox given = pattern;
        std::vector<float> x(4, -7), y(4, -7), q(4, -7);
        const int32_t n =
            I_WindowSearch(&pattern, im, &search, im, levels, x.data(), y.data(), q.data(), maxPeaks);
        I_SetError(0, "");
        SCOPED_TRACE(testing::Message()
                     << "run " << run << " " << cols << "x" << rows << " pattern " << p.left << " " << p.top
                     << " " << p.right << " " << p.bottom << " levels " << levels);
        ASSERT_EQ(n, expected ? maxPeaks : 0);
        EXPECT_EQ(pattern.right, given.right ? given.right : cols - 1);
        EXPECT_EQ(pattern.bottom, given.bottom ? given.bottom : rows - 1);
        EXPECT_EQ(search.bottom, rows - 1);
        if (expected) {
            for (Peak& e : *expected) {
                e.fullX += static_cast<float>(s.left - p.left);
                e.fullY += static_cast<float>(s.top - p.top);
            }
            ASSERT_NO_FATAL_FAILURE(comparePeaks(*expected, x, y, q, {2e-2F, 1e-4F}));
        }
        I_ImClose(im);
    }
}

TEST(IndependentSearch, ABigBoxIsReadAgainOnlyForItsUpperHalf)
{
    const auto shade = [](int32_t x, int32_t y) { return (x * x + 3 * y * y + x * y / 3) % 251; };
    const int32_t im = byteImage(160, 150, shade), target = byteImage(160, 150, shade);
    const auto score = [&](int32_t side) {
        VexaBox box{4, 4, 4 + side - 1, 4 + side - 1}, all{0, 0, 0, 0};
        float x = 0, y = 0, q = 0;
        I_WindowSearch(&box, im, &all, target, 1, &x, &y, &q, 1);
        return q;
    };
    for (const int32_t side : {128, 129}) {
        const float before = score(side);
        EXPECT_NEAR(before, 1, 0.01);
        I_ClearRect(10, 100, 60, 120, 7, im);
        const float after = score(side);
        EXPECT_EQ(after == before, side == 129) << after;
        I_ClearRect(10, 20, 60, 40, 7, im);
        EXPECT_LT(score(side), before - 0.01F);
        I_ImageCopy(target, im);
    }
    closeImages({im, target});
}

} // namespace
