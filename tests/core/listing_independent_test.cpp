// Flood fill, descriptions and the clipboard against their descriptions, letter by letter.
#include <random>

#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Bytes = std::vector<uint8_t>;

struct Desk {
    std::vector<std::string> boxes, captions;
    int32_t format = 0;
    Bytes held;
    bool busy = false;
} desk;

int32_t collectBox(const char* text, const char* caption, int32_t, int32_t)
{
    desk.boxes.emplace_back(text);
    desk.captions.emplace_back(caption);
    return VEXA_ANSWER_OK;
}

int32_t storeClipboard(int32_t format, const void* data, size_t bytes)
{
    if (desk.busy)
        return 0;
    const auto* p = static_cast<const uint8_t*>(data);
    desk.format = format;
    desk.held.assign(p, p + bytes);
    return 1;
}

size_t fetchClipboard(int32_t format, void* buffer, size_t capacity)
{
    if (format != desk.format)
        return 0;
    if (buffer)
        std::memcpy(buffer, desk.held.data(), std::min(capacity, desk.held.size()));
    return desk.held.size();
}

int64_t availableBytes()
{
    return int64_t{1234567} * 1024;
}

class ListingIndependent : public testing::Test
{
protected:
    void SetUp() override
    {
        desk = Desk{};
        VexaPlatform mine{};
        mine.size = sizeof mine;
        mine.messageBox = collectBox;
        mine.storeClipboard = storeClipboard;
        mine.fetchClipboard = fetchClipboard;
        mine.availableMemory = availableBytes;
        vexaSetPlatform(&mine);
        I_SetROIType(0);
        clearError();
    }
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetROIType(0);
        vexaSetPlatform(nullptr);
    }
};

std::string described(int32_t im)
{
    char text[400] = {};
    EXPECT_EQ(1, I_DescribeImage(im, text, sizeof text));
    return text;
}

std::string clipboardText()
{
    EXPECT_EQ(1, desk.format);
    EXPECT_FALSE(desk.held.empty());
    EXPECT_EQ(0, desk.held.back());
    return reinterpret_cast<const char*>(desk.held.data());
}

void fill(std::vector<Bytes>& a, int32_t x, int32_t y, uint8_t old, uint8_t value)
{
    std::vector<std::pair<int32_t, int32_t>> open{{x, y}};
    const auto cols = static_cast<int32_t>(a[0].size()), rows = static_cast<int32_t>(a.size());
    while (!open.empty()) {
        const auto [px, py] = open.back();
        open.pop_back();
        if (px < 0 || py < 0 || px >= cols || py >= rows)
            continue;
        uint8_t& pixel = a[static_cast<std::size_t>(py)][static_cast<std::size_t>(px)];
        if (pixel != old || old == value)
            continue;
        pixel = value;
        for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
            open.emplace_back(px + dx, py + dy);
    }
}

// The box as bytes, filled, and put back whole.
void plainFill(int32_t x, int32_t y, uint8_t value, int32_t im)
{
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    I_ROIBoundingBox(&left, &top, &right, &bottom, im);
    const int32_t cols = right - left + 1, rows = bottom - top + 1;
    std::vector<Bytes> a(static_cast<std::size_t>(rows), Bytes(static_cast<std::size_t>(cols)));
    Bytes flat(static_cast<std::size_t>(cols * rows));
    int32_t tableCols = 0;
    void** table = I_ImGet2DPtr(&tableCols, nullptr, im, PIX_BYTE);
    const bool inPlace = table && left == 0;
    if (inPlace)
        for (int32_t r = 0; r < rows; ++r)
            std::memcpy(&flat[static_cast<std::size_t>(r * cols)], table[top + r],
                        static_cast<std::size_t>(cols));
    else
        I_GetBlockTypeEx(left, top, cols, rows, flat.data(), im, PIX_BYTE, 0);
    for (std::size_t r = 0; r < a.size(); ++r)
        std::copy_n(&flat[r * a[r].size()], a[r].size(), a[r].begin());
    fill(a, x, y, a[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)], value);
    for (std::size_t r = 0; r < a.size(); ++r)
        std::copy_n(a[r].begin(), a[r].size(), &flat[r * a[r].size()]);
    if (inPlace)
        for (int32_t r = 0; r < rows; ++r)
            std::memcpy(table[top + r], &flat[static_cast<std::size_t>(r * cols)],
                        static_cast<std::size_t>(cols));
    else
        I_PutBlockTypeEx(left, top, cols, rows, flat.data(), im, PIX_BYTE, 0);
}

} // namespace

TEST_F(ListingIndependent, FloodFillByItsDescription)
{
    Random random(3);
    for (const int32_t type : {PIX_BYTE, PIX_PALETTE, PIX_WORD, PIX_FLOAT, PIX_RGB24}) {
        for (int32_t round = 0; round < 60; ++round) {
            const int32_t cols = between(random, 1, 24), rows = between(random, 1, 20);
            const int32_t levels = between(random, 2, 3);
            const uint32_t seed = random();
            const auto make = [&] {
                Random same(seed);
                const int32_t im = image(cols, rows, type,
                                         [&](int32_t, int32_t) { return between(same, 0, levels - 1) * 40; });
                int32_t inverted = round % 3 == 0;
                I_ImSetParam(&inverted, 4, 19, im);
                return im;
            };
            const int32_t a = make(), b = make();
            int32_t left = between(random, 0, 1) ? between(random, 0, cols - 1) : 0;
            const int32_t top = between(random, 0, rows - 1);
            if (round % 4 == 0)
                I_SetROIType(0);
            else
                I_SetWindowROI(left, top, between(random, left, cols - 1), between(random, top, rows - 1));
            int32_t l = 0, t = 0, r = 0, bottom = 0;
            I_ROIBoundingBox(&l, &t, &r, &bottom, a);
            const int32_t x = between(random, 0, r - l), y = between(random, 0, bottom - t);
            const int32_t value = between(random, 0, 4) * 40;
            EXPECT_EQ(1, I_FloodFill(x, y, value, a));
            plainFill(x, y, static_cast<uint8_t>(value), b);
            ASSERT_EQ(bytesOf(b), bytesOf(a)) << type << " round " << round;
            EXPECT_EQ(0, I_FloodFill(r - l + 1, y, 7, a));
            EXPECT_EQ(0, I_FloodFill(x, -1, 7, a));
            EXPECT_EQ(0, I_FloodFill(-1, y, 7, a));
            EXPECT_EQ(0, I_FloodFill(x, bottom - t + 1, 7, a));
            ASSERT_EQ(bytesOf(b), bytesOf(a));
            closeImages({a, b});
        }
    }
}

TEST_F(ListingIndependent, FloodFillsArraysOfAnyShape)
{
    uint8_t pixels[3][4] = {{1, 1, 2, 1}, {2, 1, 2, 1}, {1, 2, 1, 1}};
    void* table[3] = {pixels[0], pixels[1], pixels[2]};
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 9, nullptr, 4, 3));
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 9, table, 0, 3));
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 9, table, 4, 0));
    EXPECT_EQ(0, I_FloodFillArray(4, 0, 9, table, 4, 3));
    EXPECT_EQ(0, I_FloodFillArray(0, 3, 9, table, 4, 3));
    EXPECT_EQ(0, I_FloodFillArray(-1, 0, 9, table, 4, 3));
    EXPECT_EQ(1, I_FloodFillArray(0, 0, 1, table, 4, 3));
    EXPECT_EQ(1, pixels[1][1]);
    EXPECT_EQ(1, I_FloodFillArray(1, 1, 9, table, 4, 3)); // not through the corner to (0, 2)
    const uint8_t expected[3][4] = {{9, 9, 2, 1}, {2, 9, 2, 1}, {1, 2, 1, 1}};
    EXPECT_EQ(0, std::memcmp(expected, pixels, sizeof pixels));
    EXPECT_EQ(1, I_FloodFillArray(2, 2, 8, table, 3, 3)); // three columns only
    EXPECT_EQ(8, pixels[2][2]);
    EXPECT_EQ(1, pixels[2][3]);
    // A spiral as long as the picture is large, and a comb.
    constexpr int32_t n = 701;
    void** big = Create2DArray(n, n, 1);
    const auto at = [&](int32_t x, int32_t y) -> uint8_t& { return static_cast<uint8_t*>(big[y])[x]; };
    int64_t open = 0;
    for (int32_t y = 0; y < n; ++y)
        for (int32_t x = 0; x < n; ++x) {
            const int32_t ring = std::min({x, y, n - 1 - x, n - 1 - y});
            const bool wall =
                ring % 2 == 1 && !(x == ring && y == ring + 1 + (ring % 4 == 1 ? 0 : n - 3 - 2 * ring));
            at(x, y) = wall;
            open += !wall;
        }
    const Messages messages;
    EXPECT_EQ(1, I_FloodFillArray(0, 0, 5, big, n, n));
    int64_t filled = 0;
    for (int32_t y = 0; y < n; ++y)
        filled += std::count(static_cast<uint8_t*>(big[y]), static_cast<uint8_t*>(big[y]) + n, 5);
    EXPECT_EQ(open, filled);
    EXPECT_TRUE(messages.all().empty());
    Free2DArray(big);
}

TEST_F(ListingIndependent, DescribesInOneLine)
{
    char text[100] = "x";
    EXPECT_EQ(0, I_DescribeImage(0, text, 100));
    EXPECT_EQ(0, I_DescribeImage(1, text, 100));
    const int32_t im = I_ImOpenEx(40, 30, PIX_BYTE, "plate 7");
    I_SetPixValueRange(2.6, 200.4, im);
    EXPECT_EQ(" -1\t  40x  30x 1 byt    \t3-200\t0MB plate 7\t", described(im));
    const int32_t wide = I_ImOpen(2048, 1536, PIX_BGR24);
    int32_t inverted = 1;
    I_ImSetParam(&inverted, 4, 19, wide);
    I_ImSetComment(("_" + std::string(60, 'c')).c_str(), wide);
    EXPECT_EQ(" -2\t2048x1536x 3 BGR-24bit \t0-0\t9MB " + std::string(50, 'c') + "\tinverted",
              described(wide));
    const std::pair<int32_t, const char*> types[] = {{0, "       "},
                                                     {PIX_WORD, "wrd    "},
                                                     {PIX_DWORD, "DWord  "},
                                                     {PIX_FLOAT, "float  "},
                                                     {PIX_DFLOAT, "Dfloat "},
                                                     {PIX_COMPLEX, "cplx   "},
                                                     {PIX_DCOMPLEX, "Dcplx  "},
                                                     {PIX_PALETTE, "Palette "},
                                                     {PIX_BGR15, "BGR-15bit "},
                                                     {PIX_BGR16, "BGR-16bit "},
                                                     {PIX_RGB24, "RGB-24bit "},
                                                     {PIX_BGR32, "BGR-32bit "},
                                                     {PIX_RGB32, "RGB-32bit "},
                                                     {PIX_PLANAR, "PLANAR "},
                                                     {14, "user   "},
                                                     {20, "user   "},
                                                     {8, "user   "}};
    for (const auto& [type, name] : types) {
        const int32_t other = I_ImOpen(3, 2, type);
        char expected[100];
        std::snprintf(expected, sizeof expected, " -3\t   3x   2x%2d %s\t0-0\t0MB \t", I_ImTypeBytes(type),
                      name);
        EXPECT_EQ(expected, described(other));
        I_ImClose(other);
    }
    const int32_t file = I_ImOpenFile(3, 2, 0, PIX_BYTE, nullptr);
    EXPECT_EQ(" -3\t   3x   2x 1 byt file\t0-0\t0MB \t", described(file));
    I_ImClose(file);
    ImageKindOps ops{};
    ops.getSize = [](int32_t* c, int32_t* r, int32_t* s, int32_t* t) {
        *c = *r = *s = 12345;
        *t = PIX_PALETTE;
        return 1;
    };
    for (const auto& [kind, name] :
         {std::pair{16, "display"}, {21, "grabber"}, {17, "special"}, {31, "special"}}) {
        ASSERT_EQ(1, addimagetype(kind, &ops));
        I_ImSetMemType(kind);
        const int32_t special = I_ImOpen(1, 1, PIX_PALETTE);
        I_ImSetMemType(0);
        EXPECT_EQ(" -3\t12345x12345x 1 Palette " + std::string(name) + "\t0-0\t145MB \t", described(special));
        I_ImClose(special);
    }
    EXPECT_EQ(1, I_DescribeImage(im, text, 5));
    EXPECT_STREQ(" -1\t", text);
}

TEST_F(ListingIndependent, ShowsWhatIsInsideTheRegion)
{
    const int32_t im = byteImage(4, 2, [](int32_t x, int32_t y) { return 10 * x + y; });
    I_SetWindowROI(1, 0, 2, 1);
    EXPECT_EQ(1, DescribeImage(im));
    double count = 0, mean = 0, deviation = 0, low = 0, high = 0;
    I_ComputePixelStats(1, &count, &mean, &deviation, &low, &high, im);
    char inside[100];
    std::snprintf(inside, sizeof inside, "\nInside ROI: npix=4 mean=15.5 stdev=%.2f min=10.0 max=21.0",
                  deviation);
    ASSERT_EQ(1u, desk.boxes.size());
    EXPECT_EQ(described(im) + inside, desk.boxes[0]);
    DescribeImage(-9);
    EXPECT_EQ("Image -9 is not open", desk.boxes[1]);
    DescribeImages(im, -7, 0);
    EXPECT_EQ(desk.boxes[0] + "\nImage -7 is not open\nImage 0 is not open\n", desk.boxes[2]);
    EXPECT_EQ(desk.boxes[2], clipboardText());
}

TEST_F(ListingIndependent, ListsAllImages)
{
    const int32_t a = I_ImOpenEx(1000, 600, PIX_WORD, "first % one"), b = I_ImOpen(10, 10, PIX_BYTE);
    const int32_t c = I_ImOpen(20, 10, PIX_FLOAT);
    I_ImClose(b);
    I_SetWindowROI(3, 4, 50, 60);
    const auto expected = [&](const char* roi) {
        char total[100];
        // 2000 * 600 * 2 + 80 * 10 * 4 bytes
        std::snprintf(total, sizeof total, "%.3f MB; %.1f MB available.\n", (2400000.0 + 3200.0) / 1048576.0,
                      1234567 / 1024.0);
        return "IMAGE LIST:\nIm#\tSize         Type\tRange\tComment\n" + described(a) + "\n" + described(c) +
               "\n\n2 of 2 images listed\n\nTotal memory used = " + total + "\nROI Type=" + roi +
               ";  Window= 3 4 50 60\n";
    };
    EXPECT_EQ(expected("Window"), ImageListBox1());
    I_SetROIType(0);
    EXPECT_EQ(expected("FullFrame"), ImageListBox1());
    const VexaPoint corners[3] = {{0, 0}, {5, 0}, {0, 5}}, run[2] = {{0, 0}, {3, 0}};
    I_SetPolygonROI(corners, 3);
    I_SetROIType(2);
    EXPECT_NE(std::string::npos, std::string(ImageListBox1()).find("\nROI Type=Polygon;  Window= "));
    I_SetScanlistROI(run, 2);
    I_SetROIType(3);
    EXPECT_NE(std::string::npos, std::string(ImageListBox1()).find("\nROI Type=Scanlist;  Window= "));
    char text[2000] = {};
    EXPECT_EQ(2, ImageListBox2(text, sizeof text));
    EXPECT_STREQ(ImageListBox1(), text);
    EXPECT_EQ(2, ImageListBox());
    ASSERT_EQ(1u, desk.boxes.size());
    EXPECT_EQ(text, desk.boxes[0]);
    EXPECT_EQ(text, clipboardText());
}

TEST_F(ListingIndependent, SharesWithTheClipboard)
{
    EXPECT_EQ(1, I_SetClipboardText("a\r\nb"));
    EXPECT_EQ("a\r\nb", clipboardText());
    EXPECT_EQ(5u, desk.held.size());
    const int32_t numbers[6] = {1, -2, 3, 4, 5, 6};
    EXPECT_EQ(1, I_SetClipboardArray(numbers, 4, 3, 2, "%d"));
    EXPECT_EQ("1\t-2\t3\r\n4\t5\t6", clipboardText());
    const float reals[2] = {0.5f, 2.25f};
    EXPECT_EQ(1, I_SetClipboardArray(reals, 4, 1, 2, "%.2f"));
    EXPECT_EQ("0.50\r\n2.25", clipboardText());
    EXPECT_EQ(0, I_GetClipboardImage()); // text is no picture
    for (const int32_t type : {PIX_BYTE, PIX_BGR24}) {
        const int32_t im = image(7, 5, type, [](int32_t x, int32_t y) { return 20 * x + y; });
        EXPECT_EQ(1, I_SetClipboardImage(im));
        EXPECT_EQ(8, desk.format);
        void* dib = I_CopyImageToDIB(im, 0);
        const auto* p = static_cast<const uint8_t*>(vexaGlobalLock(dib));
        EXPECT_EQ(Bytes(p, p + vexaGlobalSize(dib)), desk.held);
        vexaGlobalFree(dib);
        const Bytes held = desk.held;
        const int32_t back = I_GetClipboardImage();
        EXPECT_EQ(type, I_ImGetType(back));
        EXPECT_EQ(bytesOf(im), bytesOf(back));
        const int32_t again = I_GetClipboardImage();
        EXPECT_NE(0, again);
        EXPECT_EQ(held, desk.held);
        closeImages({im, back, again});
    }
    EXPECT_EQ(0, I_ImCount());
    desk.held.resize(20); // a torn block
    EXPECT_EQ(0, I_GetClipboardImage());
    desk.busy = true;
    const int32_t im = byteImage(2, 2);
    EXPECT_EQ(0, I_SetClipboardText("x"));
    EXPECT_EQ(0, I_SetClipboardImage(im));
    EXPECT_EQ(0, I_SetClipboardArray(numbers, 4, 3, 2, "%d"));
    int32_t x = 1, y = 1;
    getdestoffset(&x, &y);
    EXPECT_EQ(0, x | y);
    setdestoffset(-5, 8);
    getdestoffset(&x, nullptr);
    getdestoffset(nullptr, &y);
    EXPECT_EQ(-5, x);
    EXPECT_EQ(8, y);
}
