// Windows of open files, plain and scaled; borders, files cut short, failures.
#include "tests/fileio/tiff_files.h"
#include "vexalib/raw_file.h"

namespace vexa::test
{
namespace
{

using TiffWindows = TiffFiles;

// The picture in plain arithmetic, from a file of cols by rows level() bytes.
TEST_F(TiffWindows, AgainstReferenceScaledReads)
{
    constexpr int32_t cols = 40, rows = 30;
    struct {
        int32_t left, top, right, bottom, dstLeft, dstTop, dstRight, dstBottom;
    } const cases[] = {{0, 0, 39, 29, 0, 0, 19, 14},    {0, 0, 39, 29, 0, 0, 39, 29},
                       {0, 0, 39, 29, 5, 4, 44, 33},    {3, 2, 20, 21, 1, 2, 60, 50},
                       {3, 2, 100, 100, 0, 0, 6, 6},    {10, 10, 10, 10, 0, 0, 30, 30},
                       {0, 0, 39, 29, -10, -7, 29, 22}, {5, 5, 30, 25, 40, 30, 90, 80},
                       {0, 0, 39, 29, 0, 0, 12, 28},    {1, 1, 39, 29, 0, 0, 38, 28}};
    for (const int32_t samples : {1, 3}) {
        Bytes pixels;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x)
                for (int32_t s = 0; s < samples; ++s)
                    pixels.push_back(static_cast<uint8_t>(level(x, y) + 50 * s));
        file.write(pixels);
        I_SetTiffColorModes(0, samples == 3, 0);
        for (const auto& c : cases) {
            const int32_t im = I_ImOpen(50, 40, samples == 3 ? PIX_RGB24 : PIX_BYTE);
            FILE* in = std::fopen(file.name(), "rb");
            EXPECT_EQ(1, I_ReadTiffWindowScaled(in, cols, rows, c.left, c.top, c.right, c.bottom, c.dstLeft,
                                                c.dstTop, c.dstRight, c.dstBottom, im))
                << errorText();
            std::fclose(in);
            const int64_t right = std::min(c.right, cols - 1), bottom = std::min(c.bottom, rows - 1);
            const int64_t stepX = ((right - c.left + 1) << 16) / (c.dstRight - c.dstLeft + 1);
            const int64_t stepY = ((bottom - c.top + 1) << 16) / (c.dstBottom - c.dstTop + 1);
            const Bytes got = bytesOf(im);
            for (int32_t y = 0; y < 40; ++y)
                for (int32_t x = 0; x < 50; ++x)
                    for (int32_t s = 0; s < samples; ++s) {
                        const bool inside =
                            x >= c.dstLeft && x <= c.dstRight && y >= c.dstTop && y <= c.dstBottom;
                        const auto fromX = static_cast<int32_t>(c.left + ((x - c.dstLeft) * stepX >> 16));
                        const auto fromY = static_cast<int32_t>(c.top + ((y - c.dstTop) * stepY >> 16));
                        const int32_t expected = inside ? (level(fromX, fromY) + 50 * s) % 256 : 0;
                        ASSERT_EQ(expected, got[static_cast<std::size_t>((50 * y + x) * samples + s)])
                            << x << ' ' << y << " of case " << (&c - cases);
                    }
            I_ImClose(im);
        }
    }
}

TEST_F(TiffWindows, FailuresOfScaledReads)
{
    const int32_t im = byteImage(10, 10);
    file.write(Bytes(95, 3));
    FILE* in = std::fopen(file.name(), "rb");
    EXPECT_EQ(0, I_ReadTiffWindowScaled(nullptr, 10, 10, 0, 0, 9, 9, 0, 0, 4, 4, im));
    EXPECT_EQ(0, I_ReadTiffWindowScaled(in, 10, 10, 5, 0, 4, 9, 0, 0, 4, 4, im));
    EXPECT_EQ(0, I_ReadTiffWindowScaled(in, 10, 10, 0, 0, 9, 9, 0, 3, 4, 2, im));
    EXPECT_EQ(0, I_ReadTiffWindowScaled(in, 10, 10, 10, 0, 20, 9, 0, 0, 4, 4, im));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ReadTiffWindowScaled(in, 10, 10, 0, 0, 9, 9, 0, 0, 4, 9, im))
        << "the last row is cut short";
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("len=5, should be 10", errorText());
    EXPECT_EQ(3, pixel(im, 4, 8)) << "the rows that arrived are there";
    std::rewind(in);
    clearError();
    EXPECT_EQ(0,
              I_ReadTiffWindowScaled(in, INT32_MAX, INT32_MAX, 0, 0, INT32_MAX, INT32_MAX, 0, 0, 9, 9, im));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ReadTiffWindowScaled(in, 10, 10, 0, 0, 9, 9, 0, 0, 4, 4, 99));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    forEachFailingAllocation(
        [&] {
            std::rewind(in);
            return I_ReadTiffWindowScaled(in, 10, 10, 0, 0, 9, 4, 0, 0, 4, 4, im);
        },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_THAT(errorText(),
                        testing::HasSubstr("Memory allocation failed: I_ReadTiffWindowscaled: "));
        });
    std::fclose(in);
    I_ImClose(im);
}

TEST_F(TiffWindows, BoundsWindowsAtEveryBorder)
{
    Bytes pixels(12);
    for (std::size_t i = 0; i < 12; ++i)
        pixels[i] = static_cast<uint8_t>(i + 1);
    file.write(pixels);
    for (int32_t y = -4; y < 5; ++y)
        for (int32_t x = -5; x < 6; ++x) {
            const int32_t im = byteImage(5, 4);
            FILE* in = std::fopen(file.name(), "rb");
            EXPECT_EQ(1, I_ReadTiffWindow(in, x, y, 4, 3, im)) << errorText();
            EXPECT_EQ(12, std::ftell(in)) << "all is read, whatever of it can be put";
            std::fclose(in);
            for (int32_t v = 0; v < 4; ++v)
                for (int32_t u = 0; u < 5; ++u) {
                    const bool inside = u >= x && u < x + 4 && v >= y && v < y + 3;
                    ASSERT_EQ(inside ? 4 * (v - y) + u - x + 1 : 0, pixel(im, u, v)) << x << ' ' << y;
                }
            I_ImClose(im);
        }
    const int32_t im = byteImage(3, 2, [](int32_t x, int32_t y) { return 10 * y + x + 1; });
    for (int32_t y = -3; y < 4; ++y)
        for (int32_t x = -3; x < 5; ++x) {
            FILE* out = std::fopen(file.name(), "w+b");
            EXPECT_EQ(1, I_WriteTiffWindow(out, x, y, 4, 3, im));
            std::fclose(out);
            const Bytes written = bytesOfFile(file.name());
            ASSERT_EQ(12U, written.size());
            for (int32_t v = 0; v < 3; ++v)
                for (int32_t u = 0; u < 4; ++u) {
                    const int32_t fx = x + u, fy = y + v;
                    const bool inside = fx >= 0 && fx < 3 && fy >= 0 && fy < 2;
                    ASSERT_EQ(inside ? 10 * fy + fx + 1 : 0, written[static_cast<std::size_t>(4 * v + u)])
                        << x << ' ' << y;
                }
        }
    I_ImClose(im);
}

TEST_F(TiffWindows, BoundsThePictureIsPulledBackIntoTheImage)
{
    const int32_t part = byteImage(4, 3, [](int32_t x, int32_t y) { return 10 * y + x + 1; });
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, part));
    struct {
        int32_t x, y, atX, atY;
    } const cases[] = {{0, 0, 0, 0},     {2, 1, 2, 1},   {4, 3, 3, 2},
                       {100, 100, 3, 2}, {-5, -5, 0, 0}, {INT32_MAX, INT32_MIN, 3, 0}};
    for (const auto& c : cases) {
        const int32_t im = byteImage(7, 5);
        ASSERT_EQ(1, I_ReadTiffFile(file.name(), c.x, c.y, nullptr, nullptr, im)) << errorText();
        for (int32_t v = 0; v < 5; ++v)
            for (int32_t u = 0; u < 7; ++u) {
                const bool inside = u >= c.atX && u < c.atX + 4 && v >= c.atY && v < c.atY + 3;
                ASSERT_EQ(inside ? 10 * (v - c.atY) + u - c.atX + 1 : 0, pixel(im, u, v));
            }
        I_ImClose(im);
    }
    const int32_t small = byteImage(2, 2);
    ASSERT_EQ(1, I_ReadTiffFile(file.name(), 1, 1, nullptr, nullptr, small));
    EXPECT_EQ((Bytes{1, 2, 11, 12}), bytesOf(small)) << "the upper left part of a larger picture";
    closeImages({part, small});
}

TEST_F(TiffWindows, BoundsTruncatedPixels)
{
    Bytes bytes = tiffBytes({{256, 3, 1, 4}, {257, 3, 1, 3}, {273, 4, 1, tiffBase(3)}}, {1, 2, 3, 4, 5, 6});
    file.write(bytes);
    const int32_t im = byteImage(4, 3, [](int32_t, int32_t) { return 99; });
    EXPECT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, nullptr, nullptr, im));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("filegetblock1(0 0 4 3)", errorText());
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0}), bytesOf(im));
    const int32_t whole = I_ReadImageFile(file.name());
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("len=6, should be 12", errorText());
    EXPECT_EQ(bytesOf(im), bytesOf(whole));
    I_ImClose(whole);
    FILE* in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    I_ImClear(im, 99);
    EXPECT_EQ(0, I_ReadTiffWindow(in, 0, 0, 4, 3, im));
    EXPECT_EQ("len=6, should be 12", errorText());
    EXPECT_EQ((Bytes{1, 2, 3, 4, 99, 99, 99, 99, 99, 99, 99, 99}), bytesOf(im)) << "whole rows only";
    EXPECT_EQ(0, I_ReadTiffWindow(in, 0, 0, 4, 3, im));
    EXPECT_EQ("len=0, should be 12", errorText());
    std::fclose(in);
    I_ImClose(im);
}

TEST_F(TiffWindows, BoundsNoAllocationBeyondWhatTheFileBearsOut)
{
    file.write(tiffBytes(
        {{256, 3, 1, 32767}, {257, 3, 1, 32767}, {262, 3, 1, 2}, {273, 4, 1, 8}, {277, 3, 1, 3}}, {}));
    failAllocation(0, false);
    EXPECT_EQ(0, I_ReadImageFile(file.name()));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ(0, allocationState().attempts);
    const int32_t im = byteImage(5, 5);
    FILE* in = std::fopen(file.name(), "rb");
    const int64_t before = allocationState().liveBytes;
    EXPECT_EQ(0, I_ReadTiffWindow(in, 0, 0, 2000000, 2000000, im));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ReadTiffWindow(in, 0, 0, INT32_MAX, INT32_MAX, im));
    EXPECT_EQ(before, allocationState().liveBytes);
    std::fclose(in);
    I_ImClose(im);
}

TEST_F(TiffWindows, BoundsLargeImagesGoInPieces)
{
    const int32_t im = I_ImOpen(1001, 700, PIX_BGR24);
    auto* const pixels = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, im));
    for (int32_t i = 0; i < I_ImGetStride(im) * 700; ++i)
        pixels[i] = static_cast<uint8_t>(i * 31 >> 3);
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    const int32_t whole = I_ReadImageFile(file.name());
    ASSERT_NE(0, whole) << errorText();
    EXPECT_EQ(PIX_RGB24, I_ImGetType(whole));
    const int32_t back = I_ImOpen(1001, 700, PIX_BGR24);
    ASSERT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, nullptr, nullptr, back));
    EXPECT_TRUE(bytesOf(im) == bytesOf(back));
    I_ImageCopy(whole, back);
    EXPECT_TRUE(bytesOf(im) == bytesOf(back));
    const int32_t window = I_ImOpen(1001, 700, PIX_BGR24);
    FILE* in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(1, I_ReadTiffWindow(in, 0, 0, 1001, 700, window));
    std::fclose(in);
    EXPECT_TRUE(bytesOf(im) == bytesOf(window));
    closeImages({im, whole, back, window});
}

TEST_F(TiffWindows, FailuresOfFilesThatDoNotOpen)
{
    const int32_t im = byteImage(4, 4);
    EXPECT_EQ(0, I_ReadTiffFile("/no/such/folder/a.tif", 0, 0, nullptr, nullptr, im));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/folder/a.tif).", errorText());
    EXPECT_EQ(0, I_WriteTiffFile("/no/such/folder/a.tif", 0, 0, 0, 0, im));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/folder/a.tif)", errorText());
    EXPECT_EQ(0, I_ReadTiffFile(nullptr, 0, 0, nullptr, nullptr, im));
    EXPECT_EQ(0, I_WriteTiffFile(nullptr, 0, 0, 0, 0, im));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_WriteTiffWindow(nullptr, 0, 0, 2, 2, im));
    EXPECT_EQ(0, I_ReadTiffWindow(nullptr, 0, 0, 2, 2, im));
    I_ImClose(im);
}

TEST_F(TiffWindows, FailuresOfBadImages)
{
    EXPECT_EQ(0, I_WriteTiffFile(file.name(), 0, 0, 0, 0, 7));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_TRUE(bytesOfFile(file.name()).empty()) << "no file comes about";
    EXPECT_EQ(0, I_WriteTiffFile(file.name(), 0, 0, 0, 0, 0));
    file.write(tiffBytes({{256, 3, 1, 4}, {257, 3, 1, 3}, {273, 4, 1, 8}}, Bytes(12)));
    int32_t cols = 0;
    clearError();
    EXPECT_EQ(0, I_ReadTiffFile(file.name(), 0, 0, &cols, nullptr, 7));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(4, cols);
    FILE* in = std::fopen(file.name(), "rb");
    EXPECT_EQ(0, I_ReadTiffWindow(in, 0, 0, 2, 2, 7));
    EXPECT_EQ(0, I_WriteTiffWindow(in, 0, 0, 2, 2, 7));
    const int32_t im = byteImage(4, 4);
    for (const auto& [width, height] : {std::pair{0, 2}, {2, 0}, {-1, 2}, {2, -1}}) {
        clearError();
        EXPECT_EQ(0, I_ReadTiffWindow(in, 0, 0, width, height, im));
        EXPECT_EQ(46, I_GetError(nullptr, 0));
        clearError();
        EXPECT_EQ(0, I_WriteTiffWindow(in, 0, 0, width, height, im));
        EXPECT_EQ("I_MakeRowBuffer(" + std::to_string(width) + "," + std::to_string(height) + ",0)",
                  errorText());
    }
    EXPECT_EQ(0, I_WriteTiffWindow(in, 1, 0, 2, 2, im)) << "opened for reading";
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ("disk full.", errorText());
    std::fclose(in);
    I_ImClose(im);
}

TEST_F(TiffWindows, FailuresOfDevicesThatAreFull)
{
    FILE* full = std::fopen("/dev/full", "wb");
    if (!full)
        GTEST_SKIP() << "no device that is full";
    std::fclose(full);
    const int32_t im = byteImage(64, 64);
    EXPECT_EQ(0, I_WriteTiffFile("/dev/full", 0, 0, 0, 0, im));
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ("(/dev/full).", errorText());
    I_ImClose(im);
}

TEST_F(TiffWindows, FailuresOfAllocations)
{
    const int32_t color = I_ImOpen(31, 12, PIX_BGR15);
    const int32_t bytes = byteImage(30, 20);
    std::remove(file.name());
    forEachFailingAllocation([&] { return I_WriteTiffFile(file.name(), 0, 0, 0, 0, color); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
    forEachFailingAllocation([&] { return I_ReadTiffFile(file.name(), 0, 0, nullptr, nullptr, bytes); },
                             [](int64_t) { EXPECT_EQ(2, I_ImCount()); });
    forEachFailingAllocation(
        [&] {
            FILE* in =
                I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
            const int32_t result = I_ReadTiffWindow(in, 0, 0, 31, 12, color);
            std::fclose(in);
            return result;
        },
        [](int64_t result) { EXPECT_EQ(0, result); });
    closeImages({color, bytes});
}

} // namespace
} // namespace vexa::test
