// Thresholds and normalisation as chains of public calls told by their description; borders as plain loops.
#include "tests/support/plain_frames.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

int32_t normalized(int32_t src, int32_t dest, float low, float high, float maxGain, bool whole)
{
    double mean, deviation, min, max, count;
    const int32_t result = I_ComputePixelStats(0, &count, &mean, &deviation, &min, &max, src);
    const double range = max - min;
    double gain = 1.0, target = (low + high) * 0.5;
    if (std::fabs(range) > 0.0001) {
        gain = (double{high} - double{low}) / range;
        if (maxGain > 0 && !I_ImIsFloat(src, nullptr))
            gain = std::min(gain, double{maxGain});
        if (gain == 0.0)
            gain = 1.0;
        target = low;
    }
    const int32_t region = I_GetROIType();
    if (whole)
        I_SetROIType(0);
    I_ScaleIntensityROI(src, dest, target / gain - min, gain);
    if (whole)
        I_SetROIType(region);
    return result;
}

int32_t limited(int32_t src, int32_t dest, float maxGain)
{
    uint32_t histogram[256];
    I_CalcHist(histogram, src);
    int32_t low, high;
    HistogramMinMax(&low, &high, histogram);
    if (maxGain > 0) {
        const auto w = static_cast<int32_t>(255.0 / double{maxGain});
        if (high - low < w) {
            low = std::max(low - (w - (high - low)) / 2, 0);
            high = low + w;
        }
    }
    uint8_t table[256];
    I_StretchLUT(low, high, table);
    I_LUTMapROI(src, dest, table);
    return high - low;
}

TEST(IndependentThreshold, ChainsOnRandomImages)
{
    Random random(21);
    static const int32_t kTypes[] = {PIX_BYTE,  PIX_BYTE,   PIX_WORD, PIX_DWORD,
                                     PIX_FLOAT, PIX_DFLOAT, PIX_BGR24};
    for (int32_t round = 0; round < 400; ++round) {
        const Shape ss = randomShape(random, kTypes[random() % 7]);
        Shape sd = ss;
        sd.seed = random();
        if (between(random, 0, 2) == 0)
            sd.type = PIX_BYTE;
        I_SetColorMode(between(random, 0, 1));
        const float low = static_cast<float>(between(random, -40, 300)) / 4,
                    high = static_cast<float>(between(random, -40, 1200)) / 4;
        const float gain = between(random, 0, 2) == 0 ? 0.0F : static_cast<float>(between(random, 1, 40)) / 4;
        const int32_t whole = between(random, 0, 1), member = between(random, 0, 4);
        randomRegion(random, ss.cols, ss.rows);
        const int32_t region = I_GetROIType();
        if (region == 3 && whole && member <= 2)
            continue; // the plain chain cannot keep the list
        SCOPED_TRACE(tell(ss) + " to " + tell(sd) + " member " + std::to_string(member) + " " +
                     std::to_string(low) + " " + std::to_string(high) + " gain " + std::to_string(gain) +
                     " region " + std::to_string(region));
        int32_t results[2];
        std::vector<uint8_t> after[2];
        for (const int32_t side : {0, 1}) {
            const Picture ps = ss.open(), pd = sd.open();
            uint8_t table[256];
            switch (member) {
            case 0:
                results[side] = side == 0 ? I_NormalizeRange(ps.im, pd.im, low, high, gain, whole)
                                          : normalized(ps.im, pd.im, low, high, gain, whole != 0);
                break;
            case 1:
                results[side] = side == 0 ? I_NormalizeROIEx(ps.im, pd.im, whole)
                                          : normalized(ps.im, pd.im, 0.0F, I_GetColorMode() ? 251.0F : 255.0F,
                                                       85.0F, whole != 0);
                break;
            case 2:
                results[side] =
                    side == 0 ? I_NormalizeLimited(ps.im, pd.im, gain) : limited(ps.im, pd.im, gain);
                break;
            case 3:
                if (side == 1)
                    I_DualThreshLUT(Rnd(low), Rnd(high), table);
                results[side] =
                    side == 0 ? I_Threshold(ps.im, pd.im, low, high) : I_LUTMapROI(ps.im, pd.im, table);
                break;
            default:
                if (side == 1)
                    I_MakeGammaLUT(table, double{gain});
                results[side] = side == 0 ? I_GammaMap(ps.im, pd.im, gain) : I_LUTMapROI(ps.im, pd.im, table);
            }
            EXPECT_EQ(region, I_GetROIType());
            after[side] = pd.bytes();
            ps.close();
            pd.close();
        }
        ASSERT_EQ(results[0], results[1]);
        ASSERT_TRUE(after[0] == after[1]);
    }
}

TEST(IndependentThreshold, NumbersOfTheDescription)
{
    I_SetROIType(0);
    I_SetColorMode(0);
    const int32_t flat = byteImage(4, 4, [](int32_t, int32_t) { return 40; }), dest = byteImage(4, 4);
    EXPECT_EQ(16, I_NormalizeROI(flat, dest));
    EXPECT_EQ(40 + 87, pixel(dest, 0, 0)); // gain 1.0: the whole part of 87.5 is added
    const int32_t narrow = byteImage({{100, 101, 102}}), out = byteImage({{0, 0, 0}});
    I_NormalizeROI(narrow, out);
    EXPECT_THAT(rowOf(out, 0), testing::ElementsAre(0, 85, 170));
    float low = -1, high = -1, mean = -1, deviation = -1;
    EXPECT_EQ(2.0F, I_GetNormalizeRange(&low, &high, &mean, &deviation));
    EXPECT_EQ(100.0F, low);
    EXPECT_EQ(102.0F, high);
    EXPECT_EQ(101.0F, mean);
    EXPECT_EQ(1.0F, deviation);
    EXPECT_EQ(2.0F, I_GetNormalizeRange(nullptr, nullptr, nullptr, nullptr));
    const int32_t f = floatImage(2, 1, [](int32_t x, int32_t) { return 100 + 2 * x; });
    I_NormalizeROI(f, f);
    EXPECT_THAT(rowOf(f, 0), testing::ElementsAre(0.0, 255.0));
    const int32_t eleven = byteImage(11, 1, [](int32_t x, int32_t) { return 100 + x; });
    EXPECT_EQ(63, I_NormalizeLimited(eleven, byteImage(11, 1), 4.0F));
    EXPECT_EQ(0, I_NormalizeRange(0, dest, 0, 1, 0, 0));
    EXPECT_EQ(0, I_NormalizeRange(dest, 0, 0, 1, 0, 0));
    I_Threshold(eleven, eleven, 100.0F, 99.0F);
    for (const double v : rowOf(eleven, 0))
        EXPECT_EQ(255, v);
}

int32_t plainBorder(std::vector<uint8_t>& p, int32_t bytes, int32_t stride, int32_t rows, int32_t l,
                    int32_t t, int32_t r, int32_t b)
{
    const int32_t cols = stride / bytes;
    if (t >= rows || b <= std::max(t, 0) || l >= cols || r <= std::max(l, 0))
        return 0;
    const auto copy = [&](int32_t to, int32_t from, int32_t n) {
        std::memmove(&p[static_cast<std::size_t>(to)], &p[static_cast<std::size_t>(from)],
                     static_cast<std::size_t>(n));
    };
    for (int32_t y = t - 1; y >= 0; --y)
        copy(y * stride, (y + 1) * stride, stride);
    for (int32_t y = b + 1; y < rows; ++y)
        copy(y * stride, (y - 1) * stride, stride);
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = l - 1; x >= 0; --x)
            copy(y * stride + x * bytes, y * stride + (x + 1) * bytes, bytes);
        for (int32_t x = r + 1; x < cols; ++x)
            copy(y * stride + x * bytes, y * stride + (x - 1) * bytes, bytes);
    }
    return 1;
}

TEST(IndependentThreshold, BordersAreReplicatedOutward)
{
    Random random(5);
    for (int32_t round = 0; round < 500; ++round) {
        static const int32_t kBytes[] = {1, 2, 3, 4, 8};
        const int32_t bytes = kBytes[random() % 5], cols = between(random, 1, 40),
                      rows = between(random, 1, 12);
        const int32_t stride = cols * bytes;
        const int32_t l = between(random, -2, cols), t = between(random, -2, rows),
                      r = between(random, -2, cols + 2), b = between(random, -2, rows + 2);
        std::vector<uint8_t> pixels(static_cast<std::size_t>(stride * rows));
        for (uint8_t& v : pixels)
            v = static_cast<uint8_t>(random());
        std::vector<uint8_t> plain = pixels;
        EXPECT_EQ(plainBorder(plain, bytes, stride, rows, l, t, r, b),
                  I_CopyBorder(pixels.data(), bytes, stride, rows, l, t, r, b));
        ASSERT_TRUE(plain == pixels) << bytes << " bytes " << cols << "x" << rows << " stride " << stride
                                     << ": " << l << " " << t << " " << r << " " << b;
    }
    const int32_t im = byteImage({{1, 2, 3, 4, 5, 6, 7, 8}, {9, 10, 11, 12, 13, 14, 15, 16}});
    EXPECT_EQ(1, I_ImCopyBorder(im, 2, 0, -2, 0));
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(3, 3, 3, 4, 5, 6, 6, 6));
}

} // namespace
