// Converting between formats, and what the program tells of headers.
#include <gmock/gmock.h>

#include "tests/apps/program.h"

using namespace vexa::test;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

int32_t ramp(int32_t x, int32_t y)
{
    return (3 * x + 5 * y) % 256;
}

// A raw file, byte by byte.
std::string rawFile(const std::vector<int32_t>& numbers, const std::string& comment,
                    const std::string& pixels)
{
    std::string bytes;
    for (const int32_t number : numbers)
        for (int32_t i = 0; i < 4; ++i)
            bytes += static_cast<char>(static_cast<uint32_t>(number) >> (8 * i));
    bytes += comment + std::string(32 - comment.size(), '\0');
    return bytes + pixels;
}

class Convert : public testing::Test
{
protected:
    void SetUp() override { writeGreyPng(good, 60, 40, ramp); }

    void convert(const std::string& in, const std::string& out)
    {
        const Outcome outcome = run({"convert", in, out});
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ("", outcome.err);
    }
    void expectFailure(const std::vector<std::string>& arguments, const std::string& sentence)
    {
        vexa::test::expectFailure(scratch, arguments, sentence);
    }

    Scratch scratch;
    const std::string good = scratch / "good.png";
};

TEST_F(Convert, EveryFormatThereAndBack)
{
    std::string from = good;
    for (const std::string name : {"a.bmp", "b.tif", "c.raw", "d.TIFF", "e.raw", "f.png"}) {
        convert(from, scratch / name);
        from = scratch / name;
    }
    const GreyPicture back = readPng(scratch / "f.png");
    ASSERT_EQ(60, back.cols);
    ASSERT_EQ(40, back.rows);
    for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 0; x < 60; ++x)
            ASSERT_EQ(ramp(x, y), back.at(x, y));
}

TEST_F(Convert, ColourStaysColour)
{
    writeColorPng(
        scratch / "color.png", 9, 7, [](int32_t x, int32_t) { return 20 * x; },
        [](int32_t, int32_t y) { return 30 * y; }, [](int32_t, int32_t) { return 200; });
    std::string from = scratch / "color.png";
    for (const std::string name : {"a.tif", "b.bmp", "c.raw", "d.tif", "e.png"}) {
        convert(from, scratch / name);
        from = scratch / name;
        EXPECT_THAT(run({"info", from}).out, HasSubstr("9 x 7, 8-bit colour, 3 samples a pixel"));
    }
    EXPECT_EQ(readText(scratch / "a.tif"), readText(scratch / "d.tif"));
    convert(scratch / "color.png", scratch / "again.png");
    EXPECT_EQ(readText(scratch / "again.png"), readText(scratch / "e.png"));
}

TEST_F(Convert, RawFilesKeepTheirNumbers)
{
    const std::string words = rawFile({2, 2, 4, 2, 2}, "depth", std::string("\0\0\1\0\2\0\377\17", 8));
    writeText(scratch / "words.raw", words);
    convert(scratch / "words.raw", scratch / "copy.raw");
    EXPECT_EQ(words.substr(52), readText(scratch / "copy.raw").substr(52, 8));
    EXPECT_THAT(run({"info", scratch / "copy.raw"}).out, HasSubstr("raw, 2 x 2, 16-bit grey"));
    const Outcome outcome = run({"convert", scratch / "words.raw", scratch / "words.png"});
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("vexa: " + scratch / "words.raw" + ": 16 bits a sample are reduced to 8\n", outcome.err);
    EXPECT_EQ(255, readPng(scratch / "words.png").at(1, 1)) << "the largest value";
}

TEST_F(Convert, InfoTellsWhatHeadersSay)
{
    convert(good, scratch / "a.bmp");
    std::string out = run({"info", scratch / "a.bmp"}).out;
    EXPECT_THAT(out, StartsWith(scratch / "a.bmp" + ": BMP, 60 x 40, 8-bit grey"));
    EXPECT_THAT(out, HasSubstr("    pixels at 1078\n"));
    EXPECT_THAT(out, HasSubstr("    width 60, height -40 (top row first), bits a pixel 8\n"));

    convert(good, scratch / "a.tif");
    out = run({"info", scratch / "a.tif"}).out;
    EXPECT_THAT(out, HasSubstr("    little-endian, version 42\n    directory at 8, 13 entries\n"));
    EXPECT_THAT(out, HasSubstr("    256 width: 60\n    257 height: 40\n    258 bits a sample: 8\n"));
    EXPECT_THAT(out, HasSubstr("    282 x resolution: 60/1500\n    283 y resolution: 40/1500\n"));

    out = run({"info", good}).out;
    EXPECT_THAT(
        out, HasSubstr("    IHDR, 13 bytes: width 60, height 40, bit depth 8, colour type 0, interlace 0\n"));
    writeJpeg(scratch / "a.jpg", 30, 20, ramp);
    out = run({"info", scratch / "a.jpg"}).out;
    EXPECT_THAT(out, HasSubstr("    JFIF 1."));
    EXPECT_THAT(out, HasSubstr("frame: width 30, height 20, bits 8, sampling 1x1\n"));

    writeText(scratch / "a.raw", rawFile({3, 1, 4, 1, 1}, "line\1two", "abcd"));
    out = run({"info", scratch / "a.raw"}).out;
    EXPECT_THAT(out, HasSubstr("    width 3, height 1\n    stride 4, bytes a pixel 1, pixel type 1\n"
                               "    comment: line?two\n"));
}

TEST_F(Convert, TagsThatLieAreToldAsSuch)
{
    // A directory that points to itself, with a tag behind the end and one of a type that is none.
    std::string tiff("II*\0\x08\0\0\0\x05\0", 10);
    const auto entry = [&tiff](int32_t tag, int32_t type, int32_t count, int32_t value) {
        for (const auto& [number, bytes] : {std::pair{tag, 2}, {type, 2}, {count, 4}, {value, 4}})
            for (int32_t i = 0; i < bytes; ++i)
                tiff += static_cast<char>(static_cast<uint32_t>(number) >> (8 * i));
    };
    entry(256, 3, 1, 2);
    entry(257, 3, 1, 1);
    entry(258, 3, 1, 8);
    entry(273, 4, 1, 8);
    entry(40000, 4, 1000000, 12);
    tiff += std::string("\x08\0\0\0", 4);
    writeText(scratch / "lies.tif", tiff);
    const Outcome outcome = run({"info", scratch / "lies.tif"});
    if (outcome.code == 0) {
        EXPECT_THAT(outcome.out, HasSubstr("40000: behind the end of the file\n"));
    }
    EXPECT_LT(outcome.out.size(), 2000U);
}

TEST_F(Convert, FailuresAreOneSentence)
{
    expectFailure({"convert", good, scratch / "a.gif"},
                  "a.gif: a picture is written as .png, .bmp, .tif, .tiff or .raw");
    expectFailure({"convert", good, scratch / "raw"}, "a picture is written as");
    expectFailure({"convert", scratch / "none.png", scratch / "a.png"}, "cannot open");
    writeText(scratch / "own.raw", rawFile({4, 2, 4, 1, 60}, "", "abcdefgh"));
    expectFailure({"convert", scratch / "own.raw", scratch / "a.png"},
                  "own.raw: a raw file with pixels of an application's own");
    EXPECT_THAT(run({"info", scratch / "own.raw"}).out,
                HasSubstr("own.raw: raw, 4 x 2, 8 bits a pixel of an application's own"));
    EXPECT_EQ(0, run({"convert", scratch / "own.raw", scratch / "copy.raw"}).code);
    writeText(scratch / "short.raw", rawFile({30, 40, 30, 1, 1}, "", "too few"));
    expectFailure({"convert", scratch / "short.raw", scratch / "a.png"},
                  "damaged raw file: the file ends too early");
    writeText(scratch / "huge.raw", rawFile({30000, 40000, 30000, 1, 1}, "", "too few"));
    expectFailure({"convert", scratch / "huge.raw", scratch / "a.png"}, "not a picture that vexa reads");
    writeText(scratch / "file", "in the way");
    expectFailure({"convert", good, scratch / "file/a.png"}, "file");
    expectFailure({"convert", good}, "OUT");
}

} // namespace
