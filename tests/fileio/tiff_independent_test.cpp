// TIFF files: the written layout byte by byte against a plain builder, headers of other writers, windows, scaling.
#include <array>
#include <cmath>

#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"
#include "vexalib/calibration.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Bytes = std::vector<uint8_t>;

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes number(uint32_t v, std::size_t bytes, bool big = false)
{
    Bytes b;
    for (std::size_t i = 0; i < bytes; ++i)
        b.push_back(static_cast<uint8_t>(v >> 8 * (big ? bytes - 1 - i : i)));
    return b;
}

struct Tables {
    Bytes red = Bytes(256), green = Bytes(256), blue = Bytes(256);
    VexaTiffPalette palette() { return {red.data(), green.data(), blue.data()}; }
};

Tables someTables()
{
    Tables t;
    for (std::size_t i = 0; i < 256; ++i) {
        t.red[i] = static_cast<uint8_t>(255 - i);
        t.green[i] = static_cast<uint8_t>(i * 3);
        t.blue[i] = static_cast<uint8_t>(i / 2 + 7);
    }
    return t;
}

// What the writer makes: header block, values behind it, a gap, pixels.
Bytes written(int32_t width, int32_t height, const std::string& comment, const Tables* palette, bool rgb,
              const Bytes& pixels)
{
    Bytes entries, values;
    uint32_t n = 0;
    const auto entry = [&](uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
        entries = entries + number(tag, 2) + number(type, 2) + number(count, 4) + number(value, 4);
        ++n;
    };
    const auto w = static_cast<uint32_t>(width), h = static_cast<uint32_t>(height), samples = rgb ? 3u : 1u;
    uint32_t base = 182;
    entry(254, 4, 1, 1);
    entry(256, 3, 1, w);
    entry(257, 3, 1, h);
    if (rgb) {
        entry(258, 3, 3, 182);
        values = number(8, 2) + number(8, 2) + number(8, 2);
        base = 188;
    } else {
        entry(258, 3, 1, 8);
    }
    entry(259, 3, 1, 1);
    entry(262, 3, 1, rgb ? 2 : palette ? 3 : 1);
    if (!comment.empty()) {
        entry(270, 2, static_cast<uint32_t>(comment.size()), base);
        values = values + Bytes(comment.begin(), comment.end());
        values.resize((values.size() + 1) / 2 * 2);
        base = 182 + static_cast<uint32_t>(values.size());
    }
    const uint32_t data = base + (palette ? 3088 : 16);
    entry(273, 4, 1, data);
    entry(277, 3, 1, samples);
    entry(278, 3, 1, h);
    entry(279, 4, 1, samples * w * h);
    entry(282, 5, 1, base);
    entry(283, 5, 1, base + 8);
    values = values + number(w, 4) + number(1500, 4) + number(h, 4) + number(1500, 4);
    if (rgb)
        entry(284, 3, 1, 1);
    entry(296, 3, 1, 2);
    if (palette) {
        entry(320, 3, 768, base + 16);
        for (const Bytes* table : {&palette->red, &palette->green, &palette->blue})
            for (const uint8_t v : *table)
                values = values + number(uint32_t{v} << 8, 2);
    }
    Bytes file = Bytes{'I', 'I', 42, 0, 8, 0, 0, 0} + number(n, 2) + entries + number(0, 4);
    EXPECT_LE(file.size(), 182u);
    file.resize(182);
    file = file + values;
    file.resize(data);
    return file + pixels;
}

struct Entry {
    uint32_t tag, type;
    std::vector<uint32_t> values;
    uint32_t bytes() const { return type == 3 ? 2 : type == 2 ? 1 : 4; }
};

// A file as others write it: directory, values that do not fit an entry, pixels, whose place becomes the value of 273.
Bytes foreign(std::vector<Entry> entries, const Bytes& pixels, bool big)
{
    const auto at = static_cast<uint32_t>(8 + 2 + 12 * entries.size() + 4);
    const auto layOut = [&](uint32_t pixelsAt) {
        Bytes directory = number(static_cast<uint32_t>(entries.size()), 2, big), behind;
        for (Entry& e : entries) {
            if (e.tag == 273)
                e.values[0] = pixelsAt;
            Bytes value;
            for (const uint32_t v : e.values)
                value = value + number(v, e.bytes(), big);
            if (value.size() > 4) {
                const Bytes place = number(at + static_cast<uint32_t>(behind.size()), 4, big);
                behind = behind + value;
                value = place;
            }
            value.resize(4);
            directory = directory + number(e.tag, 2, big) + number(e.type, 2, big) +
                        number(static_cast<uint32_t>(e.values.size()), 4, big) + value;
        }
        return (big ? Bytes{'M', 'M', 0, 42} : Bytes{'I', 'I', 42, 0}) + number(8, 4, big) + directory +
               number(0, 4) + behind;
    };
    return layOut(static_cast<uint32_t>(layOut(0).size())) + pixels;
}

struct Header {
    bool opened = false;
    int32_t width = -1, height = -1, bits = -1, samples = -1, inverted = -1;
    long at = -1;
};

Header readHeader(const char* name, VexaTiffPalette* palette = nullptr)
{
    Header h;
    clearError();
    if (FILE* f =
            I_ReadTiffHeader(name, &h.width, &h.height, &h.bits, nullptr, nullptr, palette, &h.samples)) {
        h.opened = true;
        h.at = std::ftell(f);
        std::fclose(f);
        if (FILE* again =
                I_ReadStdTiffHeader(name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &h.inverted))
            std::fclose(again);
    }
    return h;
}

class TiffIndependent : public testing::Test
{
protected:
    void SetUp() override
    {
        clearError();
        std::remove(file.name());
    }
    void TearDown() override
    {
        I_SetTiffColorModes(0, 0, 0);
        I_SetColorProcMode(3);
        I_SetColorBand(-2);
        I_ImCloseAll();
    }
    void writeHeader(int32_t width, int32_t height, const char* comment, int32_t length,
                     const VexaTiffPalette* palette, const Bytes& pixels) const
    {
        FILE* f = I_WriteTiffHeader(file.name(), width, height, comment, length, palette);
        ASSERT_NE(nullptr, f);
        std::fwrite(pixels.data(), 1, pixels.size(), f);
        std::fclose(f);
    }
    const TempFile file{".tif"};
    std::string name() const { return file.name(); }
};

Bytes counting(std::size_t n)
{
    Bytes bytes(n);
    for (std::size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<uint8_t>(i * 7 + 1);
    return bytes;
}

} // namespace

TEST_F(TiffIndependent, WritesItsLayout)
{
    Tables tables = someTables();
    const VexaTiffPalette palette = tables.palette(), none{};
    const Bytes pixels = counting(36);
    const Bytes grey(pixels.begin(), pixels.begin() + 12);
    struct Case {
        bool rgb;
        const char* comment;
        int32_t length;
        const VexaTiffPalette* palette;
    };
    for (const Case& c :
         {Case{false, nullptr, 0, nullptr}, Case{false, "odd", 3, &none}, Case{false, "even", 4, nullptr},
          Case{false, nullptr, 0, &palette}, Case{true, nullptr, 0, nullptr}}) {
        std::remove(file.name());
        I_SetTiffColorModes(c.rgb, 0, 0);
        const Bytes& data = c.rgb ? pixels : grey;
        writeHeader(4, 3, c.comment, c.length, c.palette, data);
        const Bytes expected =
            written(4, 3, c.comment ? c.comment : "", c.palette == &palette ? &tables : nullptr, c.rgb, data);
        EXPECT_EQ(expected, bytesOfFile(file.name()));
    }
    EXPECT_EQ(182u + 16 + 12, written(4, 3, "", nullptr, false, grey).size());
    EXPECT_EQ(182u + 3088 + 12, written(4, 3, "", &tables, false, grey).size());
    std::remove(file.name());
    for (const bool rgb : {false, true}) {
        I_SetTiffColorModes(rgb, 0, 0);
        clearError();
        EXPECT_EQ(nullptr, I_WriteTiffHeader(file.name(), 4, 3, "text", 4, rgb ? nullptr : &palette));
        EXPECT_EQ(36, I_GetError(nullptr, 0));
        EXPECT_EQ("TIFF_TOO_MANY_IFDS", errorText());
    }
    EXPECT_EQ(nullptr, I_WriteTiffHeader("/no/such/x.tif", 4, 3, nullptr, 0, nullptr));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/x.tif)", errorText());
}

TEST_F(TiffIndependent, WritesIntoAnOldFile)
{
    file.write(Bytes(5000, 0xEE));
    writeHeader(4, 3, nullptr, 0, nullptr, Bytes(12, 1));
    Bytes expected = written(4, 3, "", nullptr, false, Bytes(12, 1));
    expected.resize(5000, 0xEE);
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    Tables tables = someTables();
    const VexaTiffPalette palette = tables.palette();
    file.write(Bytes(5000, 0xEE));
    writeHeader(4, 3, nullptr, 0, &palette, Bytes(12, 1));
    expected = written(4, 3, "", &tables, false, Bytes(12, 1));
    std::fill_n(expected.begin() + 182 + 16 + 1536, 1536, 0xEE); // the gap is not written
    expected.resize(5000, 0xEE);
    EXPECT_EQ(expected, bytesOfFile(file.name()));
}

TEST_F(TiffIndependent, ReadsHeadersOfEitherOrder)
{
    for (const bool big : {false, true}) {
        const Bytes pixels = counting(60);
        const Bytes grey = foreign({{256, 3, {5}},
                                    {257, 3, {4}},
                                    {258, 3, {8}},
                                    {259, 3, {5}},
                                    {262, 3, {0}},
                                    {273, 4, {0}},
                                    {278, 3, {9}},
                                    {279, 4, {20}}},
                                   pixels, big);
        file.write(grey);
        Header h = readHeader(file.name());
        ASSERT_TRUE(h.opened);
        EXPECT_EQ((std::vector<int32_t>{5, 4, 8, 1}),
                  (std::vector<int32_t>{h.width, h.height, h.bits, h.inverted}));
        EXPECT_EQ(static_cast<long>(grey.size()) - 60, h.at);
        const Bytes rgb = foreign({{256, 4, {5}},
                                   {257, 4, {4}},
                                   {258, 3, {8, 8, 8}},
                                   {262, 3, {2}},
                                   {273, 4, {0, 9, 9}},
                                   {277, 3, {3}},
                                   {284, 3, {1}}},
                                  pixels, big);
        file.write(rgb);
        h = readHeader(file.name());
        ASSERT_TRUE(h.opened) << errorText();
        EXPECT_EQ((std::vector<int32_t>{5, 4, 8, 3, 0}),
                  (std::vector<int32_t>{h.width, h.height, h.bits, h.samples, h.inverted}));
        EXPECT_EQ(static_cast<long>(rgb.size()) - 60, h.at);
        const int32_t im = I_ImOpen(5, 4, PIX_RGB24);
        int32_t cols = 0, rows = 0;
        EXPECT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, &cols, &rows, im));
        EXPECT_EQ(pixels, bytesOf(im));
        file.write(foreign({{256, 3, {40000}}, {257, 3, {65535}}, {273, 3, {0, 8, 8}}, {277, 3, {65533}}},
                           pixels, big));
        h = readHeader(file.name());
        ASSERT_TRUE(h.opened);
        EXPECT_EQ((std::vector<int32_t>{-25536, -1, -3}),
                  (std::vector<int32_t>{h.width, h.height, h.samples}));
        EXPECT_EQ(static_cast<long>(bytesOfFile(file.name()).size()) - 60, h.at);
        EXPECT_EQ(0, I_ReadTiffFile(file.name(), 0, 0, &cols, &rows, im));
        EXPECT_EQ(1, I_GetError(nullptr, 0));
        EXPECT_EQ("Corrupt Tiff Image", errorText());
        I_ImClose(im);
        // Height from the strip, width from its bytes.
        file.write(foreign({{273, 4, {0}}, {278, 3, {4}}, {279, 4, {60}}}, pixels, big));
        h = readHeader(file.name());
        EXPECT_EQ((std::vector<int32_t>{15, 4}), (std::vector<int32_t>{h.width, h.height}));
        file.write(foreign({{257, 3, {6}}, {273, 4, {0}}, {278, 3, {4}}, {279, 4, {60, 1}}}, pixels, big));
        h = readHeader(file.name());
        EXPECT_EQ((std::vector<int32_t>{10, 6}), (std::vector<int32_t>{h.width, h.height}));
    }
}

TEST_F(TiffIndependent, RefusesWhatItCannotRead)
{
    const auto refused = [&](const Bytes& bytes) {
        file.write(bytes);
        EXPECT_FALSE(readHeader(file.name()).opened);
        return std::to_string(I_GetError(nullptr, 0)) + " " + errorText();
    };
    const Bytes pixels(20);
    EXPECT_EQ("37 Empty file", refused({}));
    EXPECT_EQ("37 Empty file", refused({'I', 'I', 42, 0, 8, 0, 0}));
    EXPECT_EQ("37 Not a TIFF file", refused(Bytes(20, 'I' - 1)));
    EXPECT_EQ("37 Not a TIFF file", refused({'I', 'M', 42, 0, 8, 0, 0, 0}));
    EXPECT_EQ("37 Multiple offsets aren't supported", refused({'I', 'I', 43, 0, 8, 0, 0, 0}));
    EXPECT_EQ("37 Multiple offsets aren't supported", refused({'M', 'M', 42, 0, 0, 0, 0, 8}));
    EXPECT_EQ("37 16 bits per pixel not supported",
              refused(foreign({{256, 3, {5}}, {257, 3, {4}}, {258, 3, {16}}, {273, 4, {0}}}, pixels, false)));
    EXPECT_EQ(
        "37 4 bits per pixel not supported",
        refused(foreign({{256, 3, {5}}, {257, 3, {4}}, {258, 3, {4, 8, 8}}, {273, 4, {0}}}, pixels, true)));
    EXPECT_EQ("37 Planar configuration 2 not supported",
              refused(foreign({{256, 3, {5}}, {257, 3, {4}}, {273, 4, {0}}, {284, 3, {2}}}, pixels, true)));
    EXPECT_EQ("37 Bad header -- unknown image width",
              refused(foreign({{257, 3, {4}}, {273, 4, {0}}}, pixels, false)));
    EXPECT_EQ("37 Bad header -- unknown image width",
              refused(foreign({{273, 4, {0}}, {279, 4, {20}}}, pixels, false)));
    EXPECT_EQ(nullptr, I_ReadTiffHeader("/no/such/x.tif", nullptr, nullptr, nullptr, nullptr, nullptr,
                                        nullptr, nullptr));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/x.tif).", errorText());
}

TEST_F(TiffIndependent, ReadsCommentsPalettesAndTheCalibration)
{
    for (const bool big : {false, true}) {
        std::vector<uint32_t> colors, table, text{'h', 'e', 'l', 'l', 'o', ' ', 'y', 'o', 'u', 0};
        for (uint32_t i = 0; i < 768; ++i)
            colors.push_back(((i * 5 + i / 256) & 255) << 8 | 0x33);
        for (uint32_t i = 0; i < 256; ++i) {
            const float v = static_cast<float>(i) * 0.25f + (big ? 1.0f : 2.0f);
            uint32_t word;
            std::memcpy(&word, &v, 4);
            table.push_back(word);
        }
        geticaltable()[256] = 77.0f;
        file.write(foreign({{256, 3, {5}},
                            {257, 3, {4}},
                            {262, 3, {3}},
                            {270, 2, text},
                            {273, 4, {0}},
                            {320, 3, colors},
                            {36000, 4, table}},
                           Bytes(20), big));
        Tables tables;
        VexaTiffPalette palette = tables.palette();
        char comment[30];
        int32_t length = sizeof comment;
        FILE* f =
            I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, comment, &length, &palette, nullptr);
        ASSERT_NE(nullptr, f);
        std::fclose(f);
        EXPECT_STREQ("hello you", comment);
        EXPECT_EQ(tables.red.data(), palette.red);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_EQ(colors[i] >> 8, tables.red[i]);
            EXPECT_EQ(colors[i + 256] >> 8, tables.green[i]);
            EXPECT_EQ(colors[i + 512] >> 8, tables.blue[i]);
            EXPECT_EQ(static_cast<float>(i) * 0.25f + (big ? 1.0f : 2.0f), geticaltable()[i]);
        }
        EXPECT_EQ(77.0f, geticaltable()[256]);
        length = 5;
        f = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, comment, &length, nullptr, nullptr);
        std::fclose(f);
        EXPECT_STREQ("hell", comment);
        EXPECT_EQ(4, length);
        file.write(foreign({{256, 3, {5}}, {257, 3, {4}}, {273, 4, {0}}}, Bytes(20), big));
        length = sizeof comment;
        f = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, comment, &length, &palette, nullptr);
        std::fclose(f);
        EXPECT_STREQ("", comment);
        EXPECT_EQ(nullptr, palette.red);
    }
}

TEST_F(TiffIndependent, WritesWholeFiles)
{
    const auto whole = [&](int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im) {
        std::remove(file.name());
        EXPECT_EQ(1, I_WriteTiffFile(file.name(), x, y, cols, rows, im)) << errorText();
        return bytesOfFile(file.name());
    };
    const int32_t im = byteImage(6, 5, [](int32_t x, int32_t y) { return 10 * y + x; });
    EXPECT_EQ(written(4, 3, "", nullptr, false, {12, 13, 14, 15, 22, 23, 24, 25, 32, 33, 34, 35}),
              whole(2, 1, 4, 3, im));
    EXPECT_EQ(written(2, 2, "", nullptr, false, {34, 35, 44, 45}), whole(4, 3, 0, -2, im));
    EXPECT_EQ(written(2, 2, "", nullptr, false, {34, 35, 44, 45}), whole(4, 3, 90, 90, im));
    const Bytes all = whole(0, 0, 0, 0, im);
    I_ImInvertRows(im); // the same picture
    EXPECT_EQ(all, whole(0, 0, 0, 0, im));
    I_ImInvertRows(im);
    // A palette that is no grey ramp goes along with bytes.
    Tables old, tables = someTables();
    I_GetGraphicsPalette(old.red.data(), old.green.data(), old.blue.data());
    I_SetGraphicsPalette(tables.red.data(), tables.green.data(), tables.blue.data());
    EXPECT_EQ(written(2, 2, "", &tables, false, {34, 35, 44, 45}), whole(4, 3, 0, 0, im));
    Tables ramp; // only these decide
    ramp.red[1] = 1, ramp.red[251] = 251;
    ramp.green = ramp.red;
    I_SetGraphicsPalette(ramp.red.data(), ramp.green.data(), ramp.blue.data());
    EXPECT_EQ(written(2, 2, "", nullptr, false, {34, 35, 44, 45}), whole(4, 3, 0, 0, im));
    ramp.red[251] = 250;
    ramp.green = ramp.red;
    I_SetGraphicsPalette(ramp.red.data(), ramp.green.data(), ramp.blue.data());
    EXPECT_EQ(written(2, 2, "", &ramp, false, {34, 35, 44, 45}), whole(4, 3, 0, 0, im));
    // Three samples of one band: each byte through the display palette.
    I_SetGraphicsPalette(tables.red.data(), tables.green.data(), tables.blue.data());
    I_SetTiffColorModes(1, 0, 0);
    FILE* f = std::fopen(file.name(), "w+b");
    EXPECT_EQ(1, I_WriteTiffWindow(f, 4, 4, 2, 1, im));
    std::fclose(f);
    EXPECT_EQ((Bytes{tables.red[44], tables.green[44], tables.blue[44], tables.red[45], tables.green[45],
                     tables.blue[45]}),
              bytesOfFile(file.name()));
    I_SetGraphicsPalette(old.red.data(), old.green.data(), old.blue.data());
    for (const int32_t type : {PIX_RGB24, PIX_BGR24, PIX_BGR32, PIX_RGB32}) {
        const int32_t color = I_ImOpen(3, 2, type);
        Bytes rgb;
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t x = 0; x < 3; ++x) {
                const uint8_t r = static_cast<uint8_t>(x * 40), g = static_cast<uint8_t>(y * 90 + 5),
                              b = static_cast<uint8_t>(200 - x - y);
                const uint8_t pixel[3] = {r, g, b};
                I_PutBlockType(x, y, 1, 1, pixel, color, PIX_RGB24);
                rgb = rgb + Bytes{r, g, b};
            }
        EXPECT_EQ(written(3, 2, "", nullptr, true, rgb), whole(0, 0, 0, 0, color)) << type;
        I_SetColorProcMode(1); // one band
        EXPECT_EQ(written(3, 2, "", nullptr, false, {rgb[1], rgb[4], rgb[7], rgb[10], rgb[13], rgb[16]}),
                  whole(0, 0, 0, 0, color))
            << type;
        I_SetColorProcMode(3);
        I_ImClose(color);
    }
    EXPECT_EQ(0, I_WriteTiffFile("/no/such/x.tif", 0, 0, 0, 0, im));
    EXPECT_EQ("(/no/such/x.tif)", errorText());
    f = std::fopen("/dev/full", "wb");
    I_SetTiffColorModes(0, 0, 0);
    const int32_t large = noiseImage(300, 300, 4);
    EXPECT_EQ(0, I_WriteTiffWindow(f, 0, 0, 300, 300, large));
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ("disk full.", errorText());
    std::fclose(f);
}

TEST_F(TiffIndependent, WritesPaletteImagesWithTheirPalette)
{
    const int32_t im = image(3, 2, PIX_PALETTE, [](int32_t x, int32_t y) { return 10 * y + x; });
    Tables tables = someTables();
    EXPECT_NE(0, I_ApplyPalette(tables.red.data(), tables.green.data(), tables.blue.data(), im));
    I_SetColorProcMode(1);
    EXPECT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    I_SetColorProcMode(3);
    EXPECT_EQ(written(3, 2, "", &tables, false, {0, 1, 2, 10, 11, 12}), bytesOfFile(file.name()));
    std::remove(file.name());
    EXPECT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im)); // three bands
    Bytes rgb;
    for (const std::size_t i : {0, 1, 2, 10, 11, 12})
        rgb = rgb + Bytes{tables.red[i], tables.green[i], tables.blue[i]};
    EXPECT_EQ(written(3, 2, "", nullptr, true, rgb), bytesOfFile(file.name()));
}

TEST_F(TiffIndependent, ReadsWindows)
{
    const auto open = [&](const Bytes& bytes) {
        file.write(bytes);
        return std::fopen(file.name(), "rb");
    };
    const Bytes data = counting(60);
    int32_t im = byteImage(6, 5, [](int32_t, int32_t) { return 200; });
    FILE* f = open(data);
    EXPECT_EQ(1, I_ReadTiffWindow(f, 3, 2, 5, 4, im)); // what lies outside is read and dropped
    EXPECT_EQ(20, std::ftell(f));
    std::fclose(f);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 6; ++x)
            EXPECT_EQ(x >= 3 && y >= 2 ? data[static_cast<std::size_t>(5 * (y - 2) + x - 3)] : 200,
                      pixel(im, x, y));
    f = open(Bytes(data.begin(), data.begin() + 7));
    EXPECT_EQ(0, I_ReadTiffWindow(f, 0, 0, 4, 3, im));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("len=7, should be 12", errorText());
    EXPECT_EQ(data[3], pixel(im, 3, 0)); // the row that arrived
    std::fclose(f);
    I_SetTiffColorModes(0, 1, 0);
    f = open(data);
    EXPECT_EQ(1, I_ReadTiffWindow(f, 0, 0, 5, 4, im));
    for (std::size_t i = 0; i < 20; ++i)
        EXPECT_EQ((data[3 * i] + data[3 * i + 1] + data[3 * i + 2]) / 3,
                  pixel(im, static_cast<int32_t>(i % 5), static_cast<int32_t>(i / 5)));
    std::rewind(f);
    const int32_t color = I_ImOpen(5, 4, PIX_BGR24);
    EXPECT_EQ(1, I_ReadTiffWindow(f, 0, 0, 5, 4, color));
    Bytes got(60);
    I_GetBlockType(0, 0, 5, 4, got.data(), color, PIX_RGB24);
    EXPECT_EQ(data, got);
    std::rewind(f);
    I_SetTiffColorModes(0, 1, 1);
    EXPECT_EQ(1, I_ReadTiffWindow(f, 0, 0, 5, 4, im));
    int32_t e[3];
    for (std::size_t i = 0; i < 20; ++i)
        EXPECT_EQ(ClosestRGB(data[3 * i], data[3 * i + 1], data[3 * i + 2], e, e + 1, e + 2),
                  pixel(im, static_cast<int32_t>(i % 5), static_cast<int32_t>(i / 5)));
    std::fclose(f);
}

TEST_F(TiffIndependent, PutsRowsThroughTheDisplayTables)
{
    Tables old, tables = someTables();
    I_GetGraphicsPalette(old.red.data(), old.green.data(), old.blue.data());
    I_SetGraphicsPalette(tables.red.data(), tables.green.data(), tables.blue.data());
    const int32_t im = I_ImOpen(4, 2, PIX_RGB24);
    const uint8_t row[3] = {5, 100, 255};
    I_SetColorBand(1);
    EXPECT_EQ(1, PutRowToRGB(1, 1, row, 3, im));
    EXPECT_GT(0, I_GetColorBand());
    Bytes expected(15);
    for (const uint8_t v : row)
        expected = expected + Bytes{tables.red[v], tables.green[v], tables.blue[v]};
    EXPECT_EQ(expected, bytesOf(im));
    // A colour image takes the rows of a file with a palette that way.
    std::vector<uint32_t> colors(768, 0x1200);
    file.write(foreign({{256, 3, {4}}, {257, 3, {2}}, {262, 3, {3}}, {273, 4, {0}}, {320, 3, colors}},
                       {1, 2, 3, 4, 5, 6, 7, 8}, false));
    Tables received;
    VexaTiffPalette palette = received.palette();
    FILE* f = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, &palette, nullptr);
    ASSERT_NE(nullptr, f);
    EXPECT_EQ(1, I_ReadTiffWindow(f, 0, 0, 4, 2, im));
    std::fclose(f);
    expected.clear();
    for (std::size_t v = 1; v <= 8; ++v)
        expected = expected + Bytes{tables.red[v], tables.green[v], tables.blue[v]};
    EXPECT_EQ(expected, bytesOf(im));
    I_SetGraphicsPalette(old.red.data(), old.green.data(), old.blue.data());
    uint8_t out[4] = {9, 9, 9, 9};
    const uint8_t samples[9] = {1, 2, 4, 10, 20, 31, 255, 255, 254};
    EXPECT_EQ(1, convTIFFrow(3, 3, 1, samples, out, 3));
    EXPECT_EQ((Bytes{2, 20, 255, 9}), Bytes(out, out + 4));
    convTIFFrow(3, 1, 2, samples, out, 3);
    EXPECT_EQ((Bytes{2, 20, 254, 9}), Bytes(out, out + 4));
    for (const int32_t other : {1, 2, 4}) {
        convTIFFrow(other, 3, 2, samples, out, 3);
        EXPECT_EQ((Bytes{1, 2, 4, 9}), Bytes(out, out + 4));
    }
}

TEST_F(TiffIndependent, ReadsWholeFiles)
{
    const Bytes grey = counting(20), rgb = counting(60);
    struct Case {
        int32_t x, y, left, top;
    };
    for (const Case& c : {Case{0, 0, 0, 0}, Case{2, 3, 2, 3}, Case{4, 9, 3, 4}, Case{-5, -1, 0, 0}}) {
        file.write(foreign({{256, 3, {5}}, {257, 3, {4}}, {258, 3, {8}}, {262, 3, {1}}, {273, 4, {0}}}, grey,
                           c.x == 2));
        const int32_t im = byteImage(8, 8, [](int32_t, int32_t) { return 99; });
        I_SetTiffColorModes(1, 1, 1);
        int32_t cols = 0, rows = 0;
        EXPECT_EQ(1, I_ReadTiffFile(file.name(), c.x, c.y, &cols, &rows, im));
        EXPECT_EQ(5, cols);
        EXPECT_EQ(4, rows);
        for (int32_t y = 0; y < 8; ++y)
            for (int32_t x = 0; x < 8; ++x) {
                const int32_t fx = x - c.left, fy = y - c.top;
                const bool inside = fx >= 0 && fy >= 0 && fx < 5 && fy < 4;
                ASSERT_EQ(inside ? grey[static_cast<std::size_t>(5 * fy + fx)] : 99, pixel(im, x, y))
                    << c.x << ' ' << c.y;
            }
        I_ImClose(im);
        std::remove(file.name()); // all modes are off again: one sample is written
        writeHeader(1, 1, nullptr, 0, nullptr, {});
        EXPECT_EQ(8, bytesOfFile(file.name())[10 + 3 * 12 + 8]);
    }
    file.write(foreign(
        {{256, 3, {5}}, {257, 3, {4}}, {258, 3, {8, 8, 8}}, {262, 3, {2}}, {273, 4, {0}}, {277, 3, {3}}}, rgb,
        false));
    const int32_t small = byteImage(3, 2), color = I_ImOpen(9, 5, PIX_BGR24);
    EXPECT_EQ(1, I_ReadTiffFile(file.name(), 1, 1, nullptr, nullptr, small)); // larger than the image
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x) {
            const auto i = static_cast<std::size_t>(3 * (5 * y + x));
            EXPECT_EQ((rgb[i] + rgb[i + 1] + rgb[i + 2]) / 3, pixel(small, x, y));
        }
    EXPECT_EQ(1, I_ReadTiffFile(file.name(), 9, 0, nullptr, nullptr, color));
    Bytes got(60);
    I_GetBlockType(4, 0, 5, 4, got.data(), color, PIX_RGB24);
    EXPECT_EQ(rgb, got);
    EXPECT_EQ(2, I_ImCount());
    EXPECT_EQ(0, I_ReadTiffFile("/no/such/x.tif", 0, 0, nullptr, nullptr, small));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("(/no/such/x.tif).", errorText());
}

TEST_F(TiffIndependent, ScalesWhileReading)
{
    Random random(21);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t samples = round % 3 == 0 ? 3 : 1;
        const int32_t fileCols = between(random, 1, 30), fileRows = between(random, 1, 25);
        Bytes data(static_cast<std::size_t>(fileCols * fileRows * samples));
        for (uint8_t& b : data)
            b = static_cast<uint8_t>(random());
        const int32_t left = between(random, 0, fileCols - 1), top = between(random, 0, fileRows - 1);
        const int32_t right = between(random, left, fileCols + 3),
                      bottom = between(random, top, fileRows + 3);
        const int32_t dstLeft = between(random, 0, 20), dstTop = between(random, 0, 20);
        const int32_t dstRight = between(random, dstLeft, 39), dstBottom = between(random, dstTop, 29);
        const bool color = round % 6 == 0;
        const int32_t im = image(40, 30, color ? PIX_RGB24 : PIX_BYTE, [](int32_t, int32_t) { return 77; });
        file.write(data);
        FILE* f = std::fopen(file.name(), "rb");
        I_SetTiffColorModes(0, samples == 3, 0);
        EXPECT_EQ(1, I_ReadTiffWindowScaled(f, fileCols, fileRows, left, top, right, bottom, dstLeft, dstTop,
                                            dstRight, dstBottom, im));
        std::fclose(f);
        const int32_t r = std::min(right, fileCols - 1), b = std::min(bottom, fileRows - 1);
        const int32_t stepY = ((b - top + 1) << 16) / (dstBottom - dstTop + 1);
        const int32_t stepX = (std::min(r - left + 1, fileCols) << 16) / (dstRight - dstLeft + 1);
        for (int32_t y = 0; y < 30; ++y)
            for (int32_t x = 0; x < 40; ++x) {
                uint8_t got[3];
                I_GetBlockType(x, y, 1, 1, got, im, color ? PIX_RGB24 : PIX_BYTE);
                int32_t expected[3] = {77, 77, 77};
                if (x >= dstLeft && x <= dstRight && y >= dstTop && y <= dstBottom) {
                    const int32_t fx = left + ((x - dstLeft) * stepX >> 16),
                                  fy = top + ((y - dstTop) * stepY >> 16);
                    const uint8_t* p = &data[static_cast<std::size_t>((fy * fileCols + fx) * samples)];
                    for (int32_t k = 0; k < 3; ++k)
                        expected[k] = color ? p[k] : samples == 3 ? (p[0] + p[1] + p[2]) / 3 : p[0];
                }
                for (int32_t k = 0; k < (color ? 3 : 1); ++k)
                    ASSERT_EQ(expected[k], got[k]) << round << ": " << x << ' ' << y << ' ' << k;
            }
        I_ImClose(im);
    }
}

TEST_F(TiffIndependent, WritesOtherTypesAsTheirBytes)
{
    for (const int32_t type : {PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX}) {
        const int32_t im = image(7, 4, type, [](int32_t x, int32_t y) { return 900 * y + 31 * x; });
        I_ComputePixelRange(0, im);
        Bytes bytes(28);
        for (int32_t y = 0; y < 4; ++y)
            I_GetBlockType(0, y, 7, 1, &bytes[static_cast<std::size_t>(7 * y)], im, PIX_BYTE);
        std::remove(file.name());
        EXPECT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
        EXPECT_EQ(written(7, 4, "", nullptr, false, bytes), bytesOfFile(file.name())) << type;
        I_ImClose(im);
    }
}

TEST_F(TiffIndependent, ReadsIntoOneBand)
{
    const Bytes data = counting(18);
    file.write(data);
    const int32_t im = image(3, 2, PIX_RGB24, [](int32_t, int32_t) { return 50; });
    I_SetColorProcMode(1); // green
    I_SetTiffColorModes(0, 1, 0);
    FILE* f = std::fopen(file.name(), "rb");
    EXPECT_EQ(1, I_ReadTiffWindow(f, 0, 0, 3, 2, im));
    std::fclose(f);
    Bytes expected;
    for (std::size_t i = 0; i < 18; i += 3)
        expected = expected + Bytes{50, static_cast<uint8_t>((data[i] + data[i + 1] + data[i + 2]) / 3), 50};
    EXPECT_EQ(expected, bytesOf(im));
}

TEST_F(TiffIndependent, RefusesAFifteenthEntry)
{
    Tables tables = someTables();
    const VexaTiffPalette palette = tables.palette();
    I_SetTiffColorModes(1, 0, 0);
    EXPECT_EQ(nullptr, I_WriteTiffHeader(file.name(), 4, 3, nullptr, 0, &palette));
    EXPECT_EQ(36, I_GetError(nullptr, 0));
    EXPECT_EQ("TIFF_TOO_MANY_IFDS", errorText());
}
