// Files written here, as a reader sees them that shares no code with the other peer.
#include <array>
#include <cstdio>
#include <memory>

#include "tests/fileio/peers/written_tiff_files.h"

namespace vexa::test
{
namespace
{

struct Seen {
    std::string sizeAndMode, resolution, comment, palette, pixels;
};

Seen seenByPillow(const std::string& name)
{
    const std::string command = std::string(VEXA_PYTHON) + " '" + VEXA_TIFF_READER + "' '" + name + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::array<std::string, 5> lines;
    std::array<char, 4096> part;
    std::size_t line = 0;
    while (line < lines.size() && std::fgets(part.data(), part.size(), pipe.get())) {
        lines[line] += part.data();
        if (lines[line].back() == '\n')
            lines[line++].pop_back();
    }
    return {lines[0], lines[1], lines[2], lines[3], lines[4]};
}

std::string hexadecimal(const Bytes& bytes)
{
    std::string text;
    for (const uint8_t byte : bytes)
        for (const int32_t digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

using TiffSecondReader = WrittenTiffFiles;

TEST_F(TiffSecondReader, AgainstReferenceGrey)
{
    const int32_t im = noiseImage(300, 45, 1);
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    const Seen seen = seenByPillow(file.name());
    EXPECT_EQ("300 45 L", seen.sizeAndMode);
    EXPECT_EQ("0.200000 0.030000", seen.resolution);
    EXPECT_EQ("", seen.comment);
    EXPECT_EQ(hexadecimal(bytesOf(im)), seen.pixels);
    I_ImClose(im);
}

TEST_F(TiffSecondReader, AgainstReferenceColour)
{
    const Bytes pixels = samples(37 * 21 * 3);
    writeColour(37, 21, pixels);
    const Seen seen = seenByPillow(file.name());
    EXPECT_EQ("37 21 RGB", seen.sizeAndMode);
    EXPECT_EQ(hexadecimal(pixels), seen.pixels);
}

TEST_F(TiffSecondReader, AgainstReferencePalette)
{
    const Bytes tables = samples(768);
    const Bytes indices = writePalette(37, 21, tables);
    const Seen seen = seenByPillow(file.name());
    Bytes triples;
    for (std::size_t i = 0; i < 256; ++i)
        triples.insert(triples.end(), {tables[i], tables[256 + i], tables[512 + i]});
    EXPECT_EQ("37 21 P", seen.sizeAndMode);
    EXPECT_EQ(hexadecimal(triples), seen.palette);
    EXPECT_EQ(hexadecimal(indices), seen.pixels);
}

TEST_F(TiffSecondReader, AgainstReferenceComment)
{
    const std::string comment = "gate oxide, lot 7";
    writeTwelve(comment);
    const Seen seen = seenByPillow(file.name());
    EXPECT_EQ("4 3 L", seen.sizeAndMode);
    EXPECT_EQ(comment, seen.comment);
    EXPECT_EQ("0102030405060708090a0b0c", seen.pixels);
}

} // namespace
} // namespace vexa::test
