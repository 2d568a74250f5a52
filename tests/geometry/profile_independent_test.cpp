// Profiles along lines, at points and over windows against their descriptions followed step by step.
#include "tests/geometry/plain_sampler.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Line {
    float x0, y0, x1, y1, step;
};

int32_t plainProfile(const Line& line, uint8_t* buffer, int32_t maxCount, int32_t im, int32_t pixelType)
{
    const double dx = double{line.x1} - line.x0, dy = double{line.y1} - line.y0;
    const int32_t n = static_cast<int32_t>(std::hypot(dx, dy) / std::fabs(line.step) + 1.0);
    int32_t take = std::clamp(n, 0, maxCount);
    if (n >= 1 && (buffer == nullptr || maxCount == 0))
        return n;
    if (n < 1 || take < 1)
        return 0;
    int32_t cols = 0, rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im))
        return 0;
    if (line.step == 1.0F) {
        const int32_t xi = std::max(static_cast<int32_t>(std::min(line.x0, line.x1)), 0);
        const int32_t yi = std::max(static_cast<int32_t>(std::min(line.y0, line.y1)), 0);
        const bool down = line.x1 == line.x0 && line.y0 == static_cast<float>(yi);
        const bool along = line.y1 == line.y0 && line.x0 == static_cast<float>(xi);
        if (down || along) {
            take = std::min(take, down ? rows - yi : cols - xi);
            if (take < 1 || (down ? xi >= cols : yi >= rows))
                return 0;
            I_GetBlockType(xi, yi, down ? 1 : take, down ? take : 1, buffer, im, pixelType);
            return take;
        }
    }
    const int32_t own = I_ImGetType(im);
    const Pixels pixels(im, samplingType(own, true), true);
    std::vector<uint8_t> temporary(index(int64_t{maxCount} * pixels.bytes));
    const bool converted = pixels.type != pixelType;
    uint8_t* out = converted ? temporary.data() : buffer;
    const int32_t d = std::max(n - 1, 1);
    double x = line.x0, y = line.y0;
    for (int32_t i = 0; i < take; ++i, x += dx / d, y += dy / d) {
        const auto X = static_cast<int32_t>(x * 32), Y = static_cast<int32_t>(y * 32);
        if (X < 0 || Y < 0)
            continue;
        if (X > (cols << 5) - 32 || Y > (rows << 5) - 32) {
            take = i - 1;
            break;
        }
        pixels.sample(X, Y, out + int64_t{i} * pixels.bytes, true);
    }
    if (converted && take >= 1)
        I_ArrayConvert(temporary.data(), pixels.type, buffer, pixelType, take);
    return take;
}

int32_t plainWide(const Line& line, int32_t width, std::vector<float>& out, int32_t maxCount, int32_t im)
{
    const double dx = double{line.x1} - line.x0, dy = double{line.y1} - line.y0;
    const auto length = static_cast<int32_t>(std::hypot(dx, dy));
    const double nx = dy / length, ny = -(dx / length);
    std::vector<float> one(index(maxCount));
    out.assign(one.size(), 0);
    int32_t count = 0;
    for (int32_t k = 0; k < width; ++k) {
        const int32_t j = k / 2, g = static_cast<int32_t>(j % 2 ? line.step : -line.step);
        const auto ox = static_cast<float>(j * nx * g), oy = static_cast<float>(j * ny * g);
        count = plainProfile({line.x0 + ox, line.y0 + oy, line.x1 + ox, line.y1 + oy, line.step},
                             reinterpret_cast<uint8_t*>(one.data()), maxCount, im, PIX_FLOAT);
        for (int32_t i = 0; i < count; ++i)
            out[index(i)] += one[index(i)];
    }
    for (float& v : out)
        v /= static_cast<float>(width);
    return count;
}

// A line whose steps between samples are exact in binary, beside, across or inside an image.
Line randomLine(Random& random, int32_t cols, int32_t rows)
{
    const auto place = [&](int32_t size) {
        const int32_t kind = between(random, 0, 3);
        const int32_t whole = between(random, kind == 0 ? -6 : 0, kind == 1 ? size + 6 : size - 1);
        return static_cast<float>(whole) +
               (between(random, 0, 1) ? 0.0F : static_cast<float>(between(random, 0, 15)) / 16);
    };
    Line line{place(cols), place(rows), place(cols), place(rows), 1.0F};
    const int32_t kind = between(random, 0, 5);
    if (kind == 0)
        line.x1 = line.x0;
    if (kind == 1)
        line.y1 = line.y0;
    const double length = std::hypot(double{line.x1} - line.x0, double{line.y1} - line.y0);
    if (kind < 2 && between(random, 0, 2)) // whole samples where it is as long as it is
        return line;
    const int32_t steps = 1 << between(random, 0, 6);
    line.step = static_cast<float>(length / (steps + 0.5)) * (between(random, 0, 1) ? 1.0F : -1.0F);
    if (length == 0 || between(random, 0, 9) == 0)
        line.step = 2;
    return line;
}

bool exactSteps(const Line& line)
{
    const double length = std::hypot(double{line.x1} - line.x0, double{line.y1} - line.y0);
    const auto n = static_cast<int32_t>(length / std::fabs(line.step) + 1.0), d = std::max(n - 1, 1);
    return (d & (d - 1)) == 0;
}

std::string tellLine(const Line& l)
{
    char text[200];
    std::snprintf(text, sizeof text, " (%g, %g) to (%g, %g) step %g", l.x0, l.y0, l.x1, l.y1, l.step);
    return text;
}

int32_t randomType(Random& random)
{
    static const int32_t kTypes[] = {1, 1, 1, 2, 3, 4, 4, 5, 6, 12, 13, 15, 16, 17, 18, 19, 23};
    return kTypes[random() % std::size(kTypes)];
}

void expectSame(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b, int32_t type,
                const std::string& what)
{
    if (type == PIX_FLOAT || type == PIX_COMPLEX) {
        for (int32_t i = 0; i < static_cast<int32_t>(a.size() / 4); ++i)
            ASSERT_NEAR(at<float>(a.data(), i), at<float>(b.data(), i), 2e-3) << what << " number " << i;
    } else if (type == PIX_DFLOAT) {
        for (int32_t i = 0; i < static_cast<int32_t>(a.size() / 8); ++i)
            ASSERT_NEAR(at<double>(a.data(), i), at<double>(b.data(), i), 2e-3) << what << " number " << i;
    } else {
        for (std::size_t i = 0; i < a.size(); ++i)
            ASSERT_EQ(int{a[i]}, int{b[i]}) << what << " byte " << i;
    }
}

} // namespace

TEST(IndependentProfile, RandomLines)
{
    Random random(531);
    for (int32_t round = 0; round < 6000 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, randomType(random));
        const Picture p = shape.open();
        const Line line = randomLine(random, shape.cols, shape.rows);
        if (!exactSteps(line) && line.step != 1.0F) {
            p.close();
            continue;
        }
        const int32_t pixelType = between(random, 0, 1) ? shape.type : randomType(random);
        const int32_t maxCount = between(random, 0, 5) ? 100 : between(random, 0, 12);
        std::vector<uint8_t> expected(index(int64_t{100} * I_ImTypeBytes(pixelType)), 9), actual = expected;
        const std::string what = std::to_string(round) + ": " + tell(shape) + tellLine(line) + " as " +
                                 std::to_string(pixelType) + " max " + std::to_string(maxCount);
        const bool exact = exactSteps(line) || line.x0 == line.x1 || line.y0 == line.y1;
        const int32_t n = plainProfile(line, expected.data(), maxCount, p.im, pixelType);
        EXPECT_EQ(I_GetProfileType(line.x0, line.y0, line.x1, line.y1, line.step, actual.data(), maxCount,
                                   p.im, pixelType),
                  n)
            << what;
        if (exact)
            expectSame(expected, actual, pixelType, what);
        p.close();
    }
    clearError();
}

TEST(IndependentProfile, WideLines)
{
    Random random(532);
    for (int32_t round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, randomType(random));
        const Picture p = shape.open();
        // upright lines and lines along a row, so that what lies across is exact
        Line line = randomLine(random, shape.cols, shape.rows);
        (round % 2 ? line.x1 : line.y1) = round % 2 ? line.x0 : line.y0;
        line.x1 = line.x0 + std::floor(line.x1 - line.x0);
        line.y1 = line.y0 + std::floor(line.y1 - line.y0);
        line.step = static_cast<float>(1 << between(random, 0, 2)) * (between(random, 0, 1) ? 1.0F : -1.0F);
        if (line.x1 != line.x0 || line.y1 != line.y0) {
            const int32_t width = between(random, 2, 9) * (between(random, 0, 1) ? 1 : -1);
            std::vector<float> expected, actual(100, 5.0F);
            const std::string what = tell(shape) + tellLine(line) + " width " + std::to_string(width);
            const int32_t n = plainWide(line, std::abs(width), expected, 100, p.im);
            EXPECT_EQ(I_GetProfileTypeEx(line.x0, line.y0, line.x1, line.y1, line.step, width, actual.data(),
                                         100, p.im, PIX_FLOAT),
                      n)
                << what;
            for (int32_t i = 0; i < n; ++i)
                ASSERT_NEAR(expected[index(i)], actual[index(i)], 2e-3) << what << " sample " << i;
        }
        p.close();
    }
    clearError();
}

TEST(IndependentProfile, NewBlocksAndOtherTypes)
{
    Random random(537);
    for (int32_t round = 0; round < 600 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, randomType(random));
        const Picture p = shape.open();
        const Line line = randomLine(random, shape.cols, shape.rows);
        const int32_t type = round % 2 ? shape.type : randomType(random);
        const double length = std::hypot(double{line.x1} - line.x0, double{line.y1} - line.y0);
        const int32_t most = Rnd(static_cast<float>(length / std::fabs(line.step))) + 1;
        std::vector<uint8_t> expected(index(int64_t{most + 2} * I_ImTypeBytes(type)));
        const int32_t n = I_GetProfileType(line.x0, line.y0, line.x1, line.y1, line.step, expected.data(),
                                           most, p.im, type);
        int32_t count = -9;
        auto* block = static_cast<uint8_t*>(
            I_DupProfileType(line.x0, line.y0, line.x1, line.y1, line.step, &count, p.im, type));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(count, n);
        EXPECT_EQ(std::vector<uint8_t>(block, block + expected.size()), expected)
            << tell(shape) << tellLine(line);
        vexaFree(block);
        std::vector<float> wide(100);
        std::vector<uint8_t> bytes(100), converted(100);
        const int32_t m = I_GetProfileTypeEx(line.x0, line.y0, line.x1, line.y1, line.step, 4, wide.data(),
                                             90, p.im, PIX_FLOAT);
        EXPECT_EQ(I_GetProfileTypeEx(line.x0, line.y0, line.x1, line.y1, line.step, 4, bytes.data(), 90, p.im,
                                     PIX_BYTE),
                  m);
        if (m > 0)
            I_ArrayConvert(wide.data(), PIX_FLOAT, converted.data(), PIX_BYTE, m);
        EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + std::max(m, 0)),
                  std::vector<uint8_t>(converted.begin(), converted.begin() + std::max(m, 0)));
        p.close();
    }
    clearError();
}

TEST(IndependentProfile, LiteralNumbers)
{
    const int32_t im = byteImage(12, 12, [](int32_t x, int32_t y) { return 10 * x + y; });
    uint8_t b[20] = {};
    EXPECT_EQ(I_GetProfileType(3, 4, 3, 4, 1, b, 20, im, PIX_BYTE), 1); // length 0
    EXPECT_EQ(b[0], 34);
    EXPECT_EQ(I_GetProfileType(3, 4, 3, 4, 2, b, 20, im, PIX_BYTE), 1);
    EXPECT_EQ(I_GetProfileType(0, 0, 10, 0, 2, b, 20, im, PIX_BYTE), 6);
    EXPECT_EQ(I_GetProfileType(0, 0, 10, 0, -2, b, 20, im, PIX_BYTE), 6);
    EXPECT_EQ(b[1], 20);
    // from right to left: the general path keeps the direction; upward the block does not
    EXPECT_EQ(I_GetProfileType(10, 2, 5, 2, 1, b, 20, im, PIX_BYTE), 6);
    EXPECT_EQ(b[0], 102);
    EXPECT_EQ(b[5], 52);
    EXPECT_EQ(I_GetProfileType(5, 2, 10, 2, 1, b, 20, im, PIX_BYTE), 6);
    EXPECT_EQ(b[0], 52);
    // a question, even without an image
    EXPECT_EQ(I_GetProfileType(0, 0, 3, 4, 1, nullptr, 5, -290, PIX_BYTE), 6);
    EXPECT_EQ(I_GetProfileType(0, 0, 3, 4, 1, b, 0, -290, PIX_BYTE), 6);
    EXPECT_EQ(I_GetProfileType(0, 0, 3, 4, 1, b, -1, im, PIX_BYTE), 0);
    EXPECT_EQ(I_GetProfileType(0, 0, 3, 4, 1, b, 20, -290, PIX_BYTE), 0);
    // past the right edge the last sample is lost, too
    EXPECT_EQ(I_GetProfileType(8, 1, 16, 1, 2, b, 20, im, PIX_BYTE), 1); // 8, 10, then 12 ends it
    // gaps at negative positions
    std::fill(b, b + 20, uint8_t{7});
    EXPECT_EQ(I_GetProfileType(-2, 0, 2, 0, 2, b, 20, im, PIX_BYTE), 3);
    EXPECT_EQ(b[0], 7);
    EXPECT_EQ(b[2], 20);
    // three lines: the centre twice, one side once
    float f[20] = {};
    EXPECT_EQ(I_GetProfileTypeEx(2, 5, 8, 5, 1, 3, f, 20, im, PIX_FLOAT), 7);
    EXPECT_NEAR(f[0], (25 + 25 + 24) / 3.0, 1e-4); // j = 1: by +step along the normal (0, -1)
    EXPECT_EQ(I_GetProfileTypeEx(2, 5, 8, 5, 1, -1, f, 20, im, PIX_FLOAT), 7);
    EXPECT_EQ(f[0], 25.0F);
    int32_t count = 0;
    auto* copy = static_cast<uint8_t*>(I_DupProfileType(0, 3, 7, 3, 2, &count, im, PIX_BYTE));
    EXPECT_EQ(count, 4); // Rnd(3.5) + 1 = 5 is the limit, trunc(3.5 + 1) the number
    EXPECT_EQ(copy[3], 73);
    EXPECT_EQ(copy[5], 0);
    EXPECT_EQ(copy[6], 0);
    vexaFree(copy);
    clearError();
    closeImages({im});
}

TEST(IndependentProfile, ReadsPoints)
{
    Random random(533);
    for (int32_t round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, randomType(random));
        const Picture p = shape.open();
        const int32_t pixelType = between(random, 0, 1) ? shape.type : randomType(random), count = 20;
        std::vector<VexaPointF> points(count);
        const Pixels pixels(p.im, samplingType(shape.type, true), true);
        std::vector<uint8_t> sampled(index(int64_t{count} * pixels.bytes));
        std::vector<uint8_t> expected(index(int64_t{count} * I_ImTypeBytes(pixelType)), 3), actual = expected;
        for (int32_t i = 0; i < count; ++i) {
            VexaPointF& q = points[index(i)];
            q = {static_cast<float>(between(random, -300, shape.cols * 100 + 300)) / 100,
                 static_cast<float>(between(random, -300, shape.rows * 100 + 300)) / 100};
            pixels.sample(std::clamp(Rnd(q.x * 32), 0, (shape.cols << 5) - 32),
                          std::clamp(Rnd(q.y * 32), 0, (shape.rows << 5) - 32),
                          &sampled[index(int64_t{i} * pixels.bytes)], true);
        }
        if (pixels.type == pixelType)
            expected = sampled;
        else
            I_ArrayConvert(sampled.data(), pixels.type, expected.data(), pixelType, count);
        EXPECT_EQ(I_GetPixelsInList(points.data(), actual.data(), count, p.im, pixelType), count);
        expectSame(expected, actual, pixelType, tell(shape) + " as " + std::to_string(pixelType));
        EXPECT_EQ(I_GetPixelsInList(points.data(), nullptr, 7, p.im, pixelType), 7);
        EXPECT_EQ(I_GetPixelsInList(points.data(), actual.data(), -3, p.im, pixelType), -3);
        p.close();
    }
    VexaPointF point{1, 1};
    uint8_t b = 0;
    EXPECT_EQ(I_GetPixelsInList(&point, &b, 1, -290, PIX_BYTE), 0);
    EXPECT_EQ(I_PutPixelsInList(&point, &b, 1, -290, PIX_BYTE), 0);
    clearError();
}

TEST(IndependentProfile, WritesPoints)
{
    Random random(534);
    for (int32_t round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, randomType(random));
        const Picture expected = shape.open(), actual = shape.open();
        const int32_t pixelType = between(random, 0, 1) ? shape.type : PIX_BYTE, count = 6;
        const int32_t bytes = I_ImTypeBytes(shape.type), type = shape.type;
        std::vector<uint8_t> values(index(int64_t{count} * I_ImTypeBytes(pixelType)));
        for (uint8_t& v : values)
            v = static_cast<uint8_t>(random() % 256);
        for (int32_t i = 0; i < count && pixelType == PIX_FLOAT; ++i)
            put<float>(values.data(), i, static_cast<float>(i) + 0.5F);
        std::vector<uint8_t> own(index(int64_t{count} * bytes));
        I_ArrayConvert(values.data(), pixelType, own.data(), type, count);
        auto** rows = reinterpret_cast<uint8_t**>(
            I_ImGet2DPtr(nullptr, nullptr, expected.im, samplingType(type, true)));
        std::vector<VexaPointF> points(count);
        for (int32_t i = 0; i < count; ++i) {
            VexaPointF& q = points[index(i)];
            q = {static_cast<float>(between(random, -100, shape.cols * 100)) / 100,
                 static_cast<float>(between(random, -100, shape.rows * 100)) / 100};
            const int32_t X = std::clamp(Rnd(q.x * 32), 0, (shape.cols << 5) - 32);
            const int32_t Y = std::clamp(Rnd(q.y * 32), 0, (shape.rows << 5) - 32);
            if (rows == nullptr)
                continue;
            const uint8_t* v = &own[index(int64_t{i} * bytes)];
            if (type != PIX_BYTE && type <= 12) {
                std::copy_n(v, bytes, rows[(Y + 16) >> 5] + ((X + 16) >> 5) * bytes);
                continue;
            }
            const int32_t fx = X & 31, fy = Y & 31;
            for (int32_t k = 0; k < 4; ++k) {
                const int32_t w = (k < 2 ? 32 - fy : fy) * (k % 2 ? fx : 32 - fx);
                uint8_t* pixel = rows[(Y >> 5) + k / 2] + ((X >> 5) + k % 2) * bytes;
                for (int32_t c = 0; w != 0 && c < bytes; ++c)
                    pixel[c] = static_cast<uint8_t>((pixel[c] * (1024 - w) + v[c] * w) >> 10);
            }
        }
        EXPECT_EQ(I_PutPixelsInList(points.data(), values.data(), count, actual.im, pixelType), count);
        expectSame(expected.bytes(), actual.bytes(), PIX_BYTE,
                   tell(shape) + " from " + std::to_string(pixelType));
        EXPECT_EQ(I_PutPixelsInList(points.data(), nullptr, 4, actual.im, pixelType), 4);
        expected.close();
        actual.close();
    }
    clearError();
}

TEST(IndependentProfile, DrawnLines)
{
    Random random(535);
    for (int32_t round = 0; round < 800 && !testing::Test::HasFailure(); ++round) {
        Shape shape = randomShape(random, round % 3 ? PIX_BYTE : randomType(random));
        shape.inFile = false;
        const Picture p = shape.open(), drawn = shape.open(), expected = shape.open();
        VexaPoint a{between(random, -5, shape.cols + 5), between(random, -3, shape.rows + 3)};
        VexaPoint b{between(random, -5, shape.cols + 5), between(random, -3, shape.rows + 3)};
        const VexaPointF fa{static_cast<float>(a.x), static_cast<float>(a.y)};
        const VexaPointF fb{static_cast<float>(b.x), static_cast<float>(b.y)};
        std::vector<VexaPoint> whole(200);
        std::vector<VexaPointF> parts(200);
        std::vector<uint8_t> bytes(200), put(200);
        const int32_t n = I_GetLineCoords(p.im, &a, &b, whole.data());
        EXPECT_EQ(I_GetLineFCoords(p.im, &fa, &fb, parts.data()), n);
        EXPECT_EQ(I_GetLineProfile(p.im, &a, &b, bytes.data()), n);
        for (uint8_t& v : put)
            v = static_cast<uint8_t>(random() % 256);
        EXPECT_EQ(I_PutLineProfile(drawn.im, &a, &b, put.data()), n);
        I_SetColorProcMode(3);
        for (int32_t i = 0; i < n; ++i) {
            const VexaPoint q = whole[index(i)];
            ASSERT_EQ(std::floor(parts[index(i)].x), q.x);
            ASSERT_EQ(std::floor(parts[index(i)].y), q.y);
            if (n > 1) { // a single point is exact
                ASSERT_EQ(parts[index(i)].x * 2048, std::floor(parts[index(i)].x * 2048));
            }
            ASSERT_EQ(bytes[index(i)], static_cast<uint8_t>(static_cast<int32_t>(I_GetPix(q.x, q.y, p.im))))
                << tell(shape);
            I_PutPixByte(q.x, q.y, put[index(i)], expected.im);
        }
        EXPECT_EQ(expected.bytes(), drawn.bytes()) << tell(shape);
        for (const Picture& picture : {p, drawn, expected})
            picture.close();
    }
    clearError();
}

TEST(IndependentProfile, ColourBesideTheStatisticMode)
{
    const int32_t im = I_ImOpen(3, 1, PIX_BGR24);
    const uint8_t pixels[9] = {1, 2, 3, 10, 20, 30, 40, 50, 61};
    I_PutBlockType(0, 0, 3, 1, pixels, im, PIX_BGR24);
    const VexaPoint from{2, 0}, to{0, 0};
    for (const auto& [mode, first] :
         {std::pair{0, 61}, std::pair{2, 40}, std::pair{-2, 50}, std::pair{3, 50}}) {
        I_SetStatsProcMode(mode);
        I_ResetColorProcMode();
        uint8_t bytes[3] = {};
        EXPECT_EQ(I_GetLineProfile(im, &from, &to, bytes), 3);
        EXPECT_EQ(bytes[0], first) << mode;
        EXPECT_EQ(I_GetColorProcMode(), 3); // put back
    }
    I_SetStatsProcMode(-2);
    I_ResetColorProcMode();
    closeImages({im});
}

TEST(IndependentProfile, WindowSums)
{
    Random random(536);
    for (int32_t round = 0; round < 2500 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, randomType(random));
        const Picture p = shape.open();
        // where pixels have no address, or lie bottom-up, negative positions are another matter
        const int32_t beyond = shape.inverted || shape.inFile ? 0 : -2;
        const int32_t x = between(random, beyond, shape.cols + 1), y = between(random, beyond, shape.rows);
        const int32_t w = between(random, -1, shape.cols + 4), h = between(random, -1, shape.rows + 3);
        std::vector<uint32_t> columns(100, 5), rows(100, 5), sums = columns, lines = rows;
        int32_t expected = 0;
        if (w >= 1 && h >= 1) {
            std::fill_n(sums.begin(), w, 0U);
            std::fill_n(lines.begin(), h, 0U);
            const int32_t limitedW = std::min(w, shape.cols - x), limitedH = std::min(h, shape.rows - y);
            expected = limitedW >= 1 && limitedH >= 1;
            auto** table = reinterpret_cast<uint8_t**>(I_ImGet2DPtr(nullptr, nullptr, p.im, PIX_BYTE));
            std::vector<uint8_t> block(index(expected ? int64_t{limitedW} * limitedH : 0));
            if (expected && table == nullptr) // before the first column and row it holds zeros
                I_GetBlockType(x, y, limitedW, limitedH, block.data(), p.im, PIX_BYTE);
            for (int32_t r = 0; expected && r < limitedH; ++r)
                for (int32_t c = 0; c < limitedW; ++c) {
                    const uint32_t v = table == nullptr         ? block[index(r * limitedW + c)]
                                       : x + c < 0 || y + r < 0 ? 0U
                                                                : table[y + r][x + c];
                    sums[index(c)] += v;
                    lines[index(r)] += v;
                }
        }
        const std::string what = tell(shape) + " " + std::to_string(x) + " " + std::to_string(y) + " " +
                                 std::to_string(w) + " " + std::to_string(h);
        const int32_t absent = between(random, 0, 5); // either array may be left out
        EXPECT_EQ(I_GetWindowProfiles(x, y, w, h, p.im, absent == 0 ? nullptr : columns.data(),
                                      absent == 1 ? nullptr : rows.data()),
                  expected)
            << what;
        if (absent != 0) {
            EXPECT_EQ(sums, columns) << what;
        }
        if (absent != 1) {
            EXPECT_EQ(lines, rows) << what;
        }
        // the older form: by rows as they lie, and nothing for a window that is not inside
        const bool inside =
            w >= 1 && h >= 1 && x >= 0 && y >= 0 && x + w <= shape.cols && y + h <= shape.rows;
        std::vector<uint32_t> oldColumns(100, 5), oldRows(100, 5), rowSums = oldRows, columnSums = oldColumns;
        std::vector<uint8_t> row(index(std::max(w, 1)));
        for (int32_t c = 0; inside && c < w; ++c)
            columnSums[index(c)] = 0;
        for (int32_t r = 0; inside && r < h; ++r) {
            I_GetBlockType(x, y + r, w, 1, row.data(), p.im, PIX_BYTE);
            rowSums[index(r)] = 0;
            for (int32_t c = 0; c < w; ++c) {
                rowSums[index(r)] += row[index(c)];
                columnSums[index(c)] += row[index(c)];
            }
        }
        const int32_t old = xI_GetWindowProfiles(x, y, w, h, p.im, oldColumns.data(), oldRows.data());
        if (w >= 1 && h >= 1) {
            EXPECT_EQ(old, inside) << what;
        }
        EXPECT_EQ(columnSums, oldColumns) << what;
        EXPECT_EQ(rowSums, oldRows) << what;
        p.close();
    }
    const int32_t words = wordImage(20, 10);
    uint32_t sums[20];
    for (const bool older : {false, true})
        forEachFailingAllocation(
            [&] {
                clearError();
                return older ? xI_GetWindowProfiles(0, 0, 20, 10, words, sums, nullptr)
                             : I_GetWindowProfiles(0, 0, 20, 10, words, sums, nullptr);
            },
            [&](int64_t result) {
                EXPECT_EQ(result, 0);
                EXPECT_EQ(I_GetError(nullptr, 0), 2);
            });
    clearError();
    closeImages({words});
}
