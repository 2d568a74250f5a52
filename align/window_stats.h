// Mean and standard deviation of windows of bytes.
#ifndef VEXA_ALIGN_WINDOW_STATS_H
#define VEXA_ALIGN_WINDOW_STATS_H

#include <cstdint>

namespace vexa
{

struct WindowMoments {
    double mean = 0.0;
    double deviation = 0.0;
};

// Remembers its last window: one that lies a pixel to the right of it is worked out from the columns that differ. The
// sums are floats, so that both ways round differently.
class WindowStats
{
public:
    // Leaves moments as they are where width is below 1.
    void measure(const uint8_t* window, int32_t stride, int32_t width, int32_t height,
                 WindowMoments& moments);

private:
    void addRows(const uint8_t* window, int32_t stride, int32_t width, int32_t height);
    void slide(const uint8_t* window, int32_t stride, int32_t width, int32_t height);

    const uint8_t* last_ = nullptr;
    float sum_ = 0.0F;
    float squares_ = 0.0F;
};

} // namespace vexa

#endif
