#include "support/buffer.h"
#include "tests/operators/arithmetic_reference.h"

namespace
{

using namespace vexa::test;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

class LiteralCopy : public ArithmeticSuite
{
};
class LiteralMask : public ArithmeticSuite
{
};
class BoundsCopy : public ArithmeticSuite
{
};
class FailuresCopy : public ArithmeticSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralCopy, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralMask, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, BoundsCopy, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresCopy, everySet(), setName);

int32_t counting(int32_t cols, int32_t rows, int32_t type = PIX_BYTE)
{
    return image(cols, rows, type, [=](int32_t x, int32_t y) { return (y * cols + x) & 255; });
}
void setBytes(int32_t im, std::initializer_list<uint8_t> bytes)
{
    std::copy(bytes.begin(), bytes.end(), static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, im)));
}

TEST_P(LiteralCopy, RoiOfEveryType)
{
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX,
                               PIX_DCOMPLEX, PIX_BGR16, PIX_BGR24, PIX_RGB32}) {
        const int32_t src = image(9, 7, type, [](int32_t x, int32_t y) { return 3 * x + y; });
        const int32_t dest = image(9, 7, type, [](int32_t, int32_t) { return 77; });
        I_SetWindowROI(2, 1, 5, 4);
        EXPECT_EQ(1, I_CopyROI(src, dest));
        const auto from = bytesOf(src);
        const auto to = bytesOf(dest);
        const auto untouched = bytesOf(image(9, 7, type, [](int32_t, int32_t) { return 77; }));
        const std::size_t bytes = from.size() / 63;
        for (std::size_t i = 0; i < from.size(); ++i) {
            const std::size_t x = i / bytes % 9;
            const std::size_t y = i / bytes / 9;
            ASSERT_EQ(x >= 2 && x <= 5 && y >= 1 && y <= 4 ? from[i] : untouched[i], to[i]) << type;
        }
    }
}

TEST_P(LiteralCopy, RoiRunsInTheNarrowestType)
{
    const int32_t floats = floatsImage(3, 1, {1.25F, 99.75F, 300.0F});
    const int32_t bytes = byteImage(3, 1);
    const int32_t doubles = image(3, 1, PIX_DFLOAT);
    EXPECT_EQ(1, I_CopyROI(floats, bytes));
    EXPECT_THAT(rowOf(bytes, 0), ElementsAre(1, 100, 255));
    EXPECT_EQ(1, I_CopyROI(floats, doubles));
    EXPECT_THAT(rowOf(doubles, 0), ElementsAre(1.25, 99.75, 300.0));
}

TEST_P(LiteralCopy, RoiCopyMovesTheBoxOrTheRuns)
{
    const int32_t src = counting(10, 8);
    for (const bool runs : {false, true}) {
        const int32_t dest = byteImage(10, 8, [](int32_t, int32_t) { return 77; });
        if (runs) {
            const VexaPoint list[] = {{2, 1}, {4, 1}, {2, 2}, {4, 2}};
            ASSERT_EQ(1, I_SetScanlistROI(list, 4));
        } else {
            I_SetWindowROI(2, 1, 4, 2);
        }
        EXPECT_EQ(1, I_ROICopy(src, dest, 3, -1));
        for (int32_t y = 0; y < 8; ++y)
            for (int32_t x = 0; x < 10; ++x) {
                const bool inside = x >= 2 && x <= 4 && y >= 1 && y <= 2;
                ASSERT_EQ(inside ? (y - 1) * 10 + x + 3 : 77, pixel(dest, x, y))
                    << runs << ' ' << x << ' ' << y;
            }
        I_SetROIType(0);
    }
}

TEST_P(LiteralCopy, RoiCopyOntoItself)
{
    const int32_t im = counting(10, 2);
    const auto before = bytesOf(im);
    EXPECT_EQ(1, I_ROICopy(im, im, 0, 0));
    EXPECT_EQ(before, bytesOf(im));
    EXPECT_EQ(1, I_ROICopy(im, im, 1, 0));
    EXPECT_THAT(rowOf(im, 0), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 9));
}

TEST_P(LiteralCopy, BandGoesFromColourToColour)
{
    const int32_t src = image(2, 1, PIX_RGB24);
    setBytes(src, {10, 20, 30, 40, 50, 60});
    struct {
        const char* band;
        std::vector<uint8_t> expected;
    } const cases[] = {{"Red", {7, 7, 10, 7, 7, 40}},  {"g", {7, 20, 7, 7, 50, 7}},
                       {"BLUE", {30, 7, 7, 60, 7, 7}}, {"x", {20, 20, 20, 50, 50, 50}},
                       {"", {20, 20, 20, 50, 50, 50}}, {nullptr, {20, 20, 20, 50, 50, 50}}};
    const int32_t open = I_ImCount();
    for (const auto& c : cases) {
        const int32_t dest = image(2, 1, PIX_BGR24, [](int32_t, int32_t) { return 7; });
        I_SetColorProcMode(3);
        EXPECT_EQ(1, I_CopyBand(src, dest, c.band, 0));
        EXPECT_EQ(c.expected, bytesOf(dest)) << (c.band ? c.band : "null");
        EXPECT_EQ(3, I_GetColorProcMode());
        EXPECT_EQ(-2, I_GetColorBand());
        I_ImClose(dest);
        EXPECT_EQ(open, I_ImCount());
    }
}

TEST_P(LiteralCopy, BandBetweenGreyAndColour)
{
    const int32_t grey = byteImage({{100, 200}});
    const int32_t color = image(2, 1, PIX_RGB24, [](int32_t, int32_t) { return 7; });
    I_SetColorProcMode(1);
    EXPECT_EQ(1, I_CopyBand(grey, color, "blue", 0) != 0);
    EXPECT_EQ(3, I_GetColorProcMode());
}

TEST_P(LiteralCopy, BandMayIgnoreTheRegion)
{
    const int32_t src = image(4, 1, PIX_BGR24, [](int32_t, int32_t) { return 50; });
    I_SetWindowROI(1, 0, 2, 0);
    for (const int32_t ignore : {0, 1}) {
        const int32_t dest = image(4, 1, PIX_BGR24);
        EXPECT_EQ(1, I_CopyBand(src, dest, "green", ignore));
        EXPECT_EQ(ignore ? 50 : 0, bytesOf(dest)[1]);
        EXPECT_EQ(50, bytesOf(dest)[4]);
        EXPECT_EQ(0, bytesOf(dest)[3]);
        EXPECT_EQ(1, I_GetROIType());
    }
}

TEST_P(LiteralMask, OverlayTakesWhatIsNotZero)
{
    const int32_t a = byteImage({{1, 2, 3, 4}});
    const int32_t b = byteImage({{0, 9, 0, 255}});
    const int32_t dest = byteImage(4, 1);
    EXPECT_EQ(1, I_OverlayROI(a, b, dest));
    EXPECT_THAT(rowOf(dest, 0), ElementsAre(1, 9, 3, 255));
    EXPECT_EQ(1, I_OverlayROI(a, b, a));
    EXPECT_THAT(rowOf(a, 0), ElementsAre(1, 9, 3, 255));
    const int32_t words = wordImage(2, 1, [](int32_t, int32_t) { return 5; });
    const int32_t over = wordImage(2, 1, [](int32_t x, int32_t) { return x * 256; });
    EXPECT_EQ(1, I_OverlayROI(words, over, words));
    EXPECT_THAT(rowOf(words, 0), ElementsAre(5, 256));
    const int32_t dwords = image(2, 1, PIX_DWORD, [](int32_t, int32_t) { return 5; });
    const int32_t overDwords = image(2, 1, PIX_DWORD, [](int32_t x, int32_t) { return x * 65536; });
    EXPECT_EQ(1, I_OverlayROI(dwords, overDwords, dwords));
    EXPECT_THAT(rowOf(dwords, 0), ElementsAre(5, 65536));
}

TEST_P(LiteralMask, OverlayOfColourLooksAtTheMiddleByteAlone)
{
    const int32_t a = image(3, 1, PIX_BGR24, [](int32_t, int32_t) { return 7; });
    const int32_t b = image(3, 1, PIX_BGR24);
    setBytes(b, {255, 0, 255, 0, 1, 0, 9, 8, 6});
    EXPECT_EQ(1, I_OverlayROI(a, b, a));
    EXPECT_THAT(bytesOf(a), ElementsAre(7, 7, 7, 0, 1, 0, 9, 8, 6));
}

TEST_P(LiteralMask, OverlayTakesTheNarrowerOfSourceAndResult)
{
    const int32_t a = wordImage(2, 1, [](int32_t, int32_t) { return 5; });
    const int32_t b = byteImage({{0, 9}});
    const int32_t dest = floatImage(2, 1);
    EXPECT_EQ(1, I_OverlayROI(a, b, dest));
    EXPECT_THAT(rowOf(dest, 0), ElementsAre(5.0, 9.0));
    const int32_t doubles = image(2, 1, PIX_DFLOAT, [](int32_t, int32_t) { return 5.0; });
    EXPECT_EQ(1, I_OverlayROI(doubles, b, doubles));
    EXPECT_THAT(rowOf(doubles, 0), ElementsAre(5.0, 9.0));
}

TEST_P(LiteralMask, MaskedCopyByTable)
{
    const int32_t src = columns(256, 2);
    const int32_t mask = byteImage(256, 2, [](int32_t x, int32_t y) { return y == 0 ? x : (x * 37) & 255; });
    const int32_t dest = byteImage(256, 2, [](int32_t, int32_t) { return 77; });
    EXPECT_EQ(1, I_MaskedCopy(src, dest, mask, nullptr));
    EXPECT_EQ(expectedBytes(256, 2,
                            [](int32_t x, int32_t y) { return (y == 0 ? x : (x * 37) & 255) != 0 ? x : 77; }),
              bytesOf(dest));
    uint8_t table[256] = {};
    for (int32_t i = 0; i < 256; i += 3)
        table[i] = static_cast<uint8_t>(1 + i / 2);
    I_ImClear(dest, 77.0);
    EXPECT_EQ(1, I_MaskedCopy(src, dest, mask, table));
    EXPECT_EQ(
        expectedBytes(256, 2,
                      [](int32_t x, int32_t y) { return (y == 0 ? x : (x * 37) & 255) % 3 == 0 ? x : 77; }),
        bytesOf(dest));
}

TEST_P(LiteralMask, MaskedCopyIntoColourConvertsItsSources)
{
    const int32_t src = byteImage({{10, 20}});
    const int32_t mask = byteImage({{0, 1}});
    const int32_t dest = image(2, 1, PIX_RGB24, [](int32_t, int32_t) { return 77; });
    const Messages messages;
    EXPECT_EQ(1, I_MaskedCopy(src, dest, mask, nullptr));
    EXPECT_THAT(messages.all(), ElementsAre("I_MaskedCopy: imSrc or imMask were Byte: converted to BGR"));
    EXPECT_EQ(PIX_RGB24, I_ImGetType(src));
    EXPECT_EQ(PIX_RGB24, I_ImGetType(mask));
    EXPECT_THAT(bytesOf(dest), ElementsAre(77, 77, 77, 20, 20, 20));
    // Colour throughout: nothing to convert, each byte masks its own.
    setBytes(mask, {1, 0, 1, 0, 0, 0});
    EXPECT_EQ(1, I_MaskedCopy(src, dest, mask, nullptr));
    EXPECT_EQ(1U, messages.all().size());
    EXPECT_THAT(bytesOf(dest), ElementsAre(10, 77, 10, 20, 20, 20));
}

TEST_P(LiteralMask, MaskFromColourCountsWhatIsNear)
{
    const int32_t src = image(4, 1, PIX_RGB24);
    setBytes(src, {10, 20, 30, 12, 19, 30, 13, 20, 31, 10, 24, 30});
    const int32_t dest = image(4, 1, PIX_RGB24);
    const int32_t color = 10 | 20 << 8 | 30 << 16;
    EXPECT_EQ(2, I_MaskFromColor(src, dest, color, 3, 0x030201));
    EXPECT_THAT(bytesOf(dest), ElementsAre(1, 2, 3, 1, 2, 3, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(4, I_MaskFromColor(src, dest, color | 0x55000000, 4, -1));
    EXPECT_THAT(bytesOf(dest), Each(255));
    EXPECT_EQ(1, I_MaskFromColor(src, dest, color, 0, 0));
    EXPECT_EQ(0, I_MaskFromColor(src, dest, color, -1, -1));
    EXPECT_THAT(bytesOf(dest), Each(0));
    // Any other type is looked at as blue, green, red.
    const int32_t grey = byteImage({{5, 6}});
    EXPECT_EQ(1, I_MaskFromColor(grey, grey, 0x050505, 2, 0x646464));
    EXPECT_THAT(rowOf(grey, 0), ElementsAre(100, 0));
}

TEST_P(LiteralMask, MaxRgbTakesTheLargestOrTheFarthestFrom128)
{
    const int32_t src = image(4, 1, PIX_BGR24);
    setBytes(src, {10, 20, 30, 200, 128, 100, 118, 138, 120, 130, 126, 140});
    const int32_t dest = image(4, 1, PIX_BGR24);
    EXPECT_EQ(1, I_MaxRGB(src, dest));
    EXPECT_THAT(bytesOf(dest), ElementsAre(30, 30, 30, 200, 200, 200, 138, 138, 138, 140, 140, 140));
    for (const int32_t mode : {3, 4}) {
        I_SetClipMode(mode);
        EXPECT_EQ(1, I_MaxRGB(src, dest));
        // Of equals the earlier band wins.
        EXPECT_THAT(bytesOf(dest), ElementsAre(10, 10, 10, 200, 200, 200, 118, 118, 118, 140, 140, 140));
    }
    const int32_t rgb = image(1, 1, PIX_RGB24);
    setBytes(rgb, {1, 9, 4});
    I_SetClipMode(1);
    EXPECT_EQ(1, I_MaxRGB(rgb, rgb));
    EXPECT_THAT(bytesOf(rgb), Each(9));
}

TEST_P(LiteralMask, MaxRgbOfGreyIsACopy)
{
    const int32_t src = counting(5, 2);
    const int32_t dest = byteImage(5, 2);
    EXPECT_EQ(1, I_MaxRGB(src, src));
    EXPECT_EQ(1, I_MaxRGB(src, dest));
    EXPECT_EQ(bytesOf(src), bytesOf(dest));
}

TEST_P(BoundsCopy, OverlappingSubimagesCopyAsIfFromACopy)
{
    const int32_t parent = counting(100, 1);
    const int32_t from = I_ImOpenSubimage(0, 0, 60, 1, parent);
    const int32_t to = I_ImOpenSubimage(7, 0, 60, 1, parent);
    EXPECT_EQ(1, I_CopyROI(from, to));
    for (int32_t x = 7; x < 67; ++x)
        EXPECT_EQ(x - 7, pixel(parent, x, 0));
    closeImages({from, to});
}

TEST_P(BoundsCopy, ASubimageBelowItselfIsCopiedRowByRow)
{
    // Rows without a gap: what one row has received, the next one hands on.
    const int32_t parent = counting(16, 8);
    const int32_t from = I_ImOpenSubimage(0, 0, 16, 6, parent);
    const int32_t to = I_ImOpenSubimage(0, 2, 16, 6, parent);
    EXPECT_EQ(1, I_CopyROI(from, to));
    EXPECT_EQ(expectedBytes(16, 8, [](int32_t x, int32_t y) { return y % 2 * 16 + x; }), bytesOf(parent));
    closeImages({from, to});
}

TEST_P(BoundsCopy, LargeImagesAtOddPlaces)
{
    const int32_t src = byteImage(4001, 2300);
    const int32_t dest = byteImage(4001, 2300);
    for (int32_t y = 0; y < 2300; ++y) {
        auto* row = static_cast<uint8_t*>(I_ImGetPtr(0, y, nullptr, nullptr, src));
        for (int32_t x = 0; x < 4001; ++x)
            row[x] = static_cast<uint8_t>(x * 3 + y);
    }
    I_SetWindowROI(1, 1, 3990, 2290);
    EXPECT_EQ(1, I_CopyROI(src, dest));
    for (int32_t y = 0; y < 2300; y += y < 3 ? 1 : 57) {
        const auto* row = static_cast<const uint8_t*>(I_ImGetPtr(0, y, nullptr, nullptr, dest));
        for (int32_t x = 0; x < 4001; ++x)
            ASSERT_EQ(x >= 1 && x <= 3990 && y >= 1 && y <= 2290 ? static_cast<uint8_t>(x * 3 + y) : 0,
                      row[x]);
    }
}

TEST_P(BoundsCopy, RoiCopyAtExtremeOffsets)
{
    const int32_t src = counting(10, 8);
    const int32_t dest = byteImage(10, 8, [](int32_t, int32_t) { return 77; });
    for (const int32_t offset : {INT32_MIN, -1000, 1000, INT32_MAX}) {
        I_ROICopy(src, dest, offset, 0);
        I_ROICopy(src, dest, 0, offset);
        const VexaPoint list[] = {{2, 1}, {4, 1}};
        ASSERT_EQ(1, I_SetScanlistROI(list, 2));
        I_ROICopy(src, dest, offset, offset);
        I_SetROIType(0);
    }
    EXPECT_THAT(bytesOf(dest), Each(77));
}

TEST_P(FailuresCopy, ImagesThatAreNotOpen)
{
    const int32_t im = byteImage(4, 4, [](int32_t, int32_t) { return 5; });
    const Messages messages;
    for (const int32_t bad : {0, -90, 12}) {
        EXPECT_EQ(0, I_CopyROI(bad, im)) << bad;
        EXPECT_EQ(0, I_ROICopy(bad, im, 1, 0)) << bad;
        EXPECT_EQ(0, I_ROICopy(im, bad, 1, 0)) << bad;
        EXPECT_EQ(0, I_CopyBand(bad, im, "r", 0)) << bad;
        EXPECT_EQ(0, I_CopyBand(im, bad, "r", 1)) << bad;
        EXPECT_EQ(0, I_MaskFromColor(bad, im, 0, 0, 1)) << bad;
        EXPECT_EQ(0, I_MaxRGB(bad, im)) << bad;
        EXPECT_EQ(0, I_MaxRGB(bad, bad)) << bad;
    }
    EXPECT_EQ(0, I_CopyROI(im, -90));
    EXPECT_EQ(0, I_OverlayROI(-90, im, im));
    EXPECT_EQ(0, I_OverlayROI(im, im, -90));
    EXPECT_EQ(0, I_MaskedCopy(-90, im, im, nullptr));
    EXPECT_EQ(0, I_MaskedCopy(im, -90, im, nullptr));
    EXPECT_EQ(0, I_MaskFromColor(im, -90, 0, 0, 1));
    EXPECT_THAT(bytesOf(im), Each(5));
    EXPECT_EQ(0, I_GetROIType());
}

TEST_P(FailuresCopy, NoMemory)
{
    const int32_t bytes = byteImage(10, 4);
    const int32_t floats = floatImage(10, 4);
    const int32_t color = image(10, 4, PIX_BGR24);
    const Messages messages;
    const auto run = [&](const std::function<int64_t()>& call) {
        forEachFailingAllocation(call, [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
        vexa::failAllocation(1, false);
        EXPECT_EQ(0, call());
        vexa::failAllocation(0, false);
    };
    run([&] { return I_CopyROI(floats, bytes); });
    run([&] { return I_OverlayROI(floats, bytes, bytes); });
    run([&] { return I_MaskedCopy(floats, bytes, bytes, nullptr); });
    run([&] { return I_MaskFromColor(bytes, color, 0, 0, 1); });
    run([&] { return I_MaxRGB(color, bytes); });
    // The extracted band is closed on every way out.
    const int32_t open = I_ImCount();
    for (int64_t n = 1; n < 8; ++n)
        for (const bool persistent : {false, true}) {
            vexa::failAllocation(n, persistent);
            I_CopyBand(color, color, "g", 1);
            vexa::failAllocation(0, false);
            EXPECT_EQ(open, I_ImCount());
            EXPECT_EQ(-2, I_GetColorBand());
        }
}

} // namespace
