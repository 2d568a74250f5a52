// Arithmetic against loops written from its description alone: every member over random types, regions, windows,
// colour settings, clip modes and offsets.
#include "support/instruction_set.h"
#include "tests/support/plain_frames.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

// --- the clip table

struct Clip {
    int32_t mode, top;
    float low, high; // of floats; a high of 0 is no limit

    int32_t range(int32_t x) const { return x < 0 ? x & ~0xFF : std::min(x, top); }
    int32_t upper(int32_t x) const { return x < top ? x : top; }
    static int32_t asSigned(int32_t x) { return x < -128 ? -128 : x >= 128 ? 127 : x; }
    float floatRange(float x) const { return x < low ? low : high != 0 && x >= high ? high : x; }

    int32_t common(int32_t x) const // modes 3 to 7
    {
        switch (mode) {
        case 3:
            return range(x + 128);
        case 4:
            return x / 2 + 128;
        case 5:
            return asSigned(x);
        case 6:
            return asSigned(x / 2);
        default:
            return upper(static_cast<int32_t>(static_cast<uint32_t>(x) * static_cast<uint32_t>(x)));
        }
    }
    int32_t byteHigh(int32_t x) const { return mode == 0 ? x : mode <= 2 ? upper(x) : common(x); }
    int32_t byteLow(int32_t x) const
    {
        return mode == 0 ? x : mode == 1 ? (x < 1 ? 0 : x) : mode == 2 ? std::abs(x) : common(x);
    }
    int32_t byteBoth(int32_t x) const
    {
        return mode == 0 ? x : mode == 1 ? range(x) : mode == 2 ? upper(std::abs(x)) : common(x);
    }
    int32_t wordLow(int32_t x) const
    {
        switch (mode) {
        case 1:
            return x < 1 ? 0 : x;
        case 2:
            return std::abs(x);
        case 3:
            return range(x + 128);
        case 4:
            return x / 2 + 128;
        case 7:
            return static_cast<int32_t>(static_cast<uint32_t>(x) * static_cast<uint32_t>(x));
        default:
            return x;
        }
    }
    float floatLow(float x) const
    {
        switch (mode) {
        case 1:
            return floatRange(x);
        case 2:
            return std::fabs(x);
        case 3:
            return floatRange(x + 128.0F);
        case 4:
            return floatRange(x * 0.5F + 128.0F);
        case 7:
            return x * x;
        default:
            return x;
        }
    }
};

Clip clipFor(int32_t mode, int32_t top, int32_t dest)
{
    const int32_t type = I_ImGetType(dest);
    if (type == PIX_BYTE || type >= 12)
        return {mode, top, 0.0F, 255.0F};
    if (type == PIX_WORD)
        return {mode, top, 0.0F, 65535.0F};
    if (type == PIX_DWORD)
        return {mode, top, 1.0F, 4294967296.0F};
    return {mode, top, -3e38F, 0.0F};
}

// --- the members

struct Case {
    std::string name;
    std::function<double(int32_t a, int32_t b, int32_t dest)> library, reference;
};

Case both(std::string name, std::function<double(int32_t, int32_t, int32_t)> library,
          std::function<double(int32_t, int32_t, int32_t)> reference)
{
    return {std::move(name), std::move(library), std::move(reference)};
}

double mapThrough(int32_t src, int32_t dest, const std::function<double(int32_t)>& entry)
{
    uint8_t table[256];
    for (int32_t i = 0; i < 256; ++i)
        table[i] = static_cast<uint8_t>(static_cast<int32_t>(std::clamp(entry(i), 0.0, 255.0)));
    return unary(src, dest, PIX_BYTE,
                 elements<uint8_t>([&](uint8_t a, uint8_t) -> uint8_t { return table[a]; }));
}

Row complexes(const std::function<void(const float* a, const float* b, float* out)>& f)
{
    return [f](const uint8_t* a, const uint8_t* b, uint8_t* dest, int32_t n) {
        for (int32_t i = 0; i < n; ++i) {
            const float x[2] = {at<float>(a, 2 * i), at<float>(a, 2 * i + 1)};
            const float y[2] = {at<float>(b, 2 * i), at<float>(b, 2 * i + 1)};
            float out[2];
            f(x, y, out);
            put<float>(dest, 2 * i, out[0]);
            put<float>(dest, 2 * i + 1, out[1]);
        }
    };
}

Row floats(const std::function<float(float, float)>& f)
{
    return elements<float>(f);
}

Row bytes(const std::function<int32_t(int32_t, int32_t)>& f)
{
    return elements<uint8_t>([f](uint8_t a, uint8_t b) { return f(a, b); });
}

double scaled(int32_t src, int32_t dest, double offset, double scale)
{
    const int32_t type = highestType({src, dest});
    if (scale == 1.0) {
        if (type == PIX_BYTE)
            return mapThrough(src, dest, [&](int32_t i) { return i + std::trunc(offset); });
        return unary(src, dest, PIX_FLOAT,
                     floats([&](float a, float) { return a + static_cast<float>(offset); }));
    }
    const auto o = static_cast<float>(offset), s = static_cast<float>(scale);
    if (offset == 0.0) {
        if (type == PIX_BYTE)
            return mapThrough(src, dest, [&](int32_t i) { return i * scale + 0.5; });
        if (type == PIX_COMPLEX)
            return unary(src, dest, type, complexes([&](const float* a, const float*, float* out) {
                             out[0] = a[0] * s;
                             out[1] = a[1] * s;
                         }));
        return unary(src, dest, PIX_FLOAT, floats([&](float a, float) { return a * s; }));
    }
    if (type == PIX_BYTE)
        return mapThrough(src, dest, [&](int32_t i) { return (i + offset) * scale + 0.5; });
    if (type == PIX_COMPLEX)
        return unary(src, dest, type, complexes([&](const float* a, const float*, float* out) {
                         out[0] = (a[0] + o) * s;
                         out[1] = (a[1] + o) * s;
                     }));
    return unary(src, dest, PIX_FLOAT, floats([&](float a, float) { return (a + o) * s; }));
}

double scaledAbs(int32_t src, int32_t dest, double offset, double scale)
{
    const int32_t type = highestType({src, dest});
    const auto o = static_cast<float>(offset), s = static_cast<float>(scale);
    if (type == PIX_BYTE)
        return mapThrough(src, dest, [&](int32_t i) { return std::fabs((i + offset) * scale + 0.5); });
    if (type == PIX_COMPLEX)
        return unary(src, dest, type, complexes([&](const float* a, const float*, float* out) {
                         out[0] = (a[0] + o) * s;
                         out[1] = (a[1] + o) * s;
                     }));
    return unary(src, dest, PIX_FLOAT, floats([&](float a, float) { return std::fabs((a + o) * s); }));
}

double divided(int32_t a, int32_t b, int32_t dest, double gain, const Clip& clip)
{
    const double used = gain == 0.0 ? 1.0 : gain;
    const auto g = static_cast<int32_t>(used);
    const int32_t type = highestType({a, b, dest});
    if (type == PIX_BYTE)
        return binary(a, b, dest, 0, 0, type, bytes([&](int32_t x, int32_t y) {
                          return y == 0 ? clip.top : clip.byteHigh((x * g + y / 2) / y);
                      }));
    if (type == PIX_WORD)
        return binary(a, b, dest, 0, 0, type, elements<uint16_t>([&](int32_t x, int32_t y) {
                          return static_cast<uint16_t>(y == 0 ? g : x * g / y);
                      }));
    if (type == PIX_COMPLEX)
        return binary(a, b, dest, 0, 0, type, complexes([&](const float* x, const float* y, float* out) {
                          float d = y[0] * y[0] + y[1] * y[1];
                          d = d < 1e-38F ? 1e-38F : d;
                          out[0] = (x[0] * y[0] + x[1] * y[1]) / d;
                          out[1] = (x[1] * y[0] - x[0] * y[1]) / d;
                          if (used != 1.0) {
                              out[0] *= static_cast<float>(used);
                              out[1] *= static_cast<float>(used);
                          }
                      }));
    return binary(a, b, dest, 0, 0, PIX_FLOAT, floats([&](float x, float y) {
                      return y == 0.0F ? 0.0F : x * static_cast<float>(used) / y;
                  }));
}

double multiplied(int32_t a, int32_t b, int32_t dest, double divisor, const Clip& clip)
{
    const double used = divisor == 0.0 ? 1.0 : divisor;
    const auto k = static_cast<int32_t>(used + 0.5);
    const auto d = static_cast<float>(used);
    const int32_t type = highestType({a, b, dest});
    if (type == PIX_BYTE)
        return binary(a, b, dest, 0, 0, type,
                      bytes([&](int32_t x, int32_t y) { return clip.byteHigh(x * y / k); }));
    if (type == PIX_COMPLEX)
        return binary(a, b, dest, 0, 0, type, complexes([&](const float* x, const float* y, float* out) {
                          out[0] = x[0] * y[0] - x[1] * y[1];
                          out[1] = x[0] * y[1] + x[1] * y[0];
                          if (d != 1.0F) {
                              out[0] *= d;
                              out[1] *= d;
                          }
                      }));
    return binary(a, b, dest, 0, 0, PIX_FLOAT,
                  floats([&](float x, float y) { return d != 1.0F ? x * y / d : x * y; }));
}

double subtracted(int32_t a, int32_t b, int32_t dest, int32_t dx, int32_t dy, const Clip& clip)
{
    const int32_t type = highestType({a, b, dest});
    if (type == PIX_BYTE)
        return binary(a, b, dest, dx, dy, type,
                      bytes([&](int32_t x, int32_t y) { return clip.byteLow(x - y); }));
    if (type == PIX_WORD)
        return binary(a, b, dest, dx, dy, type, elements<uint16_t>([&](int32_t x, int32_t y) {
                          return static_cast<uint16_t>(clip.wordLow(x - y));
                      }));
    return binary(a, b, dest, dx, dy, PIX_FLOAT,
                  floats([&](float x, float y) { return clip.floatLow(x - y); }));
}

double blended(int32_t a, int32_t b, int32_t dest, float factor)
{
    const float f = factor > 15.0F ? factor / 100.0F : factor;
    const auto k = static_cast<int32_t>(f * 128.0F);
    const int32_t type = highestType({a, b, dest});
    if (type == PIX_BYTE)
        return binary(a, b, dest, 0, 0, type,
                      bytes([&](int32_t x, int32_t y) { return y + (((x - y) * k + 64) >> 7); }));
    return binary(a, b, dest, 0, 0, PIX_FLOAT, floats([&](float x, float y) { return (x - y) * f + y; }));
}

double overlaid(int32_t a, int32_t b, int32_t dest)
{
    const int32_t size = std::min(I_ImTypeBytes(I_ImGetType(a)), I_ImTypeBytes(I_ImGetType(dest)));
    const int32_t type = size == 2 ? PIX_WORD : size == 3 ? PIX_BGR24 : size == 4 ? PIX_DWORD : PIX_BYTE;
    return binary(a, b, dest, 0, 0, type, [=](const uint8_t* x, const uint8_t* y, uint8_t* out, int32_t n) {
        const int32_t each = I_ImTypeBytes(type);
        for (int32_t i = 0; i < n; ++i) {
            const uint8_t *p = x + i * each, *q = y + i * each;
            const bool set = each == 3 ? q[1] != 0 : std::any_of(q, q + each, [](uint8_t v) { return v; });
            std::memmove(out + i * each, set ? q : p, static_cast<std::size_t>(each));
        }
    });
}

double lowestCopied(int32_t src, int32_t dest)
{
    const int32_t type = std::min(I_ImGetType(src), I_ImGetType(dest));
    return unary(src, dest, type, [&](const uint8_t* a, const uint8_t*, uint8_t* out, int32_t n) {
        // n counts elements: packed rows of a byte run have each of their bytes counted
        std::memmove(out, a, static_cast<std::size_t>(n) * static_cast<std::size_t>(I_ImTypeBytes(type)));
    });
}

double movedCopy(int32_t src, int32_t dest, int32_t dx, int32_t dy)
{
    if (src == dest && dx == 0 && dy == 0)
        return 1;
    if (I_GetROIType() <= 1) {
        int32_t l, t, r, b;
        I_ROIBoundingBox(&l, &t, &r, &b, dest);
        return I_ImCopyBlock(r - l + 1, b - t + 1, l + dx, t + dy, src, l, t, dest) != 0;
    }
    const int32_t type = std::min(I_ImGetType(src), I_ImGetType(dest));
    return binary(0, src, dest, dx, dy, type, [&](const uint8_t*, const uint8_t* b, uint8_t* out, int32_t n) {
        std::memmove(out, b, static_cast<std::size_t>(n) * static_cast<std::size_t>(I_ImTypeBytes(type)));
    });
}

double markedColor(int32_t src, int32_t dest, int32_t color, int32_t tolerance, int32_t value)
{
    int32_t count = 0;
    unary(src, dest, I_ImGetType(src) == PIX_RGB24 ? PIX_RGB24 : PIX_BGR24,
          [&](const uint8_t* a, const uint8_t*, uint8_t* out, int32_t n) {
              for (int32_t i = 0; i < n; ++i) {
                  int32_t sum = 0;
                  for (int32_t k = 0; k < 3; ++k)
                      sum += std::abs(a[3 * i + k] - ((color >> 8 * k) & 255));
                  count += sum <= tolerance ? 1 : 0;
                  for (int32_t k = 0; k < 3; ++k)
                      out[3 * i + k] = static_cast<uint8_t>(sum <= tolerance ? (value >> 8 * k) & 255 : 0);
              }
          });
    return count;
}

double brightestBand(int32_t src, int32_t dest, int32_t mode)
{
    if (I_ImGetType(src) < 13)
        return src == dest ? 1 : movedCopy(src, dest, 0, 0);
    return unary(src, dest, I_ImGetType(src) == PIX_RGB24 ? PIX_RGB24 : PIX_BGR24,
                 [&](const uint8_t* a, const uint8_t*, uint8_t* out, int32_t n) {
                     for (int32_t i = 0; i < n; ++i) {
                         const uint8_t p = a[3 * i], q = a[3 * i + 1], r = a[3 * i + 2];
                         uint8_t best;
                         if (mode == 3 || mode == 4) {
                             best = std::abs(r - 128) > std::abs(q - 128) ? r : q;
                             best = std::abs(best - 128) > std::abs(p - 128) ? best : p;
                         } else {
                             best = std::max({p, q, r});
                         }
                         out[3 * i] = out[3 * i + 1] = out[3 * i + 2] = best;
                     }
                 });
}

double flatFielded(int32_t src, int32_t dark, int32_t flat, int32_t dest, int32_t gain, const Clip& clip)
{
    int32_t cols = 0, rows = 0;
    if (!I_GetMinSize3(&cols, &rows, nullptr, nullptr, nullptr, src, dark, flat))
        return 0;
    const int32_t bands = I_ImGetNBands(src);
    for (int32_t band = 0; band < std::max(bands, 1); ++band) {
        if (bands > 1)
            I_SetColorBand(band);
        int32_t x, y, w, first = 1;
        while ((w = I_GetNextLine(&x, &y, &w, src, &first)) != 0) {
            clipLeft(x, w);
            w = std::min(w, cols - x);
            if (w < 1 || y >= rows)
                continue;
            const auto n = static_cast<std::size_t>(w);
            std::vector<uint8_t> s(n), d(n), f(n), out(n);
            I_GetBlockType(x, y, w, 1, s.data(), src, PIX_BYTE);
            I_GetBlockType(x, y, w, 1, d.data(), dark, PIX_BYTE);
            I_GetBlockType(x, y, w, 1, f.data(), flat, PIX_BYTE);
            for (std::size_t i = 0; i < n; ++i)
                out[i] = static_cast<uint8_t>(
                    f[i] == 0 ? 0 : clip.byteBoth((std::max(s[i] - d[i], 0) * gain + f[i] / 2) / f[i]));
            I_PutBlockType(x, y, w, 1, out.data(), dest, PIX_BYTE);
        }
    }
    if (bands > 1)
        I_SetColorBand(-1);
    return 1;
}

double mixedByPixel(int32_t a, int32_t b, int32_t weights, int32_t dest)
{
    int32_t l, t, r, m;
    const int32_t images[] = {a, b, weights, dest};
    I_ROIBoundingBoxN(&l, &t, &r, &m, images, 4);
    const int32_t w = r - l + 1, h = m - t + 1;
    std::vector<uint8_t> pa(static_cast<std::size_t>(w * h)), pb(pa), pw(pa), out(pa);
    I_GetBlockType(l, t, w, h, pa.data(), a, PIX_BYTE);
    I_GetBlockType(l, t, w, h, pb.data(), b, PIX_BYTE);
    I_GetBlockType(l, t, w, h, pw.data(), weights, PIX_BYTE);
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<uint8_t>(pa[i] + ((pw[i] * (pb[i] - pa[i])) >> 8));
    I_PutBlockType(l, t, w, h, out.data(), dest, PIX_BYTE);
    return 1;
}

double largestDifference(int32_t a, int32_t b, int32_t dest, int32_t dx, int32_t dy, const Clip& clip,
                         VexaPoint* place)
{
    int32_t most = 0;
    *place = {0, 0};
    const int32_t bands = std::max({I_ImGetNBands(a), I_ImGetNBands(b), I_ImGetNBands(dest)});
    const int32_t divisor = processingType(PIX_BYTE, bands, dest) >= 16 ? 3 : 1;
    binary(a, b, dest, dx, dy, PIX_BYTE, [&](const uint8_t* x, const uint8_t* y, uint8_t* out, int32_t n) {
        for (int32_t i = 0; i < n; ++i) {
            const int32_t d = x[i] - y[i];
            if (std::abs(d) > most) {
                most = std::abs(d);
                const int32_t index = i / divisor;
                *place = {index % position.width + position.x, index / position.width + position.y};
            }
            out[i] = static_cast<uint8_t>(clip.byteLow(d));
        }
    });
    return most;
}

struct Peak {
    int32_t value, x, y;
};

int32_t strongest(int32_t a, int32_t b, int32_t dest, int32_t dx, int32_t dy, int32_t n, int32_t separation,
                  double threshold, const Clip& clip, std::vector<Peak>& list)
{
    list.assign(static_cast<std::size_t>(n), {0, 0, 0});
    auto bound = static_cast<int32_t>(threshold);
    const int32_t bands = std::max({I_ImGetNBands(a), I_ImGetNBands(b), I_ImGetNBands(dest)});
    const int32_t divisor = processingType(PIX_BYTE, bands, dest) >= 16 ? 3 : 1;
    const auto near = [&](const Peak& p, const Peak& q) {
        return std::abs(p.x - q.x) <= separation && std::abs(p.y - q.y) <= separation;
    };
    const auto visit = [&](const Peak& found) {
        for (std::size_t j = 0; j < list.size(); ++j) {
            if (found.value <= list[j].value)
                continue;
            for (std::size_t k = 0; k < j; ++k)
                if (near(list[k], found))
                    return;
            list.insert(list.begin() + static_cast<std::ptrdiff_t>(j), found);
            list.pop_back();
            bound = std::max(static_cast<int32_t>(threshold), list.back().value);
            for (std::size_t k = j + 1; k + 1 < list.size();) {
                if (list[k].value > 0 && near(list[k], found)) {
                    list.erase(list.begin() + static_cast<std::ptrdiff_t>(k));
                    list.push_back({0, 0, 0});
                } else {
                    ++k;
                }
            }
            return;
        }
    };
    binary(a, b, dest, dx, dy, PIX_BYTE,
           [&](const uint8_t* x, const uint8_t* y, uint8_t* out, int32_t count) {
               for (int32_t i = 0; i < count; ++i) {
                   const int32_t d = x[i] - y[i];
                   const int32_t index = i / divisor;
                   if (std::abs(d) > bound)
                       visit({std::abs(d), index % position.width + position.x,
                              index / position.width + position.y});
                   out[i] = static_cast<uint8_t>(clip.byteLow(d));
               }
           });
    if (list[0].value < 1)
        return 0;
    int32_t result = 0;
    for (int32_t i = 1; i < n; ++i) {
        const Peak &p = list[static_cast<std::size_t>(i)], &q = list[static_cast<std::size_t>(i - 1)];
        if (p.value > 0 && p.x != q.x && p.y != q.y)
            result = i;
    }
    return result + 1;
}

std::vector<Case> members(Random& random, int32_t mode, int32_t top)
{
    const int32_t dx = between(random, -4, 4), dy = between(random, -3, 3);
    static const double kPowers[] = {0.0, 1.0, 2.0, 4.0, 0.5, -2.0, 256.0};
    const double divisor = kPowers[random() % 7];
    const double multiplier =
        divisor == 0.5 ? 255.0 : divisor; // 0.5 rounds to 1, but see to other numbers too
    const double gain = divisor;
    const auto factor = static_cast<float>(between(random, -8, 24)) / 16.0F;
    const double value = between(random, -1200, 1200) / 4.0;
    const double scale = between(random, 0, 3) == 0 ? 1.0 : kPowers[1 + random() % 6];
    const int32_t constant = between(random, 0, 255);
    const auto clip = [mode, top](int32_t dest) { return clipFor(mode, top, dest); };
    const auto word = std::to_string(dx) + "," + std::to_string(dy);
    return {
        both(
            "I_Add", [](int32_t a, int32_t b, int32_t d) { return I_Add(a, b, d); },
            [clip](int32_t a, int32_t b, int32_t d) {
                const Clip c = clip(d);
                return highestType({a, b, d}) == PIX_BYTE
                           ? binary(a, b, d, 0, 0, PIX_BYTE,
                                    bytes([&](int32_t x, int32_t y) { return c.byteHigh(x + y); }))
                           : binary(a, b, d, 0, 0, PIX_FLOAT, floats([](float x, float y) { return x + y; }));
            }),
        both(
            "I_Subtract " + word,
            [=](int32_t a, int32_t b, int32_t d) { return I_Subtract(a, b, d, dx, dy); },
            [=](int32_t a, int32_t b, int32_t d) { return subtracted(a, b, d, dx, dy, clip(d)); }),
        both(
            "I_SubtractEx " + word,
            [=](int32_t a, int32_t b, int32_t d) { return I_SubtractEx(a, b, d, dx, dy, 3); },
            [=](int32_t a, int32_t b, int32_t d) { return subtracted(a, b, d, dx, dy, clipFor(3, top, d)); }),
        both(
            "I_And", [](int32_t a, int32_t b, int32_t d) { return I_And(a, b, d); },
            [](int32_t a, int32_t b, int32_t d) {
                return binary(a, b, d, 0, 0, PIX_BYTE, bytes([](int32_t x, int32_t y) { return x & y; }));
            }),
        both(
            "I_Or", [](int32_t a, int32_t b, int32_t d) { return I_Or(a, b, d); },
            [](int32_t a, int32_t b, int32_t d) {
                return binary(a, b, d, 0, 0, PIX_BYTE, bytes([](int32_t x, int32_t y) { return x | y; }));
            }),
        both(
            "I_Xor", [](int32_t a, int32_t b, int32_t d) { return I_Xor(a, b, d); },
            [](int32_t a, int32_t b, int32_t d) {
                return binary(a, b, d, 0, 0, PIX_BYTE, bytes([](int32_t x, int32_t y) { return x ^ y; }));
            }),
        both(
            "I_Multiply " + std::to_string(multiplier),
            [=](int32_t a, int32_t b, int32_t d) { return I_Multiply(a, b, d, multiplier); },
            [=](int32_t a, int32_t b, int32_t d) { return multiplied(a, b, d, multiplier, clip(d)); }),
        both(
            "I_Divide " + std::to_string(gain),
            [=](int32_t a, int32_t b, int32_t d) { return I_Divide(a, b, d, gain); },
            [=](int32_t a, int32_t b, int32_t d) { return divided(a, b, d, gain, clip(d)); }),
        both(
            "I_Blend " + std::to_string(factor),
            [=](int32_t a, int32_t b, int32_t d) { return I_Blend(a, b, d, factor); },
            [=](int32_t a, int32_t b, int32_t d) { return blended(a, b, d, factor); }),
        both(
            "I_ConstAdd " + std::to_string(value),
            [=](int32_t a, int32_t, int32_t d) { return I_ConstAdd(a, d, value); },
            [=](int32_t a, int32_t, int32_t d) { return scaled(a, d, value, 1.0); }),
        both(
            "I_ConstSubAbs " + std::to_string(value),
            [=](int32_t a, int32_t, int32_t d) { return I_ConstSubAbs(a, d, value); },
            [=](int32_t a, int32_t, int32_t d) {
                if (highestType({a, d}) == PIX_BYTE)
                    return mapThrough(a, d, [&](int32_t i) { return std::fabs(i - std::trunc(value)); });
                return static_cast<double>(unary(a, d, PIX_FLOAT, floats([&](float x, float) {
                                                     return std::fabs(x - static_cast<float>(value));
                                                 })));
            }),
        both(
            "I_ConstMult " + std::to_string(scale),
            [=](int32_t a, int32_t, int32_t d) { return I_ConstMult(a, d, scale); },
            [=](int32_t a, int32_t, int32_t d) {
                return scale == 1.0 ? scaled(a, d, 0.0, std::nextafter(1.0, 2.0)) : scaled(a, d, 0.0, scale);
            }),
        both(
            "I_ConstOR", [=](int32_t a, int32_t, int32_t d) { return I_ConstOR(a, d, constant); },
            [=](int32_t a, int32_t, int32_t d) {
                return mapThrough(a, d, [=](int32_t i) { return i | constant; });
            }),
        both(
            "I_ConstXOR", [=](int32_t a, int32_t, int32_t d) { return I_ConstXOR(a, d, constant); },
            [=](int32_t a, int32_t, int32_t d) {
                return mapThrough(a, d, [=](int32_t i) { return i ^ constant; });
            }),
        both(
            "I_ConstAnd", [=](int32_t a, int32_t, int32_t d) { return I_ConstAnd(a, d, constant); },
            [=](int32_t a, int32_t, int32_t d) {
                return mapThrough(a, d, [=](int32_t i) { return i & constant; });
            }),
        both(
            "I_ScaleIntensityROI " + std::to_string(value) + " " + std::to_string(scale),
            [=](int32_t a, int32_t, int32_t d) { return I_ScaleIntensityROI(a, d, value, scale); },
            [=](int32_t a, int32_t, int32_t d) { return scaled(a, d, value, scale); }),
        both(
            "I_ScaleIntensityROIAbs " + std::to_string(value) + " " + std::to_string(scale),
            [=](int32_t a, int32_t, int32_t d) { return I_ScaleIntensityROIAbs(a, d, value, scale); },
            [=](int32_t a, int32_t, int32_t d) { return scaledAbs(a, d, value, scale); }),
        both(
            "I_CopyROI", [](int32_t a, int32_t, int32_t d) { return I_CopyROI(a, d); },
            [](int32_t a, int32_t, int32_t d) { return lowestCopied(a, d); }),
        both(
            "I_ROICopy " + word, [=](int32_t a, int32_t, int32_t d) { return I_ROICopy(a, d, dx, dy) != 0; },
            [=](int32_t a, int32_t, int32_t d) { return movedCopy(a, d, dx, dy); }),
        both(
            "I_OverlayROI", [](int32_t a, int32_t b, int32_t d) { return I_OverlayROI(a, b, d); },
            [](int32_t a, int32_t b, int32_t d) { return overlaid(a, b, d); }),
        both(
            "I_MaskFromColor",
            [=](int32_t a, int32_t, int32_t d) { return I_MaskFromColor(a, d, 0x405060, 150, 0x010203); },
            [=](int32_t a, int32_t, int32_t d) { return markedColor(a, d, 0x405060, 150, 0x010203); }),
        both(
            "I_MaxRGB", [](int32_t a, int32_t, int32_t d) { return I_MaxRGB(a, d) != 0; },
            [mode](int32_t a, int32_t, int32_t d) { return brightestBand(a, d, mode) != 0; }),
        both(
            "I_FlatField", [=](int32_t a, int32_t b, int32_t d) { return I_FlatField(a, b, b, d, constant); },
            [=](int32_t a, int32_t b, int32_t d) { return flatFielded(a, b, b, d, constant, clip(d)); }),
        both(
            "I_BlendByPixel", [=](int32_t a, int32_t b, int32_t d) { return I_BlendByPixel(a, b, b, d); },
            [=](int32_t a, int32_t b, int32_t d) { return mixedByPixel(a, b, b, d); }),
        both(
            "I_SubtractMax " + word,
            [=](int32_t a, int32_t b, int32_t d) {
                VexaPoint p{-7, -7};
                const double most = I_SubtractMax(a, b, d, dx, dy, &p);
                return most * 1e6 + p.x * 1e3 + p.y;
            },
            [=](int32_t a, int32_t b, int32_t d) {
                VexaPoint p;
                const double most = largestDifference(a, b, d, dx, dy, clip(d), &p);
                return most * 1e6 + p.x * 1e3 + p.y;
            }),
        both(
            "I_SubtractNMax " + word,
            [=](int32_t a, int32_t b, int32_t d) {
                VexaPoint p[5];
                double v[5];
                double sum = I_SubtractNMax(a, b, d, dx, dy, p, v, 5, 3, 20.7);
                for (int32_t i = 0; i < 5; ++i)
                    sum = sum * 1.5 + v[i] * 100 + p[i].x * 10 + p[i].y;
                return sum;
            },
            [=](int32_t a, int32_t b, int32_t d) {
                std::vector<Peak> list;
                double sum = strongest(a, b, d, dx, dy, 5, 3, 20.7, clip(d), list);
                for (const Peak& p : list)
                    sum = sum * 1.5 + p.value * 100 + p.x * 10 + p.y;
                return sum;
            }),
    };
}

int32_t randomType(Random& random)
{
    static const int32_t kTypes[] = {PIX_BYTE,  PIX_BYTE,  PIX_BYTE,   PIX_BYTE,    PIX_WORD,  PIX_WORD,
                                     PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX, PIX_BGR24, PIX_RGB24,
                                     PIX_BGR32, PIX_RGB32, PIX_BGR16,  PIX_PALETTE};
    return kTypes[random() % std::size(kTypes)];
}

class IndependentArithmetic : public testing::TestWithParam<int32_t>
{
};
INSTANTIATE_TEST_SUITE_P(Seeds, IndependentArithmetic, testing::Range(0, 8));

TEST_P(IndependentArithmetic, EveryMemberOnRandomImages)
{
    Random random(static_cast<uint32_t>(GetParam()) * 7919U + 1U);
    const int32_t colorMode = GetParam() % 4 == 3 ? 1 : 0;
    const auto sets = vexa::availableInstructionSets();
    vexa::limitInstructionSet(sets[static_cast<std::size_t>(GetParam()) % sets.size()]);
    I_SetColorMode(colorMode); // builds the display tables
    const int32_t top = colorMode ? 251 : 255;
    const Messages messages;
    for (int32_t round = 0; round < 60; ++round) {
        const int32_t mode = between(random, 0, 7);
        I_SetClipMode(mode);
        const bool alike = between(random, 0, 1) == 0;
        const int32_t type = randomType(random);
        Shape sa = randomShape(random, type), sb = randomShape(random, alike ? type : randomType(random)),
              sd = randomShape(random, alike ? type : randomType(random));
        // What the search for the nearest entry answers depends on what it was asked before.
        if (sd.type == PIX_PALETTE)
            sd.type = PIX_BYTE;
        const bool inPlace = sa.type != PIX_PALETTE && between(random, 0, 5) == 0,
                   noDest = between(random, 0, 9) == 0;
        const int32_t procMode = between(random, 0, 3) == 0 ? between(random, 0, 2) : 3;
        const int32_t band = between(random, 0, 2) == 0 ? between(random, 0, 2) : -1;
        randomRegion(random, sd.cols, sd.rows);
        int32_t l, t, r, b;
        I_GetWindowROI(&l, &t, &r, &b);
        for (const Case& c : members(random, mode, top)) {
            SCOPED_TRACE(c.name + " mode " + std::to_string(mode) + " a " + tell(sa) + " b " + tell(sb) +
                         " dest " +
                         (inPlace  ? "a"
                          : noDest ? "none"
                                   : tell(sd)) +
                         " region " + std::to_string(I_GetROIType()) + " (" + std::to_string(l) + " " +
                         std::to_string(t) + " " + std::to_string(r) + " " + std::to_string(b) + ") colour " +
                         std::to_string(procMode) + " band " + std::to_string(band) + " round " +
                         std::to_string(round));
            const bool needsDest = c.name.rfind("I_ROICopy", 0) == 0 ||
                                   c.name.rfind("I_SubtractNMax", 0) == 0 || c.name == "I_BlendByPixel" ||
                                   c.name == "I_MaxRGB" || c.name == "I_OverlayROI" ||
                                   c.name == "I_FlatField" || c.name == "I_CopyROI";
            double results[2];
            std::vector<uint8_t> after[2];
            int32_t bands[2];
            for (const int32_t side : {0, 1}) {
                const Picture pa = sa.open(), pb = sb.open(), pd = sd.open();
                const int32_t dest = inPlace ? pa.im : noDest && !needsDest ? 0 : pd.im;
                I_SetColorProcMode(procMode);
                I_SetColorBand(band);
                results[side] = (side == 0 ? c.library : c.reference)(pa.im, pb.im, dest);
                I_SetColorProcMode(3);
                bands[side] = I_GetColorBand();
                after[side] = (inPlace ? pa : pd).bytes();
                I_SetColorBand(-1);
                pa.close();
                pb.close();
                pd.close();
            }
            EXPECT_EQ(results[0], results[1]);
            EXPECT_EQ(bands[0], bands[1]) << "band selection left behind";
            if (after[0] != after[1]) {
                const auto place = std::mismatch(after[0].begin(), after[0].end(), after[1].begin());
                ADD_FAILURE() << "first different byte at " << place.first - after[0].begin() << ": "
                              << int{*place.first} << ", reference " << int{*place.second};
            }
        }
    }
}

// Windows on one image that overlap: each row from left to right, rows from top to bottom, also in place.
TEST_P(IndependentArithmetic, OverlappingWindowsKeepTheOrder)
{
    Random random(static_cast<uint32_t>(GetParam()) + 77U);
    for (int32_t round = 0; round < 40; ++round) {
        const int32_t cols = between(random, 1, 70), rows = between(random, 1, 4);
        const int32_t x[3] = {between(random, 0, 9), between(random, 0, 9), between(random, 0, 9)};
        const int32_t y[3] = {between(random, 0, 2), between(random, 0, 2), between(random, 0, 2)};
        const uint32_t seed = random();
        std::vector<uint8_t> after[2];
        for (const int32_t side : {0, 1}) {
            const Picture all = Shape{cols + 9, rows + 2, PIX_BYTE, false, false, false, seed}.open();
            int32_t w[3];
            for (int32_t i = 0; i < 3; ++i)
                w[i] = I_ImOpenSubimage(x[i], y[i], cols, rows, all.im);
            I_SetROIType(0);
            I_SetClipMode(0);
            if (side == 0)
                I_Subtract(w[0], w[1], w[2], 0, 0);
            else
                binary(w[0], w[1], w[2], 0, 0, PIX_BYTE, bytes([](int32_t a, int32_t b) { return a - b; }));
            after[side] = all.bytes();
            for (const int32_t im : w)
                I_ImClose(im);
            all.close();
        }
        ASSERT_EQ(after[0], after[1]) << cols << "x" << rows << " a " << x[0] << "," << y[0] << " b " << x[1]
                                      << "," << y[1] << " dest " << x[2] << "," << y[2];
    }
}

} // namespace
