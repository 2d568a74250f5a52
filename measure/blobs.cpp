#include "vexalib/blobs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "core/color_convert.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "measure/blob_labelling.h"
#include "measure/blob_records.h"
#include "measure/label_image.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Byte label images: above so many records the table is condensed after each run, and with so many left by a
// condensation the image becomes one of words.
constexpr int32_t kMostByteLabels = 252;
constexpr int32_t kManyByteLabels = 192;

// The scan list as the search found it: making the list anew, for the label image or in a callback, does not change it.
class ScanList
{
public:
    ScanList(const VexaPoint* points, int32_t count)
        : points_(count < 2 ? 1 : count & ~1), size_(count < 2 ? 0 : count & ~1)
    {
        if (points_ && size_ > 0)
            std::memcpy(points_.data(), points, sizeof(VexaPoint) * static_cast<std::size_t>(size_));
    }
    explicit operator bool() const { return static_cast<bool>(points_); }

    // In points, two to a run.
    int32_t size() const { return size_; }
    // The run at point i. Columns beyond the one right of the image, and left of it, are no memory of the search's.
    ScanRun run(int32_t i, int32_t width) const
    {
        return {std::max(points_[i].x, 0), std::min(points_[i + 1].x, width), points_[i].y};
    }
    bool rowEndsAt(int32_t i) const { return i + 2 < size_ && points_[i + 2].y != points_[i].y; }

    // True where every run is in the image, or one column right of it, and comes after all that were before it.
    bool isOrderly(int32_t width, int32_t height) const
    {
        VexaPoint end = {-1, 0};
        for (int32_t i = 0; i < size_; i += 2) {
            const VexaPoint &from = points_[i], &to = points_[i + 1];
            if (from.y < end.y || from.y >= height || from.x < 0 || to.x < from.x || to.x > width)
                return false;
            if (from.y == end.y && from.x <= end.x)
                return false;
            end = {to.x, from.y};
        }
        return true;
    }

private:
    Buffer<VexaPoint> points_;
    int32_t size_;
};

// One search, from the scan list to the condensed table.
template <typename Labeller>
class Search
{
public:
    Search(int32_t imSrc, int32_t imLabel, int32_t width, const uint8_t* lut)
        : imSrc_(imSrc), width_(width), foreground_(lut), labeller_(width), labels_(imLabel, width),
          bytes_(int64_t{width} + 2)
    {
    }
    explicit operator bool() const { return labeller_ && labels_ && bytes_; }

    int32_t scan(const ScanList& list, int32_t imLabel)
    {
        int32_t labelType = I_ImGetType(imLabel);
        if constexpr (kByRuns)
            labels_.postponeWriting(imSrc_, list.size() / 2);
        for (int32_t i = 0; i < list.size(); i += 2) {
            if (i % 256 == 0)
                I_TellProgress(static_cast<float>(i), static_cast<float>(list.size()), "find blobs");
            const ScanRun run = list.run(i, width_);
            if (!labelRun(run))
                break;
            if (blobTable().count > kMostByteLabels && labelType == PIX_BYTE) {
                makeRoomForLabels(imLabel, run);
                labelType = I_ImGetType(imLabel);
            }
            putLabels(run);
            if (list.rowEndsAt(i))
                labeller_.nextRow();
        }
        const int32_t condensed = condense({0, -1, 0});
        labels_.finishWriting();
        return condensed;
    }

private:
    static constexpr bool kByRuns = std::is_same_v<Labeller, RunLabeller>;

    // False where the table is full.
    bool labelRun(const ScanRun& run)
    {
        I_SetStatsProcMode(statsProcMode());
        const Guard restoreMode([] { I_ResetColorProcMode(); });
        if constexpr (kByRuns) {
            const ImageRecord* record = findImageRecord(imSrc_, "I_GetBlockType");
            const auto* row = memoryRow<const uint8_t>(record, PIX_BYTE, run.y);
            if (row && run.last < record->cols) {
                const uint8_t* next = run.y + 1 < record->rows ? row + record->stride : row;
                return labeller_.label(row, next, run.first, run.last, run.y, foreground_);
            }
        }
        // A run that cannot be read finds what earlier ones left.
        if (run.width() > 0)
            I_GetBlockType(run.first, run.y, run.width(), 1, bytes_.data() + run.first, imSrc_, PIX_BYTE);
        return labeller_.label(bytes_.data(), bytes_.data(), run.first, run.last, run.y, foreground_);
    }

    // Keeps the labels below 256 for as long as possible.
    void makeRoomForLabels(int32_t imLabel, const ScanRun& run)
    {
        if (blobTable().condensedCount >= kManyByteLabels)
            I_ImConvertType(imLabel, PIX_WORD);
        else
            condense(run);
    }

    int32_t condense(const ScanRun& run)
    {
        Buffer<int32_t> remap(remapTableSize());
        if (malloctest(remap.data(), "condensebtable"))
            return 0;
        const int32_t remaining = condenseRecords(remap.data(), remap.size());
        if (remaining < blobTable().count) {
            labels_.renumber(remap, remaining);
            labeller_.remap(run.first, run.last, remap.data(), remap.size());
            blobTable().count = blobTable().condensedCount = remaining;
            dropRecordsAbove(remaining);
        }
        I_TellProgress(0.0F, 0.0F, "");
        return 1;
    }

    void putLabels(const ScanRun& run)
    {
        if constexpr (kByRuns)
            labels_.put(run, labeller_.pieces(), labeller_.pieceCount());
        else
            labels_.put(run, labeller_.labels());
    }

    int32_t imSrc_;
    int32_t width_;
    ForegroundSet foreground_;
    Labeller labeller_;
    LabelImage labels_;
    Buffer<uint8_t> bytes_;
};

template <typename Labeller>
int32_t search(const ScanList& list, const uint8_t* lut, int32_t imSrc, int32_t imLabel, int32_t width)
{
    Search<Labeller> blobs(imSrc, imLabel, width, lut);
    if (malloctest(blobs ? &blobs : nullptr, "I_FindBlobs"))
        return 0;
    BlobTable& table = blobTable();
    VexaBox& region = table.region;
    I_ROIBoundingBox(&region.left, &region.top, &region.right, &region.bottom, imSrc);
    if (imLabel != 0)
        I_SetPixValueRange(0.0, 0.0, imLabel);
    table.count = table.condensedCount = 0;
    return blobs.scan(list, imLabel);
}

// What a value of a numeric image becomes in the byte image that I_FindBlobs1 searches.
struct ValueBand {
    float low;
    float high;
    bool inside; // otherwise what is outside counts

    uint8_t operator()(float value) const
    {
        const bool kept = inside ? value >= low && value <= high : value <= low || value >= high;
        if (!kept)
            return 0;
        return value < 1.0F ? 1 : value >= 255.0F ? 255 : static_cast<uint8_t>(value);
    }
};

int32_t thresholdInto(int32_t imDest, int32_t imSrc, int32_t width, const ValueBand& band)
{
    Buffer<float> values(width);
    Buffer<uint8_t> bytes(width);
    if (malloctest(values ? bytes.data() : nullptr, "findblobs1"))
        return 0;
    int32_t x = 0, y = 0, n = 0, first = 1;
    while (I_GetNextLine(&x, &y, &n, imSrc, &first) > 0) {
        n = std::min(n, width);
        I_GetBlockType(x, y, n, 1, values.data(), imSrc, PIX_FLOAT);
        std::transform(values.data(), values.data() + n, bytes.data(), band);
        I_PutBlockType(x, y, n, 1, bytes.data(), imDest, PIX_BYTE);
    }
    return 1;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_FindBlobs(const uint8_t* lut, int32_t imSrc, int32_t imLabel)
{
    I_ImGetType(imLabel); // tells of a number that is no image
    int32_t points = 0, width = 0, height = 0;
    const VexaPoint* list = I_ROIScanlist(&points, imSrc);
    if (!I_ImGetSize(&width, &height, nullptr, imSrc) || width < 1 || height < 1 || !list)
        return 0;
    const ScanList runs(list, points);
    if (malloctest(runs ? &runs : nullptr, "I_FindBlobs"))
        return 0;
    std::array<uint8_t, 256> nonZero;
    nonZero.fill(1);
    nonZero[0] = 0;
    if (!lut)
        lut = nonZero.data();
    if (!I_ImValid(imLabel))
        imLabel = 0;
    return runs.isOrderly(width, height) ? search<RunLabeller>(runs, lut, imSrc, imLabel, width)
                                         : search<PixelLabeller>(runs, lut, imSrc, imLabel, width);
}

int32_t I_FindBlobs1(double lowThreshold, double highThreshold, int32_t imSrc, int32_t imLabel)
{
    blobTable().thresholdLow = static_cast<float>(lowThreshold);
    blobTable().thresholdHigh = static_cast<float>(highThreshold);
    const int32_t type = I_ImGetType(imSrc);
    std::array<uint8_t, 256> lut;
    if (type == PIX_BYTE || isColorType(type)) {
        I_DualThreshLUT(truncToInt32(lowThreshold), truncToInt32(highThreshold), lut.data());
        return I_FindBlobs(lut.data(), imSrc, imLabel);
    }
    int32_t width = 0, height = 0;
    if (!I_ImGetSize(&width, &height, nullptr, imSrc) || width < 1 || height < 1)
        return 0;
    const ImageGuard thresholded(I_ImOpen(width, height, PIX_BYTE));
    if (thresholded.get() == 0)
        return 0;
    const ValueBand band = {static_cast<float>(std::min(lowThreshold, highThreshold)),
                            static_cast<float>(std::max(lowThreshold, highThreshold)),
                            highThreshold >= lowThreshold};
    if (!thresholdInto(thresholded.get(), imSrc, width, band))
        return 0;
    lut.fill(255);
    lut[0] = 0;
    return I_FindBlobs(lut.data(), thresholded.get(), imLabel);
}

int32_t I_FindBlobs2(int32_t lowThreshold, int32_t highThreshold, int32_t imSrc, int32_t imLabel)
{
    return I_FindBlobs1(lowThreshold, highThreshold, imSrc, imLabel);
}

int32_t I_SetBlobTableSize(int32_t limit)
{
    BlobTable& table = blobTable();
    const int32_t before = table.limit;
    if (limit > 1)
        table.limit = limit;
    if (table.records) {
        releaseBlock(table.records);
        table.records = nullptr;
        table.reserved = table.capacity = table.count = table.touched = 0;
    }
    return before;
}
