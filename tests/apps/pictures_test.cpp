// What the program reads and writes, and what it says when it cannot.
#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

// Shaded, with a pad that tells a shift.
int32_t scene(int32_t x, int32_t y)
{
    const bool isOnPad = x >= 14 && x < 37 && y >= 11 && y < 29;
    return 20 + 2 * x + y + (isOnPad ? 70 : 0);
}

class Pictures : public testing::Test
{
protected:
    void SetUp() override { writeGreyPng(good, 60, 40, scene); }

    void expectFailure(const std::vector<std::string>& arguments, const std::string& sentence)
    {
        vexa::test::expectFailure(scratch, arguments, sentence);
    }
    void expectUnreadable(const std::string& name, const std::string& sentence)
    {
        expectFailure({"inspect", good, name, "--out", scratch / "out"}, sentence);
        expectFailure({"inspect", name, good, "--out", scratch / "out"}, sentence);
        expectFailure({"info", name}, sentence);
        expectFailure({"diff", good, name, scratch / "diff.png"}, sentence);
    }

    Scratch scratch;
    const std::string good = scratch / "good.png";
};
using PicturesFailures = Pictures;

TEST_F(Pictures, EveryFormatGivesTheSamePixels)
{
    writeGreyPng(scratch / "zero.png", 60, 40, [](int32_t, int32_t) { return 0; });
    for (const std::string name : {"copy.bmp", "copy.tif", "copy.TIFF", "copy.png"}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(0, run({"diff", good, scratch / "zero.png", scratch / name, "--clip-mode", "1"}).code);
        ASSERT_EQ(0, run({"diff", scratch / name, good, scratch / "again.png"}).code);
        const GreyPicture difference = readPng(scratch / "again.png");
        ASSERT_EQ(60, difference.cols);
        ASSERT_EQ(40, difference.rows);
        for (const uint8_t byte : difference.bytes)
            ASSERT_EQ(128, byte);
    }
}

TEST_F(Pictures, JpegIsRead)
{
    writeJpeg(scratch / "smooth.jpg", 64, 48, [](int32_t x, int32_t y) { return x + y; });
    writeGreyPng(scratch / "smooth.png", 64, 48, [](int32_t x, int32_t y) { return x + y; });
    ASSERT_EQ(0, run({"diff", scratch / "smooth.jpg", scratch / "smooth.png", scratch / "d.png"}).code);
    for (const uint8_t byte : readPng(scratch / "d.png").bytes)
        ASSERT_NEAR(128, byte, 2);
}

TEST_F(Pictures, DroppedBitsAreSaidInOneLine)
{
    writeWordPng(scratch / "word.png", 60, 40, [](int32_t x, int32_t y) { return 257 * scene(x, y); });
    Outcome outcome = run({"inspect", good, scratch / "word.png"});
    EXPECT_EQ(0, outcome.code) << outcome.out;
    EXPECT_EQ("vexa: " + scratch / "word.png" + ": 16 bits a sample are reduced to 8\n", outcome.err);

    writeColorPng(scratch / "color.png", 60, 40, scene, scene, scene);
    outcome = run({"inspect", good, scratch / "color.png"});
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("vexa: " + scratch / "color.png" + ": colour is reduced to grey\n", outcome.err);
    EXPECT_EQ("", run({"inspect", good, good}).err);
}

TEST_F(Pictures, GreyIsTheWeightedColour)
{
    writeColorPng(
        scratch / "color.png", 8, 8, [](int32_t, int32_t) { return 200; },
        [](int32_t, int32_t) { return 100; }, [](int32_t, int32_t) { return 40; });
    writeGreyPng(scratch / "zero.png", 8, 8, [](int32_t, int32_t) { return 0; });
    ASSERT_EQ(
        0, run({"diff", scratch / "color.png", scratch / "zero.png", scratch / "d.png", "--clip-mode", "1"})
               .code);
    EXPECT_EQ((35 * 200 + 50 * 100 + 15 * 40) / 100, readPng(scratch / "d.png").at(3, 3));
}

TEST_F(Pictures, InfoTellsFormatSizeAndLevels)
{
    const Outcome outcome = run({"info", good});
    EXPECT_EQ(0, outcome.code);
    EXPECT_THAT(outcome.out,
                StartsWith(good + ": PNG, 60 x 40, 8-bit grey, 1 sample a pixel; as 8 bits: 20 to 190"));
    writeWordPng(scratch / "word.png", 60, 40, scene);
    EXPECT_THAT(run({"info", scratch / "word.png"}).out, HasSubstr("PNG, 60 x 40, 16-bit grey"));
    writeJpeg(scratch / "a.jpg", 30, 20, scene);
    EXPECT_THAT(run({"info", scratch / "a.jpg"}).out, HasSubstr("JPEG, 30 x 20, 8-bit grey"));
}

TEST_F(Pictures, InfoGoesOnAfterAnUnreadableOne)
{
    const Outcome outcome = run({"info", scratch / "none.png", good});
    EXPECT_EQ(2, outcome.code);
    EXPECT_THAT(outcome.err, HasSubstr("none.png"));
    EXPECT_THAT(outcome.out, HasSubstr("60 x 40"));
}

TEST_F(Pictures, DiffTakesOffsetAndClipMode)
{
    writeGreyPng(scratch / "a.png", 20, 10, [](int32_t x, int32_t) { return 10 * x; });
    ASSERT_EQ(0,
              run({"diff", scratch / "a.png", scratch / "a.png", scratch / "d.png", "--offset", "2,0"}).code);
    EXPECT_EQ(128 - 20, readPng(scratch / "d.png").at(5, 5));
    ASSERT_EQ(0, run({"diff", scratch / "a.png", scratch / "a.png", scratch / "d.png", "--offset", "2,0",
                      "--clip-mode", "2"})
                     .code);
    EXPECT_EQ(20, readPng(scratch / "d.png").at(5, 5));
}

TEST_F(PicturesFailures, MissingEmptyAndForeignFiles)
{
    expectUnreadable(scratch / "none.png",
                     "cannot open " + scratch / "none.png" + ": No such file or directory");
    writeText(scratch / "empty.png", "");
    expectUnreadable(scratch / "empty.png", scratch / "empty.png" + " is empty");
    writeText(scratch / "text.png", "this is a text, whatever its name\n");
    expectUnreadable(scratch / "text.png", "not a picture that vexa reads");
    std::filesystem::create_directory(scratch / "folder.png");
    expectUnreadable(scratch / "folder.png", "is a folder, not a picture");
}

TEST_F(PicturesFailures, FilesThatEndTooEarly)
{
    writeGreyPng(scratch / "zero.png", 60, 40, [](int32_t, int32_t) { return 0; });
    writeJpeg(scratch / "whole.jpg", 60, 40, scene);
    for (const char* name : {"whole.bmp", "whole.tif", "whole.png"})
        ASSERT_EQ(0, run({"diff", good, scratch / "zero.png", scratch / name, "--clip-mode", "1"}).code);
    for (const std::string type : {"bmp", "tif", "png", "jpg"})
        for (const double part : {0.02, 0.3, 0.6, 0.95}) {
            SCOPED_TRACE(type);
            SCOPED_TRACE(part);
            const std::string name = scratch / ("short." + type);
            truncated(scratch / ("whole." + type), name, part);
            expectFailure({"inspect", good, name, "--out", scratch / "out"}, name);
            expectFailure({"info", name}, name);
        }
}

TEST_F(PicturesFailures, HeadersThatPromiseTooMuch)
{
    std::string bitmap = std::string("BM", 2) + std::string(52, '\0');
    const auto put = [&bitmap](std::size_t at, uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bitmap[at + i] = static_cast<char>(value >> (8 * i));
    };
    put(10, 54);
    put(14, 40);
    put(18, 1000000);
    put(22, 1000000);
    put(26, 1 | 24 << 16);
    writeText(scratch / "huge.bmp", bitmap);
    expectUnreadable(scratch / "huge.bmp", "the picture is too large: 1000000 x 1000000");
    put(18, 0);
    writeText(scratch / "flat.bmp", bitmap);
    expectUnreadable(scratch / "flat.bmp", "the picture has no pixels");
    put(18, 10);
    put(22, 10);
    put(30, 1); // a compression
    writeText(scratch / "packed.bmp", bitmap + std::string(400, '\0'));
    expectUnreadable(scratch / "packed.bmp", "Invalid BMP file.");
}

TEST_F(PicturesFailures, PicturesOfDifferentSizes)
{
    writeGreyPng(scratch / "other.png", 61, 40, scene);
    const std::string sentence =
        "the pictures differ in size: " + good + " is 60 x 40, " + scratch / "other.png" + " is 61 x 40";
    expectFailure({"inspect", good, scratch / "other.png", "--out", scratch / "out"}, sentence);
    expectFailure({"diff", good, scratch / "other.png", scratch / "d.png"}, sentence);
}

TEST_F(PicturesFailures, FoldersThatCannotBeWritten)
{
    writeText(scratch / "file", "in the way");
    expectFailure({"inspect", good, good, "--out", scratch / "file"}, scratch / "file");
    expectFailure({"inspect", good, good, "--out", scratch / "file/below/it"}, "cannot make the folder");
    expectFailure({"synth", "--seed", "1", "--size", "256", "--out", scratch / "file/below"},
                  "cannot make the folder");
    expectFailure({"diff", good, good, scratch / "file/d.png"}, "file");
    std::filesystem::create_directories(scratch / "taken/report.html");
    expectFailure({"inspect", good, good, "--out", scratch / "taken"}, "report.html: it is a folder");
    expectFailure({"diff", good, good, scratch / "d.gif"},
                  "a picture is written as .png, .bmp, .tif or .tiff");
}

TEST_F(PicturesFailures, BadUsage)
{
    expectFailure({}, "subcommand");
    expectFailure({"examine"}, "A subcommand is required");
    expectFailure({"inspect", good}, "DEFECT");
    expectFailure({"inspect", good, good, "--threshold", "0"}, "--threshold");
    expectFailure({"inspect", good, good, "--threshold", "128"}, "--threshold");
    expectFailure({"inspect", good, good, "--threshold", "much"}, "--threshold");
    expectFailure({"inspect", good, good, "--sort", "colour"}, "--sort");
    expectFailure({"inspect", good, good, "--format", "xml"}, "--format");
    expectFailure({"inspect", good, good, "--offset", "3"}, "--offset");
    expectFailure({"inspect", good, good, "--offset", "60,0"}, "share no pixel");
    expectFailure({"inspect", good, good, "--offset", "-2147483648,0"}, "share no pixel");
    expectFailure({"inspect", good, good, "--roi", "10,10,5,20"}, "--roi");
    expectFailure({"inspect", good, good, "--roi", "100,100,200,200"}, "the region holds no pixel");
    expectFailure({"inspect", good, good, "--max", "0"}, "--max");
    expectFailure({"inspect", good, good, "-q", "-v"}, "--verbose");
    expectFailure({"synth", "--out", scratch / "s"}, "--seed");
    expectFailure({"synth", "--seed", "1", "--out", scratch / "s", "--size", "9"}, "--size");
}

TEST_F(Pictures, HelpAndVersionAreAnswers)
{
    const Outcome help = run({"inspect", "--help"});
    EXPECT_EQ(0, help.code);
    EXPECT_EQ("", help.err);
    EXPECT_THAT(help.out, HasSubstr("Exit code: 0 no defect, 1 defects found, 2 bad usage"));
    EXPECT_EQ("vexa 1.0.0\n", run({"--version"}).out);
}

} // namespace
