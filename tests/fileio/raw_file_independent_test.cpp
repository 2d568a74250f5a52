// Raw files byte by byte, and the reader that takes them or a TIFF.
#include <unistd.h>

#include <random>

#include "support/buffer.h"
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Bytes = std::vector<uint8_t>;

int64_t available = 0;

int64_t availableBytes()
{
    return available;
}

class RawIndependent : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    void TearDown() override
    {
        I_ImSetMemType(0);
        I_ImCloseAll();
        vexaSetPlatform(nullptr);
    }
    const TempFile file{".raw"};
    std::string name() const { return file.name(); }
};

void add32(Bytes& b, int32_t v)
{
    for (int32_t shift = 0; shift < 32; shift += 8)
        b.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> shift));
}

Bytes header(int32_t cols, int32_t rows, int32_t stride, int32_t pixBytes, int32_t type,
             const std::string& comment)
{
    Bytes b;
    for (const int32_t v : {cols, rows, stride, pixBytes, type})
        add32(b, v);
    b.insert(b.end(), comment.begin(), comment.end());
    b.resize(52);
    return b;
}

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes counting(int32_t n)
{
    Bytes bytes(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i)
        bytes[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i * 7 + 1);
    return bytes;
}

std::string commentOf(int32_t im)
{
    char text[400] = {};
    I_ImGetComment(text, sizeof text, im);
    return text;
}

std::string illegal(const std::string& name, const char* numbers)
{
    return "Illegal raw file header in " + name + " (" + numbers + ")";
}

// A little-endian TIFF of entries (tag, type, count, value), with what follows the directory.
Bytes tiff(const std::vector<std::array<int32_t, 4>>& entries, const Bytes& tail)
{
    Bytes b{'I', 'I', 42, 0, 8, 0, 0, 0, static_cast<uint8_t>(entries.size()), 0};
    for (const auto& [tag, type, count, value] : entries) {
        for (const int32_t v : {tag, type}) {
            b.push_back(static_cast<uint8_t>(v));
            b.push_back(static_cast<uint8_t>(v >> 8));
        }
        add32(b, count);
        add32(b, value);
    }
    add32(b, 0);
    return b + tail;
}

} // namespace

TEST_F(RawIndependent, WritesItsHeader)
{
    const std::string longest = "0123456789012345678901234567890123456789";
    FILE* f = writerawheader(file.name(), 7, 5, 14, 0, PIX_WORD, longest.c_str());
    ASSERT_NE(nullptr, f);
    EXPECT_EQ(52, std::ftell(f));
    std::fclose(f);
    EXPECT_EQ(header(7, 5, 14, 2, PIX_WORD, longest.substr(0, 31)), bytesOfFile(file.name()));
    f = writerawheader(file.name(), -7, 0, 1, 9, 55, "ab");
    std::fclose(f);
    EXPECT_EQ(header(-7, 0, 1, 9, 55, "ab"), bytesOfFile(file.name()));
    EXPECT_EQ(nullptr, writerawheader("/no/such/x.raw", 1, 1, 1, 1, 1, ""));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/x.raw): No such file or directory", errorText());
}

TEST_F(RawIndependent, ReadsItsHeader)
{
    file.write(header(7, 5, 14, 2, 3, std::string(32, 'c')) + Bytes{77});
    int32_t cols = 0, rows = 0, stride = 0, bytes = 0, type = 0;
    char comment[33];
    std::memset(comment, '#', sizeof comment);
    FILE* f = readrawheader(file.name(), &cols, &rows, &stride, &bytes, &type, comment);
    ASSERT_NE(nullptr, f);
    EXPECT_EQ(52, std::ftell(f));
    EXPECT_EQ(77, std::fgetc(f));
    std::fclose(f);
    EXPECT_EQ((std::vector<int32_t>{7, 5, 14, 2, 3}),
              (std::vector<int32_t>{cols, rows, stride, bytes, type}));
    EXPECT_EQ(std::string(31, 'c'), std::string(comment, 31));
    EXPECT_EQ('#', comment[32]);
    f = readrawheader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, f);
    std::fclose(f);
    file.write(Bytes(51));
    EXPECT_EQ(nullptr, readrawheader(file.name(), &cols, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("readrawheader: Bad raw header", errorText());
    EXPECT_EQ(nullptr, readrawheader("/no/such/x.raw", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/x.raw): No such file or directory", errorText());
}

TEST_F(RawIndependent, WritesImagesAsTheyLie)
{
    const int32_t im = image(5, 3, PIX_WORD, [](int32_t x, int32_t y) { return 300 * y + x; });
    I_ImSetComment("a comment of more than thirty-one characters", im);
    EXPECT_EQ(1, I_WriteRawFile(file.name(), im));
    Bytes expected = header(5, 3, 16, 2, PIX_WORD, "a comment of more than thirty-o");
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 8; ++x) {
            const int32_t v = x < 5 ? 300 * y + x : 0;
            expected = expected + Bytes{static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8)};
        }
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    const int32_t window = I_ImOpenSubimage(2, 1, 3, 2, im); // the distance of rows is the parent's
    I_ImSetComment("w", window);
    EXPECT_EQ(1, I_WriteRawFile(file.name(), window));
    Bytes part = header(3, 2, 16, 2, PIX_WORD, "w") + Bytes(expected.begin() + 52 + 16 + 4, expected.end());
    part.resize(52 + 32);
    EXPECT_EQ(part, bytesOfFile(file.name()));
    I_ImClose(window);
    I_ImInvertRows(im); // the same picture, stored the other way round
    EXPECT_EQ(1, I_WriteRawFile(file.name(), im));
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    I_ImClose(im);
    const int32_t inFile = I_ImOpenFile(3, 2, 8, PIX_BYTE, nullptr); // rows come packed
    const uint8_t pixels[6] = {1, 2, 3, 4, 5, 6};
    I_PutBlockType(0, 0, 3, 2, pixels, inFile, PIX_BYTE);
    EXPECT_EQ(1, I_WriteRawFile(file.name(), inFile));
    EXPECT_EQ(header(3, 2, 8, 1, PIX_BYTE, "") + Bytes(pixels, pixels + 6), bytesOfFile(file.name()));
    const int32_t odd = I_ImOpenSpecial(2, 1, 11, 60, 0, 0); // an application's own type
    EXPECT_EQ(1, I_WriteRawFile(file.name(), odd));
    EXPECT_EQ(header(2, 1, 24, 11, 60, "") + Bytes(24), bytesOfFile(file.name()));
    EXPECT_EQ(0, I_WriteRawFile("/no/such/x.raw", odd));
    EXPECT_EQ("(/no/such/x.raw): No such file or directory", errorText());
    EXPECT_EQ(0, I_WriteRawFile("/dev/full", odd));
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_WriteRawFile("/dev/full", noiseImage(700, 700, 1)));
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    clearError();
    EXPECT_EQ(0, I_WriteRawFile(file.name(), -77));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(3, I_ImCount());
}

TEST_F(RawIndependent, ReadsBackWhatItWrote)
{
    Random random(8);
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX,
                               PIX_DCOMPLEX, PIX_PALETTE, PIX_BGR15, PIX_BGR24, PIX_RGB32, PIX_PLANAR}) {
        for (const int32_t memory : {0, 8}) {
            const int32_t cols = between(random, 1, 30), rows = between(random, 1, 20);
            const int32_t im = image(cols, rows, type, [&](int32_t, int32_t) { return random() % 256; });
            I_ImSetComment("thirty-one characters, no more!", im);
            EXPECT_EQ(1, I_WriteRawFile(file.name(), im));
            I_ImSetMemType(memory);
            clearError();
            const int32_t back = I_ReadImageFile(file.name());
            I_ImSetMemType(0);
            ASSERT_NE(0, back);
            EXPECT_EQ(0, I_GetError(nullptr, 0)) << errorText();
            EXPECT_EQ(type, I_ImGetType(back));
            EXPECT_EQ(I_ImGetStride(im), I_ImGetStride(back));
            EXPECT_EQ(memory ? name() : "thirty-one characters, no more!", commentOf(back));
            const auto size = static_cast<std::size_t>(cols * rows * I_ImTypeBytes(type));
            Bytes got(size);
            I_GetBlockType(0, 0, cols, rows, got.data(), back, type);
            EXPECT_EQ(bytesOf(im), got) << type << ' ' << memory;
            double low = 0, high = 0, min = 0, max = 0;
            I_GetPixValueRange(&low, &high, back);
            if (memory && type >= 2 && type <= 11)
                I_ImGetRange(&min, &max, im);
            EXPECT_EQ(min, low) << type << ' ' << memory;
            EXPECT_EQ(max, high) << type << ' ' << memory;
            closeImages({im, back});
        }
    }
}

TEST_F(RawIndependent, TakesLegalHeadersOnly)
{
    struct Case {
        int32_t cols, rows, stride, bytes, type;
        const char* numbers; // of the refusal, or null
        int32_t imageType = 0, imageStride = 0;
    };
    const Case cases[] = {
        {0, 2, 4, 1, 1, "0 x 2 x 1 stride=4"},
        {2, 0, 4, 1, 1, "2 x 0 x 1 stride=4"},
        {-3, 2, 4, 1, 1, "-3 x 2 x 1 stride=4"},
        {2, 2, 4, 0, 1, "2 x 2 x 0 stride=4"},
        {2, 2, -4, 33, 1, "2 x 2 x 33 stride=-4"},
        {2, 2, 4, 1, -1, "2 x 2 x 1 stride=4"},
        {2, 2, 4, 1, 101, "2 x 2 x 1 stride=4"},
        {2, 2, 6, 3, 0, nullptr, PIX_RGB24, 6},
        {2, 2, 4, 2, 0, nullptr, PIX_WORD, 4},
        {2, 2, 5, 1, 0, nullptr, PIX_BYTE, 5},
        {4, 3, 0, 1, PIX_WORD, nullptr, PIX_WORD, 8}, // the type counts, not pixBytes
        {4, 3, 3, 32, PIX_FLOAT, nullptr, PIX_FLOAT, 16},
        {4, 3, 4, 2, PIX_WORD, nullptr, PIX_WORD, 4}, // too short for its rows, but not below cols
        {4, 3, -1, 1, 100, nullptr, 100, 4},
    };
    for (const Case& c : cases) {
        const Bytes pixels = counting(60);
        file.write(header(c.cols, c.rows, c.stride, c.bytes, c.type, "it") + pixels);
        clearError();
        const int32_t im = I_ReadImageFile(file.name());
        SCOPED_TRACE(std::to_string(&c - cases));
        if (c.numbers) {
            EXPECT_EQ(0, im);
            EXPECT_EQ(32, I_GetError(nullptr, 0));
            EXPECT_EQ(illegal(name(), c.numbers), errorText());
            continue;
        }
        ASSERT_NE(0, im);
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        EXPECT_EQ(c.imageType, I_ImGetType(im));
        EXPECT_EQ(c.imageStride, I_ImGetStride(im));
        EXPECT_EQ("it", commentOf(im));
        const auto* p = static_cast<const uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, im));
        EXPECT_EQ(0, std::memcmp(p, pixels.data(), static_cast<std::size_t>(c.imageStride * c.rows)));
        I_ImClose(im);
    }
    EXPECT_EQ(0, I_ImCount());
    file.write(Bytes(51, 'x'));
    EXPECT_EQ(0, I_ReadImageFile(file.name()));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("readrawheader: Bad raw header", errorText());
    EXPECT_EQ(0, I_ReadImageFile("/no/such/file"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/file): No such file or directory", errorText());
    file.write(header(4, 2, 4, 1, 1, "") + counting(6)); // two pixels are missing
    const int32_t im = I_ReadImageFile(file.name());
    ASSERT_NE(0, im);
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ(counting(6) + Bytes(2), bytesOf(im));
}

TEST_F(RawIndependent, TakesTiffFilesFirst)
{
    const Bytes pixels = counting(36);
    for (const int32_t samples : {1, 2, 3, 4}) {
        const int32_t at = 8 + 2 + 7 * 12 + 4;
        file.write(tiff({{256, 3, 1, 5},
                         {257, 3, 1, 2},
                         {258, 3, 1, 8},
                         {262, 3, 1, 0},
                         {270, 2, 8, at},
                         {273, 4, 1, at + 8},
                         {277, 3, 1, samples}},
                        Bytes{'t', 'h', 'e', ' ', 't', 'e', 'x', 0} + pixels));
        const int32_t im = I_ReadImageFile(file.name());
        ASSERT_NE(0, im);
        EXPECT_EQ(samples == 2 ? PIX_WORD : samples == 3 ? PIX_RGB24 : PIX_BYTE, I_ImGetType(im));
        const int32_t bytes = samples == 4 ? 1 : samples;
        EXPECT_EQ(5 * bytes, I_ImGetStride(im));
        EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 10 * bytes),
                  bytesOf(im)); // never turned to negative
        EXPECT_EQ("the tex", commentOf(im));
        I_ImClose(im);
    }
    Bytes words; // entry i: red i, green 255 - i, blue 2i
    for (int32_t band = 0; band < 3; ++band)
        for (int32_t i = 0; i < 256; ++i)
            words = words + Bytes{9, static_cast<uint8_t>(band == 0 ? i : band == 1 ? 255 - i : 2 * i)};
    const int32_t at = 8 + 2 + 6 * 12 + 4;
    file.write(tiff({{256, 3, 1, 5},
                     {257, 3, 1, 2},
                     {258, 3, 1, 8},
                     {262, 3, 1, 3},
                     {273, 4, 1, at + 1536},
                     {320, 3, 768, at}},
                    words + pixels));
    const int32_t im = I_ReadImageFile(file.name());
    EXPECT_EQ(PIX_PALETTE, I_ImGetType(im));
    EXPECT_EQ(name(), commentOf(im));
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 10), bytesOf(im));
    Bytes palette(1024);
    EXPECT_EQ(1, I_ImGetParam(palette.data(), 1024, 13, im));
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(static_cast<uint8_t>(2 * i), palette[4 * i]);
        EXPECT_EQ(255 - i, palette[4 * i + 1]);
        EXPECT_EQ(i, palette[4 * i + 2]);
    }
    double low = 1, high = 1;
    I_GetPixValueRange(&low, &high, im);
    EXPECT_EQ(0.0, low);
    EXPECT_EQ(0.0, high);
}

TEST_F(RawIndependent, MovesWindowsOfOpenFiles)
{
    const int32_t im = byteImage(5, 4, [](int32_t x, int32_t y) { return 10 * y + x + 1; });
    file.write(Bytes(40, 200));
    FILE* f = std::fopen(file.name(), "r+b");
    std::fseek(f, 3, SEEK_SET);
    EXPECT_EQ(1, fwritewindow(f, -1, 2, 1, 6, 3, im)); // a picture of 6 x 3 from byte 3 on
    Bytes expected(40, 200);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 4; ++x)
            expected[static_cast<std::size_t>(3 + 6 * (y + 1) + x + 2)] =
                static_cast<uint8_t>(10 * y + x + 1);
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    const int32_t target = byteImage(5, 4);
    f = std::fopen(file.name(), "rb");
    std::fseek(f, 3, SEEK_SET);
    EXPECT_EQ(1, freadwindow(f, -1, 3, 1, 6, 3, target));
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(x >= 3 && y >= 1 ? expected[static_cast<std::size_t>(3 + 6 * (y - 1) + x - 3)] : 0,
                      pixel(target, x, y));
    f = std::fopen(file.name(), "w+b");
    EXPECT_EQ(1, fwritewindow(f, PIX_WORD, 0, 0, 5, 4, im)); // bytes become words
    f = std::fopen(file.name(), "rb");
    EXPECT_EQ(1, freadwindow(f, PIX_WORD, 0, 0, 5, 4, target));
    EXPECT_EQ(bytesOf(im), bytesOf(target));
    EXPECT_EQ(40u, bytesOfFile(file.name()).size());
    EXPECT_EQ(2, I_ImCount());
    EXPECT_EQ(0, fwritewindow(nullptr, -1, 0, 0, 5, 4, im));
    EXPECT_EQ(0, freadwindow(nullptr, -1, 0, 0, 5, 4, im));
}

TEST_F(RawIndependent, MakesBuffersOfWholeRows)
{
    VexaPlatform mine{};
    mine.size = sizeof mine;
    mine.availableMemory = availableBytes;
    vexaSetPlatform(&mine);
    struct Case {
        int64_t available;
        int32_t rowBytes, rows, size;
    };
    for (const Case& c :
         {Case{10240, 100, 102, 10200}, Case{10240, 100, 103, 10200}, Case{10240, 1024, 10, 10240},
          Case{10240, 1024, 11, 10240}, Case{10240, 20000, 4, 20000}, Case{0, 10, 4, 10},
          Case{int64_t{3} << 30, 0x100000, 32, 0x2000000}, Case{int64_t{3} << 30, 0x100000, 33, 0x2000000},
          Case{int64_t{3} << 30, 0x100001, 33, 31 * 0x100001},
          Case{int64_t{3} << 30, 1000, 70000, 33554000}}) {
        available = c.available;
        int32_t size = -1;
        void* buffer = I_MakeRowBuffer(c.rowBytes, c.rows, &size);
        ASSERT_NE(nullptr, buffer);
        EXPECT_EQ(c.size, size) << c.rowBytes << ' ' << c.rows;
        std::memset(buffer, 1, static_cast<std::size_t>(size));
        std::free(buffer);
    }
    int32_t size = -1;
    clearError();
    EXPECT_EQ(nullptr, I_MakeRowBuffer(0, 7, &size));
    EXPECT_EQ(46, I_GetError(nullptr, 0));
    EXPECT_EQ("I_MakeRowBuffer(0,7,0)", errorText());
    EXPECT_EQ(nullptr, I_MakeRowBuffer(7, 0, &size));
    EXPECT_EQ("I_MakeRowBuffer(7,0,0)", errorText());
    size = -1;
    forEachFailingAllocation(
        [&] {
            void* buffer = I_MakeRowBuffer(12, 34, &size);
            std::free(buffer);
            return buffer != nullptr;
        },
        [&](int64_t) {
            EXPECT_EQ(0, size);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_EQ(0u, errorText().find("Memory allocation failed: I_MakeRowBuffer(12x34): "));
        });
    EXPECT_EQ(1, I_DisableIPL(0));
    EXPECT_EQ(1, I_DisableIPL(77));
}

TEST_F(RawIndependent, TakesTiffFilesIntoFilesToo)
{
    Bytes pixels(30); // words that rise and stay positive
    for (std::size_t i = 0; i < 30; ++i)
        pixels[i] = static_cast<uint8_t>(3 * i + 1);
    for (const int32_t samples : {1, 2, 3}) {
        const int32_t at = 8 + 2 + 5 * 12 + 4;
        file.write(
            tiff({{256, 3, 1, 5}, {257, 3, 1, 2}, {270, 2, 8, at}, {273, 4, 1, at + 8}, {277, 3, 1, samples}},
                 Bytes{'t', 'h', 'e', ' ', 't', 'e', 'x', 0} + pixels));
        I_ImSetMemType(8);
        const int32_t im = I_ReadImageFile(file.name());
        I_ImSetMemType(0);
        ASSERT_NE(0, im);
        Bytes got(static_cast<std::size_t>(10 * samples));
        I_GetBlockType(0, 0, 5, 2, got.data(), im, I_ImGetType(im));
        EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 10 * samples), got);
        EXPECT_EQ(name(), commentOf(im));
        double low = -1, high = -1;
        I_GetPixValueRange(&low, &high, im);
        EXPECT_EQ(samples == 2 ? pixels[0] + 256 * pixels[1] : 0, low);
        EXPECT_EQ(samples == 2 ? pixels[18] + 256 * pixels[19] : 0, high);
        I_ImClose(im);
    }
}
