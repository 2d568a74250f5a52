#include "vexalib/rotate.h"

#include <algorithm>
#include <cstring>

#include "geometry/direct_pixels.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// One call: what is mirrored, and the runs of the region from both ends.
struct Mirror {
    int32_t imSrc;
    int32_t imDest;
    int32_t type;
    int64_t pixelBytes;
    VexaBox box;
    const VexaPoint* runs;
    int32_t first; // the runs not yet stored, from first to last
    int32_t last;
    bool isDirect; // rows are stored from where they lie in the source
    DirectPixels direct;

    int32_t width() const { return box.right - box.left + 1; }
    const VexaPoint* run(int32_t i) const { return runs + 2 * int64_t{i}; }
    int64_t mirrored(int64_t y) const { return int64_t{box.top} + box.bottom - y; }
};

// The source's pixels of a row of the box, in the buffer unless they can be stored from where they lie.
const uint8_t* readRow(const Mirror& mirror, int64_t y, uint8_t* buffer)
{
    if (mirror.isDirect)
        return mirror.direct.source + y * mirror.direct.sourceStride + mirror.box.left * mirror.pixelBytes;
    I_GetBlockType(mirror.box.left, saturateToInt32(y), mirror.width(), 1, buffer, mirror.imSrc, mirror.type);
    return buffer;
}

// True if all rows lie in memory of the source that the destination does not share.
bool findDirectRows(Mirror& mirror)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, mirror.imSrc) || mirror.box.right >= cols ||
        mirror.box.bottom >= rows)
        return false;
    for (int32_t i = mirror.first; i <= mirror.last; ++i)
        if (mirror.run(i)->y < mirror.box.top || mirror.run(i)->y > mirror.box.bottom)
            return false;
    return findDirectPixels(mirror.imSrc, mirror.imDest, mirror.type, mirror.direct);
}

// Stores the pixels of a row into a run on row y.
void storeRun(const Mirror& mirror, const VexaPoint* run, int32_t y, const uint8_t* row)
{
    const int32_t left = std::max(run[0].x, mirror.box.left);
    const int32_t right = std::min(run[1].x, mirror.box.right);
    if (left > right)
        return;
    const int64_t offset = (int64_t{left} - mirror.box.left) * mirror.pixelBytes;
    I_PutBlockType(left, y, right - left + 1, 1, row + offset, mirror.imDest, mirror.type);
}

// The runs on one row are taken from the front of the list, and those on its mirrored row from the end. Both
// rows have been read before either is written, so that source and destination may be one image.
void mirrorRows(Mirror& mirror, uint8_t* upper, uint8_t* lower)
{
    while (mirror.first <= mirror.last) {
        const int32_t top = mirror.run(mirror.first)->y;
        const int32_t bottom = mirror.run(mirror.last)->y;
        // A row whose mirrored row has no runs stands alone: below, if that would lie above the first one.
        const int64_t balance = mirror.mirrored(bottom) - top;
        const int64_t y = balance < 0 ? mirror.mirrored(bottom) : top;
        const int64_t mirrored = mirror.mirrored(y);
        const uint8_t* const fromUpper = readRow(mirror, y, upper);
        const uint8_t* const fromLower = readRow(mirror, mirrored, lower);
        while (balance >= 0 && mirror.first <= mirror.last && mirror.run(mirror.first)->y == top)
            storeRun(mirror, mirror.run(mirror.first++), top, fromLower);
        while (balance <= 0 && mirror.first <= mirror.last && mirror.run(mirror.last)->y == bottom)
            storeRun(mirror, mirror.run(mirror.last--), bottom, fromUpper);
    }
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_VertMirror(int32_t imSrc, int32_t imDest)
{
    Mirror mirror = {};
    mirror.imSrc = imSrc;
    mirror.imDest = imDest;
    mirror.type = std::min(I_ImGetType(imSrc), I_ImGetType(imDest));
    mirror.pixelBytes = I_ImTypeBytes(mirror.type);
    VexaBox& box = mirror.box;
    if (mirror.type == 0 || !I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imDest) ||
        box.right < box.left)
        return 0;
    const int64_t bytes =
        mirror.width() * std::max(roomOfPixel(imSrc, mirror.type), roomOfPixel(imDest, mirror.type));
    Buffer<uint8_t> upper(bytes);
    Buffer<uint8_t> lower(bytes);
    if (malloctest(upper ? lower.data() : nullptr, "I_VertMirror"))
        return 0;
    int32_t points = 0;
    mirror.runs = I_ROIScanlist(&points, imDest);
    if (!mirror.runs)
        return 0;
    mirror.last = points / 2 - 1;
    mirror.isDirect = findDirectRows(mirror);
    mirrorRows(mirror, upper.data(), lower.data());
    return 1;
}
