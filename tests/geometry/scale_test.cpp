#include "vexalib/scale.h"

#include <limits>

#include "support/instruction_set.h"
#include "tests/geometry/plain_resampler.h"
#include "tests/geometry/raw_pixels.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

struct Offsets {
    double x;
    double y;
};

// One call, in plain loops: the box and what its pixels are before they are stored, not rounded yet where
// means are formed.
template <typename T>
class PlainScaling
{
public:
    PlainScaling(int32_t src, int32_t dest, Offsets offset, Offsets scale, bool interp)
        : src_(src), offset_(offset), scale_(scale), interp_(interp)
    {
        I_ImGetSize(&cols_, &rows_, nullptr, src);
        int32_t destCols = 0;
        int32_t destRows = 0;
        I_ImGetSize(&destCols, &destRows, nullptr, dest);
        left_ = skip(offset_.x, scale_.x);
        top_ = skip(offset_.y, scale_.y);
        width_ = static_cast<int32_t>(
            std::min<double>(destCols - left_, std::ceil((cols_ - offset_.x) * scale_.x)));
        height_ = static_cast<int32_t>(
            std::min<double>(destRows - top_, std::ceil((rows_ - offset_.y) * scale_.y)));
    }

    int32_t left() const { return left_; }
    int32_t top() const { return top_; }
    int32_t width() const { return width_; }
    int32_t height() const { return height_; }

    std::vector<std::vector<double>> rows() const
    {
        if (interp_ && scale_.x == 0.5 && scale_.y == 0.5 && whole(offset_.x) && whole(offset_.y) &&
            sizeof(T) == 1)
            return halved();
        if (!interp_)
            return nearest();
        return scale_.y < 1 ? means() : blends();
    }

private:
    static bool whole(double x) { return x == std::floor(x); }
    static int32_t skip(double& offset, double scale)
    {
        if (offset >= 0)
            return 0;
        const double n = std::ceil(-(offset * scale));
        offset += n / scale;
        return static_cast<int32_t>(n);
    }

    std::vector<T> sourceRow(double row) const
    {
        const auto y = static_cast<int32_t>(std::clamp<double>(row, 0, rows_ - 1));
        const double column = std::floor(offset_.x);
        const auto n =
            static_cast<int32_t>(std::min(cols_ - column, std::ceil(width_ / scale_.x) + column + 1));
        std::vector<T> values;
        for (int32_t x = 0; x < n; ++x)
            values.push_back(static_cast<T>(pixel(src_, static_cast<int32_t>(column) + x, y)));
        return values;
    }
    std::vector<T> scaledRow(const std::vector<T>& row) const
    {
        std::vector<T> out(static_cast<std::size_t>(width_));
        if (width_ < 2) // nothing is resampled then
            return out;
        if (scale_.x == 1.0 && offset_.x == std::floor(offset_.x)) {
            std::copy_n(row.begin(), std::min(row.size(), out.size()), out.begin());
            return out;
        }
        return resampled(row, out, offset_.x - std::floor(offset_.x), scale_.x, interp_);
    }

    std::vector<std::vector<double>> halved() const
    {
        std::vector<std::vector<double>> result;
        for (int32_t y = 0; y < std::min(height_, (rows_ - static_cast<int32_t>(offset_.y)) / 2); ++y) {
            const std::vector<T> a = sourceRow(offset_.y + 2 * y);
            const std::vector<T> b = sourceRow(offset_.y + 2 * y + 1);
            result.emplace_back();
            for (std::size_t x = 0; x + 1 < a.size() && x / 2 < static_cast<std::size_t>(width_); x += 2)
                result.back().push_back((static_cast<int32_t>(a[x]) + static_cast<int32_t>(a[x + 1]) +
                                         static_cast<int32_t>(b[x]) + static_cast<int32_t>(b[x + 1]) + 2) /
                                        4);
        }
        return result;
    }
    std::vector<std::vector<double>> nearest() const
    {
        std::vector<std::vector<double>> result;
        double p = offset_.y + 0.5;
        for (int32_t y = 0; y < height_; ++y, p += 1 / scale_.y) {
            const std::vector<T> row = scaledRow(sourceRow(std::floor(p)));
            result.emplace_back(row.begin(), row.end());
        }
        return result;
    }
    std::vector<std::vector<double>> blends() const
    {
        std::vector<std::vector<double>> result;
        double p = offset_.y + 1.0;
        for (int32_t y = 0; y < height_; ++y, p += 1 / scale_.y) {
            const double r = std::floor(p);
            const std::vector<T> a = sourceRow(r);
            const std::vector<T> b = sourceRow(r - 1);
            const double t = p - r;
            std::vector<T> mixed(a.size());
            for (std::size_t x = 0; x < a.size(); ++x) {
                if constexpr (std::is_floating_point_v<T>)
                    mixed[x] = static_cast<T>((double{a[x]} - b[x]) * static_cast<float>(t) + b[x]);
                else
                    mixed[x] = static_cast<T>(
                        (((int64_t{a[x]} - b[x]) * static_cast<int64_t>(t * 256) + 128) >> 8) + b[x]);
            }
            const std::vector<T> row = scaledRow(mixed);
            result.emplace_back(row.begin(), row.end());
        }
        return result;
    }
    std::vector<std::vector<double>> means() const
    {
        const auto n = static_cast<std::size_t>(width_);
        std::vector<std::vector<double>> result;
        std::vector<double> carry(n);
        const double step = 1 / scale_.y;
        double p = offset_.y - step * 0.5 + 0.5;
        double e = std::floor(p);
        for (int32_t y = 0; y < height_; ++y) {
            const double s = e;
            p += step;
            e = std::floor(p);
            std::vector<double> sum(n);
            for (double k = s; k < e; ++k) {
                const std::vector<T> line = scaledRow(sourceRow(k));
                for (std::size_t x = 0; x < n; ++x)
                    sum[x] += static_cast<double>(line[x]) - (k == s ? carry[x] : 0);
            }
            const std::vector<T> last = scaledRow(sourceRow(e));
            for (std::size_t x = 0; x < n; ++x) {
                carry[x] = static_cast<double>(last[x]) * (p - e);
                sum[x] = (sum[x] + carry[x]) * (y == 0 ? 1 / (p - s) : scale_.y);
            }
            result.push_back(sum);
        }
        return result;
    }

    int32_t src_;
    Offsets offset_;
    Offsets scale_;
    bool interp_;
    int32_t cols_ = 0;
    int32_t rows_ = 0;
    int32_t left_ = 0;
    int32_t top_ = 0;
    int32_t width_ = 0;
    int32_t height_ = 0;
};

std::vector<std::vector<double>> pixelsOf(int32_t im)
{
    std::vector<std::vector<double>> rows;
    for (int32_t y = 0; y < Raw(im).rows; ++y)
        rows.push_back(rowOf(im, y));
    return rows;
}

// Compares what I_ScaleImage makes, and that nothing outside the box changes. tolerance holds for means.
template <typename T>
void check(int32_t src, int32_t dest, Offsets offset, Offsets scale, bool interp, double tolerance)
{
    const auto before = pixelsOf(dest);
    const PlainScaling<T> plain(src, dest, offset, scale, interp);
    ASSERT_EQ(plain.width() > 0 && plain.height() > 0,
              I_ScaleImage(src, dest, nullptr, nullptr, offset.x, offset.y, scale.x, scale.y, interp));
    if (plain.width() < 1 || plain.height() < 1)
        return;
    const auto expected = plain.rows();
    const auto found = pixelsOf(dest);
    for (std::size_t y = 0; y < found.size(); ++y)
        for (std::size_t x = 0; x < found[y].size(); ++x) {
            const std::size_t j = y - static_cast<std::size_t>(plain.top());
            const std::size_t i = x - static_cast<std::size_t>(plain.left());
            const bool inside = j < expected.size() && i < expected[j].size();
            const double wanted = inside ? expected[j][i] : before[y][x];
            if (std::abs(wanted - found[y][x]) > (inside ? tolerance : 0.0))
                FAIL() << "(" << x << ", " << y << ") is " << found[y][x] << " and should be " << wanted
                       << ": scale " << scale.x << ", " << scale.y << " from " << offset.x << ", " << offset.y
                       << (interp ? " interpolated" : "");
        }
}

class Scale : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override { I_SetROIType(0); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Scale, testing::ValuesIn(vexa::availableInstructionSets()));

constexpr Offsets kOffsets[] = {{0, 0}, {0.25, 0.6}, {3, 5}, {-2.3, -1.7}, {7.5, -4}};
constexpr Offsets kScales[] = {{0.3, 0.3},  {0.5, 0.5}, {1.5, 1.5}, {0.7, 2.2},
                               {2.2, 0.45}, {1.0, 0.5}, {1.0, 1.7}, {0.13, 0.09}};

TEST_P(Scale, AgainstReferenceBytes)
{
    const int32_t src = noise(71, 37, PIX_BYTE, 1);
    for (const Offsets& scale : kScales)
        for (const Offsets& offset : kOffsets)
            for (const bool interp : {false, true}) {
                const int32_t dest = noise(90, 50, PIX_BYTE, 2);
                // Means are rounded: those on the verge either way.
                const bool halved = scale.x == 0.5 && scale.y == 0.5 && offset.x == std::floor(offset.x);
                check<uint8_t>(src, dest, offset, scale, interp,
                               interp && scale.y < 1 && !halved ? 0.5001 : 0.0);
                closeImages({dest});
            }
    closeImages({src});
}

TEST_P(Scale, AgainstReferenceLongsAndFloats)
{
    const int32_t longs = image(23, 19, PIX_DWORD,
                                [](int32_t x, int32_t y) { return (x * 7919 + y * 104729) % 60001 - 30000; });
    const int32_t floats =
        floatImage(23, 19, [](int32_t x, int32_t y) { return (x * 7919 + y * 104729) % 6001 / 7.0; });
    for (const Offsets& scale : kScales)
        for (const Offsets& offset : kOffsets)
            for (const bool interp : {false, true}) {
                const int32_t longDest = image(30, 25, PIX_DWORD, [](int32_t x, int32_t y) { return x - y; });
                check<int32_t>(longs, longDest, offset, scale, interp, interp && scale.y < 1 ? 1.01 : 0.0);
                const int32_t floatDest = floatImage(30, 25, [](int32_t x, int32_t y) { return x - y; });
                check<float>(floats, floatDest, offset, scale, interp, interp ? 0.01 : 0.0);
                closeImages({longDest, floatDest});
            }
    closeImages({longs, floats});
}

TEST_P(Scale, LiteralHalfOfAnEvenImageIsTheRoundedMean)
{
    const int32_t sizes[][2] = {{2, 2}, {64, 10}, {126, 8}, {128, 8}, {130, 6}, {258, 4}, {35, 7}};
    for (const auto& [W, H] : sizes) {
        const int32_t src = noise(W, H, PIX_BYTE, 3);
        const int32_t dest = byteImage(W / 2, H / 2);
        EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, 0.5, 0.5, 1));
        for (int32_t y = 0; y < H / 2; ++y)
            for (int32_t x = 0; x < W / 2; ++x)
                ASSERT_EQ(std::floor((pixel(src, 2 * x, 2 * y) + pixel(src, 2 * x + 1, 2 * y) +
                                      pixel(src, 2 * x, 2 * y + 1) + pixel(src, 2 * x + 1, 2 * y + 1) + 2) /
                                     4),
                          pixel(dest, x, y));
        closeImages({src, dest});
    }
}

TEST_P(Scale, LiteralHalfOfOddImagesDropsTheLastRowAndColumn)
{
    const int32_t src = noise(35, 21, PIX_BYTE, 4);
    const int32_t dest = byteImage(40, 40, [](int32_t, int32_t) { return 99; });
    EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, 0.5, 0.5, 1));
    for (int32_t i = 0; i < 40; ++i) {
        EXPECT_EQ(99, pixel(dest, 17, i));
        EXPECT_EQ(99, pixel(dest, i, 10));
    }
    closeImages({src, dest});
}

TEST_P(Scale, LiteralHalfOfWordsInvertedOnesSubimagesAndItself)
{
    const int32_t bytes = noise(40, 30, PIX_BYTE, 5);
    const int32_t expected = byteImage(20, 15);
    EXPECT_EQ(1, I_ScaleImage(bytes, expected, nullptr, nullptr, 0, 0, 0.5, 0.5, 1));
    const int32_t words = I_CloneImage(bytes, PIX_WORD, 1);
    const int32_t inverted = I_CloneImage(bytes, 0, 1);
    ASSERT_EQ(1, I_ImInvertRows(inverted));
    for (const int32_t src : {words, inverted}) {
        const int32_t dest = byteImage(20, 15);
        EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, 0.5, 0.5, 1));
        EXPECT_EQ(bytesOf(expected), bytesOf(dest));
        closeImages({dest});
    }
    const int32_t same = I_CloneImage(bytes, 0, 1);
    const int32_t origin[] = {3, 2};
    EXPECT_EQ(1, I_ScaleImage(same, same, origin, nullptr, 0, 0, 0.5, 0.5, 1));
    const int32_t part = I_ImOpenSubimage(3, 2, 20, 15, same);
    EXPECT_EQ(bytesOf(expected), bytesOf(part));
    closeImages({part, same, bytes, expected, words, inverted});
}

TEST_P(Scale, LiteralWholeScaleCopiesOrShifts)
{
    const int32_t src = byteImage({{10, 20, 30, 40, 50, 60}, {110, 120, 130, 140, 150, 160}});
    const int32_t dest = byteImage(6, 2);
    // Nearest: a copy from Rnd(2.5).
    EXPECT_NE(0, I_ScaleImage(src, dest, nullptr, nullptr, 2.5, 0, 1, 1, 0));
    EXPECT_EQ((std::vector<uint8_t>{40, 50, 60, 0, 0, 0, 140, 150, 160, 0, 0, 0}), bytesOf(dest));
    // Interpolated: shifted by half a pixel, the last one from the last pixel alone.
    EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 2.5, 0, 1, 1, 1));
    EXPECT_EQ((std::vector<uint8_t>{35, 45, 55, 60, 0, 0, 135, 145, 155, 160, 0, 0}), bytesOf(dest));
    // Whole offsets: a copy in both cases.
    EXPECT_EQ(12, I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, 1, 1, 1));
    EXPECT_EQ(bytesOf(src), bytesOf(dest));
    closeImages({src, dest});
}

TEST_P(Scale, LiteralEnlargingRepeatsTheLastPixels)
{
    const int32_t src = byteImage({{0, 100}, {200, 40}});
    const int32_t dest = byteImage(4, 4);
    EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, 2, 2, 1));
    EXPECT_EQ((std::vector<uint8_t>{0, 50, 100, 100, 100, 85, 70, 70, 200, 120, 40, 40, 200, 120, 40, 40}),
              bytesOf(dest));
    closeImages({src, dest});
}

TEST_P(Scale, LiteralNegativeOffsetLeavesTheFirstColumns)
{
    const int32_t src = byteImage({{10, 20}, {30, 40}});
    const int32_t dest = byteImage(6, 5, [](int32_t, int32_t) { return 9; });
    EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, -1, -0.5, 2, 2, 0));
    EXPECT_THAT(rowOf(dest, 0), testing::Each(9));
    EXPECT_THAT(rowOf(dest, 1), testing::ElementsAre(9, 9, 10, 20, 20, 20));
    EXPECT_THAT(rowOf(dest, 4), testing::ElementsAre(9, 9, 30, 40, 40, 40));
    closeImages({src, dest});
}

TEST_P(Scale, LiteralOriginAndSize)
{
    const int32_t src = noise(40, 30, PIX_BYTE, 6);
    const int32_t all = byteImage(60, 45);
    ASSERT_EQ(1, I_ScaleImage(src, all, nullptr, nullptr, 2, 3, 1.5, 1.5, 1));
    const int32_t dest = byteImage(60, 45, [](int32_t, int32_t) { return 9; });
    const int32_t origin[] = {7, 11};
    const int32_t size[] = {20, 5};
    ASSERT_EQ(1, I_ScaleImage(src, dest, origin, size, 2, 3, 1.5, 1.5, 1));
    for (int32_t y = 0; y < 45; ++y)
        for (int32_t x = 0; x < 60; ++x) {
            const bool inside = x >= 7 && x < 27 && y >= 11 && y < 16;
            ASSERT_EQ(inside ? pixel(all, x - 7, y - 11) : 9, pixel(dest, x, y)) << x << " " << y;
        }
    // Only positive numbers count.
    const int32_t none[] = {-5, 0};
    ASSERT_EQ(1, I_ScaleImage(src, dest, none, none, 2, 3, 1.5, 1.5, 1));
    EXPECT_EQ(pixel(all, 0, 0), pixel(dest, 0, 0));
    EXPECT_EQ(pixel(all, 56, 40), pixel(dest, 56, 40));
    closeImages({src, all, dest});
}

TEST_P(Scale, LiteralABlockOfOneColumnBecomesZero)
{
    const int32_t src = noise(40, 30, PIX_BYTE, 7);
    const int32_t dest = byteImage(1, 10, [](int32_t, int32_t) { return 9; });
    EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, 0.3, 0.3, 1));
    EXPECT_EQ(0, pixel(dest, 0, 0));
    closeImages({src, dest});
}

TEST_P(Scale, LiteralColoursAreScaledBandByBand)
{
    for (const int32_t type : {PIX_BGR24, PIX_RGB32})
        for (const Offsets& scale : kScales)
            for (const bool interp : {false, true}) {
                const int32_t src = noise(31, 23, type, 8);
                const int32_t dest = I_ImOpen(40, 30, type);
                ASSERT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0.5, 0.25, scale.x, scale.y, interp));
                EXPECT_EQ(-2, I_GetColorBand());
                for (int32_t band = 0; band < 3; ++band) {
                    I_SetColorBand(band);
                    const int32_t source = I_CloneImage(src, PIX_BYTE, 1);
                    const int32_t result = I_CloneImage(dest, PIX_BYTE, 1);
                    I_SetColorBand(-1);
                    const int32_t expected = byteImage(40, 30);
                    ASSERT_EQ(1, I_ScaleImage(source, expected, nullptr, nullptr, 0.5, 0.25, scale.x, scale.y,
                                              interp));
                    ASSERT_TRUE(bytesOf(expected) == bytesOf(result))
                        << type << " band " << band << " at " << scale.x << ", " << scale.y << " " << interp;
                    closeImages({source, result, expected});
                }
                closeImages({src, dest});
            }
}

TEST_P(Scale, LiteralDifferentTypesWorkInBytes)
{
    const int32_t floats = floatImage(30, 20, [](int32_t x, int32_t y) { return x * 5.3 + y; });
    const int32_t words = image(45, 30, PIX_WORD);
    const int32_t bytes = I_CloneImage(floats, PIX_BYTE, 1);
    const int32_t expected = byteImage(45, 30);
    ASSERT_EQ(1, I_ScaleImage(bytes, expected, nullptr, nullptr, 0, 0, 1.5, 1.5, 1));
    ASSERT_EQ(1, I_ScaleImage(floats, words, nullptr, nullptr, 0, 0, 1.5, 1.5, 1));
    EXPECT_EQ(pixelsOf(expected), pixelsOf(words));
    // Into a palette image too, whatever the source.
    const int32_t palette = I_ImOpen(45, 30, PIX_PALETTE);
    const int32_t color = noise(30, 20, PIX_BGR24, 9);
    const int32_t grey = I_CloneImage(color, PIX_BYTE, 1);
    ASSERT_EQ(1, I_ScaleImage(grey, expected, nullptr, nullptr, 0, 0, 1.5, 1.5, 1));
    ASSERT_EQ(1, I_ScaleImage(color, palette, nullptr, nullptr, 0, 0, 1.5, 1.5, 1));
    EXPECT_EQ(bytesOf(expected), bytesOf(palette));
    closeImages({floats, words, bytes, expected, palette, color, grey});
}

TEST_P(Scale, LiteralImagesInFilesScaleAsThoseInMemory)
{
    const int32_t src = noise(50, 40, PIX_BYTE, 20);
    const int32_t fileSrc = inFile(src);
    for (const Offsets& scale : kScales)
        for (const bool interp : {false, true}) {
            const int32_t dest = noise(60, 50, PIX_BYTE, 21);
            const int32_t fileDest = inFile(dest);
            EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 1, 2, scale.x, scale.y, interp));
            EXPECT_EQ(1, I_ScaleImage(fileSrc, fileDest, nullptr, nullptr, 1, 2, scale.x, scale.y, interp));
            const int32_t result = I_CloneImage(fileDest, 0, 1);
            EXPECT_EQ(bytesOf(dest), bytesOf(result)) << scale.x << " " << scale.y;
            closeImages({dest, fileDest, result});
        }
    closeImages({src, fileSrc});
}

TEST_P(Scale, LiteralInPlaceIsFromACopy)
{
    for (const Offsets& scale : kScales) {
        const int32_t src = noise(40, 30, PIX_BYTE, 10);
        const int32_t same = I_CloneImage(src, 0, 1);
        const int32_t dest = I_CloneImage(src, 0, 1);
        const int32_t count = I_ImCount();
        EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0.5, 1, scale.x, scale.y, 1));
        EXPECT_EQ(1, I_ScaleImage(same, same, nullptr, nullptr, 0.5, 1, scale.x, scale.y, 1));
        EXPECT_EQ(bytesOf(dest), bytesOf(same));
        EXPECT_EQ(count, I_ImCount());
        closeImages({src, same, dest});
    }
}

TEST(ScaleImage1, LiteralSizes)
{
    const int32_t im = noise(100, 80, PIX_BYTE, 11);
    I_ImSetComment("plate", im);
    const struct {
        double sx, sy;
        int32_t interp, cols, rows;
    } cases[] = {{0.5, 0.5, 1, 50, 40}, {0.5, 0.5, 0, 50, 40}, {1, 1, 0, 100, 80},      {1, 1, 1, 100, 80},
                 {2, 1.5, 1, 198, 119}, {2, 1.5, 0, 199, 119}, {0.001, 0.001, 1, 1, 1}, {-3, 0, 1, 1, 1}};
    for (const auto& c : cases) {
        const int32_t scaled = I_ScaleImage1Ex(im, 0, 0, c.sx, c.sy, c.interp, nullptr);
        EXPECT_EQ(c.cols, Raw(scaled).cols) << c.sx;
        EXPECT_EQ(c.rows, Raw(scaled).rows) << c.sx;
        char comment[20] = {};
        I_ImGetComment(comment, 20, scaled);
        EXPECT_STREQ("plate", comment);
        closeImages({scaled});
    }
    // An offset makes a scale of 1 no copy: one column and row less with interp.
    const int32_t shifted = I_ScaleImage1(im, 0.5, 0, 1, 1, 1);
    EXPECT_EQ(99, Raw(shifted).cols);
    const int32_t named = I_ScaleImage1Ex(im, 0, 0, 2, 2, 1, "_twice");
    char comment[20] = {};
    I_ImGetComment(comment, 20, named);
    EXPECT_STREQ("plate; twice", comment);
    clearError();
    EXPECT_EQ(0, I_ScaleImage1(-299, 0, 0, 2, 2, 1));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ScaleImage1Ex(0, 0, 0, 2, 2, 1, "x"));
    clearError();
    closeImages({im, shifted, named});
}

TEST(ScaleImageROI, LiteralTheOffsetMovesByTheCornerUnscaled)
{
    const int32_t src = noise(60, 50, PIX_BYTE, 12);
    const int32_t found = noise(60, 50, PIX_BYTE, 13);
    const int32_t expected = I_CloneImage(found, 0, 1);
    I_SetWindowROI(10, 7, 39, 20);
    const int32_t origin[] = {10, 7};
    const int32_t size[] = {30, 14};
    EXPECT_EQ(1, I_ScaleImage(src, expected, origin, size, 12.25, 10, 2, 2, 1));
    EXPECT_EQ(1, I_ScaleImageROI(src, found, 2.25, 3, 2, 2, 1));
    EXPECT_EQ(bytesOf(expected), bytesOf(found));
    // A corner left of what the source reaches.
    const int32_t later[] = {15, 7};
    const int32_t less[] = {25, 14};
    EXPECT_EQ(1, I_ScaleImage(src, expected, later, less, -15.5 + 15, 7, 2, 2, 1));
    EXPECT_EQ(1, I_ScaleImageROI(src, found, -15.5, 0, 2, 2, 1));
    EXPECT_EQ(bytesOf(expected), bytesOf(found));
    I_SetROIType(0);
    EXPECT_EQ(0, I_ScaleImageROI(src, 0, 0, 0, 2, 2, 1));
    clearError();
    closeImages({src, found, expected});
}

TEST(ScaleFailures, BadNumbersLeaveEverythingAlone)
{
    const int32_t src = noise(20, 20, PIX_BYTE, 14);
    const int32_t dest = noise(20, 20, PIX_BYTE, 15);
    const auto before = bytesOf(dest);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    clearError();
    const double bad[][4] = {{nan, 0, 1, 1}, {0, infinite, 1, 1}, {0, 0, nan, 1},  {0, 0, 1, infinite},
                             {0, 0, 0, 1},   {0, 0, 1, 0},        {0, 0, -1, 1},   {0, 0, 1, -0.5},
                             {20, 0, 2, 2},  {-100, 0, 2, 2},     {0, 1e30, 2, 2}, {-1e30, 0, 2, 2}};
    for (const auto& [x, y, sx, sy] : bad)
        for (const int32_t interp : {0, 1})
            EXPECT_EQ(0, I_ScaleImage(src, dest, nullptr, nullptr, x, y, sx, sy, interp))
                << x << y << sx << sy;
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(before, bytesOf(dest));
    // Beyond the source with a negative scale: there is something to fill, and nothing to read.
    EXPECT_EQ(0, I_ScaleImage(src, dest, nullptr, nullptr, 25, 0, -1, 1, 0));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ScaleImage: Bad image size: sCols=-5 dCols=5 pixbytes=1 nbands=1", errorText());
    clearError();
    EXPECT_EQ(0, I_ScaleImage(-299, dest, nullptr, nullptr, 0, 0, 2, 2, 0));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    clearError();
    closeImages({src, dest});
}

TEST(ScaleFailures, ExtremeScalesEnd)
{
    const int32_t src = noise(20, 20, PIX_FLOAT, 16);
    const int32_t dest = noise(30, 30, PIX_FLOAT, 17);
    for (const double sx : {1e-300, 1e-9, 1e-4, 1e5, 1e9, 1e300})
        for (const double sy : {1e-300, 1e-9, 1e-4, 1e5, 1e9, 1e300})
            for (const int32_t interp : {0, 1})
                EXPECT_EQ(1, I_ScaleImage(src, dest, nullptr, nullptr, 0.5, 0.5, sx, sy, interp));
    closeImages({src, dest});
}

TEST(ScaleFailures, Allocations)
{
    const int32_t src = noise(20, 20, PIX_BYTE, 18);
    const int32_t words = image(20, 20, PIX_WORD);
    const int32_t dest = noise(30, 30, PIX_BYTE, 19);
    std::vector<std::string> texts;
    const auto failing = [&](int32_t from, double scale) {
        forEachFailingAllocation(
            [&] { return I_ScaleImage(from, dest, nullptr, nullptr, 0, 0, scale, scale, 1); },
            [&](int64_t result) {
                EXPECT_EQ(2, I_GetError(nullptr, 0));
                texts.push_back(errorText().substr(26, 20));
                (void)result;
            });
    };
    failing(src, 0.3);
    failing(src, 1.5);
    failing(words, 0.5);
    for (const char* tag : {"I_ScaleImage sbuf1: ", "I_ScaleImage sbuf2: ", "I_ScaleImage sblend:",
                            "I_ScaleImage dbuf: 0", "I_ScaleImage sum: 0 "})
        EXPECT_THAT(texts, testing::Contains(std::string(tag)));
    closeImages({src, words, dest});
}

} // namespace
