// vexa inspect: what it lists, prints, writes and answers.
#include <tuple>

#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{

// A dark square on a bright field, with a bright spot of 5 x 4 pixels in it where there is a defect.
int32_t plate(int32_t x, int32_t y)
{
    return x >= 30 && x < 70 && y >= 20 && y < 60 ? 40 : 200;
}
int32_t spot(int32_t x, int32_t y)
{
    return x >= 45 && x < 50 && y >= 40 && y < 44 ? 140 : plate(x, y);
}

class Inspect : public testing::Test
{
protected:
    void SetUp() override
    {
        writeGreyPng(reference, 100, 80, plate);
        writeGreyPng(defect, 100, 80, spot);
    }

    Scratch scratch;
    const std::string reference = scratch / "reference.png";
    const std::string defect = scratch / "defect.png";
};

TEST_F(Inspect, MeasuresTheOneDefect)
{
    const Outcome outcome = run({"inspect", reference, defect, "--format", "json"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ("", outcome.err);
    const json document = json::parse(outcome.out);
    EXPECT_EQ("vexa-inspect", document.at("format"));
    EXPECT_EQ(2, document.at("version"));
    EXPECT_EQ(1, document.at("found"));
    const json& settings = document.at("settings");
    EXPECT_EQ(30, settings.at("threshold"));
    EXPECT_EQ(2, settings.at("edge_tolerance"));
    EXPECT_EQ(3, settings.at("min_size"));
    EXPECT_EQ(3, settings.at("merge"));
    EXPECT_EQ(reference, document.at("reference").at("file"));
    ASSERT_EQ(1U, document.at("defects").size());
    const json entry = document.at("defects").at(0);
    EXPECT_EQ(1, entry.at("number"));
    EXPECT_EQ(json({{"left", 45}, {"top", 40}, {"right", 49}, {"bottom", 43}}), entry.at("box"));
    EXPECT_EQ(20, entry.at("area"));
    EXPECT_EQ(100.0, entry.at("contrast"));
    EXPECT_EQ(47.0, entry.at("centroid").at("x"));
    EXPECT_EQ(41.5, entry.at("centroid").at("y"));
    EXPECT_EQ(3.33, entry.at("energy")) << "the root of 20 x 100 / 180";
    EXPECT_EQ(45, entry.at("x"));
    EXPECT_EQ(40, entry.at("y"));
}

TEST_F(Inspect, DarkerDefectsHaveNegativeContrast)
{
    const json document = json::parse(run({"inspect", defect, reference, "--format", "json"}).out);
    EXPECT_EQ(-100.0, document.at("defects").at(0).at("contrast"));
}

TEST_F(Inspect, EqualPicturesHaveNoDefect)
{
    const Outcome outcome = run({"inspect", reference, reference});
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("no defect\n"
              "shift 0.00, 0.00 (start), quality 1.00, 1.00, contrast 0.36, 0.28, repeat distance 0.0, 0.0\n",
              outcome.out);
    EXPECT_EQ("", outcome.err);
}

TEST_F(Inspect, PrintsTableAndCsv)
{
    EXPECT_EQ("1 defect\n"
              "no   x   y  width  height  area  contrast  energy     centroid\n"
              " 1  45  40      5       4    20     100.0    3.33  47.00,41.50\n",
              run({"inspect", reference, defect, "--align", "none"}).out);
    EXPECT_EQ("number,x,y,left,top,right,bottom,width,height,area,contrast,energy,centroid_x,centroid_y\n"
              "1,45,40,45,40,49,43,5,4,20,100.0,3.33,47.00,41.50\n",
              run({"inspect", reference, defect, "--format", "csv"}).out);
}

TEST_F(Inspect, AnEdgeWithinTheToleranceIsNoDefect)
{
    writeGreyPng(defect, 100, 80, [](int32_t x, int32_t y) { return plate(x + 2, y - 1); });
    EXPECT_EQ(0, run({"inspect", reference, defect, "--align", "none"}).code);
    EXPECT_EQ(
        1,
        run({"inspect", reference, defect, "--align=none", "--edge-tolerance", "0", "--min-size", "1"}).code);
    EXPECT_EQ(
        1,
        run({"inspect", reference, defect, "--align=none", "--edge-tolerance", "0", "--min-size", "2"}).code);
}

TEST_F(Inspect, TheOffsetSaysWhereTheReferenceIsRead)
{
    writeGreyPng(defect, 100, 80, [](int32_t x, int32_t y) { return plate(x + 9, y - 8); });
    EXPECT_EQ(1, run({"inspect", reference, defect, "--align", "none"}).code);
    EXPECT_EQ(0, run({"inspect", reference, defect, "--align", "none", "--offset", "9,-8"}).code);
    EXPECT_EQ(0, run({"inspect", reference, defect, "--align=none", "--offset=9,-8", "--edge-tolerance", "0",
                      "--min-size", "1"})
                     .code);
}

TEST_F(Inspect, ShiftedPicturesAreAligned)
{
    writeGreyPng(defect, 100, 80, [](int32_t x, int32_t y) { return plate(x + 9, y - 8); });
    EXPECT_EQ(0, run({"inspect", reference, defect}).code);
    const json document = json::parse(run({"inspect", reference, defect, "--format", "json"}).out);
    const json& alignment = document.at("alignment");
    EXPECT_NEAR(9.0, alignment.at("x").at("shift").get<double>(), 0.05);
    EXPECT_NEAR(-8.0, alignment.at("y").at("shift").get<double>(), 0.05);
    EXPECT_GT(alignment.at("x").at("quality").get<double>(), 0.9);
    for (const char* mode : {"search", "tiles"})
        EXPECT_EQ(0, run({"inspect", reference, defect, "--align", mode}).code) << mode;
    // Edges alone may lead astray, but not without a word.
    const Outcome smart = run({"inspect", reference, defect, "--align", "smart"});
    EXPECT_TRUE(smart.code == 0 || smart.err.find("not to be trusted") != std::string::npos) << smart.out;
    // Out of reach.
    EXPECT_EQ(1, run({"inspect", reference, defect, "--max-shift", "3"}).code);
}

TEST_F(Inspect, TheRegionIsAllThatCounts)
{
    EXPECT_EQ(0, run({"inspect", reference, defect, "--roi", "0,0,99,39"}).code);
    EXPECT_EQ(1, run({"inspect", reference, defect, "--roi", "40,35,60,50"}).code);
    const json document =
        json::parse(run({"inspect", reference, defect, "--roi", "40,35,600,50", "--format", "json"}).out);
    EXPECT_EQ(json({{"left", 40}, {"top", 35}, {"right", 99}, {"bottom", 50}}),
              document.at("settings").at("window"));
}

TEST_F(Inspect, ThresholdAndWidthAreLimits)
{
    EXPECT_EQ(1, run({"inspect", reference, defect, "--threshold", "100"}).code);
    EXPECT_EQ(0, run({"inspect", reference, defect, "--threshold", "101"}).code);
    EXPECT_EQ(1, run({"inspect", reference, defect, "--min-size", "4"}).code);
    EXPECT_EQ(0, run({"inspect", reference, defect, "--min-size", "5"}).code);
}

// Three spots: small and strong, large and weak, and a weak one near the large one.
int32_t spots(int32_t x, int32_t y)
{
    const bool strong = x >= 5 && x < 9 && y >= 5 && y < 9;
    const bool large = x >= 80 && x < 95 && y >= 5 && y < 20;
    const bool near = x >= 80 && x < 84 && y >= 24 && y < 28;
    return plate(x, y) - (strong ? 120 : large ? 50 : near ? 60 : 0);
}

TEST_F(Inspect, SortsCutsAndMerges)
{
    writeGreyPng(defect, 100, 80, spots);
    const auto lefts = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments = {"inspect", reference, defect, "--format", "json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        std::vector<int32_t> result;
        const json document = json::parse(run(arguments).out);
        for (const json& entry : document.at("defects"))
            result.push_back(entry.at("box").at("left"));
        return result;
    };
    EXPECT_THAT(lefts({}), ElementsAre(80, 5)) << "the near one belongs to the large one";
    EXPECT_THAT(lefts({"--merge", "1"}), ElementsAre(80, 5, 80));
    EXPECT_THAT(lefts({"--merge", "1", "--sort", "intensity"}), ElementsAre(5, 80, 80));
    EXPECT_THAT(lefts({"--merge", "1", "--sort", "energy"}), ElementsAre(80, 5, 80));
    EXPECT_THAT(lefts({"--max", "1"}), ElementsAre(80));
    EXPECT_EQ("2 defects, 1 listed", run({"inspect", reference, defect, "--max", "1"}).out.substr(0, 19));
}

TEST_F(Inspect, WritesTheWholeReport)
{
    const std::string out = scratch / "new/report";
    const Outcome outcome = run({"inspect", reference, defect, "--out", out, "-v"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_THAT(outcome.err, HasSubstr("report.html"));
    EXPECT_THAT(tree(out), ElementsAre("defects.csv", "defects.json", "defects.png", "difference.png",
                                       "report.html", "residue.png"));
    EXPECT_EQ(run({"inspect", reference, defect, "--format", "json"}).out, readText(out + "/defects.json"));
    EXPECT_EQ(run({"inspect", reference, defect, "--format", "csv"}).out, readText(out + "/defects.csv"));
    const GreyPicture difference = readPng(out + "/difference.png");
    ASSERT_EQ(100, difference.cols);
    ASSERT_EQ(80, difference.rows);
    EXPECT_EQ(228, difference.at(45, 40));
    EXPECT_EQ(128, difference.at(44, 40));
    const GreyPicture boxed = readPng(out + "/defects.png");
    ASSERT_EQ(100, boxed.cols);
    EXPECT_NE(spot(42, 41), boxed.at(42, 41)) << "the left side of the box";
    EXPECT_NE(spot(47, 46), boxed.at(47, 46)) << "the bottom side of the box";
    EXPECT_EQ(spot(47, 41), boxed.at(47, 41)) << "the defect itself stays as it is";
    const std::string html = readText(out + "/report.html");
    EXPECT_THAT(html, HasSubstr("1 defect<"));
    EXPECT_THAT(html, HasSubstr("</html>"));
    std::size_t pictures = 0;
    for (std::size_t at = html.find("src=\""); at != std::string::npos;
         at = html.find("src=\"", at + 1), ++pictures)
        EXPECT_EQ(0, html.compare(at, 27, "src=\"data:image/png;base64,"))
            << "nothing is loaded from outside";
    EXPECT_EQ(6U, pictures) << "three views, three crops";
}

TEST_F(Inspect, AFileNameCannotBreakTheReport)
{
    const std::string name = scratch / "<b>&\".png";
    writeGreyPng(name, 100, 80, spot);
    ASSERT_EQ(1, run({"inspect", reference, name, "--out", scratch / "out"}).code);
    EXPECT_THAT(readText(scratch / "out/report.html"), HasSubstr("&lt;b&gt;&amp;&quot;.png"));
    EXPECT_NO_THROW(json::parse(readText(scratch / "out/defects.json")));
}

TEST_F(Inspect, ASecondRunReplacesTheReport)
{
    const std::string out = scratch / "out";
    ASSERT_EQ(1, run({"inspect", reference, defect, "--out", out}).code);
    ASSERT_EQ(0, run({"inspect", reference, reference, "--out", out}).code);
    EXPECT_EQ(0, json::parse(readText(out + "/defects.json")).at("found"));
    EXPECT_THAT(readText(out + "/report.html"), HasSubstr("no defect"));
}

TEST_F(Inspect, DefectsAtTheBorderAreFound)
{
    for (const auto& [left, top] : {std::pair{0, 0}, {94, 0}, {0, 75}, {94, 75}}) {
        writeGreyPng(defect, 100, 80, [&](int32_t x, int32_t y) {
            return x >= left && x < left + 6 && y >= top && y < top + 5 ? 90 : plate(x, y);
        });
        const Box wanted = {double(left), double(top), left + 5.0, top + 4.0};
        for (const std::string roi : {"0,0,99,79", "0,0,20,20", "80,0,99,30", "0,60,30,79", "80,60,99,79"}) {
            const json document =
                json::parse(run({"inspect", reference, defect, "--roi", roi, "--format", "json"}).out);
            for (const json& entry : document.at("defects")) {
                const Box box = boxOf(entry.at("box"));
                EXPECT_EQ(std::tie(wanted.left, wanted.top, wanted.right, wanted.bottom),
                          std::tie(box.left, box.top, box.right, box.bottom))
                    << roi;
            }
            const json& window = document.at("settings").at("window");
            const bool isInside = window.at("left") <= left && window.at("right") >= left + 5 &&
                                  window.at("top") <= top && window.at("bottom") >= top + 4;
            EXPECT_EQ(isInside ? 1 : 0, document.at("found")) << left << ", " << top << " in " << roi;
        }
    }
}

TEST_F(Inspect, ColourPicturesAreComparedAsGrey)
{
    writeColorPng(defect, 100, 80, spot, spot, spot);
    EXPECT_EQ(1, run({"inspect", reference, defect}).code);
    // The blue band alone makes 15 hundredths of the grey.
    writeColorPng(defect, 100, 80, plate, plate, spot);
    EXPECT_EQ(0, run({"inspect", reference, defect}).code);
    const Outcome outcome = run({"inspect", reference, defect, "--threshold", "12", "--format", "json"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_THAT(outcome.err, HasSubstr("colour is reduced to grey"));
    EXPECT_NEAR(15.0, json::parse(outcome.out).at("defects").at(0).at("contrast").get<double>(), 1.0);
}

TEST_F(Inspect, NamesOfEarlierVersionsStand)
{
    EXPECT_EQ(0, run({"inspect", reference, defect, "--min-width", "5"}).code);
    const json document = json::parse(
        run({"inspect", reference, defect, "--tolerance", "1", "--min-dist", "7", "--format", "json"}).out);
    EXPECT_EQ(1, document.at("settings").at("edge_tolerance"));
    EXPECT_EQ(7, document.at("settings").at("merge"));
    EXPECT_THAT(run({"inspect", "--help"}).out, Not(HasSubstr("--min-dist")));
}

TEST_F(Inspect, WhatCannotBeInspectedIsSaid)
{
    const std::string small = scratch / "small.png";
    writeGreyPng(small, 100, 79, plate);
    expectFailure(scratch, {"inspect", reference, small}, "differ in size");
    expectFailure(scratch, {"inspect", reference, scratch / "none.png"}, "cannot open");
    expectFailure(scratch, {"inspect", reference, defect, "--roi", "100,0,120,20"},
                  "the region holds no pixel");
    expectFailure(scratch, {"inspect", reference, defect, "--align", "none", "--offset", "100,0"},
                  "share no pixel");
    for (const auto& [option, value] : {std::pair{"--edge-tolerance", "51"},
                                        {"--edge-tolerance", "-1"},
                                        {"--min-size", "0"},
                                        {"--min-size", "101"},
                                        {"--merge", "-1"},
                                        {"--merge", "10001"},
                                        {"--tile", "7"},
                                        {"--max-shift", "0"},
                                        {"--threshold", "128"},
                                        {"--align", "both"},
                                        {"--sort", "name"},
                                        {"--roi", "5,5,4,9"},
                                        {"--format", "xml"}})
        expectFailure(scratch, {"inspect", reference, defect, option, value}, option);
    expectFailure(scratch, {"inspect", reference, defect, "--merge", "3", "--min-dist", "3"}, "--min-dist");
}

TEST_F(Inspect, QuietSaysNothingBesideTheList)
{
    writeColorPng(defect, 100, 80, spot, spot, plate);
    EXPECT_NE("", run({"inspect", reference, defect}).err);
    EXPECT_EQ("", run({"inspect", reference, defect, "-q"}).err);
}

// Binarised line-scan pictures of circuit boards, with edges that are off by a pixel to five.
TEST(InspectMeasure, RealPlates)
{
    const std::filesystem::path folder = "../shared/data/pcb";
    if (!std::filesystem::exists(folder))
        GTEST_SKIP() << "no pictures at " << folder;
    Score score;
    int32_t pairs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string path = entry.path().string();
        const std::size_t stem = path.find("_temp.jpg");
        if (stem == std::string::npos)
            continue;
        const std::string base = path.substr(0, stem);
        std::vector<Box> truth;
        std::istringstream lines(readText(base + ".txt"));
        int32_t kind = 0;
        for (Box box{}; lines >> box.left >> box.top >> box.right >> box.bottom >> kind;)
            truth.push_back(box);
        score.add(inspectedBoxes(path, base + "_test.jpg"), truth);
        ++pairs;
    }
    RecordProperty("recall", std::to_string(score.recall()));
    RecordProperty("precision", std::to_string(score.precision()));
    std::cout << pairs << " pairs: recall " << score.recall() << ", precision " << score.precision() << ", F "
              << score.f() << "\n";
    EXPECT_GT(score.truths, 90);
    EXPECT_GE(score.f(), 0.93);
}

TEST(InspectMeasure, MadePlates)
{
    Score score;
    for (const char* seed : {"1", "2", "3", "4", "5"}) {
        const Scratch scratch;
        ASSERT_EQ(0, run({"synth", "--seed", seed, "--out", scratch / "plate"}).code);
        std::vector<Box> truth;
        const json document = json::parse(readText(scratch / "plate/truth.json"));
        for (const json& entry : document.at("defects"))
            truth.push_back(boxOf(entry.at("box")));
        score.add(inspectedBoxes(scratch / "plate/reference.png", scratch / "plate/defect.png"), truth);
    }
    std::cout << "recall " << score.recall() << ", precision " << score.precision() << "\n";
    EXPECT_EQ(5 * 16, score.truths);
    EXPECT_GE(score.recall(), 0.97);
    EXPECT_GE(score.precision(), 0.97);
}

} // namespace
