// vexa settings: one setting, a section of them, a new one.
#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using testing::HasSubstr;

namespace
{

constexpr const char* kFile = "; the camera of line 3\n"
                              "[Camera]\n"
                              "Gain = 2.5\n"
                              "Name=\" left \"\n"
                              "; Name=right\n"
                              "Nothing=\n"
                              "\n"
                              "[Stage]\n"
                              "Gain=7\n";

TEST(Settings, OneKeyIsPrinted)
{
    const Scratch scratch;
    const std::string file = scratch / "a.ini";
    writeText(file, kFile);
    const std::pair<std::vector<std::string>, const char*> expected[] = {
        {{"Camera", "Gain"}, "2.5\n"}, {{"camera", "gAIN"}, "2.5\n"}, {{"Camera", "Name"}, " left \n"},
        {{"Camera", "Nothing"}, "\n"}, {{"Stage", "Gain"}, "7\n"},
    };
    for (const auto& [arguments, text] : expected) {
        const Outcome outcome = run({"settings", file, arguments[0], arguments[1]});
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ(text, outcome.out);
    }
    EXPECT_EQ(kFile, readText(file));
}

TEST(Settings, ASectionIsPrintedInTheOrderOfTheFile)
{
    const Scratch scratch;
    const std::string file = scratch / "a.ini";
    writeText(file, kFile);
    EXPECT_EQ("Gain=2.5\nName= left \nNothing=\n", run({"settings", file, "Camera"}).out);
    EXPECT_EQ("Gain=7\n", run({"settings", file, "STAGE"}).out);
}

TEST(Settings, AKeyIsWritten)
{
    const Scratch scratch;
    const std::string file = scratch / "a.ini";
    for (const char* setting : {"Gain=1", "Equation=a=b", " Name = two words", "gain=2", "Empty="}) {
        const Outcome outcome = run({"settings", file, "Camera", setting});
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.out);
    }
    EXPECT_EQ("[Camera]\ngain=2\nEquation=a=b\nName= two words\nEmpty=\n", readText(file));
    EXPECT_EQ("two words\n", run({"settings", file, "Camera", "Name"}).out);
    EXPECT_EQ("a=b\n", run({"settings", file, "Camera", "Equation"}).out);
}

TEST(Settings, WhatCannotBeDoneIsSaid)
{
    const Scratch scratch;
    const std::string file = scratch / "a.ini";
    writeText(file, kFile);
    const std::pair<std::vector<std::string>, std::string> expected[] = {
        {{file, "Camera", "Focus"}, file + ": no key Focus in [Camera]"},
        {{file, "Lens", "Focus"}, file + ": no key Focus in [Lens]"},
        {{file, "Lens"}, file + ": no section [Lens]"},
        {{scratch / "none.ini", "Lens"}, scratch / "none.ini" + ": cannot read this file"},
        {{scratch / "none.ini", "Lens", "Focus"}, scratch / "none.ini" + ": cannot read this file"},
        {{scratch.folder().string(), "Lens"}, scratch.folder().string() + ": cannot read this file"},
        {{scratch / "no/folder.ini", "Lens", "a=1"},
         scratch / "no/folder.ini" + ": cannot write a to [Lens]"},
        {{file, "a]b", "a=1"}, file + ": cannot write a to [a]b]"},
        {{file, "Lens", "=1"}, "a key is not empty"},
        {{file, "Lens", ";a=1"}, "a key is not empty"},
        {{file, ""}, "a settings file and a section are needed"},
        {{"", "Lens"}, "a settings file and a section are needed"},
        {{file}, "SECTION"},
    };
    for (const auto& [arguments, sentence] : expected) {
        std::vector<std::string> all = {"settings"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Outcome outcome = run(all);
        EXPECT_EQ(2, outcome.code);
        EXPECT_EQ("", outcome.out);
        EXPECT_THAT(outcome.err, HasSubstr(sentence));
    }
    EXPECT_EQ(kFile, readText(file));
    EXPECT_FALSE(std::filesystem::exists(scratch / "none.ini"));
}

} // namespace
