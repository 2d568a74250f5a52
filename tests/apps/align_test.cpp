// vexa align: the shift that it tells, and its warnings.
#include <cmath>

#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using nlohmann::json;
using testing::HasSubstr;

namespace
{

// Soft squares, moved by a shift.
int32_t soft(double x, double y)
{
    const auto step = [](double d) { return 1.0 / (1.0 + std::exp(-1.5 * d)); };
    double value = 40.0;
    const double squares[][3] = {{30, 25, 40}, {90, 60, 30}, {60, 100, 25}, {125, 20, 22}};
    for (const auto& [left, top, side] : squares)
        value += 130.0 * step(x - left) * step(left + side - x) * step(y - top) * step(top + side - y);
    return static_cast<int32_t>(std::lround(value));
}

class Align : public testing::Test
{
protected:
    Scratch scratch;
    const std::string a = scratch / "a.png", b = scratch / "b.png";

    void writeMoved(double dx, double dy) const
    {
        writeGreyPng(a, 170, 150, [](int32_t x, int32_t y) { return soft(x, y); });
        writeGreyPng(b, 170, 150, [=](int32_t x, int32_t y) { return soft(x + dx, y + dy); });
    }
};

TEST_F(Align, TellsTheShiftToAHundredthOfAPixel)
{
    for (const auto& [dx, dy] :
         {std::pair{0.0, 0.0}, std::pair{0.4, -0.3}, std::pair{-5.25, 3.5}, std::pair{9.1, 7.8}}) {
        writeMoved(dx, dy);
        const Outcome outcome = run({"align", a, b, "--json"});
        EXPECT_EQ(0, outcome.code);
        const json alignment = json::parse(outcome.out).at("alignment");
        EXPECT_NEAR(dx, alignment.at("x").at("shift").get<double>(), 0.03);
        EXPECT_NEAR(dy, alignment.at("y").at("shift").get<double>(), 0.03);
        EXPECT_GT(alignment.at("x").at("quality").get<double>(), 0.9);
        EXPECT_TRUE(alignment.at("warnings").empty()) << alignment.dump();
    }
}

TEST_F(Align, TextSaysTheSame)
{
    writeMoved(0, 0);
    const Outcome outcome = run({"align", a, b});
    EXPECT_THAT(outcome.out, HasSubstr("shift 0.00, 0.00 (start), quality 1.00, 1.00, contrast 0."));
    EXPECT_EQ("", outcome.err);
}

TEST_F(Align, PeriodicAndEmptyPicturesAreWarnedOf)
{
    const auto stripes = [](int32_t x, int32_t) { return x % 10 < 4 ? 200 : 50; };
    writeGreyPng(a, 120, 100, stripes);
    writeGreyPng(b, 120, 100, stripes);
    const Outcome outcome = run({"align", a, b});
    EXPECT_THAT(outcome.err, HasSubstr("the pattern repeats every 10.0 pixels in x"));
    EXPECT_THAT(outcome.err, HasSubstr("there is nothing to align on in y"));
    EXPECT_THAT(run({"align", a, b, "-q"}).err, HasSubstr("-q")); // no such option here
}

TEST_F(Align, ShiftOutOfReachIsWarnedOf)
{
    writeMoved(9.0, 0.0);
    const Outcome outcome = run({"align", a, b, "--max-shift", "4"});
    EXPECT_EQ(0, outcome.code);
    EXPECT_THAT(outcome.err, HasSubstr("vexa: the shift in x"));
}

TEST_F(Align, PicturesOfOneSizeOnly)
{
    writeMoved(0, 0);
    const std::string small = scratch / "small.png";
    writeGreyPng(small, 50, 40, [](int32_t, int32_t) { return 9; });
    const Outcome outcome = run({"align", a, small});
    EXPECT_EQ(2, outcome.code);
    EXPECT_THAT(outcome.err, HasSubstr("differ in size"));
}

} // namespace
