// Resampling of arrays and blending of rows against their description followed element by element.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

int32_t truncated(double value)
{
    return std::fabs(value) < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

int32_t advance(int32_t position, int32_t step)
{
    return static_cast<int32_t>(static_cast<uint32_t>(position) + static_cast<uint32_t>(step));
}

// Bytes and integers.
template <typename T>
void resampleWhole(const T* src, int32_t n, T* dst, int32_t m, double offset, double scale, bool interp)
{
    if (scale == 1.0 && offset == 0.0) {
        std::copy(src, src + std::min(n, m), dst);
        return;
    }
    int32_t pos = truncated(offset * 65536), k = 0;
    const int32_t step = truncated(65536 / scale);
    for (; (pos >> 16) < 0 && k < m; ++k)
        pos = advance(pos, step);
    if (!interp) {
        for (pos = advance(pos, 32768); k < m && (pos >> 16) < n; ++k, pos = advance(pos, step))
            dst[k] = src[pos >> 16];
        for (; k < m; ++k)
            dst[k] = src[n - 1];
        return;
    }
    if (scale < 1.0) {
        int32_t i = std::clamp(pos >> 16, 0, n - 1);
        int64_t tail = (int64_t{src[i]} * (pos & 0xffff)) >> 16;
        for (; k < m; ++k) {
            const int64_t head = src[i] - tail;
            const int32_t next = advance(pos, step), j = next >> 16;
            if (j >= n)
                break;
            int64_t sum = 0;
            for (int32_t whole = i + 1; whole < j; ++whole)
                sum += src[whole];
            tail = (int64_t{src[j]} * (next & 0xffff)) >> 16;
            dst[k] = static_cast<T>((head + sum + tail) * 65536 / step);
            i = j;
            pos = next;
        }
        for (; k < m; ++k)
            dst[k] = src[n - 1];
        return;
    }
    if (offset < 0 && k > 0 && pos >= 0) // or the whole array was passed over
        dst[k - 1] = src[std::clamp(pos >> 16, 0, n - 1)];
    for (; k < m; ++k, pos = advance(pos, step)) {
        const int32_t i = pos >> 16;
        if (i >= n - 1)
            break;
        dst[k] = static_cast<T>((((int64_t{src[i + 1]} - src[i]) * (pos & 0xffff) + 32768) >> 16) + src[i]);
    }
    for (; k < m; ++k)
        dst[k] = src[n - 1];
}

void resampleFloat(const float* src, int32_t n, float* dst, int32_t m, double offset, double scale,
                   bool interp)
{
    const double unit = 1.52587890625e-5;
    int32_t pos = truncated(offset * 65536), k = 0;
    const int32_t step = truncated(65536 / scale);
    for (; (pos >> 16) < 0 && k < m; ++k)
        pos = advance(pos, step);
    if (!interp) {
        for (pos = truncated(pos + scale * step * 0.5); k < m && (pos >> 16) < n;
             ++k, pos = advance(pos, step))
            dst[k] = src[pos >> 16];
        for (; k < m; ++k)
            dst[k] = src[n - 1];
        return;
    }
    if (scale < 1.0) {
        int32_t i = std::clamp(pos >> 16, 0, n - 1);
        float tail = src[i] * static_cast<float>((pos & 0xffff) * unit);
        for (; k < m; ++k) {
            float sum = src[i] - tail;
            const int32_t next = advance(pos, step), j = next >> 16;
            if (j >= n)
                break;
            for (int32_t whole = i + 1; whole < j; ++whole)
                sum += src[whole];
            tail = src[j] * static_cast<float>((next & 0xffff) * unit);
            dst[k] = static_cast<float>((sum + tail) * scale);
            i = j;
            pos = next;
        }
    } else {
        if (offset < 0 && k > 0 && pos >= 0) // or the whole array was passed over
            dst[k - 1] = src[std::clamp(pos >> 16, 0, n - 1)];
        for (; k < m && (pos >> 16) < n - 1; ++k, pos = advance(pos, step)) {
            const int32_t i = pos >> 16;
            dst[k] = (src[i + 1] - src[i]) * static_cast<float>((pos & 0xffff) * unit) + src[i];
        }
    }
    for (; k < m; ++k)
        dst[k] = src[n - 1];
}

void resampleType(const uint8_t* src, int32_t n, uint8_t* dst, int32_t m, double offset, double scale,
                  bool interp, int32_t type)
{
    if (n < 1 || m < 2 || !(scale > 0))
        return;
    const int32_t bytes = I_ImTypeBytes(type);
    if (scale == 1.0 && offset == 0.0) {
        std::copy(src, src + std::min(n, m) * bytes, dst);
        return;
    }
    if (type == PIX_BYTE || type == PIX_PALETTE || type == PIX_PLANAR)
        return resampleWhole(src, n * bytes, dst, m * bytes, offset, scale, interp);
    if (type == PIX_DWORD)
        return resampleWhole(reinterpret_cast<const int32_t*>(src), n, reinterpret_cast<int32_t*>(dst), m,
                             offset, scale, interp);
    if (type == PIX_FLOAT)
        return resampleFloat(reinterpret_cast<const float*>(src), n, reinterpret_cast<float*>(dst), m, offset,
                             scale, interp);
    if (interp && bytes % 2 == 0 && bytes <= 8) {
        std::vector<float> in(static_cast<std::size_t>(n)), out(static_cast<std::size_t>(m));
        I_ArrayConvert(src, type, in.data(), PIX_FLOAT, n);
        I_ArrayConvert(dst, type, out.data(), PIX_FLOAT, m);
        resampleFloat(in.data(), n, out.data(), m, offset, scale, interp);
        I_ArrayConvert(out.data(), PIX_FLOAT, dst, type, m);
        return;
    }
    int32_t pos = truncated(offset * 65536 + 0.5), k = 0;
    const int32_t step = truncated(65536 / scale), end = truncated(std::min((n - offset) * scale, 1.0 * m));
    for (; (pos >> 16) < 0 && k < m; ++k)
        pos = advance(pos, step);
    for (; k < end; ++k, pos = advance(pos, step))
        std::copy_n(src + std::min(pos >> 16, n - 1) * bytes, bytes, dst + k * bytes);
}

double randomScale(Random& random)
{
    static const double kScales[] = {1.0, 1.0, 0.5, 2.0, 0.25, 1.0 / 3, 3.0, 0.99, 1.01, 0.07, 11.0};
    return between(random, 0, 2) ? kScales[random() % std::size(kScales)] : between(random, 1, 3000) / 1000.0;
}

double randomOffset(Random& random)
{
    switch (between(random, 0, 3)) {
    case 0:
        return 0.0;
    case 1:
        return between(random, -8, 20) / 2.0;
    default:
        return between(random, -4000, 9000) / 1000.0;
    }
}

template <typename T>
std::vector<T> randomArray(Random& random, int32_t n)
{
    std::vector<T> array(static_cast<std::size_t>(n));
    for (T& v : array)
        v = std::is_same_v<T, uint8_t> ? static_cast<T>(random() % 256)
                                       : static_cast<T>(between(random, -70000, 70000));
    return array;
}

std::string tellCall(int32_t n, int32_t m, double offset, double scale, int32_t interp, int32_t type)
{
    char text[200];
    std::snprintf(text, sizeof text, "%d to %d, offset %.4f scale %.4f interp %d type %d", n, m, offset,
                  scale, interp, type);
    return text;
}

// By ways of its own for each type; floats may differ by the rounding of their sums.
void expectSame(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& actual, int32_t type)
{
    if (type != PIX_FLOAT && type != PIX_DFLOAT && type != PIX_COMPLEX) {
        EXPECT_EQ(expected, actual);
        return;
    }
    const int32_t each = type == PIX_DFLOAT ? 8 : 4;
    for (int32_t i = 0; i < static_cast<int32_t>(expected.size()) / each; ++i) {
        const double a = each == 8 ? at<double>(expected.data(), i) : at<float>(expected.data(), i);
        const double b = each == 8 ? at<double>(actual.data(), i) : at<float>(actual.data(), i);
        EXPECT_NEAR(a, b, 1e-5 * std::fabs(a) + 2e-2) << "element " << i;
    }
}

} // namespace

TEST(IndependentResample, BytesAndIntegers)
{
    Random random(51);
    for (int32_t round = 0; round < 3000; ++round) {
        const int32_t n = between(random, 1, 40), m = between(random, 1, 60), interp = round % 2;
        const double offset = randomOffset(random), scale = randomScale(random);
        SCOPED_TRACE(tellCall(n, m, offset, scale, interp, 1));
        const auto bytes = randomArray<uint8_t>(random, n);
        auto expected = randomArray<uint8_t>(random, m), actual = expected;
        resampleWhole(bytes.data(), n, expected.data(), m, offset, scale, interp);
        I_ResampleArrayByte(bytes.data(), n, actual.data(), m, offset, scale, interp);
        ASSERT_EQ(expected, actual);
        const auto longs = randomArray<int32_t>(random, n);
        auto expectedLongs = randomArray<int32_t>(random, m), actualLongs = expectedLongs;
        resampleWhole(longs.data(), n, expectedLongs.data(), m, offset, scale, interp);
        I_ResampleArrayLong(longs.data(), n, actualLongs.data(), m, offset, scale, interp);
        ASSERT_EQ(expectedLongs, actualLongs);
    }
}

TEST(IndependentResample, LargeCells)
{
    Random random(54);
    for (int32_t round = 0; round < 200; ++round) {
        const int32_t n = between(random, 500, 3000), m = between(random, 1, 12);
        const double offset = between(random, -400, 400) / 4.0, scale = between(random, 1, 20) / 2000.0;
        SCOPED_TRACE(tellCall(n, m, offset, scale, 1, 1));
        const std::vector<uint8_t> bytes(static_cast<std::size_t>(n), 255);
        std::vector<uint8_t> expected(static_cast<std::size_t>(m), 7), actual = expected;
        resampleWhole(bytes.data(), n, expected.data(), m, offset, scale, true);
        I_ResampleArrayByte(bytes.data(), n, actual.data(), m, offset, scale, 1);
        ASSERT_EQ(expected, actual);
        const auto longs = randomArray<int32_t>(random, n);
        std::vector<int32_t> expectedLongs(static_cast<std::size_t>(m), 7), actualLongs = expectedLongs;
        resampleWhole(longs.data(), n, expectedLongs.data(), m, offset, scale, true);
        I_ResampleArrayLong(longs.data(), n, actualLongs.data(), m, offset, scale, 1);
        ASSERT_EQ(expectedLongs, actualLongs);
    }
}

TEST(IndependentResample, EveryType)
{
    Random random(52);
    static const int32_t kTypes[] = {1, 2, 3, 4, 5, 6, 7, 12, 13, 15, 16, 17, 18, 19, 23};
    for (int32_t round = 0; round < 6000; ++round) {
        const int32_t type = kTypes[static_cast<std::size_t>(round) % std::size(kTypes)];
        const int32_t n = between(random, 1, 30), m = between(random, 1, 50);
        const int32_t interp = between(random, 0, 1), each = I_ImTypeBytes(type);
        const double offset = randomOffset(random), scale = randomScale(random);
        SCOPED_TRACE(tellCall(n, m, offset, scale, interp, type));
        std::vector<uint8_t> source, before;
        for (std::vector<uint8_t>* bytes : {&source, &before}) {
            const int32_t count = bytes == &source ? n : m;
            bytes->resize(static_cast<std::size_t>(count * each));
            const auto values = randomArray<int32_t>(random, count * 4);
            for (int32_t i = 0; i < count * each / 4 && (type >= 3 && type <= 7); ++i)
                put<float>(bytes->data(), i, static_cast<float>(values[static_cast<std::size_t>(i)]));
            for (int32_t i = 0; i < count && type == PIX_DFLOAT; ++i)
                put<double>(bytes->data(), i, values[static_cast<std::size_t>(i)] / 8.0);
            for (uint8_t& b : *bytes)
                b = (type >= 3 && type <= 7) ? b : static_cast<uint8_t>(random() % 256);
        }
        auto expected = before, actual = before;
        resampleType(source.data(), n, expected.data(), m, offset, scale, interp != 0, type);
        I_ResampleArrayType(source.data(), n, actual.data(), m, offset, scale, interp, type);
        expectSame(expected, actual, type);
        if (HasFailure())
            return;
    }
}

TEST(IndependentResample, LiteralNumbers)
{
    // one element of the destination: nothing at all
    uint8_t src[6] = {10, 20, 30, 40, 50, 61}, dst[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    I_ResampleArrayType(src, 6, dst, 1, 0.0, 2.0, 1, PIX_BYTE);
    I_ResampleArrayType(src, 0, dst, 8, 0.0, 2.0, 1, PIX_BYTE);
    I_ResampleArrayType(src, 6, dst, 8, 0.0, 0.0, 1, PIX_BYTE);
    I_ResampleArrayType(src, 6, dst, 8, 0.0, -1.0, 0, PIX_BYTE);
    EXPECT_EQ(dst[0], 9);
    // enlarged: the last elements repeat the last of the source
    I_ResampleArrayByte(src, 3, dst, 8, 0.0, 2.0, 1);
    EXPECT_EQ(std::vector<uint8_t>(dst, dst + 8), (std::vector<uint8_t>{10, 15, 20, 25, 30, 30, 30, 30}));
    // halved from 1 on: two elements with their whole weight; then the last
    I_ResampleArrayByte(src, 6, dst, 4, 1.0, 0.5, 1);
    EXPECT_EQ(std::vector<uint8_t>(dst, dst + 4), (std::vector<uint8_t>{25, 45, 61, 61}));
    // from -1.5 on at scale 1: passed over, but the last of them takes the first element
    std::fill(dst, dst + 8, uint8_t{9});
    I_ResampleArrayByte(src, 6, dst, 5, -1.5, 1.0, 1);
    EXPECT_EQ(std::vector<uint8_t>(dst, dst + 5), (std::vector<uint8_t>{9, 10, 15, 25, 35}));
    // the plain copy neither shifts nor fills
    std::fill(dst, dst + 8, uint8_t{9});
    I_ResampleArrayByte(src, 3, dst, 8, 0.0, 1.0, 0);
    EXPECT_EQ(std::vector<uint8_t>(dst, dst + 4), (std::vector<uint8_t>{10, 20, 30, 9}));
    float in[2] = {1, 2}, out[4] = {-1, -1, -1, -1};
    I_ResampleArrayFloat(in, 2, out, 4, 0.0, 1.0, 1); // no early copy: filled
    EXPECT_EQ(out[3], 2.0F);
    // three planes, one of them missing
    uint8_t a[2] = {0, 100}, b[2] = {200, 0}, outA[4] = {}, outB[4] = {7, 7, 7, 7};
    const void* planes[3] = {a, nullptr, b};
    void* outs[3] = {outA, outB, nullptr};
    I_ResampleArrayType(planes, 2, outs, 4, 0.0, 2.0, 1, 25);
    EXPECT_EQ(outA[1], 50);
    EXPECT_EQ(outB[1], 7);
}

TEST(IndependentResample, BadCounts)
{
    uint8_t bytes[4] = {1, 2, 3, 4}, out[4] = {};
    int32_t longs[4] = {1, 2, 3, 4}, longOut[4] = {};
    float floats[4] = {1, 2, 3, 4}, floatOut[4] = {};
    for (const auto& [n, m] : {std::pair{0, 4}, std::pair{4, 0}, std::pair{-1, 4}, std::pair{4, -3}}) {
        clearError();
        I_ResampleArrayByte(bytes, n, out, m, 0.0, 1.0, 0);
        EXPECT_EQ(I_GetError(nullptr, 0), 14);
        EXPECT_NE(errorText().find("I_ResampleArrayByte"), std::string::npos);
        clearError();
        I_ResampleArrayLong(longs, n, longOut, m, 0.0, 2.0, 1);
        EXPECT_EQ(I_GetError(nullptr, 0), 14);
        EXPECT_NE(errorText().find("I_ResampleArraylong"), std::string::npos);
        clearError();
        I_ResampleArrayFloat(floats, n, floatOut, m, 0.0, 2.0, 1);
        EXPECT_EQ(I_GetError(nullptr, 0), n < 0 || m < 0 ? 14 : 0);
    }
    clearError();
    EXPECT_EQ(out[0] + longOut[0], 0);
    EXPECT_EQ(floatOut[0], 0.0F);
}

TEST(IndependentResample, Blends)
{
    Random random(53);
    static const int32_t kTypes[] = {0, 1, 2, 3, 4, 5, 12, 13, 15, 16, 17, 18, 19, 25};
    for (int32_t round = 0; round < 1500; ++round) {
        const int32_t type = kTypes[static_cast<std::size_t>(round) % std::size(kTypes)];
        const int32_t n = between(random, 1, 40);
        const double t = round % 7 == 0 ? 1.0 : round % 7 == 1 ? 0.0 : between(random, 0, 1000) / 1000.0;
        SCOPED_TRACE(tellCall(n, n, t, 0, 0, type));
        const int32_t each = type == 25 || type == 0 ? 1 : I_ImTypeBytes(type);
        std::vector<uint8_t> a(static_cast<std::size_t>(n * each)), b = a, out(a.size(), 7), expected = out;
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = static_cast<uint8_t>(random());
            b[i] = static_cast<uint8_t>(random());
        }
        for (int32_t i = 0; i < n; ++i) { // small numbers in the wide types
            const int32_t va = between(random, -9000, 9000), vb = between(random, -9000, 9000);
            if (type == PIX_DWORD) {
                put<int32_t>(a.data(), i, va);
                put<int32_t>(b.data(), i, vb);
            } else if (type == PIX_FLOAT) {
                put<float>(a.data(), i, static_cast<float>(va) / 7);
                put<float>(b.data(), i, static_cast<float>(vb) / 7);
            } else if (type == PIX_DFLOAT) {
                put<double>(a.data(), i, va / 8.0);
                put<double>(b.data(), i, vb / 8.0);
            }
        }
        const int32_t w = truncated(t * 256);
        const auto mix = [w](int32_t p, int32_t q) { return (((p - q) * w + 128) >> 8) + q; };
        if (t == 1.0 || t == 0.0) {
            expected = t == 1.0 ? a : b;
        } else if (type == PIX_WORD) {
            for (int32_t i = 0; i < n; ++i)
                put<int16_t>(expected.data(), i,
                             static_cast<int16_t>(mix(at<int16_t>(a.data(), i), at<int16_t>(b.data(), i))));
        } else if (type == PIX_DWORD) {
            for (int32_t i = 0; i < n; ++i)
                put<int32_t>(expected.data(), i, mix(at<int32_t>(a.data(), i), at<int32_t>(b.data(), i)));
        } else if (type == PIX_FLOAT) {
            for (int32_t i = 0; i < n; ++i) {
                const double p = at<float>(a.data(), i), q = at<float>(b.data(), i);
                put<float>(expected.data(), i, static_cast<float>((p - q) * static_cast<float>(t) + q));
            }
        } else if (type == PIX_DFLOAT || type == 13 || type == 15) {
            std::vector<float> fa(static_cast<std::size_t>(n)), fb = fa, fo = fa;
            I_ArrayConvert(a.data(), type, fa.data(), PIX_FLOAT, n);
            I_ArrayConvert(b.data(), type, fb.data(), PIX_FLOAT, n);
            for (std::size_t i = 0; i < fa.size(); ++i)
                fo[i] = static_cast<float>((double{fa[i]} - fb[i]) * static_cast<float>(t) + fb[i]);
            I_ArrayConvert(fo.data(), PIX_FLOAT, expected.data(), type, n);
        } else {
            for (std::size_t i = 0; i < a.size(); ++i)
                expected[i] = static_cast<uint8_t>(mix(a[i], b[i]));
        }
        const void *tableA[3] = {a.data(), a.data(), a.data()}, *tableB[3] = {b.data(), nullptr, b.data()};
        void* tableOut[3] = {nullptr, out.data(), out.data()};
        if (type == 25)
            I_BlendRowsType(tableA, tableB, tableOut, n, t, 25);
        else
            I_BlendRowsType(a.data(), b.data(), out.data(), n, t, type);
        ASSERT_EQ(expected, out);
    }
}

TEST(IndependentResample, NoMemory)
{
    std::vector<double> a(20, 5.0), b(20, 7.0), out(40, 1.0);
    forEachFailingAllocation(
        [&] {
            clearError();
            I_BlendRowsType(a.data(), b.data(), out.data(), 20, 0.5, PIX_DFLOAT);
            return 0;
        },
        [](int64_t) {
            EXPECT_EQ(I_GetError(nullptr, 0), 2);
            EXPECT_NE(errorText().find("I_BlendRowsType"), std::string::npos);
        });
    forEachFailingAllocation(
        [&] {
            clearError();
            I_ResampleArrayType(a.data(), 20, out.data(), 40, 0.0, 2.0, 1, PIX_DFLOAT);
            return 0;
        },
        [](int64_t) {
            EXPECT_EQ(I_GetError(nullptr, 0), 2);
            EXPECT_NE(errorText().find("I_ResampleArrayType"), std::string::npos);
        });
    clearError();
}
