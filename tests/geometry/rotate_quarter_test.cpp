#include "vexalib/rotate.h"

#include "support/instruction_set.h"
#include "tests/geometry/raw_pixels.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/scale.h"

using namespace vexa::test;

namespace
{

struct Place {
    int64_t x;
    int64_t y;
};

// Where the result's pixel (c, r) comes from in a source of W by H pixels.
Place sourceOf(int32_t code, int64_t c, int64_t r, int64_t W, int64_t H)
{
    const Place byCode[] = {
        {c, r},         {W - 1 - r, H - 1 - c}, {W - 1 - r, c}, {r, H - 1 - c}, {W - 1 - c, H - 1 - r},
        {W - 1 - c, r}, {c, H - 1 - r},         {r, c}};
    return byCode[code];
}

// Tiles in plain loops, from a source that nothing is written into.
class PlainTurn
{
public:
    PlainTurn(const Raw& source, const Raw& dest, int32_t code, VexaBox box)
        : source_(source), dest_(dest), code_(code), box_(box)
    {
        const int64_t W = source.cols;
        const int64_t H = source.rows;
        const bool swap = code < 4;
        box_.right = static_cast<int32_t>(
            std::min<int64_t>(box_.right, box_.left + (swap ? H - box_.top : W - box_.left) - 1));
        box_.bottom = static_cast<int32_t>(
            std::min<int64_t>(box_.bottom, box_.top + (swap ? W - box_.left : H - box_.top) - 1));
        const int64_t w = box_.right - box_.left + 1;
        const int64_t h = box_.bottom - box_.top + 1;
        int64_t s = 255; // the square root of 65280, truncated
        const int64_t q = 65280 / h;
        if (w < std::max(q, s))
            s = w;
        else if (q > s)
            s = q;
        side_ = std::min({h, 65280 / s, s});
    }

    int64_t side() const { return side_; }

    // stored: whether the tile's pixel at (x, y) of the image is stored.
    Raw run(const std::function<bool(int64_t, int64_t)>& stored = {})
    {
        std::vector<uint8_t> block(static_cast<std::size_t>(side_ * side_ * source_.bytes));
        for (int64_t y = box_.top; y < box_.bottom; y += side_)
            for (int64_t x = box_.left; x < box_.right; x += side_)
                tile(x, y, block, stored);
        return dest_;
    }

private:
    void tile(int64_t x, int64_t y, std::vector<uint8_t>& block,
              const std::function<bool(int64_t, int64_t)>& stored)
    {
        const int64_t tw = std::min<int64_t>(side_, box_.right - x + 1);
        const int64_t th = std::min<int64_t>(side_, box_.bottom - y + 1);
        const int64_t fromRight = box_.right - tw - x + 1;
        const int64_t fromBottom = box_.bottom - th - y + 1;
        const Place corners[] = {{0, 0},
                                 {fromBottom, fromRight},
                                 {fromBottom, x - box_.left},
                                 {y - box_.top, fromRight},
                                 {fromRight, fromBottom},
                                 {fromRight, y - box_.top},
                                 {x - box_.left, fromBottom},
                                 {y - box_.top, x - box_.left}};
        const bool swap = code_ < 4;
        read(box_.left + corners[code_].x, box_.top + corners[code_].y, swap ? th : tw, swap ? tw : th,
             block);
        for (int64_t r = 0; r < th; ++r)
            for (int64_t c = 0; c < tw; ++c) {
                const int64_t index[] = {0,
                                         (tw - c) * th - r - 1,
                                         c * th + th - r - 1,
                                         (tw - 1 - c) * th + r,
                                         (th - r) * tw - c - 1,
                                         r * tw + tw - 1 - c,
                                         (th - r - 1) * tw + c,
                                         c * th + r};
                if (!stored || stored(x + c, y + r))
                    std::memcpy(dest_.at(x + c, y + r), block.data() + index[code_] * source_.bytes,
                                static_cast<std::size_t>(source_.bytes));
            }
    }

    // Pixels outside the source leave the block as it was.
    void read(int64_t x, int64_t y, int64_t w, int64_t h, std::vector<uint8_t>& block) const
    {
        for (int64_t r = 0; r < h; ++r)
            for (int64_t c = 0; c < w; ++c)
                if (x + c < source_.cols && y + r < source_.rows)
                    std::memcpy(block.data() + (r * w + c) * source_.bytes, source_.at(x + c, y + r),
                                static_cast<std::size_t>(source_.bytes));
    }

    Raw source_;
    Raw dest_;
    int32_t code_;
    VexaBox box_;
    int64_t side_;
};

VexaBox whole(int32_t im)
{
    const Raw raw(im);
    return {0, 0, raw.cols - 1, raw.rows - 1};
}

class Quarter : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override { I_SetROIType(0); }
    static void check(int32_t src, int32_t dest, int32_t code, const VexaBox& box,
                      const std::function<bool(int64_t, int64_t)>& stored = {})
    {
        const Raw expected = PlainTurn(Raw(src), Raw(dest), code, box).run(stored);
        ASSERT_EQ(1, I_Rotate90(src, dest, code)) << code;
        const Raw found(dest);
        const auto differs =
            std::mismatch(expected.data.begin(), expected.data.end(), found.data.begin()).first;
        const auto at = (differs - expected.data.begin()) / found.bytes;
        ASSERT_EQ(expected.data.end(), differs)
            << "code " << code << " at " << at % found.cols << ", " << at / found.cols;
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Quarter, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(Quarter, LiteralEveryCodeMovesEachPixelAsTold)
{
    // Sizes of one tile, and of several with a remainder.
    const int32_t sizes[][2] = {{2, 2}, {5, 3}, {16, 16}, {17, 40}, {64, 64}, {100, 77}, {300, 260}};
    for (const auto& [W, H] : sizes)
        for (int32_t code = 1; code < 7; ++code) {
            const int32_t src = noise(W, H, PIX_BYTE, 3);
            const int32_t dest = code < 4 ? byteImage(H, W) : byteImage(W, H);
            ASSERT_EQ(1, I_Rotate90(src, dest, code));
            const Raw from(src);
            const Raw to(dest);
            Raw expected(dest);
            for (int32_t y = 0; y < to.rows; ++y)
                for (int32_t x = 0; x < to.cols; ++x) {
                    const Place place = sourceOf(code, x, y, W, H);
                    *expected.at(x, y) = *from.at(place.x, place.y);
                }
            ASSERT_TRUE(expected.data == to.data) << W << " x " << H << ", code " << code;
            closeImages({src, dest});
        }
}

TEST_P(Quarter, LiteralDiagonalMirrorOfASquareBelowTheTileIsExact)
{
    for (const int32_t n : {2, 15, 16, 17, 63, 64, 100, 255}) {
        const int32_t src = noise(n, n, PIX_BYTE, 4);
        const int32_t dest = byteImage(n, n);
        EXPECT_EQ(1, I_DiagMirror(src, dest));
        for (int32_t y = 0; y < n; ++y)
            for (int32_t x = 0; x < n; ++x)
                ASSERT_EQ(pixel(src, y, x), pixel(dest, x, y)) << n;
        closeImages({src, dest});
    }
}

TEST_P(Quarter, AgainstReferenceSizesAroundTheTile)
{
    const int32_t sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {2, 300}, {300, 2}, {256, 256}, {130, 270}};
    for (const auto& [W, H] : sizes)
        for (int32_t code = 1; code <= 7; ++code) {
            const int32_t src = noise(W, H, PIX_BYTE, 5);
            const bool square = code > 3 && code < 7;
            const int32_t dest = square ? noise(W, H, PIX_BYTE, 6) : noise(H, W, PIX_BYTE, 7);
            check(src, dest, code, whole(dest));
            closeImages({src, dest});
        }
    // Codes that exchange the sides, into an image of the same size, and the other way round.
    for (const int32_t code : {1, 2, 3, 6, 7}) {
        const int32_t src = noise(130, 270, PIX_BYTE, 8);
        const int32_t dest = code == 6 ? noise(270, 130, PIX_BYTE, 9) : noise(130, 270, PIX_BYTE, 9);
        check(src, dest, code, whole(dest));
        closeImages({src, dest});
    }
}

TEST_P(Quarter, LiteralARemainderOfOneRowOrColumnIsLeftAlone)
{
    const int32_t src = noise(256, 256, PIX_BYTE, 8);
    const int32_t dest = byteImage(256, 256, [](int32_t, int32_t) { return 99; });
    EXPECT_EQ(1, I_Rotate90(src, dest, 180));
    for (int32_t i = 0; i < 256; ++i) {
        ASSERT_EQ(99, pixel(dest, i, 255));
        ASSERT_EQ(99, pixel(dest, 255, i));
    }
    EXPECT_EQ(pixel(src, 1, 1), pixel(dest, 254, 254));
    const int32_t row = byteImage({{1, 2, 3}});
    EXPECT_EQ(1, I_HorizMirror(row, row));
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3}), bytesOf(row));
    closeImages({src, dest, row});
}

TEST_P(Quarter, AgainstReferenceEveryType)
{
    for (const int32_t type :
         {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX, PIX_DCOMPLEX, PIX_PALETTE,
          PIX_BGR15, PIX_BGR16, PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_RGB32, PIX_PLANAR})
        for (int32_t code = 1; code <= 7; ++code) {
            const int32_t src = noise(70, 41, type, 9);
            const int32_t dest = noise(66, 70, type, 10);
            check(src, dest, code, whole(dest));
            closeImages({src, dest});
        }
}

TEST_P(Quarter, AgainstReferenceWindowsAndImagesOfOtherSizes)
{
    const VexaBox boxes[] = {
        {3, 5, 50, 40}, {0, 0, 299, 1}, {100, 20, 100, 90}, {60, 61, 320, 265}, {10, 0, 11, 269}};
    for (const VexaBox& box : boxes)
        for (int32_t code = 1; code <= 7; ++code) {
            const int32_t src = noise(310, 260, PIX_BYTE, 11);
            const int32_t dest = noise(330, 270, PIX_BYTE, 12);
            I_SetWindowROI(box.left, box.top, box.right, box.bottom);
            check(src, dest, code, box);
            closeImages({src, dest});
        }
}

TEST_P(Quarter, LiteralAPolygonKeepsItsRunsAndAScanListItsBox)
{
    const int32_t src = noise(90, 80, PIX_BYTE, 13);
    const VexaPoint triangle[] = {{10, 5}, {70, 30}, {20, 75}};
    ASSERT_EQ(1, I_SetPolygonROI(triangle, 3));
    int32_t count = 0;
    const VexaPoint* list = I_ROIScanlist(&count, src);
    const std::vector<VexaPoint> runs(list, list + count);
    const auto inside = [&](int64_t x, int64_t y) {
        for (std::size_t i = 0; i + 1 < runs.size(); i += 2)
            if (runs[i].y == y && runs[i].x <= x && x <= runs[i + 1].x)
                return true;
        return false;
    };
    for (int32_t code = 1; code <= 7; ++code) {
        const int32_t dest = noise(90, 80, PIX_BYTE, 14);
        I_SetPolygonROI(triangle, 3);
        VexaBox box;
        I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, dest);
        check(src, dest, code, box, inside);
        const int32_t listed = noise(90, 80, PIX_BYTE, 14);
        const VexaPoint points[] = {{10, 5}, {12, 5}, {50, 40}, {69, 40}};
        ASSERT_EQ(1, I_SetScanlistROI(points, 4));
        check(src, listed, code, {10, 5, 69, 40});
        closeImages({dest, listed});
    }
    closeImages({src});
}

TEST_P(Quarter, LiteralInPlace)
{
    const int32_t sizes[][2] = {{5, 4}, {30, 30}, {300, 70}, {400, 130}};
    for (const auto& [W, H] : sizes)
        for (int32_t code = 1; code <= 7; ++code) {
            const int32_t im = noise(W, H, PIX_BYTE, 15);
            check(im, im, code, whole(im));
            closeImages({im});
        }
    // Code 5 needs no other image.
    std::vector<int32_t> all = {byteImage({{1, 2, 3, 4}, {5, 6, 7, 8}})};
    while (const int32_t im = I_ImOpen(1, 1, PIX_BYTE))
        all.push_back(im);
    EXPECT_EQ(1, I_Rotate90(all[0], all[0], 5));
    EXPECT_EQ((std::vector<uint8_t>{4, 3, 2, 1, 8, 7, 6, 5}), bytesOf(all[0]));
    clearError();
    EXPECT_EQ(0, I_Rotate90(all[0], all[0], 6));
    EXPECT_EQ(21, I_GetError(nullptr, 0));
    I_ImCloseAll();
}

TEST(QuarterLiteral, FourQuarterTurnsAreTheIdentity)
{
    const int32_t im = noise(83, 61, PIX_BYTE, 16);
    for (const int32_t iRot : {90, 270}) {
        int32_t turned = I_CloneImage(im, 0, 1);
        for (int32_t turn = 0; turn < 4; ++turn)
            turned = I_Rotate90Ex(turned, iRot, 1);
        EXPECT_EQ(bytesOf(im), bytesOf(turned));
        closeImages({turned});
    }
    closeImages({im});
}

TEST(QuarterLiteral, EveryNumberOfATurn)
{
    const int32_t src = noise(9, 9, PIX_BYTE, 17);
    const int32_t groups[8][3] = {{0, 360, -360}, {1, 1, 1},  {2, 90, -270}, {3, 270, -90},
                                  {4, 180, -180}, {5, -1, 5}, {6, -2, 6},    {7, -3, 7}};
    for (int32_t code = 0; code < 8; ++code)
        for (const int32_t iRot : groups[code]) {
            const int32_t dest = byteImage(9, 9);
            EXPECT_EQ(1, I_Rotate90(src, dest, iRot)) << iRot;
            for (int32_t y = 0; y < 9; ++y)
                for (int32_t x = 0; x < 9; ++x) {
                    const Place place = sourceOf(code, x, y, 9, 9);
                    ASSERT_EQ(pixel(src, static_cast<int32_t>(place.x), static_cast<int32_t>(place.y)),
                              pixel(dest, x, y))
                        << iRot;
                }
            closeImages({dest});
        }
    closeImages({src});
}

TEST(QuarterLiteral, TheFirstRowOfACounterClockwiseTurnIsTheLastColumn)
{
    const int32_t src = byteImage({{1, 2, 3, 4}, {5, 6, 7, 8}});
    const int32_t dest = byteImage(2, 4);
    EXPECT_EQ(1, I_Rotate90(src, dest, 90));
    EXPECT_EQ((std::vector<uint8_t>{4, 8, 3, 7, 2, 6, 1, 5}), bytesOf(dest));
    EXPECT_EQ(1, I_Rotate90(src, dest, 1));
    EXPECT_EQ((std::vector<uint8_t>{8, 4, 7, 3, 6, 2, 5, 1}), bytesOf(dest));
    closeImages({src, dest});
}

TEST(QuarterLiteral, InvertedImagesOfOneTileTurnAsThePicture)
{
    const int32_t upright = noise(40, 40, PIX_BYTE, 18);
    const int32_t inverted = I_CloneImage(upright, 0, 1);
    ASSERT_EQ(1, I_ImInvertRows(inverted));
    for (int32_t code = 1; code < 7; ++code) {
        const int32_t expected = byteImage(40, 40);
        const int32_t found = I_CloneImage(expected, 0, 1);
        EXPECT_EQ(1, I_Rotate90(upright, expected, code));
        EXPECT_EQ(1, I_Rotate90(inverted, found, code));
        EXPECT_EQ(bytesOf(expected), bytesOf(found)) << code;
        ASSERT_EQ(1, I_ImInvertRows(found));
        EXPECT_EQ(1, I_Rotate90(upright, found, code));
        ASSERT_EQ(1, I_ImInvertRows(found));
        EXPECT_EQ(bytesOf(expected), bytesOf(found)) << code;
        closeImages({expected, found});
    }
    closeImages({upright, inverted});
}

TEST(QuarterLiteral, ColoursOfDifferentTypesGoBandByBand)
{
    const int32_t src = noise(30, 20, PIX_BGR24, 19);
    const int32_t dest = noise(30, 20, PIX_RGB24, 20);
    const int32_t turned = noise(30, 20, PIX_BGR24, 21);
    ASSERT_EQ(1, I_Rotate90(src, turned, 4));
    ASSERT_EQ(1, I_Rotate90(src, dest, 4));
    const Raw expected(turned);
    const Raw found(dest);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 30; ++x)
            for (int32_t c = 0; c < 3; ++c)
                ASSERT_EQ(expected.at(x, y)[2 - c], found.at(x, y)[c]);
    EXPECT_EQ(-2, I_GetColorBand());
    // Grey takes the mean of the bands.
    const int32_t grey = byteImage(30, 20);
    ASSERT_EQ(1, I_Rotate90(src, grey, 4));
    const Raw colors(src);
    const uint8_t* last = colors.at(29, 19);
    EXPECT_EQ((last[0] + last[1] + last[2]) / 3, pixel(grey, 0, 0));
    closeImages({src, dest, turned, grey});
}

TEST(QuarterLiteral, ImagesInFilesTurnAsThoseInMemory)
{
    for (int32_t code = 1; code <= 7; ++code) {
        const int32_t src = noise(70, 60, PIX_BYTE, 36);
        const int32_t dest = noise(60, 70, PIX_BYTE, 37);
        const int32_t fileSrc = inFile(src);
        const int32_t fileDest = inFile(dest);
        EXPECT_EQ(1, I_Rotate90(src, dest, code));
        EXPECT_EQ(1, I_Rotate90(fileSrc, fileDest, code));
        const int32_t result = I_CloneImage(fileDest, 0, 1);
        EXPECT_EQ(bytesOf(dest), bytesOf(result)) << code;
        EXPECT_EQ(1, I_VertMirror(dest, dest));
        EXPECT_EQ(1, I_VertMirror(fileDest, fileDest));
        const int32_t mirrored = I_CloneImage(fileDest, 0, 1);
        EXPECT_EQ(bytesOf(dest), bytesOf(mirrored)) << code;
        closeImages({src, dest, fileSrc, fileDest, result, mirrored});
    }
}

// Pixels wider than their type: what they come to is not told, but all memory is the library's own.
TEST(QuarterFailures, ImagesOfWiderStorageStayInTheirMemory)
{
    for (const int32_t memoryType : {0, 8})
        for (const int32_t type : {PIX_BYTE, PIX_FLOAT, PIX_BGR24})
            for (const int32_t rows : {1, 9}) {
                const int32_t before = I_ImSetMemType(memoryType);
                const int32_t wide = I_ImOpenSpecial(11, rows, 16, type, 0, 0);
                I_ImSetMemType(before);
                const int32_t plain = noise(12, 10, type, 38);
                for (const auto& [src, dest] : {std::pair{wide, plain}, {plain, wide}, {wide, wide}}) {
                    for (int32_t code = 1; code <= 7; ++code)
                        I_Rotate90(src, dest, code);
                    I_VertMirror(src, dest);
                    I_RotateShift(5, 5, 20, 0, 0, 1, 1, src, dest);
                    for (const double scale : {0.5, 0.4, 1.5})
                        for (const int32_t interp : {0, 1})
                            I_ScaleImage(src, dest, nullptr, nullptr, 0, 0, scale, scale, interp);
                }
                EXPECT_EQ(1, I_ImClose(wide));
                closeImages({plain});
            }
}

TEST(QuarterFailures, BadCodesAndImages)
{
    const int32_t im = noise(20, 10, PIX_BYTE, 22);
    clearError();
    EXPECT_EQ(0, I_Rotate90(im, im, 45));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("ILLEGAL_PARAMETER: iRot=45", errorText());
    clearError();
    EXPECT_EQ(0, I_Rotate90(im, -299, 5));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    clearError();
    EXPECT_EQ(0, I_Rotate90(0, im, 5));
    EXPECT_EQ(0, I_Rotate90(im, 0, 0));
    closeImages({im});
}

TEST(QuarterFailures, Allocations)
{
    const int32_t im = noise(20, 10, PIX_BYTE, 23);
    const int32_t dest = noise(20, 10, PIX_BYTE, 24);
    for (const int32_t code : {5, 6})
        forEachFailingAllocation([&] { return I_Rotate90(im, code == 5 ? im : dest, code); },
                                 [&](int64_t result) {
                                     EXPECT_EQ(0, result);
                                     EXPECT_EQ(2, I_GetError(nullptr, 0));
                                     EXPECT_THAT(errorText(),
                                                 testing::StartsWith("Memory allocation failed: rotate90: "));
                                 });
    forEachFailingAllocation([&] { return I_VertMirror(im, dest); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
    closeImages({im, dest});
}

TEST(Rotate90Ex, LiteralWhichImageItIs)
{
    const int32_t im = noise(20, 10, PIX_BYTE, 25);
    I_ImSetComment("plate", im);
    EXPECT_EQ(im, I_Rotate90Ex(im, 0, 1));
    const int32_t copy = I_Rotate90Ex(im, 0, 0);
    EXPECT_EQ(bytesOf(im), bytesOf(copy));
    char comment[20] = {};
    I_ImGetComment(comment, 20, copy);
    EXPECT_STREQ("plate", comment);
    for (const int32_t iRot : {-270, -90, -3, 1, 2, 3, 7, 90, 270}) {
        const int32_t turned = I_Rotate90Ex(im, iRot, 0);
        EXPECT_EQ(10, Raw(turned).cols) << iRot;
        EXPECT_EQ(20, Raw(turned).rows) << iRot;
        closeImages({turned});
    }
    for (const int32_t iRot : {4, 5, 6, 180, -180, -1, -2}) {
        const int32_t turned = I_Rotate90Ex(im, iRot, 0);
        EXPECT_NE(im, turned);
        EXPECT_EQ(20, Raw(turned).cols) << iRot;
        const int32_t again = I_Rotate90Ex(turned, iRot, 1);
        EXPECT_EQ(turned, again);
        EXPECT_EQ(bytesOf(im), bytesOf(again)) << iRot;
        closeImages({again});
    }
    const int32_t replaced = I_Rotate90Ex(copy, 90, 1);
    EXPECT_EQ(0, I_ImValid(copy));
    EXPECT_EQ(10, Raw(replaced).cols);
    closeImages({replaced, im});
}

TEST(Rotate90Ex, LiteralNumbersBetweenTheTurns)
{
    const int32_t im = noise(20, 10, PIX_BYTE, 26);
    // An error on a clone.
    for (const int32_t iRot : {45, -100, 359}) {
        clearError();
        const int32_t clone = I_Rotate90Ex(im, iRot, 0);
        EXPECT_NE(0, clone);
        EXPECT_EQ(12, I_GetError(nullptr, 0)) << iRot;
        EXPECT_EQ(std::vector<uint8_t>(200), bytesOf(clone));
        closeImages({clone});
    }
    // A copy.
    for (const int32_t iRot : {360, 1000, -4, -89}) {
        clearError();
        const int32_t copy = I_Rotate90Ex(im, iRot, 0);
        EXPECT_EQ(0, I_GetError(nullptr, 0)) << iRot;
        EXPECT_EQ(bytesOf(im), bytesOf(copy)) << iRot;
        closeImages({copy});
    }
    EXPECT_EQ(0, I_Rotate90Ex(-299, 90, 0));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    clearError();
    closeImages({im});
}

TEST(Rotate90Ex, FailuresLeaveTheSourceOpen)
{
    const int32_t im = noise(20, 10, PIX_BYTE, 27);
    const int32_t before = I_ImCount();
    Messages messages;
    forEachFailingAllocation(
        [&] {
            const int32_t result = I_Rotate90Ex(im, 90, 0);
            if (result != 0)
                I_ImClose(result);
            return result;
        },
        [&](int64_t) {
            EXPECT_EQ(before, I_ImCount());
            EXPECT_EQ(1, I_ImValid(im));
        });
    closeImages({im});
}

// Each pixel of the region takes the one on the mirrored row.
void checkVertical(int32_t src, int32_t dest, const std::vector<VexaPoint>& runs, VexaBox box)
{
    const Raw from(src);
    Raw expected(dest);
    for (std::size_t i = 0; i + 1 < runs.size(); i += 2)
        for (int32_t x = std::max(runs[i].x, box.left); x <= std::min(runs[i + 1].x, box.right); ++x)
            if (runs[i].y >= 0 && runs[i].y < expected.rows)
                std::memcpy(expected.at(x, runs[i].y), from.at(x, box.top + box.bottom - runs[i].y),
                            static_cast<std::size_t>(from.bytes));
    ASSERT_EQ(1, I_VertMirror(src, dest));
    EXPECT_EQ(expected.data, Raw(dest).data);
}

std::vector<VexaPoint> runsOf(int32_t im)
{
    int32_t count = 0;
    const VexaPoint* list = I_ROIScanlist(&count, im);
    return {list, list + count};
}

TEST(VertMirror, LiteralWholeImagesOfEveryType)
{
    for (const int32_t type :
         {PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_DCOMPLEX, PIX_PALETTE, PIX_BGR24, PIX_RGB32})
        for (const int32_t rows : {1, 2, 5, 8}) {
            const int32_t src = noise(13, rows, type, 30);
            const int32_t dest = noise(13, rows, type, 31);
            checkVertical(src, dest, runsOf(dest), whole(dest));
            checkVertical(src, src, runsOf(src), whole(src));
            closeImages({src, dest});
        }
}

TEST(VertMirror, LiteralRegions)
{
    const VexaPoint ring[] = {{20, 3}, {50, 30}, {20, 57}, {3, 30}, {20, 20}};
    // Several runs on a row, rows without a partner, runs beyond the image.
    const std::vector<VexaPoint> list = {{3, 2}, {9, 2}, {15, 2},  {30, 2}, {5, 4}, {50, 4},
                                         {0, 6}, {3, 6}, {40, 6},  {70, 6}, {1, 7}, {2, 7},
                                         {8, 8}, {9, 8}, {-5, 12}, {20, 12}};
    for (const bool inPlace : {false, true}) {
        const int32_t src = noise(60, 60, PIX_BYTE, 32);
        const int32_t dest = inPlace ? src : noise(60, 60, PIX_BYTE, 33);
        I_SetWindowROI(5, 7, 30, 40);
        checkVertical(src, dest, runsOf(dest), {5, 7, 30, 40});
        ASSERT_EQ(1, I_SetPolygonROI(ring, 5));
        VexaBox box;
        I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, dest);
        checkVertical(src, dest, runsOf(dest), box);
        ASSERT_EQ(1, I_SetScanlistROI(list.data(), static_cast<int32_t>(list.size())));
        I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, dest);
        checkVertical(src, dest, list, box);
        I_SetROIType(0);
        closeImages({src});
        if (!inPlace)
            closeImages({dest});
    }
}

TEST(VertMirror, LiteralTheLowerTypeCodeIsTheWorkingType)
{
    const int32_t src = image(3, 2, PIX_WORD, [](int32_t x, int32_t y) { return 300 * y + x; });
    const int32_t dest = byteImage(3, 2);
    EXPECT_EQ(1, I_VertMirror(src, dest));
    EXPECT_EQ((std::vector<uint8_t>{44, 45, 46, 0, 1, 2}), bytesOf(dest));
    clearError();
    EXPECT_EQ(0, I_VertMirror(-299, dest));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_VertMirror(src, 0));
    clearError();
    closeImages({src, dest});
}

} // namespace
