// The clip table: what becomes of a result that leaves the range of its pixel type.
#ifndef VEXA_OPERATORS_CLIP_TABLE_H
#define VEXA_OPERATORS_CLIP_TABLE_H

#include <cstdint>

namespace vexa
{

// Rows of the table, one for each mode of I_SetClipMode.
inline constexpr int32_t kClipRows = 8;

enum class ComplexClip { keep, magnitude, power };

struct ClipState {
    int32_t mode = 1; // the word that I_GetClipMode tells, which need not be a mode
    int32_t row = 1;  // the row in force
    // Required: until the first I_SetClipMode the complex slot gives the magnitude, unlike in mode 1.
    ComplexClip complex = ComplexClip::magnitude;
};
const ClipState& clipState();

// The bounds of the clips. Row functions read them once per row.
struct ClipLimits {
    uint8_t highestPixel;
    float low;
    float high; // 0: no upper limit
};
ClipLimits clipLimits();

// Sets the float range for results that go to an image of this type.
void setFloatRange(int32_t destType);

// Another clip mode for a function's own work; the mode word and the table are as before on every way out.
class [[nodiscard]] ClipModeGuard
{
public:
    explicit ClipModeGuard(int32_t mode);
    ~ClipModeGuard();
    ClipModeGuard(const ClipModeGuard&) = delete;
    ClipModeGuard& operator=(const ClipModeGuard&) = delete;

private:
    ClipState before_;
};

} // namespace vexa

#endif
