#include "core/palette_search.h"

#include <cstdlib>
#include <cstring>

namespace vexa
{
namespace
{

constexpr int32_t kEntries = 256;
constexpr int32_t kPaletteBytes = 4 * kEntries;
constexpr uint8_t kUnknown = 1; // also what stands at the one colour whose entry is 1

struct State {
    uint8_t table[1 << 18]; // by colour, 6 bits of each component
    uint8_t palette[kPaletteBytes];
    int32_t indexOfUnknown = -1; // the colour for which 1 is the answer
    bool built = false;
};
State state;

int32_t quantised(int32_t red, int32_t green, int32_t blue)
{
    return (red >> 2) << 12 | (green >> 2) << 6 | blue >> 2;
}

int32_t quantisedEntry(int32_t entry)
{
    const uint8_t* color = state.palette + 4 * entry;
    return quantised(color[2], color[1], color[0]);
}

void build(const void* palette)
{
    std::memcpy(state.palette, palette, kPaletteBytes);
    std::memset(state.table, kUnknown, sizeof state.table);
    for (int32_t entry = 0; entry < kEntries; ++entry)
        state.table[quantisedEntry(entry)] = static_cast<uint8_t>(entry);
    state.indexOfUnknown = quantisedEntry(kUnknown);
    state.built = true;
}

// The first entry of the smallest sum of differences, or the first with a sum that is small enough.
uint8_t scan(int32_t red, int32_t green, int32_t blue)
{
    constexpr int32_t kSmallEnough = 4;
    int32_t best = 1000;
    int32_t bestEntry = 0;
    for (int32_t entry = 0; entry < kEntries && best >= kSmallEnough; ++entry) {
        const uint8_t* color = state.palette + 4 * entry;
        const int32_t sum = std::abs(color[2] - red) + std::abs(color[1] - green) + std::abs(color[0] - blue);
        if (sum < best) {
            best = sum;
            bestEntry = entry;
        }
    }
    return static_cast<uint8_t>(bestEntry);
}

} // namespace

void nearestEntries(const void* palette, const uint8_t* red, const uint8_t* green, const uint8_t* blue,
                    uint8_t* entries, int32_t n)
{
    if (!state.built || std::memcmp(state.palette, palette, kPaletteBytes) != 0)
        build(palette);
    for (int32_t i = 0; i < n; ++i) {
        const int32_t index = quantised(red[i], green[i], blue[i]);
        // Required: the first colour met with the same high bits decides for all later ones.
        if (state.table[index] == kUnknown && index != state.indexOfUnknown)
            state.table[index] = scan(red[i], green[i], blue[i]);
        entries[i] = state.table[index];
    }
}

} // namespace vexa
