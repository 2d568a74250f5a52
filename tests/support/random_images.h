// Random images in pairs, random regions: what feeds references that are compared with the library.
#ifndef VEXA_TESTS_SUPPORT_RANDOM_IMAGES_H
#define VEXA_TESTS_SUPPORT_RANDOM_IMAGES_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "vexalib/vexalib.h"

namespace vexa::test::plain
{

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
        int32_t cols = 0, rows = 0, stride = 0, width = 0;
        I_ImGetSize(&cols, &rows, &width, owner);
        const auto* base = static_cast<const uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, owner));
        if (base == nullptr) { // in a file
            std::vector<uint8_t> pixels(static_cast<std::size_t>(cols) *
                                        static_cast<std::size_t>(rows * width));
            I_GetBlockTypeEx(0, 0, cols, rows, pixels.data(), owner, I_ImGetType(owner), 0);
            return pixels;
        }
        return {base, base + int64_t{stride} * rows};
    }
    void close() const
    {
        if (im != owner)
            I_ImClose(im);
        I_ImClose(owner);
    }
};

// A copy whose pixels lie in a file, in place of the image.
inline int32_t movedToFile(int32_t im)
{
    int32_t cols = 0, rows = 0, stride = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    const int32_t type = I_ImGetType(im), file = I_ImOpenFile(cols, rows, 0, type, std::tmpfile());
    auto* base = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, im));
    for (int32_t y = 0; y < rows; ++y)
        I_PutBlockTypeEx(0, y, cols, 1, base + int64_t{y} * stride, file, type, 0);
    I_ImClose(im);
    return file;
}

struct Shape {
    int32_t cols, rows, type;
    bool window, inverted, ranged;
    uint32_t seed;
    bool inFile = false; // not together with window

    Picture open() const
    {
        Random random(seed);
        Picture p{};
        p.owner = I_ImOpen(window ? cols + 7 : cols, window ? rows + 5 : rows, type);
        fillRandomly(p.owner, random);
        if (inFile)
            p.owner = movedToFile(p.owner);
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
    const bool inverted = between(random, 0, 5) == 0, window = between(random, 0, 2) == 0;
    return {kSizes[random() % std::size(kSizes)],
            between(random, 1, 9),
            type,
            window,
            inverted,
            between(random, 0, 4) == 0,
            static_cast<uint32_t>(random()),
            !window && between(random, 0, 9) == 0};
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
           (s.window ? " window" : "") + (s.inverted ? " inverted" : "") + (s.ranged ? " ranged" : "") +
           (s.inFile ? " in a file" : "");
}

} // namespace vexa::test::plain

#endif
