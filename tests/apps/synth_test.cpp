// vexa synth: made plates and their truth.
#include <algorithm>
#include <map>
#include <set>

#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using nlohmann::json;
using testing::ElementsAre;

namespace
{

uint64_t checksum(const GreyPicture& picture)
{
    uint64_t sum = 14695981039346656037ULL;
    for (const uint8_t byte : picture.bytes)
        sum = (sum ^ byte) * 1099511628211ULL;
    return sum;
}

TEST(Synth, TheSameSeedGivesTheSameFiles)
{
    const Scratch scratch;
    for (const char* folder : {"a", "b"})
        ASSERT_EQ(0, run({"synth", "--seed", "11", "--size", "512", "--out", scratch / folder}).code);
    ASSERT_EQ(0, run({"synth", "--seed", "12", "--size", "512", "--out", scratch / "c"}).code);
    for (const std::string file : {"reference.png", "defect.png", "truth.json"}) {
        EXPECT_EQ(readText(scratch / ("a/" + file)), readText(scratch / ("b/" + file)));
        EXPECT_NE(readText(scratch / ("a/" + file)), readText(scratch / ("c/" + file)));
    }
    EXPECT_THAT(tree(scratch / "a"), ElementsAre("defect.png", "reference.png", "truth.json"));
}

// The pixels of one seed are known.
TEST(Synth, EveryMachineMakesTheSamePixels)
{
    const Scratch scratch;
    ASSERT_EQ(0, run({"synth", "--seed", "3", "--size", "300", "--out", scratch / "a"}).code);
    EXPECT_EQ(8726193660409709213ULL, checksum(readPng(scratch / "a/reference.png")));
    EXPECT_EQ(6761366869673636941ULL, checksum(readPng(scratch / "a/defect.png")));
    ASSERT_EQ(0, run({"synth", "--seed", "3", "--size", "300", "--rotation", "0.15", "--distortion", "0.4",
                      "--focus", "0.9", "--shot-noise", "2.2", "--gain", "0.95", "--out", scratch / "b"})
                     .code);
    EXPECT_EQ(1058195878278246766ULL, checksum(readPng(scratch / "b/defect.png")));
}

// A second defect picture of the same plate and noise, but without defects, differs in the boxes and nowhere else.
TEST(Synth, TruthNamesEveryKindWhereThePicturesDiffer)
{
    const Scratch scratch;
    const std::vector<std::string> camera = {"synth", "--seed",       "5",        "--size",
                                             "512",   "--shift",      "4.3,-3.8", "--rotation",
                                             "0.1",   "--distortion", "0.5"};
    const auto make = [&](const std::string& folder, const std::string& defects) {
        std::vector<std::string> arguments = camera;
        arguments.insert(arguments.end(), {"--defects", defects, "--out", scratch / folder});
        ASSERT_EQ(0, run(arguments).code);
    };
    make("a", "8");
    make("good", "0");
    const json truth = json::parse(readText(scratch / "a/truth.json"));
    const GreyPicture defect = readPng(scratch / "a/defect.png");
    const GreyPicture good = readPng(scratch / "good/defect.png");
    EXPECT_EQ(readText(scratch / "a/reference.png"), readText(scratch / "good/reference.png"));
    EXPECT_EQ(512, truth.at("width"));
    ASSERT_EQ(512, defect.cols);
    ASSERT_EQ(8U, truth.at("defects").size());
    std::set<std::string> kinds;
    std::vector<int32_t> difference(defect.bytes.size());
    for (std::size_t i = 0; i < difference.size(); ++i)
        difference[i] = std::abs(defect.bytes[i] - good.bytes[i]);
    for (const json& entry : truth.at("defects")) {
        kinds.insert(entry.at("kind"));
        const Box box = boxOf(entry.at("box"));
        constexpr int32_t kBlur = 7;
        int32_t largest = 0;
        for (int32_t y = static_cast<int32_t>(box.top) - kBlur; y <= static_cast<int32_t>(box.bottom) + kBlur;
             ++y)
            for (int32_t x = static_cast<int32_t>(box.left) - kBlur;
                 x <= static_cast<int32_t>(box.right) + kBlur; ++x) {
                int32_t& there = difference[static_cast<std::size_t>(y * defect.cols + x)];
                const bool inside = x >= box.left && x <= box.right && y >= box.top && y <= box.bottom;
                largest = std::max(largest, inside ? there : 0);
                there = 0;
            }
        EXPECT_GT(largest, 60) << entry.dump();
        const Box reference = boxOf(entry.at("reference_box"));
        EXPECT_NEAR(reference.left - 4.3, box.left, 2.9) << "shift, rotation, distortion, whole pixels";
        EXPECT_NEAR(reference.top + 3.8, box.top, 2.9);
    }
    EXPECT_LE(*std::max_element(difference.begin(), difference.end()), 1) << "outside the boxes, rounding";
    EXPECT_THAT(kinds, ElementsAre("break", "bridge", "contact size", "extension", "intrusion", "pin dot",
                                   "pin hole", "width change"));
}

TEST(Synth, TruthTellsEverySetting)
{
    const Scratch scratch;
    ASSERT_EQ(0, run({"synth",      "--seed",     "9",          "--size", "300",           "--pattern",
                      "lines",      "--pitch",    "25.5",       "--duty", "0.4",           "--upright",
                      "--shift",    "3.25,-1.5",  "--rotation", "-0.1",   "--distortion",  "0.3",
                      "--gradient", "12",         "--gain",     "0.9",    "--lamp",        "7",
                      "--focus",    "2.5",        "--noise",    "3.5",    "--shot-noise",  "1.5",
                      "--levels",   "220,30",     "--defects",  "2",      "--defect-size", "3,5",
                      "--out",      scratch / "a"})
                     .code);
    const json truth = json::parse(readText(scratch / "a/truth.json"));
    EXPECT_EQ("vexa-synth", truth.at("format"));
    EXPECT_EQ(2, truth.at("version"));
    EXPECT_EQ(9, truth.at("seed"));
    EXPECT_EQ(300, truth.at("width"));
    EXPECT_EQ(300, truth.at("height"));
    EXPECT_EQ(json::parse(R"({"kind": "lines", "pitch": 25.5, "duty": 0.4, "along": "y"})"),
              truth.at("pattern"));
    EXPECT_EQ(json::parse(R"({"x": 3.25, "y": -1.5})"), truth.at("shift"));
    EXPECT_EQ(json::parse(R"({"rotation": 0.0, "distortion": 0.0, "focus": 1.4, "clear": 220.0,
        "opaque": 30.0, "gradient": 6.0, "gain": 1.0, "offset": 0.0, "noise": 3.5, "shot_noise": 1.5})"),
              truth.at("reference_camera"));
    EXPECT_EQ(json::parse(R"({"rotation": -0.1, "distortion": 0.3, "focus": 2.5, "clear": 220.0,
        "opaque": 30.0, "gradient": 12.0, "gain": 0.9, "offset": 7.0, "noise": 3.5, "shot_noise": 1.5})"),
              truth.at("defect_camera"));
    ASSERT_EQ(2U, truth.at("defects").size());
    for (const json& entry : truth.at("defects")) {
        EXPECT_GE(std::abs(entry.at("size").get<double>()), 3.0);
        EXPECT_LE(std::abs(entry.at("size").get<double>()), 5.0);
    }
}

// Every option changes the defect picture, and those of its camera leave the reference alone.
TEST(Synth, EveryOptionActs)
{
    const Scratch scratch;
    const auto make = [&](const std::string& folder, const std::vector<std::string>& options) {
        std::vector<std::string> arguments = {"synth", "--seed",        "2", "--size", "256",
                                              "--out", scratch / folder};
        arguments.insert(arguments.end(), options.begin(), options.end());
        ASSERT_EQ(0, run(arguments).code);
    };
    make("plain", {"--shift", "1,1", "--lamp", "1"});
    const std::string reference = readText(scratch / "plain/reference.png");
    const std::string defect = readText(scratch / "plain/defect.png");
    const auto expect = [&](bool both, const std::string& option, const std::string& value) {
        std::vector<std::string> options = {"--shift", option == "--shift" ? value : "1,1", "--lamp",
                                            option == "--lamp" ? value : "1"};
        if (option != "--shift" && option != "--lamp")
            options.push_back(value.empty() ? option : option + "=" + value);
        make("other", options);
        EXPECT_NE(defect, readText(scratch / "other/defect.png")) << option;
        EXPECT_EQ(both, reference != readText(scratch / "other/reference.png")) << option;
    };
    for (const auto& [option, value] : std::map<std::string, std::string>{{"--shift", "1,1.1"},
                                                                          {"--lamp", "2"},
                                                                          {"--rotation", "0.01"},
                                                                          {"--distortion", "0.1"},
                                                                          {"--gradient", "9"},
                                                                          {"--gain", "1.1"},
                                                                          {"--focus", "1.5"}})
        expect(false, option, value);
    for (const auto& [option, value] : std::map<std::string, std::string>{
             {"--noise", "2.5"}, {"--shot-noise", "1"}, {"--levels", "197,48"}, {"--pattern", "contacts"}})
        expect(true, option, value);
}

TEST(Synth, RefusesSettingsOutsideTheirRange)
{
    const Scratch scratch;
    for (const auto& [option, value] : std::map<std::string, std::string>{{"--shift", "60,0"},
                                                                          {"--rotation", "0.3"},
                                                                          {"--distortion", "-1"},
                                                                          {"--gain", "0"},
                                                                          {"--focus", "0"},
                                                                          {"--noise", "-1"},
                                                                          {"--pitch", "1"},
                                                                          {"--duty", "1"},
                                                                          {"--pattern", "dots"},
                                                                          {"--defect-size", "0,1"}})
        expectFailure(scratch, {"synth", "--seed", "1", "--out", scratch / "s", option + "=" + value},
                      option);
    for (const std::string option : {"--rotation", "--distortion", "--gradient", "--gain", "--lamp",
                                     "--focus", "--noise", "--shot-noise", "--pitch", "--duty"})
        expectFailure(scratch, {"synth", "--seed", "1", "--out", scratch / "s", option + "=nan"},
                      option + ": nan is not a number");
    for (const std::string option : {"--shift", "--levels", "--defect-size"})
        expectFailure(scratch, {"synth", "--seed", "1", "--out", scratch / "s", option + "=nan,1"},
                      option + ": nan is not a number");
}

TEST(Synth, WithoutDefectsNothingIsFound)
{
    const Scratch scratch;
    for (const char* seed : {"1", "2"}) {
        ASSERT_EQ(
            0,
            run({"synth", "--seed", seed, "--size", "512", "--defects", "0", "--out", scratch / seed}).code);
        EXPECT_EQ(0,
                  run({"inspect", scratch / seed + "/reference.png", scratch / seed + "/defect.png"}).code);
    }
}

} // namespace
