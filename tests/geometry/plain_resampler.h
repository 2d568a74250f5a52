// A resampler in wide arithmetic.
#ifndef VEXA_TESTS_GEOMETRY_PLAIN_RESAMPLER_H
#define VEXA_TESTS_GEOMETRY_PLAIN_RESAMPLER_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace vexa::test
{

inline int64_t truncated(double x)
{
    return x > -2147483649.0 && x < 2147483648.0 ? static_cast<int64_t>(x)
                                                 : std::numeric_limits<int32_t>::min();
}

// What dst becomes.
template <typename T>
std::vector<T> resampled(const std::vector<T>& src, std::vector<T> dst, double offset, double scale,
                         bool interp)
{
    constexpr bool kReal = std::is_floating_point_v<T>;
    const auto n = static_cast<int64_t>(src.size());
    const auto count = static_cast<int64_t>(dst.size());
    const auto at = [&](int64_t i) { return src[static_cast<std::size_t>(i)]; };
    const auto put = [&](int64_t k, T value) { dst[static_cast<std::size_t>(k)] = value; };
    if (!kReal && scale == 1.0 && offset == 0.0) {
        std::copy_n(src.begin(), std::min(n, count), dst.begin());
        return dst;
    }
    int64_t pos = truncated(offset * 65536);
    const int64_t step = truncated(65536 / scale);
    int64_t k = 0;
    for (; pos < 0 && k < count; ++k)
        pos += step;
    const auto fill = [&] {
        for (; k < count; ++k)
            put(k, at(n - 1));
    };
    if (!interp) {
        pos = kReal ? truncated(static_cast<double>(pos) + scale * static_cast<double>(step) * 0.5)
                    : pos + 32768;
        for (; k < count && pos / 65536 < n; ++k, pos += step)
            put(k, at(pos / 65536));
        fill();
        return dst;
    }
    if (scale < 1.0) {
        for (; k < count && (pos + step) / 65536 < n; ++k, pos += step) {
            const int64_t i = pos / 65536;
            const int64_t j = (pos + step) / 65536;
            const int64_t f = pos % 65536;
            const int64_t g = (pos + step) % 65536;
            if constexpr (kReal) {
                double sum = at(i) - at(i) * (static_cast<double>(f) / 65536.0);
                for (int64_t m = i + 1; m < j; ++m)
                    sum += at(m);
                put(k, static_cast<T>((sum + at(j) * (static_cast<double>(g) / 65536.0)) * scale));
            } else {
                int64_t sum = at(i) - ((at(i) * f) >> 16) + ((at(j) * g) >> 16);
                for (int64_t m = i + 1; m < j; ++m)
                    sum += at(m);
                put(k, static_cast<T>(sum * 65536 / step));
            }
        }
        fill();
        return dst;
    }
    if (offset < 0 && k > 0 && pos >= 0)
        put(k - 1, at(std::min(pos / 65536, n - 1)));
    for (; k < count && pos / 65536 < n - 1; ++k, pos += step) {
        const int64_t i = pos / 65536;
        if constexpr (kReal)
            put(k, (at(i + 1) - at(i)) * static_cast<T>(static_cast<double>(pos % 65536) / 65536.0) + at(i));
        else
            put(k, static_cast<T>((((int64_t{at(i + 1)} - at(i)) * (pos % 65536) + 32768) >> 16) + at(i)));
    }
    fill();
    return dst;
}

} // namespace vexa::test

#endif
