// vexa scale and vexa rotate: what the pictures become.
#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using testing::HasSubstr;

namespace
{

int32_t ramp(int32_t x, int32_t y)
{
    return (7 * x + 13 * y) % 256;
}
int32_t smooth(int32_t x, int32_t y)
{
    return 2 * x + y;
}

class Geometry : public testing::Test
{
protected:
    GreyPicture result(std::vector<std::string> arguments)
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        return readPng(scratch / "out.png");
    }

    Scratch scratch;
    const std::string out = scratch / "out.png";
    const std::string in = scratch / "in.png";
};

TEST_F(Geometry, HalfAPictureIsTheRoundedMeanOfFourPixels)
{
    writeGreyPng(in, 60, 40, ramp);
    const GreyPicture half = result({"scale", in, out, "--by", "0.5"});
    ASSERT_EQ(30, half.cols);
    ASSERT_EQ(20, half.rows);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 30; ++x)
            ASSERT_EQ((ramp(2 * x, 2 * y) + ramp(2 * x + 1, 2 * y) + ramp(2 * x, 2 * y + 1) +
                       ramp(2 * x + 1, 2 * y + 1) + 2) /
                          4,
                      half.at(x, y));
}

TEST_F(Geometry, ThirdsAreMeansOfNinePixels)
{
    writeGreyPng(in, 60, 42, smooth);
    const GreyPicture third = result({"scale", in, out, "--to", "20,14"});
    ASSERT_EQ(20, third.cols);
    ASSERT_EQ(14, third.rows);
    // The last column is the last pixel of its row; means of bytes are truncated along the row.
    for (int32_t y = 0; y < 14; ++y)
        for (int32_t x = 0; x < 19; ++x)
            ASSERT_NEAR(smooth(3 * x + 1, 3 * y + 1), third.at(x, y), 1.0) << x << " " << y;
}

TEST_F(Geometry, LargerPicturesAreInterpolatedOrRepeated)
{
    writeGreyPng(in, 30, 20, smooth);
    const GreyPicture twice = result({"scale", in, out, "--by", "2,4"});
    ASSERT_EQ(60, twice.cols);
    ASSERT_EQ(80, twice.rows);
    for (int32_t y = 0; y < 76; ++y)
        for (int32_t x = 0; x < 58; ++x)
            ASSERT_NEAR(x + y / 4.0, twice.at(x, y), 1.0);
    const GreyPicture repeated = result({"scale", in, out, "--by", "2", "--nearest"});
    for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 0; x < 58; ++x)
            ASSERT_EQ(smooth((x + 1) / 2, (y + 1) / 2 < 20 ? (y + 1) / 2 : 19), repeated.at(x, y))
                << x << " " << y;
}

TEST_F(Geometry, ColoursStayColours)
{
    const auto red = [](int32_t x, int32_t) { return 4 * x; };
    const auto green = [](int32_t, int32_t y) { return 4 * y; };
    const auto blue = [](int32_t, int32_t) { return 9; };
    writeColorPng(in, 40, 30, red, green, blue);
    EXPECT_EQ(0, run({"scale", in, out, "--by", "2"}).code);
    EXPECT_THAT(run({"info", out}).out, HasSubstr("80 x 60, 8-bit colour"));
    EXPECT_EQ(0, run({"rotate", in, scratch / "turned.png", "--angle", "90"}).code);
    EXPECT_THAT(run({"info", scratch / "turned.png"}).out, HasSubstr("30 x 40, 8-bit colour"));
}

TEST_F(Geometry, QuarterTurnsAreExact)
{
    // Widths around the library's tile.
    for (const auto& [W, H] : {std::pair{60, 41}, std::pair{256, 256}}) {
        writeGreyPng(in, W, H, ramp);
        const GreyPicture quarter = result({"rotate", in, out, "--angle", "90"});
        ASSERT_EQ(H, quarter.cols);
        ASSERT_EQ(W, quarter.rows);
        for (int32_t y = 0; y < W; ++y)
            for (int32_t x = 0; x < H; ++x)
                ASSERT_EQ(ramp(W - 1 - y, x), quarter.at(x, y));
        const GreyPicture half = result({"rotate", in, out, "--angle", "-180"});
        for (int32_t y = 0; y < H; ++y)
            for (int32_t x = 0; x < W; ++x)
                ASSERT_EQ(ramp(W - 1 - x, H - 1 - y), half.at(x, y));
        const GreyPicture back = result({"rotate", in, out, "--angle", "270", "--nearest"});
        for (int32_t y = 0; y < W; ++y)
            for (int32_t x = 0; x < H; ++x)
                ASSERT_EQ(ramp(y, H - 1 - x), back.at(x, y));
    }
}

TEST_F(Geometry, OtherTurnsGrowOrCut)
{
    writeGreyPng(in, 100, 60, [](int32_t, int32_t) { return 200; });
    const GreyPicture grown = result({"rotate", in, out, "--angle", "30"});
    EXPECT_EQ(117, grown.cols); // 100 cos 30 + 60 sin 30, covered
    EXPECT_EQ(102, grown.rows);
    EXPECT_EQ(200, grown.at(58, 51));
    EXPECT_EQ(0, grown.at(1, 1));
    // The picture's upper right corner goes up.
    EXPECT_EQ(200, grown.at(84, 5));
    const GreyPicture cut = result({"rotate", in, out, "--angle", "30", "--keep-size"});
    EXPECT_EQ(100, cut.cols);
    EXPECT_EQ(60, cut.rows);
}

TEST_F(Geometry, FailuresAreOneSentence)
{
    writeGreyPng(in, 60, 40, ramp);
    const std::vector<std::string> bad[] = {
        {"scale", in, out},
        {"scale", in, out, "--by", "0"},
        {"scale", in, out, "--by", "2", "--to", "3,3"},
        {"scale", in, out, "--to", "1,5"},
        {"scale", in, scratch / "out.gif", "--by", "2"},
        {"scale", in, out, "--by", "1000"},
        {"scale", in, out, "--by", "nan"},
        {"scale", scratch / "none.png", out, "--by", "2"},
        {"rotate", in, out},
        {"rotate", in, out, "--angle", "400"},
        {"rotate", in, out, "--angle", "nan"},
        {"rotate", scratch / "none.png", out, "--angle", "4"},
    };
    for (const auto& arguments : bad) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(2, outcome.code) << arguments.back();
        EXPECT_THAT(outcome.err, testing::StartsWith("vexa: "));
        EXPECT_EQ(1, std::count(outcome.err.begin(), outcome.err.end(), '\n')) << outcome.err;
        EXPECT_FALSE(std::filesystem::exists(out));
    }
}

} // namespace
