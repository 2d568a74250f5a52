// Affine maps, quarter turns and mirrors against their descriptions followed step by step.
#include "tests/geometry/plain_sampler.h"
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

void add(int32_t& position, int32_t step)
{
    position = static_cast<int32_t>(static_cast<uint32_t>(position) + static_cast<uint32_t>(step));
}

int32_t times(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

void plainRotate(int32_t cx, int32_t cy, const float* m, int32_t src, int32_t dst, bool smooth)
{
    const int32_t a = rounded(m[0] * 65536.0), b = rounded(m[1] * 65536.0);
    const int32_t c = rounded((double{m[2]} + cx) * 65536.0), d = rounded(m[3] * 65536.0);
    const int32_t e = rounded(m[4] * 65536.0), f = rounded((double{m[5]} + cy) * 65536.0);
    const int32_t type = samplingType(std::min(I_ImGetType(src), I_ImGetType(dst)), smooth);
    const Pixels source(src, type, true);
    Pixels dest(dst, type, false);
    int32_t x, y, n, first = 1;
    while (I_GetNextLine(&x, &y, &n, dst, &first)) {
        int32_t px = times(x - cx, a), py = times(x - cx, d);
        add(px, times(y - cy, b));
        add(px, c);
        add(py, times(y - cy, e));
        add(py, f);
        for (int32_t k = x; k < x + n; ++k, add(px, a), add(py, d)) {
            const int32_t X = px >> 11, Y = py >> 11;
            if (k >= 0 && k < dest.cols && y < dest.rows && X >= 0 && Y >= 0 &&
                X <= (source.cols << 5) - 32 && Y <= (source.rows << 5) - 32)
                source.sample(X, Y, &dest.data[index((int64_t{y} * dest.cols + k) * dest.bytes)], smooth);
        }
    }
    I_PutBlockTypeEx(0, 0, dest.cols, dest.rows, dest.data.data(), dst, type, 0);
}

int32_t quarterCode(int32_t iRot)
{
    static const int32_t kCodes[][3] = {{1, 1, 1},   {2, 90, -270}, {3, 270, -90}, {4, 180, -180},
                                        {5, -1, -1}, {6, -2, -2},   {7, -3, -3}};
    for (const auto& row : kCodes)
        for (const int32_t value : row)
            if (iRot == value)
                return row[0];
    return 0;
}

class PlainQuarter
{
public:
    PlainQuarter(int32_t src, int32_t dst, int32_t code) : src_(src), dst_(dst), code_(code) {}

    int32_t run()
    {
        const int32_t regionType = I_GetROIType();
        const bool swap = code_ < 4;
        const int32_t srcType = I_ImGetType(src_), dstType = I_ImGetType(dst_);
        type_ = std::min(srcType, dstType);
        if (type_ == 0)
            return 0;
        const bool clone = src_ == dst_;
        if (clone)
            src_ = I_CloneImage(src_, 0, 1);
        int32_t bands = std::min(I_ImGetNBands(src_), I_ImGetNBands(dst_));
        if (bands > 1 && srcType != dstType)
            type_ = PIX_BYTE;
        else
            bands = 1;
        I_ROIBoundingBox(&left_, &top_, &right_, &bottom_, dst_);
        int32_t points = 0, cols = 0, rows = 0;
        const VexaPoint* shared = I_ROIScanlist(&points, src_);
        list_.assign(shared, shared + points);
        I_ImGetSize(&cols, &rows, nullptr, src_);
        right_ = std::min(right_, left_ + (swap ? rows - top_ : cols - left_) - 1);
        bottom_ = std::min(bottom_, top_ + (swap ? cols - left_ : rows - top_) - 1);
        const int32_t height = bottom_ - top_ + 1, width = right_ - left_ + 1;
        const bool some = height > 0 && width > 0;
        if (some) {
            const int32_t budget = 65280, q = budget / height;
            int32_t s = 255;
            if (width < std::max(q, s))
                s = width;
            else if (q > s)
                s = q;
            const int32_t side = std::min({height, budget / s, s});
            in_.assign(index(int64_t{side} * side * I_ImTypeBytes(type_)), 0);
            out_ = in_;
            for (int32_t y = top_; y < bottom_; y += side)
                for (int32_t x = left_; x < right_; x += side)
                    for (int32_t band = 0; band < bands; ++band) {
                        if (bands > 1)
                            I_SetColorBand(band);
                        tile(x, y, std::min(side, right_ - x + 1), std::min(side, bottom_ - y + 1),
                             regionType);
                    }
            if (bands > 1)
                I_SetColorBand(-1);
        }
        if (clone)
            I_ImClose(src_);
        return some;
    }

private:
    void tile(int32_t x, int32_t y, int32_t tw, int32_t th, int32_t regionType)
    {
        const int32_t fromRight = right_ - tw - x + 1, fromBottom = bottom_ - th - y + 1;
        const int32_t dx = x - left_, dy = y - top_;
        const int32_t blockX[] = {0, fromBottom, fromBottom, dy, fromRight, fromRight, dx, dy};
        const int32_t blockY[] = {0, fromRight, dx, fromRight, fromBottom, dy, fromBottom, dx};
        const int32_t bw = code_ < 4 ? th : tw, bh = code_ < 4 ? tw : th;
        I_GetBlockType(left_ + blockX[code_], top_ + blockY[code_], bw, bh, in_.data(), src_, type_);
        const int32_t bytes = I_ImTypeBytes(type_);
        for (int32_t r = 0; r < th; ++r)
            for (int32_t c = 0; c < tw; ++c) {
                const int32_t from[] = {0,
                                        (tw - c) * th - r - 1,
                                        c * th + th - r - 1,
                                        (tw - 1 - c) * th + r,
                                        (th - r) * tw - c - 1,
                                        r * tw + tw - 1 - c,
                                        (th - r - 1) * tw + c,
                                        c * th + r};
                std::copy_n(&in_[index(int64_t{from[code_]} * bytes)], bytes,
                            &out_[index((int64_t{r} * tw + c) * bytes)]);
            }
        if (regionType != 2) {
            I_PutBlockType(x, y, tw, th, out_.data(), dst_, type_);
            return;
        }
        for (std::size_t k = 0; k + 1 < list_.size(); k += 2) {
            const int32_t row = list_[k].y, from = std::max(list_[k].x, x);
            const int32_t n = std::min(list_[k + 1].x, x + tw - 1) - from + 1;
            if (row >= y && row < y + th && n > 0)
                I_PutBlockType(from, row, n, 1, &out_[index((int64_t{row - y} * tw + from - x) * bytes)],
                               dst_, type_);
        }
    }

    int32_t src_, dst_, code_, type_ = 0, left_ = 0, top_ = 0, right_ = 0, bottom_ = 0;
    std::vector<VexaPoint> list_;
    std::vector<uint8_t> in_, out_;
};

int32_t randomType(Random& random)
{
    static const int32_t kTypes[] = {1, 1, 2, 3, 4, 5, 6, 7, 12, 13, 15, 16, 16, 17, 18, 19};
    return kTypes[random() % std::size(kTypes)];
}

std::string tellRegion()
{
    int32_t l, t, r, b;
    I_GetWindowROI(&l, &t, &r, &b);
    char text[120];
    std::snprintf(text, sizeof text, " region %d (%d %d %d %d)", I_GetROIType(), l, t, r, b);
    return text;
}

void expectSame(const Picture& expected, const Picture& actual, const std::string& what)
{
    const std::vector<uint8_t> a = expected.bytes(), b = actual.bytes();
    if (I_ImGetType(actual.owner) == PIX_FLOAT) {
        for (int32_t i = 0; i < static_cast<int32_t>(a.size() / 4); ++i)
            ASSERT_NEAR(at<float>(a.data(), i), at<float>(b.data(), i), 1e-3) << what << " pixel " << i;
        return;
    }
    for (std::size_t i = 0; i < a.size(); ++i)
        ASSERT_EQ(int{a[i]}, int{b[i]}) << what << " byte " << i;
}

// Two equal destinations; in place they are what is read, too.
struct Trial {
    Picture src, expected, actual;
    bool inPlace;
    int32_t band; // to be selected before each run
    std::string what;

    Trial(Random& random, int32_t typeA, int32_t typeB)
    {
        const Shape from = randomShape(random, typeA), to = randomShape(random, typeB);
        inPlace = between(random, 0, 5) == 0;
        band = between(random, 0, 3) ? -1 : between(random, 0, 2);
        src = from.open();
        expected = (inPlace ? from : to).open();
        actual = (inPlace ? from : to).open();
        randomRegion(random, (inPlace ? from : to).cols, (inPlace ? from : to).rows);
        what = tell(from) + " to " + (inPlace ? "itself" : tell(to)) + tellRegion();
    }
    int32_t from(const Picture& dest) const { return inPlace ? dest.im : src.im; }
    ~Trial()
    {
        for (const Picture& p : {src, expected, actual})
            p.close();
        I_SetROIType(0);
        I_SetColorBand(-1);
    }
};

} // namespace

TEST(IndependentRotate, RandomMaps)
{
    Random random(521);
    for (int32_t round = 0; round < 2500 && !testing::Test::HasFailure(); ++round) {
        const int32_t type = randomType(random);
        const Trial t(random, type, between(random, 0, 2) ? type : randomType(random));
        float m[6] = {1, 0, 0, 0, 1, 0};
        for (float& number : m)
            number += static_cast<float>(between(random, -1500, 1500)) / (round % 3 ? 1024.0F : 8192.0F);
        m[2] *= 4;
        if (round % 50 == 0)
            m[round % 6] = 30000.0F; // positions wrap
        const int32_t cx = between(random, -5, 40), cy = between(random, -5, 10), smooth = round % 4 != 0;
        I_SetColorBand(t.band);
        plainRotate(cx, cy, m, t.from(t.expected), t.expected.im, smooth != 0);
        I_SetRotateSmooth(smooth);
        clearError();
        I_SetColorBand(t.band);
        EXPECT_EQ(I_Rotate(cx, cy, m, t.from(t.actual), t.actual.im), 1) << t.what << errorText();
        expectSame(t.expected, t.actual, std::to_string(round) + ": " + t.what);
    }
    I_SetRotateSmooth(1);
    clearError();
}

TEST(IndependentRotate, ShiftsAndScales)
{
    Random random(522);
    const int32_t src = noiseImage(40, 30, 5), expected = byteImage(40, 30), actual = byteImage(40, 30);
    for (int32_t round = 0; round < 200; ++round) {
        const double angle = between(random, -720, 720) / 4.0, r = angle * 0.017453292519943295;
        const double dx = between(random, -40, 40) / 8.0, dy = between(random, -40, 40) / 8.0;
        const double sx = between(random, 20, 200) / 64.0, sy = between(random, -200, -20) / -64.0;
        const double s = std::sin(r), c = std::cos(r);
        float m[6] = {static_cast<float>(c / sx), static_cast<float>(-(s / sy)), static_cast<float>(-dx),
                      static_cast<float>(s / sx), static_cast<float>(c / sy),    static_cast<float>(-dy)};
        EXPECT_EQ(I_Rotate(20, 15, m, src, expected), 1);
        EXPECT_EQ(I_RotateShift(20, 15, angle, dx, dy, sx, sy, src, actual), 1);
        EXPECT_EQ(bytesOf(expected), bytesOf(actual)) << angle;
        I_RotateShift1(20, 15, angle, dx, dy, sx, sy, src, actual, 0);
        EXPECT_EQ(bytesOf(expected), bytesOf(actual)) << angle;
        const auto fr = static_cast<float>(r);
        const auto fx = static_cast<float>(dx), fy = static_cast<float>(dy);
        const double turnedX = (fx * std::cos(double{fr}) - fy * std::sin(double{fr})) / sx;
        const double turnedY = (std::sin(double{fr}) * fx + fy * std::cos(double{fr})) / sy;
        m[2] = static_cast<float>(-turnedX);
        m[5] = static_cast<float>(-turnedY);
        I_Rotate(20, 15, m, src, expected);
        EXPECT_EQ(I_RotateShift1(20, 15, angle, dx, dy, sx, sy, src, actual, 1), 1);
        EXPECT_EQ(bytesOf(expected), bytesOf(actual)) << angle;
        float matrix[6];
        EXPECT_EQ(CalcMatrix(dx, dy, r, sx, round % 2 ? sy : 0.0, matrix), 1);
        const double one = round % 2 ? sy : 1.0;
        const double numbers[6] = {c * sx, s * one, dx, -(sx * s), c * one, dy};
        for (int32_t i = 0; i < 6; ++i)
            EXPECT_FLOAT_EQ(matrix[i], static_cast<float>(numbers[i]));
        VexaPointF p[4];
        for (VexaPointF& point : p)
            point = {static_cast<float>(between(random, 0, 640)) / 16,
                     static_cast<float>(between(random, 0, 480)) / 16};
        const VexaPointF a0 = p[0], a1 = p[1], b0 = p[2], b1 = p[3];
        const double lb = std::max(0.01, std::hypot(double{b1.x} - b0.x, double{b1.y} - b0.y));
        const double k = std::hypot(double{a1.x} - a0.x, double{a1.y} - a0.y) / lb;
        const double t = std::atan2(double{a1.x} - a0.x, double{a1.y} - a0.y) -
                         std::atan2(double{b1.x} - b0.x, double{b1.y} - b0.y);
        const float match[6] = {
            static_cast<float>(std::cos(t) * k),  static_cast<float>(std::sin(t) * k), a0.x - b0.x,
            static_cast<float>(-std::sin(t) * k), static_cast<float>(std::cos(t) * k), a0.y - b0.y};
        I_Rotate(static_cast<int32_t>(b0.x), static_cast<int32_t>(b0.y), match, src, expected);
        EXPECT_EQ(I_Match2Points(src, actual, &p[0], &p[1], &p[2], &p[3]), 1);
        int32_t different = 0; // where a float's last bit decides
        const auto one1 = bytesOf(expected), one2 = bytesOf(actual);
        for (std::size_t i = 0; i < one1.size(); ++i)
            different += one1[i] != one2[i];
        EXPECT_LT(different, 8);
        EXPECT_EQ(p[1].x, a1.x - a0.x);
        EXPECT_EQ(p[3].y, b1.y - b0.y);
        EXPECT_EQ(p[0].x, a0.x);
        EXPECT_EQ(p[2].y, b0.y);
    }
    EXPECT_EQ(I_RotateShift(0, 0, 0, 0, 0, 0, 1, src, actual), 0);
    EXPECT_EQ(I_RotateShift1(0, 0, 0, 0, 0, 1, 0, src, actual, 1), 0);
    EXPECT_EQ(I_Rotate(0, 0, std::vector<float>(6).data(), -260, actual), 0);
    EXPECT_EQ(I_Rotate(0, 0, std::vector<float>(6).data(), src, -260), 0);
    clearError();
    closeImages({src, expected, actual});
}

TEST(IndependentRotate, NoMemory)
{
    const int32_t src = wordImage(500, 400), dst = byteImage(1000, 300);
    const float m[6] = {1, 0, 0, 0, 1, 0};
    std::vector<std::string> texts;
    forEachFailingAllocation(
        [&] {
            clearError();
            return I_Rotate(0, 0, m, src, dst);
        },
        [&](int64_t result) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(I_GetError(nullptr, 0), 2);
            texts.push_back(errorText());
        });
    const auto seen = [&](const char* tag) {
        return std::any_of(texts.begin(), texts.end(),
                           [&](const std::string& text) { return text.find(tag) != std::string::npos; });
    };
    EXPECT_TRUE(seen("Malloc failed: RotatePrep 0.2 MBytes"));
    EXPECT_TRUE(seen("I_Rotate 0.3 MBytes"));
    clearError();
    closeImages({src, dst});
}

TEST(IndependentQuarter, RandomImages)
{
    Random random(523);
    static const int32_t kCodes[] = {1,  2, 90, -270, 3,  270, -90, 4,    180, -180, 5,
                                     -1, 6, -2, 7,    -3, 0,   360, -360, 8,   45,   -100};
    for (int32_t round = 0; round < 4000 && !testing::Test::HasFailure(); ++round) {
        const int32_t type = randomType(random);
        const Trial t(random, type, between(random, 0, 2) ? type : randomType(random));
        const int32_t iRot = kCodes[random() % std::size(kCodes)], code = quarterCode(iRot);
        const std::string what = std::to_string(round) + ": " + t.what + " iRot " + std::to_string(iRot);
        clearError();
        I_SetColorBand(t.band);
        const int32_t expected =
            code == 5
                ? PlainQuarter(t.src.im, t.expected.im, code).run() // rows are read before they are written
            : code != 0       ? PlainQuarter(t.from(t.expected), t.expected.im, code).run()
            : iRot % 360 == 0 ? I_ROICopy(t.from(t.expected), t.expected.im, 0, 0)
                              : 0;
        clearError();
        const int32_t left = I_GetColorBand();
        I_SetColorBand(t.band);
        EXPECT_EQ(I_Rotate90(t.from(t.actual), t.actual.im, iRot), expected) << what << errorText();
        if (code == 0 && iRot % 360 != 0) {
            EXPECT_EQ(I_GetError(nullptr, 0), 12);
            EXPECT_NE(errorText().find("iRot=" + std::to_string(iRot)), std::string::npos);
        }
        EXPECT_EQ(I_GetColorBand(), left) << what;
        expectSame(t.expected, t.actual, what);
    }
    clearError();
}

TEST(IndependentQuarter, LargeImagesInTiles)
{
    Random random(524);
    I_SetROIType(0);
    const int32_t sizes[][2] = {{256, 256}, {600, 300}, {40, 2000}, {511, 257}, {1, 500}};
    for (const auto& size : sizes)
        for (int32_t code = 1; code <= 7; ++code) {
            const bool swap = code < 4 || code == 7;
            const int32_t src = noiseImage(size[0], size[1], 3);
            const int32_t cols = swap ? size[1] : size[0], rows = swap ? size[0] : size[1];
            const int32_t expected = byteImage(cols, rows), actual = byteImage(cols, rows);
            PlainQuarter(src, expected, code).run();
            EXPECT_EQ(I_Rotate90(src, actual, code), 1);
            EXPECT_EQ(bytesOf(expected), bytesOf(actual)) << size[0] << "x" << size[1] << " code " << code;
            closeImages({src, expected, actual});
        }
}

TEST(IndependentQuarter, IntoNewImages)
{
    const int32_t codes[] = {0,  1,   2,    3,    4,    5,  6,   7,    90, 180, 270,  -1, -2,
                             -3, -90, -180, -270, -100, 45, 360, -360, -4, -89, 1000, 359};
    for (const int32_t iRot : codes)
        for (const int32_t replace : {0, 1}) {
            const int32_t src = noiseImage(20, 13, 9), copy = noiseImage(20, 13, 9);
            I_ImSetComment("turned", src);
            clearError();
            const int32_t result = I_Rotate90Ex(src, iRot, replace);
            const int32_t error = I_GetError(nullptr, 0);
            const bool sides = iRot == -270 || iRot == -90 || iRot == -3 || (iRot >= 1 && iRot <= 3) ||
                               iRot == 7 || iRot == 90 || iRot == 270;
            int32_t cols = 0, rows = 0;
            ASSERT_NE(result, 0);
            I_ImGetSize(&cols, &rows, nullptr, result);
            EXPECT_EQ(cols, sides ? 13 : 20) << iRot;
            EXPECT_EQ(rows, sides ? 20 : 13) << iRot;
            EXPECT_EQ(result == src, replace && !sides) << iRot;
            EXPECT_EQ(I_ImValid(src) != 0, !(replace && sides)) << iRot;
            // in range, but no code
            const bool bad =
                ((iRot >= -3 && iRot < 360) || iRot < -89) && iRot % 360 != 0 && quarterCode(iRot) == 0;
            EXPECT_EQ(error, bad ? 12 : 0) << iRot;
            const int32_t expected = byteImage(cols, rows);
            if (quarterCode(iRot) != 0)
                PlainQuarter(copy, expected, quarterCode(iRot)).run();
            else if (!(bad && !replace))
                I_ImageCopy(copy, expected);
            if (!(bad && !replace)) {
                EXPECT_EQ(bytesOf(expected), bytesOf(result)) << iRot << " " << replace;
            }
            char comment[20] = "";
            I_ImGetComment(comment, sizeof comment, result);
            EXPECT_STREQ(comment, "turned") << iRot << " " << replace;
            closeImages({result, copy, expected});
            if (I_ImValid(src))
                I_ImClose(src);
        }
    clearError();
    EXPECT_EQ(I_Rotate90Ex(-260, 90, 0), 0);
    clearError();
}

TEST(IndependentMirror, TopToBottom)
{
    Random random(525);
    for (int32_t round = 0; round < 2500 && !testing::Test::HasFailure(); ++round) {
        const int32_t type = randomType(random);
        const Trial t(random, type, between(random, 0, 2) ? type : randomType(random));
        const int32_t work = std::min(I_ImGetType(t.from(t.actual)), I_ImGetType(t.actual.im));
        int32_t left, top, right, bottom, x, y, n, first = 1;
        I_ROIBoundingBox(&left, &top, &right, &bottom, t.expected.im);
        I_SetColorBand(t.band);
        const int32_t width = right - left + 1;
        std::vector<std::vector<uint8_t>> rows(index(bottom - top + 1)); // as they were before
        std::vector<uint8_t> row(index(int64_t{width} * I_ImTypeBytes(work)));
        int32_t srcCols = 0, srcRows = 0, srcBytes = 0;
        I_ImGetSize(&srcCols, &srcRows, &srcBytes, t.from(t.expected));
        for (y = top; y <= bottom; ++y) {
            I_GetBlockType(left, y, width, 1, row.data(), t.from(t.expected), work);
            rows[index(y - top)] = row;
        }
        int32_t l, t0, windowRight = 1, windowBottom = 1;
        if (I_GetROIType() == 1)
            I_GetWindowROI(&l, &t0, &windowRight, &windowBottom);
        // else rows hold what was read before; and a window's right of 0 means two things
        const bool covered =
            srcCols > right && srcRows > bottom && windowRight != 0 && windowBottom != 0 &&
            (I_GetROIType() != 2 || I_ImGetPtr(0, 0, nullptr, nullptr, t.actual.im) != nullptr);
        while (covered && I_GetNextLine(&x, &y, &n, t.expected.im, &first)) {
            const int32_t from = std::max(x, left), end = std::min(x + n - 1, right);
            if (end >= from && y >= top && y <= bottom)
                I_PutBlockType(from, y, end - from + 1, 1,
                               &rows[index(bottom - y)][index(int64_t{from - left} * I_ImTypeBytes(work))],
                               t.expected.im, work);
        }
        EXPECT_EQ(I_VertMirror(t.from(t.actual), t.actual.im), 1) << t.what;
        if (covered)
            expectSame(t.expected, t.actual, std::to_string(round) + ": " + t.what);
    }
    clearError();
    EXPECT_EQ(I_VertMirror(-260, -261), 0);
    const int32_t im = noiseImage(30, 20, 1);
    forEachFailingAllocation(
        [&] {
            clearError();
            return I_VertMirror(im, im);
        },
        [](int64_t result) {
            EXPECT_EQ(result, 0);
            EXPECT_NE(errorText().find("I_VertMirror"), std::string::npos);
        });
    const int32_t copy = noiseImage(30, 20, 1), other = byteImage(30, 20);
    forEachFailingAllocation(
        [&] {
            clearError();
            return I_Rotate90(im, other, 4);
        },
        [](int64_t result) {
            EXPECT_EQ(result, 0);
            EXPECT_NE(errorText().find("rotate90"), std::string::npos);
        });
    clearError();
    EXPECT_EQ(I_HorizMirror(copy, other), 1);
    EXPECT_EQ(pixel(other, 0, 3), pixel(copy, 29, 3));
    closeImages({im, copy, other});
}
