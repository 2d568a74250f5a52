#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

#include "core/pixel_types.h"
#include "operators/clip_table.h"
#include "operators/row_frames.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/neighbourhood.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct FieldRows {
    const uint8_t* source;
    const uint8_t* dark;
    const uint8_t* flat;
    uint8_t* dest;
};
using FlatFieldRow = void (*)(const FieldRows& rows, int32_t n, int32_t gain);

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/box_rows.h"
#include "support/for_each_instruction_set.h"

namespace
{

bool isOpen(int32_t im)
{
    return I_ImGetSize(nullptr, nullptr, nullptr, im) != 0;
}

struct FieldCorrection {
    int32_t source;
    int32_t dark; // 0: none
    int32_t flat;
    int32_t dest;
    int32_t cols; // what the three sources share
    int32_t rows;
    int32_t gain;
    vexa::FlatFieldRow row;
};

// An absent image leaves the zeros that the buffer holds.
void readRun(int32_t x, int32_t y, int32_t n, uint8_t* row, int32_t im)
{
    if (im != 0)
        I_GetBlockType(x, y, n, 1, row, im, PIX_BYTE);
}

// One walk over the region, run by run, in the bytes that the colour settings of the moment make of the images.
void correctRuns(const FieldCorrection& field, const vexa::Sections<4>& buffer)
{
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t first = 1;
    while (I_GetNextLine(&x, &y, &width, field.source, &first) > 0) {
        const int32_t left = std::max(x, 0);
        const auto n = static_cast<int32_t>(std::min<int64_t>(int64_t{x} + width, field.cols) - left);
        if (n < 1 || y < 0 || y >= field.rows)
            continue;
        readRun(left, y, n, buffer[0], field.source);
        readRun(left, y, n, buffer[1], field.dark);
        readRun(left, y, n, buffer[2], field.flat);
        field.row({buffer[0], buffer[1], buffer[2], buffer[3]}, n, field.gain);
        I_PutBlockType(left, y, n, 1, buffer[3], field.dest, PIX_BYTE);
    }
}

} // namespace

int32_t I_BlendByPixel(int32_t imA, int32_t imB, int32_t imWeights, int32_t imDest)
{
    const int32_t images[] = {imA, imB, imWeights, imDest};
    if (!std::all_of(std::begin(images), std::end(images), isOpen))
        return 0;
    VexaBox box = {0, 0, 0, 0};
    I_ROIBoundingBoxN(&box.left, &box.top, &box.right, &box.bottom, images, 4);
    const int32_t width = box.right - box.left + 1;
    const int32_t height = box.bottom - box.top + 1;
    if (width < 1 || height < 1)
        return 0;
    const int64_t pixels = int64_t{width} * height;
    const vexa::Sections<4> buffer(pixels);
    if (malloctest(buffer ? buffer[0] : nullptr, "I_BlendByPixel: %d", vexa::saturateToInt32(pixels)))
        return 0;
    for (std::size_t i = 0; i < 3; ++i)
        I_GetBlockType(box.left, box.top, width, height, buffer[i], images[i], PIX_BYTE);
    VEXA_ROWS(blendByWeight)(buffer[0], buffer[1], buffer[2], buffer[3], pixels);
    I_PutBlockType(box.left, box.top, width, height, buffer[3], imDest, PIX_BYTE);
    return 1;
}

int32_t I_FlatField(int32_t imSrc, int32_t imDark, int32_t imFlat, int32_t imDest, int32_t gain)
{
    FieldCorrection field = {imSrc, imDark, imFlat, imDest, 0, 0, gain, nullptr};
    if (!I_GetMinSize3(&field.cols, &field.rows, nullptr, nullptr, nullptr, imSrc, imDark, imFlat) ||
        !isOpen(imDest))
        return 0;
    field.row = VEXA_ROWS(kFlatFieldRows)[static_cast<std::size_t>(vexa::clipState().row)];
    const vexa::Sections<4> buffer(field.cols);
    if (malloctest(buffer ? buffer[0] : nullptr, "dopolyflatfield()"))
        return 0;
    const int32_t bands = I_ImGetNBands(imSrc);
    if (bands < 2) {
        correctRuns(field, buffer);
        return 1;
    }
    for (int32_t band = 0; band < bands; ++band) {
        I_SetColorBand(band);
        correctRuns(field, buffer);
    }
    I_SetColorBand(-1);
    return 1;
}
