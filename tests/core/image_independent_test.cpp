// The image table: numbers, strides, parameters, subimages, texts, against the literal description.
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

std::string expectedLookup(const char* name, int32_t im, bool outside)
{
    return std::string(name) + "(, im=" + std::to_string(im) +
           (outside ? ") im. not open" : ")  im. not open");
}

TEST(IndependentImage, LookupsTellTheirNames)
{
    const int32_t closed = byteImage(2, 2), open = byteImage(2, 2);
    I_ImClose(closed);
    uint8_t buffer[100] = {};
    const std::pair<const char*, std::function<void(int32_t)>> calls[] = {
        {"subimage", [](int32_t im) { I_ImOpenSubimage(0, 0, 1, 1, im); }},
        {"I_ImClose", [](int32_t im) { I_ImClose(im); }},
        {"I_ImGetType", [](int32_t im) { EXPECT_EQ(0, I_ImGetType(im)); }},
        {"I_ImGetType", [](int32_t im) { EXPECT_EQ(0, I_ImGetStride(im)); }},
        {"I_ImGetType", [](int32_t im) { EXPECT_EQ(0, I_ImIsFloat(im, nullptr)); }},
        {"I_ImGetParam", [&](int32_t im) { EXPECT_EQ(0, I_ImGetParam(buffer, 4, 3, im)); }},
        {"imsetparam", [&](int32_t im) { EXPECT_EQ(0, I_ImSetParam(buffer, 4, 11, im)); }},
        {"I_ImGetPtr", [](int32_t im) { EXPECT_EQ(nullptr, I_ImGetPtr(0, 0, nullptr, nullptr, im)); }},
        {"I_ImGetSize", [](int32_t im) { EXPECT_EQ(0, I_ImGetSize(nullptr, nullptr, nullptr, im)); }},
        {"I_ImInvertRows", [](int32_t im) { EXPECT_EQ(0, I_ImInvertRows(im)); }},
        {"ImConvertType", [](int32_t im) { EXPECT_EQ(0, I_ImConvertType(im, PIX_WORD)); }},
        {"I_GetBlockType",
         [&](int32_t im) { EXPECT_EQ(0, I_GetBlockType(0, 0, 1, 1, buffer, im, PIX_BYTE)); }},
        {"I_PutBlockType",
         [&](int32_t im) { EXPECT_EQ(0, I_PutBlockType(0, 0, 1, 1, buffer, im, PIX_BYTE)); }},
        {"CopyBlock", [&](int32_t im) { EXPECT_EQ(0, I_ImCopyBlock(1, 1, 0, 0, im, 0, 0, open)); }},
        {"I_ImClearBlockType", [](int32_t im) { EXPECT_EQ(0, I_ImClear(im, 0)); }},
        {"I_ImGetRange", [](int32_t im) { EXPECT_EQ(0, I_ImGetRange(nullptr, nullptr, im)); }}};
    for (const auto& [name, call] : calls) {
        for (const int32_t im : {closed, 5, -300, -100000}) {
            if (std::string(name) == "I_ImInvertRows")
                continue; // its own message follows the lookup's
            clearError();
            call(im);
            EXPECT_EQ(im == closed ? 20 : 24, I_GetError(nullptr, 0)) << name << im;
            EXPECT_EQ(expectedLookup(name, im, im != closed), errorText());
        }
    }
    clearError();
    EXPECT_EQ(0, I_ImGetType(0));
    EXPECT_EQ(0, I_ImGetStride(0));
    EXPECT_EQ(0, I_ImClose(0));
    EXPECT_EQ(0, I_ImValid(closed));
    EXPECT_EQ(0, I_ImValid(3));
    EXPECT_EQ(0, I_ImValid(-100000));
    EXPECT_EQ(1, I_ImValid(open));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    int32_t c = 9, r = 9, b = 9;
    EXPECT_EQ(0, I_ImGetSize(&c, &r, &b, closed));
    EXPECT_EQ(0, c + r + b);
}

TEST(IndependentImage, WidthsOfTypes)
{
    const std::vector<int32_t> two = {2, 13, 15, 21}, four = {3, 4, 18, 19}, eight = {5, 6},
                               three = {16, 17, 20, 22, 23};
    const auto in = [](const std::vector<int32_t>& v, int32_t t) {
        return std::find(v.begin(), v.end(), t) != v.end();
    };
    for (int32_t type = -3; type < 40; ++type) {
        EXPECT_EQ(in(two, type)     ? 2
                  : in(four, type)  ? 4
                  : in(eight, type) ? 8
                  : type == 7       ? 16
                  : in(three, type) ? 3
                                    : 1,
                  I_ImTypeBytes(type))
            << type;
    }
    for (const int32_t type : {1, 2, 3, 4, 5, 6, 7, 12, 13, 15, 16, 17, 18, 19, 23}) {
        for (const int32_t cols : {-4, 0, 1, 3, 8, 9}) {
            const int32_t im = I_ImOpen(cols, 2, type), bytes = I_ImTypeBytes(type),
                          width = std::max(cols, 1);
            int32_t c = 0, r = 0, b = 0, bands = 0;
            EXPECT_EQ(1, I_ImGetSize(&c, &r, &b, im));
            EXPECT_EQ(width, c);
            EXPECT_EQ(2, r);
            EXPECT_EQ(bytes, b);
            EXPECT_EQ((width * bytes + 7) & ~7, I_ImGetStride(im));
            EXPECT_EQ(type >= 4 && type <= 11, I_ImIsFloat(im, &bands));
            EXPECT_EQ(type < 12 ? 1 : 3, bands);
            I_SetColorProcMode(2);
            EXPECT_EQ(1, I_ImGetNBands(im));
            I_SetColorProcMode(3);
            uint8_t palette[1024];
            EXPECT_EQ(type == 1 || type == 12, I_ImGetParam(palette, 1024, 13, im));
            I_ImClose(im);
        }
    }
    clearError();
    EXPECT_EQ(0, I_ImOpenSpecial(3, 4, 17, 1, 10, 11));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImOpenSpecial(3, 4, 17 1, a b)", errorText());
    EXPECT_EQ(0, I_ImOpenSpecial(3, 4, 0, 1, 10, 11));
    uint8_t pixels[20] = {};
    const int32_t view = I_ImOpenPtr(3, 2, 0, PIX_BYTE, pixels);
    EXPECT_EQ(3, I_ImGetStride(view));
    EXPECT_EQ(0, I_ImOpenPtr(3, 2, 0, PIX_BYTE, nullptr));
    EXPECT_EQ(11, I_ImGetStride(I_ImOpenStride(3, 2, 11, PIX_BYTE)));
    const int32_t before = I_ImSetMemType(1);
    EXPECT_EQ(8, I_ImGetStride(I_ImOpen(3, 2, PIX_BYTE)));
    EXPECT_EQ(1, I_ImSetMemType(before));
    int32_t alignment = 16;
    EXPECT_EQ(1, I_ImSetParam(&alignment, 0, 7, view));
    EXPECT_EQ(16, I_ImGetStride(I_ImOpen(3, 2, PIX_BYTE)));
    alignment = 8;
    I_ImSetParam(&alignment, 0, 7, view);
}

TEST(IndependentImage, TableLimits)
{
    I_ImCloseAll();
    clearError();
    for (int32_t slot = 1; slot <= 298; ++slot)
        ASSERT_EQ(-slot, I_ImOpen(1, 1, PIX_BYTE));
    EXPECT_EQ(0, I_ImOpen(1, 1, PIX_BYTE));
    EXPECT_EQ(21, I_GetError(nullptr, 0));
    EXPECT_EQ("NO_AVAIL_IMAGE_HANDLES", errorText());
    EXPECT_EQ(-299, I_ImOpenSubimage(0, 0, 1, 1, -7));
    clearError();
    EXPECT_EQ(0, I_ImOpenSubimage(0, 0, 1, 1, -7));
    EXPECT_EQ("NO_AVAIL_IMAGE_HANDLES", errorText());
    EXPECT_EQ(299, I_ImCount());
    EXPECT_EQ(299, I_ImageCount());
    clearError();
    EXPECT_EQ(0, I_ImClose(-7));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImClose: Cannot close image -7: it has 1 open subimage(s)", errorText());
    EXPECT_EQ(1, I_ImClose(-299));
    EXPECT_EQ(1, I_ImClose3(-7, 0, -7));
    EXPECT_EQ(-7, I_ImOpen(2, 2, PIX_FLOAT));
    EXPECT_EQ(297 * 8.0 + 2 * 8 * 4, I_TotalBytesUsed());
    I_ImCloseAll();
    EXPECT_EQ(0, I_ImCount());
}

TEST(IndependentImage, Parameters)
{
    const int32_t im = I_ImOpen(10, 7, PIX_WORD);
    const int32_t wanted[][2] = {{0, 1},  {1, 2}, {2, 1}, {3, 10}, {4, 7}, {5, 10 * 65536 + 7},
                                 {6, 24}, {7, 8}, {8, 2}, {19, 0}};
    for (const auto& p : wanted) {
        int32_t v = -9;
        EXPECT_EQ(1, I_ImGetParam(&v, 4, p[0], im)) << p[0];
        EXPECT_EQ(p[1], v) << p[0];
    }
    int32_t v = PIX_BGR15;
    for (const int32_t code : {0, 2, 3, 4, 5, 8, 9, 16, 17, 18, 20, -1}) {
        EXPECT_EQ(0, I_ImSetParam(&v, 0, code, im)) << code;
    }
    for (const int32_t code : {16, 17, 18, 20, -1, 13})
        EXPECT_EQ(0, I_ImGetParam(&v, 4, code, im)) << code;
    EXPECT_EQ(1, I_ImSetParam(&v, 0, 1, im));
    EXPECT_EQ(PIX_BGR15, I_ImGetType(im));
    v = PIX_BYTE;
    EXPECT_EQ(1, I_ImSetParam(&v, 0, 1, im));
    EXPECT_EQ(PIX_BGR15, I_ImGetType(im));
    EXPECT_EQ(0, I_ImGetParam(nullptr, 4, 1, im));
    EXPECT_EQ(0, I_ImSetParam(nullptr, 4, 1, im));
    EXPECT_EQ(0, I_ImGetParam(&v, 4, 1, 0));
    double low = 1, high = 2;
    EXPECT_EQ(1, I_SetPixValueRange(-3.5, 8, im));
    EXPECT_EQ(1, I_GetPixValueRange(&low, &high, im));
    EXPECT_EQ(-3.5, low);
    EXPECT_EQ(8.0, high);

    char text[40] = {'x'};
    EXPECT_EQ(1, I_ImGetComment(text, 10, im));
    EXPECT_STREQ("", text);
    I_ImSetComment("_def", im);
    I_ImGetComment(text, sizeof text, im);
    EXPECT_STREQ("def", text);
    I_ImSetComment("abc", im);
    I_ImSetComment("_def", im);
    I_ImGetComment(text, sizeof text, im);
    EXPECT_STREQ("abc; def", text);
    char tight[9] = "zzzzzzzz";
    EXPECT_EQ(1, I_ImGetComment(tight, 5, im)); // as long as size - 1 or longer: no terminator
    EXPECT_STREQ("abc;zzzz", tight);
    EXPECT_EQ(0, I_ImGetComment(tight, 0, im));
    EXPECT_EQ(1, I_ImSetParam("1  2 3 4 5 6 ", 0, 15, im));
    I_ImGetParam(text, sizeof text, 15, im);
    EXPECT_STREQ("1  2 3 4 5 6 ", text);

    const int32_t sub = I_ImOpenSubimage(2, 3, 4, 4, im);
    I_ImGetComment(text, sizeof text, sub);
    EXPECT_EQ("Subimage of " + std::to_string(im) + " (abc; def) at 2 3", std::string(text));
    I_GetPixValueRange(&low, &high, sub);
    EXPECT_EQ(8.0, high);
    const int32_t copy = byteImage(1, 1);
    EXPECT_EQ(1, I_ImCopyParams(im, copy));
    I_ImGetComment(text, sizeof text, copy);
    EXPECT_STREQ("abc; def", text);
    EXPECT_EQ(0, I_ImCopyParams(0, copy));

    I_ImCloseAll();
    const int32_t one = I_ImOpenEx(1, 1, PIX_BYTE, "ax"), two = I_ImOpenEx(1, 1, PIX_BYTE, "xb");
    EXPECT_EQ(one, I_ImFind("x"));
    EXPECT_EQ(two, I_ImFind(nullptr));
    EXPECT_EQ(0, I_ImFind(""));
    EXPECT_EQ(one, I_ImFind(nullptr));
}

TEST(IndependentImage, SubimagesAndPointers)
{
    const int32_t im = byteImage(100, 100, [](int32_t x, int32_t y) { return x + y; });
    const int32_t sub = I_ImOpenSubimage(10, 10, 1000, 1000, im);
    int32_t c = 0, r = 0;
    I_ImGetSize(&c, &r, nullptr, sub);
    EXPECT_EQ(90, c);
    EXPECT_EQ(90, r);
    const int32_t inner = I_ImOpenSubimage(5, 6, 7, 8, sub);
    EXPECT_EQ(31, pixel(inner, 0, 0));
    EXPECT_EQ(0, I_ImClose(sub));
    clearError();
    EXPECT_EQ(0, I_ImOpenSubimage(-1, 0, 5, 5, im));
    EXPECT_EQ(13, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImOpenSubimage(-1 0 5 5 " + std::to_string(im) +
                  "), offset=-1, NewEnd=520, ParEnd=10400, stride=104",
              errorText());
    int32_t left = 0, stride = 0;
    auto* base = static_cast<uint8_t*>(I_ImGetPtr(0, 0, &left, &stride, im));
    EXPECT_EQ(10400, left);
    EXPECT_EQ(104, stride);
    EXPECT_EQ(base + 3 * 104 + 7, I_ImGetPtr(7, 3, &left, &stride, im));
    EXPECT_EQ(10400 - 3 * 104 - 7, left);
    EXPECT_EQ(base, I_ImGetPtr(-500, 0, &left, nullptr, im));
    EXPECT_EQ(base + 10399, I_ImGetPtr(5000, 99, &left, nullptr, im));
    EXPECT_EQ(1, left);
    clearError();
    EXPECT_EQ(nullptr, I_ImGetPtr(0, 100, nullptr, nullptr, im));
    EXPECT_EQ(26, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImGetPtr", errorText());
    EXPECT_EQ(nullptr, I_ImGetPtrEx(0, 0, nullptr, im, PIX_WORD));
    EXPECT_EQ(base, I_ImGetPtrEx(0, 0, nullptr, im, 0));
    void** rows = I_ImGet2DPtr(&c, &r, im, PIX_BYTE);
    EXPECT_EQ(base, rows[-1]);
    EXPECT_EQ(base, rows[-2]);
    EXPECT_EQ(base + 99 * 104, rows[99]);
    EXPECT_EQ(rows[99], rows[101]);
    const int32_t flag = 1;
    I_ImSetParam(&flag, 0, 19, im);
    rows = I_ImGet2DPtr(nullptr, nullptr, im, 0);
    EXPECT_EQ(base + 99 * 104, rows[0]);
    EXPECT_EQ(base + 99 * 104, rows[-2]);
    EXPECT_EQ(base, rows[101]);
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, PIX_WORD));
    EXPECT_NE(nullptr, I_ImGet2DPtr(nullptr, nullptr, I_ImOpen(2, 2, PIX_DWORD), PIX_FLOAT));
}

TEST(IndependentImage, ResizingAndConversion)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}});
    EXPECT_EQ(im, I_ImResize(2, 2, PIX_BYTE, im));
    EXPECT_EQ(4, pixel(im, 1, 1));
    EXPECT_EQ(im, I_ImResize(3, 2, PIX_WORD, im));
    EXPECT_EQ(PIX_WORD, I_ImGetType(im));
    EXPECT_EQ(0, pixel(im, 1, 1));
    const int32_t dword = I_ImOpen(1, 1, PIX_DWORD);
    const int32_t five = 5;
    I_PutBlockType(0, 0, 1, 1, &five, dword, PIX_DWORD);
    EXPECT_EQ(dword, I_ImResize(1, 1, PIX_FLOAT, dword)); // four bytes, code 4: taken for the same
    EXPECT_EQ(PIX_DWORD, I_ImGetType(dword));
    EXPECT_EQ(dword, I_ImResize(1, 1, PIX_DWORD, dword));
    EXPECT_EQ(0, pixel(dword, 0, 0));
    EXPECT_LT(I_ImResize(4, 4, PIX_BYTE, 0), 0);

    const int32_t turned = byteImage({{1, 2}, {3, 4}});
    int32_t flag = 1;
    I_ImSetParam(&flag, 0, 19, turned);
    EXPECT_EQ(1, I_ImConvertType(turned, PIX_FLOAT));
    EXPECT_THAT(rowOf(turned, 0), testing::ElementsAre(3, 4));
    I_ImGetParam(&flag, 4, 19, turned);
    EXPECT_EQ(0, flag);
    EXPECT_EQ(1, I_ImConvertType(turned, PIX_FLOAT));
    clearError();
    EXPECT_EQ(0, I_ImConvertType(turned, PIX_PALETTE));
    EXPECT_EQ("I_ImConvert to Palette not supported", errorText());
    const int32_t sub = I_ImOpenSubimage(0, 0, 1, 1, turned);
    EXPECT_EQ(0, I_ImConvertType(sub, PIX_BYTE));
    EXPECT_EQ("I_ImConvert: cannot change (realloc) non-memory or sub-image", errorText());
    I_ImClose(sub);
    forEachFailingAllocation(
        [&] { return I_ImConvertType(turned, PIX_WORD) != 0 ? I_ImConvertType(turned, PIX_FLOAT) : 0; },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_ImConvertType 2 x 2:"));
        });
    const Messages messages;
    clearError();
    const uint8_t value = 9;
    I_SetImAutoClear(1);
    const int32_t cleared = I_ImOpen(3, 3, PIX_BYTE);
    I_SetImAutoClear(0);
    EXPECT_EQ(0, pixel(cleared, 0, 0));
    EXPECT_EQ(1, I_ImClearBlockType(0, 0, -1, -1, &value, cleared, PIX_BYTE));
    EXPECT_THAT(rowOf(cleared, 1), testing::ElementsAre(9, 9, 0));
    EXPECT_THAT(rowOf(cleared, 2), testing::ElementsAre(0, 0, 0));
}

} // namespace
