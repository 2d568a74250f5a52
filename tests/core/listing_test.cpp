// Descriptions of images and the clipboard.
#include "vexalib/listing.h"

#include <cstring>
#include <map>

#include <gmock/gmock.h>

#include "platform/platform.h"
#include "support/buffer.h"
#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/kinds.h"

using namespace vexa::test;

namespace
{

// A clipboard, boxes and a memory figure of the test's own.
struct Desktop {
    std::map<int32_t, std::vector<uint8_t>> clipboard;
    std::vector<std::string> boxes;
    bool refuses = false;
    int32_t stored = 0;
};
Desktop desktop;

int32_t store(int32_t format, const void* data, size_t bytes)
{
    if (desktop.refuses)
        return 0;
    ++desktop.stored;
    const auto* const first = static_cast<const uint8_t*>(data);
    desktop.clipboard = {{format, {first, first + bytes}}};
    return 1;
}

size_t fetch(int32_t format, void* buffer, size_t capacity)
{
    const auto found = desktop.clipboard.find(format);
    if (found == desktop.clipboard.end())
        return 0;
    if (buffer)
        std::memcpy(buffer, found->second.data(), std::min(capacity, found->second.size()));
    return found->second.size();
}

std::string clipboardText()
{
    const auto found = desktop.clipboard.find(1);
    if (found == desktop.clipboard.end() || found->second.empty() || found->second.back() != 0)
        return "(none)";
    return reinterpret_cast<const char*>(found->second.data());
}

class Listing : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        I_SetROIType(0);
        desktop = {};
        VexaPlatform platform = {};
        platform.size = sizeof platform;
        platform.storeClipboard = store;
        platform.fetchClipboard = fetch;
        platform.availableMemory = [] { return int64_t{1536} * 1024 + 512 * 1024 * 1024; };
        platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
            desktop.boxes.emplace_back(text);
            return answer;
        };
        vexaSetPlatform(&platform);
        clearError();
    }
    void TearDown() override
    {
        vexa::failAllocation(0, false);
        I_ImCloseAll();
        I_SetROIType(0);
        vexaSetPlatform(nullptr);
    }
};

std::string described(int32_t im)
{
    char text[2000] = "before";
    EXPECT_EQ(1, I_DescribeImage(im, text, sizeof text));
    return text;
}

} // namespace

TEST_F(Listing, LiteralOneLineAnImage)
{
    const int32_t plain = I_ImOpen(40, 30, PIX_BYTE);
    EXPECT_EQ(" -1\t  40x  30x 1 byt    \t0-0\t0MB \t", described(plain));
    I_ImSetComment("plate 7", plain);
    I_SetPixValueRange(-2.5, 254.6, plain);
    EXPECT_EQ(" -1\t  40x  30x 1 byt    \t-2-255\t0MB plate 7\t", described(plain));
    const int32_t inverted = 1;
    I_ImSetParam(&inverted, sizeof inverted, 19, plain);
    EXPECT_EQ(" -1\t  40x  30x 1 byt    \t-2-255\t0MB plate 7\tinverted", described(plain));
    I_ImSetComment(std::string(60, 'c').c_str(), plain);
    EXPECT_EQ(" -1\t  40x  30x 1 byt    \t-2-255\t0MB " + std::string(50, 'c') + "\tinverted",
              described(plain));
    // 2000 x 1000 x 8 bytes are 15.26 units of 1048576.
    EXPECT_EQ(" -2\t2000x1000x 8 Dfloat \t0-0\t15MB \t", described(I_ImOpen(2000, 1000, PIX_DFLOAT)));
    EXPECT_EQ(" -3\t   1x12345x16 Dcplx  \t0-0\t0MB \t", described(I_ImOpen(1, 12345, PIX_DCOMPLEX)));
}

TEST_F(Listing, LiteralNamesOfTypesAndKinds)
{
    const std::pair<int32_t, const char*> types[] = {{0, " "},
                                                     {PIX_BYTE, "byt "},
                                                     {PIX_WORD, "wrd "},
                                                     {PIX_DWORD, "DWord "},
                                                     {PIX_FLOAT, "float "},
                                                     {PIX_DFLOAT, "Dfloat "},
                                                     {PIX_COMPLEX, "cplx "},
                                                     {PIX_DCOMPLEX, "Dcplx "},
                                                     {PIX_PALETTE, "Palette "},
                                                     {PIX_BGR15, "BGR-15bit "},
                                                     {PIX_BGR16, "BGR-16bit "},
                                                     {PIX_BGR24, "BGR-24bit "},
                                                     {PIX_RGB24, "RGB-24bit "},
                                                     {PIX_BGR32, "BGR-32bit "},
                                                     {PIX_RGB32, "RGB-32bit "},
                                                     {PIX_PLANAR, "PLANAR "},
                                                     {9, "user "},
                                                     {14, "user "},
                                                     {99, "user "}};
    for (const auto& [type, name] : types) {
        const int32_t im = I_ImOpen(4, 3, type);
        char expected[100];
        std::snprintf(expected, sizeof expected, "\t   4x   3x%2d %-7s\t", I_ImTypeBytes(type), name);
        EXPECT_THAT(described(im), testing::HasSubstr(expected));
        I_ImClose(im);
    }
    ImageKindOps ops = {};
    ops.getSize = [](int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type) {
        *cols = *rows = *stride = 5;
        *type = PIX_BYTE;
        return 1;
    };
    const std::pair<int32_t, const char*> kinds[] = {
        {8, "byt file"}, {16, "byt display"}, {21, "byt grabber"}, {17, "byt special"}, {31, "byt special"}};
    for (const auto& [kind, name] : kinds) {
        ASSERT_TRUE(kind == 8 || addimagetype(kind, &ops));
        const int32_t before = I_ImSetMemType(kind);
        const int32_t im = I_ImOpen(5, 5, PIX_BYTE);
        I_ImSetMemType(before);
        EXPECT_EQ(std::string(" -1\t   5x   5x 1 ") + name + "\t0-0\t0MB \t", described(im));
        I_ImClose(im);
    }
}

TEST_F(Listing, BoundsOfTheLine)
{
    const int32_t im = I_ImOpen(4, 4, PIX_FLOAT);
    I_SetPixValueRange(-1e308, 1e308, im);
    I_ImSetComment("end", im);
    EXPECT_THAT(described(im), testing::EndsWith("0MB end\t"));
    char text[8];
    for (int32_t size = 1; size <= 8; ++size) {
        std::memset(text, '#', sizeof text);
        EXPECT_EQ(1, I_DescribeImage(im, text, size));
        EXPECT_EQ(std::string(" -1\t   4").substr(0, static_cast<std::size_t>(size) - 1), text);
        EXPECT_TRUE(size == 8 || text[size] == '#');
    }
}

TEST_F(Listing, FailuresOfDescriptions)
{
    char text[100] = "before";
    EXPECT_EQ(0, I_DescribeImage(0, text, 100));
    EXPECT_EQ(0, I_DescribeImage(5, text, 100));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_STREQ("before", text);
    EXPECT_EQ(0, I_DescribeImage(-7, text, 100));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    const int32_t im = I_ImOpen(4, 4, PIX_BYTE);
    EXPECT_EQ(0, I_DescribeImage(-7, text, 100));
    EXPECT_EQ("I_ImGetSize(, im=-7)  im. not open", errorText());
    EXPECT_EQ(0, I_DescribeImage(im, nullptr, 100));
    EXPECT_EQ(0, I_DescribeImage(im, text, 0));
    EXPECT_EQ(0, I_DescribeImage(im, text, -1));
}

TEST_F(Listing, LiteralBoxesWithStatistics)
{
    const int32_t im = byteImage({{10, 20}, {30, 40}});
    EXPECT_EQ(1, DescribeImage(im));
    const std::string all =
        " -1\t   2x   2x 1 byt    \t0-0\t0MB \t\nInside ROI: npix=4 mean=25.0 stdev=12.91 min=10.0 "
        "max=40.0";
    EXPECT_EQ(0, DescribeImage(-5));
    EXPECT_EQ(0, DescribeImage(0));
    I_SetWindowROI(1, 0, 1, 1);
    const int32_t other = byteImage({{1, 7}, {2, 7}});
    EXPECT_EQ(2, DescribeImages(im, -9, other));
    EXPECT_THAT(desktop.boxes,
                testing::ElementsAre(all, "Image -5 is not open", "Image 0 is not open", clipboardText()));
    EXPECT_EQ(
        " -1\t   2x   2x 1 byt    \t0-0\t0MB \t\nInside ROI: npix=2 mean=30.0 stdev=14.14 min=20.0 max=40.0\n"
        "Image -9 is not open\n"
        " -2\t   2x   2x 1 byt    \t0-0\t0MB \t\nInside ROI: npix=2 mean=7.0 stdev=0.00 min=7.0 max=7.0\n",
        clipboardText());
}

TEST_F(Listing, LiteralTheListOfImages)
{
    I_SetWindowROI(5, 6, 70, 80);
    I_SetROIType(0);
    EXPECT_STREQ(
        "IMAGE LIST:\nIm#\tSize         Type\tRange\tComment\n\n0 of 0 images listed\n\n"
        "Total memory used = 0.000 MB; 513.5 MB available.\n\nROI Type=FullFrame;  Window= 5 6 70 80\n",
        ImageListBox1());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    const int32_t first = I_ImOpen(1024, 512, PIX_BYTE);
    I_ImOpen(8, 8, PIX_BYTE);
    const int32_t third = I_ImOpen(64, 64, PIX_BYTE);
    I_ImSetComment("third", third);
    I_ImClose(-2);
    I_ImOpenSubimage(1, 1, 2, 2, first);
    I_ImOpen(1024, 256, PIX_FLOAT);
    I_SetROIType(2);
    const std::string expected =
        "IMAGE LIST:\n"
        "Im#\tSize         Type\tRange\tComment\n"
        " -1\t1024x 512x 1 byt    \t0-0\t0MB \t\n"
        " -2\t   2x   2x 1 byt    \t0-0\t0MB \t\n"
        " -3\t  64x  64x 1 byt    \t0-0\t0MB third\t\n"
        " -4\t1024x 256x 4 float  \t0-0\t1MB \t\n"
        "\n4 of 4 images listed\n"
        // 524288 + 2048 + 4096 + 4 * 1048576: the stride counts the bytes once, and they count again
        "\nTotal memory used = 4.506 MB; 513.5 MB available.\n"
        "\nROI Type=Polygon;  Window= 5 6 70 80\n";
    EXPECT_EQ(expected, ImageListBox1());
    EXPECT_EQ(4, ImageListBox());
    EXPECT_THAT(desktop.boxes, testing::ElementsAre(expected));
    EXPECT_EQ(expected, clipboardText());
    for (const auto& [type, name] : {std::pair{1, "Window"}, {3, "Scanlist"}}) {
        I_SetROIType(type);
        EXPECT_THAT(ImageListBox1(), testing::HasSubstr(std::string("ROI Type=") + name + ";"));
    }
    char text[12] = {};
    EXPECT_EQ(4, ImageListBox2(text, sizeof text));
    EXPECT_STREQ("IMAGE LIST:", text);
    EXPECT_EQ(4, ImageListBox2(nullptr, 10));
    EXPECT_EQ(4, ImageListBox2(text, 0));
}

TEST_F(Listing, BoundsAllImages)
{
    for (int32_t i = 0; i < 298; ++i) {
        const int32_t im = I_ImOpen(1, 1, PIX_FLOAT);
        I_SetPixValueRange(-1e308, 1e308, im);
        I_ImSetComment(std::string(200, 'x').c_str(), im);
    }
    EXPECT_THAT(ImageListBox1(), testing::HasSubstr("\n298 of 298 images listed\n"));
    EXPECT_THAT(ImageListBox1(), testing::HasSubstr("\n-298\t   1x   1x 4 float "));
}

TEST_F(Listing, LiteralClipboardOfText)
{
    EXPECT_EQ(1, I_SetClipboardText("100% of it"));
    EXPECT_EQ("100% of it", clipboardText());
    EXPECT_EQ(11U, desktop.clipboard[1].size());
    EXPECT_EQ(1, I_SetClipboardText(""));
    EXPECT_EQ("", clipboardText());
    EXPECT_EQ(0, I_SetClipboardText(nullptr));
    EXPECT_EQ("", clipboardText());
    desktop.refuses = true;
    EXPECT_EQ(0, I_SetClipboardText("no"));
    EXPECT_EQ(0, I_SetClipboardImage(byteImage({{1}})));
    const int32_t one = 1;
    EXPECT_EQ(0, I_SetClipboardArray(&one, 4, 1, 1, "%d"));
}

TEST_F(Listing, LiteralClipboardOfImages)
{
    const int32_t grey = noiseImage(13, 7, 3);
    EXPECT_EQ(1, I_SetClipboardImage(grey));
    const std::vector<uint8_t> stored = desktop.clipboard[8];
    ASSERT_GE(stored.size(), 40U + 1024U + 16U * 7U);
    EXPECT_EQ(40, stored[0]);
    EXPECT_EQ(13, stored[4]);
    EXPECT_EQ(8, stored[14]);
    const int32_t pasted = I_GetClipboardImage();
    ASSERT_LT(pasted, 0);
    EXPECT_EQ(bytesOf(grey), bytesOf(pasted));
    EXPECT_EQ(stored, desktop.clipboard[8]) << "the clipboard keeps its own";
    EXPECT_LT(I_GetClipboardImage(), 0);
    const int32_t color = image(6, 5, PIX_BGR24);
    I_ClearRect(2, 1, 4, 3, 200, color);
    EXPECT_EQ(1, I_SetClipboardImage(color));
    EXPECT_EQ(bytesOf(color), bytesOf(I_GetClipboardImage()));
}

TEST_F(Listing, LiteralTheBuiltInClipboardServesToo)
{
    vexaSetPlatform(nullptr);
    const int32_t grey = noiseImage(5, 4, 3);
    EXPECT_EQ(1, I_SetClipboardImage(grey));
    EXPECT_EQ(bytesOf(grey), bytesOf(I_GetClipboardImage()));
    EXPECT_EQ(1, I_SetClipboardText("abc"));
    char text[4] = {};
    EXPECT_EQ(4U, vexa::platform::fetchClipboard(1, text, sizeof text));
    EXPECT_STREQ("abc", text);
    EXPECT_EQ(0, I_GetClipboardImage()) << "the picture gave way";
}

TEST_F(Listing, FailuresOfClipboardImages)
{
    EXPECT_EQ(0, I_GetClipboardImage()) << "an empty clipboard";
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_SetClipboardImage(0));
    EXPECT_EQ(0, I_SetClipboardImage(-250));
    EXPECT_EQ(0, desktop.stored);
    const int64_t before = vexa::allocationState().liveBytes;
    for (const size_t bytes : {1U, 39U, 40U, 100U, 2000U}) {
        desktop.clipboard[8].assign(bytes, 0xEE); // no bitmap
        EXPECT_EQ(0, I_GetClipboardImage());
    }
    EXPECT_EQ(before, vexa::allocationState().liveBytes);
}

TEST_F(Listing, LiteralClipboardOfArrays)
{
    const int16_t words[] = {1, -2, 3, 4, 5, 600};
    EXPECT_EQ(1, I_SetClipboardArray(words, 2, 3, 2, "%hd"));
    EXPECT_EQ("1\t-2\t3\r\n4\t5\t600", clipboardText());
    EXPECT_EQ(1, I_SetClipboardArray(words, 2, 2, 3, "%5hd"));
    EXPECT_EQ("    1\t   -2\r\n    3\t    4\r\n    5\t  600", clipboardText());
    const float floats[] = {0.5F, 1.25F};
    EXPECT_EQ(1, I_SetClipboardArray(floats, 4, 2, 0, "%.1f")) << "no rows count as one";
    EXPECT_EQ("0.5\t1.2", clipboardText());
    // What I_FormatArrayEx writes in one piece.
    std::vector<int32_t> many(300 * 40);
    for (std::size_t i = 0; i < many.size(); ++i)
        many[i] = static_cast<int32_t>(i * 7919);
    std::string whole(1000000, '\0');
    whole.resize(static_cast<std::size_t>(
        I_FormatArrayEx(whole.data(), many.data(), 4, 300, 40, "<%8d>", "\t", nullptr)));
    EXPECT_EQ(1, I_SetClipboardArray(many.data(), 4, 300, 40, "<%8d>"));
    EXPECT_EQ(whole, clipboardText());
    const std::string longFormat = std::string(500, 'x') + "%d";
    EXPECT_EQ(1, I_SetClipboardArray(many.data(), 4, 2, 2, longFormat.c_str()));
    EXPECT_EQ(4U * 400 + 2 + 2, clipboardText().size());
    EXPECT_EQ(1, I_SetClipboardArray(many.data(), 4, 2, 1, nullptr));
}

TEST_F(Listing, FailuresOfClipboardArrays)
{
    const int32_t one = 1;
    EXPECT_EQ(0, I_SetClipboardArray(nullptr, 4, 1, 1, "%d"));
    EXPECT_EQ(0, I_SetClipboardArray(&one, 0, 1, 1, "%d"));
    EXPECT_EQ(0, I_SetClipboardArray(&one, 4, 0, 1, "%d"));
    EXPECT_EQ(0, I_SetClipboardArray(&one, -4, -1, 1, "%d"));
    EXPECT_EQ(0, desktop.stored);
    const std::vector<int32_t> many(2000);
    forEachFailingAllocation([&] { return I_SetClipboardArray(many.data(), 4, 20, 100, "%d"); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_THAT(errorText(), testing::HasSubstr("I_SetClipboardArray"));
                             });
}

TEST_F(Listing, FailuresOfMemory)
{
    const int32_t grey = noiseImage(30, 20, 3);
    forEachFailingAllocation([&] { return I_SetClipboardImage(grey); },
                             [](int64_t result) { EXPECT_EQ(0, result); });
    I_SetClipboardImage(grey);
    forEachFailingAllocation(
        [&] {
            const int32_t im = I_GetClipboardImage();
            I_ImClose(im);
            return im;
        },
        [](int64_t) {});
    forEachFailingAllocation([&] { return DescribeImage(grey); }, [](int64_t) {});
    // The listing's block is kept, and grows with the images. Without memory for that there is no text.
    ImageListBox1();
    while (I_ImCount() < 290)
        I_ImOpen(1, 1, PIX_BYTE);
    vexa::failAllocation(1, false);
    const char* const text = ImageListBox1();
    const bool refused = vexa::allocationState().failed > 0;
    vexa::failAllocation(0, false);
    if (refused) {
        EXPECT_STREQ("", text);
        EXPECT_THAT(errorText(), testing::HasSubstr("listimages"));
    }
    EXPECT_THAT(ImageListBox1(), testing::HasSubstr("290 of 290"));
}

TEST_F(Listing, LiteralAPairIsKept)
{
    setdestoffset(3, -4);
    int32_t x = 0;
    int32_t y = 0;
    getdestoffset(&x, &y);
    EXPECT_EQ(3, x);
    EXPECT_EQ(-4, y);
    getdestoffset(nullptr, &x);
    EXPECT_EQ(-4, x);
    getdestoffset(nullptr, nullptr);
}
