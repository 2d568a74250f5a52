// The blob table: what a search gathers and the queries read. There is one, and each search replaces its contents.
#ifndef VEXA_MEASURE_BLOB_RECORDS_H
#define VEXA_MEASURE_BLOB_RECORDS_H

#include <algorithm>
#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

// Blob b of the public functions is record b + 1, and b + 1 is its value in the label image. Record 0 stays zero.
struct BlobRecord {
    int32_t parent; // 0, or the lower number of the record that this one was merged into
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
    int32_t firstX;
    int32_t firstY;
    uint32_t pixelCount;
    int64_t sumIntensity; // whole numbers; as doubles they would be exact too, none comes near 2 to the 53
    int64_t sumX;
    int64_t sumY;
};

struct BlobTable {
    BlobRecord* records = nullptr; // from allocateBlock
    int32_t reserved = 0;          // how many there is memory for
    int32_t capacity = 0;          // how many of them the table counts with
    int32_t count = 0;             // the highest record number in use; -1 after a search that met no array
    int32_t condensedCount = 0;    // what the last condensation that dropped records left
    int32_t limit = 5000;
    int32_t touched = 0; // all records above this number are zero
    VexaBox region = {}; // bounding box of the region of interest at the search
    float thresholdLow = 0.0F;
    float thresholdHigh = 0.0F;
};

// The one table of the process.
BlobTable& blobTable();

// A public blob number's record; null for a number that is no blob of the last search.
const BlobRecord* findBlob(int32_t blob);

// True where a label has a record. A number above 65520 that the table did not grow for has none: whatever is gathered
// under it is dropped.
inline bool hasRecord(const BlobTable& table, int32_t label)
{
    return label < table.capacity;
}

// The record of a label that has one, for writing. A label that a condensation did not reach may be above the count.
inline BlobRecord& touchRecord(BlobTable& table, int32_t label)
{
    if (label > table.touched)
        table.touched = label;
    return table.records[label];
}

// Opens a record whose first pixel is (x, y). 0 where the table is full. Numbers above 65520 are given out with error 35
// and may have no record.
[[nodiscard]] int32_t openBlob(BlobTable& table, int32_t x, int32_t y);

// Pixels first to last of row y, whose values sum up to sum, go into record label.
inline void addPixels(BlobTable& table, int32_t label, int32_t first, int32_t last, int32_t y, uint32_t sum)
{
    if (!hasRecord(table, label))
        return;
    BlobRecord& record = touchRecord(table, label);
    const int64_t n = int64_t{last} - first + 1;
    const bool isNew = record.pixelCount == 0;
    record.left = isNew ? first : std::min(record.left, first);
    record.right = isNew ? last : std::max(record.right, last);
    record.top = isNew ? y : std::min(record.top, y);
    record.bottom = isNew ? y : std::max(record.bottom, y);
    record.pixelCount += static_cast<uint32_t>(n);
    record.sumIntensity += sum;
    record.sumX += ((int64_t{first} + last) * n) >> 1;
    record.sumY += n * y;
}

inline int32_t parentOrSelf(const BlobTable& table, int32_t label)
{
    const int32_t parent = hasRecord(table, label) ? table.records[label].parent : 0;
    return parent != 0 ? parent : label;
}

// Joins two records by one step of parents, not by a walk to the roots. The result is the lower of the two numbers met.
inline int32_t mergeBlobs(BlobTable& table, int32_t a, int32_t b)
{
    a = parentOrSelf(table, a);
    b = parentOrSelf(table, b);
    if (a == b)
        return a;
    // Required: a parent that is there already is replaced, not followed.
    const int32_t lower = std::min(a, b), higher = std::max(a, b);
    if (hasRecord(table, higher))
        touchRecord(table, higher).parent = lower;
    return lower;
}

// The entries of the remap table of a condensation, a power of two above every label given out. 64 bits: the numbers of
// a table that was overrun need not fit a small one.
int64_t remapTableSize();

// Folds merged records into their parents and numbers what remains densely from 1, in the order of appearance.
// remap[label] becomes the new number of each label; the result is how many remain. The dropped records keep what they
// had until dropRecordsAbove.
int32_t condenseRecords(int32_t* remap, int64_t remapSize);
void dropRecordsAbove(int32_t count);

} // namespace vexa

#endif
