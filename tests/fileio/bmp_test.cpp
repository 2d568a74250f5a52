#include <cstdlib>

#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using Bytes = std::vector<uint8_t>;

int32_t word32(const Bytes& bytes, std::size_t at)
{
    return static_cast<int32_t>(bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 |
                                uint32_t{bytes[at + 3]} << 24);
}

int32_t word16(const Bytes& bytes, std::size_t at)
{
    return bytes[at] | bytes[at + 1] << 8;
}

void put32(Bytes& bytes, std::size_t at, int64_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<uint8_t>(value >> 8 * i);
}

void put16(Bytes& bytes, std::size_t at, int32_t value)
{
    bytes[at] = static_cast<uint8_t>(value);
    bytes[at + 1] = static_cast<uint8_t>(value >> 8);
}

// What a file says, read the plain way.
struct Bmp {
    bool good = false;
    int64_t cols = 0, rows = 0, bits = 0, start = 0, stride = 0;
    bool bottomUp = false;
    Bytes bytes;

    explicit Bmp(Bytes file) : bytes(std::move(file))
    {
        if (bytes.size() < 54 || bytes[0] != 'B' || bytes[1] != 'M' || word32(bytes, 14) != 40 ||
            word16(bytes, 26) != 1 || word32(bytes, 30) != 0)
            return;
        cols = word32(bytes, 18);
        bottomUp = word32(bytes, 22) > 0;
        rows = std::abs(int64_t{word32(bytes, 22)});
        bits = word16(bytes, 28);
        start = static_cast<uint32_t>(word32(bytes, 10));
        stride = (cols * bits + 31) / 32 * 4;
        good = cols > 0 && rows > 0 && bits > 0 &&
               static_cast<double>(start) + static_cast<double>(stride) * static_cast<double>(rows) <=
                   static_cast<double>(bytes.size());
    }
    // A row of the picture, the top one first.
    const uint8_t* row(int64_t y) const
    {
        return &bytes[static_cast<std::size_t>(start + stride * (bottomUp ? rows - 1 - y : y))];
    }
    const uint8_t* paletteEntry(int64_t i) const { return &bytes[static_cast<std::size_t>(54 + 4 * i)]; }
};

Bytes pictureRows(const Bmp& bmp)
{
    Bytes all;
    for (int64_t y = 0; y < bmp.rows; ++y)
        all.insert(all.end(), bmp.row(y), bmp.row(y) + bmp.cols * bmp.bits / 8);
    return all;
}

Bytes redOfBits(const Bmp& bmp)
{
    Bytes all;
    for (int64_t y = 0; y < bmp.rows; ++y)
        for (int64_t x = 0; x < bmp.cols; ++x)
            all.push_back(bmp.paletteEntry(bmp.row(y)[x / 8] >> (7 - x % 8) & 1)[2]);
    return all;
}

// A BMP of 3 columns with noise in its rows.
Bytes smallBmp(int32_t bits, int32_t height, int32_t paletteEntries = 0)
{
    const auto stride = static_cast<std::size_t>((3 * bits + 31) / 32 * 4);
    const std::size_t start = 54 + 4 * static_cast<std::size_t>(paletteEntries);
    Bytes bytes(start + stride * static_cast<std::size_t>(std::abs(height)));
    for (std::size_t i = 54; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(37 * i);
    bytes[0] = 'B';
    bytes[1] = 'M';
    put32(bytes, 2, static_cast<int64_t>(bytes.size()));
    put32(bytes, 10, static_cast<int64_t>(start));
    put32(bytes, 14, 40);
    put32(bytes, 18, 3);
    put32(bytes, 22, height);
    put16(bytes, 26, 1);
    put16(bytes, 28, bits);
    put32(bytes, 38, 1234);
    put32(bytes, 42, 99);
    return bytes;
}

class BmpFiles : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    const TempFile file{".bmp"};

    int32_t read(const Bytes& bytes)
    {
        file.write(bytes);
        return I_ReadBMP(file.name());
    }
    void* readToDib(const Bytes& bytes)
    {
        file.write(bytes);
        return I_ReadBMPtoDIB(file.name());
    }
};

TEST_F(BmpFiles, LiteralTypesByBits)
{
    const std::pair<int32_t, int32_t> cases[] = {{8, PIX_BYTE}, {24, PIX_BGR24}, {32, PIX_BGR32}};
    for (const auto& [bits, type] : cases) {
        for (const int32_t height : {5, -5, 1, -1}) {
            const Bytes bytes = smallBmp(bits, height, bits == 8 ? 256 : 0);
            const int32_t im = read(bytes);
            ASSERT_NE(0, im) << errorText();
            EXPECT_EQ(type, I_ImGetType(im));
            EXPECT_EQ((3 * bits + 31) / 32 * 4, I_ImGetStride(im));
            EXPECT_EQ(pictureRows(Bmp(bytes)), bytesOf(im)) << bits << " bits, height " << height;
            int32_t inverted = -1;
            I_ImGetParam(&inverted, 4, 19, im);
            EXPECT_EQ(0, inverted);
            I_ImClose(im);
        }
    }
}

TEST_F(BmpFiles, LiteralThePaletteIsNotTheImages)
{
    const int32_t im = read(smallBmp(8, 2, 256));
    uint8_t palette[1024];
    ASSERT_EQ(1, I_ImGetParam(palette, sizeof palette, 13, im));
    EXPECT_EQ(1, I_PaletteIsGrayscale(palette));
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralFourBitsAreRefusedAsAnImageAndReadAsADib)
{
    const Bytes bytes = smallBmp(4, 5, 16);
    EXPECT_EQ(0, read(bytes));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(std::string("Error: ") + file.name() + " has 4 bit pixels. 8, 24, and 32 bits are allowed.",
              errorText());
    void* dib = I_ReadBMPtoDIB(file.name());
    ASSERT_NE(nullptr, dib);
    const auto* block = static_cast<const uint8_t*>(vexaGlobalLock(dib));
    const Bytes header(block, block + 40);
    EXPECT_EQ(3, word32(header, 4));
    EXPECT_EQ(5, word32(header, 8));
    EXPECT_EQ(4, word16(header, 14));
    EXPECT_EQ(0, std::memcmp(block + 40, &bytes[54], bytes.size() - 54)) << "palette and rows";
    vexaGlobalFree(dib);
}

TEST_F(BmpFiles, LiteralOtherBits)
{
    for (const int32_t bits : {1, 2, 16}) {
        EXPECT_EQ(0, read(smallBmp(bits, 5, bits < 16 ? 1 << bits : 0)));
        EXPECT_THAT(errorText(), testing::HasSubstr(" bit pixels. 8, 24, and 32 bits are allowed."));
        void* dib = I_ReadBMPtoDIB(file.name());
        EXPECT_NE(nullptr, dib);
        vexaGlobalFree(dib);
    }
    EXPECT_EQ(nullptr, readToDib(smallBmp(64, 5)));
    EXPECT_EQ(nullptr, readToDib(smallBmp(0, 5)));
}

TEST_F(BmpFiles, LiteralATopDownDibStaysTopDown)
{
    const Bytes bytes = smallBmp(24, -4);
    void* dib = readToDib(bytes);
    int32_t rows = 0;
    ASSERT_NE(nullptr, CheckDIB(dib, nullptr, &rows, nullptr));
    EXPECT_EQ(-4, rows);
    const int32_t im = I_CopyDIBtoImage(dib);
    EXPECT_EQ(pictureRows(Bmp(bytes)), bytesOf(im));
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralOneResolutionForBothAxes)
{
    I_ImClose(read(smallBmp(24, 1)));
    int32_t x = 0;
    int32_t y = 0;
    EXPECT_EQ(1234, I_GetBMPPixPerMeter(&x, &y));
    EXPECT_EQ(1234, x);
    EXPECT_EQ(1234, y);
    EXPECT_EQ(1234, I_GetBMPPixPerMeter(nullptr, nullptr));
}

TEST_F(BmpFiles, LiteralPixelsLieWhereTheHeaderSays)
{
    Bytes bytes = smallBmp(8, 3, 256);
    bytes.insert(bytes.begin() + 54 + 1024, 100, 0xEE);
    put32(bytes, 10, 54 + 1024 + 100);
    const int32_t im = read(bytes);
    EXPECT_EQ(pictureRows(Bmp(bytes)), bytesOf(im));
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralShortPalettesEndInBlack)
{
    Bytes bytes = smallBmp(8, 3, 10);
    put32(bytes, 46, 10);
    void* dib = readToDib(bytes);
    ASSERT_NE(nullptr, dib) << errorText();
    const auto* palette = static_cast<const uint8_t*>(vexaGlobalLock(dib)) + 40;
    EXPECT_EQ(0, std::memcmp(palette, &bytes[54], 40));
    EXPECT_EQ(984, std::count(palette + 40, palette + 1024, 0));
    EXPECT_EQ(0, std::memcmp(palette + 1024, &bytes[94], 12));
    vexaGlobalFree(dib);
}

TEST_F(BmpFiles, FailuresOfBadHeaders)
{
    const Bytes good = smallBmp(24, 4);
    const auto refuse = [&](const Bytes& bytes, const char* what) {
        for (const bool toDib : {false, true}) {
            clearError();
            const int64_t before = allocationState().liveBytes;
            const bool refused = toDib ? readToDib(bytes) == nullptr : read(bytes) == 0;
            EXPECT_TRUE(refused) << what;
            EXPECT_EQ(1, I_GetError(nullptr, 0)) << what;
            EXPECT_EQ("Invalid BMP file.", errorText()) << what;
            EXPECT_EQ(before, allocationState().liveBytes) << what;
        }
    };
    struct {
        const char* what;
        std::size_t at;
        int32_t value;
    } const cases[] = {
        {"letters", 0, 0x4D41},      {"size of the header", 14, 64},   {"another size", 14, 12},
        {"planes", 26, 2},           {"compression", 30, 1},           {"start past the end", 10, 5000},
        {"start near 4 GB", 10, -2}, {"too wide", 18, 1000},           {"absurdly wide", 18, INT32_MAX},
        {"too high", 22, 5},         {"absurdly high", 22, INT32_MAX}, {"lowest height", 22, INT32_MIN},
        {"too deep", 28, 25}};
    for (const auto& c : cases) {
        Bytes bytes = good;
        if (c.at == 26 || c.at == 28)
            put16(bytes, c.at, c.value);
        else if (c.at == 0)
            put16(bytes, 0, c.value);
        else
            put32(bytes, c.at, c.value);
        if (c.at != 28)
            refuse(bytes, c.what);
    }
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{1}, std::size_t{13}, std::size_t{14}, std::size_t{53}, good.size() - 1})
        refuse(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)), "cut short");
}

TEST_F(BmpFiles, FailuresOfSizesThatAreNone)
{
    for (const int32_t value : {0, -3, INT32_MIN}) {
        Bytes bytes = smallBmp(24, 4);
        put32(bytes, 18, value);
        EXPECT_EQ(0, read(bytes));
        EXPECT_EQ("Invalid BMP file.", errorText());
        EXPECT_EQ(nullptr, readToDib(bytes));
    }
    Bytes bytes = smallBmp(24, 4);
    put32(bytes, 22, 0);
    EXPECT_EQ(0, read(bytes));
    EXPECT_EQ(nullptr, readToDib(bytes));
}

TEST_F(BmpFiles, BoundsNoAllocationBeyondWhatTheFileBearsOut)
{
    Bytes bytes = smallBmp(1, 1, 2);
    put32(bytes, 18, 30000);
    put32(bytes, 22, 30000);
    failAllocation(0, false); // starts the count of attempts
    EXPECT_EQ(nullptr, readToDib(bytes));
    EXPECT_EQ(0, allocationState().attempts);
    put16(bytes, 28, 8);
    EXPECT_EQ(0, read(bytes));
    EXPECT_EQ(0, allocationState().attempts);
}

TEST_F(BmpFiles, FailuresOfFilesThatCannotBeOpened)
{
    EXPECT_EQ(0, I_ReadBMP("/no/such/folder/picture.bmp"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/folder/picture.bmp)", errorText());
    EXPECT_EQ(nullptr, I_ReadBMPtoDIB("x"));
    EXPECT_EQ("FILE_DID_NOT_OPEN: (x)", errorText());
    const int32_t im = byteImage(8, 8);
    EXPECT_EQ(0, I_WriteBMP("/no/such/folder/picture.bmp", im));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/folder/picture.bmp)", errorText());
    clearError();
    EXPECT_EQ(0, I_WriteDIBtoBMP("/no/such/folder/picture.bmp", CreateDIB(2, 2, 24, nullptr)));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    for (const int32_t result : {I_ReadBMP(nullptr), I_WriteBMP(nullptr, im)})
        EXPECT_EQ(0, result);
    EXPECT_EQ(nullptr, I_ReadBMPtoDIB(nullptr));
    I_ImClose(im);
}

TEST_F(BmpFiles, FailuresOfDevicesThatAreFull)
{
    const int32_t im = byteImage(64, 64);
    if (std::FILE* full = std::fopen("/dev/full", "wb"))
        std::fclose(full);
    else
        GTEST_SKIP() << "no device that is full";
    EXPECT_EQ(0, I_WriteBMP("/dev/full", im));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("BMP file header didn't write", errorText());
    I_ImClose(im);
}

TEST_F(BmpFiles, FailuresOfReadingLeaveNothing)
{
    file.write(smallBmp(8, 40, 256));
    const Messages quiet;
    I_PostMessage("x"); // the library keeps the last message: it must be as long after each run
    int32_t refused = 0;
    forEachFailingAllocation(
        [&] {
            const int32_t im = I_ReadBMP(file.name());
            I_ImClose(im);
            return im;
        },
        [&](int64_t result) {
            refused += result == 0; // the second try for an image's pixels may succeed
            I_PostMessage("x");
        });
    EXPECT_GE(refused, 4);
    forEachFailingAllocation(
        [&] {
            void* dib = I_ReadBMPtoDIB(file.name());
            vexaGlobalFree(dib);
            return dib != nullptr;
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(1, I_GetError(nullptr, 0));
            EXPECT_THAT(
                errorText(),
                testing::StartsWith(
                    "CreateDIB GlobalAlloc failed on (0.001 MBytes) 3 cols x 8 bits x 40 rows. ErrNo="));
        });
}

TEST_F(BmpFiles, FailuresOfWritingLeaveNothing)
{
    const int32_t im = image(5, 5, PIX_BGR24);
    forEachFailingAllocation([&] { return I_WriteBMP(file.name(), im); },
                             [&](int64_t result) { EXPECT_EQ(0, result); });
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralHeaderOfAByteImage)
{
    const int32_t im = byteImage(64, 50, [](int32_t x, int32_t y) { return x + y; });
    EXPECT_EQ(50, I_WriteBMP(file.name(), im));
    const Bytes bytes = bytesOfFile(file.name());
    ASSERT_EQ(54U + 1024 + 64 * 50, bytes.size());
    EXPECT_EQ('B', bytes[0]);
    EXPECT_EQ('M', bytes[1]);
    EXPECT_EQ(54 + 1024 + 64 * 50, word32(bytes, 2));
    EXPECT_EQ(0, word32(bytes, 6));
    EXPECT_EQ(1078, word32(bytes, 10));
    EXPECT_EQ(40, word32(bytes, 14));
    EXPECT_EQ(64, word32(bytes, 18));
    EXPECT_EQ(-50, word32(bytes, 22)) << "the rows as they lie in memory";
    EXPECT_EQ(1, word16(bytes, 26));
    EXPECT_EQ(8, word16(bytes, 28));
    EXPECT_EQ(0, word32(bytes, 30));
    EXPECT_EQ(64 * 50, word32(bytes, 34));
    for (const std::size_t at : {38U, 42U, 46U, 50U})
        EXPECT_EQ(0, word32(bytes, at));
    for (int32_t i = 0; i < 256; ++i)
        ASSERT_EQ(i * 0x010101, word32(bytes, 54 + 4 * static_cast<std::size_t>(i)));
    EXPECT_EQ(bytesOf(im), pictureRows(Bmp(bytes)));
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralOtherImagesGoByWayOfADib)
{
    const int32_t im = image(6, 5, PIX_BGR24, [](int32_t x, int32_t y) { return x + 10 * y; });
    EXPECT_EQ(5, I_WriteBMP(file.name(), im));
    const Bytes bytes = bytesOfFile(file.name());
    ASSERT_EQ(54U + 20 * 5, bytes.size());
    EXPECT_EQ(5, word32(bytes, 22));
    EXPECT_EQ(24, word16(bytes, 28));
    EXPECT_EQ(100, word32(bytes, 34));
    EXPECT_EQ(54, word32(bytes, 10));
    EXPECT_EQ(bytesOf(im), pictureRows(Bmp(bytes)));
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralFloatsAreWrittenAsBytes)
{
    const int32_t im = floatImage(5, 3, [](int32_t x, int32_t y) { return x * 10.0 + y + 0.25; });
    EXPECT_EQ(3, I_WriteBMP(file.name(), im));
    const Bmp bmp(bytesOfFile(file.name()));
    EXPECT_TRUE(bmp.bottomUp);
    EXPECT_EQ(8, bmp.bits);
    EXPECT_EQ((Bytes{0, 10, 20, 30, 40, 1, 11, 21, 31, 41, 2, 12, 22, 32, 42}), pictureRows(bmp));
    I_ImClose(im);
}

TEST_F(BmpFiles, LiteralBottomUpMemoryIsWrittenTheRightWayUp)
{
    const int32_t im = byteImage(8, 3, [](int32_t x, int32_t y) { return x + 10 * y; });
    const int32_t inverted = 1;
    I_ImSetParam(&inverted, 4, 19, im); // the last row in memory is now the top one
    EXPECT_EQ(3, I_WriteBMP(file.name(), im));
    const int32_t back = I_ReadBMP(file.name());
    EXPECT_EQ(20, pixel(back, 0, 0));
    EXPECT_EQ(7, pixel(back, 7, 2));
    closeImages({im, back});
}

TEST_F(BmpFiles, BoundsOfAWindowAtTheEndOfMemory)
{
    // Exactly as much memory as the picture has: a read behind it is seen by the sanitizer.
    Bytes pixels(8 * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint8_t>(i);
    const int32_t im = I_ImOpenPtr(8, 4, 8, PIX_BYTE, pixels.data());
    const int32_t window = I_ImOpenSubimage(3, 1, 5, 3, im);
    EXPECT_EQ(3, I_WriteBMP(file.name(), window));
    EXPECT_EQ((Bytes{11, 12, 13, 14, 15, 19, 20, 21, 22, 23, 27, 28, 29, 30, 31}),
              pictureRows(Bmp(bytesOfFile(file.name()))));
    closeImages({window, im});
}

TEST_F(BmpFiles, AgainstReferenceWrittenImagesComeBack)
{
    for (const int32_t type : {PIX_BYTE, PIX_BGR24, PIX_BGR32, PIX_RGB24}) {
        for (const int32_t cols : {1, 2, 3, 4, 5, 7, 8, 61, 64}) {
            const int32_t im = image(cols, 7, type, [](int32_t x, int32_t y) { return 31 * x + 7 * y; });
            ASSERT_EQ(7, I_WriteBMP(file.name(), im)) << errorText();
            const int32_t back = I_ReadBMP(file.name());
            ASSERT_NE(0, back);
            EXPECT_EQ(type == PIX_BYTE ? PIX_BYTE : PIX_BGR24, I_ImGetType(back));
            const int32_t expected = I_CloneImage(im, I_ImGetType(back), 1);
            EXPECT_EQ(bytesOf(expected), bytesOf(back)) << "type " << type << ", " << cols << " columns";
            closeImages({im, back, expected});
        }
    }
}

TEST_F(BmpFiles, LiteralADibIsWrittenWithItsPaletteAndConsumed)
{
    void* pixels = nullptr;
    void* dib = CreateDIB(3, 2, 8, &pixels);
    std::memcpy(pixels, "abc.def.", 8);
    auto* palette = static_cast<uint8_t*>(pixels) - 1024;
    palette[4 * 'a'] = 1;
    const Bytes block(palette, palette + 1024 + 8);
    EXPECT_EQ(2, I_WriteDIBtoBMP(file.name(), dib));
    EXPECT_EQ(0U, vexaGlobalSize(dib));
    const Bytes bytes = bytesOfFile(file.name());
    EXPECT_EQ(block, Bytes(bytes.begin() + 54, bytes.end()));
    EXPECT_EQ(2, word32(bytes, 22));
}

TEST_F(BmpFiles, FailuresOfDibsThatAreNone)
{
    EXPECT_EQ(0, I_WriteDIBtoBMP(file.name(), nullptr));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    void* dib = vexaGlobalAlloc(10);
    EXPECT_EQ(0, I_WriteDIBtoBMP(file.name(), dib));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(0U, vexaGlobalSize(dib)) << "consumed";
    EXPECT_EQ(0, I_WriteBMP(file.name(), 0));
    EXPECT_EQ(0, I_WriteBMP(file.name(), 17));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
}

// Reads a sample both ways; true if its picture was compared.
bool readsAsReference(const std::filesystem::path& path)
{
    SCOPED_TRACE(path.filename().string());
    clearError();
    const Bmp bmp(bytesOfFile(path));
    const bool asImage = bmp.good && (bmp.bits == 8 || bmp.bits == 24 || bmp.bits == 32);
    const int32_t im = I_ReadBMP(path.c_str());
    EXPECT_EQ(asImage, im != 0);
    EXPECT_EQ(asImage ? 0 : 1, I_GetError(nullptr, 0));
    if (im != 0) {
        EXPECT_EQ(pictureRows(bmp), bytesOf(im));
    }
    I_ImClose(im);

    void* dib = I_ReadBMPtoDIB(path.c_str());
    EXPECT_EQ(bmp.good && bmp.bits <= 32, dib != nullptr);
    if (!dib)
        return false;
    const auto* block = static_cast<const uint8_t*>(vexaGlobalLock(dib));
    const auto palette = static_cast<std::size_t>(bmp.bits <= 8 ? 4 << bmp.bits : 0);
    EXPECT_EQ(0, std::memcmp(block + 40 + palette, &bmp.bytes[static_cast<std::size_t>(bmp.start)],
                             static_cast<std::size_t>(bmp.stride * bmp.rows)));
    if (!asImage && bmp.bits != 1) {
        vexaGlobalFree(dib);
        return false;
    }
    const int32_t copy = I_CopyDIBtoImage(dib);
    EXPECT_EQ(bmp.bits == 1 ? redOfBits(bmp) : pictureRows(bmp), bytesOf(copy));
    I_ImClose(copy);
    return true;
}

TEST_F(BmpFiles, AgainstReferenceSampleFiles)
{
    const auto samples = sampleFiles("bmp", ".bmp");
    if (samples.empty())
        GTEST_SKIP() << "no sample files";
    const auto pass = [&] { return std::count_if(samples.begin(), samples.end(), readsAsReference); };
    EXPECT_GT(pass(), 15);
    const int64_t before = allocationState().liveBytes;
    pass();
    EXPECT_EQ(before, allocationState().liveBytes);
}

} // namespace
} // namespace vexa::test
