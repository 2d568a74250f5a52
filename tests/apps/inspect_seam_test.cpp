// vexa inspect: what it finds does not depend on where the borders of its tiles fall.
#include <cmath>
#include <set>

#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using nlohmann::json;

namespace
{

constexpr int32_t kSize = 400;
constexpr int32_t kTile = 64;

struct Centre {
    double x, y;
};

// Two pictures that are shifted, turned and distorted against each other, so that tiles have shifts of their own.
class InspectSeams : public testing::Test
{
protected:
    void make(const std::string& defects)
    {
        ASSERT_EQ(
            0, run({"synth", "--seed", "23", "--size", std::to_string(kSize), "--defects", defects, "--shift",
                    "2.3,-1.6", "--rotation", "0.15", "--distortion", "1.2", "--out", scratch / "plate"})
                   .code);
    }

    Outcome inspected(const std::vector<std::string>& options) const
    {
        std::vector<std::string> arguments = {
            "inspect", scratch / "plate/reference.png", scratch / "plate/defect.png", "-q", "--format",
            "json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    // Centres of the listed defects; those that begin before a place do not count.
    std::vector<Centre> found(const std::vector<std::string>& options) const
    {
        std::vector<Centre> centres;
        const json document = json::parse(inspected(options).out);
        for (const json& entry : document.at("defects"))
            centres.push_back({entry.at("centroid").at("x"), entry.at("centroid").at("y")});
        return centres;
    }

    Scratch scratch;
};

bool holds(const std::vector<Centre>& centres, const Centre& wanted)
{
    return std::any_of(centres.begin(), centres.end(),
                       [&](const Centre& c) { return std::hypot(c.x - wanted.x, c.y - wanted.y) < 4.0; });
}

// Both lists are the same right of and below a border, where both have looked.
void expectSame(const std::vector<Centre>& a, const std::vector<Centre>& b, double border)
{
    for (const auto& [one, other] : {std::pair{&a, &b}, std::pair{&b, &a}})
        for (const Centre& centre : *one)
            if (centre.x > border && centre.y > border) {
                EXPECT_TRUE(holds(*other, centre)) << centre.x << ", " << centre.y;
            }
}

// Tiles begin at the corner of the region.
std::vector<std::string> tilesFrom(int32_t corner)
{
    const std::string at = std::to_string(corner), last = std::to_string(kSize - 1);
    return {"--tile", std::to_string(kTile), "--roi", at + "," + at + "," + last + "," + last};
}

TEST_F(InspectSeams, TheCornerOfTheTilesDoesNotMatter)
{
    make("12");
    const std::vector<Centre> whole = found(tilesFrom(0));
    ASSERT_GE(whole.size(), 8U);
    for (int32_t corner = 16; corner <= kTile; corner += 16) {
        SCOPED_TRACE(corner);
        expectSame(whole, found(tilesFrom(corner)), corner + 24.0);
    }
}

TEST_F(InspectSeams, TheSizeOfTheTilesDoesNotMatter)
{
    make("12");
    const std::vector<Centre> usual = found({});
    ASSERT_GE(usual.size(), 8U);
    for (const char* side : {"64", "100", "200"}) {
        SCOPED_TRACE(side);
        expectSame(usual, found({"--tile", side}), 0.0);
    }
}

TEST_F(InspectSeams, NothingIsFoundAtBordersOfTilesWithoutDefects)
{
    make("0");
    for (int32_t corner = 0; corner < kTile; corner += 16)
        EXPECT_EQ(0, inspected(tilesFrom(corner)).code) << corner;
    for (const char* side : {"100", "200"})
        EXPECT_EQ(0, inspected({"--tile", side}).code) << side;
}

} // namespace
