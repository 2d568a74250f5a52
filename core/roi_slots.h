// The numbered slots that hold copies of a region.
#ifndef VEXA_CORE_ROI_SLOTS_H
#define VEXA_CORE_ROI_SLOTS_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

inline constexpr int32_t kRoiSlots = 20;
inline constexpr int32_t kResultSlot = 17;
inline constexpr int32_t kSavedSlot = 18;
inline constexpr int32_t kTextSlot = 19;

struct RoiSlot {
    int32_t type = 0;
    int32_t count = 0;
    VexaPoint* points = nullptr; // at least count points; for the life of the process
};

RoiSlot& roiSlot(int32_t slot);

// An array of so many zeroed points in place of the slot's. False, with error 2 and a count of 0: no memory.
[[nodiscard]] bool replaceSlotPoints(RoiSlot& slot, int64_t points, const char* tag);

} // namespace vexa

#endif
