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
constexpr int32_t kFirstRecords = 2000;
constexpr int32_t kGrowth = 250;
constexpr double kGrowthFactor = 1.41;

BlobTable table;

int32_t grownCapacity(int32_t capacity)
{
    return std::max(capacity + kGrowth, truncToInt32(capacity * kGrowthFactor));
}

// Where a table stands that has grown as far as the limit lets it. Beyond the most blobs nothing grows.
int32_t lastCapacity()
{
    int32_t capacity = 0;
    while (capacity < table.limit && capacity <= kMostBlobs)
        capacity = grownCapacity(capacity);
    return capacity;
}

// Makes room for so many records, and for those of the next steps too, since moving them costs more than the memory.
bool reserveRecords(int32_t capacity)
{
    if (capacity <= table.reserved)
        return true;
    const int32_t reserved = std::min(std::max(kFirstRecords, 4 * capacity), lastCapacity());
    auto* records = static_cast<BlobRecord*>(allocateBlock(reserved, sizeof(BlobRecord)));
    if (!records)
        return false;
    if (table.records)
        std::memcpy(records, table.records, sizeof(BlobRecord) * static_cast<std::size_t>(table.capacity));
    releaseBlock(std::exchange(table.records, records));
    table.reserved = reserved;
    return true;
}

// The limit is tested before growing, so the capacity passes it.
bool growTable()
{
    const int32_t capacity = grownCapacity(table.capacity);
    if (table.capacity >= table.limit || !reserveRecords(capacity))
        return false;
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
    if (blob < 0 || blob >= table.count || !hasRecord(table, blob + 1))
        return nullptr;
    return table.records + blob + 1;
}

int32_t openBlob(BlobTable& blobs, int32_t x, int32_t y)
{
    if (blobs.count < std::numeric_limits<int32_t>::max())
        ++blobs.count;
    const int32_t label = blobs.count;
    if (label > kMostBlobs) {
        I_SetError(kBlobTableFull, "Too many blobs:#%d", label);
    } else {
        // Required: a table that is full leaves the count one too high, which condensation corrects.
        if (label >= blobs.capacity && !growTable())
            return 0;
        blobs.records[label] = {};
    }
    if (hasRecord(blobs, label)) {
        BlobRecord& record = touchRecord(blobs, label);
        record.firstX = x;
        record.firstY = y;
    }
    return label;
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
