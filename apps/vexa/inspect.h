// The inspection of a defect picture against its reference.
#ifndef VEXA_APPS_INSPECT_H
#define VEXA_APPS_INSPECT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "align.h"
#include "image.h"

namespace app
{

enum class SortBy { area, intensity, energy };

struct InspectSettings {
    int32_t threshold = 30;    // smallest difference in grey levels that counts
    int32_t edgeTolerance = 2; // by so many pixels an edge may be off
    int32_t minSize = 3;       // side of the smallest square that must differ throughout
    int32_t merge = 3;         // spots up to twice as many pixels apart are one defect
    int32_t most = 500;        // entries listed
    SortBy sort = SortBy::area;
    AlignSettings align;
    std::optional<VexaBox> region;
};

// One listed defect, measured on the difference after both pictures were aligned around it.
struct Defect {
    int32_t number = 0;      // from 1, in the order of the list
    VexaPoint position = {}; // its first pixel: of the topmost ones the leftmost
    VexaBox box = {};
    int32_t area = 0;         // pixels
    double contrast = 0.0;    // mean difference in grey levels; negative where the defect picture is darker
    double energy = 0.0;      // root of the summed differences / 180
    VexaPointF centroid = {}; // mean position of the pixels
};

struct Inspection {
    Image difference; // defect minus reference, around 128
    Image residue;    // of it, what passes threshold, tolerance and size: what the list was made from
    Alignment alignment;
    VexaBox window = {};
    std::vector<Defect> defects;
    int32_t found = 0;       // before the list was cut to its length
    bool incomplete = false; // more spots than the blob table holds
};

// Both pictures are grey and of one size.
Inspection inspect(const Image& reference, const Image& defect, const InspectSettings& settings);
// Defect minus reference around 128, in a clip mode of the library.
Image subtract(const Image& reference, const Image& defect, VexaPoint offset, int32_t clipMode);

} // namespace app

#endif
