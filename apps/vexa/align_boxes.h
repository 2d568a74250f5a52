// Where to measure a shift: boxes of a picture that hold edges of both directions.
#ifndef VEXA_APPS_ALIGN_BOXES_H
#define VEXA_APPS_ALIGN_BOXES_H

#include <cstdint>
#include <vector>

#include "image.h"

namespace app
{

// The rows of a grey picture, where they lie if they lie in memory. The picture outlives it.
class GreyRows
{
public:
    explicit GreyRows(const Image& image);
    int32_t cols() const { return cols_; }
    int32_t rows() const { return rows_; }
    const uint8_t* operator[](int32_t y) const { return table_[static_cast<std::size_t>(y)]; }

private:
    int32_t cols_, rows_;
    Pixels copy_;
    std::vector<const uint8_t*> table_;
};

// The pixels of a box that lies in the picture.
Pixels cut(const GreyRows& picture, const VexaBox& box);

// Edges that a shift in x moves, and edges that a shift in y moves.
struct Structure {
    double x = 0.0;
    double y = 0.0;
};

struct MeasuringBoxes {
    std::vector<VexaBox> boxes; // sides included
    bool isFlatX = true;        // nothing but noise tells a shift in x
    bool isFlatY = true;
};

int64_t pixelsOf(const std::vector<VexaBox>& boxes);

// Least side of a box where the region has room for two; none has twice that.
inline constexpr int32_t kLeastBoxSide = 96;

// Boxes within a region, of so many pixels altogether at most, chosen so that both directions get their share. A
// region that is smaller is one box.
MeasuringBoxes chooseBoxes(const GreyRows& picture, const VexaBox& region, int64_t mostPixels);

} // namespace app

#endif
