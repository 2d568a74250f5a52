// The shift between two pictures of one scene.
#ifndef VEXA_APPS_ALIGN_H
#define VEXA_APPS_ALIGN_H

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"

namespace app
{

enum class AlignMode { automatic, smart, search, tiles, none };

struct AlignSettings {
    AlignMode mode = AlignMode::automatic;
    int32_t maxShift = 12; // pixels each way around the start
    int32_t tile = 256;    // side of the tiles, for AlignMode::automatic and tiles
    VexaPoint start = {0, 0};
};

struct AxisShift {
    double shift = 0.0;    // the defect picture at x lies on the reference at x + shift
    double quality = 0.0;  // 1: the two agree; 0: nothing to align on
    double contrast = 0.0; // of the pattern, as a part of black to white
    double repeat = 0.0;   // distance at which the pattern repeats, in pixels; 0 for none
};

struct Alignment {
    std::string method = "none"; // "none", "smart", "search"; "+ tiles" where tiles were aligned too
    AxisShift x, y;
    std::vector<std::string> warnings; // why the shift may be wrong, in words
};

// Both pictures are grey and of one size.
Alignment findShift(const Image& reference, const Image& defect, const AlignSettings& settings);

const char* alignName(AlignMode mode);
// One line: shift, quality, contrast, repeat distance.
std::string shiftSentence(const Alignment& alignment);

} // namespace app

#endif
