// Edges and gradients against their descriptions followed step by step.
#include "tests/filters/plain_neighbourhood.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

int32_t edge(int32_t src, int32_t dst, int32_t M, int32_t N_)
{
    M = std::max(M, 2), N_ = std::max(N_, 2);
    return frame(src, dst, M, N_, PIX_BYTE, each<uint8_t>([](const Call& c, int32_t i) {
                     const auto v = nine<uint8_t>(c, i);
                     const bool smallForm = c.M < 3 || c.N < 3;
                     int32_t largest = 0;
                     for (const int k : {NW, N, W, NE, E, SW, S, SE})
                         if (!smallForm || k == NW || k == N || k == W)
                             largest = std::max(largest, std::abs(v[CTR] - v[static_cast<std::size_t>(k)]));
                     return largest;
                 }));
}

template <typename T>
int32_t sobelSum(const Call& c, int32_t i)
{
    const auto v = nine<T>(c, i);
    const auto d = [&](int k) { return static_cast<double>(v[static_cast<std::size_t>(k)]); };
    const auto gx =
        static_cast<int64_t>(static_cast<float>(2 * d(W) - 2 * d(E) + d(NW) + d(SW) - d(NE) - d(SE)));
    const auto gy =
        static_cast<int64_t>(static_cast<float>(2 * d(N) - 2 * d(S) + d(NE) + d(NW) - d(SE) - d(SW)));
    return static_cast<int32_t>(static_cast<uint32_t>(std::abs(gx) + std::abs(gy))); // wraps
}

int32_t sobel(int32_t src, int32_t dst)
{
    if (widest(src, dst) < 2)
        return frame(src, dst, 3, 3, PIX_BYTE, each<uint8_t>([](const Call& c, int32_t i) {
                         return std::min(sobelSum<uint8_t>(c, i), 255);
                     }));
    return frame(src, dst, 3, 3, PIX_FLOAT, each<float>([dst](const Call& c, int32_t i) {
                     return std::min(static_cast<float>(sobelSum<float>(c, i)), rangeHigh(dst));
                 }));
}

int32_t contour(int32_t src, int32_t dst, int32_t spacing, int32_t mark)
{
    return frame(src, dst, 3, 3, PIX_BYTE, each<uint8_t>([=](const Call& c, int32_t i) {
                     const auto v = nine<uint8_t>(c, i);
                     const int32_t high = std::max({v[N], v[W], v[E], v[S]}), centre = v[CTR];
                     const bool on = centre < high && centre % spacing >= high % spacing;
                     return !on ? centre : mark < 0 ? centre ^ 128 : mark;
                 }));
}

int32_t quickAngle(int32_t dx, int32_t dy, int32_t n)
{
    const int32_t h = n / 2;
    if (std::abs(dy) < std::abs(dx)) {
        const int32_t r = h - h * dy / dx / 2;
        return r < 0 ? std::abs(r) + h : r;
    }
    if (dy == 0)
        return 0;
    const int32_t r = h * dx / dy / 2;
    return r < 0 ? r + n : r;
}

float angleFromBin(float bin, int32_t n)
{
    const float a = bin * 180 / static_cast<float>(n);
    if (std::fabs(a) < 1 || std::fabs(a - 90) < 1 || std::fabs(a - 180) < 1)
        return a;
    const auto F = [n](float t) {
        const double radians = static_cast<double>(t) * 0.017453292519943295;
        return static_cast<float>(quickAngle(static_cast<int32_t>(std::sin(radians) * 500),
                                             static_cast<int32_t>(std::cos(radians) * 500), n) *
                                  180 / n);
    };
    const float e = a - F(a);
    return (a - F(e + a) + e) + a;
}

struct Outcome {
    float result = 0;
    std::vector<uint32_t> histogram = std::vector<uint32_t>(256, 7), angles = std::vector<uint32_t>(90, 3);
    int32_t count = -9;
};

template <typename T>
std::vector<T> boxOf(int32_t im, const int32_t (&box)[4])
{
    const int32_t w = box[2] - box[0] + 1, h = box[3] - box[1] + 1;
    std::vector<T> pixels(static_cast<std::size_t>(w * h));
    I_GetBlockType(box[0], box[1], w, h, pixels.data(), im, sizeof(T) == 1 ? PIX_BYTE : PIX_FLOAT);
    return pixels;
}

Outcome gradient(int32_t src, int32_t dst, int32_t step, float threshold, bool second, int32_t bins)
{
    Outcome o;
    int32_t box[4] = {};
    if (!I_ROIBoundingBox(&box[0], &box[1], &box[2], &box[3], src))
        return o;
    step = std::max(step, 1);
    const int32_t W_ = box[2] - box[0] + 1, H = box[3] - box[1] + 1, T = Rnd(threshold);
    if ((W_ - step) * (H - step) < 1)
        return o;
    std::fill(o.histogram.begin(), o.histogram.end(), 0u);
    o.count = 0;
    double total = 0;
    const auto at2 = [W_](int32_t x, int32_t y) { return static_cast<std::size_t>(y * W_ + x); };
    if (I_ImGetType(src) == PIX_BYTE) {
        const auto in = boxOf<uint8_t>(src, box);
        std::vector<uint8_t> out = in;
        if (second || !(threshold < 255.0f))
            std::fill(out.begin(), out.end(), uint8_t{});
        for (int32_t y = 0; y < H - step - (second ? 2 : 0); ++y)
            for (int32_t x = 0; x < W_ - step; ++x) {
                const int32_t centre = in[at2(x, y)];
                const int32_t down = centre - in[at2(x, y + step)], right = centre - in[at2(x + step, y)];
                const int32_t m = isqrt(down * down + right * right);
                uint8_t& pixel = out[at2(x, y)];
                pixel = static_cast<uint8_t>(m);
                if (second) {
                    const int32_t k = quickAngle(right, down, bins);
                    pixel = 0;
                    if (threshold < static_cast<float>(m)) {
                        o.angles[static_cast<std::size_t>(k)] += static_cast<uint32_t>(m);
                        pixel = static_cast<uint8_t>(k * 180 / bins + 70);
                    }
                }
                if (m >= T) {
                    total += m;
                    ++o.count;
                    pixel = second ? pixel : uint8_t{};
                } else {
                    ++o.histogram[static_cast<std::size_t>(centre)];
                }
            }
        if (dst != 0)
            I_PutBlockType(box[0], box[1], W_, H, out.data(), dst, PIX_BYTE);
    } else {
        const auto in = boxOf<float>(src, box);
        const std::vector<float> out(in.size(), 0.0f);
        for (int32_t y = 0; y < H - step; ++y)
            for (int32_t x = 0; x < W_ - step; ++x) {
                const float centre = in[at2(x, y)], a = centre - in[at2(x, y + step)],
                            b = centre - in[at2(x + step, y)];
                const float v = a * a + b * b;
                if (v > threshold * threshold) {
                    total += static_cast<double>(v);
                    ++o.count;
                } else {
                    ++o.histogram[static_cast<std::size_t>(std::clamp(static_cast<int32_t>(centre), 0, 255))];
                }
            }
        if (dst != 0)
            I_PutBlockType(box[0], box[1], W_, H, out.data(), dst, PIX_FLOAT);
    }
    o.result = static_cast<float>(std::sqrt(total / std::max(o.count, 1)));
    return o;
}

float peakGradient(const std::vector<uint32_t>& angles)
{
    std::vector<int32_t> counters(angles.begin(), angles.end()), sums(90);
    int32_t carry = 0;
    const auto get = [&](int32_t i) { return counters[static_cast<std::size_t>(std::clamp(i, 0, 89))]; };
    for (int32_t i = 0; i < 90; ++i) {
        const int32_t sum = get(i - 1) + get(i) + get(i + 1), value = (carry + sum + 1) / 3;
        carry += sum - value * 3;
        sums[static_cast<std::size_t>(i)] = value;
    }
    int32_t k = 0;
    for (int32_t i = 0; i < 90; ++i)
        k = sums[static_cast<std::size_t>(i)] >= sums[static_cast<std::size_t>(k)] ? i : k;
    const auto around = [&](int32_t i) {
        return static_cast<double>(sums[static_cast<std::size_t>((i + 90) % 90)]);
    };
    double position = 0;
    I_ParabolicPeak(around(k - 1), around(k), around(k + 1), &position, nullptr);
    return angleFromBin(static_cast<float>(k - 1 + position), 90);
}

TEST(IndependentEdges, FindsTheLargestDifference)
{
    compare({}, [](Random& random, std::string& told) {
        const int32_t M = between(random, 0, 9), N_ = between(random, -1, 9);
        told = std::to_string(M) + "x" + std::to_string(N_);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_Edge(src, dst, M, N_); },
            [=](int32_t src, int32_t dst) { return edge(src, dst, M, N_); });
    });
}

TEST(IndependentEdges, TakesTheSobelMagnitude)
{
    Options options;
    options.tries = 500;
    compare(options, [](Random&, std::string&) { return std::pair<Operation, Operation>(I_Sobel, sobel); });
}

TEST(IndependentEdges, DrawsContours)
{
    compare({}, [](Random& random, std::string& told) {
        const int32_t spacing = between(random, 1, 300), mark = between(random, -2, 260);
        told = "spacing " + std::to_string(spacing) + " mark " + std::to_string(mark);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_Contour(src, dst, spacing, mark); },
            [=](int32_t src, int32_t dst) { return contour(src, dst, spacing, mark); });
    });
    const int32_t im = byteImage({{31, 33, 31, 30}, {31, 33, 31, 30}}), out = byteImage(4, 2);
    I_Contour(im, out, 32, 200);
    EXPECT_THAT(rowOf(out, 0), testing::ElementsAre(200, 33, 200, 30));
    I_Contour(im, out, 32, -1);
    EXPECT_THAT(rowOf(out, 0), testing::ElementsAre(31 ^ 128, 33, 31 ^ 128, 30));
    closeImages({im, out});
}

TEST(IndependentEdges, MeasuresGradients)
{
    Random random(21);
    for (int32_t k = 0; k < 1200; ++k) {
        const std::vector<int32_t> types = {PIX_BYTE,  PIX_BYTE,  PIX_FLOAT,  PIX_WORD,
                                            PIX_DWORD, PIX_BGR24, PIX_PALETTE};
        const int32_t which = between(random, 0, 2),
                      relation = between(random, 0, 3); // none, itself, alike, another type
        const Shape src{between(random, 1, 30),
                        between(random, 1, 20),
                        which == 2 ? PIX_BYTE : types[random() % 7],
                        between(random, 0, 3) == 0,
                        between(random, 0, 4) == 0,
                        between(random, 0, 9) == 0,
                        static_cast<uint32_t>(random())};
        Shape dst = src;
        dst.seed = static_cast<uint32_t>(random());
        dst.window = between(random, 0, 1);
        dst.inverted = between(random, 0, 4) == 0;
        if (relation == 3) {
            dst.type = types[random() % 7];
            dst.cols = std::max(1, dst.cols + between(random, -4, 4));
            dst.rows = std::max(1, dst.rows + between(random, -4, 4));
        }
        const int32_t step = between(random, -1, 4);
        const float threshold =
            static_cast<float>(between(random, -8, 900)) / (between(random, 0, 3) ? 8.0f : 2.5f);
        drawRegion(random, src.cols, src.rows);
        const Picture a = src.open(), b = relation == 1 ? a : dst.open(), c = src.open(),
                      d = relation == 1 ? c : dst.open();
        const Outcome want = gradient(c.im, relation ? d.im : 0, step, threshold, which > 0, 90);
        Outcome got;
        const int32_t to = relation ? b.im : 0;
        if (which == 0)
            got.result = I_Gradient(a.im, to, step, threshold, got.histogram.data(), &got.count);
        else if (which == 1)
            got.result = I_Gradient2(a.im, to, step, threshold, got.histogram.data(), &got.count,
                                     got.angles.data(), 90);
        else
            got.result = I_PeakGradient(a.im, to, step, threshold, got.histogram.data(), &got.count);
        std::vector<uint32_t> angles = want.angles;
        for (uint32_t& v : angles)
            v -= 3;
        const float wanted = which == 2 ? peakGradient(angles) : want.result;
        const bool floats = src.type != PIX_BYTE;
        if (which < 2 || want.count >= 0) {
            EXPECT_NEAR(got.result, wanted, floats ? 1e-4f * std::max(1.0f, wanted) : 1e-4f)
                << which << " step " << step << " threshold " << threshold << " " << tell(src) << " try "
                << k;
        }
        EXPECT_EQ(got.histogram, want.histogram) << which << " " << tell(src) << " try " << k;
        EXPECT_EQ(got.count, want.count) << which << " " << tell(src) << " try " << k;
        EXPECT_EQ(got.angles, which == 1 ? want.angles : got.angles);
        EXPECT_TRUE(b.bytes() == d.bytes())
            << which << " " << tell(src) << " -> " << (relation == 1 ? "itself" : tell(dst)) << " try " << k;
        if (relation != 1) {
            b.close();
            d.close();
        }
        a.close();
        c.close();
        if (HasFailure())
            break;
    }
    I_SetROIType(0);
}

TEST(IndependentEdges, KnowsTheListedCases)
{
    const int32_t flat = byteImage(9, 9, [](int32_t, int32_t) { return 40; }), out = byteImage(9, 9);
    int32_t count = -1;
    EXPECT_EQ(I_Gradient(flat, 0, 1, 1, nullptr, &count), 0.0f);
    EXPECT_EQ(count, 0);
    count = -1;
    EXPECT_EQ(I_Gradient(flat, out, 9, 1, nullptr, &count), 0.0f);
    EXPECT_EQ(count, -1);
    EXPECT_EQ(I_Gradient(-250, out, 1, 1, nullptr, &count), 0.0f);
    EXPECT_EQ(I_PeakGradient(-250, out, 1, 1, nullptr, &count), 0.0f);
    I_SetError(12, "pending error");
    I_PeakGradient(flat, 0, 1, 1, nullptr, nullptr);
    EXPECT_EQ(I_GetError(nullptr, 0), 0); // presented
    const int32_t ramp = byteImage(9, 9, [](int32_t x, int32_t) { return 10 * x; });
    // Each magnitude is 10: strong at 10, not at 10.5, which is Rnd 11.
    EXPECT_FLOAT_EQ(I_Gradient(ramp, 0, 1, 10.4f, nullptr, &count), std::sqrt(10.0f));
    EXPECT_EQ(count, 64);
    EXPECT_EQ(I_Gradient(ramp, 0, 1, 10.5f, nullptr, &count), 0.0f);
    std::vector<uint32_t> angles(90);
    I_Gradient2(ramp, out, 1, 10.0f, nullptr, &count, angles.data(), 90); // not above the threshold, but at T
    EXPECT_EQ(count, 8 * 6);
    EXPECT_EQ(angles, std::vector<uint32_t>(90));
    I_Gradient2(ramp, out, 1, 9.0f, nullptr, &count, angles.data(), 90);
    EXPECT_EQ(angles[45], 480u);
    EXPECT_EQ(I_GetPixByte(0, 0, out), 160);
    EXPECT_EQ(I_GetPixByte(0, 6, out), 0);
    EXPECT_EXIT(I_Gradient2(ramp, 0, 1, 9.0f, nullptr, nullptr, angles.data(), 0), testing::ExitedWithCode(1),
                "a=0 of 0");
    closeImages({flat, out, ramp});
}

} // namespace
