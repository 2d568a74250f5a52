// A rectangle of an image as rows of bytes, as a block read delivers it.
#ifndef VEXA_MEASURE_BYTE_BOX_H
#define VEXA_MEASURE_BYTE_BOX_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

// Byte images in memory are read in place, all others through a converted copy. Test it before use: an image
// that is not open or cannot be copied leaves it empty, with the error of the lookup or of the allocation
// set.
class ByteBox
{
public:
    ByteBox(int32_t im, const VexaBox& box);
    ~ByteBox();
    ByteBox(const ByteBox&) = delete;
    ByteBox& operator=(const ByteBox&) = delete;

    explicit operator bool() const { return first_ != nullptr; }
    int32_t cols() const { return cols_; }
    int32_t rows() const { return rows_; }
    const uint8_t* row(int32_t y) const { return first_ + y * step_; }

private:
    const uint8_t* first_ = nullptr;
    int64_t step_ = 0;
    int32_t cols_ = 0;
    int32_t rows_ = 0;
    void* copy_ = nullptr;
};

} // namespace vexa

#endif
