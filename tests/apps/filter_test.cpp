// The filter command.
#include <algorithm>
#include <numeric>

#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

int32_t scene(int32_t x, int32_t y)
{
    return x > 20 && y > 10 ? 200 : 40 + (3 * x + 5 * y) % 7;
}

class FilterCommand : public testing::Test
{
protected:
    void SetUp() override { writeGreyPng(in, 50, 30, scene); }

    GreyPicture filtered(const std::string& filter)
    {
        const Outcome outcome = run({"filter", filter, in, out});
        EXPECT_EQ(0, outcome.code) << filter << ": " << outcome.err;
        EXPECT_EQ("", outcome.out);
        return readPng(out);
    }
    void expectFailure(const std::string& filter, const std::string& sentence)
    {
        vexa::test::expectFailure(scratch, {"filter", filter, in, scratch / "none.png"}, sentence);
    }

    Scratch scratch;
    const std::string in = scratch / "in.png";
    const std::string out = scratch / "out.png";
};

// Nine pixels around a place, the edge repeated.
std::vector<int32_t> nineAround(int32_t x, int32_t y)
{
    std::vector<int32_t> nine;
    for (int32_t dy = -1; dy <= 1; ++dy)
        for (int32_t dx = -1; dx <= 1; ++dx)
            nine.push_back(scene(std::clamp(x + dx, 0, 49), std::clamp(y + dy, 0, 29)));
    return nine;
}

TEST_F(FilterCommand, NineInPixelsGiveMeansMediansAndExtremes)
{
    const GreyPicture mean = filtered("smooth");
    const GreyPicture median = filtered("median");
    const GreyPicture low = filtered("erode");
    const GreyPicture high = filtered("dilate:1");
    ASSERT_EQ(50, mean.cols);
    ASSERT_EQ(30, mean.rows);
    for (int32_t y = 0; y < 30; ++y) {
        for (int32_t x = 0; x < 50; ++x) {
            std::vector<int32_t> nine = nineAround(x, y);
            std::sort(nine.begin(), nine.end());
            ASSERT_EQ((std::accumulate(nine.begin(), nine.end(), 0) + 4) / 9, mean.at(x, y));
            ASSERT_EQ(nine[4], median.at(x, y));
            ASSERT_EQ(nine[0], low.at(x, y));
            ASSERT_EQ(nine[8], high.at(x, y));
        }
    }
}

TEST_F(FilterCommand, WindowsTakeOneNumberOrTwo)
{
    EXPECT_EQ(filtered("box:5").bytes, filtered("box:5,5").bytes);
    EXPECT_NE(filtered("box:5").bytes, filtered("box:5,1").bytes);
    EXPECT_EQ(filtered("box").bytes, filtered("box:3").bytes);
    const GreyPicture columns = filtered("box:1,3");
    EXPECT_EQ((40 + (3 * 5 + 5 * 4) % 7 + 40 + (3 * 5 + 5 * 5) % 7 + 40 + (3 * 5 + 5 * 6) % 7 + 1) / 3,
              columns.at(5, 5));
}

TEST_F(FilterCommand, EveryFilterChangesThePicture)
{
    const GreyPicture before = readPng(in);
    for (const std::string filter : {"smooth", "box", "sharpen", "sharpen:40,2", "unsharp", "unsharp:9,5,2",
                                     "median", "erode:2.5", "dilate", "edge", "edge:5,3", "sobel", "contour",
                                     "contour:16,-1", "gauss:1.8", "circle:4", "deflicker", "deflicker:1"})
        EXPECT_NE(before.bytes, filtered(filter).bytes) << filter;
    EXPECT_EQ(before.bytes, filtered("box:1").bytes);
    EXPECT_EQ(before.bytes, filtered("gauss:0").bytes);
    writeGreyPng(in, 50, 30,
                 [](int32_t x, int32_t y) { return x > 10 && x < 30 && y > 10 && y < 20 ? 255 : 0; });
    EXPECT_EQ(0, filtered("skeleton").at(11, 15));
    EXPECT_THAT(filtered("sobel").bytes, testing::Contains(255));
}

TEST_F(FilterCommand, ColoursAreFilteredOneByOne)
{
    const auto other = [](int32_t x, int32_t y) { return scene(49 - x, 29 - y); };
    const auto flat = [](int32_t, int32_t) { return 90; };
    writeColorPng(in, 50, 30, scene, flat, other);
    ASSERT_EQ(0, run({"filter", "sharpen", in, scratch / "color.png"}).code);
    writeColorPng(in, 50, 30, flat, scene, other);
    ASSERT_EQ(0, run({"filter", "smooth", in, out}).code);
    EXPECT_THAT(run({"info", out}).out, HasSubstr("50 x 30"));
    EXPECT_THAT(run({"info", out}).out, HasSubstr("colour"));
}

TEST_F(FilterCommand, FailuresAreOneSentence)
{
    expectFailure("blur", "there is no filter \"blur\"");
    expectFailure("", "there is no filter \"\"");
    expectFailure("box:", "WIDTH is a number, not \"\"");
    expectFailure("box:3,", "HEIGHT is a number, not \"\"");
    expectFailure("box:x", "box[:WIDTH[,HEIGHT]]: WIDTH is a number, not \"x\"");
    expectFailure("box:nan", "WIDTH is a number");
    expectFailure("box:1e99", "WIDTH goes from 0.1 to 1000");
    expectFailure("sharpen:1.5", "STRENGTH is a whole number, not \"1.5\"");
    expectFailure("sharpen:16,0", "REACH goes from 1 to 100");
    expectFailure("box:3,3,3", "too many arguments: box[:WIDTH[,HEIGHT]]");
    expectFailure("median:3", "too many arguments: median");
    writeGreyPng(in, 1, 30, scene);
    expectFailure("median", "a filter needs a picture of 2 x 2 pixels or more");
    EXPECT_EQ(2, run({"filter", "median", scratch / "missing.png", out}).code);
    EXPECT_EQ(2, run({"filter", "median", in, scratch / "out.gif"}).code);
    EXPECT_EQ(2, run({"filter", "median", in}).code);
}

TEST_F(FilterCommand, HelpListsTheFilters)
{
    const Outcome help = run({"filter", "--help"});
    EXPECT_EQ(0, help.code);
    for (const std::string name : {"smooth", "box", "sharpen", "unsharp", "median", "erode", "dilate", "edge",
                                   "sobel", "contour", "gauss", "circle", "skeleton", "deflicker"})
        EXPECT_THAT(help.out, HasSubstr("  " + name));
}

} // namespace
