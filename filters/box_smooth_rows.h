// Row functions of the smoothing pass, whose windows are one pixel wide or one row high. Compiled once per instruction
// set, hence no include guard.

// Each builds on those before it.
// clang-format off
#include "operators/row_loops.h"
#include "filters/box_running_rows.h"
#include "filters/box_bytes_rows.h"
#include "filters/box_floats_rows.h"
// clang-format on

namespace vexa::VEXA_TARGET
{
namespace
{

inline constexpr BoxFilters kBoxFilters = {
    boxColumnBytes<uint16_t>, boxColumnBytes<uint32_t>, boxColumnBytesAnew, boxColumnFloats,
    boxRowBytes<uint16_t>,    boxRowBytes<uint32_t>,    boxRowFloats};

} // namespace
} // namespace vexa::VEXA_TARGET
