#include "tests/fileio/tiff_files.h"
#include "vexalib/calibration.h"
#include "vexalib/raw_file.h"

namespace vexa::test
{
namespace
{

// A palette image of one band: with all bands together it counts as three.
class OneBand
{
public:
    OneBand() { I_SetColorProcMode(0); }
    ~OneBand() { I_SetColorProcMode(3); }
};

// What the writer promises: the header block of 182 bytes, then what lies behind it, up to the pixels.
Bytes writtenHeader(uint32_t cols, uint32_t rows, bool rgb, const std::string& comment, const Bytes& palette)
{
    const uint32_t base = rgb ? 188 : 182;
    const uint32_t behind = base + static_cast<uint32_t>((comment.size() + 1) / 2 * 2);
    const uint32_t start = behind + (palette.empty() ? 16 : 3088);
    std::vector<TiffEntry> entries = {{254, 4, 1, 1}, {256, 3, 1, cols}, {257, 3, 1, rows}};
    entries.push_back(rgb ? TiffEntry{258, 3, 3, 182} : TiffEntry{258, 3, 1, 8});
    entries.push_back({259, 3, 1, 1});
    entries.push_back({262, 3, 1, rgb ? 2U : palette.empty() ? 1U : 3U});
    if (!comment.empty())
        entries.push_back({270, 2, static_cast<uint32_t>(comment.size()), base});
    const uint32_t samples = rgb ? 3 : 1;
    for (const TiffEntry& entry : {TiffEntry{273, 4, 1, start},
                                   {277, 3, 1, samples},
                                   {278, 3, 1, rows},
                                   {279, 4, 1, samples * cols * rows},
                                   {282, 5, 1, behind},
                                   {283, 5, 1, behind + 8}})
        entries.push_back(entry);
    if (rgb)
        entries.push_back({284, 3, 1, 1});
    entries.push_back({296, 3, 1, 2});
    if (!palette.empty())
        entries.push_back({320, 3, 768, behind + 16});
    ByteWriter out{false, tiffBytes(entries, {})};
    out.padTo(182);
    for (int32_t i = 0; rgb && i < 3; ++i)
        out.put16(8);
    out.append(Bytes(comment.begin(), comment.end()));
    out.padTo(behind);
    for (const uint32_t number : {cols, 1500U, rows, 1500U})
        out.put32(number);
    for (const uint8_t entry : palette)
        out.put16(uint32_t{entry} << 8);
    out.padTo(start);
    return out.bytes;
}

Bytes rainbow()
{
    Bytes tables(768);
    for (std::size_t i = 0; i < 768; ++i)
        tables[i] = static_cast<uint8_t>(i * 5 + i / 256);
    return tables;
}

TEST_F(TiffFiles, LiteralLayoutOfGrey)
{
    const int32_t im = byteImage(5, 3, [](int32_t x, int32_t y) { return level(x, y); });
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im)) << errorText();
    Bytes expected = writtenHeader(5, 3, false, "", {});
    EXPECT_EQ(198U, expected.size());
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 5; ++x)
            expected.push_back(static_cast<uint8_t>(level(x, y)));
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralLayoutOfColour)
{
    const int32_t im = I_ImOpen(3, 2, PIX_BGR24);
    Bytes expected = writtenHeader(3, 2, true, "", {});
    EXPECT_EQ(204U, expected.size());
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x) {
            const uint8_t bgr[] = {static_cast<uint8_t>(x), static_cast<uint8_t>(100 + y),
                                   static_cast<uint8_t>(200 + x)};
            I_PutBlockType(x, y, 1, 1, bgr, im, PIX_BGR24);
            expected.insert(expected.end(), {bgr[2], bgr[1], bgr[0]});
        }
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im)) << errorText();
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    EXPECT_EQ(-2, I_GetColorBand());
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralLayoutOfAPalette)
{
    const OneBand mode;
    const int32_t im = byteImage(4, 2, [](int32_t x, int32_t y) { return level(x, y); });
    Bytes tables = rainbow();
    ASSERT_EQ(1, I_ApplyPalette(tables.data(), tables.data() + 256, tables.data() + 512, im));
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im)) << errorText();
    Bytes expected = writtenHeader(4, 2, false, "", tables);
    EXPECT_EQ(182U + 3088U, expected.size());
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 4; ++x)
            expected.push_back(static_cast<uint8_t>(level(x, y)));
    EXPECT_EQ(expected, bytesOfFile(file.name()));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralLayoutOfHeadersWithComments)
{
    for (const std::string comment : {"odd", "even", "a longer comment, with its zero"}) {
        const TempFile fresh("." + comment.substr(0, 3) + ".tif");
        FILE* out = I_WriteTiffHeader(fresh.name(), 300, 200, comment.c_str(),
                                      static_cast<int32_t>(comment.size()), nullptr);
        ASSERT_NE(nullptr, out);
        const Bytes expected = writtenHeader(300, 200, false, comment, {});
        EXPECT_EQ(static_cast<long>(expected.size()), std::ftell(out));
        std::fclose(out);
        EXPECT_EQ(expected, bytesOfFile(fresh.name())) << comment;
    }
}

TEST_F(TiffFiles, LiteralTooManyEntries)
{
    Bytes tables = rainbow();
    const VexaTiffPalette palette = paletteOf(tables);
    const auto refuse = [&](bool rgb, const char* comment, const VexaTiffPalette* given) {
        I_SetTiffColorModes(rgb, 0, 0);
        clearError();
        EXPECT_EQ(nullptr, I_WriteTiffHeader(file.name(), 4, 4, comment, 4, given));
        EXPECT_EQ(36, I_GetError(nullptr, 0));
        EXPECT_EQ("TIFF_TOO_MANY_IFDS", errorText());
        EXPECT_TRUE(bytesOfFile(file.name()).empty());
    };
    refuse(false, "text", &palette);
    refuse(true, "text", nullptr);
    refuse(true, nullptr, &palette);
    refuse(true, "text", &palette);
    I_SetTiffColorModes(1, 0, 0);
    const VexaTiffPalette none = {nullptr, tables.data(), tables.data()};
    FILE* out = I_WriteTiffHeader(file.name(), 4, 4, "", 0, &none);
    ASSERT_NE(nullptr, out) << "neither counts";
    std::fclose(out);
}

TEST_F(TiffFiles, LiteralALongerFileKeepsItsTail)
{
    const Bytes old(1000, 0xEE);
    file.write(old);
    const int32_t im = byteImage(10, 10, [](int32_t, int32_t) { return 5; });
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    const Bytes bytes = bytesOfFile(file.name());
    ASSERT_EQ(1000U, bytes.size());
    EXPECT_EQ(5, bytes[198]);
    EXPECT_EQ(5, bytes[297]);
    EXPECT_EQ(0xEE, bytes[298]);
    EXPECT_EQ(0, bytes[181]) << "the block is always 182 bytes";
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralGreyPalettesAreLeftOut)
{
    const OneBand mode;
    const int32_t im = byteImage(2, 2);
    Bytes tables(768);
    for (std::size_t i = 0; i < 768; ++i)
        tables[i] = static_cast<uint8_t>(i);
    const auto photometric = [&] {
        std::remove(file.name());
        I_ApplyPalette(tables.data(), tables.data() + 256, tables.data() + 512, im);
        EXPECT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
        return bytesOfFile(file.name())[10 + 5 * 12 + 8];
    };
    EXPECT_EQ(1, photometric());
    tables[512 + 40] = 0;
    EXPECT_EQ(1, photometric()) << "blue is not looked at";
    tables[251] = tables[256 + 251] = 250;
    EXPECT_EQ(3, photometric());
    tables[251] = tables[256 + 251] = 251;
    tables[1] = tables[256 + 1] = 2;
    EXPECT_EQ(3, photometric());
    tables[1] = tables[256 + 1] = 1;
    tables[100] = 0;
    EXPECT_EQ(3, photometric());
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralWindowsOfAnImage)
{
    const int32_t im = byteImage(20, 10, [](int32_t x, int32_t y) { return level(x, y); });
    struct {
        int32_t x, y, cols, rows, width, height;
    } const cases[] = {{0, 0, 0, 0, 20, 10},
                       {5, 2, 0, -1, 15, 8},
                       {5, 2, 4, 3, 4, 3},
                       {5, 2, 100, 100, 15, 8},
                       {19, 9, 1, 1, 1, 1}};
    for (const auto& c : cases) {
        std::remove(file.name());
        ASSERT_EQ(1, I_WriteTiffFile(file.name(), c.x, c.y, c.cols, c.rows, im));
        Bytes expected =
            writtenHeader(static_cast<uint32_t>(c.width), static_cast<uint32_t>(c.height), false, "", {});
        for (int32_t y = 0; y < c.height; ++y)
            for (int32_t x = 0; x < c.width; ++x)
                expected.push_back(static_cast<uint8_t>(level(c.x + x, c.y + y)));
        EXPECT_EQ(expected, bytesOfFile(file.name()));
    }
    EXPECT_EQ(0, I_WriteTiffFile(file.name(), 20, 0, 0, 0, im));
    EXPECT_EQ(46, I_GetError(nullptr, 0));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralRowsThatLieBottomUp)
{
    uint8_t pixels[6] = {5, 6, 3, 4, 1, 2};
    const int32_t im = I_ImOpenPtr(2, 3, 0, PIX_BYTE, pixels);
    const int32_t inverted = 1;
    I_ImSetParam(&inverted, 4, 19, im);
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    const Bytes bytes = bytesOfFile(file.name());
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6}), Bytes(bytes.begin() + 198, bytes.end()));
    std::fill_n(pixels, 6, uint8_t{0});
    FILE* in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, in);
    EXPECT_EQ(1, I_ReadTiffWindow(in, 0, 0, 2, 3, im));
    std::fclose(in);
    EXPECT_THAT(pixels, testing::ElementsAre(5, 6, 3, 4, 1, 2));
    std::fill_n(pixels, 6, uint8_t{0});
    EXPECT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, nullptr, nullptr, im));
    EXPECT_THAT(pixels, testing::ElementsAre(5, 6, 3, 4, 1, 2));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralBothByteOrdersReadAlike)
{
    for (const bool bigEndian : {false, true}) {
        const uint32_t base = tiffBase(7);
        file.write(tiffBytes({{256, 3, 1, 3},
                              {257, 4, 1, 2},
                              {258, 3, 1, 8},
                              {262, 3, 1, 0},
                              {270, 2, 6, base},
                              {273, 4, 1, base + 6},
                              {277, 3, 1, 1}},
                             {'h', 'e', 'l', 'l', 'o', 0, 1, 2, 3, 4, 5, 6}, bigEndian));
        int32_t width = 0, height = 0, bits = 0, samples = 0, inverted = 0, length = 80;
        char comment[80];
        FILE* in = I_ReadTiffHeader(file.name(), &width, &height, &bits, comment, &length, nullptr, &samples);
        ASSERT_NE(nullptr, in) << errorText();
        EXPECT_EQ(static_cast<long>(base + 6), std::ftell(in));
        std::fclose(in);
        EXPECT_THAT((std::vector<int32_t>{width, height, bits, samples, length}),
                    testing::ElementsAre(3, 2, 8, 1, 6));
        EXPECT_STREQ("hello", comment);
        in =
            I_ReadStdTiffHeader(file.name(), &width, &height, comment, &length, nullptr, &samples, &inverted);
        ASSERT_NE(nullptr, in);
        std::fclose(in);
        EXPECT_EQ(1, inverted);
        const int32_t im = byteImage(3, 2);
        int32_t cols = 0, rows = 0;
        EXPECT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, &cols, &rows, im)) << errorText();
        EXPECT_EQ(3, cols);
        EXPECT_EQ(2, rows);
        EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6}), bytesOf(im));
        I_ImClose(im);
    }
}

TEST_F(TiffFiles, LiteralSizesAreSigned16BitNumbers)
{
    file.write(tiffBytes({{256, 4, 1, 40000}, {257, 3, 1, 65535}, {273, 4, 1, 8}, {277, 3, 1, 65534}}, {}));
    int32_t width = 0, height = 0, samples = 0;
    FILE* in = I_ReadTiffHeader(file.name(), &width, &height, nullptr, nullptr, nullptr, nullptr, &samples);
    ASSERT_NE(nullptr, in);
    std::fclose(in);
    EXPECT_EQ(-25536, width);
    EXPECT_EQ(-1, height);
    EXPECT_EQ(-2, samples);
    const int32_t im = byteImage(3, 3);
    EXPECT_EQ(0, I_ReadTiffFile(file.name(), 0, 0, &width, &height, im));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("Corrupt Tiff Image", errorText());
    EXPECT_EQ(-25536, width);
    EXPECT_EQ(0, I_ReadImageFile(file.name()));
    EXPECT_EQ("Corrupt Tiff Image", errorText());
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralSizesFromTheStrip)
{
    const auto widthOf = [&](const std::vector<TiffEntry>& entries, int32_t* height) {
        file.write(tiffBytes(entries, Bytes(64)));
        int32_t width = -999;
        FILE* in = I_ReadTiffHeader(file.name(), &width, height, nullptr, nullptr, nullptr, nullptr, nullptr);
        if (in)
            std::fclose(in);
        return width;
    };
    int32_t height = 0;
    EXPECT_EQ(12, widthOf({{273, 4, 1, 8}, {278, 3, 1, 4}, {279, 4, 1, 50}}, &height));
    EXPECT_EQ(4, height);
    EXPECT_EQ(10, widthOf({{257, 3, 1, 5}, {273, 4, 1, 8}, {278, 3, 1, 4}, {279, 4, 1, 50}}, &height));
    EXPECT_EQ(5, height) << "the height stands";
    // Tables of strips: at their place, or in the entry where they fit.
    const uint32_t base = tiffBase(3);
    ByteWriter table;
    table.put32(70);
    table.put32(71);
    Bytes behind = table.bytes;
    behind.resize(100);
    file.write(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 2, base}}, behind));
    FILE* in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, in);
    EXPECT_EQ(70, std::ftell(in));
    std::fclose(in);
    for (const bool bigEndian : {false, true}) {
        ByteWriter words{bigEndian,
                         tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 3, 2, 0}}, Bytes(100), bigEndian)};
        words.bytes.resize(8 + 2 + 24 + 8);
        words.put16(60);
        words.put16(61);
        words.padTo(100);
        file.write(words.bytes);
        in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(nullptr, in);
        EXPECT_EQ(60, std::ftell(in));
        std::fclose(in);
    }
}

TEST_F(TiffFiles, LiteralRefusals)
{
    const std::vector<TiffEntry> good = {{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, 8}};
    const auto with = [&good](TiffEntry entry) {
        std::vector<TiffEntry> entries = good;
        entries.push_back(entry);
        return tiffBytes(entries, Bytes(20));
    };
    expectRefused({}, 37, "Empty file");
    expectRefused({'I', 'I', 42, 0, 8, 0, 0}, 37, "Empty file");
    expectRefused(Bytes(100, 'I' + 1), 37, "Not a TIFF file");
    expectRefused({'I', 'M', 42, 0, 8, 0, 0, 0}, 37, "Not a TIFF file");
    Bytes version = tiffBytes(good, {});
    version[2] = 43;
    expectRefused(version, 37, "Multiple offsets aren't supported");
    expectRefused({'M', 'M', 42, 0, 0, 0, 0, 8}, 37, "Multiple offsets aren't supported");
    expectRefused(with({258, 3, 1, 1}), 37, "1 bits per pixel not supported");
    expectRefused(with({258, 3, 1, 16}), 37, "16 bits per pixel not supported");
    expectRefused(with({258, 3, 3, 4000}), 37, "0 bits per pixel not supported");
    expectRefused(with({284, 3, 1, 2}), 37, "Planar configuration 2 not supported");
    const std::string unknown = "Bad header -- unknown image width";
    expectRefused(tiffBytes({{257, 3, 1, 2}, {273, 4, 1, 8}}, {}), 37, unknown);
    expectRefused(tiffBytes({{279, 4, 1, 20}, {273, 4, 1, 8}}, {}), 37, unknown);
    // A directory that lies behind the end, or points to itself, is one of no tags.
    for (const uint32_t place : {0xFFFFFFFFU, 0x7FFFFFFFU, 1000U}) {
        ByteWriter out;
        out.put16(0x4949);
        out.put16(42);
        out.put32(place);
        out.padTo(60);
        expectRefused(out.bytes, 37, unknown);
    }
    const std::string behind = "(" + std::string(file.name()) + ").";
    expectRefused(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, 1000}}, {}), 18, behind);
    expectRefused(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 2, 1000}}, {}), 18, behind);
    expectRefused(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, 0xFFFFFFFF}}, {}), 18, behind);
}

TEST_F(TiffFiles, LiteralPalettesAreReadWhereAskedFor)
{
    const uint32_t base = tiffBase(6);
    for (const bool bigEndian : {false, true}) {
        ByteWriter values{bigEndian, {}};
        const Bytes tables = rainbow();
        for (const uint8_t entry : tables)
            values.put16(uint32_t{entry} << 8 | 0x55);
        values.append({9, 8, 7, 6});
        file.write(tiffBytes({{256, 3, 1, 2},
                              {257, 3, 1, 2},
                              {262, 3, 1, 3},
                              {273, 4, 1, base + 1536},
                              {277, 3, 1, 1},
                              {320, 3, 768, base}},
                             values.bytes, bigEndian));
        Bytes got(768);
        VexaTiffPalette palette = paletteOf(got);
        FILE* in =
            I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, &palette, nullptr);
        ASSERT_NE(nullptr, in);
        std::fclose(in);
        EXPECT_EQ(got.data(), palette.red);
        EXPECT_EQ(tables, got);

        const int32_t im = I_ReadImageFile(file.name());
        ASSERT_NE(0, im) << errorText();
        EXPECT_EQ(PIX_PALETTE, I_ImGetType(im));
        uint8_t entries[1024];
        I_ImGetParam(entries, sizeof entries, 13, im);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_EQ(tables[i], entries[4 * i + 2]);
            EXPECT_EQ(tables[256 + i], entries[4 * i + 1]);
            EXPECT_EQ(tables[512 + i], entries[4 * i]);
        }
        EXPECT_EQ((Bytes{9, 8, 7, 6}), bytesOf(im));
        char name[300] = {};
        I_ImGetComment(name, 299, im);
        EXPECT_STREQ(file.name(), name);
        I_ImClose(im);

        const int32_t bytes = byteImage(2, 2);
        EXPECT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, nullptr, nullptr, bytes));
        EXPECT_EQ((Bytes{9, 8, 7, 6}), bytesOf(bytes)) << "indices go where bytes are";
        I_ImClose(bytes);
    }
    Bytes got(768);
    VexaTiffPalette palette = paletteOf(got);
    file.write(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, 8}, {320, 3, 768, 90}}, Bytes(1000)));
    EXPECT_EQ(nullptr,
              I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, &palette, nullptr));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    FILE* in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, in) << "not asked for, not read";
    std::fclose(in);
    file.write(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, 8}}, {}));
    in = I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, &palette, nullptr);
    ASSERT_NE(nullptr, in);
    std::fclose(in);
    EXPECT_EQ(nullptr, palette.red) << "there is none";
}

TEST_F(TiffFiles, LiteralCommentsInTheirBuffer)
{
    const uint32_t base = tiffBase(4);
    const Bytes values = {'c', 'o', 'm', 'm', 'e', 'n', 't', '!', 1, 2, 3, 4};
    const Bytes with =
        tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {270, 2, 8, base}, {273, 4, 1, base + 8}}, values);
    const Bytes without = tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, base}}, values);
    struct {
        const Bytes& bytes;
        int32_t room;
        const char* text;
        int32_t length;
    } const cases[] = {{with, 80, "comment!", 8}, {with, 9, "comment!", 8}, {with, 8, "comment", 7},
                       {with, 1, "", 0},          {with, 0, "", 0},         {with, -5, "", 0},
                       {without, 80, "", 0}};
    for (const auto& c : cases) {
        file.write(c.bytes);
        char comment[100];
        std::fill_n(comment, 100, 'z');
        int32_t length = c.room;
        FILE* in =
            I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, comment, &length, nullptr, nullptr);
        ASSERT_NE(nullptr, in);
        std::fclose(in);
        EXPECT_STREQ(c.text, comment) << c.room;
        EXPECT_EQ(c.length, length) << c.room;
        EXPECT_EQ('z', comment[std::max(c.length + 1, 1)]);
    }
    const int32_t im = (file.write(with), I_ReadImageFile(file.name()));
    char comment[100] = {};
    I_ImGetComment(comment, 99, im);
    EXPECT_STREQ("comment!", comment);
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralModesOfTheHeader)
{
    const auto open = [&](std::vector<TiffEntry> more) {
        std::vector<TiffEntry> entries = {{256, 3, 1, 2}, {257, 3, 1, 1}, {273, 4, 1, 8}};
        entries.insert(entries.end(), more.begin(), more.end());
        file.write(tiffBytes(entries, Bytes(20)));
        int32_t inverted = 9;
        FILE* in =
            I_ReadStdTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &inverted);
        std::fclose(in);
        return inverted;
    };
    EXPECT_EQ(1, open({{262, 3, 1, 0}}));
    EXPECT_EQ(1, open({})) << "stays as the last file left it";
    EXPECT_EQ(0, open({{262, 3, 1, 1}}));
    open({{262, 3, 1, 2}});
    // readRGB is on now: three samples a pixel are read.
    const int32_t im = byteImage(2, 1);
    file.write({30, 60, 90, 1, 1, 3});
    FILE* in = std::fopen(file.name(), "rb");
    EXPECT_EQ(1, I_ReadTiffWindow(in, 0, 0, 2, 1, im));
    std::fclose(in);
    EXPECT_EQ((Bytes{60, 1}), bytesOf(im));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralTheCalibrationTableOfAFile)
{
    const uint32_t base = tiffBase(4);
    for (const bool bigEndian : {false, true}) {
        ByteWriter values{bigEndian, {}};
        for (int32_t i = 0; i < 256; ++i) {
            const float number = static_cast<float>(i) * 0.5F - 3.0F + static_cast<float>(bigEndian);
            uint32_t bits = 0;
            std::memcpy(&bits, &number, 4);
            values.put32(bits);
        }
        values.append(Bytes(4));
        file.write(tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, base}, {36000, 11, 256, base}},
                             values.bytes, bigEndian));
        FILE* in =
            I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(nullptr, in) << errorText();
        std::fclose(in);
        for (int32_t i = 0; i < 256; ++i)
            EXPECT_EQ(static_cast<float>(i) * 0.5F - 3.0F + static_cast<float>(bigEndian), geticaltable()[i]);
    }
    const float before = geticaltable()[5];
    file.write(
        tiffBytes({{256, 3, 1, 2}, {257, 3, 1, 2}, {273, 4, 1, base}, {36000, 11, 256, base}}, Bytes(1023)));
    EXPECT_EQ(nullptr,
              I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ(before, geticaltable()[5]) << "half a table changes nothing";
}

TEST_F(TiffFiles, LiteralConvTIFFrow)
{
    const uint8_t rgb[] = {10, 20, 33, 255, 255, 255, 0, 1, 1};
    uint8_t out[9] = {};
    EXPECT_EQ(1, convTIFFrow(1, 3, 2, rgb, out, 9));
    EXPECT_EQ(0, std::memcmp(rgb, out, 9));
    for (int32_t band = 0; band < 3; ++band) {
        EXPECT_EQ(1, convTIFFrow(3, 3, band, rgb, out, 3));
        for (int32_t i = 0; i < 3; ++i)
            EXPECT_EQ(rgb[3 * i + band], out[i]);
    }
    EXPECT_EQ(1, convTIFFrow(3, 1, 0, rgb, out, 3));
    EXPECT_EQ(21, out[0]);
    EXPECT_EQ(255, out[1]);
    EXPECT_EQ(0, out[2]);
    I_SetTiffColorModes(0, 0, 1);
    EXPECT_EQ(1, convTIFFrow(3, 1, 0, rgb, out, 3));
    for (int32_t i = 0; i < 3; ++i)
        EXPECT_EQ(static_cast<uint8_t>(
                      ClosestRGB(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], nullptr, nullptr, nullptr)),
                  out[i]);
    EXPECT_EQ(0, convTIFFrow(3, 3, 3, rgb, out, 3));
    EXPECT_EQ(0, convTIFFrow(3, 3, -1, rgb, out, 3));
    EXPECT_EQ(0, convTIFFrow(3, 3, 0, nullptr, out, 3));
    EXPECT_EQ(0, convTIFFrow(3, 3, 0, rgb, nullptr, 3));
    EXPECT_EQ(1, convTIFFrow(1, 3, 0, rgb, out, -3));
}

TEST_F(TiffFiles, LiteralPutRowToRGB)
{
    uint8_t red[256], green[256], blue[256];
    for (int32_t i = 0; i < 256; ++i) {
        red[i] = static_cast<uint8_t>(255 - i);
        green[i] = static_cast<uint8_t>(i / 2);
        blue[i] = 7;
    }
    I_SetGraphicsPalette(red, green, blue);
    const int32_t im = I_ImOpen(2500, 2, PIX_BGR24);
    Bytes row(2400);
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(1, PutRowToRGB(50, 1, row.data(), 2400, im));
    EXPECT_EQ(-2, I_GetColorBand());
    const Bytes all = bytesOf(im);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const uint8_t* pixel = &all[3 * (2500 + 50 + i)];
        ASSERT_EQ(7, pixel[0]);
        ASSERT_EQ(green[row[i]], pixel[1]);
        ASSERT_EQ(red[row[i]], pixel[2]);
    }
    EXPECT_EQ(0, PutRowToRGB(0, 0, nullptr, 5, im));
    EXPECT_EQ(0, PutRowToRGB(0, 0, row.data(), 5, 12));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralOneBandAsThreeSamples)
{
    uint8_t red[256], green[256], blue[256];
    for (int32_t i = 0; i < 256; ++i) {
        red[i] = static_cast<uint8_t>(255 - i);
        green[i] = static_cast<uint8_t>(i / 2);
        blue[i] = static_cast<uint8_t>(i);
    }
    I_SetGraphicsPalette(red, green, blue);
    const int32_t im = byteImage({{1, 2}, {3, 250}});
    I_SetTiffColorModes(1, 0, 0);
    FILE* out = std::fopen(file.name(), "w+b");
    EXPECT_EQ(1, I_WriteTiffWindow(out, 0, 0, 2, 2, im));
    std::fclose(out);
    EXPECT_EQ((Bytes{254, 0, 1, 253, 1, 2, 252, 1, 3, 5, 125, 250}), bytesOfFile(file.name()));
    I_ImClose(im);
}

TEST_F(TiffFiles, LiteralColourImagesByBandAndInOnePiece)
{
    const int32_t im = I_ImOpen(9, 4, PIX_BGR15);
    const int32_t packed = I_ImOpen(9, 4, PIX_BGR32);
    Bytes expected;
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 9; ++x) {
            const uint8_t bgr[] = {static_cast<uint8_t>(8 * x), static_cast<uint8_t>(16 * y),
                                   static_cast<uint8_t>(248 - 8 * x)};
            for (const int32_t target : {im, packed})
                I_PutBlockType(x, y, 1, 1, bgr, target, PIX_BGR24);
            expected.insert(expected.end(), {bgr[2], bgr[1], bgr[0]});
        }
    for (const int32_t source : {im, packed}) {
        std::remove(file.name());
        ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, source));
        const Bytes bytes = bytesOfFile(file.name());
        EXPECT_EQ(expected, Bytes(bytes.begin() + 204, bytes.end()));
        FILE* in =
            I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        const long start = std::ftell(in);
        for (const int32_t type : {+PIX_BGR15, +PIX_BGR24, +PIX_RGB32}) {
            const int32_t back = I_ImOpen(9, 4, type);
            std::fseek(in, start, SEEK_SET);
            EXPECT_EQ(1, I_ReadTiffWindow(in, 0, 0, 9, 4, back));
            EXPECT_EQ(-2, I_GetColorBand());
            Bytes pixels(expected.size());
            I_GetBlockType(0, 0, 9, 4, pixels.data(), back, PIX_RGB24);
            EXPECT_EQ(expected, pixels) << type;
            I_ImClose(back);
        }
        std::fclose(in);
    }
    closeImages({im, packed});
}

TEST_F(TiffFiles, LiteralBytesIntoAColourImageWithAPalette)
{
    uint8_t red[256] = {}, green[256] = {}, blue[256] = {};
    red[4] = 40;
    green[4] = 41;
    blue[4] = 42;
    I_SetGraphicsPalette(red, green, blue);
    const uint32_t base = tiffBase(5);
    Bytes values(1536 + 2);
    values[1536] = 4;
    const int32_t im = I_ImOpen(2, 1, PIX_BGR24);
    for (const bool withPalette : {true, false}) {
        file.write(tiffBytes({{256, 3, 1, 2},
                              {257, 3, 1, 1},
                              {262, 3, 1, 3},
                              {273, 4, 1, base + 1536},
                              {withPalette ? 320U : 321U, 3, 768, base}},
                             values));
        Bytes tables(768);
        VexaTiffPalette palette = paletteOf(tables);
        FILE* in =
            I_ReadTiffHeader(file.name(), nullptr, nullptr, nullptr, nullptr, nullptr, &palette, nullptr);
        ASSERT_NE(nullptr, in);
        EXPECT_EQ(1, I_ReadTiffWindow(in, 0, 0, 2, 1, im));
        std::fclose(in);
        EXPECT_EQ(withPalette ? (Bytes{42, 41, 40, 0, 0, 0}) : (Bytes{4, 4, 4, 0, 0, 0}), bytesOf(im))
            << "through the display's tables, not the file's";
    }
    I_ImClose(im);
}

} // namespace
} // namespace vexa::test
