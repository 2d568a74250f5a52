#include <array>
#include <random>

#include "core/display_state.h"
#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;
using Bytes = std::vector<uint8_t>;

uint8_t* blockOf(void* dib)
{
    auto* block = static_cast<uint8_t*>(vexaGlobalLock(dib));
    vexaGlobalUnlock(dib);
    return block;
}

int32_t headerWord(void* dib, int32_t at)
{
    int32_t value = 0;
    std::memcpy(&value, blockOf(dib) + at, sizeof value);
    return value;
}

void setHeaderWord(void* dib, int32_t at, int32_t value)
{
    std::memcpy(blockOf(dib) + at, &value, sizeof value);
}

int32_t headerHalf(void* dib, int32_t at)
{
    int16_t value = 0;
    std::memcpy(&value, blockOf(dib) + at, sizeof value);
    return value;
}

void setHeaderHalf(void* dib, int32_t at, int32_t value)
{
    const auto half = static_cast<int16_t>(value);
    std::memcpy(blockOf(dib) + at, &half, sizeof half);
}

constexpr int32_t kHeight = 8;
constexpr int32_t kPlanes = 12;
constexpr int32_t kBits = 14;
constexpr int32_t kCompression = 16;

// A DIB whose byte at (x, memory row y) is given by a function; x counts bytes.
void* dibOf(int32_t cols, int32_t rows, int32_t bits,
            const std::function<int32_t(int32_t x, int32_t y)>& byte)
{
    void* dib = CreateDIB2(cols, std::abs(rows), bits, nullptr, nullptr);
    setHeaderWord(dib, kHeight, rows);
    int32_t stride = 0;
    auto* pixels = static_cast<uint8_t*>(CheckDIB2(dib, nullptr, nullptr, &stride, nullptr));
    for (int32_t y = 0; y < std::abs(rows); ++y)
        for (int32_t x = 0; x < stride; ++x)
            pixels[int64_t{y} * stride + x] = static_cast<uint8_t>(byte(x, y));
    return dib;
}

uint8_t* pixelsOf(void* dib)
{
    return static_cast<uint8_t*>(CheckDIB2(dib, nullptr, nullptr, nullptr, nullptr));
}

uint8_t* paletteOf(void* dib)
{
    return blockOf(dib) + 40;
}

void setEntry(void* dib, int32_t i, int32_t red, int32_t green, int32_t blue)
{
    uint8_t* entry = paletteOf(dib) + 4 * i;
    entry[0] = static_cast<uint8_t>(blue);
    entry[1] = static_cast<uint8_t>(green);
    entry[2] = static_cast<uint8_t>(red);
}

bool isFreed(void* dib)
{
    return vexaGlobalSize(dib) == 0;
}

int32_t inverted(int32_t im)
{
    int32_t flag = -1;
    I_ImGetParam(&flag, sizeof flag, 19, im);
    return flag;
}

class Dib : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
};

TEST_F(Dib, LiteralHeaderOfANewOne)
{
    int32_t stride = 0;
    void* pixels = nullptr;
    void* dib = CreateDIB2(5, 3, 8, &stride, &pixels);
    ASSERT_NE(nullptr, dib);
    EXPECT_EQ(8, stride);
    EXPECT_EQ(blockOf(dib) + 40 + 1024, pixels);
    EXPECT_EQ(40U + 1024 + 24, vexaGlobalSize(dib));
    const std::pair<int32_t, int32_t> words[] = {{0, 40}, {4, 5},  {8, 3},  {16, 0}, {20, 0},
                                                 {24, 0}, {28, 0}, {32, 0}, {36, 0}};
    for (const auto& [at, value] : words)
        EXPECT_EQ(value, headerWord(dib, at)) << at;
    EXPECT_EQ(1, headerHalf(dib, kPlanes));
    EXPECT_EQ(8, headerHalf(dib, kBits));
    for (int32_t i = 0; i < 256; ++i) {
        int32_t entry = 0;
        std::memcpy(&entry, paletteOf(dib) + 4 * i, 4);
        ASSERT_EQ(i * 0x010101, entry);
    }
    for (int32_t i = 0; i < 24; ++i)
        ASSERT_EQ(0, static_cast<uint8_t*>(pixels)[i]);
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralStrideAndPaletteByBits)
{
    // Below 8 bits a new DIB has room for a byte per pixel; its rows are as long as everywhere.
    struct {
        int32_t bits, newStride, stride, palette;
    } const cases[] = {{1, 12, 4, 8}, {8, 12, 12, 1024}, {24, 28, 28, 0}, {32, 36, 36, 0}};
    for (const auto& c : cases) {
        int32_t stride = 0;
        void* pixels = nullptr;
        void* dib = CreateDIB2(9, 2, c.bits, &stride, &pixels);
        EXPECT_EQ(c.newStride, stride);
        EXPECT_EQ(40 + c.palette + 2 * c.newStride, static_cast<int32_t>(vexaGlobalSize(dib)));
        int32_t cols = 0;
        int32_t rows = 0;
        int32_t bits = 0;
        EXPECT_EQ(pixels, CheckDIB2(dib, &cols, &rows, &stride, &bits));
        EXPECT_EQ(9, cols);
        EXPECT_EQ(2, rows);
        EXPECT_EQ(c.stride, stride);
        EXPECT_EQ(c.bits, bits);
        cols = rows = bits = 0;
        EXPECT_EQ(pixels, CheckDIB(dib, &cols, &rows, &bits));
        EXPECT_EQ(9 + 2 + c.bits, cols + rows + bits);
        vexaGlobalFree(dib);
    }
}

TEST_F(Dib, LiteralGreyRampsOfFewColors)
{
    void* dib = CreateDIB(4, 1, 1, nullptr);
    EXPECT_EQ(0x808080, headerWord(dib, 44));
    vexaGlobalFree(dib);
    dib = CreateDIB(4, 1, 4, nullptr);
    EXPECT_EQ(0, headerWord(dib, 40));
    EXPECT_EQ(0x101010, headerWord(dib, 44));
    EXPECT_EQ(0xF0F0F0, headerWord(dib, 40 + 60));
    vexaGlobalFree(dib);
}

TEST_F(Dib, FailuresOfSizesThatAreNone)
{
    const std::array<int32_t, 3> cases[] = {{0, 5, 8},         {5, 0, 8},  {-1, 5, 8},
                                            {5, INT32_MIN, 8}, {5, 5, 33}, {5, 5, -8}};
    for (const auto& [cols, rows, bits] : cases)
        EXPECT_EQ(nullptr, CreateDIB(cols, rows, bits, nullptr));
    EXPECT_EQ(nullptr, CreateDIB2(INT32_MAX, INT32_MAX, 32, nullptr, nullptr));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_THAT(errorText(), testing::StartsWith("CreateDIB GlobalAlloc failed on (18446744056529."));
}

TEST_F(Dib, FailuresOfAllocation)
{
    forEachFailingAllocation(
        [] {
            void* dib = CreateDIB(1000, 500, 24, nullptr);
            vexaGlobalFree(dib);
            return dib != nullptr;
        },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(1, I_GetError(nullptr, 0));
            EXPECT_THAT(
                errorText(),
                testing::StartsWith(
                    "CreateDIB GlobalAlloc failed on (1.500 MBytes) 1000 cols x 24 bits x 500 rows. ErrNo="));
        });
}

TEST_F(Dib, FailuresOfHeaders)
{
    struct {
        int32_t at, value;
        const char* text;
    } const cases[] = {
        {0, 12, "Corrupt DIB. biSize = 12, should be 40."},
        {kPlanes, 2, "Error: DIB has 2 planes"},
        {kBits, 4, "Error: DIB has 4 bit pixels. 8, 24, and 32 bits are allowed. Compression=0."},
        {kBits, 16, "Error: DIB has 16 bit pixels. 8, 24, and 32 bits are allowed. Compression=0."},
        {kCompression, 3, "Error: DIB has compression=3"},
    };
    for (const auto& c : cases) {
        void* dib = CreateDIB(7, 2, 24, nullptr);
        if (c.at == kPlanes || c.at == kBits)
            setHeaderHalf(dib, c.at, c.value);
        else
            setHeaderWord(dib, c.at, c.value);
        int32_t cols = -1;
        EXPECT_EQ(nullptr, CheckDIB2(dib, &cols, nullptr, nullptr, nullptr));
        EXPECT_EQ(1, I_GetError(nullptr, 0));
        EXPECT_EQ(c.text, errorText());
        EXPECT_EQ(c.at == 0 ? -1 : 7, cols) << "outputs are written behind the first test";
        EXPECT_EQ(0, CreateDIBImage(dib));
        EXPECT_EQ(0, I_CopyDIBtoImage(dib));
        EXPECT_EQ(nullptr, ConvertDIBto24(dib));
        EXPECT_EQ(dib, I_MapDIBPalette(dib));
        EXPECT_EQ(dib, DeflickerDIB(dib, 1));
        EXPECT_FALSE(isFreed(dib));
        vexaGlobalFree(dib);
    }
}

TEST_F(Dib, FailuresOfSizesThatTheBlockDoesNotBearOut)
{
    struct {
        int32_t cols, rows, bits;
    } const cases[] = {{8, 5, 8},         {9, 4, 8},  {8, 4, 24},        {0, 4, 8},
                       {-8, 4, 8},        {8, 0, 8},  {8, INT32_MIN, 8}, {INT32_MAX, 4, 32},
                       {8, INT32_MAX, 8}, {8, -5, 8}, {INT32_MIN, 1, 32}};
    for (const auto& c : cases) {
        void* dib = CreateDIB(8, 4, 8, nullptr);
        setHeaderWord(dib, 4, c.cols);
        setHeaderWord(dib, kHeight, c.rows);
        setHeaderHalf(dib, kBits, c.bits);
        clearError();
        // A picture of 24 bits has no palette in front of it.
        const bool fits = c.cols == 8 && c.rows == 4 && c.bits == 24;
        EXPECT_EQ(fits, CheckDIB2(dib, nullptr, nullptr, nullptr, nullptr) != nullptr)
            << c.cols << " x " << c.rows;
        EXPECT_EQ(fits ? 0 : 1, I_GetError(nullptr, 0));
        vexaGlobalFree(dib);
    }
    for (const size_t bytes : {size_t{1}, size_t{39}, size_t{40}, size_t{1063}}) {
        void* dib = vexaGlobalAlloc(bytes);
        if (bytes >= 40) {
            const Bytes header = {40, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 8, 0};
            std::copy(header.begin(), header.end(), blockOf(dib));
        }
        EXPECT_EQ(nullptr, CheckDIB(dib, nullptr, nullptr, nullptr)) << bytes;
        EXPECT_EQ(1, I_GetError(nullptr, 0));
        vexaGlobalFree(dib);
    }
}

TEST_F(Dib, FailuresOfHandlesThatAreNone)
{
    int32_t noBlock = 0;
    for (void* handle : {static_cast<void*>(nullptr), static_cast<void*>(&noBlock)}) {
        EXPECT_EQ(nullptr, CheckDIB2(handle, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(nullptr, CheckDIB(handle, nullptr, nullptr, nullptr));
        EXPECT_EQ(0, CreateDIBImage(handle));
        EXPECT_EQ(0, I_CopyDIBtoImage(handle));
        EXPECT_EQ(0, I_CopyDIBtoImageShrink(handle, 3, "x"));
        EXPECT_EQ(nullptr, ConvertDIBto24(handle));
        EXPECT_EQ(handle, I_MapDIBPalette(handle));
        EXPECT_EQ(handle, DeflickerDIB(handle, 0));
        EXPECT_EQ(0, CopyDIB(handle, &noBlock, 0, 4, 0));
        EXPECT_EQ(0, SetWindowBitmap(0, 0, 0, handle));
    }
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "without comment";
}

// Views.

TEST_F(Dib, LiteralAViewShowsAndChangesTheDib)
{
    void* dib = dibOf(5, 3, 8, [](int32_t x, int32_t y) { return 10 * y + x; });
    const int32_t view = CreateDIBImage(dib);
    ASSERT_NE(0, view);
    EXPECT_EQ(PIX_BYTE, I_ImGetType(view));
    EXPECT_EQ(8, I_ImGetStride(view));
    EXPECT_EQ(1, inverted(view));
    EXPECT_EQ(pixelsOf(dib), I_ImGetPtr(0, 0, nullptr, nullptr, view));
    I_PutPix(1, 0, 99.0F, view);
    EXPECT_EQ(99, pixelsOf(dib)[1]);
    I_ImClose(view);
    EXPECT_FALSE(isFreed(dib));
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralViewTypesByBits)
{
    const std::pair<int32_t, int32_t> cases[] = {{8, PIX_BYTE}, {24, PIX_BGR24}, {32, PIX_BGR32}};
    for (const auto& [bits, type] : cases) {
        for (const int32_t rows : {4, -4}) {
            void* dib = dibOf(5, rows, bits, [](int32_t x, int32_t y) { return x + y; });
            const int32_t view = CreateDIBImage(dib);
            EXPECT_EQ(type, I_ImGetType(view));
            EXPECT_EQ(rows > 0, inverted(view));
            int32_t viewRows = 0;
            I_ImGetSize(nullptr, &viewRows, nullptr, view);
            EXPECT_EQ(4, viewRows);
            I_ImClose(view);
            vexaGlobalFree(dib);
        }
    }
}

TEST_F(Dib, LiteralPaletteTellsWhetherAViewIsGrey)
{
    struct {
        int32_t entry, red, green, type;
    } const cases[] = {{18, 18, 0, PIX_PALETTE},     {18, 18, 16, PIX_PALETTE}, {18, 18, 17, PIX_BYTE},
                       {17, 19, 17, PIX_PALETTE},    {17, 0, 0, PIX_BYTE},      {229, 229, 227, PIX_PALETTE},
                       {230, 0, 0, PIX_BYTE},        {229, 255, 229, PIX_BYTE}, {228, 255, 228, PIX_PALETTE},
                       {100, 200, 100, PIX_PALETTE}, {100, 0, 100, PIX_BYTE}};
    for (const auto& c : cases) {
        void* dib = dibOf(4, 1, 8, [](int32_t x, int32_t) { return x; });
        setEntry(dib, c.entry, c.red, c.green, 77);
        const int32_t view = CreateDIBImage(dib);
        EXPECT_EQ(c.type, I_ImGetType(view)) << "entry " << c.entry << " is " << c.red << ", " << c.green;
        if (c.type == PIX_PALETTE) {
            uint8_t palette[1024];
            ASSERT_EQ(1, I_ImGetParam(palette, sizeof palette, 13, view));
            EXPECT_EQ(0, std::memcmp(palette, paletteOf(dib), 1024));
        }
        I_ImClose(view);
        vexaGlobalFree(dib);
    }
}

TEST_F(Dib, LiteralOneBitImages)
{
    // Rows from the top: 10110000 1, 01000000 0, 11111111 1.
    const Bytes rows[] = {{0xB0, 0x80}, {0x40, 0x00}, {0xFF, 0x80}};
    for (const bool bottomUp : {true, false}) {
        void* dib = dibOf(9, bottomUp ? 3 : -3, 1, [&](int32_t x, int32_t y) {
            const Bytes& row = rows[bottomUp ? 2 - y : y];
            return x < 2 ? row[static_cast<std::size_t>(x)] : 0xEE;
        });
        setEntry(dib, 0, 7, 1, 2);
        setEntry(dib, 1, 201, 3, 4);
        const int32_t im = I_CopyDIBtoImage(dib);
        ASSERT_NE(0, im);
        EXPECT_TRUE(isFreed(dib));
        EXPECT_EQ(PIX_BYTE, I_ImGetType(im));
        EXPECT_THAT(rowOf(im, 0), ElementsAre(201, 7, 201, 201, 7, 7, 7, 7, 201));
        EXPECT_THAT(rowOf(im, 1), ElementsAre(7, 201, 7, 7, 7, 7, 7, 7, 7));
        EXPECT_THAT(rowOf(im, 2), testing::Each(201));
        I_ImClose(im);
    }
}

TEST_F(Dib, AgainstReferenceShrunkOneBitImages)
{
    std::mt19937 random(5);
    Bytes noise(37 * 8);
    for (uint8_t& byte : noise)
        byte = static_cast<uint8_t>(random());
    for (const int32_t rows : {37, -37}) {
        for (const int32_t factor : {1, 2, 3, 4, 36, 37}) {
            void* dib = dibOf(61, rows, 1, [&](int32_t x, int32_t y) {
                return noise[static_cast<std::size_t>(8 * y + x)];
            });
            setEntry(dib, 0, 10, 0, 0);
            setEntry(dib, 1, 250, 0, 0);
            const int32_t im = I_CopyDIBtoImageShrink(dib, factor, "");
            int32_t cols = 0;
            int32_t height = 0;
            I_ImGetSize(&cols, &height, nullptr, im);
            EXPECT_EQ(61 / factor, cols);
            EXPECT_EQ(37 / factor, height);
            for (int32_t up = 0; up < height; ++up) {
                for (int32_t x = 0; x < cols; ++x) {
                    int32_t sum = 0;
                    for (int32_t i = 0; i < factor * factor; ++i) {
                        const int32_t fromBottom = up * factor + i / factor;
                        const int32_t memoryRow = rows > 0 ? fromBottom : 36 - fromBottom;
                        const int32_t col = x * factor + i % factor;
                        const bool set =
                            noise[static_cast<std::size_t>(8 * memoryRow + col / 8)] >> (7 - col % 8) & 1;
                        sum += set ? 250 : 10;
                    }
                    ASSERT_EQ(sum / (factor * factor), pixel(im, x, height - 1 - up))
                        << x << " " << up << " by " << factor;
                }
            }
            I_ImClose(im);
        }
    }
}

TEST_F(Dib, LiteralShrinkFactorHoldsForOneCall)
{
    void* dib = CreateDIB(16, 8, 1, nullptr);
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t im = I_CopyDIBtoImageShrink(dib, 4, "a comment");
    I_ImGetSize(&cols, &rows, nullptr, im);
    EXPECT_EQ(4, cols);
    EXPECT_EQ(2, rows);
    I_ImClose(im);
    for (const int32_t factor : {0, -5, 1}) {
        im = I_CopyDIBtoImageShrink(CreateDIB(16, 8, 1, nullptr), factor, "");
        I_ImGetSize(&cols, &rows, nullptr, im);
        EXPECT_EQ(16, cols);
        I_ImClose(im);
    }
    im = I_CopyDIBtoImageShrink(CreateDIB(16, 8, 1, nullptr), 100000, "");
    I_ImGetSize(&cols, &rows, nullptr, im);
    EXPECT_EQ(1, cols); // an image has a column at least
    I_ImClose(im);
    im = I_CopyDIBtoImage(CreateDIB(16, 8, 1, nullptr));
    I_ImGetSize(&cols, &rows, nullptr, im);
    EXPECT_EQ(16, cols);
    I_ImClose(im);
}

// Copies.

TEST_F(Dib, LiteralACopyIsTopDownAndTakesTheDib)
{
    for (const int32_t rows : {3, -3}) {
        for (const int32_t bits : {8, 24, 32}) {
            void* dib =
                dibOf(5, rows, bits, [&](int32_t x, int32_t y) { return 40 * (rows > 0 ? 2 - y : y) + x; });
            const int32_t im = I_CopyDIBtoImageEx(dib, "from a DIB");
            ASSERT_NE(0, im) << errorText();
            EXPECT_TRUE(isFreed(dib));
            EXPECT_EQ(0, inverted(im));
            Bytes expected;
            for (int32_t y = 0; y < 3; ++y)
                for (int32_t x = 0; x < 5 * bits / 8; ++x)
                    expected.push_back(static_cast<uint8_t>(40 * y + x));
            EXPECT_EQ(expected, bytesOf(im));
            char comment[32];
            I_ImGetComment(comment, sizeof comment, im);
            EXPECT_STREQ("from a DIB", comment);
            EXPECT_EQ(1, I_ImCount());
            I_ImClose(im);
        }
    }
}

TEST_F(Dib, LiteralACopyHasTheIndicesAndThePalette)
{
    void* dib = dibOf(4, 1, 8, [](int32_t x, int32_t) { return 3 * x; });
    setEntry(dib, 100, 200, 10, 30); // an overlay colour: the view is one of indices
    const Bytes palette(paletteOf(dib), paletteOf(dib) + 1024);
    const int32_t im = I_CopyDIBtoImage(dib);
    EXPECT_EQ(PIX_BYTE, I_ImGetType(im));
    EXPECT_THAT(rowOf(im, 0), ElementsAre(0, 3, 6, 9));
    Bytes stored(1024);
    ASSERT_EQ(1, I_ImGetParam(stored.data(), 1024, 13, im));
    EXPECT_EQ(palette, stored);
    I_ImClose(im);
}

TEST_F(Dib, LiteralALargeDibIsTakenOver)
{
    struct {
        int32_t rows;
        bool takenOver;
    } const cases[] = {{7500, false}, {7501, true}, {-7501, true}};
    for (const auto& c : cases) {
        void* dib = CreateDIB(8000, std::abs(c.rows), 8, nullptr);
        setHeaderWord(dib, kHeight, c.rows);
        pixelsOf(dib)[0] = 77; // the corner of the row that is first in memory
        const int32_t im = I_CopyDIBtoImageEx(dib, "large");
        ASSERT_NE(0, im);
        void* owned = nullptr;
        I_ImGetParam(&owned, sizeof owned, 10, im);
        EXPECT_EQ(c.takenOver ? dib : nullptr, owned);
        EXPECT_EQ(!c.takenOver, isFreed(dib));
        EXPECT_EQ(0, inverted(im));
        EXPECT_EQ(77, pixel(im, 0, c.rows > 0 ? c.rows - 1 : 0));
        char comment[32];
        I_ImGetComment(comment, sizeof comment, im);
        EXPECT_STREQ("large", comment);
        I_ImClose(im);
        EXPECT_TRUE(isFreed(dib));
    }
}

TEST_F(Dib, FailuresOfRowPointersAreMadeGoodByACopy)
{
    const Messages quiet;
    int32_t madeGood = 0;
    for (int64_t n = 1; n < 20; ++n) {
        void* dib = dibOf(8, 4, 8, [](int32_t x, int32_t y) { return 10 * (3 - y) + x; });
        clearError();
        failAllocation(n, false);
        const int32_t im = I_CopyDIBtoImage(dib);
        failAllocation(0, false);
        if (im != 0 && errorText().starts_with("I_CopyDIBtoImageEx dptr=")) {
            ++madeGood;
            EXPECT_EQ(1, I_GetError(nullptr, 0));
            EXPECT_TRUE(isFreed(dib));
            EXPECT_EQ(0, pixel(im, 0, 0));
            EXPECT_EQ(37, pixel(im, 7, 3));
        }
        I_ImClose(im);
        vexaGlobalFree(dib);
    }
    EXPECT_EQ(2, madeGood) << "the rows of either image";
}

TEST_F(Dib, FailuresOfCopiesLeaveNothing)
{
    const Messages quiet;
    for (const int32_t bits : {1, 8, 24}) {
        I_PostMessage("x");
        int32_t refused = 0;
        forEachFailingAllocation(
            [&] {
                void* dib = CreateDIB(6, 5, bits, nullptr);
                const int32_t im = I_CopyDIBtoImageEx(dib, "copy");
                vexaGlobalFree(dib); // where no view came about, the DIB is still the caller's
                I_ImClose(im);
                return im;
            },
            [&](int64_t result) {
                refused += result == 0;
                I_PostMessage("x");
            });
        EXPECT_GE(refused, 4);
    }
}

// Changes in place.

TEST_F(Dib, LiteralConversionTo24Bits)
{
    for (const int32_t rows : {2, -2}) {
        void* dib = dibOf(3, rows, 8, [](int32_t x, int32_t y) { return 100 * y + x; });
        setEntry(dib, 1, 11, 22, 33);
        setEntry(dib, 102, 44, 55, 66);
        void* converted = ConvertDIBto24(dib);
        ASSERT_NE(nullptr, converted);
        EXPECT_TRUE(isFreed(dib));
        int32_t height = 0;
        int32_t stride = 0;
        int32_t bits = 0;
        auto* pixels = static_cast<uint8_t*>(CheckDIB2(converted, nullptr, &height, &stride, &bits));
        EXPECT_EQ(rows, height);
        EXPECT_EQ(24, bits);
        EXPECT_THAT(Bytes(pixels, pixels + 9), ElementsAre(0, 0, 0, 33, 22, 11, 2, 2, 2));
        EXPECT_THAT(Bytes(pixels + stride, pixels + stride + 9),
                    ElementsAre(100, 100, 100, 101, 101, 101, 66, 55, 44));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        EXPECT_EQ(converted, ConvertDIBto24(converted));
        vexaGlobalFree(converted);
    }
}

TEST_F(Dib, LiteralConversionOfOneBitReportsAndGoesOn)
{
    void* dib = dibOf(3, 1, 1, [](int32_t x, int32_t) { return x == 0 ? 0xA0 : 0; });
    setEntry(dib, 1, 9, 8, 7);
    void* converted = ConvertDIBto24(dib);
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ConvertDIBto24: ncolors=2", errorText());
    const uint8_t* pixels = pixelsOf(converted);
    EXPECT_THAT(Bytes(pixels, pixels + 9), ElementsAre(7, 8, 9, 0, 0, 0, 7, 8, 9));
    vexaGlobalFree(converted);
}

TEST_F(Dib, FailuresOfConversionKeepTheDib)
{
    void* dib = CreateDIB(3, 3, 8, nullptr);
    failAllocation(1, true);
    EXPECT_EQ(nullptr, ConvertDIBto24(dib));
    failAllocation(0, false);
    EXPECT_EQ("ConvertDIBto24: stride=0, pix24=0", errorText());
    EXPECT_FALSE(isFreed(dib));
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralNearGreyPaletteGoesIntoThePixels)
{
    for (const bool overlay : {false, true}) {
        void* dib = dibOf(6, 1, 8, [](int32_t x, int32_t) { return x < 6 ? 10 * x + 5 : 15; });
        setEntry(dib, 15, 20, 24, 16); // the mean is 20, the colour 4
        if (overlay)
            setEntry(dib, 253, 0, 255, 0);
        else
            setEntry(dib, 253, 9, 9, 200); // red and green are equal
        EXPECT_EQ(dib, I_MapDIBPalette(dib));
        const uint8_t* pixels = pixelsOf(dib);
        EXPECT_THAT(Bytes(pixels, pixels + 8), ElementsAre(5, 20, 25, 35, 45, 55, 20, 20));
        for (int32_t i = 0; i < 256; ++i) {
            const uint8_t* entry = paletteOf(dib) + 4 * i;
            if (overlay && i == 253)
                EXPECT_THAT(Bytes(entry, entry + 3), ElementsAre(0, 255, 0));
            else
                EXPECT_THAT(Bytes(entry, entry + 3), ElementsAre(i, i, i));
        }
        vexaGlobalFree(dib);
    }
}

TEST_F(Dib, LiteralColorfulPaletteMakes24Bits)
{
    struct {
        int32_t entry, red, green, blue, bits;
    } const cases[] = {{40, 40, 45, 40, 24},   {40, 40, 44, 44, 8}, {40, 40, 40, 35, 24},
                       {251, 251, 0, 251, 24}, {252, 252, 0, 0, 8}, {0, 0, 0, 255, 24},
                       {40, 40, 42, 37, 8}};
    for (const auto& c : cases) {
        void* dib = dibOf(4, 2, 8, [](int32_t x, int32_t) { return x; });
        setEntry(dib, c.entry, c.red, c.green, c.blue);
        void* mapped = I_MapDIBPalette(dib);
        int32_t bits = 0;
        CheckDIB(mapped, nullptr, nullptr, &bits);
        EXPECT_EQ(c.bits, bits) << "entry " << c.entry;
        EXPECT_EQ(c.bits == 24, isFreed(dib));
        vexaGlobalFree(mapped);
    }
    void* dib = CreateDIB(2, 2, 24, nullptr);
    EXPECT_EQ(dib, I_MapDIBPalette(dib));
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralOneBitPaletteBecomesGreyItself)
{
    void* dib = CreateDIB(2, 2, 1, nullptr);
    setEntry(dib, 1, 100, 103, 104);
    EXPECT_EQ(dib, I_MapDIBPalette(dib));
    EXPECT_EQ(0x666666, headerWord(dib, 44)); // 102
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralFieldPairs)
{
    struct {
        int32_t rows, flag;
        Bytes expected;
    } const cases[] = {
        {4, 0, {0, 0, 2, 2}},
        {4, 1, {1, 1, 2, 3}},
        {5, 0, {1, 1, 3, 3, 4}},
        {5, 1, {0, 0, 2, 2, 4}},
        {6, 1, {1, 1, 3, 3, 4, 5}},
        {6, 0, {0, 0, 2, 2, 4, 4}},
        {1, 0, {0}},
        {1, 1, {0}},
        {2, 1, {0, 1}},
        {2, 0, {0, 0}},
        {-4, 0, {0, 0, 2, 2}},
        {3, 7, {0, 0, 2}},
    };
    for (const auto& c : cases) {
        void* dib = dibOf(5, c.rows, 8, [](int32_t, int32_t y) { return y; });
        EXPECT_EQ(dib, DeflickerDIB(dib, c.flag));
        const uint8_t* pixels = pixelsOf(dib);
        for (std::size_t y = 0; y < c.expected.size(); ++y)
            EXPECT_THAT(Bytes(pixels + 8 * y, pixels + 8 * y + 8), testing::Each(c.expected[y]))
                << c.rows << " rows, flag " << c.flag << ", row " << y;
        vexaGlobalFree(dib);
    }
}

TEST_F(Dib, LiteralBytesOfTheBlock)
{
    void* dib = CreateDIB(4, 1, 24, nullptr);
    uint8_t buffer[60] = {};
    EXPECT_EQ(1, CopyDIB(dib, buffer, 0, 60, 1));
    EXPECT_EQ(40, buffer[0]);
    EXPECT_EQ(24, buffer[14]);
    buffer[0] = 9;
    buffer[1] = 8;
    EXPECT_EQ(1, CopyDIB(dib, buffer, 40, 2, 0));
    EXPECT_EQ(9, pixelsOf(dib)[0]);
    EXPECT_EQ(8, pixelsOf(dib)[1]);
    EXPECT_EQ(0, pixelsOf(dib)[2]);
    vexaGlobalFree(dib);
}

TEST_F(Dib, BoundsOfBytesOfTheBlock)
{
    void* dib = CreateDIB(4, 1, 24, nullptr); // 52 bytes
    uint8_t buffer[60];
    std::fill(std::begin(buffer), std::end(buffer), uint8_t{7});
    EXPECT_EQ(1, CopyDIB(dib, buffer, 50, 60, 0));
    EXPECT_EQ(7, pixelsOf(dib)[11]);
    EXPECT_EQ(1, CopyDIB(dib, buffer, 45, 1000, 1));
    EXPECT_EQ(0, buffer[4]);
    EXPECT_EQ(7, buffer[7]);
    EXPECT_EQ(1, CopyDIB(dib, buffer, 52, 4, 1));
    EXPECT_EQ(1, CopyDIB(dib, buffer, INT32_MAX, INT32_MAX, 1));
    EXPECT_EQ(1, CopyDIB(dib, buffer, 0, -4, 1));
    EXPECT_EQ(0, CopyDIB(dib, buffer, -1, 4, 1));
    EXPECT_EQ(0, CopyDIB(dib, nullptr, 0, 4, 1));
    vexaGlobalFree(dib);
}

// Images to DIBs.

// The picture in a DIB, top row first, without what pads the rows.
Bytes pictureOf(void* dib)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t stride = 0;
    int32_t bits = 0;
    const auto* pixels = static_cast<const uint8_t*>(CheckDIB2(dib, &cols, &rows, &stride, &bits));
    Bytes all;
    for (int32_t y = 0; pixels && y < std::abs(rows); ++y) {
        const uint8_t* row = pixels + int64_t{rows > 0 ? rows - 1 - y : y} * stride;
        all.insert(all.end(), row, row + cols * bits / 8);
    }
    return all;
}

void setRampPalette(int32_t colorMode)
{
    uint8_t ramp[3][256];
    for (int32_t i = 0; i < 256; ++i)
        ramp[0][i] = ramp[1][i] = ramp[2][i] = static_cast<uint8_t>(i);
    I_SetColorMode(colorMode);
    I_SetDisplayLUTs(ramp[0], ramp[1], ramp[2]);
}

TEST_F(Dib, LiteralBoxes)
{
    const int32_t im = byteImage(30, 20, [](int32_t x, int32_t y) { return 8 * y + x; });
    struct {
        int32_t x, y, cols, rows;
        int32_t left, top, width, height;
    } const cases[] = {{0, 0, 0, 0, 0, 0, 30, 20},      {0, 0, -10, -5, 0, 0, 20, 15},
                       {5, 6, 0, 0, 5, 6, 25, 14},      {5, 6, -3, -4, 5, 6, 22, 10},
                       {-9, -9, 4, 3, 0, 0, 4, 3},      {25, 15, 100, 100, 25, 15, 5, 5},
                       {5, 5, -25, -999, 5, 5, 25, 15}, {0, 0, INT32_MIN, INT32_MIN, 0, 0, 30, 20},
                       {29, 19, 1, 1, 29, 19, 1, 1},    {INT32_MIN, 3, INT32_MAX, 2, 0, 3, 30, 2}};
    for (const auto& c : cases) {
        void* dib = I_CopyBoxToDIB(c.x, c.y, c.cols, c.rows, im);
        ASSERT_NE(nullptr, dib);
        int32_t cols = 0;
        int32_t rows = 0;
        int32_t bits = 0;
        CheckDIB(dib, &cols, &rows, &bits);
        EXPECT_EQ(c.width, cols);
        EXPECT_EQ(c.height, rows);
        EXPECT_EQ(8, bits);
        Bytes expected;
        for (int32_t y = c.top; y < c.top + c.height; ++y)
            for (int32_t x = c.left; x < c.left + c.width; ++x)
                expected.push_back(static_cast<uint8_t>(8 * y + x));
        EXPECT_EQ(expected, pictureOf(dib));
        vexaGlobalFree(dib);
        dib = GetWindowBitmap(c.x, c.y, c.cols, c.rows, im);
        EXPECT_EQ(expected, pictureOf(dib));
        vexaGlobalFree(dib);
    }
    EXPECT_EQ(nullptr, I_CopyBoxToDIB(30, 0, 5, 5, im));
    EXPECT_EQ(nullptr, I_CopyBoxToDIB(0, INT32_MAX, 5, 5, im));
    I_ImClose(im);
}

TEST_F(Dib, LiteralTypesOfADibByImage)
{
    struct {
        int32_t type, bits;
    } const cases[] = {{PIX_BYTE, 8},   {PIX_WORD, 8},   {PIX_FLOAT, 8},  {PIX_DFLOAT, 8}, {PIX_PALETTE, 8},
                       {PIX_BGR15, 24}, {PIX_BGR24, 24}, {PIX_RGB24, 24}, {PIX_BGR32, 24}, {PIX_RGB32, 24}};
    for (const auto& c : cases) {
        const int32_t im = image(5, 3, c.type, [](int32_t x, int32_t y) { return 9 * x + 40 * y; });
        void* dib = I_CopyBoxToDIB(0, 0, 0, 0, im);
        int32_t bits = 0;
        ASSERT_NE(nullptr, CheckDIB(dib, nullptr, nullptr, &bits));
        EXPECT_EQ(c.bits, bits) << "type " << c.type;
        const int32_t expected = I_CloneImage(im, c.bits == 24 ? PIX_BGR24 : PIX_BYTE, 1);
        EXPECT_EQ(bytesOf(expected), pictureOf(dib)) << "type " << c.type;
        vexaGlobalFree(dib);
        closeImages({im, expected});
    }
}

TEST_F(Dib, LiteralPaletteOfAByteImageIsTheDisplays)
{
    setRampPalette(1);
    const int32_t im = byteImage(4, 4);
    void* dib = I_CopyImageToDIB(im, 0);
    const uint8_t* palette = paletteOf(dib);
    EXPECT_THAT(Bytes(palette + 4 * 77, palette + 4 * 78), ElementsAre(77, 77, 77, 0));
    EXPECT_THAT(Bytes(palette + 4 * 252, palette + 4 * 253), ElementsAre(0, 0, 255, 0));
    EXPECT_THAT(Bytes(palette + 4 * 254, palette + 4 * 255), ElementsAre(255, 255, 0, 0));
    vexaGlobalFree(dib);
    I_ImClose(im);
}

TEST_F(Dib, LiteralOverflowColors)
{
    setRampPalette(0);
    displayState().overflowColor = 1;
    const int32_t im = byteImage(4, 4);
    void* dib = I_CopyImageToDIB(im, 1);
    displayState().overflowColor = 0;
    EXPECT_EQ(0, I_ImValid(im)) << "closed by the flag";
    const uint8_t* palette = paletteOf(dib);
    EXPECT_THAT(Bytes(palette, palette + 12), ElementsAre(100, 0, 0, 0, 100, 1, 1, 0, 2, 2, 2, 0));
    EXPECT_THAT(Bytes(palette + 4 * 253, palette + 1024),
                ElementsAre(253, 253, 253, 0, 50, 254, 254, 0, 50, 255, 255, 0));
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralOverflowColorsOnlyWhereThePaletteHasBlackAndWhite)
{
    uint8_t level[256];
    std::fill(std::begin(level), std::end(level), uint8_t{9});
    I_SetColorMode(0);
    I_SetDisplayLUTs(level, level, level);
    displayState().overflowColor = 1;
    const int32_t im = byteImage(4, 4);
    void* dib = I_CopyImageToDIB(im, 1);
    displayState().overflowColor = 0;
    EXPECT_EQ(9, paletteOf(dib)[0]);
    EXPECT_EQ(9, paletteOf(dib)[4 * 255]);
    vexaGlobalFree(dib);
    setRampPalette(1);
}

TEST_F(Dib, LiteralPaletteOfIndicesIsTheirOwn)
{
    const int32_t im = image(4, 1, PIX_PALETTE, [](int32_t x, int32_t) { return 60 * x; });
    Bytes palette(1024);
    for (std::size_t i = 0; i < 1024; ++i)
        palette[i] = static_cast<uint8_t>(7 * i);
    I_ImSetParam(palette.data(), 1024, 13, im);
    void* dib = I_CopyImageToDIB(im, 1);
    EXPECT_EQ(palette, Bytes(paletteOf(dib), paletteOf(dib) + 1024));
    EXPECT_THAT(pictureOf(dib), ElementsAre(0, 60, 120, 180));
    vexaGlobalFree(dib);
}

TEST_F(Dib, LiteralABottomUpImageGivesTheSamePicture)
{
    const int32_t im = byteImage(6, 4, [](int32_t x, int32_t y) { return 10 * y + x; });
    const Bytes picture = bytesOf(im);
    ASSERT_EQ(1, I_ImInvertRows(im));
    void* dib = I_CopyImageToDIB(im, 1);
    EXPECT_EQ(picture, pictureOf(dib));
    vexaGlobalFree(dib);
}

TEST_F(Dib, FailuresOfImagesThatAreNone)
{
    EXPECT_EQ(nullptr, I_CopyBoxToDIB(0, 0, 0, 0, 0));
    EXPECT_EQ(nullptr, I_CopyImageToDIB(0, 1));
    EXPECT_EQ(nullptr, I_CopyImageToDIB(9, 1));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
}

TEST_F(Dib, FailuresOfImagesToDibsLeaveNothing)
{
    const int32_t im = image(5, 5, PIX_BGR15);
    forEachFailingAllocation(
        [&] {
            void* dib = I_CopyImageToDIB(im, 0);
            vexaGlobalFree(dib);
            return dib != nullptr;
        },
        [](int64_t result) { EXPECT_EQ(0, result); });
    I_ImClose(im);
}

TEST_F(Dib, LiteralADibOnAnImage)
{
    void* dib = dibOf(3, 2, 8, [](int32_t x, int32_t y) { return x < 3 ? 10 * (1 - y) + x + 1 : 0; });
    const int32_t im = byteImage(6, 4);
    EXPECT_EQ(1, SetWindowBitmap(2, 1, im, dib));
    EXPECT_THAT(bytesOf(im),
                ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 0, 0, 0, 11, 12, 13, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(1, I_ImCount()) << "the view is closed";
    EXPECT_FALSE(isFreed(dib));
    EXPECT_EQ(0, SetWindowBitmap(-1, 0, im, dib));
    EXPECT_EQ(0, SetWindowBitmap(0, -1, im, dib));
    EXPECT_EQ(0, SetWindowBitmap(6, 0, im, dib));
    EXPECT_EQ(0, SetWindowBitmap(0, 0, im, nullptr));
    EXPECT_EQ(0, SetWindowBitmap(0, 0, 77, dib));
    vexaGlobalFree(dib);
    I_ImClose(im);
}

TEST_F(Dib, AgainstReferenceRoundTrips)
{
    for (const int32_t type : {PIX_BYTE, PIX_BGR24}) {
        for (const int32_t cols : {1, 2, 3, 4, 5, 31, 64}) {
            for (const int32_t rows : {1, 2, 9}) {
                const int32_t im =
                    image(cols, rows, type, [](int32_t x, int32_t y) { return 17 * x + 5 * y; });
                const Bytes picture = bytesOf(im);
                const int32_t back = I_CopyDIBtoImage(I_CopyImageToDIB(im, 1));
                EXPECT_EQ(picture, bytesOf(back)) << cols << " x " << rows;
                I_ImClose(back);
            }
        }
    }
}

} // namespace
} // namespace vexa::test
