// Device-independent bitmaps and their files, byte by byte.
#include <random>

#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Bytes = std::vector<uint8_t>;

void put32(Bytes& b, std::size_t at, int32_t v)
{
    std::memcpy(&b[at], &v, 4);
}

int32_t get32(const Bytes& b, std::size_t at)
{
    int32_t v;
    std::memcpy(&v, &b[at], 4);
    return v;
}

int32_t strideOf(int32_t cols, int32_t bits)
{
    return (((bits * cols + 7) / 8) + 3) & ~3;
}

// Header, palette, rows.
Bytes dibBytes(int32_t cols, int32_t rows, int32_t bits, const Bytes& palette, const Bytes& pixels)
{
    Bytes b(40);
    put32(b, 0, 40);
    put32(b, 4, cols);
    put32(b, 8, rows);
    put32(b, 12, 1 | bits << 16);
    b.insert(b.end(), palette.begin(), palette.end());
    b.insert(b.end(), pixels.begin(), pixels.end());
    return b;
}

void* dibOf(const Bytes& b)
{
    void* handle = vexaGlobalAlloc(b.size());
    std::memcpy(vexaGlobalLock(handle), b.data(), b.size());
    vexaGlobalUnlock(handle);
    return handle;
}

Bytes contents(void* dib)
{
    const auto* p = static_cast<const uint8_t*>(vexaGlobalLock(dib));
    Bytes b(p, p + vexaGlobalSize(dib));
    vexaGlobalUnlock(dib);
    return b;
}

Bytes noise(Random& random, std::size_t n)
{
    Bytes b(n);
    for (uint8_t& v : b)
        v = static_cast<uint8_t>(random());
    return b;
}

Bytes ramp(int32_t colors, int32_t step)
{
    Bytes b;
    for (int32_t i = 0; i < colors; ++i)
        for (int32_t c = 0; c < 4; ++c)
            b.push_back(static_cast<uint8_t>(c == 3 ? 0 : i * step));
    return b;
}

TEST(IndependentDib, HeadersAreChecked)
{
    struct Fault {
        std::size_t at;
        int32_t value;
        const char* text;
    };
    const Fault faults[] = {
        {0, 64, "Corrupt DIB. biSize = 64, should be 40."},
        {12, 2 | 8 << 16, "Error: DIB has 2 planes"},
        {12, 1 | 16 << 16, "Error: DIB has 16 bit pixels. 8, 24, and 32 bits are allowed. Compression=0."},
        {16, 3, "Error: DIB has compression=3"}};
    for (const Fault& f : faults) {
        Bytes b = dibBytes(4, 4, 8, ramp(256, 1), Bytes(16));
        put32(b, f.at, f.value);
        void* dib = dibOf(b);
        clearError();
        EXPECT_EQ(nullptr, CheckDIB2(dib, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(1, I_GetError(nullptr, 0));
        EXPECT_EQ(f.text, errorText());
        vexaGlobalFree(dib);
    }
    EXPECT_EQ(nullptr, CheckDIB2(nullptr, nullptr, nullptr, nullptr, nullptr));
    for (const int32_t bits : {1, 8, 24, 32}) {
        const std::size_t palette = bits <= 8 ? 4U << bits : 0;
        void* dib = dibOf(
            dibBytes(5, -3, bits, Bytes(palette), Bytes(static_cast<std::size_t>(3 * strideOf(5, bits)))));
        int32_t cols = 0, rows = 0, stride = 0, depth = 0;
        const auto* pixels = static_cast<uint8_t*>(CheckDIB2(dib, &cols, &rows, &stride, &depth));
        ASSERT_NE(nullptr, pixels);
        EXPECT_EQ(40 + static_cast<std::ptrdiff_t>(palette),
                  pixels - static_cast<uint8_t*>(vexaGlobalLock(dib)));
        EXPECT_THAT((std::vector<int32_t>{cols, rows, stride, depth}),
                    testing::ElementsAre(5, -3, strideOf(5, bits), bits));
        vexaGlobalFree(dib);
    }
}

TEST(IndependentDib, CreationGivesAGreyRamp)
{
    for (const int32_t bits : {1, 4, 8, 16, 24, 32}) {
        int32_t stride = 0;
        void* pixels = nullptr;
        void* dib = CreateDIB2(5, 3, bits, &stride, &pixels);
        ASSERT_NE(nullptr, dib);
        EXPECT_EQ((((bits + 7) / 8) * 5 + 3) & ~3, stride);
        const Bytes b = contents(dib);
        const std::size_t palette = bits <= 8 ? 4U << bits : 0;
        EXPECT_EQ(40 + palette + 3 * static_cast<std::size_t>(stride), b.size());
        EXPECT_EQ(40, get32(b, 0));
        EXPECT_EQ(5, get32(b, 4));
        EXPECT_EQ(3, get32(b, 8));
        EXPECT_EQ(1 | bits << 16, get32(b, 12));
        for (std::size_t i = 16; i < 40; i += 4) {
            EXPECT_EQ(0, get32(b, i)) << i;
        }
        for (int32_t i = 0; i < static_cast<int32_t>(palette / 4); ++i)
            EXPECT_EQ(i * (256 / (1 << bits)) * 0x010101, get32(b, 40 + static_cast<std::size_t>(i) * 4));
        vexaGlobalFree(dib);
    }
    EXPECT_EQ(nullptr, CreateDIB(0, 3, 8, nullptr));
    EXPECT_EQ(nullptr, CreateDIB(3, 3, 33, nullptr));
}

TEST(IndependentDib, ImagesOfEveryDepth)
{
    Random random(5);
    for (int32_t round = 0; round < 200; ++round) {
        static const int32_t kBits[] = {1, 8, 24, 32};
        const int32_t bits = kBits[random() % 4], cols = between(random, 1, 40),
                      rows = between(random, 1, 12);
        const bool topDown = bits != 1 && between(random, 0, 1);
        const int32_t stride = strideOf(cols, bits);
        const bool gray = between(random, 0, 1);
        const Bytes palette = bits > 8            ? Bytes{}
                              : bits == 8 && gray ? ramp(256, 1)
                                                  : noise(random, 4U << bits);
        const Bytes pixels = noise(random, static_cast<std::size_t>(stride * rows));
        const Bytes block = dibBytes(cols, topDown ? -rows : rows, bits, palette, pixels);
        void* dib = dibOf(block);
        SCOPED_TRACE(std::to_string(cols) + "x" + std::to_string(rows) + " of " + std::to_string(bits) +
                     (topDown ? " down" : ""));
        const int32_t shrink = bits == 1 ? between(random, 1, 3) : 1;
        if (cols / shrink == 0 || rows / shrink == 0) {
            vexaGlobalFree(dib);
            continue;
        }
        const int32_t im =
            shrink > 1 ? I_CopyDIBtoImageShrink(dib, shrink, "note") : I_CopyDIBtoImageEx(dib, "note");
        ASSERT_LT(im, 0);
        char comment[20] = {};
        I_ImGetComment(comment, sizeof comment, im);
        if (bits > 1) {
            EXPECT_STREQ("note", comment);
        }
        EXPECT_EQ(0U, vexaGlobalSize(dib)) << "not consumed";
        EXPECT_EQ(bits <= 8 ? PIX_BYTE : bits == 24 ? PIX_BGR24 : PIX_BGR32, I_ImGetType(im));
        int32_t imCols = 0, imRows = 0;
        I_ImGetSize(&imCols, &imRows, nullptr, im);
        EXPECT_EQ(cols / shrink, imCols);
        EXPECT_EQ(rows / shrink, imRows);
        const Bytes got = bytesOf(im);
        const auto storedRow = [&](int32_t y) {
            return &pixels[static_cast<std::size_t>((topDown ? y : rows - 1 - y) * stride)];
        };
        for (int32_t y = 0; y < imRows; ++y) {
            for (int32_t x = 0; x < imCols; ++x) {
                if (bits == 1) {
                    int32_t sum = 0;
                    for (int32_t sy = 0; sy < shrink; ++sy)
                        for (int32_t sx = 0; sx < shrink; ++sx) {
                            const int32_t px = x * shrink + sx;
                            sum += palette[storedRow(rows - 1 - ((imRows - 1 - y) * shrink + sy))[px / 8] &
                                                   (128 >> px % 8)
                                               ? 6
                                               : 2];
                        }
                    ASSERT_EQ(sum / (shrink * shrink), got[static_cast<std::size_t>(y * imCols + x)])
                        << x << "," << y << " shrink " << shrink;
                } else {
                    const int32_t n = bits / 8;
                    for (int32_t c = 0; c < n; ++c)
                        ASSERT_EQ(storedRow(y)[x * n + c],
                                  got[static_cast<std::size_t>((y * imCols + x) * n + c)]);
                }
            }
        }
        Bytes kept(1024);
        if (bits == 8) {
            EXPECT_EQ(1, I_ImGetParam(kept.data(), 1024, 13, im));
            EXPECT_EQ(palette, kept);
        }
        I_ImClose(im);
        if (HasFailure())
            return;
    }
}

TEST(IndependentDib, ViewsShowThePaletteKind)
{
    for (const int32_t entry : {17, 18, 100, 229, 230}) {
        Bytes palette = ramp(256, 1);
        palette[static_cast<std::size_t>(entry) * 4 + 1] = 3; // its green is below the red before
        void* dib = dibOf(dibBytes(4, 4, 8, palette, Bytes(16)));
        const int32_t view = CreateDIBImage(dib);
        EXPECT_EQ(entry >= 18 && entry <= 229 ? PIX_PALETTE : PIX_BYTE, I_ImGetType(view)) << entry;
        int32_t inverted = 0;
        I_ImGetParam(&inverted, 4, 19, view);
        EXPECT_EQ(1, inverted);
        I_ImClose(view);
        vexaGlobalFree(dib);
    }
}

TEST(IndependentDib, PalettesAndDepths)
{
    Random random(6);
    const Bytes palette = noise(random, 1024), pixels = noise(random, 8 * 3);
    void* dib = dibOf(dibBytes(6, 3, 8, palette, pixels));
    void* wide = ConvertDIBto24(dib);
    ASSERT_NE(dib, wide);
    EXPECT_EQ(0U, vexaGlobalSize(dib));
    Bytes b = contents(wide);
    EXPECT_EQ(1 | 24 << 16, get32(b, 12));
    for (std::size_t y = 0; y < 3; ++y)
        for (std::size_t x = 0; x < 18; ++x)
            ASSERT_EQ(palette[4U * pixels[8 * y + x / 3] + x % 3], b[40 + y * 20 + x]);
    EXPECT_EQ(wide, I_MapDIBPalette(wide));
    vexaGlobalFree(wide);

    for (const bool topEqual : {true, false}) {
        Bytes near = ramp(256, 1);
        for (std::size_t i = 0; i < 252; ++i)
            near[4 * i] = static_cast<uint8_t>(near[4 * i] > 250 ? 250 : near[4 * i] + 4); // blue off by 4
        near[4 * 253 + 1] = static_cast<uint8_t>(topEqual ? near[4 * 253 + 2] : 7);
        dib = dibOf(dibBytes(6, 3, 8, near, pixels));
        EXPECT_EQ(dib, I_MapDIBPalette(dib));
        b = contents(dib);
        for (std::size_t i = 0; i < 24; ++i) {
            const std::size_t p = 4U * pixels[i];
            ASSERT_EQ((near[p] + near[p + 1] + near[p + 2]) / 3, b[40 + 1024 + i]);
        }
        for (std::size_t i = 0; i < 256; ++i)
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_EQ(topEqual || i < 252 ? i : near[4 * i + c], b[40 + 4 * i + c]) << i;
        vexaGlobalFree(dib);
    }
    Bytes far = ramp(256, 1);
    far[4 * 100] = 106; // more than 4 from red
    dib = dibOf(dibBytes(6, 3, 8, far, pixels));
    wide = I_MapDIBPalette(dib);
    EXPECT_NE(dib, wide);
    vexaGlobalFree(wide);

    // field pairs of an even and an odd number of rows
    for (const int32_t rows : {4, 5}) {
        for (const int32_t flag : {0, 1}) {
            Bytes lines;
            for (int32_t y = 0; y < rows; ++y)
                lines.insert(lines.end(), 4, static_cast<uint8_t>(y + 1));
            dib = dibOf(dibBytes(4, rows, 8, ramp(256, 1), lines));
            EXPECT_EQ(dib, DeflickerDIB(dib, flag));
            const int32_t used = rows % 2 ? !flag : flag;
            for (int32_t y = used; y + 1 < rows; y += 2) {
                const int32_t k = y - used; // pairs are taken from the first row on
                for (std::size_t x = 0; x < 4; ++x) {
                    const auto even = static_cast<std::size_t>(k * 4) + x, odd = even + 4;
                    if (used)
                        lines[even] = lines[odd];
                    else
                        lines[odd] = lines[even];
                }
            }
            b = contents(dib);
            EXPECT_TRUE(std::equal(lines.begin(), lines.end(), b.begin() + 1064)) << rows << " flag " << flag;
            vexaGlobalFree(dib);
        }
    }
    dib = dibOf(Bytes(50));
    uint8_t four[4] = {1, 2, 3, 4};
    EXPECT_EQ(1, CopyDIB(dib, four, 48, 4, 0));
    EXPECT_EQ(2, contents(dib)[49]);
    uint8_t back[4] = {9, 9, 9, 9};
    EXPECT_EQ(1, CopyDIB(dib, back, 47, 4, 1));
    EXPECT_THAT(back, testing::ElementsAre(0, 1, 2, 9));
    vexaGlobalFree(dib);
    EXPECT_EQ(0, CopyDIB(nullptr, four, 0, 4, 0));
}

TEST(IndependentDib, BoxesOfImages)
{
    Random random(7);
    for (int32_t round = 0; round < 200; ++round) {
        static const int32_t kTypes[] = {PIX_BYTE, PIX_BGR24, PIX_WORD, PIX_RGB24};
        const int32_t type = kTypes[random() % 4], cols = between(random, 1, 30),
                      rows = between(random, 1, 10);
        const Shape shape{
            cols, rows, type, between(random, 0, 1) == 1, false, false, static_cast<uint32_t>(random())};
        const Picture p = shape.open();
        int32_t x = between(random, -3, cols + 1), y = between(random, -3, rows + 1),
                w = between(random, -5, cols + 3), h = between(random, -4, rows + 3);
        void* dib = I_CopyBoxToDIB(x, y, w, h, p.im);
        x = std::max(x, 0);
        y = std::max(y, 0);
        const auto size = [](int32_t given, int32_t left) {
            int32_t n = given < 1 ? given + left : given;
            n = n < 1 ? left : n;
            return std::min(n, left);
        };
        w = size(w, cols - x);
        h = size(h, rows - y);
        SCOPED_TRACE(tell(shape) + " " + std::to_string(x) + "," + std::to_string(y) + " " +
                     std::to_string(w) + "x" + std::to_string(h));
        if (w < 1 || h < 1) {
            EXPECT_EQ(nullptr, dib);
            p.close();
            continue;
        }
        ASSERT_NE(nullptr, dib);
        const Bytes b = contents(dib);
        const int32_t bits = type < 13 ? 8 : 24, n = bits / 8;
        EXPECT_EQ(w, get32(b, 4));
        EXPECT_EQ(h, get32(b, 8));
        EXPECT_EQ(1 | bits << 16, get32(b, 12));
        const std::size_t start = 40 + (bits == 8 ? 1024U : 0U);
        Bytes plainRow(static_cast<std::size_t>(w * n));
        for (int32_t r = 0; r < h; ++r) {
            I_GetBlockType(x, y + r, w, 1, plainRow.data(), p.im, bits == 8 ? PIX_BYTE : PIX_BGR24);
            ASSERT_TRUE(
                std::equal(plainRow.begin(), plainRow.end(),
                           b.begin() + static_cast<std::ptrdiff_t>(start) + (h - 1 - r) * strideOf(w, bits)))
                << "row " << r;
        }
        // and back again
        const int32_t into = I_ImOpen(cols, rows, type);
        EXPECT_EQ(1, SetWindowBitmap(x, y, into, dib));
        I_GetBlockType(x, y, w, 1, plainRow.data(), p.im, bits == 8 ? PIX_BYTE : PIX_BGR24);
        Bytes other(plainRow.size());
        I_GetBlockType(x, y, w, 1, other.data(), into, bits == 8 ? PIX_BYTE : PIX_BGR24);
        EXPECT_EQ(plainRow, other);
        EXPECT_EQ(0, SetWindowBitmap(-1, 0, into, dib));
        I_ImClose(into);
        vexaGlobalFree(dib);
        p.close();
        if (HasFailure())
            return;
    }
}

TEST(IndependentDib, FilesByteByByte)
{
    Random random(8);
    const TempFile file(".bmp");
    for (int32_t round = 0; round < 120; ++round) {
        static const int32_t kTypes[] = {PIX_BYTE, PIX_BGR24, PIX_BYTE, PIX_RGB24};
        const int32_t type = kTypes[random() % 4], cols = between(random, 1, 20),
                      rows = between(random, 1, 8);
        const int32_t im = I_ImOpen(cols, rows, type);
        fillRandomly(im, random);
        SCOPED_TRACE(std::to_string(type) + " " + std::to_string(cols) + "x" + std::to_string(rows));
        EXPECT_EQ(rows, I_WriteBMP(file.name(), im));
        const Bytes b = bytesOfFile(file.name());
        const int32_t bits = type == PIX_BYTE ? 8 : 24, stride = strideOf(cols, bits);
        const auto offset = static_cast<std::size_t>(54 + (bits == 8 ? 1024 : 0));
        ASSERT_EQ(offset + static_cast<std::size_t>(stride * rows), b.size());
        EXPECT_EQ('B', b[0]);
        EXPECT_EQ('M', b[1]);
        EXPECT_EQ(static_cast<int32_t>(b.size()), get32(b, 2));
        EXPECT_EQ(0, get32(b, 6));
        EXPECT_EQ(static_cast<int32_t>(offset), get32(b, 10));
        EXPECT_EQ(40, get32(b, 14));
        EXPECT_EQ(cols, get32(b, 18));
        const bool straight =
            (type == PIX_BYTE || type == PIX_BGR24) && I_ImGetStride(im) == ((cols + 3) & ~3);
        EXPECT_EQ(straight ? -rows : rows, get32(b, 22));
        EXPECT_EQ(1 | bits << 16, get32(b, 26));
        EXPECT_EQ(0, get32(b, 30));
        EXPECT_EQ(stride * rows, get32(b, 34));
        EXPECT_EQ(0, get32(b, 38));
        EXPECT_EQ(0, get32(b, 42));
        const int32_t read = I_ReadBMP(file.name());
        EXPECT_EQ(type == PIX_BYTE ? PIX_BYTE : PIX_BGR24, I_ImGetType(read));
        Bytes want(static_cast<std::size_t>(cols * rows * bits / 8)), got(want);
        I_GetBlockTypeEx(0, 0, cols, rows, want.data(), im, bits == 8 ? PIX_BYTE : PIX_BGR24, 0);
        I_GetBlockTypeEx(0, 0, cols, rows, got.data(), read, bits == 8 ? PIX_BYTE : PIX_BGR24, 0);
        EXPECT_EQ(want, got);
        closeImages({im, read});
        if (HasFailure())
            return;
    }
    // 4 bits: only as a bitmap; the resolution is that of x for both
    Bytes four = dibBytes(5, 2, 4, ramp(16, 17), Bytes{0x12, 0x34, 0x50, 0, 0x67, 0x89, 0xA0, 0});
    put32(four, 24, 3000);
    put32(four, 28, 4000);
    Bytes content(14);
    content[0] = 'B';
    content[1] = 'M';
    put32(content, 10, 54 + 64);
    content.insert(content.end(), four.begin(), four.end());
    file.write(content);
    clearError();
    EXPECT_EQ(0, I_ReadBMP(file.name()));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(std::string("Error: ") + file.name() + " has 4 bit pixels. 8, 24, and 32 bits are allowed.",
              errorText());
    int32_t x = 0, y = 0;
    EXPECT_EQ(3000, I_GetBMPPixPerMeter(&x, &y));
    EXPECT_EQ(3000, y);
    void* dib = I_ReadBMPtoDIB(file.name());
    ASSERT_NE(nullptr, dib);
    vexaGlobalFree(dib);
    content[1] = 'A';
    file.write(content);
    clearError();
    EXPECT_EQ(0, I_ReadBMP(file.name()));
    EXPECT_EQ("Invalid BMP file.", errorText());
    clearError();
    EXPECT_EQ(0, I_WriteDIBtoBMP("/nowhere/x.bmp", dibOf(dibBytes(1, 1, 24, {}, Bytes(4)))));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/nowhere/x.bmp)", errorText());
}

} // namespace
