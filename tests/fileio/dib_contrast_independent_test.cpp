// Contrast of bitmaps: the palettes and pixels that each description gives, on random bitmaps and regions.
#include "core/display_state.h"
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/display.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Bytes = std::vector<uint8_t>;
using Words = std::vector<int16_t>;

struct Dib {
    int32_t cols = 0, rows = 0, bits = 0; // rows may be negative
    Bytes palette, pixels;                // all of the rows, padding included
    int32_t stride() const { return (((bits * cols + 7) / 8) + 3) & ~3; }
    int32_t height() const { return std::abs(rows); }
    uint8_t* row(int32_t y) { return &pixels[static_cast<std::size_t>(y * stride())]; } // of memory
    int32_t bytes() const { return bits / 8; }
};

Dib randomDib(Random& random, int32_t bits, int32_t cols, int32_t rows)
{
    Dib d{cols, rows, bits, {}, {}};
    d.palette.resize(bits <= 8 ? std::size_t{4} << bits : 0);
    d.pixels.resize(static_cast<std::size_t>(d.stride() * d.height()));
    for (Bytes* part : {&d.palette, &d.pixels})
        for (uint8_t& b : *part)
            b = static_cast<uint8_t>(random());
    return d;
}

void* handleOf(const Dib& d)
{
    Bytes b(40);
    const int32_t fields[] = {40, d.cols, d.rows, 1 | d.bits << 16};
    std::memcpy(b.data(), fields, sizeof fields);
    b.insert(b.end(), d.palette.begin(), d.palette.end());
    b.insert(b.end(), d.pixels.begin(), d.pixels.end());
    void* handle = vexaGlobalAlloc(b.size());
    std::memcpy(vexaGlobalLock(handle), b.data(), b.size());
    vexaGlobalUnlock(handle);
    return handle;
}

// Compares with the bitmap behind the handle, and frees that.
void expectDib(const Dib& d, void* handle)
{
    const auto* p = static_cast<const uint8_t*>(vexaGlobalLock(handle)) + 40;
    const Bytes palette(p, p + d.palette.size());
    p += d.palette.size();
    EXPECT_EQ(d.palette, palette);
    for (int32_t y = 0; y < d.height(); ++y) {
        const std::size_t at = static_cast<std::size_t>(y * d.stride());
        for (int32_t i = 0; i < (d.bits * d.cols + 7) / 8; ++i) {
            if (d.bits == 32 && i % 4 == 3)
                continue; // the spare byte is nobody's
            ASSERT_EQ(d.pixels[at + static_cast<std::size_t>(i)], p[at + static_cast<std::size_t>(i)])
                << "row " << y << " byte " << i;
        }
    }
    vexaGlobalFree(handle);
}

struct Window {
    int32_t left = 0, top = 0, right = 0, bottom = 0;
};

Window randomWindow(Random& random, const Dib& d)
{
    Window w;
    w.left = between(random, 0, d.cols - 1);
    w.top = between(random, 0, d.height() - 1);
    w.right = between(random, w.left, d.cols - 1);
    w.bottom = between(random, w.top, d.height() - 1);
    return w;
}

void mapPixels(Dib& d, const Window& memory, const Bytes& red, const Bytes& green, const Bytes& blue)
{
    for (int32_t y = memory.top; y <= memory.bottom; ++y)
        for (int32_t x = memory.left; x <= memory.right; ++x) {
            uint8_t* p = d.row(y) + x * d.bytes();
            p[0] = blue[p[0]], p[1] = green[p[1]], p[2] = red[p[2]];
        }
}

void setPalette(Dib& d, const Words& red, const Words& green, const Words& blue)
{
    for (std::size_t i = 0; i < d.palette.size() / 4; ++i) {
        d.palette[4 * i] = static_cast<uint8_t>(blue[i]);
        d.palette[4 * i + 1] = static_cast<uint8_t>(green[i]);
        d.palette[4 * i + 2] = static_cast<uint8_t>(red[i]);
    }
}

Words ramp(int32_t low, int32_t high)
{
    Words t(256);
    const int32_t step = 65280 / (high == low ? 1 : high - low);
    for (int32_t i = 0, v = -step * low; i < 256; ++i, v += step) {
        const int32_t grey = v >> 8;
        t[static_cast<std::size_t>(i)] = static_cast<int16_t>(i >= 254      ? i
                                                              : grey < 0    ? 0
                                                              : grey >= 256 ? 253
                                                                            : grey);
    }
    return t;
}

Words identity()
{
    Words t(256);
    for (std::size_t i = 0; i < 256; ++i)
        t[i] = static_cast<int16_t>(i);
    return t;
}

Bytes low(const Words& words)
{
    Bytes b;
    for (const int16_t w : words)
        b.push_back(static_cast<uint8_t>(w));
    return b;
}

class DibContrastIndependent : public testing::Test
{
protected:
    void SetUp() override
    {
        clearError();
        I_SetROIType(0);
    }
    void TearDown() override
    {
        EXPECT_EQ(0, I_ImCount());
        I_SetROIType(0);
        I_SetDebug(0);
    }
    Random random{31};
};

} // namespace

TEST_F(DibContrastIndependent, GetsAndSetsPalettes)
{
    for (const int32_t bits : {1, 8, 24, 32}) {
        for (int32_t round = 0; round < 20; ++round) {
            Dib d = randomDib(random, bits, between(random, 1, 20), between(random, 1, 12));
            void* handle = handleOf(d);
            Words red(256, -1), green(256, -1), blue(256, -1);
            EXPECT_EQ(bits <= 8, GetDIBPalette(handle, red.data(), green.data(), blue.data()));
            for (std::size_t i = 0; i < (bits == 1 ? 2u : 256u); ++i) {
                const auto grey = static_cast<int32_t>(255 * i >> 8);
                ASSERT_EQ(bits <= 8 ? d.palette[4 * i + 2] : grey, red[i]);
                ASSERT_EQ(bits <= 8 ? d.palette[4 * i + 1] : grey, green[i]);
                ASSERT_EQ(bits <= 8 ? d.palette[4 * i] : grey, blue[i]);
            }
            for (Words* t : {&red, &green, &blue})
                for (int16_t& w : *t)
                    w = static_cast<int16_t>(random());
            const Window w = randomWindow(random, d);
            const bool window = round % 2;
            if (window)
                I_SetWindowROI(w.left, w.top, w.right, w.bottom);
            else
                I_SetROIType(0);
            const bool none = round % 5 == 0;
            EXPECT_EQ(handle, SetDIBPalette(handle, red.data(), none ? nullptr : green.data(), blue.data()));
            if (none)
                red = green = blue = identity();
            setPalette(d, red, green, blue);
            if (bits > 8) {
                const Window all{0, 0, d.cols - 1, d.rows - 1};
                const Window turned{w.left, d.rows - w.bottom - 1, w.right, d.rows - w.top - 1};
                mapPixels(d, window ? turned : all, low(red), low(green), low(blue));
            }
            expectDib(d, handle);
            Window after;
            EXPECT_EQ(window ? 1 : 0, I_GetROIType());
            if (window) {
                I_GetWindowROI(&after.left, &after.top, &after.right, &after.bottom);
                EXPECT_EQ((std::array{w.left, w.top, w.right, w.bottom}),
                          (std::array{after.left, after.top, after.right, after.bottom}));
            }
        }
    }
    Words t(256, 5);
    EXPECT_EQ(0, GetDIBPalette(nullptr, t.data(), t.data(), t.data()));
    EXPECT_EQ(254, t[255]);
    EXPECT_EQ(127, t[128]);
}

TEST_F(DibContrastIndependent, ModifiesWithoutTurningAWindow)
{
    for (const int32_t bits : {1, 8, 24}) {
        for (int32_t round = 0; round < 20; ++round) {
            Dib d = randomDib(random, bits, between(random, 1, 20), between(random, 1, 12));
            void* handle = handleOf(d);
            Bytes table(256);
            for (uint8_t& b : table)
                b = static_cast<uint8_t>(random());
            const Window w = randomWindow(random, d);
            const double gamma = 0.5 + between(random, 0, 30) / 10.0;
            I_SetWindowROI(w.left, w.top, w.right, w.bottom);
            if (round % 2) {
                EXPECT_EQ(handle, ModifyDIBPalette(handle, table.data()));
            } else {
                EXPECT_EQ(handle, I_GammaCorrectDIB(handle, gamma));
                I_MakeGammaLUT(table.data(), gamma);
            }
            for (std::size_t i = 0; i < d.palette.size(); ++i)
                if (i % 4 != 3)
                    d.palette[i] = table[d.palette[i]];
            if (bits > 8)
                mapPixels(d, w, table, table, table);
            expectDib(d, handle);
        }
    }
}

TEST_F(DibContrastIndependent, RampsBetweenTwoLevels)
{
    EXPECT_EQ(identity(), ramp(0, 255));
    for (int32_t round = 0; round < 150; ++round) {
        const int32_t bits = round % 3 == 2 ? 24 : 8;
        Dib d = randomDib(random, bits, 7, 5);
        void* handle = handleOf(d);
        int32_t from = between(random, -300, 500), to = between(random, -300, 500);
        if (round == 0)
            from = 0, to = 255;
        if (round == 1 || round % 10 == 9)
            from = to = round == 1 ? 100 : between(random, 0, 255);
        EXPECT_EQ(handle, SetDIBContrast(handle, from, to));
        const Words t = ramp(from, to);
        setPalette(d, t, t, t);
        if (bits > 8)
            mapPixels(d, {0, 0, d.cols - 1, d.rows - 1}, low(t), low(t), low(t));
        SCOPED_TRACE(std::to_string(from) + " " + std::to_string(to));
        expectDib(d, handle);
    }
    const Words step = ramp(100, 100);
    EXPECT_EQ((Words{0, 0, 255, 253}), Words(step.begin() + 99, step.begin() + 103));
}

TEST_F(DibContrastIndependent, MarksWhatOverflows)
{
    I_SetOverflowColor(1);
    for (const auto& [from, to] : {std::pair{20, 200}, {-1000, -10}, {300, 400}}) {
        Dib d = randomDib(random, 8, 3, 3);
        void* handle = handleOf(d);
        SetDIBContrast(handle, from, to);
        const Words t = ramp(from, to);
        Words blue = t;
        blue[0] = static_cast<int16_t>(blue[0] + 50);
        blue[1] = static_cast<int16_t>(blue[1] + 50);
        blue[254] = blue[255] = 50;
        setPalette(d, t, t, blue);
        expectDib(d, handle);
    }
    I_SetOverflowColor(0);
}

TEST_F(DibContrastIndependent, ShowsFalseColours)
{
    for (const auto& [from, to] :
         {std::pair{10, 200}, {100, 100}, {1, 1}, {0, 1}, {50, 1}, {-5, -5}, {60, -7}, {0, 2}}) {
        Dib d = randomDib(random, 8, 3, 3);
        void* handle = handleOf(d);
        EXPECT_EQ(handle, I_SetDIBFalseColor(handle, from, to));
        Bytes red(256), green(256), blue(256);
        if (from == to)
            red = green = blue = low(identity());
        else if (to < 2)
            I_FalseColorLUT(0, 255, red.data(), green.data(), blue.data(), 1, 1);
        else
            I_FalseColorLUT(from, to, red.data(), green.data(), blue.data(), 1, 1);
        setPalette(d, Words(red.begin(), red.end()), Words(green.begin(), green.end()),
                   Words(blue.begin(), blue.end()));
        SCOPED_TRACE(std::to_string(from) + " " + std::to_string(to));
        expectDib(d, handle);
    }
}

TEST_F(DibContrastIndependent, NormalizesToWhatTheRegionHolds)
{
    for (int32_t round = 0; round < 120; ++round) {
        Dib d = randomDib(random, 8, between(random, 12, 40), between(random, 12, 30));
        const int32_t middle = between(random, 0, 255), spread = between(random, 1, 60);
        for (uint8_t& p : d.pixels)
            p = static_cast<uint8_t>(std::clamp(middle + between(random, -spread, spread), 0, 255));
        if (round % 6 == 5)
            d.rows = -d.rows;
        void* handle = handleOf(d);
        Window w{0, 0, d.cols - 1, d.height() - 1};
        if (round % 3) {
            w = randomWindow(random, d);
            if (round % 6 == 5)
                w.right = d.cols - 1;
            I_SetWindowROI(w.left, w.top, w.right, w.bottom);
            if (w.right > d.cols - 3 || w.bottom > d.height() - 3) // too near: all of the picture
                w = {0, 0, d.cols - 1, d.height() - 1};
        } else {
            I_SetROIType(0);
        }
        std::vector<uint32_t> histogram(256);
        for (int32_t y = d.height() - w.bottom - 1; y <= d.height() - w.top - 1; ++y)
            for (int32_t x = w.left; x <= w.right; ++x)
                ++histogram[d.row(y)[x]];
        int32_t lowest = 0, highest = 0;
        I_NormHist(histogram.data(), 2, 2, 1, &lowest, &highest);
        const float limits[] = {0.0f, 4.0f, 1.7f, 0.9f, 300.0f, -2.0f};
        const float limit = limits[round % 5 == 0 ? 0 : between(random, 0, 5)];
        if (round % 5 == 0)
            EXPECT_EQ(handle, NormalizeDIBContrast(handle));
        else
            EXPECT_EQ(handle, I_NormalizeDIBLimited(handle, limit));
        if (limit > 0) {
            const auto least = static_cast<int32_t>(255 / limit);
            if (highest - lowest < least) {
                lowest = std::max(lowest - (least - (highest - lowest)) / 2, 0);
                highest = lowest + least;
            }
        }
        const Words t = ramp(lowest, highest);
        setPalette(d, t, t, t);
        SCOPED_TRACE(std::to_string(round) + " " + std::to_string(limit));
        expectDib(d, handle);
    }
    for (const int32_t bits : {1, 24, 32}) {
        const Dib d = randomDib(random, bits, 9, 9);
        void* handle = handleOf(d);
        EXPECT_EQ(handle, NormalizeDIBContrast(handle));
        EXPECT_EQ(handle, I_NormalizeDIBLimited(handle, 4));
        expectDib(d, handle);
    }
    Dib d = randomDib(random, 8, 10, 10); // 100 to 120
    for (std::size_t i = 0; i < d.pixels.size(); ++i)
        d.pixels[i] = i % 2 ? 100 : 120;
    void* handle = handleOf(d);
    I_SetROIType(0);
    I_NormalizeDIBLimited(handle, 4.0f);
    const Words t = ramp(79, 142);
    setPalette(d, t, t, t);
    expectDib(d, handle);
}

TEST_F(DibContrastIndependent, EqualizesByTheCentralHalf)
{
    for (int32_t round = 0; round < 60; ++round) {
        const int32_t bits = std::array{24, 8, 8, 8, 32, 1}[static_cast<std::size_t>(round % 6)];
        Dib d = randomDib(random, bits, between(random, 4, 40), between(random, 4, 30));
        for (uint8_t& p : d.pixels)
            p = static_cast<uint8_t>(p & 127);
        if (round % 2)
            for (std::size_t i = 0; i < d.palette.size(); ++i)
                d.palette[i] = static_cast<uint8_t>(i % 4 == 3 ? 0 : i / 4); // a grey view
        else if (bits == 8)
            for (std::size_t i = 18; i < 229; ++i)
                d.palette[4 * i + 1] = 0; // a view with a palette
        const int32_t levels = round % 7 == 0 ? -between(random, 0, 3) : between(random, 1, 200);
        void* handle = handleOf(d);
        Window w{d.cols / 4, d.rows / 4, 3 * d.cols / 4, 3 * d.rows / 4};
        Bytes table(256);
        const int32_t view = CreateDIBImage(handle);
        const int32_t bands = I_ImGetNBands(view);
        if (levels > 0) {
            std::vector<uint32_t> histogram(256);
            I_SetWindowROI(w.left, w.top, w.right, w.bottom);
            I_CalcHist(histogram.data(), view);
            HistEqualizeLUT(levels, histogram.data(), table.data());
            I_SetROIType(0);
        }
        void* expected = handleOf(d);
        if (levels > 0 && bands > 1) {
            const int32_t other = CreateDIBImage(expected);
            I_LUTMapROI(other, other, table.data());
            I_ImClose(other);
        } else {
            const Words t = levels > 0 ? Words(table.begin(), table.end()) : identity();
            SetDIBPalette(expected, t.data(), t.data(), t.data());
        }
        I_ImClose(view);
        I_SetWindowROI(1, 1, 2, 2);
        EXPECT_EQ(handle, EqualizeDIBContrast(handle, levels));
        Window after;
        I_GetWindowROI(&after.left, &after.top, &after.right, &after.bottom);
        EXPECT_EQ(levels > 0 ? 0 : 1, I_GetROIType());
        if (levels > 0) {
            EXPECT_EQ((std::array{w.left, w.top, w.right, w.bottom}),
                      (std::array{after.left, after.top, after.right, after.bottom}));
        }
        const std::size_t bytes = vexaGlobalSize(handle);
        EXPECT_EQ(0, std::memcmp(vexaGlobalLock(expected), vexaGlobalLock(handle), bytes)) << round;
        vexaGlobalFree(handle);
        vexaGlobalFree(expected);
    }
}

TEST_F(DibContrastIndependent, InterlacesTwoFields)
{
    for (int32_t round = 0; round < 200; ++round) {
        const int32_t bits = std::array{8, 24, 32, 1}[static_cast<std::size_t>(round % 4)];
        Dib d = randomDib(random, bits, between(random, 1, 20), between(random, 1, 14));
        if (round % 7 == 0)
            d.rows = -d.rows;
        void* handle = handleOf(d);
        const int32_t rows = d.height(), first = between(random, -4, 9), second = between(random, -2, 9);
        EXPECT_EQ(handle, InterlaceDIB(handle, first, second));
        Dib old = d;
        const auto move = [&](int32_t from, int32_t to) {
            if (from >= 0 && from < rows && to >= 0 && to < rows)
                std::memcpy(d.row(to), old.row(from), static_cast<std::size_t>(d.stride()));
        };
        if (second >= 0) {
            d.pixels.assign(d.pixels.size(), 0);
            for (int32_t i = 0; i < rows - 1; i += 2) {
                const int32_t r = rows - i / 2;
                move(r - first - 1, rows - 1 - i);
                move(r - second - 1, rows - 2 - i);
            }
        } else {
            for (int32_t to = 1; to <= rows - 3; to += 2)
                move(to + 2, to);
        }
        SCOPED_TRACE(std::to_string(round));
        expectDib(d, handle);
    }
    EXPECT_EQ(nullptr, InterlaceDIB(nullptr, 0, 0));
    EXPECT_EQ(nullptr, SetDIBContrast(nullptr, 0, 0));
    EXPECT_EQ(nullptr, EqualizeDIBContrast(nullptr, 1));
    EXPECT_EQ(nullptr, I_NormalizeDIBLimited(nullptr, 1));
}

TEST_F(DibContrastIndependent, TurnsNoOtherRegionThanAWindow)
{
    const VexaPoint corners[4] = {{1, 1}, {9, 2}, {7, 6}, {2, 4}};
    const Dib d = randomDib(random, 24, 12, 10);
    void* handle = handleOf(d);
    void* expected = handleOf(d);
    Words table(256);
    for (int16_t& w : table)
        w = static_cast<int16_t>(random());
    const Bytes bytes = low(table);
    I_SetPolygonROI(corners, 4);
    I_SetROIType(2);
    const int32_t view = CreateDIBImage(expected);
    I_RGBLUTMap(view, view, bytes.data(), bytes.data(), bytes.data());
    I_ImClose(view);
    SetDIBPalette(handle, table.data(), table.data(), table.data());
    EXPECT_EQ(0, std::memcmp(vexaGlobalLock(expected), vexaGlobalLock(handle), vexaGlobalSize(handle)));
    EXPECT_EQ(2, I_GetROIType());
    VexaPoint after[4] = {};
    EXPECT_EQ(4, I_GetPolygonROI(after, 4));
    EXPECT_EQ(0, std::memcmp(corners, after, sizeof after));
    vexaGlobalFree(handle);
    vexaGlobalFree(expected);
}

TEST_F(DibContrastIndependent, TellsTheLevelsUnderTheDebugWord)
{
    static std::vector<std::string> boxes;
    VexaPlatform mine{};
    mine.size = sizeof mine;
    mine.messageBox = [](const char* text, const char*, int32_t, int32_t) {
        boxes.emplace_back(text);
        return int32_t{VEXA_ANSWER_OK};
    };
    vexaSetPlatform(&mine);
    Dib d = randomDib(random, 8, 10, 10);
    for (std::size_t i = 0; i < d.pixels.size(); ++i)
        d.pixels[i] = i % 2 ? 100 : 120;
    void* handle = handleOf(d);
    I_SetDebug(1);
    NormalizeDIBContrast(handle);
    I_SetDebug(0);
    vexaSetPlatform(nullptr);
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ("histrange=100 120 (20)", boxes[0]);
    vexaGlobalFree(handle);
}
