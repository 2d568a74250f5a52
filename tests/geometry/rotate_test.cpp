#include "vexalib/rotate.h"

#include <limits>

#include "core/display_state.h"
#include "geometry/sampler.h"
#include "support/instruction_set.h"
#include "tests/geometry/raw_pixels.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

constexpr double kPi = 3.14159265358979323846;

int32_t wrapped(int64_t x)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(x)));
}

int64_t fixed(float value)
{
    const double rounded = std::floor(static_cast<double>(value * 65536.0F) + 0.5);
    return rounded >= -2147483648.0 && rounded < 2147483648.0 ? static_cast<int64_t>(rounded)
                                                              : std::numeric_limits<int32_t>::min();
}

enum class Kind { nearest, bytes, floats };

// One pixel of the described samplers, positions in 1/32 pixel.
void sample(const Raw& source, Kind kind, int32_t x32, int32_t y32, uint8_t* out)
{
    if (kind == Kind::nearest) {
        std::memcpy(out, source.at((x32 + 16) >> 5, (y32 + 16) >> 5), static_cast<std::size_t>(source.bytes));
        return;
    }
    const int32_t i = x32 / 32;
    const int32_t j = y32 / 32;
    const int32_t fx = x32 % 32;
    const int32_t fy = y32 % 32;
    const int32_t right = std::min(i + 1, source.cols - 1);
    const int32_t below = std::min(j + 1, source.rows - 1);
    if (kind == Kind::floats) {
        const float u = static_cast<float>(fx) * 0.03125F;
        const float v = static_cast<float>(fy) * 0.03125F;
        const float value = (source.real(i, j) * (1 - u) + source.real(right, j) * u) * (1 - v) +
                            v * ((1 - u) * source.real(i, below) + u * source.real(right, below));
        std::memcpy(out, &value, sizeof value);
        return;
    }
    for (int32_t c = 0; c < source.bytes; ++c)
        out[c] = static_cast<uint8_t>(
            ((source.at(i, j)[c] * (32 - fx) + source.at(right, j)[c] * fx) * (32 - fy) +
             (source.at(i, below)[c] * (32 - fx) + source.at(right, below)[c] * fx) * fy) >>
            10);
}

using Inside = std::function<bool(int32_t x, int32_t y)>;

// What the destination becomes.
Raw rotated(const Raw& source, Raw dest, Kind kind, int32_t cx, int32_t cy, const float* m,
            const Inside& inside = {})
{
    const int64_t a = fixed(m[0]);
    const int64_t b = fixed(m[1]);
    const int64_t c = fixed(m[2] + static_cast<float>(cx));
    const int64_t d = fixed(m[3]);
    const int64_t e = fixed(m[4]);
    const int64_t f = fixed(m[5] + static_cast<float>(cy));
    for (int32_t y = 0; y < dest.rows; ++y)
        for (int32_t x = 0; x < dest.cols; ++x) {
            if (inside && !inside(x, y))
                continue;
            const int32_t px = wrapped((int64_t{x} - cx) * a + (int64_t{y} - cy) * b + c);
            const int32_t py = wrapped((int64_t{x} - cx) * d + (int64_t{y} - cy) * e + f);
            const int32_t x32 = px >> 11;
            const int32_t y32 = py >> 11;
            if (x32 >= 0 && y32 >= 0 && x32 <= source.cols * 32 - 32 && y32 <= source.rows * 32 - 32)
                sample(source, kind, x32, y32, dest.at(x, y));
        }
    return dest;
}

std::vector<float> turnMatrix(double degrees, double dx = 0, double dy = 0, double sx = 1, double sy = 1)
{
    const double r = degrees * 0.017453292519943295;
    return {static_cast<float>(std::cos(r) / sx),
            static_cast<float>(-(std::sin(r) / sy)),
            static_cast<float>(-dx),
            static_cast<float>(std::sin(r) / sx),
            static_cast<float>(std::cos(r) / sy),
            static_cast<float>(-dy)};
}

class Rotate : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        I_SetRotateSmooth(1);
        I_SetROIType(0);
        vexa::displayState().pixelAspect = 1.0;
    }
    static void check(int32_t src, int32_t dest, Kind kind, int32_t cx, int32_t cy, const float* m,
                      const Inside& inside = {})
    {
        const Raw expected = rotated(Raw(src), Raw(dest), kind, cx, cy, m, inside);
        ASSERT_EQ(1, I_Rotate(cx, cy, m, src, dest));
        ASSERT_EQ(expected.data, Raw(dest).data)
            << m[0] << " " << m[1] << " " << m[2] << " " << m[3] << " " << m[4] << " " << m[5];
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Rotate, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(Rotate, LiteralIdentityCopiesTheRegion)
{
    const float m[] = {1, 0, 0, 0, 1, 0};
    const int32_t src = noiseImage(45, 33, 1);
    const int32_t dest = noiseImage(45, 33, 2);
    EXPECT_EQ(1, I_Rotate(7, 9, m, src, dest));
    EXPECT_EQ(bytesOf(src), bytesOf(dest));
    closeImages({src, dest});
}

TEST_P(Rotate, LiteralPositionOnTheLastPixelIsAllowed)
{
    const int32_t src = byteImage({{10, 20}, {30, 40}});
    const int32_t dest = byteImage({{1, 2}, {3, 4}});
    const float lastColumn[] = {0, 0, 1, 0, 1, 0};
    EXPECT_EQ(1, I_Rotate(0, 0, lastColumn, src, dest));
    EXPECT_EQ((std::vector<uint8_t>{20, 20, 40, 40}), bytesOf(dest));
    // 1/64 pixel less than 1/32 beyond the last pixel loses its fraction; 1/32 beyond is outside.
    const float within[] = {0, 0, 1.0F + 1.0F / 64, 0, 0, 1};
    EXPECT_EQ(1, I_Rotate(0, 0, within, src, dest));
    EXPECT_EQ((std::vector<uint8_t>{40, 40, 40, 40}), bytesOf(dest));
    const float beyond[] = {0, 0, 1.0F + 1.0F / 32, 0, 0, 0};
    EXPECT_EQ(1, I_Rotate(0, 0, beyond, src, dest));
    EXPECT_EQ((std::vector<uint8_t>{40, 40, 40, 40}), bytesOf(dest));
    closeImages({src, dest});
}

TEST_P(Rotate, LiteralHalfwayAndNearest)
{
    const int32_t src = byteImage({{0, 100}, {50, 255}});
    const int32_t dest = byteImage({{0}});
    const float m[] = {1, 0, 0.5F, 0, 1, 0.5F};
    EXPECT_EQ(1, I_Rotate(0, 0, m, src, dest));
    EXPECT_EQ((0 + 100 + 50 + 255) / 4, pixel(dest, 0, 0));
    I_SetRotateSmooth(0);
    EXPECT_EQ(1, I_Rotate(0, 0, m, src, dest));
    EXPECT_EQ(255, pixel(dest, 0, 0)) << "16/32 rounds up";
    const float less[] = {1, 0, 15.0F / 32, 0, 1, 0.5F};
    EXPECT_EQ(1, I_Rotate(0, 0, less, src, dest));
    EXPECT_EQ(50, pixel(dest, 0, 0));
    closeImages({src, dest});
}

TEST_P(Rotate, AgainstReferenceBytesOfManySizesAndAngles)
{
    const int32_t sizes[][2] = {{1, 1}, {2, 1}, {1, 5}, {3, 3}, {15, 16}, {17, 33}, {64, 65}, {300, 70}};
    uint32_t seed = 3;
    for (const auto& size : sizes)
        for (const double angle : {0.0, 10.0, 45.0, 90.0, 133.7, 180.0, -28.0}) {
            const int32_t src = noise(size[0], size[1], PIX_BYTE, ++seed);
            const int32_t dest = noise(size[0] + 3, size[1], PIX_BYTE, ++seed);
            check(src, dest, Kind::bytes, size[0] / 2, size[1] / 2,
                  turnMatrix(angle, 1.25, -0.6, 1.1, 0.9).data());
            I_SetRotateSmooth(0);
            check(src, dest, Kind::nearest, size[0] / 2, size[1] / 2, turnMatrix(angle).data());
            I_SetRotateSmooth(1);
            closeImages({src, dest});
        }
}

TEST_P(Rotate, AgainstReferenceEveryType)
{
    const struct {
        int32_t type;
        Kind smooth;
    } cases[] = {{PIX_BYTE, Kind::bytes},       {PIX_WORD, Kind::nearest},    {PIX_DWORD, Kind::nearest},
                 {PIX_FLOAT, Kind::floats},     {PIX_DFLOAT, Kind::nearest},  {PIX_COMPLEX, Kind::nearest},
                 {PIX_DCOMPLEX, Kind::nearest}, {PIX_PALETTE, Kind::nearest}, {PIX_BGR24, Kind::bytes},
                 {PIX_RGB24, Kind::bytes},      {PIX_BGR32, Kind::bytes},     {PIX_RGB32, Kind::bytes},
                 {PIX_PLANAR, Kind::bytes}};
    for (const auto& [type, smooth] : cases) {
        const int32_t src = noise(37, 29, type, 5);
        const int32_t dest = noise(33, 31, type, 6);
        check(src, dest, smooth, 16, 14, turnMatrix(31.0, 0.3, 0.2, 1.3, 1.2).data());
        I_SetRotateSmooth(0);
        check(src, dest, Kind::nearest, 16, 14, turnMatrix(-12.0).data());
        I_SetRotateSmooth(1);
        closeImages({src, dest});
    }
}

TEST_P(Rotate, AgainstReferenceNarrowColoursAreSampledInThreeBytes)
{
    for (const int32_t type : {PIX_BGR15, PIX_BGR16}) {
        const int32_t src = noise(21, 19, type, 7);
        const int32_t dest = noise(21, 19, type, 8);
        const int32_t wideSrc = I_CloneImage(src, PIX_BGR24, 1);
        const int32_t wideDest = I_CloneImage(dest, PIX_BGR24, 1);
        const auto m = turnMatrix(20.0);
        check(wideSrc, wideDest, Kind::bytes, 10, 9, m.data());
        ASSERT_EQ(1, I_Rotate(10, 9, m.data(), src, dest));
        const int32_t back = I_CloneImage(wideDest, type, 1);
        EXPECT_EQ(bytesOf(back), bytesOf(dest));
        closeImages({src, dest, wideSrc, wideDest, back});
    }
}

TEST_P(Rotate, LiteralTheLowerTypeCodeIsTheWorkingType)
{
    // Floats into bytes: the source is sampled as bytes.
    const int32_t src = floatImage(20, 20, [](int32_t x, int32_t y) { return x * 7.3 + y * 4.1; });
    const int32_t dest = byteImage(20, 20);
    const int32_t bytes = I_CloneImage(src, PIX_BYTE, 1);
    const auto m = turnMatrix(15.0);
    const Raw expected = rotated(Raw(bytes), Raw(dest), Kind::bytes, 10, 10, m.data());
    EXPECT_EQ(1, I_Rotate(10, 10, m.data(), src, dest));
    EXPECT_EQ(expected.data, bytesOf(dest));
    // Types of one width are sampled as they stand: the bits of floats become 32-bit numbers.
    const int32_t longs = image(20, 20, PIX_DWORD);
    const float identity[] = {1, 0, 0, 0, 1, 0};
    EXPECT_EQ(1, I_Rotate(0, 0, identity, src, longs));
    EXPECT_EQ(bytesOf(src), bytesOf(longs));
    closeImages({src, dest, bytes, longs});
}

TEST_P(Rotate, BoundsRegions)
{
    const int32_t src = noise(80, 60, PIX_BYTE, 11);
    const auto m = turnMatrix(25.0, 2, 3);
    const int32_t dest = noise(80, 60, PIX_BYTE, 12);
    I_SetWindowROI(5, 7, 70, 41);
    check(src, dest, Kind::bytes, 40, 30, m.data(),
          [](int32_t x, int32_t y) { return x >= 5 && x <= 70 && y >= 7 && y <= 41; });
    // Runs that begin left of the image and end right of it; two on one row.
    const VexaPoint list[] = {{-9, 3}, {4, 3},   {70, 3},  {700, 3}, {0, 5},
                              {79, 5}, {10, 59}, {11, 59}, {0, 90},  {5, 90}};
    ASSERT_EQ(1, I_SetScanlistROI(list, 10));
    check(src, dest, Kind::bytes, 40, 30, m.data(), [](int32_t x, int32_t y) {
        return (y == 3 && (x <= 4 || x >= 70)) || y == 5 || (y == 59 && (x == 10 || x == 11));
    });
    closeImages({src, dest});
}

TEST_P(Rotate, BoundsInPlaceInvertedAndSubimages)
{
    const auto m = turnMatrix(-17.0, 1.5, 0.25);
    const int32_t im = noise(50, 40, PIX_BYTE, 13);
    check(im, im, Kind::bytes, 25, 20, m.data());
    const int32_t parent = noise(90, 80, PIX_BYTE, 14);
    const int32_t part = I_ImOpenSubimage(11, 9, 50, 40, parent);
    const int32_t dest = I_ImOpenSubimage(30, 35, 50, 40, im == 0 ? parent : im);
    EXPECT_EQ(20, Raw(dest).cols);
    check(part, dest, Kind::bytes, 25, 20, m.data());
    // The picture counts, whichever way its rows lie.
    const int32_t upright = noise(50, 40, PIX_BYTE, 15);
    const int32_t inverted = I_CloneImage(upright, 0, 1);
    ASSERT_EQ(1, I_ImInvertRows(inverted));
    const int32_t result = I_CloneImage(im, 0, 1);
    const int32_t expected = I_CloneImage(im, 0, 1);
    EXPECT_EQ(1, I_Rotate(25, 20, m.data(), upright, expected));
    EXPECT_EQ(1, I_Rotate(25, 20, m.data(), inverted, result));
    EXPECT_EQ(bytesOf(expected), bytesOf(result));
    ASSERT_EQ(1, I_ImInvertRows(result));
    EXPECT_EQ(1, I_Rotate(25, 20, m.data(), upright, result));
    ASSERT_EQ(1, I_ImInvertRows(result));
    EXPECT_EQ(bytesOf(expected), bytesOf(result));
    closeImages({part, dest, parent, im, upright, inverted, result, expected});
}

TEST_P(Rotate, BoundsImagesInFiles)
{
    for (const int32_t type : {PIX_BYTE, PIX_FLOAT, PIX_BGR24}) {
        const int32_t src = noise(50, 40, type, 34);
        const int32_t dest = noise(45, 38, type, 35);
        const int32_t fileSrc = inFile(src);
        const int32_t fileDest = inFile(dest);
        ASSERT_EQ(nullptr, I_ImGetPtr(0, 0, nullptr, nullptr, fileSrc));
        EXPECT_EQ(1, I_RotateShift(20, 18, 33.0, 1, 2, 1, 1, src, dest));
        EXPECT_EQ(1, I_RotateShift(20, 18, 33.0, 1, 2, 1, 1, fileSrc, fileDest));
        const int32_t result = I_CloneImage(fileDest, 0, 1);
        EXPECT_EQ(bytesOf(dest), bytesOf(result)) << type;
        closeImages({src, dest, fileSrc, fileDest, result});
    }
}

TEST_P(Rotate, BoundsMemoryOfTheCallersIsNotReadBeyondItsEnd)
{
    // Blocks that end with the last pixel: the sanitizer sees a read behind it.
    for (const int32_t cols : {1, 2, 3, 5, 16, 21}) {
        const std::vector<uint8_t> memory(static_cast<std::size_t>(cols * 7), 200);
        std::vector<uint8_t> pixels(memory.begin(), memory.end());
        pixels.shrink_to_fit();
        const int32_t src = I_ImOpenPtr(cols, 7, 0, PIX_BYTE, pixels.data());
        const int32_t dest = byteImage(40, 30);
        for (const double angle : {0.0, 30.0, 180.0})
            check(src, dest, Kind::bytes, cols / 2, 3, turnMatrix(angle, -3, -2).data());
        closeImages({src, dest});
        std::vector<float> floats(static_cast<std::size_t>(cols * 7), 1.5F);
        const int32_t real = I_ImOpenPtr(cols, 7, 0, PIX_FLOAT, floats.data());
        const int32_t realDest = floatImage(40, 30);
        check(real, realDest, Kind::floats, cols / 2, 3, turnMatrix(180.0).data());
        closeImages({real, realDest});
    }
}

TEST_P(Rotate, BoundsPositionsWrapAround)
{
    const int32_t src = noise(40, 30, PIX_BYTE, 16);
    const int32_t dest = noise(40, 30, PIX_BYTE, 17);
    std::mt19937 random(18);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {0, 1, -1, 0.5F, 900.25F, -3000.7F, 30000, 32767.9F, 1e9F, -1e30F, nan, 0.0001F};
    for (int32_t run = 0; run < 300; ++run) {
        float m[6];
        for (float& value : m)
            value = values[random() % std::size(values)];
        const int32_t centres[] = {
            0, 20, -7, 40000, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()};
        const int32_t cx = centres[random() % 6];
        check(src, dest, Kind::bytes, cx, 12, m);
    }
    closeImages({src, dest});
}

TEST_P(Rotate, LiteralFourQuarterTurnsAreTheIdentity)
{
    const int32_t im = noise(41, 41, PIX_BYTE, 19);
    const std::vector<uint8_t> before = bytesOf(im);
    for (int32_t turn = 0; turn < 4; ++turn)
        ASSERT_EQ(1, I_RotateShift(20, 20, 90.0, 0, 0, 1, 1, im, im));
    EXPECT_EQ(before, bytesOf(im));
    closeImages({im});
}

TEST(RotateShift, LiteralMatrix)
{
    const int32_t src = noise(60, 50, PIX_BYTE, 20);
    const int32_t dest = noise(60, 50, PIX_BYTE, 21);
    const Raw expected =
        rotated(Raw(src), Raw(dest), Kind::bytes, 30, 25, turnMatrix(12.5, 3, -4, 1.5, 0.75).data());
    EXPECT_EQ(1, I_RotateShift(30, 25, 12.5, 3, -4, 1.5, 0.75, src, dest));
    EXPECT_EQ(expected.data, bytesOf(dest));
    closeImages({src, dest});
}

TEST(RotateShift, LiteralAspectStretchesTheOffDiagonal)
{
    vexa::displayState().pixelAspect = 1.25;
    const int32_t src = noise(60, 50, PIX_BYTE, 22);
    const int32_t dest = noise(60, 50, PIX_BYTE, 23);
    auto m = turnMatrix(30);
    const double r = 30 * 0.017453292519943295;
    m[1] = static_cast<float>(-std::sin(r) * 1.25);
    m[3] = static_cast<float>(std::sin(r) / 1.25);
    const Raw expected = rotated(Raw(src), Raw(dest), Kind::bytes, 30, 25, m.data());
    EXPECT_EQ(1, I_RotateShift(30, 25, 30, 0, 0, 1, 1, src, dest));
    EXPECT_EQ(expected.data, bytesOf(dest));
    vexa::displayState().pixelAspect = 1.0;
    closeImages({src, dest});
}

TEST(RotateShift, LiteralRotatedShift)
{
    const int32_t src = noise(60, 50, PIX_BYTE, 24);
    const int32_t dest = noise(60, 50, PIX_BYTE, 25);
    const int32_t plain = I_CloneImage(dest, 0, 1);
    const double r = 40 * 0.017453292519943295;
    const double dx = (3 * std::cos(r) - 5 * std::sin(r)) / 2.0;
    const double dy = (std::sin(r) * 3 + 5 * std::cos(r)) / 0.5;
    const Raw expected =
        rotated(Raw(src), Raw(dest), Kind::bytes, 30, 25, turnMatrix(40, dx, dy, 2, 0.5).data());
    EXPECT_EQ(1, I_RotateShift1(30, 25, 40, 3, 5, 2, 0.5, src, dest, 1));
    EXPECT_EQ(expected.data, bytesOf(dest));
    const Raw unturned =
        rotated(Raw(src), Raw(plain), Kind::bytes, 30, 25, turnMatrix(40, 3, 5, 2, 0.5).data());
    EXPECT_EQ(1, I_RotateShift1(30, 25, 40, 3, 5, 2, 0.5, src, plain, 0));
    EXPECT_EQ(unturned.data, bytesOf(plain));
    closeImages({src, dest, plain});
}

TEST(RotateShift, FailuresZeroScalesAndNumbersThatAreNone)
{
    const int32_t im = noise(20, 20, PIX_BYTE, 26);
    clearError();
    EXPECT_EQ(0, I_RotateShift(5, 5, 10, 0, 0, 0, 1, im, im));
    EXPECT_EQ(0, I_RotateShift(5, 5, 10, 0, 0, 1, 0, im, im));
    EXPECT_EQ(0, I_RotateShift1(5, 5, 10, 1, 1, 0, 1, im, im, 1));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(1, I_RotateShift(5, 5, nan, 0, 0, 1, 1, im, im));
    EXPECT_EQ(1, I_RotateShift1(5, 5, nan, nan, 0, 1, 1, im, im, 1));
    // Positions that are no numbers fall on INT32_MIN and its multiples, of which 0 is one.
    const float m[] = {static_cast<float>(nan), 0, 0, 0, static_cast<float>(nan), 0};
    const Raw expected = rotated(Raw(im), Raw(im), Kind::bytes, 5, 5, m);
    EXPECT_EQ(1, I_Rotate(5, 5, m, im, im));
    EXPECT_EQ(expected.data, bytesOf(im));
    closeImages({im});
}

TEST(CalcMatrix, Literal)
{
    float m[6];
    EXPECT_EQ(1, CalcMatrix(3, 4, kPi / 6, 2, 5, m));
    const double expected[] = {std::cos(kPi / 6) * 2, 0.5 * 5, 3, -0.5 * 2, std::cos(kPi / 6) * 5, 4};
    for (int32_t i = 0; i < 6; ++i)
        EXPECT_NEAR(expected[i], m[i], 1e-6) << i;
    EXPECT_EQ(1, CalcMatrix(0, 0, 0, 0, 0, m));
    EXPECT_EQ(1.0F, m[0]);
    EXPECT_EQ(1.0F, m[4]);
    EXPECT_EQ(1, CalcMatrix(0, 0, 0, 1, 1, nullptr));
}

TEST(Match2Points, LiteralCarriesThePairsOntoEachOther)
{
    // A source turned by a quarter and twice as large: a bright dot at each of the two points.
    const int32_t src = byteImage(60, 60, [](int32_t x, int32_t y) {
        return x == 30 && y == 20 ? 250 : x == 20 && y == 20 ? 150 : 0;
    });
    const int32_t dest = byteImage(60, 60);
    const VexaPointF a0 = {30, 20};
    VexaPointF a1 = {20, 20};
    const VexaPointF b0 = {10, 12};
    VexaPointF b1 = {10, 7};
    I_SetRotateSmooth(0);
    EXPECT_EQ(1, I_Match2Points(src, dest, &a0, &a1, &b0, &b1));
    I_SetRotateSmooth(1);
    EXPECT_EQ(250, pixel(dest, 10, 12));
    EXPECT_EQ(150, pixel(dest, 10, 7));
    EXPECT_EQ(-10.0F, a1.x);
    EXPECT_EQ(0.0F, a1.y);
    EXPECT_EQ(0.0F, b1.x);
    EXPECT_EQ(-5.0F, b1.y);
    closeImages({src, dest});
}

TEST(Match2Points, LiteralPointsInOnePlaceHaveADistanceOfAHundredth)
{
    const int32_t src = noise(30, 30, PIX_BYTE, 27);
    const int32_t dest = noise(30, 30, PIX_BYTE, 28);
    const VexaPointF a0 = {5, 5};
    VexaPointF a1 = {5.005F, 5};
    const VexaPointF b0 = {8.9F, 9.9F};
    VexaPointF b1 = b0;
    const double k = static_cast<double>(a1.x - a0.x) / 0.01;
    const double t = std::atan2(1.0, 0.0);
    const float m[] = {
        static_cast<float>(std::cos(t) * k),  static_cast<float>(std::sin(t) * k), a0.x - b0.x,
        static_cast<float>(-std::sin(t) * k), static_cast<float>(std::cos(t) * k), a0.y - b0.y};
    const Raw expected = rotated(Raw(src), Raw(dest), Kind::bytes, 8, 9, m);
    EXPECT_EQ(1, I_Match2Points(src, dest, &a0, &a1, &b0, &b1));
    EXPECT_EQ(expected.data, bytesOf(dest));
    closeImages({src, dest});
}

TEST(RotateFailures, BadArguments)
{
    const int32_t im = noise(20, 20, PIX_BYTE, 29);
    const float m[] = {1, 0, 0, 0, 1, 0};
    VexaPointF point = {0, 0};
    EXPECT_EQ(0, I_Rotate(0, 0, nullptr, im, im));
    EXPECT_EQ(0, I_Match2Points(im, im, nullptr, &point, &point, &point));
    EXPECT_EQ(0, I_Match2Points(im, im, &point, &point, &point, nullptr));
    clearError();
    EXPECT_EQ(0, I_Rotate(0, 0, m, -299, im));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImGetSize(, im=-299)  im. not open", errorText());
    clearError();
    EXPECT_EQ(0, I_Rotate(0, 0, m, im, 5));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImGetSize(, im=5) im. not open", errorText());
    clearError();
    EXPECT_EQ(0, I_Rotate(0, 0, m, 0, im));
    closeImages({im});
}

TEST(RotateFailures, Allocations)
{
    const int32_t words = wordImage(1100, 1000);
    const int32_t bytes = byteImage(1100, 1000);
    const float m[] = {1, 0, 0, 0, 1, 0};
    std::vector<std::string> texts;
    forEachFailingAllocation([&] { return I_Rotate(0, 0, m, words, bytes); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 texts.push_back(errorText());
                             });
    const auto has = [&](const char* part) {
        return std::any_of(texts.begin(), texts.end(),
                           [&](const std::string& text) { return text.find(part) != std::string::npos; });
    };
    EXPECT_TRUE(has("Memory allocation failed: Malloc failed: RotatePrep 1.1 MBytes: "));
    EXPECT_TRUE(has("Memory allocation failed: I_Rotate 1.1 MBytes: "));
    closeImages({words, bytes});
}

// What profiles and lists of pixels build on.
TEST(Sampler, LiteralContextOfAnImageAndOfAConvertedOne)
{
    const int32_t im = noise(30, 20, PIX_BYTE, 30);
    vexa::SamplerContext context;
    const vexa::Sampler sampler = vexa::rotatePrep(im, PIX_BYTE, 1, context);
    ASSERT_NE(nullptr, sampler);
    EXPECT_FALSE(context.ownCopy);
    EXPECT_EQ(I_ImGetPtr(0, 0, nullptr, nullptr, im), context.data);
    EXPECT_EQ(32, context.rowBytes);
    EXPECT_EQ(30, context.cols);
    EXPECT_EQ(20, context.rowCount);
    EXPECT_TRUE(context.isByteLike);
    const int32_t words = I_CloneImage(im, PIX_WORD, 1);
    vexa::SamplerContext copy;
    const vexa::Sampler ofWords = vexa::rotatePrep(words, PIX_BYTE, 1, copy);
    ASSERT_NE(nullptr, ofWords);
    EXPECT_TRUE(copy.ownCopy);
    for (int32_t row : {-1, 20, 21})
        EXPECT_EQ(0, std::memcmp(copy.rows[row], copy.rows[row < 0 ? 0 : 19], 30)) << row;
    const Raw raw(im);
    for (int32_t y = 0; y <= 19 * 32; y += 37)
        for (int32_t x = 0; x <= 29 * 32; x += 23) {
            uint8_t expected = 0;
            uint8_t found[2] = {1, 2};
            sample(raw, Kind::bytes, x, y, &expected);
            context.out = found;
            copy.out = found + 1;
            sampler(context, x, y);
            ofWords(copy, x, y);
            ASSERT_EQ(expected, found[0]) << x << " " << y;
            ASSERT_EQ(expected, found[1]) << x << " " << y;
        }
    closeImages({im, words});
}

} // namespace
