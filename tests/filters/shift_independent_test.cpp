// Shifts by fractions of a pixel against their description followed step by step.
#include "tests/filters/plain_neighbourhood.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Weights {
    float w[4];
};

Weights weights(float shift, float s)
{
    const float t = shift - std::floor(shift), a = t * s, q = t * t * s, b = 0.5f * s;
    if (t <= 0.5f)
        return {{(q - a) * 0.5f, a - 1.5f * q - t + 1, t + 1.5f * q - 0.5f * a, -0.5f * q}};
    return {
        {a - 0.5f * q - b, s + (1.5f * q - 2.5f * a - t) + 1, t + 2 * a - 1.5f * q - b, 0.5f * q - 0.5f * a}};
}

template <typename T>
T tap(const T (&v)[4], const Weights& w)
{
    if constexpr (sizeof(T) == 1) {
        int32_t sum = 1024;
        for (int k = 0; k < 4; ++k)
            sum += v[k] * static_cast<int32_t>(w.w[k] * 2048);
        return static_cast<T>(std::clamp(sum >> 11, 0, 255));
    } else {
        double sum = 0;
        for (int k = 0; k < 4; ++k)
            sum += static_cast<double>(v[k]) * static_cast<double>(w.w[k]);
        return static_cast<T>(sum);
    }
}

// A line of n positions of which each is `channels` elements: the ends are repeated.
template <typename T>
void shiftPlane(const T* in, T* out, int32_t width, int32_t height, int32_t channels, bool byColumn,
                const Weights& w)
{
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < channels; ++c) {
                T v[4];
                for (int32_t k = 0; k < 4; ++k) {
                    const int32_t sx = byColumn ? x : std::clamp(x + k - 1, 0, width - 1);
                    const int32_t sy = byColumn ? std::clamp(y + k - 1, 0, height - 1) : y;
                    v[k] = in[(sy * width + sx) * channels + c];
                }
                out[(y * width + x) * channels + c] = tap(v, w);
            }
}

template <typename T>
void shiftArray(const T* in, T* out, int32_t width, int32_t height, float dx, float dy, float s,
                int32_t channels)
{
    const float least = sizeof(T) == 1 ? 0.005f : 0.0f;
    std::vector<T> scratch(in, in + width * height * channels), result = scratch;
    if (std::fabs(dx) > least && width >= 2)
        shiftPlane(in, scratch.data(), width, height, channels, false, weights(dx, s));
    result = scratch;
    if (std::fabs(dy) > least && height >= 2)
        shiftPlane(scratch.data(), result.data(), width, height, channels, true, weights(dy, s));
    std::copy(result.begin(), result.end(), out);
}

int32_t shiftSharpen(int32_t src, int32_t dst, float dx, float dy, float s)
{
    auto ix = static_cast<int32_t>(std::floor(dx)), iy = static_cast<int32_t>(std::floor(dy));
    float fx = dx - static_cast<float>(ix), fy = dy - static_cast<float>(iy);
    if (fx < 0.01f || fx > 0.99f)
        ix = Rnd(dx), fx = 0;
    if (fy < 0.01f || fy > 0.99f)
        iy = Rnd(dy), fy = 0;
    if (fx == 0 && fy == 0)
        return I_ROICopy(src, dst, static_cast<int32_t>(dx), static_cast<int32_t>(dy));
    int32_t W = 0, H = 0, left = 0, top = 0, right = 0, bottom = 0;
    I_ImGetSize(&W, &H, nullptr, src);
    I_ROIBoundingBox(&left, &top, &right, &bottom, dst);
    int32_t type = std::min(I_ImGetType(src), I_ImGetType(dst));
    type = type == 12                 ? 1
           : type >= 2 && type <= 11  ? 4
           : type == 17 || type == 18 ? 1
           : type > 12                ? 16
                                      : type;
    const auto trunc = [](float v) { return static_cast<int32_t>(v); };
    left = std::max(left, -(trunc(fx + 0.2f) + ix));
    top = std::max(top, -(trunc(fy + 0.2f) + iy));
    right = std::min(right, W - trunc(fx + 0.8f) - ix - 1);
    bottom = std::min(bottom, H - trunc(fy + 0.8f) - iy - 1);
    const int32_t w = right - left + 1, h = bottom - top + 1, bytes = I_ImTypeBytes(type), cols = w + 3,
                  rows = h + 3;
    if (w < 1 || h < 1)
        return 0;
    std::vector<uint8_t> in(static_cast<std::size_t>(cols * rows * bytes)), out = in;
    const int32_t x0 = ix + left - 1, y0 = iy + top - 1;
    I_GetBlockType(x0, y0, cols, rows, in.data(), src, type);
    int32_t first = std::max(0, -y0), last = std::min(rows, H - y0) - 1, inverted = 0;
    I_ImGetParam(&inverted, 0, 19, src);
    if (inverted) { // the block has its rows reversed
        std::swap(first, last);
        first = rows - 1 - first;
        last = rows - 1 - last;
    }
    I_CopyBorder(in.data(), bytes, cols * bytes, rows, std::max(0, -x0), first, std::min(cols, W - x0) - 1,
                 last);
    if (type == PIX_FLOAT) {
        std::vector<float> a(static_cast<std::size_t>(cols * rows)), b = a;
        std::memcpy(a.data(), in.data(), in.size());
        shiftArray(a.data(), b.data(), cols, rows, fx, fy, s, 1);
        std::memcpy(out.data(), b.data(), out.size());
    } else {
        shiftArray(in.data(), out.data(), cols, rows, fx, fy, s, bytes);
    }
    I_PutBlockTypeEx(left, top, w, h, out.data() + (cols + 1) * bytes, dst, type, cols * bytes);
    return 1;
}

float drawnShift(Random& random)
{
    static const float kShifts[] = {0.0f, 0.005f, 0.995f, 2.995f,  0.0099f, 0.25f,
                                    0.5f, 0.75f,  -1.25f, -0.004f, -0.999f, 7.0f};
    return between(random, 0, 1) ? kShifts[random() % std::size(kShifts)]
                                 : static_cast<float>(between(random, -900, 900)) / 128.0f;
}

TEST(IndependentShift, ShiftsImages)
{
    Random random(11);
    const std::vector<int32_t> types = {PIX_BYTE,  PIX_BYTE,   PIX_FLOAT,  PIX_WORD,  PIX_DWORD,
                                        PIX_BGR24, PIX_RGB24,  PIX_BGR32,  PIX_RGB32, PIX_PALETTE,
                                        PIX_BGR16, PIX_DFLOAT, PIX_COMPLEX};
    for (int32_t k = 0; k < 500; ++k) {
        const int32_t type = types[random() % types.size()],
                      other = between(random, 0, 1) ? type : types[random() % types.size()];
        const Shape src{between(random, 1, 40),         between(random, 1, 20),     type,
                        between(random, 0, 3) == 0,     between(random, 0, 5) == 0, false,
                        static_cast<uint32_t>(random())};
        const Shape dst{between(random, 1, 40),         between(random, 1, 20),     other,
                        between(random, 0, 3) == 0,     between(random, 0, 5) == 0, false,
                        static_cast<uint32_t>(random())};
        const bool inPlace = between(random, 0, 3) == 0;
        const float dx = drawnShift(random), dy = drawnShift(random),
                    s = static_cast<float>(between(random, 0, 5)) / 4.0f;
        drawRegion(random, dst.cols, dst.rows);
        const Picture a = src.open(), b = inPlace ? a : dst.open(), c = src.open(),
                      d = inPlace ? c : dst.open();
        const int32_t got = I_ShiftSharpen(a.im, b.im, dx, dy, s),
                      wanted = shiftSharpen(c.im, d.im, dx, dy, s);
        EXPECT_EQ(got, wanted) << dx << " " << dy << " " << s << ": " << tell(src) << " -> "
                               << (inPlace ? "itself" : tell(dst));
        const bool same = close(b, d, 1e-6);
        EXPECT_TRUE(same && (other != type || type == PIX_WORD || type == PIX_DWORD ||
                             close(b, d, type == PIX_FLOAT ? 1e-6 : 0)))
            << dx << " " << dy << " " << s << ": " << tell(src) << " -> " << (inPlace ? "itself" : tell(dst))
            << " try " << k;
        if (!inPlace) {
            b.close();
            d.close();
        }
        a.close();
        c.close();
        if (HasFailure() && k > 100)
            break;
    }
    I_SetROIType(0);
    EXPECT_EQ(I_ShiftSharpen(0, 0, 0.5f, 0, 1), 0);
}

TEST(IndependentShift, ShiftsArrays)
{
    Random random(12);
    for (int32_t k = 0; k < 300; ++k) {
        const int32_t w = between(random, 1, 20), h = between(random, 1, 6);
        const float dx = static_cast<float>(between(random, 0, 127)) / 128,
                    dy = between(random, 0, 2) ? static_cast<float>(between(random, 0, 127)) / 128 : 0.004f;
        const float s = static_cast<float>(between(random, 0, 4)) / 4;
        const auto n = static_cast<std::size_t>(w * h);
        std::vector<float> f(n), g(n), e(n);
        std::vector<uint8_t> b(3 * n), c(3 * n), d(3 * n);
        for (float& v : f)
            v = static_cast<float>(between(random, -3000, 9000)) / 32;
        for (uint8_t& v : b)
            v = static_cast<uint8_t>(random() % 256);
        const int32_t channels = between(random, 0, 1) ? 3 : 1;
        I_ShiftSharpenArray(f.data(), g.data(), w, h, dx, dy, s, PIX_FLOAT);
        shiftArray(f.data(), e.data(), w, h, dx, dy, s, 1);
        for (std::size_t i = 0; i < n; ++i)
            ASSERT_NEAR(g[i], e[i], 1e-4) << w << "x" << h << " " << dx << " " << dy << " " << s;
        I_ShiftSharpenArray(b.data(), c.data(), w, h, dx, dy, s, channels == 3 ? PIX_BGR24 : PIX_BYTE);
        shiftArray(b.data(), d.data(), w, h, dx, dy, s, channels);
        ASSERT_EQ(c, d) << w << "x" << h << " " << dx << " " << dy << " " << s << " channels " << channels;
        std::vector<int16_t> words(n), moved(n);
        for (std::size_t i = 0; i < n; ++i)
            words[i] = static_cast<int16_t>(between(random, -2000, 30000)), f[i] = words[i];
        I_ShiftSharpenArray(words.data(), moved.data(), w, h, dx, dy, s, PIX_WORD);
        shiftArray(f.data(), e.data(), w, h, dx, dy, s, 1);
        for (std::size_t i = 0; i < n; ++i)
            ASSERT_NEAR(moved[i], std::trunc(std::clamp(e[i], -32768.0f, 32767.0f)),
                        std::fabs(e[i]) < 32767 ? 1 : 65536);
    }
}

TEST(IndependentShift, MovesSingleLinesToTheLeft)
{
    const float in[] = {1, 2, 4, 8, 16, 32, 64, 128};
    float out[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
    I_ShiftSharpenArray(in, out, 8, 1, -2.25f, 0, 0, PIX_FLOAT);
    // n = -3: the first of in stands before out[3], where in begins anew at a shift of 0.75.
    EXPECT_THAT(out, testing::ElementsAre(-1, -1, 1, 1.75f, 3.5f, 7, 14, 16))
        << "the last of the five is repeated";
    const uint8_t bytes[] = {10, 20, 30, 40};
    uint8_t moved[] = {0, 0, 0, 0};
    I_ShiftSharpenArray(bytes, moved, 4, 1, -1, 0, 1, PIX_BYTE);
    EXPECT_THAT(moved, testing::ElementsAre(10, 10, 20, 30));
    Messages messages;
    EXPECT_EQ(I_ShiftSharpenArray(in, out, 4, 2, -0.5f, 0, 0, PIX_FLOAT), 0);
    EXPECT_EQ(I_ShiftSharpenArray(in, out, 8, 1, 0.25f, -1.26f, 0, PIX_FLOAT), 0);
    EXPECT_THAT(messages.all(),
                testing::ElementsAre("I_ShiftSharpenArray: Negative shift not supported. dx=-0.5 dy=0.0",
                                     "I_ShiftSharpenArray: Negative shift not supported. dx=0.2 dy=-1.3"));
    EXPECT_THAT(out, testing::ElementsAre(-1, -1, 1, 1.75f, 3.5f, 7, 14, 16));
}

TEST(IndependentShift, SubtractsShiftedImages)
{
    const int32_t a = noiseImage(30, 20, 1), b = noiseImage(30, 20, 2), out = byteImage(30, 20),
                  want = byteImage(30, 20);
    const int32_t clone = I_CloneImage(b, 0, 1);
    I_SetROIType(0);
    I_SetClipMode(1);
    I_ShiftSharpen(b, clone, 0.3f, -1.6f, 1.0f);
    I_SetClipMode(2);
    I_Subtract(a, clone, want, 0, 0);
    I_SetClipMode(1);
    EXPECT_EQ(I_Subtract1Ex(a, b, out, 0.3f, -1.6f, 2, 1.0f, nullptr), 1);
    EXPECT_EQ(bytesOf(out), bytesOf(want));
    EXPECT_EQ(I_GetClipMode(), 1);
    closeImages({a, b, out, want, clone});
}

} // namespace
