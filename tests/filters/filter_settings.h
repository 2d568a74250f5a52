// Neighbourhood filters in many settings: sizes, types, regions, borders, kinds of image, each drawn from a
// seed, a filter and its plain reference side by side.
#ifndef VEXA_TESTS_FILTERS_FILTER_SETTINGS_H
#define VEXA_TESTS_FILTERS_FILTER_SETTINGS_H

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/error.h"
#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/neighbourhood.h"

namespace vexa::test
{

// Puts region, border, images and error back behind each test.
class NeighbourhoodFilters : public testing::Test
{
protected:
    void TearDown() override
    {
        I_SetBorderMode(-1, nullptr, 0);
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }
    // An image of the size of another, 9 everywhere.
    static int32_t like(int32_t im, int32_t type = PIX_BYTE)
    {
        int32_t cols = 0, rows = 0;
        I_ImGetSize(&cols, &rows, nullptr, im);
        return image(cols, rows, type, [](int32_t, int32_t) { return 9; });
    }
};

using Filter = std::function<int32_t(int32_t src, int32_t dst)>;

// The described working types.
inline int32_t widest(int32_t src, int32_t dst)
{
    return WidestPixelType(src, dst, 4095);
}
inline int32_t narrowest(int32_t src, int32_t dst)
{
    return NarrowestPixelType(src, dst, 4095, 1);
}

// NW, N, NE, W, CTR, E, SW, S, SE.
template <typename Pixel>
using Nine = std::array<Pixel, 9>;

template <typename Pixel>
Nine<Pixel> nineAt(void** rows, int32_t width, int32_t height, int32_t i)
{
    Nine<Pixel> nine;
    const int32_t lines[] = {0, height / 2, height - 1};
    const int32_t columns[] = {0, width / 2, width - 1};
    for (std::size_t k = 0; k < 9; ++k)
        nine[k] = static_cast<const Pixel*>(rows[lines[k / 3]])[i + columns[k % 3]];
    return nine;
}

// Runs a function of nine samples as an application would, through the public frame.
template <typename Pixel>
int32_t runNine(int32_t src, int32_t dst, int32_t width, int32_t height, int32_t type,
                std::function<Pixel(const Nine<Pixel>&)> pixel)
{
    const MxNRowFilter row = [](int32_t, int32_t, int32_t w, int32_t h, void** rows, void* out, void*,
                                int32_t n, void* user) -> int32_t {
        const auto& function = *static_cast<std::function<Pixel(const Nine<Pixel>&)>*>(user);
        for (int32_t i = 0; i < n; ++i)
            static_cast<Pixel*>(out)[i] = function(nineAt<Pixel>(rows, w, h, i));
        return 1;
    };
    return I_MxNOperatorType(src, dst, width, height, &pixel, row, type);
}

inline int32_t runNineBytes(int32_t src, int32_t dst, int32_t width, int32_t height,
                            std::function<uint8_t(const Nine<uint8_t>&)> pixel)
{
    return runNine<uint8_t>(src, dst, width, height, PIX_BYTE, std::move(pixel));
}

// Two images and what they stand on, the same for the same seed.
class FilterScene
{
public:
    FilterScene(uint32_t seed, const std::vector<int32_t>& types) : random_(seed)
    {
        const std::pair<int32_t, int32_t> sizes[] = {{2, 1},  {1, 2},  {2, 2},  {3, 4},  {5, 3},   {9, 17},
                                                     {16, 8}, {33, 5}, {64, 4}, {65, 9}, {70, 50}, {2100, 5}};
        const auto [cols, rows] = sizes[random_() % std::size(sizes)];
        src = open(cols, rows, types[random_() % types.size()]);
        switch (random_() % 4) {
        case 0:
            dst = src;
            break;
        case 1:
            dst = open(std::max(1, cols - pick(3)), rows + pick(3), types[random_() % types.size()]);
            break;
        default:
            dst = open(cols, rows, I_ImGetType(src));
        }
        chooseRegion(cols, rows);
        chooseBorder();
        if (random_() % 4 == 0)
            I_SetColorBand(pick(3));
    }
    ~FilterScene()
    {
        I_ImCloseAll();
        I_SetROIType(0);
        I_SetBorderMode(-1, nullptr, 0);
        I_SetColorBand(-1);
        clearError();
    }
    FilterScene(const FilterScene&) = delete;
    FilterScene& operator=(const FilterScene&) = delete;

    // Every byte of every image, in front of, behind and between the pixels as well.
    std::vector<std::vector<uint8_t>> contents() const
    {
        std::vector<std::vector<uint8_t>> all;
        for (const auto& store : stores_)
            all.push_back(*store);
        for (const int32_t im : {src, dst}) {
            int32_t cols = 0, rows = 0, bytes = 0;
            I_ImGetSize(&cols, &rows, &bytes, im);
            std::vector<uint8_t> pixels(static_cast<std::size_t>(cols * rows * bytes));
            I_GetBlockType(0, 0, cols, rows, pixels.data(), im, I_ImGetType(im));
            all.push_back(pixels);
        }
        return all;
    }
    std::string description() const { return description_; }

    int32_t src = 0;
    int32_t dst = 0;

private:
    int32_t pick(int32_t n) { return static_cast<int32_t>(random_() % static_cast<uint32_t>(n)); }

    int32_t open(int32_t cols, int32_t rows, int32_t type)
    {
        int32_t im = 0;
        switch (random_() % 6) {
        case 0: { // the application's own memory, at any address
            const int32_t stride = cols * I_ImTypeBytes(type) + pick(9);
            stores_.push_back(std::make_unique<std::vector<uint8_t>>(
                static_cast<std::size_t>(stride * rows + 16), uint8_t{0xA5}));
            im = I_ImOpenPtr(cols, rows, stride, type, stores_.back()->data() + pick(9));
            fill(im, type);
            break;
        }
        case 1: { // a window on a larger image
            const int32_t parent = I_ImOpen(cols + 5, rows + 4, type);
            fill(parent, type);
            im = I_ImOpenSubimage(2, 3, cols, rows, parent);
            break;
        }
        case 2:
            im = I_ImOpenStride(cols, rows, (cols + pick(5)) * I_ImTypeBytes(type), type);
            fill(im, type);
            break;
        case 3: // bottom-up in storage
            im = I_ImOpen(cols, rows, type);
            fill(im, type);
            I_ImInvertRows(im);
            break;
        case 4: // pixels without an address
            im = I_ImOpenFile(cols, rows, 0, type, nullptr);
            fill(im, type);
            break;
        default:
            im = I_ImOpen(cols, rows, type);
            fill(im, type);
        }
        description_ +=
            " " + std::to_string(cols) + "x" + std::to_string(rows) + " type " + std::to_string(type);
        return im;
    }

    // Noise; flat in places, so that equal neighbours and zeros occur.
    void fill(int32_t im, int32_t type)
    {
        int32_t cols = 0, rows = 0, bytes = 0;
        I_ImGetSize(&cols, &rows, &bytes, im);
        const int32_t levels = random_() % 2 ? 256 : 3;
        std::vector<uint8_t> line(static_cast<std::size_t>(cols * bytes));
        for (int32_t y = 0; y < rows; ++y) {
            for (int32_t i = 0; i < cols * bytes; ++i)
                line[static_cast<std::size_t>(i)] = static_cast<uint8_t>(pick(levels));
            for (int32_t x = 0; type == PIX_FLOAT && x < cols; ++x) {
                const float value = static_cast<float>(pick(levels * 16) - levels * 4) / 8.0F;
                std::memcpy(line.data() + x * 4, &value, 4);
            }
            I_PutBlockType(0, y, cols, 1, line.data(), im, type);
        }
    }

    void chooseRegion(int32_t cols, int32_t rows)
    {
        const int32_t kind = pick(5);
        description_ += " region " + std::to_string(kind);
        if (kind == 0) {
            I_SetROIType(0);
        } else if (kind == 1) {
            I_SetWindowROI(pick(cols), pick(rows), pick(cols), pick(rows));
        } else if (kind == 2) {
            const VexaPoint corners[] = {
                {pick(cols), pick(rows)}, {pick(cols), pick(rows)}, {pick(cols), pick(rows)}};
            I_SetPolygonROI(corners, 3);
        } else if (kind == 3) { // the whole image as a window
            I_SetWindowROI(0, 0, cols - 1, rows - 1);
        } else { // several runs on a line, and lines without any
            std::vector<VexaPoint> runs;
            for (int32_t y = 0; y < rows; y += 1 + pick(3)) {
                for (int32_t x = pick(3); x < cols;) {
                    const int32_t end = x + pick(12);
                    runs.push_back({x, y});
                    runs.push_back({end, y});
                    x = end + 2 + pick(40);
                }
            }
            I_SetScanlistROI(runs.data(), static_cast<int32_t>(runs.size()));
        }
    }

    void chooseBorder()
    {
        const int32_t kind = pick(4);
        description_ += " border " + std::to_string(kind);
        const float constant = 77.5F;
        switch (kind) {
        case 0:
            I_SetBorderMode(-2, nullptr, 0);
            break;
        case 1:
            I_SetBorderMode(pick(256), nullptr, 0);
            break;
        case 2:
            I_SetBorderMode(0, &constant, PIX_FLOAT);
            break;
        default:
            I_SetBorderMode(-1, nullptr, 0);
        }
    }

    std::mt19937 random_;
    std::vector<std::unique_ptr<std::vector<uint8_t>>> stores_;
    std::string description_;
};

inline const std::vector<int32_t> kAllTypes = {PIX_BYTE,  PIX_BYTE,    PIX_BYTE,  PIX_WORD, PIX_DWORD,
                                               PIX_FLOAT, PIX_PALETTE, PIX_BGR24, PIX_RGB32};

// Results, pixels and everything around them are the same, on every instruction set.
inline void expectSame(const Filter& filter, const Filter& reference,
                       const std::vector<int32_t>& types = kAllTypes, uint32_t scenes = 60)
{
    for (uint32_t seed = 1; seed <= scenes; ++seed) {
        std::vector<std::vector<uint8_t>> expected;
        int32_t expectedStatus = 0;
        {
            FilterScene scene(seed, types);
            expectedStatus = reference(scene.src, scene.dst);
            expected = scene.contents();
        }
        for (const InstructionSet set : availableInstructionSets()) {
            limitInstructionSet(set);
            FilterScene scene(seed, types);
            const int32_t status = filter(scene.src, scene.dst);
            limitInstructionSet(InstructionSet::avx512);
            ASSERT_EQ(expectedStatus, status) << "seed " << seed << scene.description();
            ASSERT_TRUE(expected == scene.contents())
                << "seed " << seed << " set " << static_cast<int32_t>(set) << scene.description();
        }
    }
}

// Calls of I_UserBreak, of which each pass on a small image makes one.
inline int32_t breakCalls = 0;
inline int32_t breakAt = 0;
inline int32_t countBreaks(int32_t)
{
    return ++breakCalls == breakAt;
}

class BreakHook
{
public:
    explicit BreakHook(int32_t at)
    {
        breakCalls = 0;
        breakAt = at;
        setUserBreakHook(countBreaks);
    }
    ~BreakHook() { setUserBreakHook(nullptr); }
    BreakHook(const BreakHook&) = delete;
    BreakHook& operator=(const BreakHook&) = delete;
};

} // namespace vexa::test

#endif
