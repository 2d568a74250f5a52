#include "vexalib/roi_store.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/display_state.h"
#include "core/roi_slots.h"
#include "core/roi_state.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kStackLevels = 17; // slots 16 down to 0
constexpr double kTwoPi = 6.283185307179586;

struct State {
    RoiSlot slots[kRoiSlots];
    int32_t depth = 0;
};
constinit State state;

bool isSlot(int32_t slot)
{
    return slot >= 0 && slot < kRoiSlots;
}

// The level that the next push or pop is about.
int32_t stackSlot()
{
    return kStackLevels - state.depth;
}

} // namespace

RoiSlot& roiSlot(int32_t slot)
{
    return state.slots[slot];
}

bool replaceSlotPoints(RoiSlot& slot, int64_t points, const char* tag)
{
    auto* block = static_cast<VexaPoint*>(allocateBlock(points, sizeof(VexaPoint)));
    if (malloctest(block, "%s", tag)) {
        slot.count = 0;
        return false;
    }
    releaseBlock(slot.points);
    slot.points = block;
    return true;
}

} // namespace vexa

int32_t I_SaveROI(int32_t slot)
{
    if (!vexa::isSlot(slot))
        return I_SetError(12, "I_SaveROI n=%d", slot);
    if (!vexa::ensureScanList())
        return 0;
    vexa::RoiSlot& saved = vexa::roiSlot(slot);
    int32_t count = 0;
    const VexaPoint* points = getroidata(&saved.type, &count);
    if (count > 0) {
        if (!vexa::replaceSlotPoints(saved, count, "I_SaveROI()"))
            return 0;
        std::copy_n(points, count, saved.points);
    }
    saved.count = count;
    return 1;
}

int32_t I_RecallROI(int32_t slot)
{
    if (!vexa::isSlot(slot))
        return I_SetError(12, "I_RecallROI n=%d", slot);
    const vexa::RoiSlot& saved = vexa::roiSlot(slot);
    setroidata(saved.type, saved.count, saved.points);
    return 1;
}

VexaPoint* getroidata(int32_t* type, int32_t* count)
{
    static VexaPoint corners[2];
    vexa::RoiState& roi = vexa::roiState();
    VexaPoint* points = nullptr;
    int32_t n = 0;
    if (roi.type == vexa::kRoiWindow) {
        corners[0] = {roi.window.left, roi.window.top};
        corners[1] = {roi.window.right, roi.window.bottom};
        points = corners;
        n = 2;
    } else if (roi.type == vexa::kRoiPolygon) {
        points = roi.polygon;
        n = roi.polygonCount;
    } else if (roi.type == vexa::kRoiScanlist) {
        points = roi.list.points;
        n = roi.list.count;
    }
    if (type)
        *type = roi.type;
    if (count)
        *count = n;
    return points;
}

int32_t setroidata(int32_t type, int32_t count, const VexaPoint* points)
{
    if (type < 0 || type > vexa::kRoiScanlist)
        return I_SetROIType(type);
    vexa::RoiState& roi = vexa::roiState();
    const auto bytes = [](int32_t n) { return static_cast<std::size_t>(n) * sizeof(VexaPoint); };
    if (type == vexa::kRoiScanlist) {
        const bool room = vexa::ensureScanList();
        roi.list.count = room && points ? std::clamp(count, 0, roi.list.capacity) : 0;
        if (roi.list.count > 0)
            std::memmove(roi.list.points, points, bytes(roi.list.count));
    } else if (type == vexa::kRoiPolygon && points && count > 0) {
        roi.polygonCount = std::min(count, vexa::kMostPolygonPoints);
        std::memmove(roi.polygon, points, bytes(roi.polygonCount));
    } else if (type == vexa::kRoiWindow && points && count > 1) {
        roi.window = {points[0].x, points[0].y, points[1].x, points[1].y};
    }
    return I_SetROIType(type);
}

int32_t I_PushROI()
{
    if (vexa::state.depth < vexa::kStackLevels)
        ++vexa::state.depth;
    else
        I_SetError(1, "PushROI overflow. Index=%d", vexa::state.depth);
    I_SaveROI(vexa::stackSlot());
    return vexa::state.depth;
}

int32_t I_PushWindowROI(int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    const int32_t depth = I_PushROI();
    if (left == 0 && top == 0 && right == 0 && bottom == 0)
        I_SetROIType(vexa::kRoiFullFrame);
    else
        I_SetWindowROI(left, top, right, bottom);
    return depth;
}

int32_t I_PopROI()
{
    I_RecallROI(vexa::stackSlot());
    if (vexa::state.depth > 0)
        --vexa::state.depth;
    else
        I_SetError(1, "PopROI underflow. Index=%d", vexa::state.depth);
    return vexa::state.depth;
}

int32_t I_MakePolyCircle(double centerX, double centerY, double radius, double aspect, int32_t points)
{
    // As many points as a polygon can have still make a whole circle.
    const int32_t n = std::min(points, vexa::kMostPolygonPoints);
    if (n < 1)
        return 0;
    const double stretch = aspect * vexa::displayState().pixelAspect;
    const double step = vexa::kTwoPi / n;
    VexaPoint circle[vexa::kMostPolygonPoints];
    for (int32_t i = 0; i < n; ++i) {
        circle[i].x = vexa::truncToInt32(std::cos(i * step) * stretch * radius + centerX);
        circle[i].y = vexa::truncToInt32(std::sin(i * step) * radius + centerY);
    }
    return I_SetPolygonROI(circle, n);
}

VexaPointF* I_MakeCircleList(float centerX, float centerY, float radius, float aspect, int32_t* count)
{
    if (count)
        *count = 0;
    const int32_t n = vexa::truncToInt32(vexa::kTwoPi * radius + 0.5);
    if (n < 0)
        return nullptr;
    auto* list = static_cast<VexaPointF*>(vexa::allocateForCaller(int64_t{n} + 1, sizeof(VexaPointF)));
    if (malloctest(list, "I_MakeCircleList"))
        return nullptr;
    const float stretch = aspect > 0.0F ? aspect : 1.0F;
    const float step = n > 0 ? static_cast<float>(vexa::kTwoPi / n) : 0.0F;
    for (int32_t i = 0; i <= n; ++i) {
        const double angle = i < n ? static_cast<float>(i) * step : 0.0F;
        list[i].x = static_cast<float>(std::sin(angle) * radius * stretch + centerX);
        list[i].y = static_cast<float>(std::cos(angle) * radius + centerY);
    }
    if (count)
        *count = n;
    return list;
}
