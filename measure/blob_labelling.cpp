#include "measure/blob_labelling.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <utility>

#include "measure/blob_records.h"

#define VEXA_ROWS_FILE "measure/blob_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

// Sentinels: no run of the image meets them.
constexpr int32_t kFarLeft = std::numeric_limits<int32_t>::min() / 2;
constexpr int32_t kFarRight = std::numeric_limits<int32_t>::max() - 4;
constexpr LabelPiece kLeftOfAll = {kFarLeft, kFarLeft, 0};
constexpr LabelPiece kRightOfAll = {kFarRight, kFarRight, 0};

// The pixels of a row up to some column, on the way through its foreground runs from left to right.
struct RowJoin {
    BlobTable& table;
    uint32_t (*sum)(const uint8_t*, int32_t);
    const uint8_t* pixels;
    int32_t y;
    const LabelPiece* above; // the first reach of the row above that the next run can meet
    LabelPiece* out;         // where the next piece goes; one stands in front of it

    // The pixels of a run from one on that carry one label as far as is known, and the sum of all that are still to come.
    struct OpenPiece {
        int32_t label;
        int32_t first;
        uint32_t sum;
    };

    // False where a record was needed and could not be opened.
    bool labelRun(const ForegroundRun& run)
    {
        // How many steps are due cannot be foreseen, but more than two are rare: no branch for these.
        above +=
            static_cast<int32_t>(above[0].last < run.first) + static_cast<int32_t>(above[1].last < run.first);
        while (above->last < run.first)
            ++above;
        // The scan run before this one may end right here.
        OpenPiece piece = {out[-1].last + 1 == run.first ? out[-1].label : 0, run.first, run.sum};
        if (piece.label == 0 && above->first <= run.first)
            piece.label = above->label;
        if (piece.label == 0 && (piece.label = openBlob(table, run.first, y)) == 0)
            return false;
        for (; above->first <= run.last; ++above) {
            if (above->label != piece.label)
                mergeWithAbove(piece, above->label, std::max(above->first, run.first),
                               std::min(above->last, run.last));
            if (above->last >= run.last)
                break;
        }
        append(piece, run.last, piece.sum);
        return true;
    }

    // Columns first to last of a run, under whose label it comes here, lie below the label up: each pixel merges, until
    // the label comes out as it went in, which makes it a root that stays, or as up, which has nothing to merge with.
    void mergeWithAbove(OpenPiece& piece, int32_t up, int32_t first, int32_t last)
    {
        for (int32_t x = first; x <= last && piece.label != up; ++x) {
            const int32_t merged = mergeBlobs(table, up, piece.label);
            if (merged == piece.label)
                return;
            if (x > piece.first) {
                const uint32_t sumBefore = sum(pixels + piece.first, x - piece.first);
                append(piece, x - 1, sumBefore);
                piece.first = x;
                piece.sum -= sumBefore;
            }
            piece.label = merged;
        }
    }

    void append(const OpenPiece& piece, int32_t last, uint32_t pieceSum)
    {
        addPixels(table, piece.label, piece.first, last, y, pieceSum);
        *out++ = {piece.first, last, piece.label};
    }
};

// Labels given out before the table of an earlier condensation was made may lie beyond a later one.
int32_t newLabel(int32_t label, const int32_t* table, int64_t tableSize)
{
    return label < tableSize ? table[label] : label;
}

// Copies the part of a piece inside columns first to last under a label; nothing for a part or a label that is none.
void appendPart(Buffer<LabelPiece>& pieces, int32_t& count, const LabelPiece& piece, int32_t first,
                int32_t last, int32_t label)
{
    const LabelPiece part = {std::max(piece.first, first), std::min(piece.last, last), label};
    if (part.first <= part.last && label != 0)
        pieces[count++] = part;
}

} // namespace

ForegroundSet::ForegroundSet(const uint8_t* lut)
{
    int32_t members = 0, rises = 0;
    for (int32_t value = 0; value < 256; ++value) {
        const bool member = lut[value] != 0;
        contains[static_cast<std::size_t>(value)] = member;
        if (!member)
            continue;
        ++members;
        byNibbles[static_cast<std::size_t>(value % 16 + value / 128 * 16)] |=
            static_cast<uint8_t>(1 << (value / 16 % 8));
        if (lut[(value + 255) % 256] == 0) {
            ++rises;
            low = static_cast<uint8_t>(value);
        }
    }
    isRange = rises == 1 || members == 256;
    span = static_cast<uint8_t>(members - 1);
}

const BlobRows& blobRows()
{
    return VEXA_ROWS(kBlobRows);
}

// A piece has at least one pixel, and there are width + 1 columns at most: a region may reach one beyond the image.
RunLabeller::RunLabeller(int32_t width)
    : previous_(int64_t{width} + 3), current_(int64_t{width} + 3), scratch_(int64_t{width} + 3),
      reaches_(int64_t{width} + 4), runs_(int64_t{width} / 2 + 2), bounds_(int64_t{width} + 3 + kSpareBounds)
{
    if (!*this)
        return;
    for (Buffer<LabelPiece>* pieces : {&previous_, &current_, &scratch_})
        (*pieces)[0] = kLeftOfAll;
    findReaches();
}

RunLabeller::operator bool() const
{
    return previous_ && current_ && scratch_ && reaches_ && runs_ && bounds_;
}

bool RunLabeller::label(const uint8_t* pixels, const uint8_t* next, int32_t first, int32_t last, int32_t y,
                        const ForegroundSet& foreground)
{
    const BlobRows& rows = blobRows();
    const int32_t count = rows.findRuns(pixels + first, last - first + 1, first, foreground, next + first,
                                        bounds_.data(), runs_.data());
    runStart_ = currentCount_;
    RowJoin join = {
        blobTable(), rows.sum, pixels, y, reaches_.data() + above_, current_.data() + currentCount_};
    int32_t labelled = 0;
    while (labelled < count && join.labelRun(runs_[labelled]))
        ++labelled;
    above_ = join.above - reaches_.data();
    currentCount_ = static_cast<int32_t>(join.out - current_.data());
    return labelled == count;
}

// Where the pixels begin and end that take the label of a piece of the row above: its own columns, and one on either
// side by the diagonals. The piece to the upper right wins over the one to the upper left.
void RunLabeller::findReaches()
{
    previous_[previousCount_] = kRightOfAll;
    for (int32_t i = 1; i < previousCount_; ++i) {
        const LabelPiece& piece = previous_[i];
        reaches_[i] = {piece.first - (previous_[i - 1].last + 1 != piece.first),
                       piece.last + (previous_[i + 1].first > piece.last + 2), piece.label};
    }
    reaches_[previousCount_] = reaches_[previousCount_ + 1] = kRightOfAll;
    above_ = 1;
}

void RunLabeller::remap(int32_t first, int32_t last, const int32_t* table, int64_t tableSize)
{
    const auto remapPieces = [&](Buffer<LabelPiece>& pieces, int32_t& count) {
        int32_t remapped = 1;
        for (int32_t i = 1; i < count; ++i) {
            const LabelPiece& piece = pieces[i];
            appendPart(scratch_, remapped, piece, kFarLeft, first - 1, piece.label);
            appendPart(scratch_, remapped, piece, first, last, newLabel(piece.label, table, tableSize));
            appendPart(scratch_, remapped, piece, last + 1, kFarRight, piece.label);
        }
        std::swap(pieces, scratch_);
        count = remapped;
    };
    remapPieces(previous_, previousCount_);
    remapPieces(current_, currentCount_);
    findReaches();
}

void RunLabeller::nextRow()
{
    std::swap(previous_, current_);
    previousCount_ = std::exchange(currentCount_, 1);
    findReaches();
}

PixelLabeller::PixelLabeller(int32_t width) : previous_(int64_t{width} + 3), current_(int64_t{width} + 3) {}

PixelLabeller::operator bool() const
{
    return previous_ && current_;
}

bool PixelLabeller::label(const uint8_t* pixels, const uint8_t*, int32_t first, int32_t last, int32_t y,
                          const ForegroundSet& foreground)
{
    BlobTable& table = blobTable();
    const int32_t* previous = previous_.data() + 1;
    int32_t* current = current_.data() + 1;
    for (int32_t x = first; x <= last; ++x) {
        if (!foreground.contains[pixels[x]])
            continue;
        int32_t label = previous[x];
        if (label == 0)
            label = previous[x + 1] != 0 ? previous[x + 1] : previous[x - 1];
        const int32_t left = current[x - 1];
        if (label == 0 && left == 0 && (label = openBlob(table, x, y)) == 0)
            return false;
        if (label == 0)
            label = left;
        else if (left != 0 && left != label)
            label = mergeBlobs(table, label, left);
        current[x] = label;
        addPixels(table, label, x, x, y, pixels[x]);
    }
    return true;
}

void PixelLabeller::remap(int32_t first, int32_t last, const int32_t* table, int64_t tableSize)
{
    for (Buffer<int32_t>* row : {&previous_, &current_})
        for (int32_t x = first; x <= last; ++x)
            (*row)[x + 1] = newLabel((*row)[x + 1], table, tableSize);
}

void PixelLabeller::nextRow()
{
    std::swap(previous_, current_);
    std::fill(current_.begin(), current_.end(), 0);
}

} // namespace vexa
