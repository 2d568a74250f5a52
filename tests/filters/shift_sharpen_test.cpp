#include <algorithm>
#include <array>
#include <cmath>

#include "tests/filters/filter_settings.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/roi.h"
#include "vexalib/smoothing.h"

namespace
{

using namespace vexa::test;
using Row = std::vector<double>;

// The weights in the words of the contract.
std::array<float, 4> weightsOf(float shift, float s)
{
    const float t = shift - std::floor(shift);
    const float a = t * s;
    const float q = t * t * s;
    if (t <= 0.5F)
        return {(q - a) * 0.5F, a - 1.5F * q - t + 1.0F, t + 1.5F * q - 0.5F * a, -0.5F * q};
    const float b = 0.5F * s;
    return {a - 0.5F * q - b, s + (1.5F * q - 2.5F * a - t) + 1.0F, t + 2.0F * a - 1.5F * q - b,
            0.5F * q - 0.5F * a};
}

// One pass over a block of numbers; bytes are rounded from 11 fractional bits.
Row plainPass(const Row& in, int32_t width, int32_t height, bool rows, float shift, float s, bool bytes)
{
    const auto w = weightsOf(shift, s);
    const int32_t length = rows ? width : height;
    const auto at = [&](int32_t x, int32_t y) { return in[static_cast<std::size_t>(y * width + x)]; };
    Row out;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            double sum = 0.0;
            int64_t whole = 1024;
            for (int32_t k = 0; k < 4; ++k) {
                const int32_t i = std::clamp((rows ? x : y) + k - 1, 0, length - 1);
                const double sample = rows ? at(i, y) : at(x, i);
                sum += double{w[static_cast<std::size_t>(k)]} * sample;
                whole += static_cast<int64_t>(w[static_cast<std::size_t>(k)] * 2048.0F) *
                         static_cast<int64_t>(sample);
            }
            out.push_back(bytes ? static_cast<double>(std::clamp<int64_t>(whole >> 11, 0, 255))
                                : static_cast<double>(static_cast<float>(sum)));
        }
    }
    return out;
}

Row plainShift(Row block, int32_t width, int32_t height, float dx, float dy, float s, bool bytes)
{
    const float least = bytes ? 0.005F : 0.0F;
    if (std::fabs(dx) > least && width > 1)
        block = plainPass(block, width, height, true, dx, s, bytes);
    if (std::fabs(dy) > least && height > 1)
        block = plainPass(block, width, height, false, dy, s, bytes);
    return block;
}

template <typename Pixel>
void expectShift(int32_t width, int32_t height, float dx, float dy, float s, uint32_t seed)
{
    std::mt19937 random(seed);
    const auto n = static_cast<std::size_t>(width * height);
    std::vector<Pixel> in(n);
    std::generate(in.begin(), in.end(), [&] { return static_cast<Pixel>(random() & 255); });
    const Row expected =
        plainShift(Row(in.begin(), in.end()), width, height, dx, dy, s, std::is_same_v<Pixel, uint8_t>);
    for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
        vexa::limitInstructionSet(set);
        std::vector<Pixel> out(n + 4, Pixel{77});
        const int32_t type = sizeof(Pixel) == 1 ? PIX_BYTE : sizeof(Pixel) == 2 ? PIX_WORD : PIX_FLOAT;
        ASSERT_EQ(1, I_ShiftSharpenArray(in.data(), out.data(), width, height, dx, dy, s, type));
        for (std::size_t i = 0; i < n; ++i)
            ASSERT_EQ(static_cast<Pixel>(expected[i]), out[i])
                << i << " of " << width << " x " << height << " by " << dx << ' ' << dy << ", sharpness "
                << s;
        ASSERT_EQ(Pixel{77}, out[n]);
    }
    vexa::limitInstructionSet(vexa::InstructionSet::avx512);
}

TEST(AgainstReferenceShiftSharpen, I_ShiftSharpenArray)
{
    const std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {1, 5}, {2, 2},  {3, 3},
                                                 {4, 1}, {5, 2}, {17, 4}, {130, 9}};
    const float shifts[] = {0.0F, 0.004F, 0.3F, 0.5F, 0.6F, 0.97F, 1.25F};
    uint32_t seed = 0;
    for (const auto& [width, height] : sizes)
        for (const float dx : shifts)
            for (const float dy : {0.0F, 0.004F, 0.6F, 0.2F})
                for (const float s : {0.0F, 1.0F, 0.4F, -1.0F, 6.0F}) {
                    expectShift<uint8_t>(width, height, dx, dy, s, ++seed);
                    expectShift<float>(width, height, dx, dy, s, ++seed);
                    expectShift<int16_t>(width, height, dx, dy, s, ++seed);
                }
}

// A filter along the bytes of packed colour keeps the colours apart.
TEST(AgainstReferenceShiftSharpen, ColoursAreFilteredOneByOne)
{
    std::mt19937 random(1);
    std::vector<uint8_t> in(11 * 6 * 3);
    std::generate(in.begin(), in.end(), [&] { return static_cast<uint8_t>(random()); });
    std::vector<uint8_t> out(in.size());
    ASSERT_EQ(1, I_ShiftSharpenArray(in.data(), out.data(), 11, 6, 0.3F, 0.7F, 1.0F, PIX_BGR24));
    for (std::size_t colour = 0; colour < 3; ++colour) {
        Row one;
        for (std::size_t i = colour; i < in.size(); i += 3)
            one.push_back(in[i]);
        const Row expected = plainShift(one, 11, 6, 0.3F, 0.7F, 1.0F, true);
        for (std::size_t i = 0; i < one.size(); ++i)
            ASSERT_EQ(expected[i], out[3 * i + colour]);
    }
}

class LiteralShiftSharpen : public testing::Test
{
protected:
    void TearDown() override
    {
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }
};

TEST_F(LiteralShiftSharpen, LinearAndCubicInterpolation)
{
    const float in[] = {0, 0, 100, 100, 100};
    float out[5] = {};
    EXPECT_EQ(1, I_ShiftSharpenArray(in, out, 5, 1, 0.25F, 0.0F, 0.0F, PIX_FLOAT));
    EXPECT_THAT(out, testing::ElementsAre(0, 25, 100, 100, 100));
    // a = 0.5, q = 0.25: weights -0.125, 0.625, 0.625, -0.125
    EXPECT_EQ(1, I_ShiftSharpenArray(in, out, 5, 1, 0.5F, 0.0F, 1.0F, PIX_FLOAT));
    EXPECT_THAT(out, testing::ElementsAre(-12.5F, 50, 112.5F, 100, 100));
    const uint8_t bytes[] = {0, 0, 255, 255, 255};
    uint8_t shifted[5] = {};
    EXPECT_EQ(1, I_ShiftSharpenArray(bytes, shifted, 5, 1, 0.5F, 0.0F, 1.0F, PIX_BYTE));
    EXPECT_THAT(shifted, testing::ElementsAre(0, 128, 255, 255, 255));
}

TEST_F(LiteralShiftSharpen, ANegativeShiftOfASingleRowMovesTheResult)
{
    const float in[] = {10, 20, 30, 40, 50, 60};
    float out[6] = {-1, -1, -1, -1, -1, -1};
    EXPECT_EQ(1, I_ShiftSharpenArray(in, out, 6, 1, -1.75F, 0.0F, 0.0F, PIX_FLOAT));
    EXPECT_THAT(out, testing::ElementsAre(-1, 10, 12.5F, 22.5F, 32.5F, 40)); // by -2 + 0.25
    uint8_t bytes[] = {1, 2, 3};
    EXPECT_EQ(1, I_ShiftSharpenArray("ABC", bytes, 3, 1, -3.0F, 0.0F, 0.0F, PIX_BYTE));
    EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 'A'));
    EXPECT_EQ(1, I_ShiftSharpenArray("ABC", bytes, 3, 1, -4.0F, 0.0F, 0.0F, PIX_BYTE));
    EXPECT_EQ(1, I_ShiftSharpenArray("ABC", bytes, 3, 1, -1e30F, 0.0F, 0.0F, PIX_BYTE));
    EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 'A'));
}

TEST_F(LiteralShiftSharpen, NegativeShiftsOfBlocksAreRefused)
{
    uint8_t block[4] = {1, 2, 3, 4};
    const Messages messages;
    EXPECT_EQ(0, I_ShiftSharpenArray(block, block, 2, 2, -0.5F, 0.0F, 0.0F, PIX_BYTE));
    EXPECT_EQ(0, I_ShiftSharpenArray(block, block, 4, 1, 0.5F, -1.26F, 0.0F, PIX_BYTE));
    EXPECT_THAT(messages.all(),
                testing::ElementsAre("I_ShiftSharpenArray: Negative shift not supported. dx=-0.5 dy=0.0",
                                     "I_ShiftSharpenArray: Negative shift not supported. dx=0.5 dy=-1.3"));
    EXPECT_THAT(block, testing::ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(1, I_ShiftSharpenArray(block, block, 0, 2, 0.5F, 0.5F, 0.0F, PIX_BYTE));
    EXPECT_EQ(0, I_ShiftSharpenArray(nullptr, block, 2, 2, 0.5F, 0.5F, 0.0F, PIX_BYTE));
    EXPECT_THAT(block, testing::ElementsAre(1, 2, 3, 4));
}

TEST_F(LiteralShiftSharpen, AlmostWholeShiftsCopyByTheTruncatedShift)
{
    const int32_t src = byteImage({{10, 20, 30, 40, 50, 60}});
    const int32_t dst = byteImage(6, 1);
    EXPECT_EQ(1, I_ShiftSharpen(src, dst, 2.995F, 0.0F, 1.0F));
    EXPECT_EQ((Row{30, 40, 50, 60, 0, 0}), rowOf(dst, 0));
    EXPECT_EQ(1, I_ShiftSharpen(src, dst, -0.995F, 0.0F, 1.0F));
    EXPECT_EQ((Row{10, 20, 30, 40, 50, 60}), rowOf(dst, 0));
}

// The whole operator on images of every kind: box, shrinking, borders, types.
struct ShiftScene {
    int32_t src;
    int32_t dst;
    VexaBox box;
};

Row blockOf(int32_t im, int32_t type, int32_t cols, int32_t rows)
{
    const bool bytes = type == PIX_BYTE;
    std::vector<uint8_t> raw(static_cast<std::size_t>(cols * rows) * 4);
    I_GetBlockType(0, 0, cols, rows, raw.data(), im, type);
    Row all;
    for (std::size_t i = 0; i < static_cast<std::size_t>(cols * rows); ++i) {
        float value = 0.0F;
        std::memcpy(&value, raw.data() + 4 * i, 4);
        all.push_back(bytes ? raw[i] : double{value});
    }
    return all;
}

void plainShiftImage(const ShiftScene& scene, float dx, float dy, float s)
{
    int32_t W = 0;
    int32_t H = 0;
    I_ImGetSize(&W, &H, nullptr, scene.src);
    const auto ix = static_cast<int32_t>(std::floor(dx));
    const auto iy = static_cast<int32_t>(std::floor(dy));
    const float fx = dx - static_cast<float>(ix);
    const float fy = dy - static_cast<float>(iy);
    const int32_t type =
        std::min(I_ImGetType(scene.src), I_ImGetType(scene.dst)) == PIX_BYTE ? PIX_BYTE : PIX_FLOAT;
    const Row source = blockOf(scene.src, type, W, H);
    const int32_t left = std::max(scene.box.left, -(static_cast<int32_t>(fx + 0.2F) + ix));
    const int32_t top = std::max(scene.box.top, -(static_cast<int32_t>(fy + 0.2F) + iy));
    const int32_t right = std::min(scene.box.right, W - static_cast<int32_t>(fx + 0.8F) - ix - 1);
    const int32_t bottom = std::min(scene.box.bottom, H - static_cast<int32_t>(fy + 0.8F) - iy - 1);
    const int32_t w = right - left + 1;
    const int32_t h = bottom - top + 1;
    if (w < 1 || h < 1)
        return;
    Row block;
    for (int32_t y = 0; y < h + 3; ++y)
        for (int32_t x = 0; x < w + 3; ++x)
            block.push_back(source[static_cast<std::size_t>(std::clamp(iy + top - 1 + y, 0, H - 1) * W +
                                                            std::clamp(ix + left - 1 + x, 0, W - 1))]);
    block = plainShift(block, w + 3, h + 3, fx, fy, s, type == PIX_BYTE);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const double value = block[static_cast<std::size_t>((y + 1) * (w + 3) + x + 1)];
            const auto byte = static_cast<uint8_t>(value);
            const auto number = static_cast<float>(value);
            I_PutBlockType(left + x, top + y, 1, 1,
                           type == PIX_BYTE ? static_cast<const void*>(&byte) : &number, scene.dst, type);
        }
}

TEST_F(LiteralShiftSharpen, AgainstReferenceImages)
{
    const float shifts[] = {0.3F, -0.6F, 1.45F, -7.81F, 0.82F, 0.15F, 20.5F, 0.0F};
    uint32_t seed = 0;
    for (const int32_t srcType : {PIX_BYTE, PIX_WORD, PIX_FLOAT})
        for (const int32_t dstType : {PIX_BYTE, PIX_FLOAT})
            for (const float dx : shifts)
                for (const float dy : {0.4F, -1.9F, 0.0F}) {
                    if (dx == 0.0F && dy == 0.0F)
                        continue;
                    ++seed;
                    const auto open = [&](uint32_t salt, int32_t type, int32_t cols, int32_t rows) {
                        std::mt19937 random(seed * 4 + salt);
                        return image(cols, rows, type, [&](int32_t, int32_t) { return random() & 255; });
                    };
                    std::vector<uint8_t> results[2];
                    for (const bool plain : {true, false}) {
                        const int32_t src = open(1, srcType, 23, 14);
                        const int32_t dst = open(2, dstType, 21, 17);
                        ShiftScene scene = {src, dst, {}};
                        if (seed % 3 != 0)
                            I_SetWindowROI(static_cast<int32_t>(seed % 5), 2, 17,
                                           11 + static_cast<int32_t>(seed % 4));
                        else
                            I_SetROIType(0);
                        I_ROIBoundingBox(&scene.box.left, &scene.box.top, &scene.box.right, &scene.box.bottom,
                                         dst);
                        if (plain)
                            plainShiftImage(scene, dx, dy, 0.7F);
                        else
                            I_ShiftSharpen(src, dst, dx, dy, 0.7F);
                        results[plain] = bytesOf(dst);
                        I_ImCloseAll();
                    }
                    ASSERT_EQ(results[1], results[0])
                        << srcType << " to " << dstType << " by " << dx << ' ' << dy;
                }
}

// Bottom-up images are read in reverse order and continued at the edges that they have then.
TEST_F(LiteralShiftSharpen, InvertedImagesShiftAsTheyAreRead)
{
    const int32_t upright = noiseImage(9, 7, 5);
    const int32_t inverted = noiseImage(9, 7, 5);
    I_ImInvertRows(inverted);
    const int32_t a = byteImage(9, 7);
    const int32_t b = byteImage(9, 7);
    EXPECT_EQ(1, I_ShiftSharpen(upright, a, 0.3F, 0.5F, 1.0F));
    EXPECT_EQ(1, I_ShiftSharpen(inverted, b, 0.3F, 0.5F, 1.0F));
    EXPECT_EQ(rowOf(a, 0), rowOf(b, 0));
    for (int32_t y = 0; y < 6; ++y)
        EXPECT_EQ(rowOf(a, y), rowOf(b, y)) << y;
}

// Images in files have no addresses.
TEST_F(LiteralShiftSharpen, ImagesInFilesShiftAlike)
{
    const int32_t src = noiseImage(13, 9, 3);
    const int32_t dst = noiseImage(13, 9, 4);
    const int32_t srcFile = I_ImOpenFile(13, 9, 0, PIX_BYTE, nullptr);
    const int32_t dstFile = I_ImOpenFile(13, 9, 0, PIX_BYTE, nullptr);
    I_ImageCopy(src, srcFile);
    I_ImageCopy(dst, dstFile);
    I_SetWindowROI(0, 2, 9, 8);
    EXPECT_EQ(1, I_ShiftSharpen(src, dst, 0.3F, -0.6F, 1.0F));
    EXPECT_EQ(1, I_ShiftSharpen(srcFile, dstFile, 0.3F, -0.6F, 1.0F));
    for (int32_t y = 0; y < 9; ++y) {
        std::vector<uint8_t> a(13);
        std::vector<uint8_t> b(13);
        I_GetBlockType(0, y, 13, 1, a.data(), dst, PIX_BYTE);
        I_GetBlockType(0, y, 13, 1, b.data(), dstFile, PIX_BYTE);
        ASSERT_EQ(a, b) << y;
    }
}

TEST_F(LiteralShiftSharpen, FailuresOfI_ShiftSharpen)
{
    const int32_t im = noiseImage(9, 7, 5);
    EXPECT_EQ(0, I_ShiftSharpen(0, im, 0.5F, 0.5F, 0.0F));
    EXPECT_EQ(0, I_ShiftSharpen(im, 0, 0.5F, 0.5F, 0.0F));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ShiftSharpen(-90, im, 0.5F, 0.5F, 0.0F));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    clearError();
    const std::vector<uint8_t> before = bytesOf(im);
    for (const float far : {9.5F, -30.5F, 1e9F, -1e30F, static_cast<float>(NAN), INFINITY}) {
        EXPECT_EQ(0, I_ShiftSharpen(im, im, far, 0.5F, 0.0F)) << far;
        EXPECT_EQ(before, bytesOf(im));
    }
    const int32_t dst = noiseImage(9, 7, 6);
    forEachFailingAllocation([&] { return I_ShiftSharpen(im, dst, 0.5F, 0.5F, 0.0F); },
                             [](int64_t) {
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_THAT(errorText(), testing::HasSubstr("bytes"));
                             });
    std::vector<int16_t> words(12, 3);
    forEachFailingAllocation(
        [&] { return I_ShiftSharpenArray(words.data(), words.data(), 4, 3, 0.5F, 0.5F, 1.0F, PIX_WORD); },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

} // namespace
