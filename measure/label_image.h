// The label image of a blob search: where the labels of its runs go.
#ifndef VEXA_MEASURE_LABEL_IMAGE_H
#define VEXA_MEASURE_LABEL_IMAGE_H

#include <cstdint>

#include "measure/blob_labelling.h"
#include "support/buffer.h"
#include "vexalib/types.h"

namespace vexa
{

// A run of the scan list.
struct ScanRun {
    int32_t first;
    int32_t last;
    int32_t y;

    int32_t width() const { return last - first + 1; }
};

// Row y of a memory image whose pixels are of one type; null for every other image or row. Holds only until the library
// is called again: an image may be converted or closed on the way.
template <typename Pixel>
Pixel* memoryRow(const ImageRecord* record, int32_t type, int32_t y)
{
    constexpr int32_t kMemoryKind = 1;
    if (!record || record->kind != kMemoryKind || !record->data || record->type != type || y < 0 ||
        y >= record->rows)
        return nullptr;
    uint8_t* row = static_cast<uint8_t*>(record->data) + int64_t{y} * record->stride;
    return reinterpret_cast<uintptr_t>(row) % alignof(Pixel) == 0 ? reinterpret_cast<Pixel*>(row) : nullptr;
}

class LabelImage
{
public:
    // 0: there is none, and nothing below does anything. The source image has this width.
    LabelImage(int32_t im, int32_t width);
    // False without memory.
    explicit operator bool() const { return static_cast<bool>(row_); }

    // From now on runs are kept, so that the image is written once, with the final numbers. No more than so many runs.
    // Nothing changes where that might show: the label image must hold what the search wrote and nothing else.
    void postponeWriting(int32_t imSrc, int32_t runs);

    // As I_PutBlockType of one row of PIX_DWORD: a run in pieces, or as the labels of all columns.
    void put(const ScanRun& run, const LabelPiece* pieces, int32_t count);
    void put(const ScanRun& run, const int32_t* labels);
    // Writes what was kept.
    void finishWriting();

    // After a condensation that dropped records: the labels in the image become remap[label], as far as they are in the
    // region of interest, and the image's value range 0 to remaining.
    void renumber(const Buffer<int32_t>& remap, int32_t remaining);

private:
    struct KeptRun {
        ScanRun run;
        int32_t pieces;
    };

    bool isPostponing() const { return static_cast<bool>(runs_); }
    [[nodiscard]] bool reservePieces(int32_t more);
    [[nodiscard]] bool keep(const ScanRun& run, const LabelPiece* pieces, int32_t count);
    void writeKept(const Buffer<int32_t>& remap);
    void write(const ScanRun& run, const LabelPiece* pieces, int32_t count);

    int32_t im_;
    Buffer<int32_t> row_;
    Buffer<KeptRun> runs_;
    Buffer<LabelPiece> pieces_;
    int32_t runCount_ = 0;
    int64_t pieceCount_ = 0;
};

} // namespace vexa

#endif
