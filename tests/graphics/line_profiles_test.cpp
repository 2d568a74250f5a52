#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/profile.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

class LineProfiles : public testing::Test
{
protected:
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetColorProcMode(3);
        clearError();
    }
};
using LiteralLineProfiles = LineProfiles;
using BoundsLineProfiles = LineProfiles;
using FailuresLineProfiles = LineProfiles;

TEST_F(LiteralLineProfiles, GetLineFCoordsKeepsTheFraction)
{
    const VexaPointF a = {0, 0}, b = {5, 2};
    VexaPointF out[6];
    ASSERT_EQ(6, I_GetLineFCoords(0, &a, &b, out));
    for (int32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(static_cast<float>(i), out[i].x);
        EXPECT_EQ(static_cast<float>(1024 + i * 819) / 2048.0F, out[i].y); // 819 = trunc(2 * 2048 / 5)
    }
    const VexaPointF c = {1.25F, 8.5F}, d = {1.25F, 2.0F};
    VexaPointF up[8];
    ASSERT_EQ(7, I_GetLineFCoords(0, &c, &d, up));
    EXPECT_EQ(8.0F, up[0].y);
    EXPECT_EQ(1.75F, up[0].x);
    EXPECT_EQ(2.0F, up[6].y);
    ASSERT_EQ(1, I_GetLineFCoords(0, &c, &c, up));
    EXPECT_EQ(1.25F, up[0].x) << "one point stays as it is";
    EXPECT_EQ(8.5F, up[0].y);
}

TEST_F(LiteralLineProfiles, GetAndPutLineProfile)
{
    const int32_t im = byteImage(20, 10, [](int32_t x, int32_t y) { return 10 * y + x; });
    const VexaPoint a = {1, 1}, b = {6, 3};
    uint8_t bytes[6];
    ASSERT_EQ(6, I_GetLineProfile(im, &a, &b, bytes));
    EXPECT_THAT(bytes, testing::ElementsAre(11, 12, 23, 24, 35, 36));
    ASSERT_EQ(6, I_GetLineProfile(im, &b, &a, bytes));
    EXPECT_THAT(bytes, testing::ElementsAre(36, 35, 24, 23, 12, 11));
    const uint8_t line[] = {201, 202, 203, 204, 205, 206};
    ASSERT_EQ(6, I_PutLineProfile(im, &a, &b, line));
    ASSERT_EQ(6, I_GetLineProfile(im, &a, &b, bytes));
    EXPECT_THAT(bytes, testing::ElementsAreArray(line));
    EXPECT_EQ(10 * 1 + 3, pixel(im, 3, 1)) << "nothing beside the line is touched";
    const VexaPoint corner = {19, 9};
    ASSERT_EQ(1, I_GetLineProfile(im, &corner, &corner, bytes));
    EXPECT_EQ(109, bytes[0]);
}

TEST_F(LiteralLineProfiles, GetLineProfileCutsFloatsToAByte)
{
    const int32_t im = floatImage(4, 1, [](int32_t x, int32_t) {
        return std::vector{1.9, -1.9, 257.5, 300.0}[static_cast<std::size_t>(x)];
    });
    const VexaPoint a = {0, 0}, b = {3, 0};
    uint8_t bytes[4];
    ASSERT_EQ(4, I_GetLineProfile(im, &a, &b, bytes));
    EXPECT_THAT(bytes, testing::ElementsAre(1, 255, 1, 44));
}

TEST_F(LiteralLineProfiles, ColourIsReadByTheStatisticMode)
{
    const int32_t im = I_ImOpen(3, 1, PIX_BGR24);
    const uint8_t pixels[] = {30, 60, 90, 30, 60, 90, 30, 60, 90};
    ASSERT_NE(0, I_PutBlockType(0, 0, 3, 1, pixels, im, PIX_BGR24));
    I_SetStatsProcMode(0); // red
    I_ResetColorProcMode();
    const VexaPoint a = {0, 0}, b = {2, 0};
    uint8_t bytes[3];
    ASSERT_EQ(3, I_GetLineProfile(im, &a, &b, bytes));
    EXPECT_THAT(bytes, testing::Each(90));
    EXPECT_EQ(3, I_GetColorProcMode()) << "put back";
    I_SetStatsProcMode(-2);
    I_ResetColorProcMode();
}

TEST_F(BoundsLineProfiles, LinesAreLimitedToTheImage)
{
    const int32_t im = byteImage(20, 10, [](int32_t x, int32_t y) { return 10 * y + x; });
    const VexaPoint a = {-5, 4}, b = {40, 4};
    uint8_t bytes[21] = {};
    bytes[20] = 99;
    ASSERT_EQ(20, I_GetLineProfile(im, &a, &b, bytes));
    EXPECT_EQ(40, bytes[0]);
    EXPECT_EQ(59, bytes[19]);
    EXPECT_EQ(99, bytes[20]);
    const VexaPoint far1 = {-2147483647 - 1, 2147483647}, far2 = {2147483647, 2147483647};
    EXPECT_EQ(0, I_GetLineProfile(im, &far1, &far2, bytes));
    EXPECT_EQ(0, I_PutLineProfile(im, &far1, &far2, bytes));
    const VexaPointF f1 = {-1e30F, 3.0F}, f2 = {1e30F, 3.0F};
    VexaPointF out[21];
    EXPECT_GE(21, I_GetLineFCoords(im, &f1, &f2, out));
}

TEST_F(FailuresLineProfiles, BadImagesAndNullPointers)
{
    const int32_t im = byteImage(20, 10);
    const VexaPoint a = {0, 0}, b = {5, 5};
    const VexaPointF af = {0, 0}, bf = {5, 5};
    VexaPointF out[8];
    uint8_t bytes[8] = {};
    for (const int32_t bad : {-250, 1, 0}) {
        clearError();
        EXPECT_EQ(0, I_GetLineProfile(bad, &a, &b, bytes));
        EXPECT_NE(0, I_GetError(nullptr, 0));
        EXPECT_EQ(0, I_PutLineProfile(bad, &a, &b, bytes));
    }
    EXPECT_EQ(0, I_GetLineFCoords(-250, &af, &bf, out));
    EXPECT_EQ(0, I_GetLineFCoords(im, nullptr, &bf, out));
    EXPECT_EQ(0, I_GetLineFCoords(im, &af, nullptr, out));
    EXPECT_EQ(0, I_GetLineFCoords(im, &af, &bf, nullptr));
    EXPECT_EQ(0, I_GetLineProfile(im, nullptr, &b, bytes));
    EXPECT_EQ(0, I_GetLineProfile(im, &a, nullptr, bytes));
    EXPECT_EQ(0, I_GetLineProfile(im, &a, &b, nullptr));
    EXPECT_EQ(0, I_PutLineProfile(im, nullptr, &b, bytes));
    EXPECT_EQ(0, I_PutLineProfile(im, &a, &b, nullptr));
}

} // namespace
