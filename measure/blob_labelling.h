// From the foreground of one row after the other to labels and blob records: the scan of a blob search.
#ifndef VEXA_MEASURE_BLOB_LABELLING_H
#define VEXA_MEASURE_BLOB_LABELLING_H

#include <array>
#include <cstdint>

#include "support/buffer.h"
#include "vexalib/types.h"

namespace vexa
{

// Pixels first to last of a row that carry one label.
struct LabelPiece {
    int32_t first;
    int32_t last;
    int32_t label;
};

// Adjacent foreground pixels first to last of a row and the sum of their values.
struct ForegroundRun {
    int32_t first;
    int32_t last;
    uint32_t sum;
};

// The pixel values that are foreground, in the forms that the row functions compare with.
struct ForegroundSet {
    explicit ForegroundSet(const uint8_t* lut);

    std::array<bool, 256> contains;
    // True where the foreground is one range, counted modulo 256: value - low <= span as bytes.
    bool isRange = false;
    uint8_t low = 0;
    uint8_t span = 0;
    // Bit h of entry n tells of value 16 h + n; the second half is for h from 8 up.
    std::array<uint8_t, 32> byNibbles = {};
};

// Whole vectors of bounds are stored.
inline constexpr int32_t kSpareBounds = 16;

// Row functions, one set per instruction set.
struct BlobRows {
    // The foreground runs of n pixels, of which the first is at x; the result is their number. The pixels at next, of
    // which there are n too, are those that the caller will ask for next. bounds has room for n + 1 and kSpareBounds.
    int32_t (*findRuns)(const uint8_t* pixels, int32_t n, int32_t x, const ForegroundSet& foreground,
                        const uint8_t* next, int32_t* bounds, ForegroundRun* runs);
    uint32_t (*sum)(const uint8_t* pixels, int32_t n);
    // Writes columns first to last of a row: the pieces, in rising order, and zeros between them. Labels are cut to the
    // pixel's width. Pieces that lie outside the columns are left out.
    void (*paintBytes)(const LabelPiece* pieces, int32_t count, int32_t first, int32_t last, uint8_t* row);
    void (*paintWords)(const LabelPiece* pieces, int32_t count, int32_t first, int32_t last, uint16_t* row);
    void (*paintDwords)(const LabelPiece* pieces, int32_t count, int32_t first, int32_t last, int32_t* row);
};
const BlobRows& blobRows();

// Labels rows whose scan runs lie in the image, in rising order and apart from each other: what every region but a scan
// list of the caller's consists of. Replays the pixel rule on runs: within a run of foreground the label changes only
// where the run meets another label of the row above.
class RunLabeller
{
public:
    // Test before use: false without memory.
    explicit RunLabeller(int32_t width);
    explicit operator bool() const;

    // Columns first to last of row y; pixels[x] is the value at x, and next[x] probably that in the row to come. False
    // where a record could not be opened: the pixels before that one are counted.
    [[nodiscard]] bool label(const uint8_t* pixels, const uint8_t* next, int32_t first, int32_t last,
                             int32_t y, const ForegroundSet& foreground);
    // After a condensation: the labels from column first to last of both rows change.
    void remap(int32_t first, int32_t last, const int32_t* table, int64_t tableSize);
    // The pieces that the last label() made, and their labels written out from column first to last.
    const LabelPiece* pieces() const { return current_.data() + runStart_; }
    int32_t pieceCount() const { return currentCount_ - runStart_; }
    // The row in hand becomes the row above.
    void nextRow();

private:
    void findReaches();

    // All but the reaches begin with a piece left of everything, the row above ends with one right of
    // everything, the reaches with two.
    Buffer<LabelPiece> previous_;
    Buffer<LabelPiece> current_;
    Buffer<LabelPiece> scratch_;
    Buffer<LabelPiece> reaches_; // of the row above: the columns that take each piece's label
    Buffer<ForegroundRun> runs_;
    Buffer<int32_t> bounds_;
    int32_t previousCount_ = 1;
    int32_t currentCount_ = 1;
    int32_t runStart_ = 1; // the first piece of the scan run in hand
    int64_t above_ = 1;    // the first reach that the next run can meet
};

// The rule pixel by pixel, for scan lists whose runs overlap, go back or leave the image.
class PixelLabeller
{
public:
    explicit PixelLabeller(int32_t width);
    explicit operator bool() const;

    [[nodiscard]] bool label(const uint8_t* pixels, const uint8_t* next, int32_t first, int32_t last,
                             int32_t y, const ForegroundSet& foreground);
    void remap(int32_t first, int32_t last, const int32_t* table, int64_t tableSize);
    // labels()[x] is the label at x of the row in hand.
    const int32_t* labels() const { return current_.data() + 1; }
    void nextRow();

private:
    // One column of zeros at either end.
    Buffer<int32_t> previous_;
    Buffer<int32_t> current_;
};

} // namespace vexa

#endif
