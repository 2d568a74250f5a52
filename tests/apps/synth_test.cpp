// vexa synth: made plates and their truth.
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
    EXPECT_EQ(8877574684150978351ULL, checksum(readPng(scratch / "a/reference.png")));
    EXPECT_EQ(9545281966351247292ULL, checksum(readPng(scratch / "a/defect.png")));
}

TEST(Synth, TruthNamesEveryKindWhereThePicturesDiffer)
{
    const Scratch scratch;
    ASSERT_EQ(0, run({"synth", "--seed", "5", "--out", scratch / "a"}).code);
    const json truth = json::parse(readText(scratch / "a/truth.json"));
    const GreyPicture reference = readPng(scratch / "a/reference.png");
    const GreyPicture defect = readPng(scratch / "a/defect.png");
    EXPECT_EQ("vexa-synth", truth.at("format"));
    EXPECT_EQ(1024, truth.at("width"));
    ASSERT_EQ(1024, reference.cols);
    ASSERT_EQ(16U, truth.at("defects").size());
    std::set<std::string> kinds;
    for (const json& entry : truth.at("defects")) {
        kinds.insert(entry.at("kind"));
        const Box box = boxOf(entry.at("box"));
        int32_t largest = 0;
        for (auto y = static_cast<int32_t>(box.top); y <= static_cast<int32_t>(box.bottom); ++y)
            for (auto x = static_cast<int32_t>(box.left); x <= static_cast<int32_t>(box.right); ++x)
                largest = std::max(largest, std::abs(reference.at(x, y) - defect.at(x, y)));
        EXPECT_GT(largest, 60) << entry.dump();
    }
    EXPECT_THAT(kinds, ElementsAre("break", "bridge", "contact size", "extension", "intrusion", "pin dot",
                                   "pin hole", "width change"));
}

TEST(Synth, WithoutDefectsNothingIsFound)
{
    const Scratch scratch;
    for (const char* seed : {"1", "2", "3"}) {
        ASSERT_EQ(
            0,
            run({"synth", "--seed", seed, "--size", "512", "--defects", "0", "--out", scratch / seed}).code);
        EXPECT_EQ(0,
                  run({"inspect", scratch / seed + "/reference.png", scratch / seed + "/defect.png"}).code);
    }
}

} // namespace
