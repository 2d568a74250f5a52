#include "vexalib/arithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

#include "operators/row_choice.h"
#include "operators/row_frames.h"
#include "operators/working_type.h"
#include "support/numbers.h"

namespace vexa
{
namespace
{

struct DivideParameter {
    int32_t whole; // the gain truncated
    float gain;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/divide_rows.h"
#include "support/for_each_instruction_set.h"

int32_t I_Divide(int32_t imA, int32_t imB, int32_t imDest, double gain)
{
    const double by = gain == 0.0 ? 1.0 : gain;
    vexa::DivideParameter parameter = {vexa::truncToInt32(by), static_cast<float>(by)};
    const auto row = VEXA_ROWS(kDivideRows).choose(vexa::widestType(imA, imB, imDest));
    return vexa::runBinaryFrame(imA, imB, imDest, 0, 0, &parameter, row.function, row.type,
                                vexa::RowCalls::joined);
}
