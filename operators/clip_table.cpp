#include "operators/clip_table.h"

#include "core/display_state.h"
#include "core/pixel_types.h"
#include "vexalib/frames.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct FloatRange {
    float low;
    float high;
};

struct State {
    ClipState clip;
    FloatRange range = {-3e38F, 0.0F};
};
State state;

FloatRange rangeOfType(int32_t type)
{
    if (type == PIX_BYTE || isColorType(type))
        return {0.0F, 255.0F};
    if (type == PIX_WORD)
        return {0.0F, 65535.0F};
    if (type == PIX_DWORD)
        return {1.0F, 4294967296.0F};
    if (type == kTypeSByte)
        return {-128.0F, 127.0F};
    return {-3e38F, 0.0F};
}

} // namespace

const ClipState& clipState()
{
    return state.clip;
}

ClipLimits clipLimits()
{
    return {static_cast<uint8_t>(displayState().highestPixel), state.range.low, state.range.high};
}

void setFloatRange(int32_t destType)
{
    state.range = rangeOfType(destType);
}

ClipModeGuard::ClipModeGuard(int32_t mode) : before_(state.clip)
{
    I_SetClipMode(mode);
}

ClipModeGuard::~ClipModeGuard()
{
    state.clip = before_;
}

} // namespace vexa

int32_t I_SetClipMode(int32_t mode)
{
    using namespace vexa;
    const int32_t previous = state.clip.mode;
    state.clip.mode = mode;
    if (mode < 0 || mode >= kClipRows) {
        // Required: the word takes what is no mode, and the table stays.
        I_SetError(12, "I_SetClipMode");
        return previous;
    }
    state.clip.row = mode;
    state.clip.complex = mode == 2   ? ComplexClip::magnitude
                         : mode == 7 ? ComplexClip::power
                                     : ComplexClip::keep;
    return previous;
}

int32_t I_GetClipMode()
{
    return vexa::clipState().mode;
}
