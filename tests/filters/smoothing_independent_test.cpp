// Smoothing and sharpening against their descriptions followed step by step.
#include "tests/filters/plain_neighbourhood.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

float meanOfNine(const Call& c, int32_t i)
{
    double sum = 0;
    for (const float v : nine<float>(c, i))
        sum += static_cast<double>(v);
    return static_cast<float>(sum / 9.0);
}

int32_t smooth(int32_t src, int32_t dst)
{
    if (narrowest(src, dst) < 2)
        return frame(src, dst, 3, 3, PIX_BYTE, each<uint8_t>([](const Call& c, int32_t i) {
                         int32_t sum = 4;
                         for (const uint8_t v : nine<uint8_t>(c, i))
                             sum += v;
                         return sum / 9;
                     }));
    return frame(src, dst, 3, 3, PIX_FLOAT, each<float>(meanOfNine));
}

int32_t sharpen(int32_t src, int32_t dst, int32_t strength, int32_t width, int32_t noCentre)
{
    const int32_t size = 2 * width + 1;
    if (widest(src, dst) == 1)
        return frame(src, dst, size, size, PIX_BYTE, each<uint8_t>([=](const Call& c, int32_t i) {
                         int32_t t = 0;
                         for (const uint8_t v : nine<uint8_t>(c, i))
                             t -= v;
                         const int32_t centre = nine<uint8_t>(c, i)[CTR];
                         t = (t + 9 * centre) * strength / 128;
                         return byteBoth(noCentre ? t : t + centre);
                     }));
    return frame(src, dst, size, size, PIX_FLOAT, each<float>([=](const Call& c, int32_t i) {
                     float t = 0;
                     for (const float v : nine<float>(c, i))
                         t -= v;
                     const float centre = nine<float>(c, i)[CTR];
                     t = (t + 9 * centre) * static_cast<float>(strength) * 0.0078125f;
                     return floatBoth(noCentre ? t : t + centre, dst);
                 }));
}

int32_t smoothPass(int32_t src, int32_t dst, float fw, float fh)
{
    const int32_t M = static_cast<int32_t>(std::ceil(fw)) | 1, N = static_cast<int32_t>(std::ceil(fh)) | 1;
    const bool across = M > 1;
    const int32_t size = across ? M : N;
    const float window = across ? fw : fh, area = fw * fh;
    const float edge =
        static_cast<float>(size) == window ? 0.0f : (window - static_cast<float>(size - 2)) * 0.5f;
    const auto sample = [across](const Call& c, int32_t i, int32_t k, auto zero) {
        return across ? c.pixel<decltype(zero)>(0, i + k) : c.pixel<decltype(zero)>(k, i);
    };
    if (narrowest(src, dst) == 1) {
        const int32_t scale = Rnd(static_cast<float>(1024.0 / static_cast<double>(area)));
        const auto e = static_cast<int32_t>(edge * 1024);
        return frame(src, dst, M, N, PIX_BYTE, each<uint8_t>([=](const Call& c, int32_t i) {
                         int32_t sum = 0;
                         for (int32_t k = 1; k < size - 1; ++k)
                             sum += sample(c, i, k, uint8_t{});
                         const int32_t ends = sample(c, i, 0, uint8_t{}) + sample(c, i, size - 1, uint8_t{});
                         return static_cast<uint8_t>(
                             ((e == 0 ? sum + ends : ((ends * e) >> 10) + sum) * scale + 512) >> 10);
                     }));
    }
    return frame(src, dst, M, N, PIX_FLOAT, each<float>([=](const Call& c, int32_t i) {
                     double sum = 0;
                     for (int32_t k = 1; k < size - 1; ++k)
                         sum += static_cast<double>(sample(c, i, k, float{}));
                     const double ends = static_cast<double>(sample(c, i, 0, float{})) +
                                         static_cast<double>(sample(c, i, size - 1, float{}));
                     return (sum + ends * (edge == 0 ? 1.0 : static_cast<double>(edge))) /
                            static_cast<double>(area);
                 }));
}

int32_t mxnSmooth(int32_t src, int32_t dst, float width, float height)
{
    struct Strip {
        int32_t x, width;
        void* pixels;
    };
    std::vector<Strip> strips;
    int32_t left = 0, top = 0, right = 0, bottom = 0, W = 0, H = 0;
    const int32_t type = I_ImGetType(dst);
    if (height > 1.0f) {
        I_ImGetSize(&W, &H, nullptr, dst);
        I_ROIBoundingBox(&left, &top, &right, &bottom, dst);
        const float half = width * 0.5f;
        const auto newLeft = static_cast<int32_t>(std::max(0.0f, static_cast<float>(left) - half));
        const auto newRight =
            static_cast<int32_t>(std::min(static_cast<float>(W - 1), static_cast<float>(right) + half));
        const int32_t onLeft = left - newLeft, onRight = newRight - right;
        const bool pushed = onLeft > 0 || onRight >= 1;
        if (pushed)
            I_PushWindowROI(newLeft, top, newRight, bottom);
        if (onLeft > 0)
            strips.push_back(
                {newLeft, onLeft, I_DupBlockType(newLeft, top, onLeft, bottom - top + 1, dst, type)});
        if (onRight > 0)
            strips.push_back(
                {right + 1, onRight, I_DupBlockType(right + 1, top, onRight, bottom - top + 1, dst, type)});
        smoothPass(src, dst, 1.0f, height);
        if (pushed)
            I_PopROI();
    } else {
        I_ROICopy(src, dst, 0, 0);
    }
    if (width > 1.0f)
        smoothPass(dst, dst, width, 1.0f);
    for (const Strip& s : strips) {
        I_PutBlockType(s.x, top, s.width, bottom - top + 1, s.pixels, dst, type);
        free(s.pixels);
    }
    return 1;
}

int32_t unsharpMask(int32_t src, int32_t dst, float width, float height, float gain)
{
    const int32_t low = I_CloneImageEx(src, PIX_FLOAT, 0, "ImLow");
    const Border kept = border;
    const int32_t mode = setBorder(-2);
    mxnSmooth(src, low, width, height);
    border = kept;
    I_SetBorderMode(mode, nullptr, PIX_FLOAT);
    float mean = 0;
    I_PixelStats(low, nullptr, nullptr, &mean, nullptr);
    I_Subtract(src, low, low, 0, 0);
    gain = gain <= 0.1f ? 1.0f : gain;
    I_ScaleIntensityROI(low, dst, static_cast<double>(mean / gain), static_cast<double>(gain));
    I_ImClose(low);
    return 1;
}

float drawnSize(Random& random)
{
    static const float kSizes[] = {0.0f, 1.0f, 1.2f, 1.5f, 2.0f, 2.5f,  3.0f,
                                   3.5f, 4.2f, 5.0f, 6.9f, 7.0f, 11.0f, 1.0005f};
    return kSizes[random() % std::size(kSizes)];
}

TEST(IndependentSmoothing, Smooths)
{
    compare({}, [](Random&, std::string&) { return std::pair<Operation, Operation>(I_Smooth, smooth); });
}

TEST(IndependentSmoothing, Sharpens)
{
    const auto draw = [](Random& random, std::string& told, bool strong) {
        if (!strong && I_GetClipMode() == 7)
            I_SetClipMode(1);
        const int32_t strength = between(random, -40, 90) *
                                 (strong ? std::vector<int32_t>{1, 1, 10, 364, 365, 2000}[random() % 6] : 1),
                      width = between(random, 1, 4), only = between(random, 0, 1);
        told = "strength " + std::to_string(strength) + " width " + std::to_string(width) +
               (only ? " alone" : "");
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_Sharpen(src, dst, strength, width, only); },
            [=](int32_t src, int32_t dst) { return sharpen(src, dst, strength, width, only); });
    };
    Options options;
    options.clips = true;
    options.types = {PIX_BYTE, PIX_BGR24, PIX_PALETTE};
    options.tries = 500;
    compare(options, [=](Random& random, std::string& told) { return draw(random, told, true); });
    options.types = {PIX_BYTE, PIX_FLOAT, PIX_FLOAT, PIX_DFLOAT, PIX_BGR24};
    options.tolerance = 1e-4; // sums of large numbers that were written in place
    compare(options, [=](Random& random, std::string& told) { return draw(random, told, false); });
    clearError();
    EXPECT_EQ(I_Sharpen(0, 0, 16, 0, 0), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 1);
    EXPECT_EQ(errorText(), "I_Sharpen: width=0");
}

TEST(IndependentSmoothing, SmoothsByFractionalWindows)
{
    Options options;
    options.tolerance = 1e-6;
    options.tries = 700;
    compare(options, [](Random& random, std::string& told) {
        const float width = drawnSize(random), height = drawnSize(random);
        told = std::to_string(width) + " by " + std::to_string(height);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_MxNSmooth(src, dst, width, height); },
            [=](int32_t src, int32_t dst) { return mxnSmooth(src, dst, width, height); });
    });
    options = {};
    options.types = {PIX_BYTE, PIX_BGR24, PIX_PALETTE}; // whole numbers exactly, wide windows too
    compare(options, [](Random& random, std::string& told) {
        const float width = static_cast<float>(between(random, 0, 300)) /
                            static_cast<float>(between(random, 0, 9) ? 10 : 0.2);
        const float height =
            between(random, 0, 3) ? drawnSize(random) : static_cast<float>(between(random, 10, 1500)) / 10;
        told = std::to_string(width) + " by " + std::to_string(height);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_MxNSmooth(src, dst, width, height); },
            [=](int32_t src, int32_t dst) { return mxnSmooth(src, dst, width, height); });
    });
}

TEST(IndependentSmoothing, LooksAtItsWindowOnly)
{
    // What lies outside a window has no part in its mean, be it infinite, huge or no number.
    for (const float odd : {std::numeric_limits<float>::infinity(), std::nanf(""), 3e38f}) {
        const int32_t im = floatImage(40, 30, [](int32_t x, int32_t y) { return x + 2 * y; }),
                      out = floatImage(40, 30);
        I_PutPix(20, 15, odd, im);
        I_SetROIType(0);
        for (const float size : {3.0f, 5.0f, 6.5f, 9.0f}) {
            ASSERT_EQ(I_MxNSmooth(im, out, size, size), 1);
            const int32_t reach = static_cast<int32_t>(std::ceil(size)) / 2;
            for (int32_t y = 5; y < 25; ++y)
                for (int32_t x = 5; x < 35; ++x) {
                    if (std::abs(x - 20) > reach || std::abs(y - 15) > reach) {
                        ASSERT_NEAR(I_GetPix(x, y, out), x + 2 * y, 1e-3) << x << " " << y << " by " << size;
                    }
                }
        }
        I_Smooth(im, out);
        EXPECT_EQ(I_GetPix(22, 15, out), 52.0f);
        EXPECT_EQ(I_GetPix(20, 13, out), 46.0f);
        closeImages({im, out});
    }
}

TEST(IndependentSmoothing, TakesTheMeanOfTheSmoothedAsZero)
{
    Options options;
    options.types = {PIX_BYTE, PIX_FLOAT, PIX_WORD, PIX_DWORD, PIX_BGR24, PIX_PALETTE};
    options.tolerance = 1e-4;
    compare(options, [](Random& random, std::string& told) {
        const float width = drawnSize(random), height = drawnSize(random);
        const float gain = std::vector<float>{0.0f, 0.1f, 0.5f, 1.0f, 2.3f, -3.0f}[random() % 6];
        told = std::to_string(width) + " by " + std::to_string(height) + " gain " + std::to_string(gain);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) { return I_UnsharpMask(src, dst, width, height, gain); },
            [=](int32_t src, int32_t dst) { return unsharpMask(src, dst, width, height, gain); });
    });
    EXPECT_EQ(I_UnsharpMask(0, 0, 3, 3, 1), 0);
    // The border mode comes back, a constant as 0.
    const int32_t im = noiseImage(5, 5, 1), out = byteImage(5, 5);
    I_SetBorderMode(77, nullptr, 0);
    I_UnsharpMask(im, out, 3, 3, 1);
    I_Erode(im, out, 1);
    EXPECT_EQ(rowOf(out, 0), std::vector<double>(5, 0.0));
    EXPECT_EQ(I_SetBorderMode(-1, nullptr, 0), 77);
    closeImages({im, out});
}

std::vector<std::string> texts;
TEST(IndependentSmoothing, TellsWhatItDoes)
{
    const int32_t im = noiseImage(5, 5, 1), out = byteImage(5, 5);
    I_SetProgressCallback([](float, const char* text) { texts.push_back(text ? text : ""); }, 0);
    I_Smooth(im, out);
    EXPECT_EQ(texts.back(), "Smooth");
    I_MxNSmooth(im, out, 3, 3);
    EXPECT_EQ(texts.back(), "MxNSmooth");
    int32_t one[1] = {1};
    I_MxNConvolve(1, 1, one, 0, im, out);
    EXPECT_EQ(texts.back(), "Convolve");
    I_SetProgressCallback(nullptr, 0);
    closeImages({im, out});
}

std::vector<float> smoothed(std::vector<float> a, int32_t width)
{
    const auto count = static_cast<int32_t>(a.size());
    width = width >= count / 2 - 1 ? count / 2 - 1 : width;
    if (width < 1)
        return a;
    std::vector<float> out = a;
    const auto get = [&](int32_t i) { return a[static_cast<std::size_t>(std::clamp(i, 0, count - 1))]; };
    const int32_t h = width / 2, r = width - h - 1;
    float sum = static_cast<float>(h) * a[0];
    for (int32_t i = 0; i < r; ++i)
        sum += get(i);
    for (int32_t i = 0; i < count; ++i) {
        float& o = out[static_cast<std::size_t>(i)];
        sum += get(i + r);
        o = sum / static_cast<float>(width);
        sum -= get(i - h);
        if (width == 2)
            o = i == 0 || i == count - 1 ? (get(i == 0 ? 0 : i - 1) + get(i == 0 ? 1 : i)) * 0.5f
                                         : ((get(i - 1) + get(i + 1)) * 0.5f + get(i)) * 0.5f;
    }
    return out;
}

template <typename T>
std::vector<T> smoothedWhole(const std::vector<T>& a, int32_t width)
{
    const auto count = static_cast<int32_t>(a.size());
    const int32_t h = width / 2, r = width - h - 1;
    width = width >= count / 2 - 1 ? count / 2 - 1 : width;
    if (width < 1)
        return a;
    std::vector<T> out = a;
    const auto get = [&](int32_t i) {
        return int32_t{a[static_cast<std::size_t>(std::clamp(i, 0, count - 1))]};
    };
    int32_t carry = 0;
    for (int32_t i = 0; i < count; ++i) {
        int32_t sum = 0, o = 0;
        for (int32_t k = i - h; k <= i + r; ++k)
            sum += get(k);
        if (width == 2 && (i == 0 || i == count - 1)) {
            o = (3 * get(i) + get(i == 0 ? 1 : i - 1)) / 4;
        } else if (width == 2) {
            o = ((get(i - 1) + get(i + 1) + 1) / 2 + get(i) + 1) / 2;
        } else {
            o = (carry + sum + h) / width;
            carry += sum - o * width;
        }
        out[static_cast<std::size_t>(i)] = static_cast<T>(o);
    }
    return out;
}

TEST(IndependentSmoothing, SmoothsArrays)
{
    Random random(5);
    for (int32_t count = 1; count < 40; ++count) {
        for (int32_t width = 1; width < 30; ++width) {
            std::vector<float> floats(static_cast<std::size_t>(count));
            std::vector<int32_t> longs(floats.size());
            std::vector<int16_t> shorts(floats.size());
            std::vector<uint8_t> bytes(floats.size());
            for (std::size_t i = 0; i < floats.size(); ++i) {
                floats[i] = static_cast<float>(between(random, -4000, 4000)) / 16.0f;
                longs[i] = between(random, -100000, 100000);
                shorts[i] = static_cast<int16_t>(between(random, -32768, 32767));
                bytes[i] = static_cast<uint8_t>(between(random, 0, 255));
            }
            const auto f = smoothed(floats, width);
            const auto l = smoothedWhole(longs, width);
            const auto s = smoothedWhole(shorts, std::min(width, count / 2 - 1));
            const auto b = smoothedWhole(bytes, width);
            ASSERT_EQ(I_SmoothArrayFloat(floats.data(), count, width), 1);
            ASSERT_EQ(I_SmoothArrayLong(longs.data(), count, width), 1);
            ASSERT_EQ(I_SmoothArrayShort(shorts.data(), count, width), 1);
            ASSERT_EQ(I_SmoothArrayByte(bytes.data(), count, width), 1);
            ASSERT_EQ(floats, f) << count << " " << width;
            ASSERT_EQ(longs, l) << count << " " << width;
            ASSERT_EQ(shorts, s) << count << " " << width;
            ASSERT_EQ(bytes, b) << count << " " << width;
        }
    }
    float six[] = {0, 4, 0, 8, 0, 0}; // a width of 5 becomes 2
    I_SmoothArrayFloat(six, 6, 5);
    EXPECT_THAT(six, testing::ElementsAre(2, 2, 3, 4, 2, 0));
}

} // namespace
