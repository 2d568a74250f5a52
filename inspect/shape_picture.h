// What I_EdgeShape shows of its work while the debug word is set.
#ifndef VEXA_INSPECT_SHAPE_PICTURE_H
#define VEXA_INSPECT_SHAPE_PICTURE_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

// A copy of the image with the path and the traces on it, in the graphics frame and colour mode 1 while it lives.
// Without the debug word there is none, and nothing happens.
class ShapePicture
{
public:
    explicit ShapePicture(int32_t im);
    ~ShapePicture();
    ShapePicture(const ShapePicture&) = delete;
    ShapePicture& operator=(const ShapePicture&) = delete;

    void putPath(const VexaPointF* points, int32_t n);
    // The trace of a crossing, and where it was to start and did start. Shows the picture.
    void putTrace(int32_t number, const VexaPointF* points, int32_t n, VexaPoint crossing, VexaPoint start);
    void show() const;

private:
    void put(const VexaPointF* points, int32_t n, float color);

    int32_t im_ = 0;
    int32_t frame_ = 0;
    int32_t colorMode_ = 0;
};

} // namespace vexa

#endif
