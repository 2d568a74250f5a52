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

void endAbove(Buffer<LabelPiece>& pieces, int32_t count)
{
    pieces[count] = kRightOfAll;
    pieces[count + 1] = kRightOfAll;
}

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
    : previous_(int64_t{width} + 4), current_(int64_t{width} + 4), scratch_(int64_t{width} + 4),
      runs_(int64_t{width} / 2 + 2), bounds_(int64_t{width} + 3)
{
    if (!*this)
        return;
    for (Buffer<LabelPiece>* pieces : {&previous_, &current_, &scratch_})
        (*pieces)[0] = kLeftOfAll;
    endAbove(previous_, previousCount_);
}

RunLabeller::operator bool() const
{
    return previous_ && current_ && scratch_ && runs_ && bounds_;
}

// Where the pixels begin and end that take the label of piece i of the row above: its own columns, and one on either
// side by the diagonals. The piece to the upper right wins over the one to the upper left.
int32_t RunLabeller::aboveFirst(int32_t i) const
{
    return previous_[i].first - (previous_[i - 1].last + 1 != previous_[i].first);
}
int32_t RunLabeller::aboveLast(int32_t i) const
{
    return previous_[i].last + (previous_[i + 1].first > previous_[i].last + 2);
}

void RunLabeller::append(int32_t first, int32_t last, int32_t label)
{
    LabelPiece& tail = current_[currentCount_ - 1];
    if (currentCount_ > runStart_ && tail.label == label && tail.last + 1 == first)
        tail.last = last;
    else
        current_[currentCount_++] = {first, last, label};
}

bool RunLabeller::label(const uint8_t* pixels, int32_t first, int32_t last, int32_t y,
                        const ForegroundSet& foreground)
{
    runStart_ = currentCount_;
    const int32_t count = blobRows().findRuns(pixels + first, last - first + 1, first, foreground,
                                              bounds_.data(), runs_.data());
    for (int32_t i = 0; i < count; ++i)
        if (!labelRun(runs_[i], pixels, y))
            return false;
    return true;
}

bool RunLabeller::labelRun(const ForegroundRun& run, const uint8_t* pixels, int32_t y)
{
    while (aboveLast(above_) < run.first)
        ++above_;
    const LabelPiece& before = current_[currentCount_ - 1];
    int32_t left = before.last + 1 == run.first ? before.label : 0;
    uint32_t sumLeft = run.sum;
    for (int32_t x = run.first; x <= run.last;) {
        int32_t end = run.last;
        if (x < aboveFirst(above_)) {
            end = std::min(end, aboveFirst(above_) - 1);
            if (left == 0 && (left = openBlob(x, y)) == 0)
                return false;
        } else {
            end = std::min(end, aboveLast(above_));
            const int32_t up = previous_[above_].label;
            if (left != 0 && left != up) {
                const int32_t merged = mergeBlobs(up, left);
                // A label that comes out as it went in is a root now and stays for as long as up does. Otherwise the
                // next pixel may get yet another one from its merge.
                if (merged != up && merged != left)
                    end = x;
                left = merged;
            } else {
                left = up;
            }
        }
        const uint32_t sum = end == run.last ? sumLeft : blobRows().sum(pixels + x, end - x + 1);
        sumLeft -= sum;
        addPixels(left, x, end, y, sum);
        append(x, end, left);
        x = end + 1;
        above_ += x > aboveLast(above_);
    }
    return true;
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
    endAbove(previous_, previousCount_);
    above_ = 1;
}

void RunLabeller::nextRow()
{
    std::swap(previous_, current_);
    previousCount_ = std::exchange(currentCount_, 1);
    endAbove(previous_, previousCount_);
    above_ = 1;
}

PixelLabeller::PixelLabeller(int32_t width) : previous_(int64_t{width} + 3), current_(int64_t{width} + 3) {}

PixelLabeller::operator bool() const
{
    return previous_ && current_;
}

bool PixelLabeller::label(const uint8_t* pixels, int32_t first, int32_t last, int32_t y,
                          const ForegroundSet& foreground)
{
    const int32_t* previous = previous_.data() + 1;
    int32_t* current = current_.data() + 1;
    for (int32_t x = first; x <= last; ++x) {
        if (!foreground.contains[pixels[x]])
            continue;
        int32_t label = previous[x];
        if (label == 0)
            label = previous[x + 1] != 0 ? previous[x + 1] : previous[x - 1];
        const int32_t left = current[x - 1];
        if (label == 0 && left == 0 && (label = openBlob(x, y)) == 0)
            return false;
        if (label == 0)
            label = left;
        else if (left != 0 && left != label)
            label = mergeBlobs(label, left);
        current[x] = label;
        addPixels(label, x, x, y, pixels[x]);
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
