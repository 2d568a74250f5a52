#include "measure/byte_box.h"

#include "core/image_kinds.h"
#include "core/image_table.h"
#include "vexalib/block.h"

namespace vexa
{
namespace
{

bool inside(const VexaBox& box, const ImageRecord& record)
{
    return box.left >= 0 && box.top >= 0 && box.right < record.cols && box.bottom < record.rows;
}

} // namespace

ByteBox::ByteBox(int32_t im, const VexaBox& box)
{
    const ImageRecord* record = findImageRecord(im, "I_GetBlockType");
    if (!record || box.right < box.left || box.bottom < box.top)
        return;
    cols_ = box.right - box.left + 1;
    rows_ = box.bottom - box.top + 1;
    if (record->kind == kMemoryKind && record->data && record->type == PIX_BYTE && inside(box, *record)) {
        // A block of an inverted image is its storage rows in reverse order.
        const int64_t storageRow = record->inverted ? box.bottom : box.top;
        first_ = static_cast<const uint8_t*>(record->data) + storageRow * record->stride + box.left;
        step_ = record->inverted ? -int64_t{record->stride} : record->stride;
        return;
    }
    copy_ = I_DupBlockType(box.left, box.top, cols_, rows_, im, PIX_BYTE);
    first_ = static_cast<const uint8_t*>(copy_);
    step_ = cols_;
}

ByteBox::~ByteBox()
{
    vexaFree(copy_);
}

} // namespace vexa
