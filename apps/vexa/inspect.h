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

enum class SortBy { area, intensity };

struct InspectSettings {
    int32_t threshold = 30; // smallest difference in grey levels that counts
    int32_t tolerance = 2;  // by so many pixels an edge may be off
    int32_t minWidth = 3;   // side of the smallest square that must differ throughout
    int32_t minDistance = 15;
    int32_t most = 500; // entries listed
    SortBy sort = SortBy::area;
    AlignSettings align;
    std::optional<VexaBox> region;
};

// One listed defect, measured on the plain difference.
struct Defect {
    int32_t number = 0; // from 1, in the order of the list
    VexaPoint position = {};
    VexaBox box = {};
    int32_t area = 0;         // pixels
    double contrast = 0.0;    // mean difference in grey levels; negative where the defect picture is darker
    VexaPointF centroid = {}; // mean position of the pixels
    double value = 0.0;       // what the list is sorted by, as the library gives it
};

struct Inspection {
    Pixels difference; // defect minus reference, around 128
    Pixels residue;    // of it, what passes threshold, tolerance and width: what the list was made from
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
