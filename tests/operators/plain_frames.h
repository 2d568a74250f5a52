// The row frames told plainly, for references: every operand is moved as the public block calls move it, one block of the
// region at a time. And what feeds them: random images in pairs, random regions.
#ifndef VEXA_TESTS_OPERATORS_PLAIN_FRAMES_H
#define VEXA_TESTS_OPERATORS_PLAIN_FRAMES_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

namespace vexa::test::plain
{

using Row = std::function<void(const uint8_t* a, const uint8_t* b, uint8_t* dest, int32_t n)>;

template <typename T>
T at(const uint8_t* row, int32_t i)
{
    T value;
    std::memcpy(&value, row + static_cast<std::size_t>(i) * sizeof(T), sizeof(T));
    return value;
}

template <typename T>
void put(uint8_t* row, int32_t i, T value)
{
    std::memcpy(row + static_cast<std::size_t>(i) * sizeof(T), &value, sizeof(T));
}

// One result per element of type T.
template <typename T, typename Function>
Row elements(Function f)
{
    return [f](const uint8_t* a, const uint8_t* b, uint8_t* dest, int32_t n) {
        for (int32_t i = 0; i < n; ++i)
            put<T>(dest, i, static_cast<T>(f(at<T>(a, i), at<T>(b, i))));
    };
}

inline int32_t processingType(int32_t type, int32_t bands, int32_t dest)
{
    if (bands < 2 || type != PIX_BYTE)
        return type;
    const int32_t destType = I_ImGetType(dest);
    return destType >= 16 && destType <= 19 ? destType : PIX_BGR24;
}

// One operand of one block: rows in place where the image is of the type, else a copy.
struct Operand {
    uint8_t* first = nullptr;
    int64_t pitch = 0;
    std::vector<uint8_t> buffer;

    void prepare(int32_t im, int32_t x, int32_t y, int32_t w, int32_t h, int32_t type, bool read)
    {
        const int32_t bytes = I_ImTypeBytes(type);
        int32_t stride = 0;
        auto* base = im != 0 ? static_cast<uint8_t*>(I_ImGetPtrEx(0, 0, &stride, im, type))
                             : static_cast<uint8_t*>(nullptr);
        if (base != nullptr) {
            first = base + int64_t{y} * stride + int64_t{x} * bytes;
            pitch = stride;
            return;
        }
        buffer.assign(static_cast<std::size_t>(int64_t{w} * h * bytes), 0);
        first = buffer.data();
        pitch = int64_t{w} * bytes;
        if (im != 0 && read)
            I_GetBlockType(x, y, w, h, first, im, type);
    }
};

// Runs of a polygon may begin left of the image, where there are no pixels.
inline void clipLeft(int32_t& x, int32_t& width)
{
    width += std::min(x, 0);
    x = std::max(x, 0);
}

struct Position {
    int32_t x, y, width;
};
inline Position position; // of the row that the row function works on

inline int32_t binary(int32_t a, int32_t b, int32_t dest, int32_t dx, int32_t dy, int32_t type,
                      const Row& row)
{
    const int32_t bands = std::max({I_ImGetNBands(a), I_ImGetNBands(b), I_ImGetNBands(dest)});
    int32_t cols = 0, rows = 0, colsB = 0, rowsB = 0;
    I_GetMinSize2(&cols, &rows, nullptr, nullptr, a, dest);
    if (b == 0 || !I_ImGetSize(&colsB, &rowsB, nullptr, b)) {
        colsB = cols + std::abs(dx);
        rowsB = rows + std::abs(dy);
    }
    if (cols < 1 || rows < 1 || colsB < 1 || rowsB < 1)
        return 0;
    const int32_t processing = processingType(type, bands, dest);
    const int32_t each = I_ImTypeBytes(processing) / I_ImTypeBytes(type);
    int32_t x, y, w, h, first = 1;
    while (I_GetNextLines(&x, &y, &w, &h, dest, &first, 0)) {
        clipLeft(x, w);
        w = std::min(w, cols - x);
        h = std::min(h, rows - y);
        int32_t bx = x + dx, by = y + dy;
        if (bx < 0) {
            x -= bx;
            w += bx;
            bx = 0;
        }
        if (by < 0) {
            y -= by;
            h += by;
            by = 0;
        }
        w = std::min({w, cols - x, colsB - bx});
        h = std::min({h, rows - y, rowsB - by});
        if (w < 1 || h < 1)
            continue;
        Operand oa, ob, od;
        oa.prepare(a, x, y, w, h, processing, true);
        ob.prepare(b, bx, by, w, h, processing, true);
        od.prepare(dest, x, y, w, h, processing, false);
        for (int32_t r = 0; r < h; ++r) {
            position = {x, y + r, w};
            row(oa.first + r * oa.pitch, ob.first + r * ob.pitch, od.first + r * od.pitch, w * each);
        }
        if (dest != 0 && !od.buffer.empty())
            I_PutBlockTypeEx(x, y, w, h, od.first, dest, processing, static_cast<int32_t>(od.pitch));
    }
    I_SetColorBand(-1);
    return 1;
}

inline int32_t unary(int32_t src, int32_t dest, int32_t type, const Row& row)
{
    const int32_t bands = std::max(I_ImGetNBands(src), I_ImGetNBands(dest));
    int32_t cols = 0, rows = 0;
    I_GetMinSize2(&cols, &rows, nullptr, nullptr, src, dest);
    if (cols < 1 || rows < 1)
        return 0;
    const int32_t processing = processingType(type, bands, dest);
    const int32_t each = I_ImTypeBytes(processing) / I_ImTypeBytes(type);
    int32_t x, y, w, h, first = 1;
    while (I_GetNextLines(&x, &y, &w, &h, dest, &first, 0)) {
        clipLeft(x, w);
        w = std::min(w, cols - x);
        h = std::min(h, rows - y);
        if (w < 1 || h < 1)
            continue;
        Operand os, od;
        os.prepare(src, x, y, w, h, processing, true);
        od.prepare(dest, x, y, w, h, processing, false);
        for (int32_t r = 0; r < h; ++r)
            row(os.first + r * os.pitch, os.first + r * os.pitch, od.first + r * od.pitch, w * each);
        if (dest != 0 && !od.buffer.empty())
            I_PutBlockType(x, y, w, h, od.first, dest, processing);
    }
    I_SetColorBand(-1);
    return 1;
}

inline int32_t highestType(std::initializer_list<int32_t> images)
{
    int32_t type = 0;
    for (const int32_t im : images) {
        const int32_t own = im == 0 ? 0 : I_ImGetType(im);
        type = std::max(type, own >= 12 ? PIX_BYTE : own);
    }
    return type >= 7 ? PIX_DFLOAT : type;
}

// --- what feeds the references

using Random = std::mt19937;

inline int32_t between(Random& random, int32_t low, int32_t high)
{
    return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
}

inline void fillRandomly(int32_t im, Random& random)
{
    int32_t cols = 0, rows = 0, stride = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    auto* base = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, im));
    const int32_t type = I_ImGetType(im);
    const bool complex = type == PIX_COMPLEX || type == PIX_DCOMPLEX;
    const int32_t perRow = complex ? 2 * cols : cols;
    for (int32_t y = 0; y < rows; ++y) {
        uint8_t* row = base + int64_t{y} * stride;
        for (int32_t x = 0; x < perRow; ++x) {
            const double value = between(random, 0, 3) == 0 ? between(random, 0, 3) * 85.0
                                                            : between(random, -4000, 16000) / 32.0;
            switch (type) {
            case PIX_WORD:
                put<uint16_t>(
                    row, x, static_cast<uint16_t>(between(random, 0, 3) ? random() % 600 : random() % 32768));
                break;
            case PIX_DWORD:
                put<int32_t>(row, x, between(random, -300, 1000));
                break;
            case PIX_FLOAT:
            case PIX_COMPLEX:
                put<float>(row, x, static_cast<float>(value));
                break;
            case PIX_DFLOAT:
            case PIX_DCOMPLEX:
                put<double>(row, x, value);
                break;
            default:
                for (int32_t k = 0; k < I_ImTypeBytes(type); ++k)
                    row[x * I_ImTypeBytes(type) + k] =
                        static_cast<uint8_t>(between(random, 0, 5) == 0 ? 0 : random() % 256);
            }
        }
    }
}

// An image to work on, and the one that owns its pixels (itself, unless it is a window).
struct Picture {
    int32_t im, owner;

    std::vector<uint8_t> bytes() const
    {
        int32_t cols = 0, rows = 0, stride = 0;
        I_ImGetSize(&cols, &rows, nullptr, owner);
        const auto* base = static_cast<const uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, owner));
        return {base, base + int64_t{stride} * rows};
    }
    void close() const
    {
        if (im != owner)
            I_ImClose(im);
        I_ImClose(owner);
    }
};

struct Shape {
    int32_t cols, rows, type;
    bool window, inverted, ranged;
    uint32_t seed;

    Picture open() const
    {
        Random random(seed);
        Picture p{};
        p.owner = I_ImOpen(window ? cols + 7 : cols, window ? rows + 5 : rows, type);
        fillRandomly(p.owner, random);
        if (inverted) {
            const int32_t flag = 1;
            I_ImSetParam(&flag, 0, 19, p.owner);
        }
        if (ranged)
            I_SetPixValueRange(0.0, type == PIX_FLOAT ? 510.0 : 1020.0, p.owner);
        p.im = window ? I_ImOpenSubimage(3, 2, cols, rows, p.owner) : p.owner;
        return p;
    }
};

inline Shape randomShape(Random& random, int32_t type)
{
    static const int32_t kSizes[] = {1, 2, 3, 5, 8, 13, 15, 16, 17, 31, 32, 33, 40, 63, 64, 65, 70};
    const bool inverted = between(random, 0, 5) == 0;
    return {kSizes[random() % std::size(kSizes)],
            between(random, 1, 9),
            type,
            between(random, 0, 2) == 0,
            inverted,
            between(random, 0, 4) == 0,
            static_cast<uint32_t>(random())};
}

// Any of the four kinds of region, laid somewhere around an image of the size.
inline void randomRegion(Random& random, int32_t cols, int32_t rows)
{
    switch (between(random, 0, 4)) {
    case 0:
        I_SetROIType(0);
        break;
    case 1:
    case 2:
        I_SetWindowROI(between(random, -3, cols), between(random, -2, rows), between(random, -4, cols + 3),
                       between(random, -2, rows + 2));
        break;
    case 3: {
        std::vector<VexaPoint> points(static_cast<std::size_t>(between(random, 3, 6)));
        for (VexaPoint& p : points)
            p = {between(random, -2, cols + 2), between(random, -2, rows + 2)};
        I_SetPolygonROI(points.data(), static_cast<int32_t>(points.size()));
        break;
    }
    default: {
        std::vector<VexaPoint> points;
        for (int32_t y = between(random, 0, 1); y < rows + 1; y += between(random, 0, 2)) {
            const int32_t from = between(random, 0, cols);
            points.push_back({from, y});
            points.push_back({from + between(random, 0, cols / 2 + 1), y});
            if (points.size() > 60)
                break;
        }
        if (points.empty() || I_SetScanlistROI(points.data(), static_cast<int32_t>(points.size())) == 0)
            I_SetROIType(0);
    }
    }
}

inline std::string tell(const Shape& s)
{
    return std::to_string(s.cols) + "x" + std::to_string(s.rows) + " type " + std::to_string(s.type) +
           (s.window ? " window" : "") + (s.inverted ? " inverted" : "") + (s.ranged ? " ranged" : "");
}

} // namespace vexa::test::plain

#endif
