#ifndef VEXA_ALIGN_IMAGE_SIZE_H
#define VEXA_ALIGN_IMAGE_SIZE_H

#include <cstdint>

#include "vexalib/image.h"

namespace vexa
{

struct ImageSize {
    int32_t cols = 0;
    int32_t rows = 0;
};

// 0 by 0, with the error of I_ImGetSize, where there is no image.
inline ImageSize sizeOf(int32_t im)
{
    ImageSize size;
    I_ImGetSize(&size.cols, &size.rows, nullptr, im);
    return size;
}

} // namespace vexa

#endif
