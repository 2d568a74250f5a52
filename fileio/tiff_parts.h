// What the pieces of the TIFF reader and writer share.
#ifndef VEXA_FILEIO_TIFF_PARTS_H
#define VEXA_FILEIO_TIFF_PARTS_H

#include <cstdint>

#include "vexalib/tiff.h"

namespace vexa
{

// The colour modes, and what the header read last said.
struct TiffState {
    int32_t writeRGB = 0;     // three samples a pixel are written
    int32_t readRGB = 0;      // the file has three samples a pixel
    int32_t closestColor = 0; // colour read into one band: the nearest palette index in place of the mean
    int32_t inverted = 0;     // low samples are bright
    int32_t hasPalette = 0;   // the file read last brought a palette
};
TiffState& tiffState();

// The tables of a palette.
struct TiffTables {
    uint8_t red[256] = {};
    uint8_t green[256] = {};
    uint8_t blue[256] = {};

    VexaTiffPalette palette() { return {red, green, blue}; }
    // From and to 256 entries of blue, green, red and spare bytes.
    void fromEntries(const uint8_t* entries)
    {
        for (int32_t i = 0; i < 256; ++i) {
            blue[i] = entries[4 * i];
            green[i] = entries[4 * i + 1];
            red[i] = entries[4 * i + 2];
        }
    }
    void toEntries(uint8_t* entries) const
    {
        for (int32_t i = 0; i < 256; ++i) {
            entries[4 * i] = blue[i];
            entries[4 * i + 1] = green[i];
            entries[4 * i + 2] = red[i];
            entries[4 * i + 3] = 0;
        }
    }
};

} // namespace vexa

#endif
