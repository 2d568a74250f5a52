#include "vexalib/neighbourhood.h"

#include "core/error.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;

// One call of a row callback.
struct Call {
    int32_t x0, y, width, height, count;
    std::vector<std::vector<int32_t>> rows;
    bool operator==(const Call&) const = default;
};

// Notes what it is handed and gives the middle row back.
int32_t note(int32_t x0, int32_t y, int32_t width, int32_t height, void** rows, void* out, void*,
             int32_t count, void* user)
{
    Call call = {x0, y, width, height, count, {}};
    for (int32_t k = 0; k < height; ++k) {
        const auto* row = static_cast<const uint8_t*>(rows[k]);
        call.rows.emplace_back(row, row + count + width - 1);
    }
    for (int32_t i = 0; i < count; ++i)
        static_cast<uint8_t*>(out)[i] = static_cast<const uint8_t*>(rows[height / 2])[i + (width - 1) / 2];
    static_cast<std::vector<Call>*>(user)->push_back(call);
    return 0;
}

class LiteralFrame : public testing::Test
{
protected:
    void TearDown() override
    {
        I_SetBorderMode(-1, nullptr, 0);
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }
    std::vector<Call> calls;
    int32_t src = byteImage({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    int32_t dest = byteImage({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
};

using Rows = std::vector<std::vector<int32_t>>;

TEST_F(LiteralFrame, ReplicatesTheEdgeAtFirst)
{
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 3, &calls, note));
    const Rows rows = {{1, 1, 2, 3, 3}, {1, 1, 2, 3, 3}, {4, 4, 5, 6, 6}, {7, 7, 8, 9, 9}, {7, 7, 8, 9, 9}};
    ASSERT_EQ(3U, calls.size());
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_EQ((Call{0, y, 3, 3, 3, {rows.begin() + y, rows.begin() + y + 3}}),
                  calls[static_cast<size_t>(y)]);
    EXPECT_EQ(bytesOf(src), bytesOf(dest));
}

TEST_F(LiteralFrame, FillsWithTheConstant)
{
    I_SetBorderMode(128, nullptr, 0);
    EXPECT_EQ(1, I_MxNOperator(src, dest, 2, 2, &calls, note));
    ASSERT_EQ(3U, calls.size());
    EXPECT_EQ((Call{0, 0, 2, 2, 3, {{128, 128, 128, 128}, {1, 2, 3, 128}}}), calls[0]);
    EXPECT_EQ((Call{0, 2, 2, 2, 3, {{4, 5, 6, 128}, {7, 8, 9, 128}}}), calls[2]);
}

// The rows loaded ahead are padded with their edge, the others by reflection, which repeats the last column.
TEST_F(LiteralFrame, Reflects)
{
    I_SetBorderMode(-2, nullptr, 0);
    EXPECT_EQ(1, I_MxNOperator(src, dest, 5, 5, &calls, note));
    ASSERT_EQ(3U, calls.size());
    const std::vector<int32_t> row0 = {1, 1, 1, 2, 3, 3, 3};
    EXPECT_EQ((Rows{{7, 7, 7, 8, 9, 9, 9},
                    {4, 4, 4, 5, 6, 6, 6},
                    row0,
                    {4, 4, 4, 5, 6, 6, 6},
                    {9, 8, 7, 8, 9, 9, 8}}),
              calls[0].rows);
    EXPECT_EQ((std::vector<int32_t>{6, 5, 4, 5, 6, 6, 5}), calls[1].rows[4]);
    EXPECT_EQ((std::vector<int32_t>{3, 2, 1, 2, 3, 3, 2}), calls[2].rows[4]);
}

} // namespace
