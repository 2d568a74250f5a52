// The blob search as it is described, pixel by pixel and without any short cut: what the library's is held against.
#ifndef VEXA_TESTS_MEASURE_PLAIN_LABELLER_H
#define VEXA_TESTS_MEASURE_PLAIN_LABELLER_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "vexalib/types.h"

namespace vexa::test
{

struct PlainRecord {
    int64_t parent = 0, left = 0, top = 0, right = 0, bottom = 0, firstX = 0, firstY = 0, pixelCount = 0;
    double sumIntensity = 0, sumX = 0, sumY = 0;
    bool operator==(const PlainRecord&) const = default;
};

// A label image: what its pixels hold after rows of 32-bit labels were put to it.
struct PlainLabelImage {
    int32_t type = 0; // 0: there is none
    int64_t cols = 0;
    int64_t rows = 0;
    std::vector<int64_t> pixels;

    int64_t stored(int64_t label) const
    {
        return type == PIX_BYTE ? label & 255 : type == PIX_WORD ? label & 65535 : label;
    }
};

class PlainLabeller
{
public:
    int64_t limit = 5000;
    // The table of the process.
    std::vector<PlainRecord> records;
    int64_t count = 0;
    int64_t condensedCount = 0;
    bool tooMany = false;

    // pixels are the source's bytes, row by row; list is the region's scan list; remapped are the boxes of the label
    // image that the look-up operator visits, in its order.
    int32_t find(const std::vector<uint8_t>& pixels, int64_t width, int64_t height,
                 const std::vector<bool>& foreground, const std::vector<VexaPoint>& list,
                 PlainLabelImage& labels, const std::vector<VexaBox>& remapped)
    {
        // Column x stands at index x + 1.
        std::vector<int64_t> previous(static_cast<std::size_t>(width + 3)), current(previous);
        std::vector<int64_t> bytes(static_cast<std::size_t>(width + 2));
        count = condensedCount = 0;
        tooMany = false;
        bool full = false;
        for (std::size_t i = 0; i < list.size() && !full; i += 2) {
            // No column that the row arrays do not have.
            const int64_t y = list[i].y, x0 = std::max(list[i].x, 0),
                          x1 = std::min<int64_t>(list[i + 1].x, width);
            for (int64_t x = x0; x <= x1 && x < width && y >= 0 && y < height; ++x)
                bytes[at(x)] = pixels[at(y * width + x)];
            for (int64_t x = x0; x <= x1 && !full; ++x) {
                if (!foreground[at(bytes[at(x)])])
                    continue;
                const int64_t up = previous[at(x + 1)], left = current[at(x)];
                int64_t label = up;
                if (up == 0) {
                    if (previous[at(x)] != 0)
                        label = previous[at(x)];
                    if (previous[at(x + 2)] != 0)
                        label = previous[at(x + 2)];
                }
                if (label == 0 && left == 0) {
                    label = newBlob(x, y);
                    full = label == 0;
                    if (full)
                        break;
                } else if (label == 0) {
                    label = left;
                } else if (left != 0 && left != label) {
                    label = merge(label, left);
                }
                current[at(x + 1)] = label;
                add(label, bytes[at(x)], x, y);
            }
            if (full)
                break;
            if (count > 252 && labels.type == PIX_BYTE) {
                if (condensedCount >= 192)
                    labels.type = PIX_WORD;
                else
                    condense(previous, current, x0, x1 - x0 + 1, labels, remapped);
            }
            if (labels.type != 0)
                for (int64_t x = x0; x <= x1; ++x)
                    if (x < labels.cols && y >= 0 && y < labels.rows)
                        labels.pixels[at(y * labels.cols + x)] = labels.stored(current[at(x + 1)]);
            if (i + 2 < list.size() && list[i + 2].y != y) {
                previous = current;
                std::fill(current.begin(), current.end(), 0);
            }
        }
        condense(previous, current, 0, 0, labels, remapped);
        return 1;
    }

private:
    static std::size_t at(int64_t i) { return static_cast<std::size_t>(i); }
    int64_t capacity() const { return static_cast<int64_t>(records.size()); }

    int64_t newBlob(int64_t x, int64_t y)
    {
        ++count;
        if (count > 65520) {
            tooMany = true;
        } else {
            if (count >= capacity()) {
                if (limit > 0 && capacity() >= limit)
                    return 0;
                records.resize(
                    at(std::max(capacity() + 250, static_cast<int64_t>(double(capacity()) * 1.41))));
            }
            records[at(count)] = {};
        }
        if (count < capacity()) {
            records[at(count)].firstX = x;
            records[at(count)].firstY = y;
        }
        return count;
    }

    int64_t oneStep(int64_t label) const
    {
        return label < capacity() && records[at(label)].parent != 0 ? records[at(label)].parent : label;
    }

    int64_t merge(int64_t a, int64_t b)
    {
        a = oneStep(a);
        b = oneStep(b);
        if (a == b)
            return a;
        const int64_t smaller = std::min(a, b), larger = std::max(a, b);
        if (larger < capacity())
            records[at(larger)].parent = smaller;
        return smaller;
    }

    void add(int64_t label, int64_t value, int64_t x, int64_t y)
    {
        if (label >= capacity())
            return;
        PlainRecord& r = records[at(label)];
        ++r.pixelCount;
        r.sumIntensity += double(value);
        r.sumX += double(x);
        r.sumY += double(y);
        if (r.pixelCount == 1) {
            r.left = r.right = x;
            r.top = r.bottom = y;
        } else {
            r.left = std::min(r.left, x);
            r.right = std::max(r.right, x);
            r.top = std::min(r.top, y);
            r.bottom = std::max(r.bottom, y);
        }
    }

    void condense(std::vector<int64_t>& previous, std::vector<int64_t>& current, int64_t x0, int64_t n,
                  PlainLabelImage& labels, const std::vector<VexaBox>& remapped)
    {
        int64_t size = 2;
        while (size <= std::max<int64_t>(count, 256))
            size *= 2;
        if (count >= capacity() - 1)
            count = capacity() - 1;
        for (int64_t i = count; i >= 1; --i) {
            PlainRecord& r = records[at(i)];
            if (r.parent == 0)
                continue;
            PlainRecord& p = records[at(r.parent)];
            p.pixelCount += r.pixelCount;
            p.sumIntensity += r.sumIntensity;
            p.sumX += r.sumX;
            p.sumY += r.sumY;
            p.firstX = std::min(p.firstX, r.firstX);
            p.firstY = std::min(p.firstY, r.firstY);
            p.left = std::min(p.left, r.left);
            p.top = std::min(p.top, r.top);
            p.right = std::max(p.right, r.right);
            p.bottom = std::max(p.bottom, r.bottom);
            r.pixelCount = 0;
        }
        std::vector<int64_t> remap(at(size));
        for (int64_t k = 0; k < size; ++k)
            remap[at(k)] = k;
        int64_t m = 0;
        for (int64_t i = 1; i <= count; ++i) {
            if (records[at(i)].pixelCount > 0) {
                ++m;
                if (i != m) {
                    records[at(m)] = records[at(i)];
                    records[at(m)].parent = 0;
                }
                remap[at(i)] = m;
            } else {
                remap[at(i)] = remap[at(records[at(i)].parent)];
            }
        }
        if (m >= count)
            return;
        if (labels.type != 0)
            for (const VexaBox& box : remapped)
                for (int64_t y = box.top; y <= box.bottom; ++y)
                    for (int64_t x = box.left; x <= box.right; ++x)
                        mapPixel(labels, labels.pixels[at(y * labels.cols + x)], remap);
        for (std::vector<int64_t>* row : {&previous, &current})
            for (int64_t x = x0; x < x0 + n; ++x)
                if ((*row)[at(x + 1)] < size)
                    (*row)[at(x + 1)] = remap[at((*row)[at(x + 1)])];
        count = condensedCount = m;
        for (int64_t i = m + 1; i < capacity(); ++i)
            records[at(i)] = {};
    }

    static void mapPixel(const PlainLabelImage& labels, int64_t& pixel, const std::vector<int64_t>& remap)
    {
        const auto size = static_cast<int64_t>(remap.size());
        if (labels.type == PIX_BYTE)
            pixel = remap[at(pixel)] & 255;
        else if (labels.type == PIX_FLOAT)
            pixel = remap[at(std::min<int64_t>(pixel, 255))] & 255;
        else
            pixel = labels.stored(remap[at(pixel & (size - 1))]);
    }
};

} // namespace vexa::test

#endif
