// What becomes of the sample BMP files: read right, or refused with which text.
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

constexpr const char* kReadRight[] = {
    "badpalettesize", "pal8-0",   "pal8",           "pal8badindex",    "pal8gs",
    "pal8nonsquare",  "pal8offs", "pal8os2v2-40sz", "pal8oversizepal", "pal8topdown",
    "pal8w124",       "pal8w125", "pal8w126",       "rgb24",           "rgb24largepal",
    "rgb24pal",       "rgb32",    "rgb32fakealpha",
};

struct OtherBits {
    const char* name;
    int32_t bits;
};
constexpr OtherBits kOtherBits[] = {
    {"badbitcount", 30000},
    {"badbitssize", 1},
    {"baddens1", 1},
    {"baddens2", 1},
    {"badfilesize", 1},
    {"badwidth", 1},
    {"pal1", 1},
    {"pal1bg", 1},
    {"pal1p1", 1},
    {"pal1wb", 1},
    {"pal2", 2},
    {"pal2color", 2},
    {"pal4", 4},
    {"pal4gs", 4},
    {"rgb16", 16},
    {"rgb16faketrns", 16},
    {"rgba64", 64},
    {"shortfile", 1},
};

// Compressed, masked, with headers of other sizes, cut short.
constexpr const char* kInvalid[] = {
    "badheadersize", "badplanes",    "badrle",       "badrle4",     "badrle4bis",   "badrle4ter",
    "badrlebis",     "badrleter",    "pal1huffmsb",  "pal4rle",     "pal4rlecut",   "pal4rletrns",
    "pal8os2-hs",    "pal8os2-sz",   "pal8os2",      "pal8os2sp",   "pal8os2v2-16", "pal8os2v2-sz",
    "pal8os2v2",     "pal8rle",      "pal8rlecut",   "pal8rletrns", "pal8v4",       "pal8v5",
    "reallybig",     "rgb16-231",    "rgb16-3103",   "rgb16-565",   "rgb16-565pal", "rgb16-880",
    "rgb16bfdef",    "rgb24jpeg",    "rgb24lprof",   "rgb24png",    "rgb24prof",    "rgb24prof2",
    "rgb24rle24",    "rgb32-111110", "rgb32-7187",   "rgb32-xbgr",  "rgb32bf",      "rgb32bfdef",
    "rgb32h52",      "rgba16-1924",  "rgba16-4444",  "rgba16-5551", "rgba32-1",     "rgba32-1010102",
    "rgba32-2",      "rgba32-61754", "rgba32-81284", "rgba32abf",   "rgba32h56",    "rletopdown",
};

int64_t number(const std::vector<uint8_t>& bytes, std::size_t at, std::size_t count)
{
    uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value |= uint32_t{bytes[at + i]} << 8 * i;
    return static_cast<int32_t>(value);
}

// The rows of the picture from the top, by the plainest of readers.
std::vector<uint8_t> plainRows(const std::vector<uint8_t>& file)
{
    const int64_t cols = number(file, 18, 4);
    const int64_t height = number(file, 22, 4);
    const int64_t bits = number(file, 28, 2);
    const int64_t rows = std::abs(height);
    const int64_t stride = (cols * bits + 31) / 32 * 4;
    std::vector<uint8_t> all;
    for (int64_t y = 0; y < rows; ++y) {
        const auto row = file.begin() + number(file, 10, 4) + stride * (height > 0 ? rows - 1 - y : y);
        all.insert(all.end(), row, row + cols * bits / 8);
    }
    return all;
}

void expectReadRight(const std::filesystem::path& path)
{
    const int32_t im = I_ReadBMP(path.c_str());
    ASSERT_NE(0, im) << errorText();
    EXPECT_EQ(plainRows(bytesOfFile(path)), bytesOf(im));
    EXPECT_EQ(1, I_ImClose(im));
}

void expectRefused(const std::filesystem::path& path, const std::string& text)
{
    clearError();
    EXPECT_EQ(0, I_ReadBMP(path.c_str()));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(text, errorText());
}

TEST(BmpSamples, AgainstReferenceEachOneByName)
{
    const auto files = sampleFiles("bmp", ".bmp");
    if (files.empty())
        GTEST_SKIP() << "no sample files beside this checkout";
    for (const auto& path : files) {
        const std::string name = path.stem();
        SCOPED_TRACE(name);
        const auto isIt = [&name](const auto& listed) { return name == listed; };
        const auto* const other = std::find_if(std::begin(kOtherBits), std::end(kOtherBits),
                                               [&name](const OtherBits& o) { return name == o.name; });
        if (std::any_of(std::begin(kReadRight), std::end(kReadRight), isIt))
            expectReadRight(path);
        else if (other != std::end(kOtherBits))
            expectRefused(path, "Error: " + path.string() + " has " + std::to_string(other->bits) +
                                    " bit pixels. 8, 24, and 32 bits are allowed.");
        else if (std::any_of(std::begin(kInvalid), std::end(kInvalid), isIt))
            expectRefused(path, "Invalid BMP file.");
        else
            ADD_FAILURE() << "not listed";
    }
    EXPECT_EQ(0, I_ImCount());
}

} // namespace
} // namespace vexa::test
