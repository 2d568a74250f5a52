// The pictures of I_EdgeShape under the debug word.
#include "tests/support/recording_display.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/edge_shape.h"

namespace
{

using namespace vexa::test;

class ShapePicture : public testing::Test
{
protected:
    ~ShapePicture() override
    {
        I_SetDebug(0);
        I_SetROIType(0);
        I_SetColorMode(1);
        I_ImCloseAll();
        clearError();
    }

    struct Outputs {
        float result;
        int32_t edges;
        float minsep, width;
        bool operator==(const Outputs&) const = default;
    };

    static Outputs shape(int32_t im, const VexaBox& box = {46, 46, 54, 54})
    {
        Outputs o = {};
        o.result =
            I_EdgeShape(im, 110, &box, 10, &o.edges, &o.minsep, &o.width, nullptr, nullptr, nullptr, nullptr);
        return o;
    }

    static int32_t darkLine()
    {
        return byteImage(100, 100, [](int32_t x, int32_t) { return x >= 47 && x <= 52 ? 20 : 200; });
    }

    // Pixels of a value in a picture.
    static int64_t count(const Drawing& d, int32_t value)
    {
        return std::count(d.bytes.begin(), d.bytes.end(), value);
    }

    RecordingDisplay display;
};
class LiteralShapePicture : public ShapePicture
{
};
class FailuresShapePicture : public ShapePicture
{
};

TEST_F(LiteralShapePicture, NothingIsShownWithoutTheDebugWord)
{
    shape(darkLine());
    EXPECT_TRUE(display.opened.empty());
    EXPECT_TRUE(display.drawings.empty());
}

TEST_F(LiteralShapePicture, OnePictureForEachTrace)
{
    const int32_t im = darkLine();
    const std::vector<uint8_t> before = bytesOf(im);
    const Outputs plain = shape(im);
    const int32_t frame = byteImage(3, 3);
    I_SetGraphicsFrame(frame);
    I_SetColorMode(0);
    const int32_t images = I_ImCount();
    I_SetDebug(1);
    EXPECT_EQ(plain, shape(im)) << "no number depends on it";
    EXPECT_EQ(before, bytesOf(im));
    EXPECT_EQ(frame, I_GetGraphicsFrame());
    EXPECT_EQ(0, I_GetColorMode());
    EXPECT_EQ(images, I_ImCount());
    EXPECT_EQ(0, I_GetROIType());
    ASSERT_EQ(2U, display.drawings.size());
    const Drawing& first = display.drawings[0];
    const Drawing& second = display.drawings[1];
    // The circle of radius 14 about (50, 50), 2 pixels more, and the margin of 5 and 6 pixels.
    EXPECT_NEAR(28 + 4 + 1 + 6, first.cols, 2);
    EXPECT_EQ(400, first.stretch.targetWidth);
    EXPECT_EQ(400, first.stretch.targetHeight);
    EXPECT_GT(count(first, 253), 60) << "the circle";
    EXPECT_GT(count(first, 254), 10) << "the first trace";
    EXPECT_GE(count(first, 252), 1) << "where it begins";
    EXPECT_LT(count(second, 253), 200);
    EXPECT_GT(count(second, 253), count(first, 253)) << "the second trace has the circle's value";
}

TEST_F(LiteralShapePicture, OnePictureWhereThereIsNoCrossing)
{
    const int32_t im = byteImage(100, 100, [](int32_t, int32_t) { return 10; });
    I_SetDebug(1);
    EXPECT_EQ(-1.0F, shape(im).result);
    ASSERT_EQ(1U, display.drawings.size());
    EXPECT_GT(count(display.drawings[0], 253), 10) << "the diameter";
    EXPECT_EQ(0, count(display.drawings[0], 254));
}

TEST_F(FailuresShapePicture, BadImagesNoDisplayAndNoMemory)
{
    I_SetDebug(1);
    EXPECT_EQ(0.0F, shape(0).result);
    EXPECT_EQ(0.0F, shape(-33).result);
    EXPECT_TRUE(display.drawings.empty());
    const int32_t im = darkLine();
    display.refuses = true;
    EXPECT_EQ(2, shape(im).edges);
    EXPECT_TRUE(display.drawings.empty());
    const Messages messages;
    const int32_t images = I_ImCount();
    forEachFailingAllocation([&] { return shape(im).edges; }, [](int64_t) {});
    EXPECT_EQ(images, I_ImCount());
}

} // namespace
