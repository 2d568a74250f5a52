// vexa profile and vexa trace: values along a line, points of a contour.
#include <cmath>
#include <sstream>

#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

// The numbers of a comma-separated list under one heading line.
std::vector<std::vector<double>> numbers(const std::string& text)
{
    std::vector<std::vector<double>> rows;
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream cells(line);
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, ',');)
            rows.back().push_back(std::stod(cell));
    }
    return rows;
}

class MeasureCommands : public testing::Test
{
protected:
    void SetUp() override
    {
        writeGreyPng(ramp, 60, 40, [](int32_t x, int32_t y) { return 2 * x + 3 * y; });
        writeGreyPng(disc, 80, 70, [](int32_t x, int32_t y) {
            return static_cast<int32_t>(
                std::clamp(120 + 60 * (20 - std::hypot(x - 40.25, y - 33.5)), 20.0, 220.0));
        });
    }
    void expectFailure(const std::vector<std::string>& arguments, const std::string& sentence)
    {
        vexa::test::expectFailure(scratch, arguments, sentence);
    }

    Scratch scratch;
    const std::string ramp = scratch / "ramp.png";
    const std::string disc = scratch / "disc.png";
};
using ProfileCommand = MeasureCommands;
using TraceCommand = MeasureCommands;

TEST_F(ProfileCommand, PrintsPositionPlaceAndValue)
{
    const Outcome outcome = run({"profile", ramp, "10,5", "13,5"});
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("position,x,y,value\n0.000,10.000,5.000,35.00\n1.000,11.000,5.000,37.00\n"
              "2.000,12.000,5.000,39.00\n3.000,13.000,5.000,41.00\n",
              outcome.out);
    EXPECT_EQ("", outcome.err);
}

TEST_F(ProfileCommand, SlantedLinesOfAnyDirection)
{
    const auto rows = numbers(run({"profile", ramp, "40,30", "10.5,7.25", "--width", "3"}).out);
    ASSERT_EQ(38U, rows.size()); // trunc(37.88) and one
    EXPECT_EQ(40, rows.front()[1]);
    EXPECT_EQ(7.25, rows.back()[2]);
    for (const auto& row : rows) {
        ASSERT_EQ(4U, row.size());
        // One of three lines lies to a side: the mean is a pixel's part off, on a plane as everywhere.
        EXPECT_NEAR(2 * row[1] + 3 * row[2], row[3], 2.5);
    }
    EXPECT_EQ(2U, numbers(run({"profile", ramp, "0,0", "0,1"}).out).size());
    EXPECT_EQ(1U, numbers(run({"profile", ramp, "59,39", "59,39"}).out).size());
}

TEST_F(ProfileCommand, PlotShowsTheCurveBetweenAxes)
{
    ASSERT_EQ(0, run({"profile", ramp, "0,20", "59,20", "--plot", scratch / "curve.png"}).code);
    const GreyPicture plot = readPng(scratch / "curve.png");
    ASSERT_EQ(800, plot.cols);
    ASSERT_EQ(450, plot.rows);
    // Values 60 to 178 on an axis from 60 to 180: the curve rises from the lower left corner of the axes.
    const auto darkestRow = [&](int32_t x) {
        int32_t darkest = 21;
        for (int32_t y = 21; y < 404; ++y)
            if (plot.at(x, y) < plot.at(x, darkest))
                darkest = y;
        return darkest;
    };
    EXPECT_NEAR(405 - 385 / 4.0, darkestRow(70 + 705 / 4), 8);
    EXPECT_NEAR(405 - 385 / 2.0, darkestRow(70 + 705 / 2), 8);
    EXPECT_NEAR(405 - 385 * 0.75, darkestRow(70 + 705 * 3 / 4), 8);
    EXPECT_LT(plot.at(70, 300), 100) << "the axis";
    EXPECT_EQ(255, plot.at(5, 5));
    ASSERT_EQ(0, run({"profile", ramp, "5,5", "5,5", "--plot", scratch / "one.bmp"}).code);
}

TEST_F(ProfileCommand, Failures)
{
    expectFailure({"profile", ramp, "10,5"}, "END");
    expectFailure({"profile", ramp, "10,5", "13"}, "a point is written as X,Y, not as \"13\"");
    expectFailure({"profile", ramp, "10,5", "13,5x"}, "a point is written as X,Y");
    expectFailure({"profile", ramp, "10,5", "nan,5"}, "a point is written as X,Y");
    expectFailure({"profile", ramp, "10,5", "60,5"}, "the line leaves the picture, which is 60 x 40");
    expectFailure({"profile", ramp, "10,0", "50,0", "--width", "3"}, "the line leaves the picture");
    expectFailure({"profile", ramp, "10,5", "10.2,5", "--width", "2"}, "no sides");
    expectFailure({"profile", ramp, "10,5", "20,5", "--width", "0"}, "--width");
    expectFailure({"profile", ramp, "10,5", "20,5", "--plot", scratch / "a.gif"}, "a picture is written as");
    expectFailure({"profile", scratch / "none.png", "10,5", "20,5"}, "cannot open");
}

TEST_F(TraceCommand, PrintsThePoints)
{
    const Outcome outcome = run({"trace", disc, "--threshold", "120"});
    EXPECT_EQ(0, outcome.code);
    EXPECT_THAT(outcome.out, StartsWith("x,y\n"));
    const auto points = numbers(outcome.out);
    EXPECT_GT(points.size(), 80U);
    for (const auto& point : points) {
        ASSERT_EQ(2U, point.size());
        EXPECT_NEAR(20, std::hypot(point[0] - 40.25, point[1] - 33.5), 0.1);
    }
}

TEST_F(TraceCommand, WritesAListAndTellsWhatItIs)
{
    const Outcome outcome =
        run({"trace", disc, "--threshold", "120", "--start", "40,33", "--out", scratch / "p.csv"});
    EXPECT_EQ(0, outcome.code);
    int count = 0;
    double length = 0, area = 0;
    ASSERT_EQ(3, std::sscanf(outcome.out.c_str(), "%d points, closed, length %lf, area %lf\n", &count,
                             &length, &area));
    EXPECT_EQ(static_cast<std::size_t>(count), numbers(readText(scratch / "p.csv")).size());
    EXPECT_NEAR(2 * 3.14159265 * 20, length, 1);
    EXPECT_NEAR(3.14159265 * 400, area, 4);
    writeGreyPng(scratch / "half.png", 40, 30, [](int32_t x, int32_t) { return x < 20 ? 200 : 10; });
    EXPECT_THAT(run({"trace", scratch / "half.png", "--threshold", "100", "--out", scratch / "q.csv"}).out,
                HasSubstr(" points, open, length "));
}

TEST_F(TraceCommand, Failures)
{
    expectFailure({"trace", disc}, "--threshold");
    expectFailure({"trace", disc, "--threshold", "0"}, "--threshold");
    expectFailure({"trace", disc, "--threshold", "230"}, "no edge at 230");
    expectFailure({"trace", disc, "--threshold", "120", "--start", "80,5"},
                  "the start lies outside the picture");
    expectFailure({"trace", disc, "--threshold", "120", "--start", "8"}, "a point is written as X,Y");
    expectFailure({"trace", scratch / "none.png", "--threshold", "9"}, "cannot open");
    std::filesystem::create_directory(scratch / "taken");
    expectFailure({"trace", disc, "--threshold", "120", "--out", scratch / "taken"}, "it is a folder");
}

} // namespace
