// Two-dimensional arrays, fills, reversals, the spiral walk.
#include <memory>

#include "tests/support/test_failures.h"
#include "vexalib/vexalib.h"

namespace
{

using vexa::test::errorText;

struct Free {
    void operator()(void* block) const { vexaFree(block); }
};

TEST(LiteralArrays, Create2DArrayIsZeroedAndContiguous)
{
    auto** rows = reinterpret_cast<double**>(Create2DArray(5, 3, sizeof(double)));
    ASSERT_NE(nullptr, rows);
    EXPECT_EQ(static_cast<void*>(rows + 3), static_cast<void*>(rows[0]));
    for (int32_t y = 0; y < 3; ++y) {
        EXPECT_EQ(rows[0] + 5 * y, rows[y]);
        for (int32_t x = 0; x < 5; ++x) {
            EXPECT_EQ(0.0, rows[y][x]);
            rows[y][x] = 1.0;
        }
    }
    Free2DArray(rows);
    Free2DArray(nullptr);
}

TEST(FailuresArrays, Create2DArrayTellsTheSizes)
{
    const int32_t sizes[][3] = {{0, 4, 1}, {4, 0, 1}, {-7, 4, 1}, {4, -2, 8}, {4, 4, 0}};
    for (const auto& size : sizes) {
        I_SetError(0, "");
        EXPECT_EQ(nullptr, Create2DArray(size[0], size[1], size[2]));
        EXPECT_EQ(1, I_GetError(nullptr, 0));
        EXPECT_EQ("Create2DArray ncols=" + std::to_string(size[0]) + " nrows=" + std::to_string(size[1]),
                  errorText());
    }
    EXPECT_EQ(nullptr, Create2DArray(INT32_MAX, INT32_MAX, INT32_MAX));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    vexa::test::forEachFailingAllocation(
        [] {
            void** array = Create2DArray(3, 3, 4);
            Free2DArray(array);
            return int64_t{array != nullptr};
        },
        [](int64_t made) {
            EXPECT_EQ(0, made);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

TEST(BoundsArrays, MemsetStructFillsExactlyTheElements)
{
    for (const int32_t bytes : {1, 2, 3, 4, 5, 8, 12, 16, 33})
        for (const int32_t count : {0, 1, 2, 3, 7, 64, 1000, 9001}) {
            std::vector<uint8_t> element(static_cast<std::size_t>(bytes));
            for (std::size_t i = 0; i < element.size(); ++i)
                element[i] = static_cast<uint8_t>(i * 7 + 1);
            const std::size_t total = element.size() * static_cast<std::size_t>(count);
            std::vector<uint8_t> dest(total + 8, 0xEE);
            EXPECT_EQ(dest.data(), memsetStruct(dest.data(), element.data(), count, bytes));
            for (std::size_t i = 0; i < total; ++i)
                ASSERT_EQ(element[i % element.size()], dest[i])
                    << bytes << " bytes, " << count << " elements, at " << i;
            for (std::size_t i = total; i < dest.size(); ++i)
                ASSERT_EQ(0xEE, dest[i]) << "canary";
        }
}

TEST(BoundsArrays, FillsTakeBadArguments)
{
    uint8_t bytes[4] = {1, 2, 3, 4};
    EXPECT_EQ(nullptr, memsetStruct(nullptr, bytes, 4, 1));
    EXPECT_EQ(bytes, memsetStruct(bytes, nullptr, 4, 1));
    EXPECT_EQ(bytes, memsetStruct(bytes, bytes, -1, 1));
    EXPECT_EQ(bytes, memsetStruct(bytes, bytes, 1, 0));
    EXPECT_EQ(bytes, hmemset2(bytes, 9, -1));
    EXPECT_EQ(nullptr, hmemset2(nullptr, 9, 4));
    EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(bytes, memsetStruct(bytes, bytes, 2, 2));
    EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 1, 2));
    EXPECT_EQ(bytes, hmemset2(bytes, 0x105, 3));
    EXPECT_THAT(bytes, testing::ElementsAre(5, 5, 5, 2));
}

TEST(BoundsArrays, ReverseStructForEveryLengthAndElement)
{
    for (const int32_t bytes : {1, 2, 3, 4, 8, 20})
        for (int32_t count = 0; count < 12; ++count) {
            const std::size_t total = static_cast<std::size_t>(bytes) * static_cast<std::size_t>(count);
            std::vector<uint8_t> source(total + 4);
            for (std::size_t i = 0; i < source.size(); ++i)
                source[i] = static_cast<uint8_t>(i * 31 + 5);
            std::vector<uint8_t> expected = source;
            for (std::size_t i = 0; i < total; ++i) {
                const std::size_t size = static_cast<std::size_t>(bytes);
                expected[i] = source[(static_cast<std::size_t>(count) - 1 - i / size) * size + i % size];
            }
            std::vector<uint8_t> copy = source;
            EXPECT_EQ(1, ReverseStruct2(source.data(), copy.data(), count, bytes));
            EXPECT_EQ(expected, copy);
            copy = source;
            EXPECT_EQ(1, ReverseStruct2(copy.data(), copy.data(), count, bytes));
            EXPECT_EQ(expected, copy);
            EXPECT_EQ(1, ReverseStruct(source.data(), count, bytes));
            EXPECT_EQ(expected, source);
        }
    uint8_t one = 1;
    EXPECT_EQ(0, ReverseStruct(nullptr, 1, 1));
    EXPECT_EQ(0, ReverseStruct(&one, 1, 0));
    EXPECT_EQ(1, ReverseStruct(&one, -3, 1));
    EXPECT_EQ(0, ReverseStruct2(nullptr, &one, 1, 1));
    EXPECT_EQ(0, ReverseStruct2(&one, nullptr, 1, 1));
}

std::vector<std::pair<int32_t, int32_t>> spiral(int32_t cols, int32_t rows, int32_t x, int32_t y,
                                                int32_t radius)
{
    int32_t count = -1;
    const std::unique_ptr<VexaPoint, Free> list(I_SpiralOutList(cols, rows, x, y, radius, &count));
    std::vector<std::pair<int32_t, int32_t>> points;
    for (int32_t i = 0; list && i < count; ++i)
        points.emplace_back(list.get()[i].x, list.get()[i].y);
    EXPECT_TRUE(!list || list.get()[count].x == -1);
    return points;
}

TEST(LiteralSpiral, RingOfThreeByThree)
{
    using P = std::pair<int32_t, int32_t>;
    EXPECT_THAT(spiral(3, 3, 1, 1, 0), testing::ElementsAre(P{1, 1}, P{0, 0}, P{1, 0}, P{2, 0}, P{2, 1},
                                                            P{2, 2}, P{1, 2}, P{0, 2}, P{0, 1}));
    EXPECT_THAT(spiral(3, 3, 0, 0, 1), testing::ElementsAre(P{0, 0}, P{1, 0}, P{1, 1}, P{0, 1}));
    EXPECT_THAT(spiral(1, 1, 0, 0, 0), testing::ElementsAre(P{0, 0}));
}

TEST(BoundsSpiral, EveryPointOnceInRisingRings)
{
    for (const auto& [cols, rows, x, y] : std::vector<std::array<int32_t, 4>>{{1, 9, 0, 3},
                                                                              {9, 1, 8, 0},
                                                                              {7, 5, 2, 4},
                                                                              {4, 4, 0, 0},
                                                                              {6, 3, 99, -99},
                                                                              {5, 5, INT32_MIN, INT32_MAX}})
        for (const int32_t radius : {-1, 0, 1, 2, 3, 50, INT32_MAX}) {
            const auto points = spiral(cols, rows, x, y, radius);
            const int32_t cx = std::clamp(x, 0, cols - 1);
            const int32_t cy = std::clamp(y, 0, rows - 1);
            const int32_t rings = radius < 1 ? std::max(cols, rows) - 1 : radius;
            std::vector<int32_t> seen(static_cast<std::size_t>(cols * rows));
            int32_t ring = 0;
            for (const auto& [px, py] : points) {
                ASSERT_TRUE(px >= 0 && px < cols && py >= 0 && py < rows);
                ++seen[static_cast<std::size_t>(py * cols + px)];
                const int32_t r = std::max(std::abs(px - cx), std::abs(py - cy));
                EXPECT_GE(r, ring);
                ring = r;
            }
            for (int32_t py = 0; py < rows; ++py)
                for (int32_t px = 0; px < cols; ++px)
                    EXPECT_EQ(std::max(std::abs(px - cx), std::abs(py - cy)) <= rings,
                              seen[static_cast<std::size_t>(py * cols + px)]);
        }
}

TEST(FailuresSpiral, NoListForNoSize)
{
    int32_t count = 5;
    EXPECT_EQ(nullptr, I_SpiralOutList(0, 3, 0, 0, 0, &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(nullptr, I_SpiralOutList(3, -1, 0, 0, 0, nullptr));
    vexa::test::forEachFailingAllocation(
        [&] {
            VexaPoint* list = I_SpiralOutList(3, 3, 1, 1, 0, &count);
            vexaFree(list);
            return int64_t{list != nullptr};
        },
        [&](int64_t made) {
            EXPECT_EQ(0, made);
            EXPECT_EQ(0, count);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

} // namespace
