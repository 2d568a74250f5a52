// What the row frames share with row functions and operators of this library.
#ifndef VEXA_OPERATORS_ROW_FRAMES_H
#define VEXA_OPERATORS_ROW_FRAMES_H

#include <cstdint>

#include "vexalib/frames.h"

namespace vexa
{

// Where the row function that is running stands; GetImageXY reads it.
struct FramePosition {
    int32_t type = 0; // the processing type
    int32_t x = 0;    // of the row's first pixel
    int32_t width = 0;
    int32_t y = 0;
};
const FramePosition& framePosition();

// A result of this size finds its first rows gone from the cache when its last ones are written.
inline constexpr int64_t kBytesPastCache = int64_t{8} << 20;
// True while a frame fills a result that is too large to stay in the cache: a row function may then write past it.
bool resultPassesCache();

// How a row function wants its rows. One that neither asks where it is nor cares where a row ends takes rows that lie
// one behind the other in memory as one long row.
enum class RowCalls { each, joined };

// I_UnaryOpType and I_BinaryOperatorType, with the choice.
int32_t runUnaryFrame(int32_t imSrc, int32_t imDest, void* parameter, UnaryRowFilter function, int32_t type,
                      RowCalls calls);
int32_t runBinaryFrame(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, void* parameter,
                       BinaryRowFilter function, int32_t type, RowCalls calls);

} // namespace vexa

#endif
