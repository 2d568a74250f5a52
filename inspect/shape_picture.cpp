#include "inspect/shape_picture.h"

#include <initializer_list>

#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/display.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/status.h"

namespace vexa
{

ShapePicture::ShapePicture(int32_t im)
{
    if (I_GetDebug() == 0)
        return;
    im_ = I_CloneImage(im, 0, 1);
    if (im_ == 0)
        return;
    frame_ = I_SetGraphicsFrame(im_);
    colorMode_ = I_SetColorMode(1);
}

ShapePicture::~ShapePicture()
{
    if (im_ == 0)
        return;
    I_ImClose(im_);
    I_SetGraphicsFrame(frame_);
    I_SetColorMode(colorMode_);
}

void ShapePicture::put(const VexaPointF* points, int32_t n, float color)
{
    for (int32_t i = 0; im_ != 0 && i < n; ++i)
        I_PutPix(truncToInt32(points[i].x), truncToInt32(points[i].y), color, im_);
}

void ShapePicture::putPath(const VexaPointF* points, int32_t n)
{
    put(points, n, 253.0F);
}

void ShapePicture::putTrace(int32_t number, const VexaPointF* points, int32_t n, VexaPoint crossing,
                            VexaPoint start)
{
    if (im_ == 0)
        return;
    put(points, n, static_cast<float>(254 - number));
    for (const VexaPoint p : {crossing, start})
        I_PutPix(p.x, p.y, 252.0F, im_);
    show();
}

void ShapePicture::show() const
{
    constexpr int32_t kRegionOnly = 32;
    if (im_ != 0)
        DisplayImages(4.0F, im_, kRegionOnly, 0);
}

} // namespace vexa
