#include "measure/label_image.h"

#include <algorithm>
#include <utility>

#include "core/image_table.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/roi.h"

namespace vexa
{
namespace
{

constexpr int32_t kLargestRegion = 65535; // sides of the region of interest
constexpr int32_t kNoBand = -1;
constexpr int64_t kFirstPieces = 1 << 14;

// True where two images in memory share none of it.
bool areApart(const ImageRecord& a, const ImageRecord& b)
{
    const auto beginA = reinterpret_cast<uintptr_t>(a.data), beginB = reinterpret_cast<uintptr_t>(b.data);
    const auto bytesA = static_cast<uintptr_t>(int64_t{a.rows} * a.stride);
    const auto bytesB = static_cast<uintptr_t>(int64_t{b.rows} * b.stride);
    return beginA < beginB ? beginB - beginA >= bytesA : beginA - beginB >= bytesB;
}

bool isLabelType(int32_t type)
{
    return type == PIX_WORD || type == PIX_DWORD;
}

} // namespace

LabelImage::LabelImage(int32_t im, int32_t width) : im_(im), row_(int64_t{width} + 2) {}

void LabelImage::postponeWriting(int32_t imSrc, int32_t runs)
{
    if (im_ == 0 || I_GetROIType() != 0)
        return;
    const ImageRecord* source = findImageRecord(imSrc, "I_GetBlockType");
    const ImageRecord* labels = findImageRecord(im_, "I_PutBlockType");
    if (!labels || !isLabelType(labels->type) || !memoryRow<uint8_t>(labels, labels->type, 0) ||
        !memoryRow<uint8_t>(source, PIX_BYTE, 0))
        return;
    if (source->cols != labels->cols || source->rows != labels->rows ||
        std::max(source->cols, source->rows) > kLargestRegion || !areApart(*source, *labels))
        return;
    runs_ = Buffer<KeptRun>(runs);
}

bool LabelImage::reservePieces(int32_t more)
{
    if (pieceCount_ + more <= pieces_.size())
        return true;
    // What the image will need if it goes on as it began, and a tenth.
    const int64_t expected = pieceCount_ * runs_.size() / std::max(runCount_, 1) * 11 / 10;
    Buffer<LabelPiece> larger(std::max({kFirstPieces, pieceCount_ * 3 / 2, expected}) + more);
    if (!larger)
        return false;
    std::copy_n(pieces_.data(), pieceCount_, larger.data());
    pieces_ = std::move(larger);
    return true;
}

bool LabelImage::keep(const ScanRun& run, const LabelPiece* pieces, int32_t count)
{
    if (runCount_ == runs_.size() || !reservePieces(count))
        return false;
    std::copy_n(pieces, count, pieces_.data() + pieceCount_);
    pieceCount_ += count;
    runs_[runCount_++] = {run, count};
    return true;
}

void LabelImage::put(const ScanRun& run, const LabelPiece* pieces, int32_t count)
{
    if (im_ == 0 || run.width() < 1 || (isPostponing() && keep(run, pieces, count)))
        return;
    finishWriting();
    write(run, pieces, count);
}

void LabelImage::put(const ScanRun& run, const int32_t* labels)
{
    if (im_ != 0 && run.width() > 0)
        I_PutBlockType(run.first, run.y, run.width(), 1, labels + run.first, im_, PIX_DWORD);
}

// The rows of a memory image of labels hold the low bits of the labels; every other image converts them in its way.
void LabelImage::write(const ScanRun& run, const LabelPiece* pieces, int32_t count)
{
    const ImageRecord* record = findImageRecord(im_, "I_PutBlockType");
    const int32_t last = record ? std::min(run.last, record->cols - 1) : 0;
    if (auto* dwords = memoryRow<int32_t>(record, PIX_DWORD, run.y)) {
        blobRows().paintDwords(pieces, count, run.first, last, dwords);
    } else if (auto* words = memoryRow<uint16_t>(record, PIX_WORD, run.y)) {
        blobRows().paintWords(pieces, count, run.first, last, words);
    } else if (auto* bytes = memoryRow<uint8_t>(record, PIX_BYTE, run.y)) {
        blobRows().paintBytes(pieces, count, run.first, last, bytes);
    } else {
        blobRows().paintDwords(pieces, count, run.first, run.last, row_.data());
        put(run, row_.data());
    }
}

void LabelImage::finishWriting()
{
    if (isPostponing())
        writeKept({});
}

// With remap[label] for each label inside the table.
void LabelImage::writeKept(const Buffer<int32_t>& remap)
{
    LabelPiece* pieces = pieces_.data();
    for (int32_t i = 0; i < runCount_; ++i) {
        const KeptRun& kept = runs_[i];
        for (LabelPiece* piece = pieces; piece != pieces + kept.pieces; ++piece)
            piece->label = piece->label < remap.size() ? remap[piece->label] : piece->label;
        write(kept.run, pieces, kept.pieces);
        pieces += kept.pieces;
    }
    runs_ = {};
}

void LabelImage::renumber(const Buffer<int32_t>& remap, int32_t remaining)
{
    if (im_ == 0)
        return;
    // A scan that stopped leaves rows whose old contents the table maps too, and words do not hold every label.
    const bool keptAll = isPostponing() && runCount_ == runs_.size();
    if (keptAll && (I_ImGetType(im_) == PIX_DWORD || remap.size() <= 65536)) {
        writeKept(remap);
        I_SetColorBand(kNoBand); // as every row operator does
    } else {
        finishWriting();
        I_MapLUTType(im_, im_, remap.data(), PIX_DWORD, saturateToInt32(remap.size()));
    }
    I_SetPixValueRange(0.0, remaining, im_);
}

} // namespace vexa
