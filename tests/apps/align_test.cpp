// vexa align: the shift that it tells, and its warnings.
#include <cmath>

#include <gmock/gmock.h>

#include "plate/plate.h"
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
    EXPECT_THAT(outcome.err, HasSubstr("vexa: the shift"));
    writeMoved(9.0, 0.0);
    EXPECT_THAT(run({"align", a, b, "--max-shift", "9"}).err,
                HasSubstr("vexa: the shift in x lies at the limit of the search"));
}

TEST_F(Align, SlantedStripesTellTheShiftAcrossThem)
{
    const auto stripes = [](double x, double y) {
        return static_cast<int32_t>(std::lround(120.0 + 80.0 * std::sin((x + 2.0 * y) * 0.07)));
    };
    writeGreyPng(a, 160, 140, stripes);
    writeGreyPng(b, 160, 140, [&](int32_t x, int32_t y) { return stripes(x + 0.4, y + 0.8); });
    const Outcome outcome = run({"align", a, b, "--json"});
    EXPECT_THAT(outcome.err, HasSubstr("all edges run one way: the shift along them is not defined"));
    const json alignment = json::parse(outcome.out).at("alignment");
    const double x = alignment.at("x").at("shift"), y = alignment.at("y").at("shift");
    EXPECT_NEAR(0.4 + 2.0 * 0.8, x + 2.0 * y, 0.03) << "the distance across the stripes";
}

TEST_F(Align, FlatPicturesStayWhereTheyAre)
{
    for (const auto& [cols, rows] :
         {std::pair{64, 48}, std::pair{1, 1}, std::pair{3, 90}, std::pair{90, 2}}) {
        writeGreyPng(a, cols, rows, [](int32_t, int32_t) { return 90; });
        const Outcome outcome = run({"align", a, a});
        EXPECT_EQ(0, outcome.code);
        EXPECT_EQ(
            "shift 0.00, 0.00 (start), quality 0.00, 0.00, contrast 0.00, 0.00, repeat distance 0.0, 0.0\n",
            outcome.out);
        EXPECT_EQ("vexa: there is nothing to align on in x\nvexa: there is nothing to align on in y\n",
                  outcome.err);
    }
}

TEST_F(Align, SmallPicturesAreAlignedToo)
{
    for (const int32_t size : {7, 12, 20, 33, 40}) {
        const auto disc = [size](int32_t x, int32_t y) {
            return std::hypot(x - size / 2.0, y - size / 2.0) < size / 4.0 ? 200 : 30;
        };
        writeGreyPng(a, size, size, disc);
        const Outcome outcome = run({"align", a, a, "--json"});
        EXPECT_EQ(0, outcome.code);
        const json alignment = json::parse(outcome.out).at("alignment");
        EXPECT_NEAR(0.0, alignment.at("x").at("shift").get<double>(), 0.01) << size;
        EXPECT_NEAR(0.0, alignment.at("y").at("shift").get<double>(), 0.01) << size;
    }
}

// Photographs of made plates, whose shift is known exactly.
class AlignPlates : public testing::Test
{
protected:
    Scratch scratch;
    const std::string a = scratch / "a.png", b = scratch / "b.png";
    plate::PlateSettings settings;
    plate::Camera camera, moved;

    AlignPlates()
    {
        settings.defects = 0;
        settings.pattern.size = 160;
        camera.noise = moved.noise = 3.0;
        moved.noiseSeed = 1;
    }

    static void write(const std::string& name, const plate::Picture& picture)
    {
        writeGreyPng(name, picture.size, picture.size, [&](int32_t x, int32_t y) {
            return picture.bytes[static_cast<std::size_t>(y * picture.size + x)];
        });
    }

    json align(double dx, double dy, const std::vector<std::string>& options = {})
    {
        moved.shiftX = dx;
        moved.shiftY = dy;
        const plate::Plate made = plate::makePlate(settings);
        write(a, plate::photograph(made.shapes, made.size, camera));
        write(b, plate::photograph(made.withDefects(), made.size, moved));
        std::vector<std::string> arguments = {"align", a, b, "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return json::parse(run(arguments).out).at("alignment");
    }

    static void expectShift(double dx, double dy, const json& alignment, double error)
    {
        EXPECT_NEAR(dx, alignment.at("x").at("shift").get<double>(), error) << alignment.dump();
        EXPECT_NEAR(dy, alignment.at("y").at("shift").get<double>(), error) << alignment.dump();
    }
};

TEST_F(AlignPlates, EveryWayTellsTheShift)
{
    for (const char* mode : {"auto", "smart", "search", "tiles"}) {
        const json alignment = align(5.37, -10.61, {"--align", mode});
        expectShift(5.37, -10.61, alignment, 0.03);
        EXPECT_TRUE(alignment.at("warnings").empty()) << alignment.dump();
    }
    EXPECT_EQ("none", align(5.37, -10.61, {"--align", "none"}).at("method"));
}

TEST_F(AlignPlates, NeitherLightNorFocusNorDefectsMoveIt)
{
    settings.defects = 4;
    moved.gain = 0.9;
    moved.offset = 8.0;
    moved.gradient = 12.0;
    moved.focus = 1.8;
    const json alignment = align(-3.44, 7.12);
    expectShift(-3.44, 7.12, alignment, 0.03);
    EXPECT_TRUE(alignment.at("warnings").empty()) << alignment.dump();
}

TEST_F(AlignPlates, OfTurnedPicturesTheShiftInTheMiddleIsTold)
{
    settings.pattern.kind = plate::PatternKind::contacts;
    settings.pattern.pitch = 44.0;
    settings.pattern.size = 420;
    moved.rotation = 0.15;
    expectShift(-4.3, 2.7, align(-4.3, 2.7), 0.03);
}

TEST_F(AlignPlates, OfPeriodicPatternsAllFitsAreTold)
{
    settings.pattern.kind = plate::PatternKind::contacts;
    settings.pattern.pitch = 14.5;
    EXPECT_THAT(align(9.0, 0.3).at("warnings").dump(),
                HasSubstr("the pattern repeats every 14.5 pixels in "));
    settings.pattern.pitch = 44.0;
    const json unique = align(9.0, 0.3);
    expectShift(9.0, 0.3, unique, 0.03);
    EXPECT_TRUE(unique.at("warnings").empty()) << unique.dump();
}

TEST_F(AlignPlates, LinesTellOneAxis)
{
    settings.pattern.kind = plate::PatternKind::lines;
    settings.pattern.upright = true;
    const json alignment = align(6.25, 4.0);
    expectShift(6.25, 0.0, alignment, 0.03);
    EXPECT_EQ(json({"there is nothing to align on in y"}), alignment.at("warnings"));
    EXPECT_NEAR(48.0, alignment.at("x").at("repeat").get<double>(), 0.6);
}

TEST_F(AlignPlates, EdgesAtTheBorderAloneAreWarnedOf)
{
    settings.pattern.size = 300; // lines from one border to the other
    const json alignment = align(-3.44, 7.12);
    expectShift(-3.44, 7.12, alignment, 0.03);
    EXPECT_EQ(json({"only edges near the border tell the shift in x"}), alignment.at("warnings"));
}

TEST_F(AlignPlates, DifferentPlatesAreNotTrusted)
{
    const plate::Plate one = plate::makePlate(settings);
    settings.seed = 77;
    const plate::Plate other = plate::makePlate(settings);
    write(a, plate::photograph(one.shapes, one.size, camera));
    write(b, plate::photograph(other.shapes, other.size, moved));
    EXPECT_THAT(run({"align", a, b}).err, HasSubstr("is not to be trusted"));
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
