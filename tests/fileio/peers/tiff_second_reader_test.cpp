// Files written here, as a reader sees them that shares no code with the other peer.
#include <array>
#include <cstdio>
#include <memory>

#include "tests/fileio/tiff_files.h"

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

Bytes levels(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(i * 37 + i / 11);
    return bytes;
}

using TiffSecondReader = TiffFiles;

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
    const int32_t im = I_ImOpen(37, 21, PIX_RGB24);
    const Bytes pixels = levels(37 * 21 * 3);
    ASSERT_NE(0, I_PutBlockType(0, 0, 37, 21, pixels.data(), im, PIX_RGB24));
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    const Seen seen = seenByPillow(file.name());
    EXPECT_EQ("37 21 RGB", seen.sizeAndMode);
    EXPECT_EQ(hexadecimal(pixels), seen.pixels);
    I_ImClose(im);
}

TEST_F(TiffSecondReader, AgainstReferencePalette)
{
    I_SetColorProcMode(0);
    const int32_t im = noiseImage(37, 21, 2);
    const Bytes indices = bytesOf(im);
    const Bytes tables = levels(768);
    ASSERT_EQ(1, I_ApplyPalette(&tables[0], &tables[256], &tables[512], im));
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im)) << errorText();
    I_SetColorProcMode(3);
    const Seen seen = seenByPillow(file.name());
    Bytes triples;
    for (std::size_t i = 0; i < 256; ++i)
        triples.insert(triples.end(), {tables[i], tables[256 + i], tables[512 + i]});
    EXPECT_EQ("37 21 P", seen.sizeAndMode);
    EXPECT_EQ(hexadecimal(triples), seen.palette);
    EXPECT_EQ(hexadecimal(indices), seen.pixels);
    I_ImClose(im);
}

TEST_F(TiffSecondReader, AgainstReferenceComment)
{
    const std::string comment = "gate oxide, lot 7";
    FILE* out = I_WriteTiffHeader(file.name(), 4, 3, comment.c_str(),
                                  static_cast<int32_t>(comment.size()) + 1, nullptr);
    ASSERT_NE(nullptr, out);
    const int32_t im = byteImage({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}});
    ASSERT_EQ(1, I_WriteTiffWindow(out, 0, 0, 4, 3, im));
    std::fclose(out);
    const Seen seen = seenByPillow(file.name());
    EXPECT_EQ("4 3 L", seen.sizeAndMode);
    EXPECT_EQ(comment, seen.comment);
    EXPECT_EQ("0102030405060708090a0b0c", seen.pixels);
    I_ImClose(im);
}

} // namespace
} // namespace vexa::test
