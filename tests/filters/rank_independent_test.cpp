// Rank, shape and the filters on nine points against their descriptions followed step by step.
#include "tests/filters/plain_neighbourhood.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

template <typename T>
Filter ofNine(T (*f)(const Nine<T>&))
{
    return each<T>([f](const Call& c, int32_t i) { return f(nine<T>(c, i)); });
}
template <typename T>
T lowest(const Nine<T>& v)
{
    return *std::min_element(v.begin(), v.end());
}
template <typename T>
T highest(const Nine<T>& v)
{
    return *std::max_element(v.begin(), v.end());
}
template <typename T>
T middle(const Nine<T>& v)
{
    Nine<T> sorted = v;
    std::sort(sorted.begin(), sorted.end());
    return sorted[4];
}
template <typename T>
T mean(const Nine<T>& v)
{
    double sum = sizeof(T) == 1 ? 4 : 0;
    for (const T t : v)
        sum += static_cast<double>(t);
    return static_cast<T>(sum / 9.0);
}
uint8_t sobel(const Nine<uint8_t>& v)
{
    const int32_t gx = 2 * v[W] - 2 * v[E] + v[NW] + v[SW] - v[NE] - v[SE];
    const int32_t gy = 2 * v[N] - 2 * v[S] + v[NE] + v[NW] - v[SE] - v[SW];
    return static_cast<uint8_t>(std::min(255, std::abs(gx) + std::abs(gy)));
}
uint8_t vertical(const Nine<uint8_t>& v)
{
    return static_cast<uint8_t>(std::abs(2 * (v[N] - v[S]) - v[SE] - v[SW] + v[NE] + v[NW]));
}
uint8_t horizontal(const Nine<uint8_t>& v)
{
    return static_cast<uint8_t>(std::abs(2 * (v[W] - v[E]) - v[SE] - v[NE] + v[SW] + v[NW]));
}
constexpr int kNeighbours[] = {N, W, E, S, NW, NE, SW, SE};
uint8_t grown(const Nine<uint8_t>& v)
{
    for (const int k : kNeighbours)
        if (v[CTR] == 0 && v[static_cast<std::size_t>(k)] != 0)
            return v[static_cast<std::size_t>(k)];
    return v[CTR];
}
uint8_t shrunk(const Nine<uint8_t>& v)
{
    for (const int k : kNeighbours)
        if (v[static_cast<std::size_t>(k)] == 0)
            return 0;
    return v[CTR];
}
Filter contour(int32_t spacing, int32_t mark)
{
    return each<uint8_t>([=](const Call& c, int32_t i) {
        const auto v = nine<uint8_t>(c, i);
        const int32_t high = std::max({v[N], v[W], v[E], v[S]}), centre = v[CTR];
        const bool on = centre < high && centre % spacing >= high % spacing;
        return !on ? centre : mark < 0 ? centre ^ 128 : mark;
    });
}
Filter sharp(int32_t strength, bool centre)
{
    return each<uint8_t>([=](const Call& c, int32_t i) {
        const auto v = nine<uint8_t>(c, i);
        int32_t t = 9 * v[CTR];
        for (const uint8_t s : v)
            t -= s;
        return byteBoth(t * strength / 128 + (centre ? v[CTR] : 0));
    });
}
Filter sharpFloat(int32_t strength, bool centre, int32_t dst)
{
    return each<float>([=](const Call& c, int32_t i) {
        const auto v = nine<float>(c, i);
        float t = 9 * v[CTR];
        for (const float s : v)
            t -= s;
        return floatBoth(t * static_cast<float>(strength) * 0.0078125f + (centre ? v[CTR] : 0), dst);
    });
}

int32_t byCode(int32_t src, int32_t dst, int32_t M, int32_t N_, int32_t op, const float* param)
{
    const auto run = [&](const Filter& filter, int32_t type = PIX_BYTE) {
        return frame(src, dst, M, N_, type, filter);
    };
    const bool bytes = widest(src, dst) == 1;
    const bool none = param == nullptr || param[0] == 0;
    const int32_t strength = none ? (op == 0 ? 40 : 16) : static_cast<int32_t>(param[0] * 16 + 0.5f);
    switch (op) {
    case 0:
    case 10:
        return bytes ? run(sharp(strength, op == 0)) : run(sharpFloat(strength, op == 0, dst), PIX_FLOAT);
    case 1:
        return bytes ? run(ofNine<uint8_t>(mean)) : run(ofNine<float>(mean), PIX_FLOAT);
    case 3:
        return run(ofNine<uint8_t>(sobel));
    case 4:
        if (none || std::fabs(param[0]) == 1)
            return run(contour(32, 0));
        return run(contour(static_cast<int32_t>(param[0]), static_cast<int32_t>(param[1])));
    case 5:
        return bytes ? run(ofNine<uint8_t>(lowest)) : run(ofNine<float>(lowest), PIX_FLOAT);
    case 6:
        return bytes ? run(ofNine<uint8_t>(highest)) : run(ofNine<float>(highest), PIX_FLOAT);
    case 7:
        return bytes ? run(ofNine<uint8_t>(middle)) : run(ofNine<float>(middle), PIX_FLOAT);
    case 8:
        return run(ofNine<uint8_t>(vertical));
    case 9:
        return run(ofNine<uint8_t>(horizontal));
    case 11:
        return run(ofNine<uint8_t>(shrunk));
    case 12:
        return run(ofNine<uint8_t>(grown));
    default:
        return 0;
    }
}

int32_t rank(int32_t src, int32_t dst, float steps, bool erodes)
{
    if (steps < 0)
        return rank(src, dst, -steps, !erodes);
    const int32_t type = narrowest(src, dst) == 1 ? PIX_BYTE : PIX_FLOAT;
    for (;; src = dst) {
        const float step = steps < 1.0f ? steps : 1.0f;
        const auto w = static_cast<int32_t>(step * 128);
        const Filter bytes = each<uint8_t>([=](const Call& c, int32_t i) {
            const auto v = nine<uint8_t>(c, i);
            return v[CTR] + ((((erodes ? lowest(v) : highest(v)) - v[CTR]) * w + 64) >> 7);
        });
        const Filter floats = each<float>([=](const Call& c, int32_t i) {
            const auto v = nine<float>(c, i);
            const float extreme = erodes ? lowest(v) : highest(v);
            return step == 1.0f ? extreme : v[CTR] + (extreme - v[CTR]) * step;
        });
        if (!frame(src, dst, 3, 3, type, type == PIX_BYTE ? bytes : floats))
            return 0;
        steps -= step;
        if (steps <= 0)
            return 1;
    }
}

int32_t minPeak(int32_t src, int32_t dst, int32_t M, int32_t N_, bool peaks)
{
    return frame(src, dst, M, N_, PIX_BYTE, each<uint8_t>([=](const Call& c, int32_t i) {
                     const auto v = nine<uint8_t>(c, i);
                     const auto [low, high] = std::minmax({v[N], v[W], v[E], v[S]});
                     return std::max(0, peaks ? v[CTR] - high : low - v[CTR]);
                 }));
}

int32_t binaryDilate(int32_t src, int32_t dst, int32_t steps)
{
    steps = steps == 0 ? 1 : steps;
    for (int32_t k = 0; k < std::abs(steps); ++k, src = dst)
        if (!frame(src, dst, 3, 3, PIX_BYTE, ofNine<uint8_t>(steps > 0 ? grown : shrunk)))
            return 0;
    return 1;
}

int32_t passes;
int32_t skeleton(int32_t src, int32_t dst)
{
    for (passes = 1;; ++passes, src = dst) {
        int32_t removed = 0;
        const int32_t result = frame(src, dst, 3, 3, PIX_BYTE, [&](const Call& c) {
            for (int32_t i = 0; i < c.count; ++i) {
                const auto v = nine<uint8_t>(c, i);
                c.out[i] = v[CTR];
                if (v[CTR] == 0)
                    continue;
                int32_t n = 0, t = 0;
                for (const int k : kNeighbours)
                    n += v[static_cast<std::size_t>(k)] != 0;
                const uint8_t a[] = {i > 0 ? c.prevOut[i - 1] : uint8_t{},
                                     c.prevOut[i],
                                     c.prevOut[i + 1],
                                     v[E],
                                     v[SE],
                                     v[S],
                                     v[SW],
                                     i > 0 ? c.out[i - 1] : uint8_t{}};
                for (int k = 0; k < 8; ++k)
                    t += a[k] > a[(k + 1) % 8];
                const bool corner =
                    (a[0] == 0 && a[1] != 0 && a[7] != 0) || (a[2] == 0 && a[1] != 0 && a[3] != 0);
                if ((n >= 3 && n < 6 && t < 2) || (t == 2 && n < 5 && corner)) {
                    c.out[i] = 0;
                    ++removed;
                }
            }
        });
        if (passes == 11 || result == 0 || removed < 4)
            return 1;
    }
}

int32_t deflicker(int32_t src, int32_t dst, int32_t mode)
{
    if (narrowest(src, dst) < 2)
        return frame(src, dst, 1, 2, PIX_BYTE, each<uint8_t>([=](const Call& c, int32_t i) {
                         const int32_t above = c.pixel<uint8_t>(0, i), own = c.pixel<uint8_t>(1, i);
                         return mode == -1 ? (above + own) >> 1 : (c.y & 1) != mode ? own : above;
                     }));
    return frame(src, dst, 1, 2, PIX_FLOAT, each<float>([=](const Call& c, int32_t i) {
                     const float above = c.pixel<float>(0, i), own = c.pixel<float>(1, i);
                     return mode == -1 ? (above + own) * 0.5f : (c.y & 1) != mode ? own : above;
                 }));
}

TEST(IndependentRank, FiltersByCode)
{
    const auto draw = [](Random& random, std::string& told, bool sharpens) {
        if (sharpens && I_GetClipMode() == 7)
            I_SetClipMode(1);
        static float param[2];
        const int32_t M = between(random, 1, 9), N_ = between(random, 1, 9), drawn = between(random, 0, 12),
                      op = sharpens                    ? drawn % 2 * 10
                           : drawn == 0 || drawn == 10 ? 13
                                                       : drawn;
        const float first = static_cast<float>(between(random, -4, 4)) * (op == 4 ? 5.5f : 0.375f);
        const float second = static_cast<float>(between(random, -2, 300)),
                    kind = static_cast<float>(between(random, 0, 5));
        told = "op " + std::to_string(op) + " " + std::to_string(M) + "x" + std::to_string(N_) + " param " +
               std::to_string(first) + " " + std::to_string(kind);
        const auto pick = [=]() -> const float* {
            param[0] = kind == 1 ? -1.0f : kind == 2 ? 1.0f : first;
            param[1] = second;
            return kind == 0 ? nullptr : param;
        };
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_MxN9ptFilt(src, dst, M, N_, op, pick()); },
            [=](int32_t src, int32_t dst) { return byCode(src, dst, M, N_, op, pick()); });
    };
    Options options;
    options.tries = 600;
    options.clips = true;
    compare(options, [=](Random& random, std::string& told) { return draw(random, told, false); });
    options.types = {PIX_BYTE, PIX_FLOAT, PIX_FLOAT, PIX_DFLOAT, PIX_BGR24};
    options.tolerance = 1e-4; // sums of large numbers that were written in place
    compare(options, [=](Random& random, std::string& told) { return draw(random, told, true); });
}

TEST(IndependentRank, TakesTheMedian)
{
    compare({}, [](Random&, std::string&) {
        return std::pair<Operation, Operation>(
            I_Median, [](int32_t src, int32_t dst) { return byCode(src, dst, 3, 3, 7, nullptr); });
    });
}

TEST(IndependentRank, ErodesAndDilatesByFractions)
{
    Options options;
    options.tries = 600;
    compare(options, [](Random& random, std::string& told) {
        const bool erodes = between(random, 0, 1) == 0;
        const float steps = std::vector<float>{0.0f, 0.25f, 0.3f, 0.5f,  1.0f,  1.7f,
                                               2.0f, 2.5f,  4.9f, -0.6f, -1.0f, -2.25f}[random() % 12];
        told = (erodes ? "erode " : "dilate ") + std::to_string(steps);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) {
                return erodes ? I_Erode(src, dst, steps) : I_Dilate(src, dst, steps);
            },
            [=](int32_t src, int32_t dst) { return rank(src, dst, steps, erodes); });
    });
}

TEST(IndependentRank, FindsPeaksAndPits)
{
    compare({}, [](Random& random, std::string& told) {
        const int32_t M = between(random, 1, 9), N_ = between(random, 1, 9), peaks = between(random, -1, 1);
        told = std::to_string(M) + "x" + std::to_string(N_) + " peaks " + std::to_string(peaks);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_MinPeak(src, dst, M, N_, peaks); },
            [=](int32_t src, int32_t dst) { return minPeak(src, dst, M, N_, peaks != 0); });
    });
}

// A byte image with labels far apart, in every second try; both sides prepare their sources alike.
void sparse(int32_t im, uint32_t seed)
{
    Random random(seed);
    if (I_ImGetType(im) != PIX_BYTE || I_ImGetPtr(0, 0, nullptr, nullptr, im) == nullptr)
        return;
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    const int32_t density = between(random, 1, 40), whole = between(random, 0, 1),
                  solid = between(random, 2, 9);
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < cols; ++x) {
            const bool on = whole ? (x / solid + y / solid) % 2 == 0 && between(random, 0, 20)
                                  : between(random, 0, density) == 0;
            const uint8_t v =
                on ? static_cast<uint8_t>(whole && density < 20 ? 255 : between(random, 1, 255)) : uint8_t{};
            I_PutBlockType(x, y, 1, 1, &v, im, PIX_BYTE);
        }
}

TEST(IndependentRank, GrowsAndShrinksLabels)
{
    Options options;
    options.tries = 600;
    options.types = {PIX_BYTE, PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_BGR24};
    compare(options, [](Random& random, std::string& told) {
        const int32_t steps = between(random, -3, 4);
        const auto seed = static_cast<uint32_t>(random());
        told = "steps " + std::to_string(steps);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return sparse(src, seed), I_BinaryDilate(src, dst, steps); },
            [=](int32_t src, int32_t dst) { return sparse(src, seed), binaryDilate(src, dst, steps); });
    });
}

TEST(IndependentRank, ThinsToLines)
{
    Options options;
    options.tries = 800;
    options.types = {PIX_BYTE, PIX_BYTE, PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_BGR24};
    compare(options, [](Random& random, std::string&) {
        const auto seed = static_cast<uint32_t>(random());
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return sparse(src, seed), I_Skeleton(src, dst); },
            [=](int32_t src, int32_t dst) { return sparse(src, seed), skeleton(src, dst); });
    });
    const int32_t empty = byteImage(9, 9), out = noiseImage(9, 9, 3);
    EXPECT_EQ(I_Skeleton(empty, out), 1);
    EXPECT_EQ(bytesOf(out), bytesOf(empty));
    EXPECT_EQ(I_Skeleton(-250, out), 1); // always
    const int32_t disc = byteImage(61, 61, [](int32_t x, int32_t y) {
        return (x - 30) * (x - 30) + (y - 30) * (y - 30) < 784 ? 200 : 0;
    });
    const int32_t want = byteImage(61, 61);
    skeleton(disc, want); // thicker than eleven passes can take away
    EXPECT_EQ(passes, 11);
    I_Skeleton(disc, disc);
    EXPECT_EQ(bytesOf(disc), bytesOf(want));
    closeImages({empty, out, disc, want});
}

TEST(IndependentRank, TakesFlickerAway)
{
    compare({}, [](Random& random, std::string& told) {
        const int32_t mode = between(random, -2, 2);
        told = "mode " + std::to_string(mode);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_Deflicker(src, dst, mode); },
            [=](int32_t src, int32_t dst) { return deflicker(src, dst, mode); });
    });
}

TEST(IndependentRank, KnowsTheListedCases)
{
    const int32_t im = noiseImage(12, 9, 7), out = noiseImage(12, 9, 8), kept = I_CloneImage(out, 0, 1);
    clearError();
    for (const int32_t op : {2, 13, 100, -1})
        EXPECT_EQ(I_MxN9ptFilt(im, out, 3, 3, op, nullptr), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    EXPECT_EQ(bytesOf(out), bytesOf(kept));
    EXPECT_EQ(I_Erode(im, out, 0), 1); // one pass of step 0
    EXPECT_EQ(bytesOf(out), bytesOf(im));
    I_Deflicker(im, kept, 2);
    EXPECT_EQ(bytesOf(kept), bytesOf(im));
    EXPECT_EQ(I_Erode(im, -250, 3), 0);
    EXPECT_EQ(I_BinaryDilate(-250, out, 3), 0);
    closeImages({im, out, kept});
}

} // namespace
