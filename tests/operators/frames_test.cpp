#include "vexalib/frames.h"

#include <cstdlib>

#include "core/image_table.h"
#include "operators/clip_table.h"
#include "operators/row_frames.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

// What a row function saw, one entry per call.
struct Call {
    int32_t n;
    int32_t type;
    int32_t x;
    int32_t y;
    bool operator==(const Call&) const = default;
};
std::vector<Call> calls;

void note(int32_t n)
{
    Call call = {n, vexa::framePosition().type, 0, 0};
    GetImageXY(0, &call.x, &call.y);
    calls.push_back(call);
}

void invert(const void* source, void* dest, int32_t n, void*)
{
    note(n);
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    for (int32_t i = 0; i < n; ++i)
        out[i] = static_cast<uint8_t>(255 - in[i]);
}

void sum(const void* a, const void* b, void* dest, int32_t n, void*)
{
    note(n);
    const auto* pa = static_cast<const uint8_t*>(a);
    const auto* pb = static_cast<const uint8_t*>(b);
    auto* out = static_cast<uint8_t*>(dest);
    for (int32_t i = 0; i < n; ++i)
        out[i] = static_cast<uint8_t>(pa[i] + pb[i]);
}

void floatSum(const void* a, const void* b, void* dest, int32_t n, void*)
{
    note(n);
    for (int32_t i = 0; i < n; ++i) {
        float x = 0;
        float y = 0;
        std::memcpy(&x, static_cast<const uint8_t*>(a) + 4 * i, 4);
        std::memcpy(&y, static_cast<const uint8_t*>(b) + 4 * i, 4);
        x += y;
        std::memcpy(static_cast<uint8_t*>(dest) + 4 * i, &x, 4);
    }
}

void addToTotal(const void* row, int32_t n, void* total)
{
    note(n);
    for (int32_t i = 0; i < n; ++i)
        *static_cast<int64_t*>(total) += static_cast<const uint8_t*>(row)[i];
}

// Every test starts from the settings of a fresh process.
class FramesTest : public testing::Test
{
protected:
    void SetUp() override
    {
        calls.clear();
        I_SetROIType(0);
        I_SetColorProcMode(3);
        I_SetColorBand(-1);
        I_SetClipMode(1);
        clearError();
    }
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetROIType(0);
        I_SetColorBand(-1);
        I_SetClipMode(1);
        clearError();
    }
};
using LiteralFrames = FramesTest;
using BoundsFrames = FramesTest;
using FailuresFrames = FramesTest;
using LiteralClipMode = FramesTest;

int32_t counting(int32_t cols, int32_t rows)
{
    return byteImage(cols, rows, [=](int32_t x, int32_t y) { return (y * cols + x) & 255; });
}

TEST_F(LiteralFrames, BinaryWorksOnTheCommonArea)
{
    const int32_t a = byteImage(10, 10, [](int32_t, int32_t) { return 1; });
    const int32_t b = byteImage(5, 5, [](int32_t, int32_t) { return 2; });
    const int32_t dest = byteImage(10, 10, [](int32_t, int32_t) { return 77; });
    EXPECT_EQ(1, I_BinaryOperator(a, b, dest, 0, 0, nullptr, sum));
    for (int32_t y = 0; y < 10; ++y)
        for (int32_t x = 0; x < 10; ++x)
            EXPECT_EQ(x < 5 && y < 5 ? 3 : 77, pixel(dest, x, y)) << x << ' ' << y;
}

TEST_F(LiteralFrames, BinaryOffsetOfEitherSign)
{
    const int32_t a = byteImage(8, 6);
    const int32_t b = counting(8, 6);
    for (const int32_t dx : {-3, 0, 2, 7, 8, -8})
        for (const int32_t dy : {-2, 0, 1, 5, 6, -6}) {
            const int32_t dest = byteImage(8, 6, [](int32_t, int32_t) { return 77; });
            EXPECT_EQ(1, I_BinaryOperator(a, b, dest, dx, dy, nullptr, sum));
            for (int32_t y = 0; y < 6; ++y)
                for (int32_t x = 0; x < 8; ++x) {
                    const int32_t fromX = x + dx;
                    const int32_t fromY = y + dy;
                    const bool inside = fromX >= 0 && fromX < 8 && fromY >= 0 && fromY < 6;
                    ASSERT_EQ(inside ? fromY * 8 + fromX : 77, pixel(dest, x, y)) << dx << ' ' << dy;
                }
            I_ImClose(dest);
        }
}

TEST_F(LiteralFrames, UnaryRunsInPlace)
{
    const int32_t im = counting(7, 3);
    const auto inPlace = [](const void* source, void* dest, int32_t n, void* parameter) {
        EXPECT_EQ(source, dest);
        invert(source, dest, n, parameter);
    };
    EXPECT_EQ(1, I_UnaryOpType(im, im, nullptr, inPlace, PIX_BYTE));
    for (int32_t i = 0; i < 21; ++i)
        EXPECT_EQ(255 - i, pixel(im, i % 7, i / 7));
}

TEST_F(LiteralFrames, ColourRowsArePackedAndEachByteIsAnElement)
{
    struct {
        int32_t source, dest, type, elements;
    } const cases[] = {{PIX_BGR24, PIX_BGR24, PIX_BGR24, 3}, {PIX_RGB24, PIX_RGB24, PIX_RGB24, 3},
                       {PIX_BGR32, PIX_BGR32, PIX_BGR32, 4}, {PIX_RGB32, PIX_RGB32, PIX_RGB32, 4},
                       {PIX_BYTE, PIX_RGB24, PIX_RGB24, 3},  {PIX_RGB24, PIX_BYTE, PIX_BGR24, 3},
                       {PIX_BYTE, PIX_BGR16, PIX_BGR24, 3}};
    for (const auto& c : cases) {
        calls.clear();
        const int32_t source = image(5, 1, c.source);
        const int32_t dest = image(5, 1, c.dest);
        EXPECT_EQ(1, I_UnaryOpType(source, dest, nullptr, invert, PIX_BYTE));
        EXPECT_THAT(calls, ElementsAre(Call{5 * c.elements, c.type, 0, 0})) << c.source << " to " << c.dest;
    }
}

TEST_F(LiteralFrames, ColourWithABandSelectedRunsOnThatBand)
{
    const int32_t im = image(4, 2, PIX_BGR24, [](int32_t, int32_t) { return 10; });
    I_SetColorBand(1);
    EXPECT_EQ(1, I_UnaryOpType(im, im, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(2U, calls.size());
    EXPECT_EQ((Call{4, PIX_BYTE, 0, 0}), calls[0]);
    EXPECT_THAT(bytesOf(im), testing::Contains(245).Times(8));
    EXPECT_EQ(245, bytesOf(im)[1]);
    EXPECT_EQ(10, bytesOf(im)[0]);
}

TEST_F(LiteralFrames, BandSelectionHoldsForOneOperator)
{
    const int32_t im = image(4, 2, PIX_BGR24);
    int64_t total = 0;
    I_SetColorBand(2);
    EXPECT_EQ(1, I_DoStatsOpType(im, &total, addToTotal, PIX_BYTE));
    EXPECT_EQ(2, I_GetColorBand());
    I_UnaryOpType(im, im, nullptr, invert, PIX_BYTE);
    EXPECT_EQ(-2, I_GetColorBand());
    I_SetColorBand(1);
    I_BinaryOperator(im, im, im, 0, 0, nullptr, sum);
    EXPECT_EQ(-2, I_GetColorBand());
}

TEST_F(LiteralFrames, StatsSeesColourAsOneElementPerPixel)
{
    const int32_t im = image(4, 2, PIX_BGR24, [](int32_t, int32_t) { return 9; });
    int64_t total = 0;
    EXPECT_EQ(1, I_DoStatsOpType(im, &total, addToTotal, PIX_BYTE));
    EXPECT_THAT(calls, ElementsAre(Call{4, PIX_BYTE, 0, 0}, Call{4, PIX_BYTE, 0, 1}));
    EXPECT_EQ(72, total);
}

TEST_F(LiteralFrames, PositionInABlock)
{
    const int32_t im = byteImage(40, 40);
    I_SetWindowROI(10, 20, 14, 20);
    static int32_t x, y, result;
    const auto where = [](const void*, const void*, void*, int32_t, void*) {
        result = GetImageXY(7, &x, &y);
    };
    EXPECT_EQ(1, I_BinaryOperator(im, im, im, 0, 0, nullptr, where));
    EXPECT_EQ(12, x);
    EXPECT_EQ(21, y);
    EXPECT_EQ(21, result);
    EXPECT_EQ(21, GetImageXY(7, nullptr, nullptr));
}

TEST_F(LiteralFrames, PositionBeforeAnyRunCountsInHundreds)
{
    if (vexa::framePosition().width != 0)
        GTEST_SKIP() << "a frame has run in this process";
    int32_t x = -1;
    int32_t y = -1;
    EXPECT_EQ(2, GetImageXY(250, &x, &y));
    EXPECT_EQ(50, x);
    EXPECT_EQ(2, y);
}

TEST_F(LiteralFrames, UnaryAndStatsNestInARowFunction)
{
    static int32_t inner;
    inner = byteImage(13, 4);
    const int32_t im = byteImage(20, 3);
    const auto nested = [](const void* a, const void* b, void* dest, int32_t n, void* parameter) {
        sum(a, b, dest, n, parameter);
        int32_t x = 0;
        const int32_t before = GetImageXY(19, &x, nullptr);
        std::vector<Call> outer;
        outer.swap(calls);
        int64_t total = 0;
        const VexaPoint run[] = {{3, 2}, {5, 2}};
        EXPECT_EQ(1, I_SetScanlistROI(run, 2));
        EXPECT_EQ(1, I_UnaryOpType(inner, inner, nullptr, invert, PIX_BYTE));
        EXPECT_EQ(1, I_DoStatsOpType(inner, &total, addToTotal, PIX_BYTE));
        EXPECT_THAT(calls, ElementsAre(Call{3, PIX_BYTE, 3, 2}, Call{3, PIX_BYTE, 3, 2}));
        outer.swap(calls);
        int32_t after = 0;
        EXPECT_EQ(before, GetImageXY(19, &after, nullptr));
        EXPECT_EQ(x, after);
    };
    const VexaPoint runs[] = {{0, 1}, {19, 1}};
    EXPECT_EQ(1, I_SetScanlistROI(runs, 2));
    EXPECT_EQ(1, I_BinaryOperator(im, im, im, 0, 0, nullptr, nested));
    EXPECT_EQ(1U, calls.size());
}

TEST_F(LiteralFrames, AbsentSourcesReadAsZerosAndAnAbsentResultIsScratch)
{
    const int32_t im = counting(6, 2);
    const auto zerosFirst = [](const void* a, const void* b, void* dest, int32_t n, void* parameter) {
        for (int32_t i = 0; i < n; ++i)
            EXPECT_EQ(0, static_cast<const uint8_t*>(a)[i]);
        sum(a, b, dest, n, parameter);
    };
    const int32_t dest = byteImage(6, 2, [](int32_t, int32_t) { return 77; });
    EXPECT_EQ(1, I_BinaryOperator(0, im, dest, 0, 0, nullptr, zerosFirst));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(1, I_BinaryOperator(im, 0, dest, 2, -3, nullptr, sum));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    calls.clear();
    EXPECT_EQ(1, I_BinaryOperator(im, dest, 0, 0, 0, nullptr, sum));
    EXPECT_EQ(2U, calls.size());
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(1, I_UnaryOpType(im, 0, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(0, I_BinaryOperator(0, im, 0, 0, 0, nullptr, sum));
}

TEST_F(LiteralFrames, OperandsOfOtherTypesAreConverted)
{
    const int32_t bytes = byteImage({{1, 2, 3}, {4, 5, 200}});
    const int32_t floats = floatImage(3, 2, [](int32_t x, int32_t y) { return 0.5 + x + y; });
    const int32_t words = wordImage(3, 2);
    EXPECT_EQ(1, I_BinaryOperatorType(bytes, floats, words, 0, 0, nullptr, floatSum, PIX_FLOAT));
    EXPECT_THAT(rowOf(words, 0), ElementsAre(1, 3, 5));
    EXPECT_THAT(rowOf(words, 1), ElementsAre(5, 7, 203));
    EXPECT_EQ(PIX_FLOAT, calls[0].type);
    EXPECT_EQ(1, I_UnaryOpType(floats, bytes, nullptr, invert, PIX_BYTE));
    EXPECT_THAT(rowOf(bytes, 0), ElementsAre(254, 253, 252));
}

TEST_F(LiteralFrames, ASecondSourceThatIsNotOpenLimitsNothingAndLeavesItsError)
{
    const int32_t im = counting(6, 2);
    const int32_t dest = byteImage(6, 2);
    EXPECT_EQ(1, I_BinaryOperator(im, -77, dest, 1, 1, nullptr, sum));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
}

TEST_F(LiteralFrames, ProgressOfTheBinaryFrameEnds)
{
    static std::vector<float> fractions;
    fractions.clear();
    I_SetProgressCallback([](float fraction, const char*) { fractions.push_back(fraction); }, 0);
    const vexa::Guard restore([] { I_SetProgressCallback(nullptr, 0); });
    const int32_t im = byteImage(6, 2);
    EXPECT_EQ(1, I_BinaryOperator(im, im, im, 0, 0, nullptr, sum));
    EXPECT_THAT(fractions, ElementsAre(1.0F));
}

TEST_F(BoundsFrames, AWindowIsWalkedAndNothingElseIsTouched)
{
    const int32_t im = byteImage(20, 12, [](int32_t, int32_t) { return 5; });
    I_SetWindowROI(3, 4, 9, 6);
    EXPECT_EQ(1, I_UnaryOpType(im, im, nullptr, invert, PIX_BYTE));
    EXPECT_THAT(calls, ElementsAre(Call{7, 1, 3, 4}, Call{7, 1, 3, 5}, Call{7, 1, 3, 6}));
    for (int32_t y = 0; y < 12; ++y)
        for (int32_t x = 0; x < 20; ++x)
            EXPECT_EQ(x >= 3 && x <= 9 && y >= 4 && y <= 6 ? 250 : 5, pixel(im, x, y));
}

TEST_F(BoundsFrames, AScanListIsWalkedRunByRun)
{
    const int32_t im = byteImage(20, 12);
    const VexaPoint runs[] = {{2, 1}, {4, 1}, {8, 1}, {8, 1}, {15, 7}, {40, 7}, {0, 30}, {5, 30}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 8));
    int64_t total = 0;
    EXPECT_EQ(1, I_DoStatsOpType(im, &total, addToTotal, PIX_BYTE));
    EXPECT_THAT(calls, ElementsAre(Call{3, 1, 2, 1}, Call{1, 1, 8, 1}, Call{5, 1, 15, 7}));
}

TEST_F(BoundsFrames, ARunThatBeginsInFrontOfTheImageIsCut)
{
    const int32_t im = byteImage(20, 3);
    const VexaPoint runs[] = {{-6, 0}, {3, 0}, {-9, 1}, {-4, 1}, {1, 2}, {1, 2}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 6));
    EXPECT_EQ(1, I_UnaryOpType(im, im, nullptr, invert, PIX_BYTE));
    EXPECT_THAT(calls, ElementsAre(Call{4, 1, 0, 0}, Call{1, 1, 1, 2}));
    calls.clear();
    EXPECT_EQ(1, I_BinaryOperator(im, im, im, -2, 0, nullptr, sum));
    EXPECT_THAT(calls, ElementsAre(Call{2, 1, 2, 0}));
}

TEST_F(BoundsFrames, EveryRowComesOnceAndInOrderAcrossBands)
{
    const float chunk = 0.6F;
    I_SetCachingChunkMB(&chunk);
    const vexa::Guard restore([] {
        const float initial = 2.0F;
        I_SetCachingChunkMB(&initial);
    });
    const int32_t im = byteImage(1000, 701);
    const int32_t floats = floatImage(1000, 701, [](int32_t x, int32_t y) { return (x + y) % 200; });
    EXPECT_EQ(1, I_BinaryOperator(floats, im, im, 0, 0, nullptr, sum));
    ASSERT_EQ(701U, calls.size());
    for (int32_t y = 0; y < 701; ++y)
        ASSERT_EQ((Call{1000, 1, 0, y}), calls[static_cast<std::size_t>(y)]);
    for (int32_t y = 0; y < 701; y += 7)
        for (int32_t x = 0; x < 1000; x += 3)
            ASSERT_EQ((x + y) % 200, pixel(im, x, y));
}

TEST_F(BoundsFrames, ExtremeOffsetsProcessNothing)
{
    const int32_t im = counting(8, 6);
    const auto before = bytesOf(im);
    for (const int32_t offset : {INT32_MIN, INT32_MIN + 1, -1000000, 1000000, INT32_MAX}) {
        EXPECT_EQ(1, I_BinaryOperator(im, im, im, offset, 0, nullptr, sum));
        EXPECT_EQ(1, I_BinaryOperator(im, im, im, 0, offset, nullptr, sum));
        EXPECT_EQ(1, I_BinaryOperator(im, im, im, offset, offset, nullptr, sum));
    }
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(before, bytesOf(im));
    EXPECT_EQ(1, I_BinaryOperator(im, 0, im, INT32_MAX, INT32_MIN, nullptr, sum));
    EXPECT_EQ(before, bytesOf(im));
}

// Takes the address away from a byte image: its pixels can only be fetched and stored.
std::vector<uint8_t> kept;
void hidePixels(int32_t im)
{
    ImageRecord* record = vexa::findImageRecord(im, "test");
    kept.assign(static_cast<std::size_t>(record->cols * record->rows), 0);
    record->data = nullptr;
    record->getPtr = nullptr;
    record->getBlock = [](int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* r) {
        for (int32_t row = 0; row < height; ++row)
            std::memcpy(static_cast<uint8_t*>(buffer) + row * width, &kept[(y + row) * r->cols + x], width);
        return 1;
    };
    record->putBlock = [](int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* r) {
        for (int32_t row = 0; row < height; ++row)
            std::memcpy(&kept[(y + row) * r->cols + x], static_cast<uint8_t*>(buffer) + row * width, width);
        return 1;
    };
}

TEST_F(BoundsFrames, SubimagesAndImagesWithoutAddressAreOperandsLikeAnyOther)
{
    const int32_t parent = counting(20, 10);
    const int32_t window = I_ImOpenSubimage(4, 3, 6, 5, parent);
    const int32_t hidden = byteImage(6, 5);
    hidePixels(hidden);
    EXPECT_EQ(1, I_UnaryOpType(window, hidden, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(255 - 64, kept[0]);
    EXPECT_EQ(1, I_BinaryOperator(window, hidden, window, 0, 0, nullptr, sum));
    for (int32_t y = 0; y < 10; ++y)
        for (int32_t x = 0; x < 20; ++x) {
            const bool inside = x >= 4 && x < 10 && y >= 3 && y < 8;
            EXPECT_EQ(inside ? 255 : (y * 20 + x) & 255, pixel(parent, x, y)) << x << ' ' << y;
        }
    I_ImClose(window);
}

TEST_F(BoundsFrames, MisalignedRowsOfAnApplication)
{
    std::vector<uint8_t> memory(4 * 3 * 2 + 3);
    const int32_t im = I_ImOpenPtr(3, 2, 13, PIX_FLOAT, memory.data() + 1);
    I_ImClear(im, 1.5);
    EXPECT_EQ(1, I_Add(im, im, im));
    for (int32_t i = 0; i < 6; ++i)
        EXPECT_EQ(3.0F, I_GetPix(i % 3, i / 3, im));
}

TEST_F(FailuresFrames, NoImageNoSizeNoRun)
{
    const int32_t im = byteImage(4, 4);
    EXPECT_EQ(0, I_UnaryOpType(-50, im, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImGetSize(, im=-50)  im. not open", errorText());
    EXPECT_EQ(0, I_UnaryOpType(im, 5, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImGetSize(, im=5) im. not open", errorText());
    clearError();
    EXPECT_EQ(0, I_UnaryOpType(0, im, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_BinaryOperator(-50, im, im, 0, 0, nullptr, sum));
    EXPECT_EQ(0, I_BinaryOperator(im, im, -50, 0, 0, nullptr, sum));
    EXPECT_EQ(0, I_BinaryOperator(0, 0, 0, 0, 0, nullptr, sum));
    EXPECT_EQ(0, I_DoStatsOpType(0, nullptr, addToTotal, PIX_BYTE));
    EXPECT_EQ(0, I_DoStatsOpType(-50, nullptr, addToTotal, PIX_BYTE));
    EXPECT_TRUE(calls.empty());
}

TEST_F(FailuresFrames, NoRowFunction)
{
    const int32_t im = byteImage(4, 4);
    EXPECT_EQ(0, I_UnaryOpType(im, im, nullptr, nullptr, PIX_BYTE));
    EXPECT_EQ(0, I_BinaryOperatorType(im, im, im, 0, 0, nullptr, nullptr, PIX_BYTE));
    EXPECT_EQ(0, I_BinaryOperator(im, im, im, 0, 0, nullptr, nullptr));
    EXPECT_EQ(0, I_DoStatsOpType(im, nullptr, nullptr, PIX_BYTE));
}

TEST_F(FailuresFrames, EveryTypeCodeIsSurvived)
{
    const int32_t im = image(9, 3, PIX_BGR32);
    const int32_t other = image(9, 3, PIX_DCOMPLEX);
    const auto nothing = [](const void*, void*, int32_t, void*) {};
    const auto nothing2 = [](const void*, const void*, void*, int32_t, void*) {};
    const auto nothing3 = [](const void*, int32_t, void*) {};
    const Messages messages;
    for (int32_t type = -3; type < 40; ++type) {
        I_UnaryOpType(im, other, nullptr, nothing, type);
        I_BinaryOperatorType(other, im, im, 1, -1, nullptr, nothing2, type);
        I_DoStatsOpType(other, nullptr, nothing3, type);
    }
    SUCCEED();
}

TEST_F(FailuresFrames, NoMemoryForTheRows)
{
    const int32_t bytes = byteImage(10, 4);
    const int32_t floats = floatImage(10, 4);
    const auto none = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
    };
    forEachFailingAllocation([&] { return I_BinaryOperator(bytes, floats, bytes, 0, 0, nullptr, sum); },
                             [&](int64_t result) {
                                 none(result);
                                 EXPECT_THAT(errorText(), StartsWith("Memory allocation failed: "
                                                                     "I_BinaryOperatorType 120 bytes: "));
                             });
    forEachFailingAllocation([&] { return I_UnaryOpType(bytes, floats, nullptr, invert, PIX_BYTE); },
                             [&](int64_t result) {
                                 none(result);
                                 EXPECT_THAT(errorText(),
                                             StartsWith("Memory allocation failed: I_UnaryOp 80 bytes: "));
                             });
    int64_t total = 0;
    forEachFailingAllocation([&] { return I_DoStatsOpType(floats, &total, addToTotal, PIX_BYTE); },
                             [&](int64_t result) {
                                 none(result);
                                 EXPECT_THAT(errorText(),
                                             StartsWith("Memory allocation failed: I_DoStatsOpType: "));
                             });
}

TEST_F(FailuresFrames, ARunThatFailedKeepsTheBand)
{
    const int32_t color = image(10, 4, PIX_BGR24);
    I_SetColorBand(1);
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_UnaryOpType(color, color, nullptr, invert, PIX_BYTE));
    vexa::failAllocation(0, false);
    EXPECT_EQ(1, I_GetColorBand());
}

TEST_F(FailuresFrames, DirectOperandsNeedNoMemory)
{
    const int32_t im = byteImage(100, 50);
    int64_t total = 0;
    vexa::failAllocation(1, true);
    EXPECT_EQ(1, I_BinaryOperator(im, im, im, 0, 0, nullptr, sum));
    EXPECT_EQ(1, I_UnaryOpType(im, im, nullptr, invert, PIX_BYTE));
    EXPECT_EQ(1, I_DoStatsOpType(im, &total, addToTotal, PIX_BYTE));
    EXPECT_EQ(0, vexa::allocationState().attempts);
    vexa::failAllocation(0, false);
}

TEST_F(LiteralClipMode, ReturnsThePreviousMode)
{
    EXPECT_EQ(1, I_GetClipMode());
    for (int32_t mode = 0; mode < 8; ++mode) {
        const int32_t previous = I_GetClipMode();
        EXPECT_EQ(previous, I_SetClipMode(mode));
        EXPECT_EQ(mode, I_GetClipMode());
        EXPECT_EQ(mode, vexa::clipState().row);
    }
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(LiteralClipMode, AWordThatIsNoModeLeavesTheTable)
{
    for (const int32_t bad : {8, 9, -1, INT32_MIN, INT32_MAX}) {
        clearError();
        I_SetClipMode(3);
        EXPECT_EQ(3, I_SetClipMode(bad));
        EXPECT_EQ(bad, I_GetClipMode());
        EXPECT_EQ(3, vexa::clipState().row);
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        EXPECT_EQ("I_SetClipMode", errorText());
    }
}

TEST_F(LiteralClipMode, ComplexSlot)
{
    I_SetClipMode(2);
    EXPECT_EQ(vexa::ComplexClip::magnitude, vexa::clipState().complex);
    I_SetClipMode(7);
    EXPECT_EQ(vexa::ComplexClip::power, vexa::clipState().complex);
    for (const int32_t mode : {0, 1, 3, 4, 5, 6}) {
        I_SetClipMode(mode);
        EXPECT_EQ(vexa::ComplexClip::keep, vexa::clipState().complex);
    }
}

TEST_F(LiteralClipMode, GuardPutsBackModeAndTable)
{
    I_SetClipMode(4);
    I_SetClipMode(11);
    {
        const vexa::ClipModeGuard guard(2);
        EXPECT_EQ(2, I_GetClipMode());
    }
    EXPECT_EQ(11, I_GetClipMode());
    EXPECT_EQ(4, vexa::clipState().row);
}

TEST_F(LiteralClipMode, FloatRangeFollowsTheTypeOfTheResult)
{
    struct {
        int32_t type;
        float low, high;
    } const cases[] = {{PIX_BYTE, 0.0F, 255.0F},      {PIX_PALETTE, 0.0F, 255.0F}, {PIX_RGB32, 0.0F, 255.0F},
                       {PIX_WORD, 0.0F, 65535.0F},    {PIX_FLOAT, -3e38F, 0.0F},   {PIX_DFLOAT, -3e38F, 0.0F},
                       {PIX_DWORD, 1.0F, 4294967296}, {8, -128.0F, 127.0F},        {0, -3e38F, 0.0F}};
    for (const auto& c : cases) {
        vexa::setFloatRange(c.type);
        EXPECT_EQ(c.low, vexa::clipLimits().low) << c.type;
        EXPECT_EQ(c.high, vexa::clipLimits().high) << c.type;
    }
}

} // namespace
