#include "vexalib/defects.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "inspect/defect_order.h"
#include "support/buffer.h"
#include "vexalib/blob_table.h"
#include "vexalib/blobs.h"
#include "vexalib/frames.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr double kAreaScale = 50.0;

struct DefectRecord {
    float x;
    float y;
    float area;
    float intensity;
    int32_t number; // the blob's, so that equals keep their order in the sort
};

DefectRecord measureBlob(int32_t blob, int64_t zero)
{
    int32_t count = 0, sum = 0;
    I_GetBlobMoments1(blob, &count, &sum, nullptr, nullptr);
    VexaPoint first = {};
    I_GetBlobFirstPixel(blob, &first);
    const auto contrast = static_cast<double>(std::abs(sum - count * zero));
    const int64_t meanContrast = std::abs(sum / std::max(count, 1) - zero);
    return {static_cast<float>(first.x), static_cast<float>(first.y),
            static_cast<float>(contrast / kAreaScale), static_cast<float>(meanContrast), blob};
}

bool areNearer(const DefectRecord& a, const DefectRecord& b, int32_t distance)
{
    const double dx = double{a.x} - b.x, dy = double{a.y} - b.y;
    return distance > 0 && dx * dx + dy * dy < 1.0 * distance * distance;
}

// Of two defects nearer than minDist the one with the smaller area goes, of equals the earlier one.
void thinOut(Buffer<DefectRecord>& defects, int32_t minDist)
{
    // Blobs are as a rule numbered by the rows in which they begin: from the first that is too far down, all are.
    const bool inOrder =
        std::is_sorted(defects.begin(), defects.end(),
                       [](const DefectRecord& a, const DefectRecord& b) { return a.y < b.y; });
    const float reach = inOrder ? static_cast<float>(minDist) : std::numeric_limits<float>::infinity();
    for (DefectRecord& defect : defects) {
        // Required: a defect that was removed on the way goes on removing others by the area it had.
        const float area = defect.area;
        if (area == 0.0F)
            continue;
        for (DefectRecord* other = &defect + 1; other != defects.end() && other->y - defect.y < reach;
             ++other) {
            if (other->area == 0.0F || !areNearer(defect, *other, minDist))
                continue;
            DefectRecord& smaller = other->area < area ? *other : defect;
            smaller.area = smaller.intensity = 0.0F;
        }
    }
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ListDefects(int32_t imDiff, VexaPoint* positions, double* values, int32_t maxDefects,
                      int32_t minDist, double threshold, int32_t sortMode)
{
    const int32_t clipMode = I_GetClipMode();
    const bool isSigned = clipMode == kSignedClipMode || clipMode == kHalfSignedClipMode;
    if (clipMode == kHalfSignedClipMode)
        threshold /= 2.0;
    const int32_t searched = isSigned
                                 ? I_FindBlobs1(kSignedZero + threshold, kSignedZero - threshold, imDiff, 0)
                                 : I_FindBlobs1(threshold, 256.0, imDiff, 0);
    I_SetError(0, "");
    const int32_t blobs = I_GetBlobCount();
    if (!searched || blobs == 0)
        return 0;
    Buffer<DefectRecord> defects(blobs);
    if (malloctest(defects.data(), "I_ListDefects"))
        return 0;
    for (int32_t blob = 0; blob < blobs; ++blob)
        defects[blob] = measureBlob(blob, isSigned ? int64_t{kSignedZero} : 0);
    thinOut(defects, minDist);
    sortWorstFirst(defects, sortMode);
    int32_t listed = 0;
    for (; listed < std::min(blobs, maxDefects) && defects[listed].area != 0.0F; ++listed) {
        const DefectRecord& defect = defects[listed];
        if (positions)
            positions[listed] = {Rnd(defect.x), Rnd(defect.y)};
        if (values)
            values[listed] = static_cast<double>(sortMode != 0 ? defect.intensity : defect.area);
    }
    return listed;
}
