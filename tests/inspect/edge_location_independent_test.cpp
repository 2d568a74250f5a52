// Level crossings, edges in images, widths and row offsets against their descriptions followed step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

// Whole differences: bytes and integers.
template <typename T>
float crossingWhole(const T* data, int32_t n, int32_t start, int32_t step, float level)
{
    const int32_t lo = step > 0 ? 0 : -step, hi = step > 0 ? n - 1 - step : n - 1;
    if (start >= hi || start < 0 || start < lo)
        return -1.0F;
    const auto difference = [&](int32_t i) {
        return static_cast<int32_t>(static_cast<long double>(data[i]) - static_cast<long double>(level));
    };
    int32_t prev = difference(start);
    for (int32_t cur = start; lo <= cur && cur <= hi; cur += step) {
        const int32_t next = difference(cur + step);
        const auto product = static_cast<int32_t>(static_cast<uint32_t>(prev) * static_cast<uint32_t>(next));
        if (product <= 0) {
            const double between = static_cast<double>(prev) - next;
            const auto fraction = static_cast<float>(prev == next ? 0.0 : prev / between);
            return static_cast<float>(cur + step * double{fraction});
        }
        prev = next;
    }
    return -1.0F;
}

float crossingFloat(const float* data, int32_t n, int32_t start, int32_t step, float level)
{
    const int32_t lo = step > 0 ? 0 : -step, hi = step > 0 ? n - 1 - step : n - 1;
    if (start >= hi || start < 0 || start < lo)
        return -1.0F;
    float prev = data[start] - level;
    for (int32_t cur = start; lo <= cur && cur <= hi; cur += step) {
        const float next = data[cur + step] - level;
        if (double{prev} * next <= 0) {
            const auto fraction = static_cast<float>(prev == next ? 0.0 : prev / (double{prev} - next));
            return static_cast<float>(cur + step * double{fraction});
        }
        prev = next;
    }
    return -1.0F;
}

void threeEdges(const float* data, int32_t n, int32_t start, float width, float level, float* e)
{
    if (start < 0)
        return;
    const double w3 = width / 3.0, low = 1.0 + w3;
    const auto from = static_cast<int32_t>(start < low ? low : std::min<double>(start, n - w3 - 2.0));
    e[0] = e[2] = -1.0F;
    e[1] = crossingFloat(data, n, from, 1, level);
    if (e[1] < 0)
        e[1] = crossingFloat(data, n, from, -1, level);
    if (e[1] < 0)
        return;
    e[0] = crossingFloat(data, n, static_cast<int32_t>(std::floor(double{e[1]} - 0.01)), -1, level);
    e[2] = crossingFloat(data, n, static_cast<int32_t>(std::ceil(double{e[1]} + 0.01)), 1, level);
}

float halfWidth(const float* data, int32_t n, float fraction)
{
    const int32_t mid = n / 2;
    if (n < 5)
        return 0.0F;
    const float lo = *std::min_element(data, data + n), hi = *std::max_element(data, data + n);
    const double f = fraction <= 0.0F ? 0.5 : double{fraction};
    const bool atPeak = data[0] == hi;
    const double level = atPeak                ? hi * f
                         : data[0] < data[mid] ? lo + (double{hi} - lo) * f
                                               : hi - (double{hi} - lo) * f;
    float e[3] = {};
    threeEdges(data, n, atPeak ? 0 : mid, 1.0F, static_cast<float>(level), e);
    float width = e[1];
    if (e[2] > 0 && e[2] != e[1])
        width = e[2] - e[1];
    if (e[0] > 0 && e[1] > 0)
        width = e[1] - e[0];
    return atPeak ? width * 2 : width;
}

void rowOffsets(int32_t im, int32_t columns)
{
    int32_t cols = 0, rows = 0, bytes = 0;
    I_ImGetSize(&cols, &rows, &bytes, im);
    columns = std::min(columns, cols);
    const bool words = bytes > 1;
    const std::size_t each = words ? 2 : 1, count = static_cast<std::size_t>(cols * rows);
    std::vector<uint8_t> buffer(count * each);
    I_GetBlockTypeEx(0, 0, cols, rows, buffer.data(), im, words ? PIX_WORD : PIX_BYTE, 0);
    const auto value = [&](int32_t x, int32_t y) {
        const int64_t i = int64_t{y} * cols + x; // row 8 is read on beyond its end
        if (i >= static_cast<int64_t>(count))
            return int32_t{0};
        return words ? int32_t{at<uint16_t>(buffer.data(), static_cast<int32_t>(i))}
                     : int32_t{buffer[static_cast<std::size_t>(i)]};
    };
    if (rows > 8)
        for (int32_t i = 1; i < columns; ++i)
            if (value(i + 2, 8) - value(0, 8) > 2)
                columns = i;
    if (columns < 2)
        return;
    std::vector<float> mean(static_cast<std::size_t>(rows));
    for (int32_t y = 0; y < rows; ++y) {
        int32_t sum = 0;
        for (int32_t x = 0; x < columns; ++x)
            sum += value(x, y);
        mean[static_cast<std::size_t>(y)] = static_cast<float>(sum) / static_cast<float>(columns);
        if (mean[static_cast<std::size_t>(y)] > 30.0F)
            return;
    }
    if (rows < 5)
        return;
    I_SmoothArrayFloat(mean.data() + 4, rows - 4, 23);
    for (int32_t y = 4; y < rows; ++y) {
        const double m = mean[static_cast<std::size_t>(y)];
        const auto a = static_cast<int32_t>(m + 0.125), f = static_cast<int32_t>((m - a) * 4.0);
        int32_t d[2] = {(a - 2) & 255, (a - 2) & 255};
        if (f != 0) {
            if (((f | y) & 1) != 0)
                ++d[y & 1];
            if (f > 1)
                ++d[1 - ((y >> 1) & 1)];
        }
        for (int32_t x = 0; x < cols; ++x) {
            const int32_t i = y * cols + x, less = d[x & 1] & 255;
            if (words)
                put<uint16_t>(buffer.data(), i, static_cast<uint16_t>(value(x, y) - less));
            else
                buffer[static_cast<std::size_t>(i)] = static_cast<uint8_t>(value(x, y) - less);
        }
    }
    I_PutBlockTypeEx(0, 0, cols, rows, buffer.data(), im, PIX_BYTE, 0);
}

} // namespace

TEST(IndependentEdgeLocation, LiteralNumbers)
{
    const uint8_t a[] = {10, 10, 20, 20, 20}, b[] = {10, 19, 30, 30};
    EXPECT_EQ(I_FindEdgeType(nullptr, -5, -5, 0, 0, 99), 0.0F);
    EXPECT_EQ(I_FindEdgeType(a, 4, 0, 1, 15, PIX_BYTE), 1.5F);
    EXPECT_EQ(I_FindEdgeType(a, 3, 0, 1, 15, PIX_BYTE), 1.5F); // the walk may stand where no start may
    EXPECT_EQ(I_FindEdgeType(b, 3, 0, 1, 19.5F, PIX_BYTE), 1.0F);
    EXPECT_EQ(I_FindEdgeType(a, 5, 3, 1, 15, PIX_BYTE), -1.0F); // n - 2
    EXPECT_EQ(I_FindEdgeType(a, 5, 0, -1, 15, PIX_BYTE), -1.0F);
    EXPECT_EQ(I_FindEdgeType(a, 5, 4, -1, 15, PIX_BYTE), -1.0F); // n - 1
    EXPECT_EQ(I_FindEdgeType(a, 5, 3, -1, 15, PIX_BYTE), 1.5F);
    EXPECT_EQ(I_FindEdgeType(a, 5, 0, 1, 10, PIX_BYTE), 0.0F); // two zeros: the position itself
    EXPECT_EQ(I_FindEdgeType(a, 5, 1, 0, 15, PIX_BYTE), -1.0F);
    const int32_t wide[] = {70000, 70000, 3, 3, 3}; // 70000 squared wraps below 0... and 65536 * 65536 to 0
    EXPECT_EQ(I_FindEdgeType(wide, 5, 0, 1, 0, PIX_DWORD), crossingWhole(wide, 5, 0, 1, 0));
    const int32_t square[] = {65536, 65536, 65536, 1, 1};
    EXPECT_EQ(I_FindEdgeType(square, 5, 0, 1, 0, PIX_DWORD), 0.0F);
    const float nan[] = {1, NAN, 5, 9, 9};
    EXPECT_EQ(I_FindEdgeType(nan, 5, 0, 1, 7, PIX_FLOAT), 2.5F);
    float four[] = {1, 9, 1, 9};
    EXPECT_EQ(I_GetFWHM(four, 4, 0.5F), 0.0F);
    const std::vector<float> flat(20, 6.0F), zeros(20, 0.0F);
    EXPECT_EQ(I_GetFWHM(flat.data(), 20, 0.5F), -2.0F);
    EXPECT_EQ(I_GetFWHM(zeros.data(), 20, 0.5F), halfWidth(zeros.data(), 20, 0.5F)); // all on the level
}

TEST(IndependentEdgeLocation, RandomProfiles)
{
    Random random(1011);
    for (int32_t round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
        const int32_t n = between(random, 1, 25), start = between(random, -2, n + 1);
        static const int32_t kSteps[] = {1, 1, -1, -1, 2, -2, 3, -5, 30};
        const int32_t step = kSteps[random() % std::size(kSteps)];
        const float level = static_cast<float>(between(random, -40, 640)) / (round % 2 ? 4.0F : 1.0F);
        std::vector<uint8_t> bytes(25);
        std::vector<int32_t> longs(25);
        std::vector<int16_t> words(25);
        std::vector<double> doubles(25);
        std::vector<float> floats(25), converted(25);
        for (std::size_t i = 0; i < 25; ++i) {
            bytes[i] = static_cast<uint8_t>(between(random, 0, 180));
            longs[i] = round % 3 ? between(random, -50, 200) : static_cast<int32_t>(random());
            words[i] = static_cast<int16_t>(between(random, -50, 200));
            doubles[i] = between(random, -500, 2000) / 16.0;
            floats[i] = static_cast<float>(between(random, -500, 2000)) / 16.0F;
        }
        const auto found = [&](const void* data, int32_t type) {
            return I_FindEdgeType(data, n, start, step, level, type);
        };
        const std::string what = std::to_string(n) + " from " + std::to_string(start) + " by " +
                                 std::to_string(step) + " level " + std::to_string(level);
        ASSERT_EQ(found(bytes.data(), PIX_BYTE), crossingWhole(bytes.data(), n, start, step, level)) << what;
        ASSERT_EQ(found(longs.data(), PIX_DWORD), crossingWhole(longs.data(), n, start, step, level)) << what;
        ASSERT_EQ(found(floats.data(), PIX_FLOAT), crossingFloat(floats.data(), n, start, step, level))
            << what;
        I_ArrayConvert(words.data(), PIX_WORD, converted.data(), PIX_FLOAT, n);
        ASSERT_EQ(found(words.data(), PIX_WORD), crossingFloat(converted.data(), n, start, step, level))
            << what;
        I_ArrayConvert(doubles.data(), PIX_DFLOAT, converted.data(), PIX_FLOAT, n);
        ASSERT_EQ(found(doubles.data(), PIX_DFLOAT), crossingFloat(converted.data(), n, start, step, level))
            << what;
    }
}

TEST(IndependentEdgeLocation, RandomWidths)
{
    Random random(1012);
    for (int32_t round = 0; round < 6000 && !testing::Test::HasFailure(); ++round) {
        const int32_t n = between(random, 0, 30), kind = between(random, 0, 3);
        std::vector<float> data(31);
        const double middle = between(random, 0, 30 * 4) / 4.0, wide = between(random, 1, 80) / 8.0;
        for (std::size_t i = 0; i < 31; ++i) {
            const double d = (static_cast<double>(i) - middle) / wide, bell = 100 / (1 + d * d);
            data[i] = static_cast<float>(kind == 0   ? bell
                                         : kind == 1 ? 120 - bell
                                         : kind == 2 ? 100.0 - static_cast<double>(i * i)
                                                     : between(random, 0, 40) / 4.0);
        }
        static const float kFractions[] = {0.5F, 0.0F, -1.0F, 0.25F, 0.75F, 1.0F};
        const float fraction = kFractions[random() % std::size(kFractions)];
        ASSERT_EQ(I_GetFWHM(data.data(), n, fraction), halfWidth(data.data(), n, fraction))
            << n << " kind " << kind << " fraction " << fraction;
    }
}

TEST(IndependentEdgeLocation, WalksOverImages)
{
    Random random(1013);
    static const int32_t kTypes[] = {1, 2, 4, 16};
    for (int32_t round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const Shape shape = randomShape(random, kTypes[random() % 4]);
        const Picture p = shape.open();
        const int32_t x = between(random, -3, shape.cols + 3), y = between(random, -2, shape.rows + 2);
        const int32_t dx = between(random, -2, 2), dy = between(random, -2, 2),
                      above = between(random, 0, 1) * 5;
        const int32_t level = between(random, -5, 260), maxSteps = between(random, -1, 20),
                      half = between(random, 0, 4);
        int32_t expectedX = x, expectedY = y, expected = 0;
        for (int32_t k = 0; k < maxSteps; ++k, expectedX += dx, expectedY += dy) {
            int32_t count = 0;
            for (int32_t j = 0; j < 2 * half + 1; ++j) {
                const float v = I_GetPix(expectedX + j * dy, expectedY - j * dx, p.im);
                count += above ? v > static_cast<float>(level) : v < static_cast<float>(level);
            }
            if (count > half) {
                expected = k;
                break;
            }
        }
        int32_t outX = -99, outY = -99;
        ASSERT_EQ(I_FindEdge(x, y, dx, dy, level, above, maxSteps, &outX, &outY, half, p.im), expected)
            << tell(shape);
        ASSERT_EQ(outX, expectedX);
        ASSERT_EQ(outY, expectedY);
        p.close();
    }
    const int32_t im = byteImage(5, 5);
    int32_t outX = 0, outY = 0;
    EXPECT_EQ(I_FindEdge(3, 2, 1, 0, 10, 0, 0, &outX, &outY, 1, im), 0);
    EXPECT_EQ(outX * 10 + outY, 32);
    EXPECT_EQ(I_FindEdge(3, 2, 1, 0, 10, 0, 7, nullptr, nullptr, 1, im), 0);
    clearError();
    closeImages({im});
}

TEST(IndependentEdgeLocation, RowOffsets)
{
    Random random(1014);
    int32_t changed = 0;
    for (int32_t round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        static const int32_t kTypes[] = {1, 1, 1, 2, 2, 3, 4, 16, 12};
        const int32_t type = kTypes[random() % std::size(kTypes)];
        const int32_t cols = between(random, 1, 40), rows = between(random, 1, 60),
                      columns = between(random, -1, 45);
        const int32_t band = between(random, 0, 30), bright = between(random, 0, 7) ? 25 : 34;
        std::vector<int32_t> offsets(static_cast<std::size_t>(rows));
        for (int32_t& offset : offsets)
            offset = between(random, 0, bright);
        const uint32_t seed = static_cast<uint32_t>(random());
        const auto pixelAt = [&](int32_t x, int32_t y) {
            const uint32_t noise = (static_cast<uint32_t>(y * 977 + x * 31) * 2654435761U ^ seed) >> 29;
            return offsets[static_cast<std::size_t>(y)] +
                   (x < band ? (noise > 6 ? 1 : 0) : 60 + static_cast<int32_t>(noise) * 9);
        };
        const int32_t expected = image(cols, rows, type == 12 ? PIX_BYTE : type, pixelAt);
        const int32_t actual = image(cols, rows, type == 12 ? PIX_BYTE : type, pixelAt);
        if (round % 6 == 0)
            for (const int32_t im : {expected, actual}) {
                const int32_t flag = 1;
                I_ImSetParam(&flag, 0, 19, im);
            }
        const std::vector<uint8_t> before = bytesOf(actual);
        rowOffsets(expected, columns);
        I_SubtractRowAverage(actual, columns);
        EXPECT_EQ(bytesOf(expected), bytesOf(actual))
            << cols << "x" << rows << " type " << type << " columns " << columns << " band " << band
            << " round " << round;
        changed += bytesOf(actual) != before;
        if (rows < 5 && type == PIX_BYTE) {
            EXPECT_EQ(before, bytesOf(actual));
        }
        closeImages({expected, actual});
    }
    EXPECT_GT(changed, 80);
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    I_SubtractRowAverage(-280, 5);
    clearError();
}
