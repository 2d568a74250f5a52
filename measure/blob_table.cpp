#include "vexalib/blob_table.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/image_table.h"
#include "core/roi.h"
#include "measure/blob_records.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/display.h"
#include "vexalib/image.h"
#include "vexalib/moments.h"
#include "vexalib/roi.h"
#include "vexalib/roi_store.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

constexpr int32_t kIllegalParameter = 12;
constexpr int32_t kListedBlobs = 50;
constexpr int32_t kTextGrowth = 500;

template <typename T>
void store(T* out, T value)
{
    if (out)
        *out = value;
}

// The record of a blob; null for a bad number, with the error set in the name that messages give the query.
const BlobRecord* blobOrError(int32_t blob, const char* query)
{
    const BlobRecord* record = findBlob(blob);
    if (!record)
        I_SetError(kIllegalParameter, "%s:#%d of %d", query, blob, blobTable().count);
    return record;
}

// A byte copy of the box of the label image with one row of zeros above and two below. The count of its edge pixels is
// the described one, window and all.
class EdgeWindow
{
public:
    explicit EdgeWindow(VexaBox box)
        : left_(box.left), top_(box.top), cols_(box.right - box.left + 1), rows_(box.bottom - box.top + 1),
          stride_(cols_ + 1), pixels_((int64_t{rows_} + 3) * stride_)
    {
        if (left_ > 0) {
            --left_;
        } else {
            --cols_;
            --stride_;
        }
    }
    explicit operator bool() const { return static_cast<bool>(pixels_); }

    void read(int32_t imLabel)
    {
        I_GetBlockType(left_, top_, stride_, rows_, pixels_.data() + stride_, imLabel, PIX_BYTE);
    }

    void keepOnly(int32_t value)
    {
        const int64_t n = (int64_t{rows_} + 2) * stride_;
        std::transform(pixels_.data(), pixels_.data() + n, pixels_.data(),
                       [value](uint8_t pixel) { return static_cast<uint8_t>(pixel == value); });
    }

    // Required: from the second row of the box to the row below it, and without the last column.
    int32_t countEdgePixels()
    {
        int32_t edges = 0;
        for (int32_t y = 2; y < rows_ + 2; ++y) {
            uint8_t* row = pixels_.data() + int64_t{y} * stride_;
            row[stride_ - 1] = 0;
            for (int32_t x = 0; x < cols_; ++x)
                edges += row[x] != 0 && (row[x - 1] == 0 || row[x + 1] == 0 || row[x - stride_] == 0 ||
                                         row[x + stride_] == 0);
        }
        return edges;
    }

private:
    int32_t left_;
    int32_t top_;
    int32_t cols_;
    int32_t rows_;
    int32_t stride_;
    Buffer<uint8_t> pixels_;
};

// Points of a scan list, up to the capacity.
struct PointList {
    VexaPoint* points;
    int32_t count;
    int32_t capacity;

    void add(int32_t x, int32_t y) { points[count++] = {x, y}; }
};

// The runs of one value on columns box.left to box.right of row y. Where the box passes the image there is no such value.
void appendRuns(PointList& list, const Buffer<int32_t>& row, int32_t value, const VexaBox& box, int32_t y)
{
    bool inside = false;
    for (int32_t x = box.left; x <= box.right && list.count < list.capacity - 2; ++x) {
        if ((x < row.size() && row[x] == value) == inside)
            continue;
        list.add(inside ? x - 1 : x, y);
        inside = !inside;
    }
    if (inside)
        list.add(box.right, y);
}

void reportNoRuns(int32_t blob, int32_t imLabel, const VexaBox& box, const PointList& list)
{
    vexa_dprintf("GetBlobScanList: no blob found: bnum=%d nscan=%d, box=%d %d %d %d  maxnscan=%d",
                 wrapAdd(blob, 1), list.count, box.left, box.top, box.right, box.bottom, list.capacity);
    const int32_t cols = box.right - box.left + 1, rows = box.bottom - box.top + 1;
    void* labels = I_DupBlockType(box.left, box.top, cols, rows, imLabel, PIX_DWORD);
    FormatArray(nullptr, labels, 4, cols, rows, "%d");
    vexaFree(labels);
}

// A label image without its outermost pixels, normalised.
void showLabels(int32_t imLabel)
{
    const ImageGuard picture(I_CloneImage(imLabel, PIX_BYTE, 0));
    {
        const RoiGuard region;
        I_SetROIType(kRoiFullFrame);
        I_ShowError("DisplayBlobTable 2");
        I_SetWindowROI(1, 1, -1, -1);
        I_NormalizeROI(imLabel, picture.get());
        I_ShowError("DisplayBlobTable 3");
    }
    I_ShowError("DisplayBlobTable 4");
    DisplayImage1(picture.get(), 0, 3.0F);
    I_ShowError("DisplayBlobTable 5");
}

// One line of the listing, in 32-bit floats.
int32_t formatBlob(char* out, std::size_t size, int32_t blob, const BlobRecord& record, int32_t imLabel,
                   int32_t imGrey)
{
    const auto mean = [&](int64_t sum) {
        return static_cast<float>(static_cast<double>(sum) / record.pixelCount);
    };
    const VexaPointF centre = {mean(record.sumX), mean(record.sumY)};
    VexaPointF weighted = centre;
    double longAxis = 0.0, shortAxis = 0.0, angle = 0.0;
    if (imLabel != 0 && imGrey != 0)
        I_GetBlobMoments2(blob, imLabel, imGrey, &weighted, &longAxis, &shortAxis, &angle);
    return std::snprintf(out, size,
                         "%d: \t%d \t%.1f \t%.1f \t%.1f \t%.1f \t%.1f \t%.1f \t%.1f \t%d %d %d %d\n", blob,
                         static_cast<int32_t>(record.pixelCount), mean(record.sumIntensity), centre.x,
                         centre.y, weighted.x, weighted.y, weighted.x - centre.x, weighted.y - centre.y,
                         record.left, record.top, record.right, record.bottom);
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_GetBlobCount()
{
    return std::max(blobTable().count, 0);
}

int32_t I_GetBlobFirstPixel(int32_t blob, VexaPoint* pixel)
{
    const BlobRecord* record = findBlob(blob);
    if (!record)
        return 0;
    store(pixel, {record->firstX, record->firstY});
    return static_cast<int32_t>(record->pixelCount);
}

int32_t I_GetBlobMoments1(int32_t blob, int32_t* count, int32_t* sumIntensity, int32_t* sumX, int32_t* sumY)
{
    if (!blobTable().records)
        return 0;
    const BlobRecord* record = blobOrError(blob, "GetBlobMoments");
    // Required: a bad number gives the zeros of record 0 and success.
    if (!record)
        record = blobTable().records;
    store(count, static_cast<int32_t>(record->pixelCount));
    store(sumIntensity, truncToInt32(static_cast<double>(record->sumIntensity)));
    store(sumX, truncToInt32(static_cast<double>(record->sumX)));
    store(sumY, truncToInt32(static_cast<double>(record->sumY)));
    return 1;
}

int32_t I_GetBlobMoments2(int32_t blob, int32_t imLabel, int32_t imGrey, VexaPointF* centroid,
                          double* longAxis, double* shortAxis, double* angle)
{
    const BlobTable& table = blobTable();
    if (!table.records || !blobOrError(blob, "GetBlobMoments"))
        return 0;
    I_PushROI();
    const Guard restoreRegion([] { I_PopROI(); });
    if (I_MakeBlobROI(blob, imLabel) > 0) {
        const bool above = table.thresholdLow > 0.0F;
        const int32_t threshold = truncToInt32(above ? table.thresholdLow : table.thresholdHigh);
        double area = 0.0, mass = 0.0;
        I_GrayMoments(&area, &mass, centroid, longAxis, shortAxis, angle, 1.0, 1.0, threshold, above, imGrey);
    }
    return 1;
}

int32_t I_GetBlobBoundingBox(int32_t blob, int32_t* left, int32_t* top, int32_t* right, int32_t* bottom)
{
    const BlobRecord* record = blobOrError(blob, "GetBlobBoundingBox");
    if (!record)
        return 0;
    store(left, record->left);
    store(top, record->top);
    store(right, record->right);
    store(bottom, record->bottom);
    return 1;
}

int32_t I_BlobTouchesROIEdge(int32_t blob, int32_t* mask)
{
    const BlobRecord* record = blobOrError(blob, "GetBlobTouchesROI");
    if (!record)
        return -1;
    const VexaBox& region = blobTable().region;
    const bool sides[] = {record->left <= region.left, record->top <= region.top,
                          record->right >= region.right, record->bottom >= region.bottom};
    int32_t touched = 0, count = 0;
    for (int32_t side = 0; side < 4; ++side) {
        touched |= sides[side] << side;
        count += sides[side];
    }
    store(mask, touched);
    return count;
}

int32_t I_GetBlobEdgeCount(int32_t blob, int32_t imLabel)
{
    VexaBox box = {};
    if (!I_GetBlobBoundingBox(blob, &box.left, &box.top, &box.right, &box.bottom) &&
        !I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imLabel))
        return 0;
    EdgeWindow window(box);
    if (malloctest(window ? &window : nullptr, "I_GetBlobEdgeCount"))
        return 0;
    window.read(imLabel);
    if (blob >= 0)
        window.keepOnly(wrapAdd(blob, 1));
    return window.countEdgePixels();
}

int32_t I_GetBlobScanList(int32_t blob, int32_t imLabel, VexaPoint* points, int32_t* count, int32_t capacity)
{
    int32_t width = 0, height = 0;
    if (!I_ImGetSize(&width, &height, nullptr, imLabel) || !points)
        return 0;
    Buffer<int32_t> row(width);
    if (malloctest(row.data(), "GetBlobScanList"))
        return 0;
    VexaBox box = {0, 0, width - 1, height - 1};
    I_GetBlobBoundingBox(blob, &box.left, &box.top, &box.right, &box.bottom);
    PointList list = {points, 0, std::max(capacity, 0)};
    const int32_t value = wrapAdd(blob, 1);
    for (int32_t y = box.top; y <= box.bottom && list.count < list.capacity - 2; ++y) {
        I_GetBlockType(0, y, width, 1, row.data(), imLabel, PIX_DWORD);
        appendRuns(list, row, value, box, y);
    }
    if (I_GetDebug() != 0 && list.count < 2)
        reportNoRuns(blob, imLabel, box, list);
    store(count, list.count & ~1);
    return 1;
}

int32_t I_MakeBlobROI(int32_t blob, int32_t imLabel)
{
    int32_t height = 0;
    if (!I_ImGetSize(nullptr, &height, nullptr, imLabel))
        return 0;
    const int32_t capacity = saturateToInt32(int64_t{height} * 10);
    Buffer<VexaPoint> points(capacity);
    if (malloctest(points.data(), "I_MakeBlobROI"))
        return 0;
    int32_t count = 0;
    I_GetBlobScanList(blob, imLabel, points.data(), &count, capacity);
    if (count > 0)
        I_SetScanlistROI(points.data(), count);
    return count;
}

int32_t I_DisplayBlobTable(int32_t imLabel, int32_t imGrey)
{
    if (imLabel != 0)
        showLabels(imLabel);
    const int32_t listed = std::min(I_GetBlobCount(), kListedBlobs);
    Buffer<char> text(int64_t{kTextGrowth} * (listed + 1));
    if (malloctest(text.data(), "I_DisplayBlobTable"))
        return blobTable().count;
    const auto size = static_cast<std::size_t>(text.size());
    auto length =
        static_cast<std::size_t>(std::snprintf(text.data(), size,
                                               "Blob Table Summary: %d blobs\n# \t#pix \tmeanI \tmeanX "
                                               "\tmeanY \tXwtd\tYwtd \txDiff \tyDiff \tBox \n",
                                               blobTable().count));
    for (int32_t blob = 0; blob < listed; ++blob)
        if (const BlobRecord* record = findBlob(blob))
            length += static_cast<std::size_t>(
                formatBlob(text.data() + length, size - length, blob, *record, imLabel, imGrey));
    vexa_dprintf("%s", text.data());
    return blobTable().count;
}
