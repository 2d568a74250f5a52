// Scaling of images against its description followed row by row, through the public block and row calls.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Call {
    double xoff, yoff, sx, sy;
    int32_t interp;
    const int32_t *origin, *size;
};

class PlainScaler
{
public:
    PlainScaler(int32_t src, int32_t dst, const Call& call) : src_(src), dst_(dst), call_(call) {}

    int32_t run()
    {
        int32_t dstCols = 0, dstRows = 0;
        int32_t bands = std::min(I_ImGetNBands(src_), I_ImGetNBands(dst_));
        if (!I_ImGetSize(&cols_, &rows_, nullptr, src_) || !I_ImGetSize(&dstCols, &dstRows, nullptr, dst_))
            return 0;
        left_ = top_ = 0;
        int32_t right = dstCols, bottom = dstRows; // behind the last
        stepIn(call_.xoff, call_.sx, left_);
        stepIn(call_.yoff, call_.sy, top_);
        limit(0, left_, right);
        limit(1, top_, bottom);
        const bool whole = call_.xoff == std::floor(call_.xoff) && call_.yoff == std::floor(call_.yoff);
        if (call_.sx == 1.0 && call_.sy == 1.0 && (!call_.interp || whole)) {
            if (right <= left_ || bottom <= top_) // a size below 0 would mean "to the edge"
                return 0;
            return I_ImCopyBlock(right - left_, bottom - top_, Rnd(static_cast<float>(call_.xoff)),
                                 Rnd(static_cast<float>(call_.yoff)), src_, left_, top_, dst_);
        }
        const int32_t x0 = static_cast<int32_t>(std::floor(call_.xoff));
        fx_ = call_.xoff - x0;
        width_ = std::min(right - left_, static_cast<int32_t>(std::ceil((cols_ - call_.xoff) * call_.sx)));
        height_ = std::min(bottom - top_, static_cast<int32_t>(std::ceil((rows_ - call_.yoff) * call_.sy)));
        if (width_ < 1 || height_ < 1)
            return 0;
        x0_ = x0;
        n_ = std::min(cols_ - x0, static_cast<int32_t>(std::ceil(width_ / call_.sx)) + x0 + 1);
        const int32_t type = I_ImGetType(src_);
        type_ = type == I_ImGetType(dst_) ? type : PIX_BYTE;
        if (I_ImGetType(dst_) == PIX_PALETTE) {
            type_ = PIX_BYTE;
            bands = 1;
        }
        if (type_ == PIX_BYTE && call_.sx == 0.5 && call_.sy == 0.5 && call_.interp && whole)
            return half();
        bool ownCopy = src_ == dst_;
        if (ownCopy)
            src_ = I_CloneImage(src_, 0, 1);
        multi_ = bands > 1;
        if (multi_)
            type_ = PIX_BYTE;
        for (int32_t band = 0; band < bands; ++band) {
            if (multi_)
                I_SetColorBand(band);
            if (!call_.interp)
                nearest();
            else if (call_.sy < 1.0)
                area();
            else
                blend();
        }
        if (multi_)
            I_SetColorBand(-1);
        if (ownCopy)
            I_ImClose(src_);
        return 1;
    }

private:
    static void stepIn(double& offset, double scale, int32_t& edge)
    {
        if (offset >= 0)
            return;
        const double n = std::ceil(-(offset * scale));
        edge += static_cast<int32_t>(n);
        offset += n / scale;
    }
    void limit(int32_t axis, int32_t& low, int32_t& high) const
    {
        const int32_t from = call_.origin ? std::max(call_.origin[axis], 0) : 0;
        low = std::max(low, from);
        if (call_.size && call_.size[axis] > 0)
            high = std::min(high, from + call_.size[axis]);
    }
    std::vector<uint8_t> read(int32_t row) const
    {
        std::vector<uint8_t> pixels(static_cast<std::size_t>((n_ + 1) * I_ImTypeBytes(type_)));
        I_GetBlockType(x0_, std::clamp(row, 0, rows_ - 1), n_, 1, pixels.data(), src_, type_);
        return pixels;
    }
    void resample(const std::vector<uint8_t>& row, std::vector<uint8_t>& out, int32_t interp) const
    {
        out.resize(static_cast<std::size_t>(width_ * I_ImTypeBytes(type_)));
        I_ResampleArrayType(row.data(), n_, out.data(), width_, fx_, call_.sx, interp, type_);
    }
    void store(int32_t row, std::vector<uint8_t>& out) const
    {
        I_PutBlockType(left_, top_ + row, width_, 1, out.data(), dst_, type_);
    }
    int32_t half()
    {
        std::vector<uint8_t> block(static_cast<std::size_t>(n_ * rows_));
        I_GetBlockType(x0_, 0, n_, rows_, block.data(), src_, PIX_BYTE);
        const int32_t y0 = static_cast<int32_t>(call_.yoff);
        const int32_t w = std::min(width_, n_ / 2), h = std::min(height_, (rows_ - y0) / 2);
        std::vector<uint8_t> out(static_cast<std::size_t>(w * h + 1));
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x) {
                const uint8_t* p = &block[static_cast<std::size_t>((2 * y + y0) * n_ + 2 * x)];
                out[static_cast<std::size_t>(y * w + x)] =
                    static_cast<uint8_t>((p[0] + p[1] + p[n_] + p[n_ + 1] + 2) >> 2);
            }
        I_PutBlockType(left_, top_, w, h, out.data(), dst_, PIX_BYTE);
        return 1;
    }
    void nearest()
    {
        double p = call_.yoff + 0.5;
        std::vector<uint8_t> out;
        for (int32_t row = 0; row < height_; ++row, p += 1 / call_.sy) {
            resample(read(static_cast<int32_t>(std::floor(p))), out, 0);
            store(row, out);
        }
    }
    void area()
    {
        const auto count = static_cast<std::size_t>(width_);
        std::vector<float> sum(count), carry(count), line(count);
        std::vector<uint8_t> out;
        const double step = 1 / call_.sy;
        double p = call_.yoff - step * 0.5 + 0.5;
        int32_t e = static_cast<int32_t>(std::floor(p));
        for (int32_t row = 0; row < height_; ++row) {
            const int32_t s = e;
            p += step;
            e = static_cast<int32_t>(std::floor(p));
            for (int32_t k = s; k <= e; ++k) {
                resample(read(k), out, 1);
                I_ArrayConvert(out.data(), type_, line.data(), PIX_FLOAT, width_);
                for (std::size_t i = 0; i < count; ++i)
                    sum[i] = k == s ? line[i] - carry[i] : k < e ? sum[i] + line[i] : sum[i];
            }
            const double f = p - e;
            const double w = row == 0 ? 1 / (p - s) : call_.sy;
            std::vector<float> mean(count);
            for (std::size_t i = 0; i < count; ++i) {
                carry[i] = static_cast<float>(line[i] * f);
                mean[i] = static_cast<float>((carry[i] + sum[i]) * w);
            }
            if (multi_) {
                std::vector<uint8_t> bytes(count);
                I_ArrayConvert(mean.data(), PIX_FLOAT, bytes.data(), PIX_BYTE, width_);
                store(row, bytes);
            } else {
                I_PutBlockType(left_, top_ + row, width_, 1, mean.data(), dst_, PIX_FLOAT);
            }
        }
    }
    void blend()
    {
        double p = call_.yoff + 1.0;
        int32_t last = static_cast<int32_t>(p) - 1;
        std::vector<uint8_t> first, second = read(last), mixed(second.size()), out;
        for (int32_t row = 0; row < height_; ++row, p += 1 / call_.sy) {
            const int32_t r = static_cast<int32_t>(std::floor(p));
            if (r != last) {
                first = second;
                second = read(r);
                last = r;
            }
            I_BlendRowsType(second.data(), first.data(), mixed.data(), n_, p - r, type_);
            resample(mixed, out, 1);
            store(row, out);
        }
    }

    int32_t src_, dst_;
    Call call_;
    int32_t cols_ = 0, rows_ = 0, left_ = 0, top_ = 0, width_ = 0, height_ = 0, x0_ = 0, n_ = 0, type_ = 0;
    double fx_ = 0;
    bool multi_ = false;
};

Call randomCall(Random& random, const int32_t* origin, const int32_t* size)
{
    static const double kScales[] = {1.0, 1.0, 0.5, 0.5, 2.0, 0.25, 3.0, 0.75, 1.5};
    Call call{};
    call.sx =
        between(random, 0, 3) ? kScales[random() % std::size(kScales)] : between(random, 30, 3000) / 1000.0;
    call.sy = between(random, 0, 2) ? call.sx : kScales[random() % std::size(kScales)];
    for (double* offset : {&call.xoff, &call.yoff})
        switch (between(random, 0, 5)) {
        case 0:
            *offset = between(random, -6, 12);
            break;
        case 1:
            *offset = between(random, -24, 40) / 4.0;
            break;
        case 2:
            *offset = between(random, -3000, 6000) / 1000.0;
            break;
        default:
            *offset = 0;
        }
    call.interp = between(random, 0, 2) ? 1 : 0;
    call.origin = between(random, 0, 2) ? nullptr : origin;
    call.size = between(random, 0, 2) ? nullptr : size;
    return call;
}

std::string tellCall(const Call& c)
{
    char text[300];
    std::snprintf(text, sizeof text, " xoff %.4f yoff %.4f sx %.4f sy %.4f interp %d origin %d %d size %d %d",
                  c.xoff, c.yoff, c.sx, c.sy, c.interp, c.origin ? c.origin[0] : -99,
                  c.origin ? c.origin[1] : -99, c.size ? c.size[0] : -99, c.size ? c.size[1] : -99);
    return text;
}

void expectNear(const Picture& expected, const Picture& actual, const std::string& what)
{
    const int32_t type = I_ImGetType(actual.owner);
    const std::vector<uint8_t> a = expected.bytes(), b = actual.bytes();
    if (type < PIX_FLOAT || type > PIX_COMPLEX) {
        for (std::size_t i = 0; i < a.size(); ++i)
            ASSERT_EQ(int{a[i]}, int{b[i]}) << what << " byte " << i;
        return;
    }
    const int32_t each = type == PIX_DFLOAT ? 8 : 4;
    for (int32_t i = 0; i < static_cast<int32_t>(a.size()) / each; ++i) {
        const double p = each == 8 ? at<double>(a.data(), i) : at<float>(a.data(), i);
        const double q = each == 8 ? at<double>(b.data(), i) : at<float>(b.data(), i);
        ASSERT_NEAR(p, q, 1e-3 + 1e-6 * std::fabs(p)) << what << " number " << i;
    }
}

} // namespace

TEST(IndependentScale, RandomImages)
{
    Random random(511);
    static const int32_t kTypes[] = {1, 1, 1, 1, 2, 3, 4, 5, 6, 12, 13, 15, 16, 16, 17, 18, 19, 23};
    for (int32_t round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const int32_t type = kTypes[random() % std::size(kTypes)];
        const int32_t other = between(random, 0, 2) ? type : kTypes[random() % std::size(kTypes)];
        const Shape from = randomShape(random, type), to = randomShape(random, other);
        const Picture src = from.open();
        const bool inPlace = between(random, 0, 7) == 0;
        const Picture expected = (inPlace ? from : to).open(), actual = (inPlace ? from : to).open();
        const int32_t origin[2] = {between(random, -4, 9), between(random, -2, 4)};
        const int32_t size[2] = {between(random, -1, 30), between(random, -1, 6)};
        Call call = randomCall(random, origin, size);
        if (from.inverted && call.sy == 0.5) // a block of pairs lies otherwise than rows do
            call.yoff = 0;
        const std::string what = std::to_string(round) + ": " + tell(from) + " to " +
                                 (inPlace ? "itself" : tell(to)) + tellCall(call);
        const int32_t band = between(random, 0, 3) ? -1 : between(random, 0, 2);
        clearError();
        I_SetColorBand(band);
        const int32_t result = PlainScaler(inPlace ? expected.im : src.im, expected.im, call).run();
        clearError();
        const int32_t left = I_GetColorBand();
        I_SetColorBand(band);
        EXPECT_EQ(I_ScaleImage(inPlace ? actual.im : src.im, actual.im, call.origin, call.size, call.xoff,
                               call.yoff, call.sx, call.sy, call.interp),
                  result)
            << what << errorText();
        EXPECT_EQ(I_GetColorBand(), left) << what;
        I_SetColorBand(-1);
        expectNear(expected, actual, what);
        for (const Picture& p : {src, expected, actual})
            p.close();
    }
    clearError();
}

TEST(IndependentScale, HalfPixelShiftAndPlainCopy)
{
    const int32_t src = byteImage({{0, 10, 20, 40, 80, 160}}), dst = byteImage(4, 1);
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 2.5, 0, 1.0, 1.0, 1), 1);
    EXPECT_EQ(rowOf(dst, 0), (std::vector<double>{30, 60, 120, 160}));
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 2.5, 0, 1.0, 1.0, 0), 3); // Rnd(2.5)
    EXPECT_EQ(rowOf(dst, 0), (std::vector<double>{40, 80, 160, 160}));
    I_ImClear(dst, 7);
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, -1.0, 0, 2.0, 2.0, 1), 1);
    EXPECT_EQ(rowOf(dst, 0), (std::vector<double>{7, 7, 0, 5})); // the first columns as they were
    closeImages({src, dst});
}

TEST(IndependentScale, HalvesByPairs)
{
    const int32_t src = byteImage({{1, 2, 9, 9, 5}, {3, 5, 9, 8, 5}, {7, 7, 7, 7, 7}}), dst = byteImage(3, 3);
    I_ImClear(dst, 99);
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, 0.5, 0.5, 1), 1);
    EXPECT_EQ(rowOf(dst, 0), (std::vector<double>{3, 9, 99}));
    EXPECT_EQ(rowOf(dst, 1), (std::vector<double>{99, 99, 99}));
    closeImages({src, dst});
}

TEST(IndependentScale, NewImages)
{
    const int32_t src = byteImage(100, 100, [](int32_t x, int32_t y) { return x + y; });
    I_ImSetComment("grid", src);
    struct Row {
        double xoff, scale;
        int32_t interp, side;
    };
    // Rnd(99 * 0.5), Rnd(99.5 * 0.5); whole without a change; 0.5 or 1 off otherwise; at least 1
    for (const Row& row :
         {Row{0, 0.5, 1, 50}, Row{0, 0.5, 0, 50}, Row{0, 1, 1, 100}, Row{0, 1, 0, 100}, Row{1, 1, 1, 99},
          Row{1, 1, 0, 100}, Row{0, 2, 1, 198}, Row{0, 2, 0, 199}, Row{0, 0.001, 1, 1}}) {
        const int32_t im = I_ScaleImage1(src, row.xoff, 0, row.scale, row.scale, row.interp);
        int32_t cols = 0, rows = 0;
        I_ImGetSize(&cols, &rows, nullptr, im);
        EXPECT_EQ(cols, row.side);
        EXPECT_EQ(rows, row.side);
        char comment[20] = "";
        I_ImGetComment(comment, sizeof comment, im);
        EXPECT_STREQ(comment, "grid");
        const int32_t other = byteImage(row.side, row.side);
        I_ScaleImage(src, other, nullptr, nullptr, row.xoff, 0, row.scale, row.scale, row.interp);
        EXPECT_EQ(bytesOf(im), bytesOf(other));
        closeImages({im, other});
    }
    const int32_t im = I_ScaleImage1Ex(src, 0, 0, 0.5, 0.5, 1, "small");
    char comment[20] = "";
    I_ImGetComment(comment, sizeof comment, im);
    EXPECT_STREQ(comment, "small");
    EXPECT_EQ(I_ScaleImage1(-250, 0, 0, 1, 1, 1), 0);
    clearError();
    closeImages({src, im});
}

TEST(IndependentScale, IntoTheRegion)
{
    Random random(512);
    for (int32_t round = 0; round < 300; ++round) {
        const Shape from = randomShape(random, PIX_BYTE), to = randomShape(random, PIX_BYTE);
        const Picture src = from.open(), expected = to.open(), actual = to.open();
        randomRegion(random, to.cols, to.rows);
        const Call call = randomCall(random, nullptr, nullptr);
        int32_t left, top, right, bottom;
        I_ROIBoundingBox(&left, &top, &right, &bottom, actual.im);
        if (left < -call.xoff)
            left = static_cast<int32_t>(-call.xoff);
        if (top < -call.yoff)
            top = static_cast<int32_t>(-call.yoff);
        const int32_t origin[2] = {left, top}, size[2] = {right - left + 1, bottom - top + 1};
        const int32_t result = I_ScaleImage(src.im, expected.im, origin, size, call.xoff + left,
                                            call.yoff + top, call.sx, call.sy, call.interp);
        EXPECT_EQ(I_ScaleImageROI(src.im, actual.im, call.xoff, call.yoff, call.sx, call.sy, call.interp),
                  result);
        EXPECT_EQ(expected.bytes(), actual.bytes()) << tell(from) << " to " << tell(to) << tellCall(call);
        for (const Picture& p : {src, expected, actual})
            p.close();
    }
    I_SetROIType(0);
    clearError();
}

TEST(IndependentScale, Refused)
{
    const int32_t src = byteImage(9, 9), dst = byteImage(9, 9);
    clearError();
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 20, 0, 2, 2, 1), 0); // behind the source
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, 0, 2, 1), 0);
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, -1, 2, 1), 0);
    const int32_t far[2] = {9, 0};
    EXPECT_EQ(I_ScaleImage(src, dst, far, nullptr, 0, 0, 2, 2, 1), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 0); // no message
    EXPECT_EQ(I_ScaleImage(-270, dst, nullptr, nullptr, 0, 0, 2, 2, 1), 0);
    EXPECT_NE(I_GetError(nullptr, 0), 0);
    I_SetROIType(0);
    for (const char* tag :
         {"I_ScaleImage sbuf1", "I_ScaleImage sbuf2", "I_ScaleImage sblend", "I_ScaleImage dbuf"}) {
        bool seen = false;
        forEachFailingAllocation(
            [&] {
                clearError();
                return I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, 2, 2, 1);
            },
            [&](int64_t result) {
                EXPECT_EQ(I_GetError(nullptr, 0), 2);
                EXPECT_EQ(result, 0);
                seen = seen || errorText().find(tag) != std::string::npos;
            });
        EXPECT_TRUE(seen) << tag;
    }
    clearError();
    closeImages({src, dst});
}

TEST(IndependentScale, TellsItsProgress)
{
    static std::vector<std::string> told;
    I_SetProgressCallback(
        [](float fraction, const char* text) { told.push_back(std::to_string(fraction) + text); }, 1);
    const int32_t src = noiseImage(40, 30, 3), dst = byteImage(60, 60);
    for (const auto& [scale, interp] :
         {std::pair{1.5, 0}, std::pair{0.6, 1}, std::pair{1.5, 1}, std::pair{1.5, -3}}) {
        told.clear();
        I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, scale, scale, interp);
        ASSERT_FALSE(told.empty());
        EXPECT_EQ(told.back(), "1.000000ScaleImage");
    }
    const std::vector<uint8_t> blended = bytesOf(dst); // any flag but 0 means the same
    I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, 1.5, 1.5, 1);
    EXPECT_EQ(blended, bytesOf(dst));
    told.clear();
    EXPECT_EQ(I_ScaleImage(src, dst, nullptr, nullptr, 0, 0, 0.5, 0.5, 1), 1); // too short to tell
    EXPECT_TRUE(told.empty());
    I_SetProgressCallback(nullptr, 0);
    closeImages({src, dst});
}
