#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "core/image_table.h"
#include "core/pixel_types.h"
#include "operators/row_frames.h"
#include "operators/working_type.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct ColorMatch {
    uint8_t color[3];
    uint8_t value[3];
    int32_t tolerance;
    int32_t count;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/copy_mask_rows.h"
#include "support/for_each_instruction_set.h"

namespace
{

// The band that a text names by its first letter, -1 for none.
int32_t bandOf(const char* text)
{
    switch (text ? text[0] : 0) {
    case 'r':
    case 'R':
        return 0;
    case 'g':
    case 'G':
        return 1;
    case 'b':
    case 'B':
        return 2;
    default:
        return -1;
    }
}

int32_t bytesPerPixel(int32_t im)
{
    int32_t bytes = 0;
    if (im != 0)
        I_ImGetSize(nullptr, nullptr, &bytes, im);
    return bytes;
}

// The packed type in which a colour image is looked at: rows keep the order of their bytes.
int32_t packedType(int32_t im)
{
    return I_ImGetType(im) == PIX_RGB24 ? PIX_RGB24 : PIX_BGR24;
}

bool isColorImage(int32_t im)
{
    return vexa::isColorType(I_ImGetType(im));
}

// Copies the bounding box of the region from where it lies moved by the offset.
int32_t copyBox(int32_t imSrc, int32_t imDest, int32_t dx, int32_t dy)
{
    VexaBox box = {0, 0, 0, 0};
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imDest))
        return 0;
    const int32_t x = vexa::saturateToInt32(int64_t{box.left} + dx);
    const int32_t y = vexa::saturateToInt32(int64_t{box.top} + dy);
    return I_ImCopyBlock(box.right - box.left + 1, box.bottom - box.top + 1, x, y, imSrc, box.left, box.top,
                         imDest) != 0;
}

} // namespace

int32_t I_CopyROI(int32_t imSrc, int32_t imDest)
{
    const int32_t type = vexa::narrowestType(imSrc, imDest);
    int32_t bytes = I_ImTypeBytes(type);
    return vexa::runUnaryFrame(imSrc, imDest, &bytes, VEXA_ROWS(copyRow), type, vexa::RowCalls::joined);
}

int32_t I_ROICopy(int32_t imSrc, int32_t imDest, int32_t dx, int32_t dy)
{
    if (imSrc == 0 || imDest == 0)
        return 0;
    if (imSrc == imDest && dx == 0 && dy == 0)
        return 1;
    const int32_t type = vexa::narrowestType(imSrc, imDest);
    if (I_GetROIType() < 2)
        return copyBox(imSrc, imDest, dx, dy);
    int32_t bytes = I_ImTypeBytes(type);
    return I_BinaryOperatorType(0, imSrc, imDest, dx, dy, &bytes, VEXA_ROWS(copySecondRow), type);
}

int32_t I_CopyBand(int32_t imSrc, int32_t imDest, const char* band, int32_t ignoreROI)
{
    const int32_t roiType = I_GetROIType();
    if (ignoreROI)
        I_SetROIType(0);
    const vexa::Guard restore([=] {
        I_SetColorProcMode(3);
        I_SetColorBand(-1);
        I_SetROIType(roiType);
    });
    I_SetColorBand(bandOf(band));
    if (!isColorImage(imSrc) || !isColorImage(imDest))
        return I_ROICopy(imSrc, imDest, 0, 0);
    const vexa::ImageGuard extracted(I_CloneImage(imSrc, PIX_BYTE, 1));
    return I_ROICopy(extracted.get(), imDest, 0, 0);
}

int32_t I_OverlayROI(int32_t imA, int32_t imB, int32_t imDest)
{
    const auto run = [=](BinaryRowFilter function, int32_t type) {
        return vexa::runBinaryFrame(imA, imB, imDest, 0, 0, nullptr, function, type, vexa::RowCalls::joined);
    };
    switch (std::min(bytesPerPixel(imA), bytesPerPixel(imDest))) {
    case 2:
        return run(VEXA_ROWS(kOverlayWords), PIX_WORD);
    case 3:
        return run(VEXA_ROWS(overlayColorRow), PIX_BGR24);
    case 4:
        return run(VEXA_ROWS(kOverlayDwords), PIX_DWORD);
    default:
        return run(VEXA_ROWS(kOverlayBytes), PIX_BYTE);
    }
}

int32_t I_MaskedCopy(int32_t imSrc, int32_t imDest, int32_t imMask, const uint8_t* table)
{
    std::array<uint8_t, 256> taken;
    taken.fill(255);
    taken[0] = 0;
    for (std::size_t i = 0; table && i < taken.size(); ++i)
        taken[i] = table[i] != 0 ? 255 : 0;
    if (isColorImage(imDest) && std::min(I_ImGetType(imSrc), I_ImGetType(imMask)) < PIX_PALETTE) {
        I_ImConvertType(imSrc, I_ImGetType(imDest));
        I_ImConvertType(imMask, I_ImGetType(imDest));
        I_PostMessage("I_MaskedCopy: imSrc or imMask were Byte: converted to BGR");
    }
    const BinaryRowFilter row = table ? VEXA_ROWS(maskedCopyRow) : VEXA_ROWS(nonZeroCopyRow);
    return vexa::runBinaryFrame(imSrc, imMask, imDest, 0, 0, taken.data(), row, PIX_BYTE,
                                vexa::RowCalls::joined);
}

int32_t I_MaskFromColor(int32_t imSrc, int32_t imDest, int32_t color, int32_t tolerance, int32_t value)
{
    vexa::ColorMatch match = {{}, {}, tolerance, 0};
    for (int32_t band = 0; band < 3; ++band) {
        match.color[band] = static_cast<uint8_t>(color >> (8 * band));
        match.value[band] = static_cast<uint8_t>(value >> (8 * band));
    }
    vexa::runUnaryFrame(imSrc, imDest, &match, VEXA_ROWS(colorMatchRow), packedType(imSrc),
                        vexa::RowCalls::joined);
    return match.count;
}

int32_t I_MaxRGB(int32_t imSrc, int32_t imDest)
{
    if (!I_ImGetSize(nullptr, nullptr, nullptr, imSrc))
        return 0;
    if (I_ImGetType(imSrc) < PIX_BGR15)
        return imSrc == imDest ? 1 : I_ROICopy(imSrc, imDest, 0, 0);
    const bool around128 = I_GetClipMode() == 3 || I_GetClipMode() == 4;
    const UnaryRowFilter row = around128 ? VEXA_ROWS(farthestBandRow) : VEXA_ROWS(largestBandRow);
    return vexa::runUnaryFrame(imSrc, imDest, nullptr, row, packedType(imSrc), vexa::RowCalls::joined);
}
