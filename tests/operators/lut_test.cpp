#include "support/instruction_set.h"
#include "tests/operators/display_test.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

// Every entry differs from its neighbours, and no two runs of entries are alike.
uint8_t curve(int32_t i)
{
    return static_cast<uint8_t>(i * 37 + i * i / 7 + 11);
}

class LutMap : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override
    {
        vexa::limitInstructionSet(GetParam());
        I_SetROIType(0);
    }
    void TearDown() override
    {
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        I_SetROIType(0);
        I_SetColorProcMode(3);
        I_SetColorBand(-1);
    }
    const Table curve_ = tableOf(curve);
};
INSTANTIATE_TEST_SUITE_P(EverySet, LutMap, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(LutMap, AgainstReferenceEveryByteAtManyWidths)
{
    for (const int32_t cols : {1, 7, 31, 33, 63, 64, 65, 127, 255, 256, 257, 300, 511, 513, 1000}) {
        const int32_t src = byteImage(cols, 3, [](int32_t x, int32_t y) { return x + 91 * y; });
        const int32_t dest = byteImage(cols, 3);
        ASSERT_EQ(1, I_LUTMapROI(src, dest, curve_.data()));
        for (int32_t y = 0; y < 3; ++y)
            for (int32_t x = 0; x < cols; ++x)
                ASSERT_EQ(curve((x + 91 * y) & 255), pixel(dest, x, y)) << x << ", " << y << " of " << cols;
        closeImages({src, dest});
    }
}

// Tables of one and of two values take a way of their own: each with its band in every place.
TEST_P(LutMap, AgainstReferenceEveryTableOfTwoValues)
{
    const int32_t src = byteImage(256, 1, [](int32_t x, int32_t) { return x; });
    const int32_t dest = byteImage(256, 1);
    for (int32_t low = 0; low < 256; ++low)
        for (int32_t high = low; high < 256; high += high < low + 3 || high > 250 ? 1 : 13) {
            const Table band = tableOf([=](int32_t i) { return i >= low && i <= high ? 9 : 200; });
            ASSERT_EQ(1, I_LUTMapROI(src, dest, band.data()));
            const std::vector<uint8_t> expected(band.begin(), band.end());
            ASSERT_EQ(expected, bytesOf(dest)) << low << " to " << high;
        }
    const Table three = tableOf([](int32_t i) { return i == 0 ? 9 : i < 100 || i > 200 ? 200 : 9; });
    ASSERT_EQ(1, I_LUTMapROI(src, dest, three.data()));
    EXPECT_EQ(std::vector<uint8_t>(three.begin(), three.end()), bytesOf(dest)) << "two values, but two bands";
    closeImages({src, dest});
}

TEST_P(LutMap, LiteralInPlace)
{
    const int32_t im = byteImage(500, 2, [](int32_t x, int32_t y) { return x + y; });
    ASSERT_EQ(1, I_LUTMapROI(im, im, curve_.data()));
    for (int32_t x = 0; x < 500; ++x)
        ASSERT_EQ(curve((x + 1) & 255), pixel(im, x, 1)) << x;
    closeImages({im});
}

// A destination that begins a few pixels behind its source: each pixel is read before or after it was
// written, from left to right.
TEST_P(LutMap, BoundsOverlappingSubimagesKeepTheOrderFromLeftToRight)
{
    for (const int32_t shift : {1, 3, 16, 40, 64, 100, 300}) {
        const int32_t im = byteImage(900, 1, [](int32_t x, int32_t) { return x; });
        const int32_t src = I_ImOpenSubimage(0, 0, 500, 1, im);
        const int32_t dest = I_ImOpenSubimage(shift, 0, 500, 1, im);
        std::vector<uint8_t> expected = bytesOf(im);
        for (std::size_t x = 0; x < 500; ++x)
            expected[x + static_cast<std::size_t>(shift)] = curve(expected[x]);
        ASSERT_EQ(1, I_LUTMapROI(src, dest, curve_.data()));
        EXPECT_EQ(expected, bytesOf(im)) << shift;
        closeImages({src, dest, im});
    }
}

TEST_P(LutMap, BoundsOnlyTheRegionChanges)
{
    const int32_t src = byteImage(300, 20, [](int32_t x, int32_t y) { return x * y; });
    const int32_t dest = byteImage(300, 20, [](int32_t, int32_t) { return 77; });
    I_SetWindowROI(3, 4, 290, 17);
    ASSERT_EQ(1, I_LUTMapROI(src, dest, curve_.data()));
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 300; ++x) {
            const bool inside = x >= 3 && x <= 290 && y >= 4 && y <= 17;
            ASSERT_EQ(inside ? curve((x * y) & 255) : 77, pixel(dest, x, y)) << x << ", " << y;
        }
    closeImages({src, dest});
}

TEST_P(LutMap, BoundsNothingBehindTheRows)
{
    std::vector<uint8_t> memory(3 * 80, 77);
    const int32_t im = I_ImOpenPtr(70, 3, 80, PIX_BYTE, memory.data());
    const Table zeros{};
    for (const Table& table : {curve_, zeros}) {
        ASSERT_EQ(1, I_LUTMapROI(im, im, table.data()));
        for (std::size_t i = 0; i < memory.size(); ++i)
            ASSERT_TRUE(i % 80 < 70 || memory[i] == 77) << i;
    }
    closeImages({im});
}

TEST_P(LutMap, LiteralPolygonAndScanList)
{
    const int32_t src = byteImage(40, 40, [](int32_t, int32_t) { return 5; });
    const int32_t dest = byteImage(40, 40);
    const VexaPoint runs[] = {{2, 3}, {6, 3}, {10, 3}, {10, 3}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 4));
    ASSERT_EQ(1, I_LUTMapROI(src, dest, curve_.data()));
    for (int32_t x = 0; x < 40; ++x)
        EXPECT_EQ((x >= 2 && x <= 6) || x == 10 ? curve(5) : 0, pixel(dest, x, 3)) << x;
    EXPECT_EQ(0, pixel(dest, 2, 4));
    closeImages({src, dest});
}

TEST_P(LutMap, LiteralOtherTypesGoThroughBytes)
{
    const int32_t src = floatImage(100, 1, [](int32_t x, int32_t) { return x + 0.25; });
    const int32_t dest = wordImage(100, 1);
    ASSERT_EQ(1, I_LUTMapROI(src, dest, curve_.data()));
    for (int32_t x = 0; x < 100; ++x)
        ASSERT_EQ(curve(x), pixel(dest, x, 0));
    closeImages({src, dest});
}

TEST_P(LutMap, LiteralColorInAllBandsMapsEveryByte)
{
    for (const int32_t type : {PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_RGB32}) {
        const int32_t im = image(50, 2, type, [](int32_t x, int32_t y) { return x + 3 * y; });
        ASSERT_EQ(1, I_LUTMapROI(im, im, curve_.data()));
        const auto bytes = static_cast<std::size_t>(I_ImTypeBytes(type));
        const std::vector<uint8_t> mapped = bytesOf(im);
        for (std::size_t i = 0; i < mapped.size(); ++i) {
            const std::size_t p = i / bytes;
            ASSERT_EQ(curve(static_cast<int32_t>(p % 50 + 3 * (p / 50))), mapped[i]) << type << " byte " << i;
        }
        closeImages({im});
    }
}

TEST_P(LutMap, LiteralSelectedBandAloneChangesAndIsThenNoLongerSelected)
{
    const int32_t im = image(20, 1, PIX_BGR24, [](int32_t, int32_t) { return 10; });
    I_SetColorBand(1);
    ASSERT_EQ(1, I_LUTMapROI(im, im, curve_.data()));
    const std::vector<uint8_t> bytes = bytesOf(im);
    EXPECT_EQ((std::vector<uint8_t>{10, curve(10), 10}),
              (std::vector<uint8_t>(bytes.begin(), bytes.begin() + 3)));
    EXPECT_LT(I_GetColorBand(), 0);
    closeImages({im});
}

TEST_P(LutMap, LiteralRgbTablesByPixelLayout)
{
    const Table red = tableOf([](int32_t i) { return i + 1; });
    const Table green = tableOf([](int32_t i) { return i + 20; });
    const Table blue = tableOf([](int32_t i) { return i + 100; });
    const struct {
        int32_t type;
        std::vector<uint8_t> expected;
    } cases[] = {{PIX_BGR24, {105, 25, 6}}, {PIX_RGB24, {6, 25, 105}}, {PIX_RGB32, {5, 6, 25, 105}}};
    for (const auto& c : cases) {
        const int32_t im = image(33, 2, c.type, [](int32_t, int32_t) { return 5; });
        ASSERT_EQ(1, I_RGBLUTMap(im, im, red.data(), green.data(), blue.data()));
        const std::vector<uint8_t> bytes = bytesOf(im);
        EXPECT_EQ(c.expected, (std::vector<uint8_t>(bytes.end() - I_ImTypeBytes(c.type), bytes.end())))
            << c.type;
        closeImages({im});
    }
}

TEST_P(LutMap, LiteralRgbTablesOnGrayUseGreen)
{
    const Table other = tableOf([](int32_t) { return 1; });
    const int32_t im = byteImage({{1, 2, 3}});
    const int32_t dest = byteImage({{0, 0, 0}});
    ASSERT_EQ(1, I_RGBLUTMap(im, dest, other.data(), curve_.data(), other.data()));
    EXPECT_EQ((std::vector<uint8_t>{curve(1), curve(2), curve(3)}), bytesOf(dest));
    closeImages({im, dest});
}

TEST_P(LutMap, LiteralWordTableIsIndexedUnderAMask)
{
    std::vector<int32_t> table(300);
    for (int32_t i = 0; i < 300; ++i)
        table[static_cast<std::size_t>(i)] = 1000 + i;
    const double values[] = {0, 1, 255, 256, 257, -1, 4096 + 7};
    const int32_t src = wordImage(7, 1, [&](int32_t x, int32_t) { return values[x]; });
    const int32_t dest = wordImage(7, 1);
    ASSERT_EQ(1, I_MapLUTType(src, dest, table.data(), PIX_DWORD, 300)); // the mask is 255
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(1000, 1001, 1255, 1000, 1001, 1255, 1007));
    closeImages({src, dest});
}

TEST_P(LutMap, LiteralWordTableOf65536Entries)
{
    std::vector<uint16_t> table(65536);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<uint16_t>(i ^ 0x5555);
    const int32_t src = wordImage(4, 1, [](int32_t x, int32_t) { return x * 20000 - 30000; });
    ASSERT_EQ(1, I_MapLUTType(src, src, table.data(), PIX_WORD, 65536));
    for (int32_t x = 0; x < 4; ++x)
        EXPECT_EQ(static_cast<int16_t>(static_cast<uint16_t>(x * 20000 - 30000) ^ 0x5555), pixel(src, x, 0));
    closeImages({src});
}

TEST_P(LutMap, BoundsWordTableOfOneEntryIsZeroBehindIt)
{
    const int16_t entry = 1234;
    for (const int32_t length : {1, 0, -3}) {
        const int32_t src = wordImage(3, 1, [](int32_t x, int32_t) { return x == 2 ? -1 : x; });
        ASSERT_EQ(1, I_MapLUTType(src, src, &entry, PIX_WORD, length));
        EXPECT_THAT(rowOf(src, 0), testing::ElementsAre(length == 1 ? 1234 : 0, 0, 0));
        closeImages({src});
    }
}

TEST_P(LutMap, LiteralDwordTableIsIndexedModuloItsPowerOfTwo)
{
    const float table[] = {10, 11, 12, 13, 14, 15};
    const double values[] = {0, 3, 4, 5, -1, 2000000001};
    const int32_t src = image(6, 1, PIX_DWORD, [&](int32_t x, int32_t) { return values[x]; });
    const int32_t dest = image(6, 1, PIX_DWORD);
    ASSERT_EQ(1, I_MapLUTType(src, dest, table, PIX_FLOAT, 6)); // modulo 4
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(10, 13, 10, 11, 13, 11));
    ASSERT_EQ(1, I_MapLUTType(src, dest, table, PIX_FLOAT, 1)); // modulo 1
    EXPECT_THAT(rowOf(dest, 0), testing::Each(10));
    closeImages({src, dest});
}

TEST_P(LutMap, LiteralOtherTypesTakeTheTableAsBytes)
{
    const float table[] = {7, 8, 9};
    const int32_t src = byteImage({{0, 1, 2, 3, 255}});
    ASSERT_EQ(1, I_MapLUTType(src, src, table, PIX_FLOAT, 3));
    EXPECT_THAT(rowOf(src, 0), testing::ElementsAre(7, 8, 9, 0, 0));
    closeImages({src});
    std::vector<uint8_t> longer(1000, 3);
    const int32_t floats = floatImage(2, 1, [](int32_t, int32_t) { return 200; });
    ASSERT_EQ(1, I_MapLUTType(floats, floats, longer.data(), PIX_BYTE, 1000));
    EXPECT_THAT(rowOf(floats, 0), testing::Each(3));
    closeImages({floats});
}

TEST_P(LutMap, FailuresOfImagesAndTables)
{
    const int32_t im = byteImage({{1, 2}});
    clearError();
    EXPECT_EQ(0, I_LUTMapROI(im, im, nullptr));
    EXPECT_EQ(0, I_MapLUTType(im, im, nullptr, PIX_BYTE, 256));
    EXPECT_EQ(0, I_RGBLUTMap(im, im, curve_.data(), nullptr, curve_.data()));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ((std::vector<uint8_t>{1, 2}), bytesOf(im));
    EXPECT_EQ(0, I_LUTMapROI(5, im, curve_.data()));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    clearError();
    EXPECT_EQ(0, I_LUTMapROI(im, -290, curve_.data()));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_RGBLUTMap(-290, im, curve_.data(), curve_.data(), curve_.data()));
    EXPECT_EQ(0, I_MapLUTType(-290, im, curve_.data(), PIX_BYTE, 256));
    closeImages({im});
}

TEST_P(LutMap, FailuresOfMemory)
{
    const int32_t bytes = byteImage(40, 30);
    const int32_t words = wordImage(40, 30);
    const int32_t floats = floatImage(40, 30);
    const std::vector<int16_t> table(256, 4);
    const auto check = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
    };
    forEachFailingAllocation([&] { return I_LUTMapROI(floats, bytes, curve_.data()); }, check);
    forEachFailingAllocation([&] { return I_MapLUTType(words, words, table.data(), PIX_WORD, 256); }, check);
    forEachFailingAllocation([&] { return I_MapLUTType(floats, words, table.data(), PIX_WORD, 256); }, check);
    closeImages({bytes, words, floats});
}

} // namespace
