// The row frames told plainly, for references: every operand is moved as the public block calls move it, one block of the
// region at a time.
#ifndef VEXA_TESTS_SUPPORT_PLAIN_FRAMES_H
#define VEXA_TESTS_SUPPORT_PLAIN_FRAMES_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/random_images.h"
#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

namespace vexa::test::plain
{

using Row = std::function<void(const uint8_t* a, const uint8_t* b, uint8_t* dest, int32_t n)>;

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

} // namespace vexa::test::plain

#endif
