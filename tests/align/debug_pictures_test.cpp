// What alignment shows of its work under the debug word.
#include "align/debug_pictures.h"
#include "align/pattern_pyramid.h"
#include "tests/support/recording_display.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;

// A scene with edges in both directions, moved.
int32_t scene(int32_t dx, int32_t dy)
{
    return byteImage(120, 90, [=](int32_t x, int32_t y) {
        return 40 + (x - dx > 55 ? 100 : 0) + (y - dy > 40 ? 60 : 0) + ((x - dx) * 7 + (y - dy) * 5) % 11;
    });
}

// Shows what goes to message boxes, and keeps the pictures.
class DebugPictures : public testing::Test
{
protected:
    DebugPictures()
    {
        I_SetROIType(0);
        I_SetColorMode(1);
        I_SetMultiAlignParams(-0.2F, 0, 0);
    }
    ~DebugPictures() override
    {
        I_SetDebug(0);
        I_SetLinearCorrelation(1);
        I_SetMultiAlignParams(-0.2F, 0, 1);
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }

    RecordingDisplay display;
};
class LiteralDebugPictures : public DebugPictures
{
};
class FailuresDebugPictures : public DebugPictures
{
};

constexpr VexaBox kPattern = {40, 30, 71, 53};
constexpr VexaBox kSearch = {28, 20, 90, 65};

struct Found {
    int32_t count = 0;
    float x = 0.0F, y = 0.0F, quality = 0.0F;
    bool operator==(const Found&) const = default;
};

Found search(int32_t a, int32_t b, int32_t levels)
{
    VexaBox pattern = kPattern, area = kSearch;
    Found f;
    f.count = I_WindowSearch(&pattern, a, &area, b, levels, &f.x, &f.y, &f.quality, 1);
    return f;
}

// Whether the sides of a box have a value all along.
bool hasBox(const Drawing& d, const VexaBox& box, int32_t value)
{
    bool all = true;
    for (int32_t x = box.left; x <= box.right; ++x)
        all = all && d.at(x, box.top) == value && d.at(x, box.bottom) == value;
    for (int32_t y = box.top; y <= box.bottom; ++y)
        all = all && d.at(box.left, y) == value && d.at(box.right, y) == value;
    return all;
}

TEST_F(LiteralDebugPictures, WithoutTheDebugWordNothingIsShown)
{
    const int32_t a = scene(0, 0), b = scene(3, -2);
    search(a, b, 3);
    float dx = 0, dy = 0, qx, qy;
    I_SmartAlign(a, b, nullptr, nullptr, 8, &dx, &dy, &qx, &qy);
    EXPECT_TRUE(display.opened.empty());
}

TEST_F(LiteralDebugPictures, SearchOfOneLevelShowsBothImages)
{
    const int32_t a = scene(0, 0), b = scene(3, -2);
    const std::vector<uint8_t> bytesA = bytesOf(a), bytesB = bytesOf(b);
    const Found plain = search(a, b, 1);
    EXPECT_NEAR(3.0F, plain.x, 0.2F);
    EXPECT_NEAR(-2.0F, plain.y, 0.2F);
    const int32_t images = I_ImCount();
    I_SetDebug(1);
    EXPECT_EQ(plain, search(a, b, 1)) << "no number depends on it";
    EXPECT_EQ(images, I_ImCount());
    EXPECT_EQ(bytesA, bytesOf(a));
    EXPECT_EQ(bytesB, bytesOf(b));
    ASSERT_EQ(2U, display.drawings.size());
    EXPECT_TRUE(hasBox(display.drawings[0], kPattern, 253));
    EXPECT_EQ(bytesA[0], display.drawings[0].at(0, 0));
    EXPECT_TRUE(hasBox(display.drawings[1], kSearch, 253));
    EXPECT_TRUE(hasBox(display.drawings[1], {43, 28, 74, 51}, 252)) << "what was found";
    EXPECT_EQ(35, display.drawings[0].stretch.targetY);
    EXPECT_NEAR(400, display.drawings[0].stretch.targetWidth * 2, 2);
}

TEST_F(LiteralDebugPictures, SearchOfLevelsShowsTheTopOnes)
{
    const int32_t a = scene(0, 0), b = scene(3, -2);
    for (const int32_t linear : {1, 0}) {
        I_SetLinearCorrelation(linear);
        display.drawings.clear();
        I_SetDebug(1);
        const Found found = search(a, b, 4);
        I_SetDebug(0);
        EXPECT_EQ(search(a, b, 4), found);
        ASSERT_EQ(4U, display.drawings.size());
        // 32 by 24 in 63 by 46 pixels. At level 2 there are 5 rows more, too few to search: level 1, doubled.
        const Drawing& pattern = display.drawings[2];
        const Drawing& area = display.drawings[3];
        EXPECT_NEAR(32, pattern.cols, 1);
        EXPECT_NEAR(24, pattern.rows, 1);
        EXPECT_NEAR(62, area.cols, 1);
        EXPECT_NEAR(46, area.rows, 1);
        for (const Drawing* d : {&pattern, &area}) {
            EXPECT_EQ(0, *std::min_element(d->bytes.begin(), d->bytes.end()));
            EXPECT_GE(*std::max_element(d->bytes.begin(), d->bytes.end()), 250);
        }
        // Dark at the upper left, bright at the lower right, also where the pattern was left as signed bytes.
        EXPECT_LT(pattern.at(0, 0), 30) << linear;
        EXPECT_GT(pattern.at(pattern.cols - 1, pattern.rows - 1), 220) << linear;
    }
}

TEST_F(LiteralDebugPictures, SearchWithoutPositionsShowsTheBoxes)
{
    const int32_t a = scene(0, 0);
    VexaBox pattern = kPattern, area = kSearch;
    I_SetDebug(1);
    float quality = 0.0F;
    EXPECT_EQ(1, I_WindowSearch(&pattern, a, &area, a, 1, nullptr, nullptr, &quality, 1));
    ASSERT_EQ(2U, display.drawings.size());
    EXPECT_TRUE(hasBox(display.drawings[1], kSearch, 253));
    EXPECT_FALSE(hasBox(display.drawings[1], kPattern, 252));
}

TEST_F(LiteralDebugPictures, SmartAlignShowsTheMisregistration)
{
    const int32_t def = scene(0, 0), ref = scene(3, -2);
    float dx = 3.0F, dy = -2.0F, qx = 0, qy = 0;
    I_SmartAlign(def, ref, nullptr, nullptr, 8, &dx, &dy, &qx, &qy);
    float dx1 = 3.0F, dy1 = -2.0F, qx1 = 0, qy1 = 0;
    const int32_t images = I_ImCount();
    I_SetDebug(1);
    I_SmartAlign(def, ref, nullptr, nullptr, 8, &dx1, &dy1, &qx1, &qy1);
    I_SetDebug(0);
    EXPECT_EQ(dx, dx1);
    EXPECT_EQ(dy, dy1);
    EXPECT_EQ(qx, qx1);
    EXPECT_EQ(images, I_ImCount());
    VexaPoint px = {}, py = {};
    FindClosestEdge(ref, nullptr, 13, &px, &py, nullptr, nullptr);
    ASSERT_LE(1U, display.drawings.size());
    const Drawing& d = display.drawings[0];
    EXPECT_EQ(120, d.cols);
    EXPECT_EQ(400, d.stretch.targetWidth);
    // S is 24. The box of both is drawn last.
    const VexaBox x = {px.x - 12, px.y - 3, px.x + 12, px.y + 3};
    const VexaBox y = {py.x - 3, py.y - 12, py.x + 3, py.y + 12};
    const VexaBox both = {std::min(x.left, y.left), std::min(x.top, y.top), std::max(x.right, y.right),
                          std::max(x.bottom, y.bottom)};
    EXPECT_TRUE(hasBox(d, both, 252));
    // At the right offset nothing remains but the boxes.
    int32_t marks = 0;
    for (int32_t row = 10; row < 80; ++row)
        for (int32_t col = 10; col < 110; ++col) {
            const int32_t value = d.at(col, row);
            marks += value >= 252;
            EXPECT_TRUE(value == 128 || (value >= 252 && value <= 254)) << col << " " << row << ": " << value;
        }
    EXPECT_GT(marks, 60);
}

TEST_F(LiteralDebugPictures, SmartAlignTellsItsBoxes)
{
    const int32_t def = scene(0, 0), ref = scene(3, -2);
    static std::vector<std::string> boxes;
    boxes.clear();
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
        boxes.emplace_back(text);
        return answer;
    };
    vexaSetPlatform(&platform);
    VexaPoint px = {}, py = {};
    FindClosestEdge(ref, nullptr, 13, &px, &py, nullptr, nullptr);
    float dx = 0, dy = 0;
    I_SetDebug(1);
    I_SmartAlign(def, ref, nullptr, nullptr, 8, &dx, &dy, nullptr, nullptr);
    ASSERT_LE(2U, boxes.size());
    const VexaBox x = {px.x - 12, px.y - 3, px.x + 12, px.y + 3};
    const VexaBox y = {py.x - 3, py.y - 12, py.x + 3, py.y + 12};
    char expected[300];
    std::snprintf(expected, sizeof expected,
                  "xbox=%d %d %d %d  ybox=%d %d %d %d  abox = %d %d %d %d  xpk=%d %d, ypk = %d %d", x.left,
                  x.top, x.right, x.bottom, y.left, y.top, y.right, y.bottom, std::min(x.left, y.left),
                  std::min(x.top, y.top), std::max(x.right, y.right), std::max(x.bottom, y.bottom), px.x,
                  px.y, py.x, py.y);
    EXPECT_EQ(expected, boxes[1]);
}

TEST_F(FailuresDebugPictures, BadImagesAndNoDisplay)
{
    I_SetDebug(1);
    const Messages messages;
    float dx = 0, dy = 0;
    EXPECT_EQ(1, I_SmartAlign(0, 0, nullptr, nullptr, 8, &dx, &dy, nullptr, nullptr));
    EXPECT_EQ(1, I_SmartAlign(-44, -45, nullptr, nullptr, 8, &dx, &dy, nullptr, nullptr));
    EXPECT_EQ(0, search(-44, -45, 3).count);
    EXPECT_TRUE(display.drawings.empty());
    const int32_t a = scene(0, 0), b = floatImage(120, 90, [](int32_t x, int32_t y) { return x * y; });
    display.refuses = true;
    search(a, b, 9);
    I_SmartAlign(a, b, nullptr, nullptr, 8, &dx, &dy, nullptr, nullptr);
    EXPECT_FALSE(display.opened.empty());
    EXPECT_TRUE(display.drawings.empty());
}

TEST_F(FailuresDebugPictures, WithoutMemory)
{
    const int32_t a = scene(0, 0), b = scene(3, -2);
    const int32_t images = I_ImCount();
    const Messages messages;
    I_SetDebug(1);
    forEachFailingAllocation([&] { return search(a, b, 1).count; }, [](int64_t) {});
    vexa::PyramidSlot patternSlot, searchSlot;
    VexaBox box = kPattern, area = kSearch;
    const PatternPyramid* pattern = patternSlot.reuseOrLearn(box, a, true);
    const PatternPyramid* searched = searchSlot.reuseOrLearn(area, b, false);
    const float x = 3.0F, y = -2.0F;
    forEachFailingAllocation(
        [&] {
            vexa::showSearch(*pattern, *searched, 2, 1, &x, &y);
            return 0;
        },
        [](int64_t) {});
    const VexaBox xBox = {40, 30, 60, 34}, yBox = {50, 20, 54, 50}, both = {40, 20, 60, 50};
    forEachFailingAllocation(
        [&] {
            vexa::showMisregistration(a, b, {0.4F, -0.3F}, xBox, yBox, both);
            return 0;
        },
        [](int64_t) {});
    EXPECT_EQ(images, I_ImCount());
    EXPECT_EQ(0, display.openTargets);
}

} // namespace
