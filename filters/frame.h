// The M by N frame as the filters of this library use it: I_MxNOperatorType with what a row callback does not see.
#ifndef VEXA_FILTERS_FRAME_H
#define VEXA_FILTERS_FRAME_H

#include <cstdint>

#include "vexalib/neighbourhood.h"

namespace vexa
{

// One call of a row function: compute out[0] to out[count - 1], where out[i] depends on columns i to i + width - 1 of
// the rows.
//
// Up to kFrameSlack bytes behind the last pixel of each row may be read (what they hold is of no meaning), so that the
// last vector of a row needs no care. Nothing may be written but the count pixels of out.
struct FrameLine {
    int32_t x0; // where the run of the region starts
    int32_t y;
    int32_t width;  // of the neighbourhood
    int32_t height; // of the neighbourhood
    void** rows;    // height rows of count + width - 1 pixels, the top one first
    void* out;
    void* prevOut; // the output row of the call before; null where the destination is written straight
    int32_t count;
    // The first call of a band: nothing that was kept from earlier calls holds.
    bool bandStart;
    // The rows have moved up by one since the call before: rows[0] was rows[1]. Always so, even where the region skips
    // lines; false for the second and later runs of a line, which have the rows of the first.
    bool newLine;
    // The source's pixels that the next line will bring in, under out; null where they have no address. For prefetching
    // alone: the ring gets its row when the line comes.
    const uint8_t* ahead;
};

using FrameFilter = void (*)(const FrameLine& line, void* user);

inline constexpr int32_t kFrameSlack = 256;

// Where a row function writes its pixels.
enum class FrameOutput {
    buffered, // into an output row that changes place with the previous one, from which the frame stores
    straight, // into the destination where its rows can be addressed and a run covers the whole box; the row function
              // must not read prevOut
};

// I_MxNOperatorType with a row function of this library.
int32_t runFrame(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, void* user, FrameFilter filter,
                 int32_t type, FrameOutput output);

// What the frame does outside an image: the border mode, and the constant in the type that is worked in.
struct BorderRule {
    enum class Mode { constant, replicate, reflect };
    static constexpr int32_t kWidestPixel = 16;

    Mode mode = Mode::reflect;
    uint8_t pixel[2 * kWidestPixel] = {}; // rows may give a pixel more room than its type

    // Of the border mode in force.
    explicit BorderRule(int32_t type);
    // Continues a row of pixels by so many to the left and to the right, as the frame does with the rows of a walk.
    void padRow(uint8_t* first, int32_t pixels, int32_t left, int32_t right, int32_t pixelBytes) const;
};

// The border mode of a function's own work; the border is as before on every way out.
class [[nodiscard]] BorderModeGuard
{
public:
    explicit BorderModeGuard(int32_t mode) : previous_(I_SetBorderMode(mode, nullptr, PIX_FLOAT)) {}
    ~BorderModeGuard() { I_SetBorderMode(previous_, nullptr, PIX_FLOAT); }
    BorderModeGuard(const BorderModeGuard&) = delete;
    BorderModeGuard& operator=(const BorderModeGuard&) = delete;

private:
    int32_t previous_;
};

} // namespace vexa

#endif
