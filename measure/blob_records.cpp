#include "measure/blob_records.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <numeric>
#include <utility>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kBlobTableFull = 35;
constexpr int32_t kMostBlobs = 65520;
constexpr int32_t kGrowth = 250;
constexpr double kGrowthFactor = 1.41;

BlobTable table;

// Null for a number without a record: one above 65520 that the table did not grow for.
BlobRecord* recordOf(int32_t label)
{
    return label < table.capacity ? table.records + label : nullptr;
}

// The same for writing. A label that a condensation did not reach may be above the count.
BlobRecord* touchRecord(int32_t label)
{
    BlobRecord* record = recordOf(label);
    if (record)
        table.touched = std::max(table.touched, label);
    return record;
}

int32_t parentOrSelf(int32_t label)
{
    const BlobRecord* record = recordOf(label);
    return record && record->parent != 0 ? record->parent : label;
}

// The limit is tested before growing, so the capacity passes it.
bool growTable()
{
    if (table.capacity >= table.limit)
        return false;
    const int32_t byFactor = truncToInt32(table.capacity * kGrowthFactor);
    const int32_t capacity = std::max(saturateToInt32(int64_t{table.capacity} + kGrowth), byFactor);
    auto* records = static_cast<BlobRecord*>(allocateBlock(capacity, sizeof(BlobRecord)));
    if (!records)
        return false;
    if (table.records)
        std::memcpy(records, table.records, sizeof(BlobRecord) * static_cast<std::size_t>(table.capacity));
    releaseBlock(std::exchange(table.records, records));
    table.capacity = capacity;
    return true;
}

void foldIntoParent(BlobRecord& record)
{
    BlobRecord& parent = table.records[record.parent];
    parent.pixelCount += record.pixelCount;
    parent.sumIntensity += record.sumIntensity;
    parent.sumX += record.sumX;
    parent.sumY += record.sumY;
    // Required: the two coordinates on their own, so the first pixel of a merged blob need not lie on it.
    parent.firstX = std::min(parent.firstX, record.firstX);
    parent.firstY = std::min(parent.firstY, record.firstY);
    parent.left = std::min(parent.left, record.left);
    parent.top = std::min(parent.top, record.top);
    parent.right = std::max(parent.right, record.right);
    parent.bottom = std::max(parent.bottom, record.bottom);
    record.pixelCount = 0;
}

} // namespace

BlobTable& blobTable()
{
    return table;
}

const BlobRecord* findBlob(int32_t blob)
{
    if (blob < 0 || blob >= table.count)
        return nullptr;
    return recordOf(blob + 1);
}

int32_t openBlob(int32_t x, int32_t y)
{
    if (table.count < std::numeric_limits<int32_t>::max())
        ++table.count;
    const int32_t label = table.count;
    if (label > kMostBlobs) {
        I_SetError(kBlobTableFull, "Too many blobs:#%d", label);
    } else {
        // Required: a table that is full leaves the count one too high, which condensation corrects.
        if (label >= table.capacity && !growTable())
            return 0;
        table.records[label] = {};
    }
    if (BlobRecord* record = touchRecord(label)) {
        record->firstX = x;
        record->firstY = y;
    }
    return label;
}

void addPixels(int32_t label, int32_t first, int32_t last, int32_t y, uint32_t sum)
{
    BlobRecord* record = touchRecord(label);
    if (!record)
        return;
    const int64_t n = int64_t{last} - first + 1;
    if (record->pixelCount == 0) {
        record->left = first;
        record->right = last;
        record->top = record->bottom = y;
    } else {
        record->left = std::min(record->left, first);
        record->right = std::max(record->right, last);
        record->top = std::min(record->top, y);
        record->bottom = std::max(record->bottom, y);
    }
    record->pixelCount += static_cast<uint32_t>(n);
    record->sumIntensity += sum;
    record->sumX += static_cast<double>((int64_t{first} + last) * n / 2);
    record->sumY += static_cast<double>(n * y);
}

int32_t mergeBlobs(int32_t a, int32_t b)
{
    a = parentOrSelf(a);
    b = parentOrSelf(b);
    if (a == b)
        return a;
    // Required: a parent that is there already is replaced, not followed.
    if (BlobRecord* larger = touchRecord(std::max(a, b)))
        larger->parent = std::min(a, b);
    return std::min(a, b);
}

int64_t remapTableSize()
{
    return int64_t{1} << std::bit_width(static_cast<uint32_t>(std::max(table.count, 256)));
}

int32_t condenseRecords(int32_t* remap, int64_t remapSize)
{
    // Required: without an array the count becomes -1, which I_GetBlobCount tells as 0.
    table.count = std::min(table.count, table.capacity - 1);
    // The progress callback may have released the table: its capacity is asked anew.
    for (int32_t i = table.count; i > 0 && i < table.capacity; --i) {
        if (i % 1024 == 0)
            I_TellProgress(static_cast<float>(table.count - i), static_cast<float>(table.count),
                           "condense blobs");
        // Downward, so that one pass folds up a chain of parents.
        if (i < table.capacity && table.records[i].parent != 0)
            foldIntoParent(table.records[i]);
    }
    std::iota(remap, remap + remapSize, 0);
    int32_t remaining = 0;
    for (int32_t i = 1; i <= table.count && i < remapSize; ++i) {
        const BlobRecord& record = table.records[i];
        if (record.pixelCount == 0) {
            remap[i] = remap[record.parent];
            continue;
        }
        if (++remaining != i) {
            table.records[remaining] = record;
            table.records[remaining].parent = 0;
        }
        remap[i] = remaining;
    }
    return remaining;
}

void dropRecordsAbove(int32_t count)
{
    if (count < table.touched)
        std::memset(table.records + count + 1, 0,
                    sizeof(BlobRecord) * static_cast<std::size_t>(table.touched - count));
    table.touched = std::min(table.touched, count);
}

} // namespace vexa
