// Guards that put the region of interest back, and the region that is kept with an image.
#ifndef VEXA_CORE_ROI_H
#define VEXA_CORE_ROI_H

#include <cstdint>

#include "vexalib/roi.h"
#include "vexalib/roi_store.h"

namespace vexa
{

inline constexpr int32_t kRoiFullFrame = 0;
inline constexpr int32_t kRoiWindow = 1;
inline constexpr int32_t kRoiPolygon = 2;
inline constexpr int32_t kRoiScanlist = 3;

// I_PushROI now, I_PopROI on every way out.
class [[nodiscard]] RoiGuard
{
public:
    RoiGuard() { I_PushROI(); }
    ~RoiGuard() { I_PopROI(); }
    RoiGuard(const RoiGuard&) = delete;
    RoiGuard& operator=(const RoiGuard&) = delete;
};

// Another region type for a while; the window, the polygon and the list stay as they are.
class [[nodiscard]] RoiTypeGuard
{
public:
    explicit RoiTypeGuard(int32_t type) : previous_(I_SetROIType(type)) {}
    ~RoiTypeGuard() { I_SetROIType(previous_); }
    RoiTypeGuard(const RoiTypeGuard&) = delete;
    RoiTypeGuard& operator=(const RoiTypeGuard&) = delete;

private:
    int32_t previous_;
};

// The current region as the image's region text (parameter 15), by way of slot 19. False: no memory.
bool keepRoiWithImage(int32_t im);
// The region kept with an image becomes the current one, by way of slot 19.
void recallRoiOfImage(int32_t im);

} // namespace vexa

#endif
