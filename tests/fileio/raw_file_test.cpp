#include "vexalib/raw_file.h"

#include <sys/stat.h>

#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using Bytes = std::vector<uint8_t>;

void put32(Bytes& bytes, std::size_t at, int64_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<uint8_t>(value >> 8 * i);
}

Bytes rawBytes(int32_t cols, int32_t rows, int32_t stride, int32_t pixBytes, int32_t type,
               const std::string& comment, std::size_t pixels)
{
    Bytes bytes(52 + pixels);
    const int32_t numbers[] = {cols, rows, stride, pixBytes, type};
    for (std::size_t i = 0; i < 5; ++i)
        put32(bytes, 4 * i, numbers[i]);
    std::copy(comment.begin(), comment.end(), bytes.begin() + 20);
    for (std::size_t i = 52; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(7 * i);
    return bytes;
}

std::string commentOf(int32_t im)
{
    char text[300] = {};
    I_ImGetComment(text, sizeof text - 1, im);
    return text;
}

int32_t byteValue(int32_t x, int32_t y)
{
    return (3 * x + 50 * y) % 256;
}

class RawFiles : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    const TempFile file{".raw"};

    int32_t read(const Bytes& bytes)
    {
        file.write(bytes);
        return I_ReadImageFile(file.name());
    }
};

TEST_F(RawFiles, LiteralLayoutOfAWrittenFile)
{
    const int32_t im = byteImage(5, 3, [](int32_t x, int32_t y) { return byteValue(x, y); });
    I_ImSetComment("a plate", im);
    ASSERT_EQ(1, I_WriteRawFile(file.name(), im)) << errorText();
    Bytes expected = rawBytes(5, 3, 8, 1, PIX_BYTE, "a plate", 24);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 8; ++x)
            expected[static_cast<std::size_t>(52 + 8 * y + x)] =
                static_cast<uint8_t>(x < 5 ? byteValue(x, y) : 0);
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    I_ImClose(im);
}

TEST_F(RawFiles, LiteralEveryTypeComesBack)
{
    for (const int32_t type :
         std::initializer_list<int32_t>{PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX,
                                        PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_BGR15, 77}) {
        const int32_t im = I_ImOpen(17, 9, type);
        const int32_t stride = I_ImGetStride(im);
        auto* const pixels = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, im));
        for (int32_t i = 0; i < stride * 9; ++i)
            pixels[i] = static_cast<uint8_t>(11 * i);
        I_ImSetComment("typed", im);
        ASSERT_EQ(1, I_WriteRawFile(file.name(), im));
        const int32_t back = I_ReadImageFile(file.name());
        ASSERT_NE(0, back) << errorText();
        EXPECT_EQ(type, I_ImGetType(back));
        EXPECT_EQ(stride, I_ImGetStride(back));
        EXPECT_EQ(bytesOf(im), bytesOf(back)) << type;
        EXPECT_EQ("typed", commentOf(back));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        closeImages({im, back});
    }
}

TEST_F(RawFiles, LiteralCommentsOf31Characters)
{
    const std::string longest(31, 'c');
    const int32_t im = byteImage(2, 2);
    for (const std::string& comment : {longest, longest + "d", longest + "defg"}) {
        I_ImSetComment(comment.c_str(), im);
        ASSERT_EQ(1, I_WriteRawFile(file.name(), im));
        EXPECT_EQ(0, bytesOfFile(file.name())[51]) << "the 32nd is dropped";
        const int32_t back = I_ReadImageFile(file.name());
        EXPECT_EQ(longest, commentOf(back));
        I_ImClose(back);
    }
    I_ImClose(im);
}

TEST_F(RawFiles, LiteralOldFilesSayTheirTypeByTheBytes)
{
    const std::pair<int32_t, int32_t> cases[] = {{1, PIX_BYTE}, {2, PIX_WORD}, {3, PIX_RGB24}};
    for (const auto& [bytes, type] : cases) {
        const int32_t im = read(rawBytes(4, 2, 4 * bytes, bytes, 0, "", 8 * static_cast<std::size_t>(bytes)));
        EXPECT_EQ(type, I_ImGetType(im)) << bytes;
        I_ImClose(im);
    }
}

TEST_F(RawFiles, LiteralStridesTooShortForTheColumnsAreRepaired)
{
    for (const int32_t stride : {0, -5, 3}) {
        const int32_t im = read(rawBytes(4, 2, stride, 4, PIX_FLOAT, "", 32));
        ASSERT_NE(0, im) << errorText();
        EXPECT_EQ(16, I_ImGetStride(im));
        I_ImClose(im);
    }
    // Bytes are held against pixels: 5 bytes for 4 words stand.
    const Bytes bytes = rawBytes(4, 2, 5, 2, PIX_WORD, "", 10);
    const int32_t im = read(bytes);
    ASSERT_NE(0, im) << errorText();
    EXPECT_EQ(5, I_ImGetStride(im));
    EXPECT_EQ(0, std::memcmp(I_ImGetPtr(0, 0, nullptr, nullptr, im), &bytes[52], 10));
    I_ImClose(im);
}

TEST_F(RawFiles, LiteralIllegalHeaders)
{
    struct {
        int32_t cols, rows, stride, pixBytes, type;
    } const cases[] = {{4, 2, 4, 33, 1},
                       {4, 2, 4, 0, 1},
                       {4, 2, 4, -1, 1},
                       {0, 2, 4, 1, 1},
                       {-4, 2, 4, 1, 1},
                       {4, 0, 4, 1, 1},
                       {4, INT32_MIN, 4, 1, 1},
                       {4, 2, 4, 1, 101},
                       {4, 2, 4, 1, -1},
                       {INT32_MAX, 1, 0, 8, 5},
                       {4, INT32_MAX, INT32_MAX, 1, 1},
                       {4, 1, 1 << 30, 1, 1},
                       {1 << 30, 1 << 30, 0, 1, 1}};
    for (const auto& c : cases) {
        const int64_t before = allocationState().liveBytes;
        failAllocation(0, false);
        EXPECT_EQ(0, read(rawBytes(c.cols, c.rows, c.stride, c.pixBytes, c.type, "", 8)));
        EXPECT_EQ(0, allocationState().attempts) << "no memory for what the file has not got";
        EXPECT_EQ(32, I_GetError(nullptr, 0));
        char expected[300];
        std::snprintf(expected, sizeof expected, "Illegal raw file header in %s (%d x %d x %d stride=%d)",
                      file.name(), c.cols, c.rows, c.pixBytes, c.stride);
        EXPECT_EQ(expected, errorText());
        EXPECT_EQ(before, allocationState().liveBytes);
    }
    const int32_t im = read(rawBytes(4, 2, 4, 32, 100, "", 8));
    EXPECT_EQ(100, I_ImGetType(im)) << "the limits themselves are legal";
    I_ImClose(im);
}

TEST_F(RawFiles, LiteralNeitherTiffNorRaw)
{
    for (const std::size_t length : {std::size_t{0}, std::size_t{7}, std::size_t{51}}) {
        EXPECT_EQ(0, read(Bytes(length, 'x')));
        EXPECT_EQ(18, I_GetError(nullptr, 0));
        EXPECT_EQ("readrawheader: Bad raw header", errorText());
    }
}

TEST_F(RawFiles, LiteralHeaderCallsGiveEveryField)
{
    FILE* out = writerawheader(file.name(), 100, -3, 7, 0, PIX_DFLOAT, "numbers");
    ASSERT_NE(nullptr, out);
    EXPECT_EQ(52, std::ftell(out));
    std::fclose(out);
    EXPECT_EQ(rawBytes(100, -3, 7, 8, PIX_DFLOAT, "numbers", 0), bytesOfFile(file.name()));

    int32_t cols = 0, rows = 0, stride = 0, pixBytes = 0, type = 0;
    char comment[33];
    std::fill_n(comment, 33, 'z');
    FILE* in = readrawheader(file.name(), &cols, &rows, &stride, &pixBytes, &type, comment);
    ASSERT_NE(nullptr, in);
    EXPECT_EQ(52, std::ftell(in));
    std::fclose(in);
    EXPECT_THAT((std::vector<int32_t>{cols, rows, stride, pixBytes, type}),
                testing::ElementsAre(100, -3, 7, 8, PIX_DFLOAT));
    EXPECT_STREQ("numbers", comment);
    EXPECT_EQ(0, comment[31]);
    EXPECT_EQ('z', comment[32]);

    in = readrawheader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, in);
    std::fclose(in);
    out = writerawheader(file.name(), 1, 1, 1, 9, 1, nullptr);
    ASSERT_NE(nullptr, out);
    std::fclose(out);
    EXPECT_EQ(9, bytesOfFile(file.name())[12]);
}

TEST_F(RawFiles, LiteralRowsThatLieBottomUpAreWrittenTopFirst)
{
    uint8_t pixels[6] = {5, 6, 3, 4, 1, 2};
    const int32_t im = I_ImOpenPtr(2, 3, 0, PIX_BYTE, pixels);
    const int32_t inverted = 1;
    I_ImSetParam(&inverted, 4, 19, im);
    ASSERT_EQ(1, I_WriteRawFile(file.name(), im));
    const Bytes bytes = bytesOfFile(file.name());
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6}), Bytes(bytes.begin() + 52, bytes.end()));
    I_ImClose(im);
}

TEST_F(RawFiles, LiteralMakeRowBuffer)
{
    int32_t size = -1;
    void* buffer = I_MakeRowBuffer(1000, 20, &size);
    EXPECT_NE(nullptr, buffer);
    EXPECT_EQ(20000, size);
    vexaFree(buffer);
    if (coreleft() > 0x2000000) {
        buffer = I_MakeRowBuffer(3000, 1 << 20, &size);
        EXPECT_EQ(0x2000000 / 3000 * 3000, size);
        vexaFree(buffer);
        buffer = I_MakeRowBuffer(0x2000001, 5, &size);
        EXPECT_EQ(0x2000001, size);
        vexaFree(buffer);
        buffer = I_MakeRowBuffer(0x1000000, 2, &size);
        EXPECT_EQ(0x2000000, size);
        vexaFree(buffer);
    }
    buffer = I_MakeRowBuffer(10, 1, nullptr);
    EXPECT_NE(nullptr, buffer);
    vexaFree(buffer);
    EXPECT_EQ(1, I_DisableIPL(7));
}

TEST_F(RawFiles, FailuresOfMakeRowBuffer)
{
    const std::pair<int32_t, int32_t> cases[] = {{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {-3, -3}};
    for (const auto& [rowBytes, rows] : cases) {
        int32_t size = 9;
        EXPECT_EQ(nullptr, I_MakeRowBuffer(rowBytes, rows, &size));
        EXPECT_EQ(0, size);
        EXPECT_EQ(46, I_GetError(nullptr, 0));
        EXPECT_EQ("I_MakeRowBuffer(" + std::to_string(rowBytes) + "," + std::to_string(rows) + ",0)",
                  errorText());
    }
    int32_t size = 9;
    failAllocation(1, false);
    EXPECT_EQ(nullptr, I_MakeRowBuffer(10, 20, &size));
    failAllocation(0, false);
    EXPECT_EQ(0, size);
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_MakeRowBuffer(10x20): "));
}

TEST_F(RawFiles, FailuresOfFilesThatDoNotOpen)
{
    const std::string missing = "(/no/such/folder/a.raw): No such file or directory";
    const int32_t im = byteImage(3, 3);
    EXPECT_EQ(0, I_ReadImageFile("/no/such/folder/a.raw"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(missing, errorText());
    clearError();
    EXPECT_EQ(0, I_WriteRawFile("/no/such/folder/a.raw", im));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(missing, errorText());
    EXPECT_EQ(nullptr, writerawheader("/no/such/folder/a.raw", 1, 1, 1, 1, 1, ""));
    EXPECT_EQ(nullptr,
              readrawheader("/no/such/folder/a.raw", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, I_ReadImageFile(nullptr));
    EXPECT_EQ(0, I_WriteRawFile(nullptr, im));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ReadImageFile("/"));
    I_ImClose(im);
}

TEST_F(RawFiles, FailuresOfBadImages)
{
    const int32_t im = byteImage(3, 3);
    I_ImClose(im);
    EXPECT_EQ(0, I_WriteRawFile(file.name(), im));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_WriteRawFile(file.name(), 12));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    clearError();
    EXPECT_EQ(0, I_WriteRawFile(file.name(), 0));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_TRUE(bytesOfFile(file.name()).empty()) << "no file comes about";
}

TEST_F(RawFiles, FailuresOfDevicesThatAreFull)
{
    struct stat facts = {};
    if (stat("/dev/full", &facts) != 0)
        GTEST_SKIP() << "no device that is full";
    const int32_t im = byteImage(64, 64);
    EXPECT_EQ(0, I_WriteRawFile("/dev/full", im));
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ("(/dev/full): No space left on device", errorText());
    I_ImClose(im);
}

TEST_F(RawFiles, FailuresOfAllocations)
{
    const int32_t im = byteImage(30, 20, [](int32_t x, int32_t y) { return byteValue(x, y); });
    I_ImSetComment("c", im);
    ASSERT_EQ(1, I_WriteRawFile(file.name(), im));
    forEachFailingAllocation(
        [&] {
            const int32_t back = I_ReadImageFile(file.name());
            I_ImClose(back);
            return back;
        },
        [](int64_t) { EXPECT_EQ(0, I_ImCount() - 1); });
    I_ImClose(im);
}

// The pixels that a file holds, moved by way of an image on it.
TEST_F(RawFiles, BoundsWindowsOfOpenFiles)
{
    const int32_t im = byteImage(6, 5, [](int32_t x, int32_t y) { return 10 * y + x + 1; });
    FILE* out = std::fopen(file.name(), "w+b");
    std::fwrite("head", 1, 4, out);
    ASSERT_EQ(1, fwritewindow(out, -1, 1, 2, 4, 5, im)) << errorText();
    const Bytes bytes = bytesOfFile(file.name());
    Bytes expected(4 + 4 * 5);
    std::memcpy(expected.data(), "head", 4);
    for (int32_t y = 2; y < 5; ++y)
        for (int32_t x = 1; x < 4; ++x)
            expected[static_cast<std::size_t>(4 + 4 * y + x)] =
                static_cast<uint8_t>(10 * (y - 2) + (x - 1) + 1);
    EXPECT_EQ(expected, bytes);

    const int32_t target = byteImage(6, 5);
    FILE* in = std::fopen(file.name(), "rb");
    std::fseek(in, 4, SEEK_SET);
    ASSERT_EQ(1, freadwindow(in, -1, 2, 0, 4, 5, target)) << errorText();
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 6; ++x)
            EXPECT_EQ(x < 2 ? 0 : expected[static_cast<std::size_t>(4 + 4 * y + x - 2)], pixel(target, x, y));
    closeImages({im, target});
}

TEST_F(RawFiles, BoundsWindowsOfAnotherType)
{
    const int32_t words = wordImage(3, 2, [](int32_t x, int32_t y) { return 100 * y + x; });
    ASSERT_EQ(1, fwritewindow(std::fopen(file.name(), "w+b"), PIX_FLOAT, 0, 0, 3, 2, words)) << errorText();
    const Bytes bytes = bytesOfFile(file.name());
    ASSERT_EQ(24U, bytes.size());
    float values[6];
    std::memcpy(values, bytes.data(), 24);
    EXPECT_THAT(values, testing::ElementsAre(0, 1, 2, 100, 101, 102));
    const int32_t back = wordImage(3, 2);
    ASSERT_EQ(1, freadwindow(std::fopen(file.name(), "rb"), PIX_FLOAT, 0, 0, 3, 2, back));
    EXPECT_EQ(bytesOf(words), bytesOf(back));
    closeImages({words, back});
}

TEST_F(RawFiles, FailuresOfWindows)
{
    const int32_t im = byteImage(6, 5);
    EXPECT_EQ(0, fwritewindow(nullptr, -1, 0, 0, 2, 2, im));
    EXPECT_EQ(0, freadwindow(nullptr, -1, 0, 0, 2, 2, im));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, fwritewindow(std::fopen(file.name(), "w+b"), PIX_BYTE, 0, 0, 2, 2, 77));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(0, fwritewindow(std::fopen(file.name(), "w+b"), PIX_BYTE, 9, 0, 2, 2, im));
    EXPECT_EQ(1, I_ImCount());
    I_ImClose(im);
}

// An image that keeps its pixels in a file is written packed, and read by way of an image on the file.
TEST_F(RawFiles, BoundsImagesOnFiles)
{
    const int32_t im = wordImage(5, 4, [](int32_t x, int32_t y) { return 1000 * y + x; });
    I_ImSetMemType(8);
    const int32_t onFile = I_ImOpen(5, 4, PIX_WORD);
    ASSERT_NE(0, onFile) << errorText();
    ASSERT_EQ(20, I_ImageCopy(im, onFile));
    ASSERT_EQ(1, I_WriteRawFile(file.name(), onFile)) << errorText();
    const Bytes bytes = bytesOfFile(file.name());
    ASSERT_EQ(52U + 40U, bytes.size());
    EXPECT_EQ(bytesOf(im), Bytes(bytes.begin() + 52, bytes.end()));

    const int32_t back = I_ReadImageFile(file.name());
    I_ImSetMemType(0);
    ASSERT_NE(0, back) << errorText();
    EXPECT_EQ(file.name(), commentOf(back)) << "on this way the comment is the name";
    double low = 0;
    double high = 0;
    I_GetPixValueRange(&low, &high, back);
    EXPECT_EQ(0, low);
    EXPECT_EQ(3004, high);
    EXPECT_EQ(3002, I_GetPix(2, 3, back));
    closeImages({im, onFile, back});
}

// The pixels end where the application's memory does.
TEST_F(RawFiles, BoundsMemoryThatEndsWithTheLastPixel)
{
    const std::size_t size = 10 * 3 + 4;
    const std::unique_ptr<uint8_t[]> pixels(new uint8_t[size]);
    std::fill_n(pixels.get(), size, uint8_t{9});
    const int32_t im = I_ImOpenPtr(4, 4, 10, PIX_BYTE, pixels.get());
    ASSERT_EQ(1, I_WriteRawFile(file.name(), im));
    Bytes expected(40, 9);
    std::fill(expected.begin() + 34, expected.end(), uint8_t{0});
    const Bytes bytes = bytesOfFile(file.name());
    EXPECT_EQ(expected, Bytes(bytes.begin() + 52, bytes.end()));
    I_ImClose(im);

    const int32_t parent = byteImage(10, 4, [](int32_t x, int32_t y) { return 10 * y + x; });
    const int32_t part = I_ImOpenSubimage(6, 2, 4, 2, parent);
    ASSERT_EQ(1, I_WriteRawFile(file.name(), part));
    const int32_t back = I_ReadImageFile(file.name());
    EXPECT_EQ(bytesOf(part), bytesOf(back));
    closeImages({part, parent, back});
}

TEST_F(RawFiles, BoundsAFileMayEndWithItsLastPixel)
{
    Bytes bytes = rawBytes(3, 2, 8, 1, PIX_BYTE, "", 11);
    const int32_t im = read(bytes);
    ASSERT_NE(0, im) << errorText();
    EXPECT_EQ(bytes[52 + 8 + 2], pixel(im, 2, 1));
    I_ImClose(im);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(RawFiles, BoundsTruncatedFiles)
{
    Bytes bytes = rawBytes(3, 2, 8, 1, PIX_BYTE, "", 10);
    int32_t im = read(bytes);
    ASSERT_NE(0, im);
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("len=10, should be 11", errorText());
    EXPECT_EQ((Bytes{bytes[52], bytes[53], bytes[54], bytes[60], bytes[61], 0}), bytesOf(im));
    I_ImClose(im);
    // A header alone is a picture of zeros as long as it is small.
    im = read(rawBytes(1024, 1024, 1024, 1, PIX_BYTE, "", 0));
    ASSERT_NE(0, im);
    EXPECT_EQ(0, pixel(im, 1023, 1023));
    I_ImClose(im);
    EXPECT_EQ(0, read(rawBytes(1024, 1025, 1024, 1, PIX_BYTE, "", 0)));
    EXPECT_EQ(32, I_GetError(nullptr, 0));
    // Of a larger one half must be there.
    im = read(rawBytes(2048, 2048, 2048, 1, PIX_BYTE, "", 2048 * 1024));
    EXPECT_NE(0, im);
    I_ImClose(im);
    EXPECT_EQ(0, read(rawBytes(2048, 2048, 2048, 1, PIX_BYTE, "", 2048 * 1024 - 1)));
}

} // namespace
} // namespace vexa::test
