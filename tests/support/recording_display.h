// A display that shows nothing and remembers what was drawn on it.
#ifndef VEXA_TESTS_SUPPORT_RECORDING_DISPLAY_H
#define VEXA_TESTS_SUPPORT_RECORDING_DISPLAY_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vexalib/platform.h"

namespace vexa::test
{

// One drawing of a bitmap.
struct Drawing {
    void* target = nullptr;
    VexaStretch stretch = {}; // its pointers hold during the drawing only
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bits = 0;
    std::vector<uint8_t> palette;       // of the bitmap: blue, green, red, 0 of each entry
    std::vector<uint8_t> targetPalette; // red, green, blue, 0 of 256 entries
    std::vector<uint8_t> bytes;         // of the pixels, top row first, without what pads the rows

    // A byte of a pixel: the index of 8 bits; blue, green, red of 24 bits.
    int32_t at(int32_t x, int32_t y, int32_t byte = 0) const
    {
        const int64_t pixel = int64_t{y} * cols + x;
        return bytes.at(static_cast<std::size_t>(pixel * (bits / 8) + byte));
    }
    bool hasColor(int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue) const
    {
        return at(x, y, 2) == red && at(x, y, 1) == green && at(x, y, 0) == blue;
    }
};

// The platform's display while it lives. Windows and targets are any addresses.
class RecordingDisplay
{
public:
    RecordingDisplay()
    {
        current() = this;
        VexaPlatform platform = {};
        platform.size = sizeof platform;
        platform.messageBox = [](const char*, const char*, int32_t, int32_t answer) { return answer; };
        platform.openDisplay = [](void* window) { return current()->open(window); };
        platform.closeDisplay = [](void* window, void* target) { current()->close(window, target); };
        platform.stretchBitmap = [](void* target, const VexaStretch* stretch) {
            return current()->draw(target, *stretch);
        };
        vexaSetPlatform(&platform);
    }
    ~RecordingDisplay()
    {
        vexaSetPlatform(nullptr);
        current() = nullptr;
    }
    RecordingDisplay(const RecordingDisplay&) = delete;
    RecordingDisplay& operator=(const RecordingDisplay&) = delete;

    std::vector<Drawing> drawings;
    std::vector<void*> opened; // windows, null for the screen
    int32_t openTargets = 0;
    bool refuses = false; // gives no target

    // The target on a window.
    void* targetOf(void* window) { return window ? window : &openTargets; }

private:
    static RecordingDisplay*& current()
    {
        static RecordingDisplay* display = nullptr;
        return display;
    }

    void* open(void* window)
    {
        opened.push_back(window);
        if (refuses)
            return nullptr;
        ++openTargets;
        return targetOf(window);
    }

    void close(void* window, void* target)
    {
        if (target == targetOf(window))
            --openTargets;
    }

    int32_t draw(void* target, const VexaStretch& stretch)
    {
        Drawing drawing;
        drawing.target = target;
        drawing.stretch = stretch;
        const auto* header = static_cast<const uint8_t*>(stretch.header);
        const auto word = [header](int32_t at) {
            int32_t value = 0;
            std::memcpy(&value, header + at, sizeof value);
            return value;
        };
        drawing.cols = word(4);
        drawing.rows = std::abs(word(8));
        drawing.bits = word(12) >> 16;
        if (drawing.bits == 8)
            drawing.palette.assign(header + 40, header + 40 + 1024);
        drawing.targetPalette.assign(stretch.palette, stretch.palette + 1024);
        const int64_t rowBytes = int64_t{drawing.cols} * drawing.bits / 8;
        const int64_t stride = (rowBytes + 3) & ~int64_t{3};
        for (int64_t y = 0; y < drawing.rows; ++y) {
            const int64_t row = word(8) > 0 ? drawing.rows - 1 - y : y;
            const auto* from = static_cast<const uint8_t*>(stretch.pixels) + row * stride;
            drawing.bytes.insert(drawing.bytes.end(), from, from + rowBytes);
        }
        drawings.push_back(drawing);
        return stretch.targetHeight;
    }
};

} // namespace vexa::test

#endif
