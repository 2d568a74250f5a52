#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/profile.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;
using testing::Each;
using testing::ElementsAre;

namespace
{

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
constexpr uint32_t kOld = 77; // what stood in the arrays before

struct Sums {
    int32_t result;
    std::vector<uint32_t> columns, rows;
};

template <typename Function>
Sums sumsOf(Function function, int32_t x, int32_t y, int32_t w, int32_t h, int32_t im)
{
    Sums sums{0, std::vector<uint32_t>(static_cast<std::size_t>(std::max(w, 0)) + 1, kOld),
              std::vector<uint32_t>(static_cast<std::size_t>(std::max(h, 0)) + 1, kOld)};
    sums.result = function(x, y, w, h, im, sums.columns.data(), sums.rows.data());
    EXPECT_EQ(kOld, sums.columns.back());
    EXPECT_EQ(kOld, sums.rows.back());
    sums.columns.pop_back();
    sums.rows.pop_back();
    return sums;
}
Sums window(int32_t x, int32_t y, int32_t w, int32_t h, int32_t im)
{
    return sumsOf(I_GetWindowProfiles, x, y, w, h, im);
}
Sums oldWindow(int32_t x, int32_t y, int32_t w, int32_t h, int32_t im)
{
    return sumsOf(xI_GetWindowProfiles, x, y, w, h, im);
}

// Sums of a function of the pixel, 0 outside of cols by rows.
template <typename Pixel>
Sums plainSums(int32_t x, int32_t y, int32_t w, int32_t h, int32_t cols, int32_t rows, Pixel pixel)
{
    Sums sums{1, std::vector<uint32_t>(static_cast<std::size_t>(w)),
              std::vector<uint32_t>(static_cast<std::size_t>(h))};
    for (int32_t j = 0; j < h; ++j)
        for (int32_t i = 0; i < w; ++i)
            if (x + i >= 0 && y + j >= 0 && x + i < cols && y + j < rows) {
                sums.columns[static_cast<std::size_t>(i)] += static_cast<uint32_t>(pixel(x + i, y + j));
                sums.rows[static_cast<std::size_t>(j)] += static_cast<uint32_t>(pixel(x + i, y + j));
            }
    return sums;
}

void expectSums(const Sums& expected, const Sums& sums)
{
    EXPECT_EQ(expected.result, sums.result);
    EXPECT_EQ(expected.columns, sums.columns);
    EXPECT_EQ(expected.rows, sums.rows);
}

class WindowProfiles : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        I_ImCloseAll();
        clearError();
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
    }
};
using LiteralWindowProfiles = WindowProfiles;
using BoundsWindowProfiles = WindowProfiles;
using FailuresWindowProfiles = WindowProfiles;
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralWindowProfiles,
                         testing::ValuesIn(vexa::availableInstructionSets()));
INSTANTIATE_TEST_SUITE_P(EverySet, BoundsWindowProfiles, testing::ValuesIn(vexa::availableInstructionSets()));
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresWindowProfiles,
                         testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(LiteralWindowProfiles, SmallWindow)
{
    const int32_t im = byteImage({{1, 2, 3, 4}, {10, 20, 30, 40}, {100, 200, 250, 255}});
    for (const Sums& sums : {window(1, 0, 2, 3, im), oldWindow(1, 0, 2, 3, im)}) {
        EXPECT_EQ(1, sums.result);
        EXPECT_THAT(sums.columns, ElementsAre(222U, 283U));
        EXPECT_THAT(sums.rows, ElementsAre(5U, 50U, 450U));
    }
}

TEST_P(LiteralWindowProfiles, WindowBeyondTheImage)
{
    const int32_t im = byteImage({{1, 2, 3, 4}, {10, 20, 30, 40}, {100, 200, 250, 255}});
    Sums sums = window(2, 1, 4, 5, im);
    EXPECT_EQ(1, sums.result);
    EXPECT_THAT(sums.columns, ElementsAre(280U, 295U, 0U, 0U));
    EXPECT_THAT(sums.rows, ElementsAre(70U, 505U, 0U, 0U, 0U));
    sums = window(-1, -2, 3, 4, im);
    EXPECT_EQ(1, sums.result);
    EXPECT_THAT(sums.columns, ElementsAre(0U, 11U, 22U));
    EXPECT_THAT(sums.rows, ElementsAre(0U, 0U, 3U, 30U));
    // At or behind the last column or row: cleared all the same.
    for (const auto& [x, y] : {std::pair{4, 0}, {0, 3}, {kHighest, 0}, {0, kHighest}}) {
        sums = window(x, y, 2, 2, im);
        EXPECT_EQ(0, sums.result);
        EXPECT_THAT(sums.columns, Each(0U));
        EXPECT_THAT(sums.rows, Each(0U));
    }
    // The older form leaves the sums as they are.
    for (const auto& [x, y] : {std::pair{3, 0}, {0, 2}, {-1, 0}, {0, -1}, {kHighest, 0}, {0, kLowest}}) {
        sums = oldWindow(x, y, 2, 2, im);
        EXPECT_EQ(0, sums.result);
        EXPECT_THAT(sums.columns, Each(kOld));
        EXPECT_THAT(sums.rows, Each(kOld));
    }
}

TEST_P(LiteralWindowProfiles, SizesBelowOneAndNullArrays)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}});
    for (const int32_t size : {0, -1, kLowest})
        for (const auto function : {I_GetWindowProfiles, xI_GetWindowProfiles}) {
            EXPECT_EQ(0, function(0, 0, size, 2, im, nullptr, nullptr));
            EXPECT_EQ(0, function(0, 0, 2, size, im, nullptr, nullptr));
        }
    for (const auto function : {I_GetWindowProfiles, xI_GetWindowProfiles}) {
        uint32_t sums[2] = {kOld, kOld};
        EXPECT_EQ(1, function(0, 0, 2, 2, im, sums, nullptr));
        EXPECT_THAT(sums, ElementsAre(4U, 6U));
        EXPECT_EQ(1, function(0, 0, 2, 2, im, nullptr, sums));
        EXPECT_THAT(sums, ElementsAre(3U, 7U));
        EXPECT_EQ(1, function(0, 0, 2, 2, im, nullptr, nullptr));
    }
    EXPECT_EQ(1, I_GetWindowProfiles(-10, 0, 2, 2, im, nullptr, nullptr)) << "all of it lies in front";
    EXPECT_EQ(1, I_GetWindowProfiles(kLowest, kLowest, 2, 2, im, nullptr, nullptr));
}

TEST_P(BoundsWindowProfiles, EverySizeAroundTheVectors)
{
    const auto pixel = [](int32_t x, int32_t y) {
        return (x * 7 + y * 13) % 5 == 0 ? 255 : (x * 31 + y * 17) % 256;
    };
    const int32_t im = byteImage(150, 20, pixel);
    for (const int32_t w : {1, 15, 16, 17, 31, 33, 63, 64, 65, 127, 129, 149, 160})
        for (const int32_t h : {1, 2, 3, 4, 5, 7, 8, 9, 25})
            expectSums(plainSums(1, 2, w, h, 150, 20, pixel), window(1, 2, w, h, im));
}

TEST_P(BoundsWindowProfiles, SumsOfManyWhiteRowsAndColumns)
{
    // More rows than 16 bits hold sums of, more columns than are summed at once.
    const int32_t im = byteImage(2200, 600);
    I_ImClear(im, 255);
    const auto white = [](int32_t, int32_t) { return 255; };
    expectSums(plainSums(3, 1, 2190, 599, 2200, 600, white), window(3, 1, 2190, 599, im));
    expectSums(plainSums(3, 1, 2190, 599, 2200, 600, white), oldWindow(3, 1, 2190, 599, im));
}

TEST_P(BoundsWindowProfiles, EveryType)
{
    const auto pixel = [](int32_t x, int32_t y) { return (x * 31 + y * 17) % 120; };
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_BGR24, PIX_RGB32}) {
        const int32_t im = image(70, 9, type, pixel);
        SCOPED_TRACE(type);
        expectSums(plainSums(3, 1, 60, 7, 70, 9, pixel), oldWindow(3, 1, 60, 7, im));
        expectSums(plainSums(3, 1, 90, 17, 70, 9, pixel), window(3, 1, 90, 17, im));
        expectSums(plainSums(-3, -1, 90, 17, 70, 9, pixel), window(-3, -1, 90, 17, im));
        closeImages({im});
    }
}

TEST_P(BoundsWindowProfiles, RowsOfAnInvertedImageComeTopFirst)
{
    const int32_t im = byteImage({{1, 1}, {10, 10}, {100, 100}});
    ASSERT_EQ(1, I_ImInvertRows(im));
    EXPECT_THAT(window(0, 0, 2, 2, im).rows, ElementsAre(2U, 20U));
}

TEST_P(FailuresWindowProfiles, BadImageAndMissingMemory)
{
    uint32_t sums[100];
    EXPECT_EQ(0, I_GetWindowProfiles(0, 0, 5, 5, -250, sums, sums));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    clearError();
    EXPECT_EQ(0, xI_GetWindowProfiles(0, 0, 5, 5, -250, sums, sums));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    const int32_t im = floatImage(40, 30);
    const auto failed =
        [&](int32_t (*function)(int32_t, int32_t, int32_t, int32_t, int32_t, uint32_t*, uint32_t*)) {
            std::string text;
            forEachFailingAllocation([&] { return function(0, 0, 40, 20, im, sums, nullptr); },
                                     [&](int64_t result) {
                                         EXPECT_EQ(0, result);
                                         EXPECT_EQ(2, I_GetError(nullptr, 0));
                                         text = text.empty() ? errorText() : text;
                                     });
            return text;
        };
    EXPECT_THAT(failed(I_GetWindowProfiles), testing::HasSubstr("failed: I_GetWindowProfiles 40 x 20: "));
    EXPECT_THAT(failed(xI_GetWindowProfiles), testing::HasSubstr("failed: I_GetWindowProfiles: "));
}

} // namespace
