#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/image_table.h"
#include "core/roi.h"
#include "inspect/defect_order.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/align1d.h"
#include "vexalib/arithmetic.h"
#include "vexalib/blob_table.h"
#include "vexalib/blobs.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/defects.h"
#include "vexalib/frames.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/numeric.h"
#include "vexalib/rank.h"
#include "vexalib/roi.h"
#include "vexalib/roi_store.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

constexpr int32_t kMostBlobs = 20000;
constexpr int32_t kManyBlobs = 50; // from here on progress is told
constexpr int32_t kWidestMargin = 50;
constexpr int32_t kAlignMargin = 2;
constexpr float kLeastQuality = 0.1F;
constexpr double kEnergyScale = 180.0;
constexpr float kLargeRatio = 0.3F; // of the image's side: such a defect stays alone
constexpr int32_t kDefaultMergeRange = 3;

// The record of a list; the debug trace shows its words as they lie.
struct DefectRecord {
    float x, y; // the first pixel
    float area;
    float intensity;
    float energy;
    int32_t number; // of the blob, so that equals keep their order
    int32_t left, top, right, bottom;
    int32_t width, height;
    float ratio; // the box against the image
};
static_assert(sizeof(DefectRecord) == 52);

// What a list is made with.
struct Settings {
    int32_t imDef, imRef, imDiff;
    int32_t clipMode;
    int32_t zero; // value of no difference
    float threshold;
    float minArea;
    int32_t alignRange;
    int32_t dilation;
    int32_t mergeDistance;
    int32_t cols, rows;
};

// The spots of the difference, as blobs.
void findSpots(const Settings& s, int32_t im)
{
    if (s.zero != 0)
        I_FindBlobs1(s.zero + double{s.threshold}, s.zero - double{s.threshold}, im, 0);
    else
        I_FindBlobs1(double{s.threshold}, 256.0, im, 0);
}

void removeSmallSpots(const Settings& s, int32_t im)
{
    I_FindBlobs1(1.0, 255.0, im, 0);
    const int32_t blobs = I_GetBlobCount();
    for (int32_t blob = 0; blob < blobs; ++blob) {
        int32_t count = 0, left = 0, top = 0, right = 0, bottom = 0;
        I_GetBlobMoments1(blob, &count, nullptr, nullptr, nullptr);
        I_GetBlobBoundingBox(blob, &left, &top, &right, &bottom);
        if (!(static_cast<float>(count) > s.minArea))
            I_ClearRect(left, top, right, bottom, 0, im);
    }
}

// The same after neighbouring spots have grown together. False without memory.
[[nodiscard]] bool findGrownSpots(const Settings& s)
{
    const int32_t im = I_CloneImageEx(s.imDiff, PIX_BYTE, 1, "ListDefects imThresh");
    if (im == 0)
        return false;
    const ImageGuard close(im);
    I_TellProgress(0.0F, 1.0F, "ListDefects Dilate");
    if (s.zero != 0)
        I_ScaleIntensityROIAbs(im, im, -s.zero, 1.0);
    I_ScaleIntensityROI(im, im, -double{s.threshold}, 1.0);
    {
        const RoiGuard region;
        I_ReverseROI(im);
        I_ClearROI(0, im);
    }
    // Small spots must not bridge larger ones.
    if (s.minArea >= 1.0F)
        removeSmallSpots(s, im);
    I_BinaryDilate(im, im, s.dilation);
    I_FindBlobs1(1.0, 255.0, im, 0);
    return true;
}

// The window's difference anew, at the shift that fits there.
void realign(const Settings& s, const DefectRecord& d, int32_t margin)
{
    I_SetWindowROI(d.left - kAlignMargin, d.top - kAlignMargin, d.right + kAlignMargin,
                   d.bottom + kAlignMargin);
    float dx = 0.0F, dy = 0.0F, qualX = 0.0F, qualY = 0.0F;
    I_ImageAlign1D(s.imDef, s.imRef, d.left - margin, d.top - margin, d.width + 2 * margin,
                   d.height + 2 * margin, std::min(d.width / 2, s.alignRange),
                   std::min(d.height / 2, s.alignRange), &dx, &dy, &qualX, &qualY);
    if (qualX < kLeastQuality)
        dx = 0.0F;
    if (qualY < kLeastQuality)
        dy = 0.0F;
    I_Subtract1Ex(s.imDef, s.imRef, s.imDiff, dx, dy, s.clipMode, 0.0F, nullptr);
}

// Peak, area and energy of the differences inside the region, both sides of no difference folded together.
void measureDifference(const Settings& s, DefectRecord& d)
{
    uint32_t histogram[256] = {};
    I_MaxRGB(s.imDiff, s.imDiff);
    I_CalcHist(histogram, s.imDiff);
    int32_t peak = 0;
    int64_t sum = 0, area = 0;
    for (int32_t difference = 0; difference < 256; ++difference) {
        const int32_t above = s.zero + difference, below = s.zero - difference;
        int64_t count = above < 256 ? histogram[above] : 0;
        if (s.zero > 0 && difference > 0 && below >= 0)
            count += histogram[below];
        if (count >= 1)
            peak = difference;
        sum += count * difference;
        if (static_cast<float>(difference) >= s.threshold)
            area += count;
    }
    const bool isBelow = s.threshold > static_cast<float>(peak);
    d.area = isBelow ? 0.0F : static_cast<float>(area);
    d.energy =
        isBelow ? 0.0F : static_cast<float>(std::sqrt(std::fabs(static_cast<double>(sum) / kEnergyScale)));
    d.intensity = d.area != 0.0F ? static_cast<float>(peak) : 0.0F;
}

// The box without the dilation, which was cut at the image's edges.
void undoDilation(const Settings& s, DefectRecord& d)
{
    if (d.left > 0)
        d.left += s.dilation;
    if (d.top > 0)
        d.top += s.dilation;
    if (d.right < s.cols - 1)
        d.right -= s.dilation;
    if (d.bottom < s.rows - 1)
        d.bottom -= s.dilation;
    d.width = d.right - d.left + 1;
    d.height = d.bottom - d.top + 1;
    d.ratio = std::max(static_cast<float>(d.width) / static_cast<float>(s.cols),
                       static_cast<float>(d.height) / static_cast<float>(s.rows));
}

DefectRecord measureSpot(const Settings& s, int32_t blob, int32_t blobs)
{
    DefectRecord d = {};
    d.number = blob;
    I_GetBlobBoundingBox(blob, &d.left, &d.top, &d.right, &d.bottom);
    d.width = d.right - d.left + 1;
    d.height = d.bottom - d.top + 1;
    if (blobs > kManyBlobs)
        I_TellProgressEx(static_cast<float>(blob), static_cast<float>(blobs), "ListDefects %d of %d: %dx%d",
                         blob, blobs, d.width, d.height);
    const int32_t margin =
        static_cast<int32_t>(std::clamp<int64_t>(int64_t{s.alignRange} - s.dilation, 1, kWidestMargin));
    I_SetWindowROI(d.left - margin, d.top - margin, d.right + margin, d.bottom + margin);
    if (s.alignRange > 0)
        realign(s, d, margin);
    measureDifference(s, d);
    VexaPoint first = {};
    I_GetBlobFirstPixel(blob, &first);
    d.x = static_cast<float>(int64_t{first.x} + s.dilation + 1);
    d.y = static_cast<float>(int64_t{first.y} + s.dilation + 1);
    undoDilation(s, d);
    return d;
}

// One axis of two boxes.
struct Spans {
    int32_t lowA, highA, lowB, highB;

    bool areApart(int32_t distance) const { return lowA - highB > distance || lowB - highA > distance; }
    bool overlap() const
    {
        const int32_t a = (lowA + highA) / 2, b = (lowB + highB) / 2;
        return (a > lowB && a < highB) || (b > lowA && b < highA);
    }
    bool areAligned(int32_t distance) const
    {
        return std::min({std::abs(lowA - highB), std::abs(lowB - highA), std::abs(lowA - lowB),
                         std::abs(highB - highA)}) <= distance;
    }
};

bool belongTogether(const DefectRecord& a, const DefectRecord& b, int32_t distance)
{
    const Spans x = {a.left, a.right, b.left, b.right}, y = {a.top, a.bottom, b.top, b.bottom};
    if (x.areApart(distance) || y.areApart(distance))
        return false;
    return (x.overlap() && y.overlap()) || (x.areAligned(distance) && y.areAligned(distance));
}

void merge(const Settings& s, DefectRecord& into, DefectRecord& from)
{
    into.left = std::min(into.left, from.left);
    into.top = std::min(into.top, from.top);
    into.right = std::max(into.right, from.right);
    into.bottom = std::max(into.bottom, from.bottom);
    const auto zero = static_cast<float>(s.zero);
    const int32_t a = truncToInt32(into.intensity - zero), b = truncToInt32(from.intensity - zero);
    into.intensity = static_cast<float>((std::abs(b) > std::abs(a) ? b : a) + s.zero);
    into.area += from.area;
    into.energy = std::hypot(into.energy, from.energy);
    // Required: a division of integers, 0 unless the box spans the image.
    into.ratio = static_cast<float>(
        std::max((into.right - into.left + 1) / s.cols, (into.bottom - into.top + 1) / s.rows));
    from.area = from.intensity = from.energy = 0.0F;
}

void mergeNeighbours(const Settings& s, Buffer<DefectRecord>& defects)
{
    const auto mayMerge = [](const DefectRecord& d) { return d.area != 0.0F && d.ratio <= kLargeRatio; };
    for (DefectRecord& a : defects) {
        if (!mayMerge(a))
            continue;
        for (DefectRecord& b : defects)
            if (&a != &b && mayMerge(b) && belongTogether(a, b, s.mergeDistance))
                merge(s, a, b);
    }
}

bool isLargeEnough(const DefectRecord& d, float minSize)
{
    if (d.area == 0.0F)
        return false;
    return minSize >= 0.0F ? d.energy >= minSize : std::sqrt(std::fabs(d.area)) >= -minSize;
}

void trace(const Buffer<DefectRecord>& defects, int32_t listed)
{
    I_PostMessage("Blobcnt=%d, nDefects=%d\nx  y  area intensity\n", static_cast<int32_t>(defects.size()),
                  listed);
    constexpr int32_t kColumns = 4;
    constexpr int64_t kCharacters = 50; // of the longest float and a separator
    Buffer<char> text(std::max<int64_t>(9000, listed * kColumns * kCharacters));
    if (!text || listed < 1)
        return;
    FormatArray(text.data(), defects.data(), sizeof(float), kColumns, listed, "%f");
    I_PostMessage("%s", text.data());
}

struct Outputs {
    VexaPoint* positions;
    VexaBox* boxes;
    double* values;
};

int32_t writeList(const Buffer<DefectRecord>& defects, const Outputs& out, int32_t most, float minSize,
                  float energy)
{
    int32_t listed = 0;
    for (int64_t i = 0; i < defects.size() && listed < std::min<int64_t>(defects.size(), most); ++i) {
        const DefectRecord& d = defects[i];
        if (!isLargeEnough(d, minSize))
            continue;
        if (out.positions)
            out.positions[listed] = {Rnd(d.x), Rnd(d.y)};
        if (out.boxes)
            out.boxes[listed] = {d.left, d.top, d.right, d.bottom};
        // Required: every entry gets the energy of the blob that was measured last.
        if (out.values)
            out.values[listed] = double{energy};
        ++listed;
    }
    return listed;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ListDefects3(int32_t imDef, int32_t imRef, int32_t imDiff, VexaPoint* positions, VexaBox* boxes,
                       double* values, int32_t maxDefects, int32_t, float threshold, float minSize,
                       int32_t sortMode, int32_t alignRange, int32_t mergeRange)
{
    Settings s = {};
    s.imDef = imDef;
    s.imRef = imRef;
    s.imDiff = imDiff;
    s.minArea = minSize >= 0.0F ? minSize * minSize : -minSize;
    const int64_t range = std::clamp<int64_t>(mergeRange, -kMostBlobs, kMostBlobs);
    s.dilation = static_cast<int32_t>(2 * range / 8);
    s.mergeDistance = static_cast<int32_t>(2 * range - 2 * s.dilation);
    s.alignRange = alignRange;
    s.clipMode = I_GetClipMode();
    s.threshold = s.clipMode == kHalfSignedClipMode ? threshold / 2.0F : threshold;
    s.zero = s.clipMode == kSignedClipMode || s.clipMode == kHalfSignedClipMode ? kSignedZero : 0;
    if (!I_ImGetSize(&s.cols, &s.rows, nullptr, imDiff) || s.cols < 1 || s.rows < 1)
        return 0;
    I_MaxRGB(imDiff, imDiff);
    I_SetBlobTableSize(kMostBlobs);
    if (s.dilation < 1)
        findSpots(s, imDiff);
    else if (!findGrownSpots(s))
        return 0;
    I_SetError(0, "");
    const int32_t blobs = std::min(I_GetBlobCount(), kMostBlobs);
    if (blobs < 1)
        return 0;
    Buffer<DefectRecord> defects(blobs);
    if (malloctest(defects.data(), "I_ListDefects3"))
        return 0;
    const RoiGuard region;
    for (int32_t blob = 0; blob < blobs; ++blob)
        defects[blob] = measureSpot(s, blob, blobs);
    const float lastEnergy = defects[blobs - 1].energy;
    I_TellProgressEx(1.0F, 1.0F, "ListDefects Finish");
    mergeNeighbours(s, defects);
    if (sortMode != 0)
        sortWorstFirst(defects, sortMode);
    const int32_t listed = writeList(defects, {positions, boxes, values}, maxDefects, minSize, lastEnergy);
    if (I_GetDebug())
        trace(defects, listed);
    I_TellProgressEx(0.0F, 0.0F, "");
    return listed;
}

int32_t I_ListDefects2(int32_t imDef, int32_t imRef, int32_t imDiff, VexaPoint* positions, double* values,
                       int32_t maxDefects, int32_t reserved, float threshold, float minSize, int32_t sortMode,
                       int32_t alignRange, int32_t mergeRange)
{
    return I_ListDefects3(imDef, imRef, imDiff, positions, nullptr, values, maxDefects, reserved, threshold,
                          minSize, sortMode, alignRange, mergeRange);
}

int32_t I_ListDefects1(int32_t imDef, int32_t imRef, int32_t imDiff, VexaPoint* positions, double* values,
                       int32_t maxDefects, int32_t reserved, float threshold, float minSize, int32_t sortMode,
                       int32_t alignRange)
{
    return I_ListDefects2(imDef, imRef, imDiff, positions, values, maxDefects, reserved, threshold, minSize,
                          sortMode, alignRange, kDefaultMergeRange);
}
