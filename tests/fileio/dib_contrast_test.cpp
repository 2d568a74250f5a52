#include "vexalib/dib_contrast.h"

#include "core/display_state.h"
#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using Bytes = std::vector<uint8_t>;
using testing::Each;
using testing::ElementsAre;

struct Palette {
    int16_t red[256] = {};
    int16_t green[256] = {};
    int16_t blue[256] = {};
    int32_t result = 0;

    explicit Palette(void* dib) { result = GetDIBPalette(dib, red, green, blue); }
    // The table that all three colours share.
    std::vector<int32_t> grey() const
    {
        EXPECT_EQ(0, std::memcmp(red, green, sizeof red));
        EXPECT_EQ(0, std::memcmp(red, blue, sizeof red));
        return {red, red + 256};
    }
};

std::vector<int32_t> ramp()
{
    std::vector<int32_t> values(256);
    for (int32_t i = 0; i < 256; ++i)
        values[static_cast<std::size_t>(i)] = i;
    return values;
}

// Bytes of the rows in memory, with what pads them.
Bytes rowBytes(void* dib)
{
    int32_t rows = 0, stride = 0;
    const auto* pixels = static_cast<const uint8_t*>(CheckDIB2(dib, nullptr, &rows, &stride, nullptr));
    Bytes bytes(pixels, pixels + int64_t{stride} * std::abs(rows));
    vexaGlobalUnlock(dib);
    return bytes;
}

class DibContrast : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    void TearDown() override
    {
        I_SetROIType(0);
        displayState().overflowColor = 0;
        for (void* dib : made_)
            vexaGlobalFree(dib);
    }

    // A bottom-up DIB; x counts bytes of a row, y rows in memory.
    void* dibOf(int32_t cols, int32_t rows, int32_t bits,
                const std::function<int32_t(int32_t, int32_t)>& byte = {})
    {
        void* pixels = nullptr;
        void* dib = CreateDIB2(cols, rows, bits, nullptr, &pixels);
        const int32_t stride = ((bits * cols + 7) / 8 + 3) & ~3;
        for (int32_t y = 0; byte && y < rows; ++y)
            for (int32_t x = 0; x < stride; ++x)
                static_cast<uint8_t*>(pixels)[y * stride + x] = static_cast<uint8_t>(byte(x, y));
        made_.push_back(dib);
        return dib;
    }

private:
    std::vector<void*> made_;
};

TEST_F(DibContrast, LiteralGetDIBPalette)
{
    const Palette grey(dibOf(4, 4, 8));
    EXPECT_EQ(1, grey.result);
    EXPECT_EQ(ramp(), grey.grey());
    std::vector<int32_t> none(256);
    for (int32_t i = 0; i < 256; ++i)
        none[static_cast<std::size_t>(i)] = 255 * i / 256;
    for (void* dib : {dibOf(4, 4, 24), dibOf(4, 4, 32), static_cast<void*>(nullptr)}) {
        const Palette palette(dib);
        EXPECT_EQ(0, palette.result);
        EXPECT_EQ(none, palette.grey());
    }
    int16_t words[256];
    std::fill_n(words, 256, int16_t{-7});
    EXPECT_EQ(1, GetDIBPalette(dibOf(9, 2, 1), words, nullptr, nullptr));
    EXPECT_EQ(0, words[0]);
    EXPECT_EQ(128, words[1]);
    EXPECT_EQ(-7, words[2]);
    EXPECT_EQ(1, GetDIBPalette(dibOf(9, 2, 1), nullptr, nullptr, nullptr));
}

TEST_F(DibContrast, LiteralSetDIBPalette)
{
    void* dib = dibOf(4, 4, 8, [](int32_t x, int32_t y) { return 16 * y + x; });
    const Bytes pixels = rowBytes(dib);
    int16_t red[256], green[256], blue[256];
    for (int32_t i = 0; i < 256; ++i) {
        red[i] = static_cast<int16_t>(i + 0x300);
        green[i] = static_cast<int16_t>(-i);
        blue[i] = static_cast<int16_t>(255 - i);
    }
    EXPECT_EQ(dib, SetDIBPalette(dib, red, green, blue));
    const Palette palette(dib);
    for (int32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(i, palette.red[i]) << "the low byte";
        EXPECT_EQ((256 - i) & 255, palette.green[i]);
        EXPECT_EQ(255 - i, palette.blue[i]);
    }
    EXPECT_EQ(pixels, rowBytes(dib));
    EXPECT_EQ(dib, SetDIBPalette(dib, red, nullptr, blue));
    EXPECT_EQ(ramp(), Palette(dib).grey());
}

TEST_F(DibContrast, LiteralSetDIBPaletteOnPixels)
{
    int16_t red[256], green[256], blue[256];
    for (int32_t i = 0; i < 256; ++i) {
        red[i] = static_cast<int16_t>(i + 1);
        green[i] = static_cast<int16_t>(i + 2);
        blue[i] = static_cast<int16_t>(i + 3);
    }
    for (const int32_t bits : {24, 32}) {
        void* dib = dibOf(4, 5, bits, [](int32_t x, int32_t y) { return 16 * y + x; });
        const Bytes before = rowBytes(dib);
        // Picture rows 1 and 2 of 5: rows 3 and 2 in memory.
        I_SetWindowROI(1, 1, 2, 2);
        EXPECT_EQ(dib, SetDIBPalette(dib, red, green, blue));
        VexaBox window = {};
        I_GetWindowROI(&window.left, &window.top, &window.right, &window.bottom);
        EXPECT_EQ(1, window.top) << "the window is put back";
        EXPECT_EQ(2, window.bottom);
        const Bytes after = rowBytes(dib);
        const int32_t step = bits / 8;
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 4; ++x)
                for (int32_t byte = 0; byte < 3; ++byte) {
                    const auto at = static_cast<std::size_t>(y * 4 * step + x * step + byte);
                    const bool inside = x >= 1 && x <= 2 && y >= 2 && y <= 3;
                    EXPECT_EQ(before[at] + (inside ? 3 - byte : 0), after[at])
                        << bits << ": " << x << ' ' << y;
                }
        I_SetROIType(0);
    }
}

TEST_F(DibContrast, LiteralModifyDIBPalette)
{
    uint8_t table[256];
    for (int32_t i = 0; i < 256; ++i)
        table[i] = static_cast<uint8_t>(255 - i);
    void* dib = dibOf(4, 4, 8);
    EXPECT_EQ(dib, ModifyDIBPalette(dib, table));
    const std::vector<int32_t> grey = Palette(dib).grey();
    for (int32_t i = 0; i < 256; ++i)
        EXPECT_EQ(255 - i, grey[static_cast<std::size_t>(i)]);
    EXPECT_EQ(dib, ModifyDIBPalette(dib, table));
    EXPECT_EQ(ramp(), Palette(dib).grey());
    EXPECT_EQ(dib, ModifyDIBPalette(dib, nullptr));
    EXPECT_EQ(nullptr, ModifyDIBPalette(nullptr, table));

    // Without a palette the window is taken as the view's rows lie in memory.
    void* color = dibOf(4, 5, 24, [](int32_t x, int32_t y) { return 16 * y + x; });
    const Bytes before = rowBytes(color);
    I_SetWindowROI(0, 1, 3, 1);
    EXPECT_EQ(color, ModifyDIBPalette(color, table));
    const Bytes after = rowBytes(color);
    for (std::size_t i = 0; i < after.size(); ++i)
        EXPECT_EQ(i / 12 == 1 ? 255 - before[i] : before[i], after[i]) << i;
}

TEST_F(DibContrast, LiteralGamma)
{
    uint8_t table[256];
    I_MakeGammaLUT(table, 2.0);
    void* dib = dibOf(4, 4, 8);
    EXPECT_EQ(dib, I_GammaCorrectDIB(dib, 2.0));
    const std::vector<int32_t> grey = Palette(dib).grey();
    for (int32_t i = 0; i < 256; ++i)
        EXPECT_EQ(table[i], grey[static_cast<std::size_t>(i)]);
    EXPECT_EQ(127, grey[64]);
}

TEST_F(DibContrast, LiteralContrast)
{
    void* dib = dibOf(4, 4, 8);
    EXPECT_EQ(dib, SetDIBContrast(dib, 0, 255));
    EXPECT_EQ(ramp(), Palette(dib).grey());

    EXPECT_EQ(dib, SetDIBContrast(dib, 100, 100));
    std::vector<int32_t> grey = Palette(dib).grey();
    for (int32_t i = 0; i < 256; ++i)
        EXPECT_EQ(i <= 100 ? 0 : i == 101 ? 255 : i < 254 ? 253 : i, grey[static_cast<std::size_t>(i)]) << i;

    EXPECT_EQ(dib, SetDIBContrast(dib, 40, 180));
    grey = Palette(dib).grey();
    const int32_t step = 65280 / 140;
    for (int32_t i = 0; i < 254; ++i) {
        const int32_t level = i < 40 ? 0 : (i - 40) * step / 256;
        EXPECT_EQ(level > 255 ? 253 : level, grey[static_cast<std::size_t>(i)]) << i;
    }
    EXPECT_EQ(254, grey[254]);
    EXPECT_EQ(255, grey[255]);

    // Falling: the step truncates toward zero, the shift rounds down.
    EXPECT_EQ(dib, SetDIBContrast(dib, 200, 50));
    grey = Palette(dib).grey();
    for (int32_t i = 0; i < 254; ++i) {
        const int32_t fixed = (i - 200) * (65280 / (50 - 200));
        const int32_t level = fixed < 0 ? 0 : fixed / 256;
        EXPECT_EQ(level > 255 ? 253 : level, grey[static_cast<std::size_t>(i)]) << i;
    }
    for (const auto& [low, high] : {std::pair{INT32_MIN, INT32_MAX},
                                    {INT32_MAX, INT32_MIN},
                                    {INT32_MIN, INT32_MIN},
                                    {INT32_MAX, INT32_MAX}})
        EXPECT_EQ(dib, SetDIBContrast(dib, low, high));
}

TEST_F(DibContrast, LiteralOverflowColours)
{
    void* dib = dibOf(4, 4, 8);
    displayState().overflowColor = 1;
    SetDIBContrast(dib, 0, 255);
    const Palette palette(dib);
    EXPECT_EQ(0, palette.red[0]);
    EXPECT_EQ(50, palette.blue[0]);
    EXPECT_EQ(51, palette.blue[1]);
    EXPECT_EQ(2, palette.blue[2]);
    EXPECT_EQ(253, palette.blue[253]);
    EXPECT_EQ(50, palette.blue[254]);
    EXPECT_EQ(50, palette.blue[255]);
    EXPECT_EQ(255, palette.green[255]);
}

TEST_F(DibContrast, LiteralFalseColour)
{
    uint8_t red[256], green[256], blue[256];
    const auto expectColors = [&](void* dib) {
        const Palette palette(dib);
        for (int32_t i = 0; i < 256; ++i) {
            EXPECT_EQ(red[i], palette.red[i]) << i;
            EXPECT_EQ(green[i], palette.green[i]) << i;
            EXPECT_EQ(blue[i], palette.blue[i]) << i;
        }
    };
    void* dib = dibOf(4, 4, 8);
    I_FalseColorLUT(20, 200, red, green, blue, 1, 1);
    EXPECT_EQ(dib, I_SetDIBFalseColor(dib, 20, 200));
    expectColors(dib);
    EXPECT_EQ(dib, I_SetDIBFalseColor(dib, 90, 20)) << "fails";
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    expectColors(dib);
    I_FalseColorLUT(0, 255, red, green, blue, 1, 1);
    EXPECT_EQ(dib, I_SetDIBFalseColor(dib, 20, 1));
    expectColors(dib);
    EXPECT_EQ(dib, I_SetDIBFalseColor(dib, 77, 77));
    EXPECT_EQ(ramp(), Palette(dib).grey());
}

// Ends of the ramp that SetDIBContrast was given, from the palette: the last 0 in a row, and the first 253 or 255.
void expectRamp(void* dib, int32_t low, int32_t high)
{
    const std::vector<int32_t> grey = Palette(dib).grey();
    const int32_t step = 65280 / (high - low);
    for (int32_t i = 0; i < 254; ++i) {
        const int32_t fixed = (i - low) * step;
        const int32_t level = fixed < 0 ? 0 : fixed >> 8;
        ASSERT_EQ(level > 255 ? 253 : level, grey[static_cast<std::size_t>(i)])
            << low << " to " << high << ", " << i;
    }
}

TEST_F(DibContrast, LiteralNormalize)
{
    // Levels 100 to 120.
    void* dib = dibOf(21, 20, 8, [](int32_t x, int32_t) { return 100 + x % 21; });
    EXPECT_EQ(dib, NormalizeDIBContrast(dib));
    expectRamp(dib, 100, 120);
    EXPECT_EQ(dib, I_NormalizeDIBLimited(dib, 4.0F));
    expectRamp(dib, 79, 142);
    EXPECT_EQ(dib, I_NormalizeDIBLimited(dib, 100.0F));
    expectRamp(dib, 100, 120);
    EXPECT_EQ(dib, I_NormalizeDIBLimited(dib, -3.0F));
    expectRamp(dib, 100, 120);
    EXPECT_EQ(dib, I_NormalizeDIBLimited(dib, 1.0F));
    expectRamp(dib, 0, 255);
    for (const float odd :
         {1e-30F, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()})
        EXPECT_EQ(dib, I_NormalizeDIBLimited(dib, odd));
}

TEST_F(DibContrast, LiteralNormalizeCountsTheRegionFromTheBottom)
{
    // Each picture row has levels of its own; memory row 0 is the lowest.
    void* dib = dibOf(20, 20, 8, [](int32_t x, int32_t y) { return 10 * y + x % 4; });
    I_SetWindowROI(0, 5, 7, 5);
    EXPECT_EQ(dib, NormalizeDIBContrast(dib));
    expectRamp(dib, 140, 143);
    // Nearer than two pixels to the edge: the whole picture.
    struct {
        VexaBox box;
        bool whole;
    } const cases[] = {
        {{0, 5, 17, 5}, false}, {{0, 5, 18, 5}, true}, {{0, 17, 7, 17}, false}, {{0, 18, 7, 18}, true}};
    for (const auto& c : cases) {
        I_SetWindowROI(c.box.left, c.box.top, c.box.right, c.box.bottom);
        NormalizeDIBContrast(dib);
        const int32_t level = 10 * (19 - c.box.top);
        expectRamp(dib, c.whole ? 0 : level, c.whole ? 193 : level + 3);
    }
}

TEST_F(DibContrast, LiteralNormalizeShowsItsLevelsInDebug)
{
    void* dib = dibOf(21, 20, 8, [](int32_t x, int32_t) { return 100 + x % 21; });
    I_SetDebug(1);
    testing::internal::CaptureStderr();
    NormalizeDIBContrast(dib);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("histrange=100 120 (20)"));
    I_SetDebug(0);
}

TEST_F(DibContrast, LiteralOnly8BitsAreNormalized)
{
    for (const int32_t bits : {1, 24, 32}) {
        void* dib = dibOf(16, 16, bits, [](int32_t x, int32_t y) { return x * y; });
        const Bytes pixels = rowBytes(dib);
        const Palette palette(dib);
        EXPECT_EQ(dib, NormalizeDIBContrast(dib));
        EXPECT_EQ(pixels, rowBytes(dib));
        EXPECT_EQ(0, std::memcmp(palette.red, Palette(dib).red, sizeof palette.red));
    }
}

TEST_F(DibContrast, LiteralEqualize)
{
    void* dib = dibOf(32, 32, 8, [](int32_t x, int32_t y) { return 100 + (x * y) % 50; });
    uint32_t histogram[256] = {};
    const Bytes pixels = rowBytes(dib);
    for (std::size_t y = 8; y <= 24; ++y)
        for (std::size_t x = 8; x <= 24; ++x)
            ++histogram[pixels[32 * y + x]];
    uint8_t table[256];
    HistEqualizeLUT(20, histogram, table);
    I_SetWindowROI(0, 0, 3, 3);
    EXPECT_EQ(dib, EqualizeDIBContrast(dib, 20));
    const std::vector<int32_t> grey = Palette(dib).grey();
    for (int32_t i = 0; i < 256; ++i)
        EXPECT_EQ(table[i], grey[static_cast<std::size_t>(i)]) << i;
    EXPECT_EQ(pixels, rowBytes(dib));
    EXPECT_EQ(0, I_GetROIType()) << "where it stays";
    VexaBox window = {};
    I_GetWindowROI(&window.left, &window.top, &window.right, &window.bottom);
    EXPECT_EQ(8, window.left);
    EXPECT_EQ(24, window.bottom);
    EXPECT_EQ(dib, EqualizeDIBContrast(dib, 0));
    EXPECT_EQ(ramp(), Palette(dib).grey());
    EqualizeDIBContrast(dib, 20);
    EXPECT_EQ(dib, EqualizeDIBContrast(dib, -1));
    EXPECT_EQ(ramp(), Palette(dib).grey());
}

TEST_F(DibContrast, LiteralEqualizeColour)
{
    void* dib = dibOf(32, 32, 24, [](int32_t x, int32_t y) { return 100 + (x / 3 * y) % 50; });
    const Bytes before = rowBytes(dib);
    uint32_t histogram[256] = {};
    const int32_t view = CreateDIBImage(dib);
    I_SetWindowROI(8, 8, 24, 24);
    I_CalcHist(histogram, view);
    I_ImClose(view);
    uint8_t table[256];
    HistEqualizeLUT(20, histogram, table);
    EXPECT_EQ(dib, EqualizeDIBContrast(dib, 20));
    const Bytes after = rowBytes(dib);
    for (std::size_t i = 0; i < after.size(); ++i)
        EXPECT_EQ(table[before[i]], after[i]) << "all pixels, whatever the region";
}

TEST_F(DibContrast, LiteralInterlace)
{
    const auto firstBytes = [this](int32_t rows, int32_t first, int32_t second, int32_t bits = 8) {
        void* dib = dibOf(4, rows, bits, [](int32_t, int32_t y) { return y + 1; });
        EXPECT_EQ(dib, InterlaceDIB(dib, first, second));
        const Bytes bytes = rowBytes(dib);
        Bytes rowsOnly;
        for (std::size_t y = 0; y < static_cast<std::size_t>(rows); ++y)
            rowsOnly.push_back(bytes[y * bytes.size() / static_cast<std::size_t>(rows)]);
        return rowsOnly;
    };
    // 8 rows, fields of 4: rows 7 - first ... and 7 - second ... alternate from the last row down.
    EXPECT_THAT(firstBytes(8, 0, 4), ElementsAre(1, 5, 2, 6, 3, 7, 4, 8));
    EXPECT_THAT(firstBytes(8, 4, 0), ElementsAre(5, 1, 6, 2, 7, 3, 8, 4));
    EXPECT_THAT(firstBytes(8, 1, 3), ElementsAre(2, 4, 3, 5, 4, 6, 5, 7));
    EXPECT_THAT(firstBytes(7, 0, 4), ElementsAre(0, 1, 5, 2, 6, 3, 7));
    EXPECT_THAT(firstBytes(8, 100, 200), Each(0));
    EXPECT_THAT(firstBytes(8, -1, 4), ElementsAre(1, 6, 2, 7, 3, 8, 4, 0))
        << "what does not exist stays clear";
    EXPECT_THAT(firstBytes(8, 0, 4, 32), ElementsAre(1, 5, 2, 6, 3, 7, 4, 8));
    EXPECT_THAT(firstBytes(8, 0, 4, 24), ElementsAre(1, 5, 2, 6, 3, 7, 4, 8));
    EXPECT_THAT(firstBytes(1, 0, 0), ElementsAre(0));
    EXPECT_THAT(firstBytes(8, 0, -1), ElementsAre(1, 4, 3, 6, 5, 8, 7, 8));
    EXPECT_THAT(firstBytes(7, 9, -5), ElementsAre(1, 4, 3, 6, 5, 6, 7));
    EXPECT_THAT(firstBytes(3, 0, -1), ElementsAre(1, 2, 3));
    for (const int32_t extreme : {INT32_MIN, INT32_MAX})
        firstBytes(5, extreme, INT32_MAX);
}

TEST_F(DibContrast, BoundsOddWidthsInColour)
{
    for (const int32_t cols : {1, 2, 3, 5, 7}) {
        void* dib = dibOf(cols, 6, 24, [](int32_t x, int32_t y) { return 10 * y + x; });
        const Bytes before = rowBytes(dib);
        const std::size_t stride = before.size() / 6;
        InterlaceDIB(dib, 0, 3);
        const Bytes after = rowBytes(dib);
        const std::size_t from[] = {0, 3, 1, 4, 2, 5};
        for (std::size_t y = 0; y < 6; ++y)
            EXPECT_EQ(0, std::memcmp(&before[from[y] * stride], &after[y * stride], stride))
                << cols << " columns";
    }
}

TEST_F(DibContrast, FailuresOfHandles)
{
    void* small = vexaGlobalAlloc(10);
    uint8_t table[256] = {};
    for (void* dib : {static_cast<void*>(nullptr), small}) {
        clearError();
        EXPECT_EQ(dib, SetDIBPalette(dib, nullptr, nullptr, nullptr));
        EXPECT_EQ(dib, ModifyDIBPalette(dib, table));
        EXPECT_EQ(dib, I_GammaCorrectDIB(dib, 2));
        EXPECT_EQ(dib, SetDIBContrast(dib, 1, 2));
        EXPECT_EQ(dib, I_SetDIBFalseColor(dib, 1, 20));
        EXPECT_EQ(dib, I_NormalizeDIBLimited(dib, 1));
        EXPECT_EQ(dib, NormalizeDIBContrast(dib));
        EXPECT_EQ(dib, EqualizeDIBContrast(dib, 10));
        EXPECT_EQ(dib, InterlaceDIB(dib, 0, 1));
        EXPECT_EQ(dib ? 1 : 0, I_GetError(nullptr, 0));
    }
    EXPECT_EQ(0, I_ImCount());
    vexaGlobalFree(small);
}

TEST_F(DibContrast, FailuresOfAllocations)
{
    void* color = dibOf(12, 10, 24, [](int32_t x, int32_t y) { return x * y; });
    void* grey = dibOf(12, 10, 8, [](int32_t x, int32_t y) { return x * y; });
    const std::function<void*(void*)> calls[] = {
        [](void* dib) { return SetDIBContrast(dib, 10, 200); },
        [](void* dib) { return I_GammaCorrectDIB(dib, 1.5); },
        [](void* dib) { return NormalizeDIBContrast(dib); },
        [](void* dib) { return EqualizeDIBContrast(dib, 20); },
        [](void* dib) { return InterlaceDIB(dib, 0, 5); },
    };
    for (const auto& call : calls)
        for (void* dib : {color, grey})
            forEachFailingAllocation([&] { return call(dib) == dib; },
                                     [](int64_t same) {
                                         EXPECT_EQ(1, same);
                                         EXPECT_EQ(0, I_ImCount());
                                     });
}

} // namespace
} // namespace vexa::test
