// Histograms and statistics against plain sums over the walked region.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

// Every pixel of the region, run by run, in a type; x and y of each.
template <typename T>
struct Walked {
    std::vector<T> values;
    std::vector<int32_t> ys;
};

template <typename T>
Walked<T> walk(int32_t im, int32_t type, bool byLines = false)
{
    Walked<T> all;
    int32_t x, y, w, h = 1, cols = 0, first = 1;
    I_ImGetSize(&cols, nullptr, nullptr, im);
    while (byLines ? I_GetNextLine(&x, &y, &w, im, &first) : I_GetNextLines(&x, &y, &w, &h, im, &first, 0)) {
        const int32_t from = std::max(x, 0), n = std::min(x + w, cols) - from;
        for (int32_t r = 0; r < h && n > 0; ++r) {
            std::vector<T> row(static_cast<std::size_t>(n));
            I_GetBlockType(from, y + r, n, 1, row.data(), im, type);
            all.values.insert(all.values.end(), row.begin(), row.end());
            all.ys.insert(all.ys.end(), row.size(), y + r);
        }
    }
    return all;
}

std::vector<uint32_t> counted(const std::vector<uint8_t>& bytes)
{
    std::vector<uint32_t> h(256);
    for (const uint8_t b : bytes)
        ++h[b];
    return h;
}

struct Stats {
    int32_t result = 0, lowest = 0, highest = 0;
    double count = -7, mean = -7, deviation = -7;
};

Stats histStats256(const std::vector<uint32_t>& h, bool deviation)
{
    Stats s;
    uint32_t n = 0;
    double sum = 0, squares = 0;
    for (int32_t i = 0; i < 256; ++i) {
        const double c = h[static_cast<std::size_t>(i)];
        n += h[static_cast<std::size_t>(i)];
        sum += i * c;
        squares += i * c * i;
    }
    s.count = n;
    double used = n == 0 ? 1 : n;
    s.mean = sum / used;
    if (deviation) {
        const double v = squares - sum * sum / used;
        used = used == 1 ? 2 : used;
        if (v > 0)
            s.deviation = std::sqrt(std::fabs(v / (used - 1)));
    }
    s.result = static_cast<int32_t>(static_cast<uint32_t>(used));
    return s;
}

Stats rangeStats(const uint32_t* h, int32_t first, int32_t last, bool deviation)
{
    Stats s;
    uint32_t n = 0, sum = 0;
    double squares = 0;
    s.lowest = s.highest = first - 1;
    for (int32_t i = first; i <= last; ++i) {
        if (h[i] == 0)
            continue;
        if (s.lowest == first - 1)
            s.lowest = i;
        s.highest = i;
        n += h[i];
        const uint32_t product = static_cast<uint32_t>(i) * h[i];
        sum += product;
        squares += static_cast<double>(static_cast<int32_t>(product)) * i;
    }
    n = n == 0 ? 1 : n;
    const double total = static_cast<int32_t>(sum);
    s.mean = static_cast<float>(total / n);
    if (deviation) {
        const double v = squares - total * total / n;
        n = n == 1 ? 2 : n;
        s.deviation = v > 0 ? static_cast<float>(std::sqrt(std::fabs(v / static_cast<float>(n - 1)))) : 0.0;
    }
    s.result = static_cast<int32_t>(n);
    return s;
}

const int32_t kTypes[] = {PIX_BYTE,   PIX_BYTE,    PIX_WORD,  PIX_DWORD, PIX_FLOAT,
                          PIX_DFLOAT, PIX_COMPLEX, PIX_BGR24, PIX_RGB32, PIX_PALETTE};

TEST(IndependentStatistics, HistogramsOfRegions)
{
    Random random(31);
    for (int32_t round = 0; round < 800; ++round) {
        const Shape shape = randomShape(random, kTypes[random() % std::size(kTypes)]);
        const Shape maskShape = randomShape(random, PIX_BYTE);
        const Picture p = shape.open(), m = maskShape.open();
        randomRegion(random, shape.cols, shape.rows);
        SCOPED_TRACE(tell(shape) + " region " + std::to_string(I_GetROIType()) + " round " +
                     std::to_string(round));
        const auto bytes = walk<uint8_t>(p.im, PIX_BYTE).values;
        std::vector<uint32_t> h(256, 9);
        EXPECT_EQ(static_cast<int32_t>(bytes.size()), I_CalcHist(h.data(), p.im));
        EXPECT_EQ(counted(bytes), h);

        std::vector<uint8_t> table(256);
        for (uint8_t& entry : table)
            entry = static_cast<uint8_t>(random() % 3);
        const bool given = between(random, 0, 1);
        int32_t l, t, r, b;
        I_ROIBoundingBox2(&l, &t, &r, &b, p.im, m.im);
        const int32_t w = r - l + 1, rows = b - t + 1;
        std::vector<uint8_t> pixels(static_cast<std::size_t>(w * rows)), mask(pixels);
        I_GetBlockType(l, t, w, rows, pixels.data(), p.im, PIX_BYTE);
        I_GetBlockType(l, t, w, rows, mask.data(), m.im, PIX_BYTE);
        std::vector<uint8_t> kept;
        for (std::size_t i = 0; i < pixels.size(); ++i)
            if (given ? table[mask[i]] != 0 : mask[i] != 0)
                kept.push_back(pixels[i]);
        EXPECT_EQ(static_cast<int32_t>(kept.size()),
                  I_CalcHistMasked(h.data(), p.im, m.im, given ? table.data() : nullptr));
        EXPECT_EQ(counted(kept), h);

        const auto floats = walk<float>(p.im, PIX_FLOAT).values;
        const int32_t bins = between(random, 0, 3) == 0 ? -between(random, 1, 40) : between(random, 0, 40);
        double offset = between(random, 0, 2) == 0 ? 0.0 : between(random, -50, 200) / 4.0,
               width = between(random, 0, 2) == 0 ? 0.0 : between(random, 1, 90) / 8.0;
        const double givenOffset = offset, givenWidth = width;
        std::vector<uint32_t> wide(41, 5), wanted = wide;
        const int32_t n = std::abs(bins), result = I_CalcHistFloat(p.im, wide.data(), bins, &offset, &width);
        if (bins == 0) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(wanted, wide);
        } else {
            EXPECT_EQ(givenOffset, offset);
            if (givenWidth > 0) {
                EXPECT_EQ(givenWidth, width);
            } else if (!floats.empty()) { // the range holds 0, these values, and what was searched before
                EXPECT_GE(width * n * 1.000001,
                          std::max(0.0F, *std::max_element(floats.begin(), floats.end())) -
                              std::min(0.0F, *std::min_element(floats.begin(), floats.end())));
            }
            EXPECT_EQ(static_cast<int32_t>(floats.size()), result);
            if (bins > 0)
                std::fill_n(wanted.begin(), n, 0U);
            for (const float v : floats) {
                const double bin = (v - offset) * (1 / width);
                ++wanted[static_cast<std::size_t>(bin < 0       ? 0
                                                  : bin > n - 1 ? n - 1
                                                                : static_cast<int32_t>(bin))];
            }
            EXPECT_EQ(wanted, wide);
        }
        p.close();
        m.close();
        if (HasFailure())
            return;
    }
}

TEST(IndependentStatistics, StatisticsOfHistograms)
{
    Random random(32);
    for (int32_t round = 0; round < 500; ++round) {
        std::vector<uint32_t> h(256);
        const int32_t used = between(random, 0, round % 5 == 0 ? 1 : 30);
        for (int32_t i = 0; i < used; ++i)
            h[random() % 256] = round % 7 == 0 ? random() : round % 3 ? random() % 200 : 1;
        const bool deviation = between(random, 0, 1);
        Stats wanted = histStats256(h, deviation);
        double count = -7, mean = -7, dev = -7;
        EXPECT_EQ(wanted.result, I_GetHistStats(h.data(), &count, &mean, deviation ? &dev : nullptr));
        EXPECT_EQ(wanted.count, count);
        EXPECT_DOUBLE_EQ(wanted.mean, mean);
        EXPECT_NEAR(wanted.deviation, dev, 1e-9 * std::fabs(wanted.deviation));
        const int32_t first = between(random, 0, 100), last = between(random, first - 2, 255);
        wanted = rangeStats(h.data(), first, last, deviation);
        int32_t lowest = -9, highest = -9;
        float fmean = -7, fdev = -7;
        EXPECT_EQ(wanted.result,
                  I_HistStats(h.data(), first, last, &lowest, &highest, &fmean, deviation ? &fdev : nullptr));
        EXPECT_EQ(wanted.lowest, lowest);
        EXPECT_EQ(wanted.highest, highest);
        EXPECT_EQ(static_cast<float>(wanted.mean), fmean);
        EXPECT_FLOAT_EQ(static_cast<float>(wanted.deviation), fdev);
        HistogramMinMax(&lowest, &highest, h.data());
        const auto occupied = [](uint32_t c) { return c != 0; };
        EXPECT_EQ(std::find_if(h.begin(), h.end(), occupied) - h.begin(), lowest);
        const auto back = std::find_if(h.rbegin(), h.rend(), occupied);
        EXPECT_EQ(back == h.rend() ? 0 : 255 - (back - h.rbegin()), highest);

        if (round % 7 == 0)
            continue;
        const int32_t low = between(random, -20, 60), high = between(random, -20, 60),
                      flag = between(random, 0, 1);
        int32_t total = 0;
        for (const uint32_t c : h)
            total += static_cast<int32_t>(c);
        EXPECT_EQ(total, I_SumHist(h.data(), 256));
        int32_t a = 0, b = 255, gotA = -9, gotB = -9;
        if (flag ? total >= 1 : low >= 1) {
            const uint32_t lowCount =
                               static_cast<uint32_t>(flag ? std::abs(low) * total / 1000 : std::abs(low)),
                           highCount =
                               static_cast<uint32_t>(flag ? std::abs(high) * total / 1000 : std::abs(high));
            uint32_t sum = 0;
            for (a = 0; a < 256 && (sum += h[static_cast<std::size_t>(a)]) <= lowCount; ++a) {
            }
            sum = 0;
            for (b = 255; b >= 0 && (sum += h[static_cast<std::size_t>(b)]) <= highCount; --b) {
            }
        }
        I_NormHist(h.data(), low, high, flag, &gotA, &gotB);
        EXPECT_EQ(a, gotA) << low << " " << high << " " << flag;
        EXPECT_EQ(b, gotB) << low << " " << high << " " << flag;
    }
}

TEST(IndependentStatistics, StatisticsOfRegions)
{
    Random random(33);
    for (int32_t round = 0; round < 800; ++round) {
        const Shape shape = randomShape(random, kTypes[random() % std::size(kTypes)]);
        const Picture p = shape.open();
        const Shape other = randomShape(random, kTypes[random() % std::size(kTypes)]);
        const Picture q = other.open();
        randomRegion(random, shape.cols, shape.rows);
        SCOPED_TRACE(tell(shape) + " region " + std::to_string(I_GetROIType()) + " round " +
                     std::to_string(round));
        const int32_t step = between(random, 0, 3);
        double count = -7, mean = -7, dev = -7, low = -7, high = -7;
        const int32_t result = I_ComputePixelStats(step, &count, &mean, &dev, &low, &high, p.im);
        const auto bytes = walk<uint8_t>(p.im, PIX_BYTE).values;
        if (shape.type == PIX_BYTE || shape.type > 12) {
            const auto h = counted(bytes);
            const Stats wanted = histStats256(h, true);
            int32_t lowest, highest;
            HistogramMinMax(&lowest, &highest, h.data());
            EXPECT_EQ(static_cast<int32_t>(bytes.size()), result);
            EXPECT_EQ(static_cast<double>(bytes.size()), count);
            EXPECT_DOUBLE_EQ(wanted.mean, mean);
            EXPECT_EQ(lowest, low);
            EXPECT_EQ(highest, high);
            if (wanted.deviation >= 0) {
                EXPECT_DOUBLE_EQ(wanted.deviation, dev);
            } else {
                EXPECT_TRUE(dev == 0.0 || dev == -7.0) << dev;
            }
        } else {
            const auto all = walk<float>(p.im, PIX_FLOAT, true);
            double n = 0, sum = 0, squares = 0, least = 1e64, most = -1e64;
            for (std::size_t i = 0; i < all.values.size(); ++i) {
                if (step > 1 && all.ys[i] % step != 0)
                    continue;
                const double v = all.values[i];
                ++n;
                sum += v;
                squares += v * v;
                least = std::min(least, v);
                most = std::max(most, v);
            }
            EXPECT_EQ(static_cast<int32_t>(n), result);
            EXPECT_EQ(n, count);
            EXPECT_EQ(n < 1 ? 0 : sum / n, mean);
            EXPECT_NEAR(n > 1 ? std::sqrt(std::max(0.0, (squares - sum * sum / n) / (n - 1))) : 0, dev,
                        1e-6 * (1 + dev));
            EXPECT_EQ(least, low);
            EXPECT_EQ(most, high);
        }
        float fl = -7, fh = -7, fm = -7, fd = -7;
        const int32_t pixels = I_PixelStats(p.im, &fl, &fh, &fm, &fd);
        if (shape.type >= 2 && shape.type <= 12) {
            I_ComputePixelStats(0, &count, &mean, &dev, &low, &high, p.im);
            EXPECT_EQ(static_cast<int32_t>(count), pixels);
            EXPECT_EQ(static_cast<float>(mean), fm);
            EXPECT_EQ(static_cast<float>(dev), fd);
            EXPECT_EQ(static_cast<float>(low), fl);
            EXPECT_EQ(static_cast<float>(high), fh);
        } else {
            const auto h = counted(bytes);
            const Stats wanted = rangeStats(h.data(), 0, 255, true);
            EXPECT_EQ(static_cast<float>(wanted.mean), fm);
            EXPECT_EQ(static_cast<float>(wanted.deviation), fd);
            EXPECT_EQ(wanted.lowest, fl);
            EXPECT_EQ(wanted.highest, fh);
        }

        int32_t l, t, r, b;
        I_ROIBoundingBox2(&l, &t, &r, &b, p.im, q.im);
        const int32_t w = r - l + 1, rows = b - t + 1;
        std::vector<uint8_t> pa(static_cast<std::size_t>(w * rows)), pb(pa);
        I_GetBlockType(l, t, w, rows, pa.data(), p.im, PIX_BYTE);
        I_GetBlockType(l, t, w, rows, pb.data(), q.im, PIX_BYTE);
        int32_t sum = 0, most = 0, least = 0;
        for (std::size_t i = 0; i < pa.size(); ++i) {
            const int32_t d = pa[i] - pb[i];
            sum += d;
            most = std::max(most, d);
            least = std::min(least, d);
        }
        float largest = -7, total = -7;
        EXPECT_EQ(w * rows, I_DiffStats(p.im, q.im, &largest, &total));
        EXPECT_EQ(std::max(most, -least), largest);
        EXPECT_EQ(static_cast<float>(sum), total);
        p.close();
        q.close();
        if (HasFailure())
            return;
    }
}

TEST(IndependentStatistics, ArraysAndMasks)
{
    Random random(34);
    for (int32_t round = 0; round < 100; ++round) {
        const int32_t n = between(random, 1, 100);
        std::vector<uint8_t> a(static_cast<std::size_t>(n)), b(a);
        std::vector<int32_t> words(static_cast<std::size_t>(n));
        std::vector<int16_t> shorts(static_cast<std::size_t>(n));
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = static_cast<uint8_t>(random());
            b[i] = static_cast<uint8_t>(random());
            words[i] = a[i] * 100 + 3;
            shorts[i] = static_cast<int16_t>(a[i] - 100);
        }
        const auto check = [&](const void* buffer, int32_t type,
                               const std::function<double(std::size_t)>& value) {
            double sum = 0, squares = 0, least = value(0), most = value(0), mean, dev, low, high;
            for (std::size_t i = 0; i < a.size(); ++i) {
                sum += value(i);
                squares += value(i) * value(i);
                least = std::min(least, value(i));
                most = std::max(most, value(i));
            }
            EXPECT_EQ(n, I_ArrayStatsType(buffer, n, type, &mean, &dev, &low, &high));
            EXPECT_DOUBLE_EQ(sum / n, mean) << type;
            EXPECT_NEAR(n > 1 ? std::sqrt(std::max(0.0, (squares - sum * sum / n) / (n - 1))) : 0, dev,
                        1e-9 * (1 + dev))
                << type;
            EXPECT_EQ(least, low) << type;
            EXPECT_EQ(most, high) << type;
        };
        check(a.data(), PIX_BYTE, [&](std::size_t i) { return a[i]; });
        check(words.data(), PIX_DWORD, [&](std::size_t i) { return words[i]; });
        check(shorts.data(), PIX_WORD, [&](std::size_t i) { return shorts[i]; });

        std::vector<uint32_t> sums(512), differences(511), h(256, 3);
        for (std::size_t i = 0; i < a.size(); ++i) {
            ++sums[static_cast<std::size_t>(a[i] + b[i])];
            ++differences[static_cast<std::size_t>(a[i] - b[i] + 255)];
        }
        int32_t low, high;
        float dev;
        Stats s = rangeStats(counted(a).data(), 0, 255, true);
        EXPECT_EQ(static_cast<float>(s.mean),
                  I_ArrayStats(a.data(), n, PIX_BYTE, h.data(), &low, &high, &dev));
        EXPECT_EQ(counted(a), h);
        EXPECT_EQ(s.lowest, low);
        EXPECT_EQ(s.highest, high);
        EXPECT_EQ(static_cast<float>(s.deviation), dev);
        s = rangeStats(sums.data(), 0, 511, true);
        EXPECT_EQ(static_cast<float>(s.mean),
                  I_ArraySumStats(a.data(), b.data(), n, PIX_BYTE, &low, &high, &dev));
        EXPECT_EQ(s.lowest, low);
        EXPECT_EQ(s.highest, high);
        EXPECT_EQ(static_cast<float>(s.deviation), dev);
        s = rangeStats(differences.data() + 255, -255, 255, true);
        EXPECT_EQ(static_cast<float>(s.mean),
                  I_ArrayDiffStats(a.data(), b.data(), n, PIX_BYTE, &low, &high, &dev));
        EXPECT_EQ(s.lowest, low);
        EXPECT_EQ(s.highest, high);
        EXPECT_EQ(static_cast<float>(s.deviation), dev);
    }
    I_SetROIType(0);
    const int32_t im = byteImage({{10, 20, 30, 40}}), mask = byteImage({{0, 1, 2, 0}});
    float low, high, mean, dev;
    uint8_t table[256] = {};
    EXPECT_EQ(2, I_PixelStatsMasked(im, mask, &low, &high, &mean, &dev, 1, table));
    EXPECT_EQ(25.0F, mean);
    EXPECT_EQ(0, table[0]);
    EXPECT_EQ(255, table[1]);
    EXPECT_EQ(255, table[255]);
    EXPECT_EQ(2, I_PixelStatsMasked(im, mask, &low, &high, &mean, &dev, 1, nullptr));
    EXPECT_EQ(25.0F, mean);
    EXPECT_EQ(4, I_PixelStatsMasked(im, 0, &low, &high, &mean, &dev, 1, nullptr));
    clearError();
    const int32_t words = wordImage(2, 1, [](int32_t x, int32_t) { return 5 + x; });
    EXPECT_EQ(2, I_PixelStatsMasked(words, mask, &low, &high, &mean, &dev, 1, nullptr));
    EXPECT_EQ("Masked statistics not yet supported on non-byte images", errorText());
    EXPECT_EQ(5.5F, mean);
    const VexaPoint p{1, 2}, q{4, 6};
    EXPECT_DOUBLE_EQ(std::hypot(3 * 2.0, 4 * 0.5), scaledDist(&p, &q, 2.0, 0.5));
    uint32_t empty[256] = {};
    double count;
    EXPECT_EQ(1, I_GetHistStats(empty, &count, nullptr, nullptr));
    EXPECT_EQ(2, I_GetHistStats(empty, &count, nullptr, &count));
}

} // namespace
