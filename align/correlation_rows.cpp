#include "align/correlation_rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#define VEXA_ROWS_FILE "align/correlation_loops.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{

const CorrelationRows& correlationRows()
{
    return VEXA_ROWS(kCorrelationRows);
}

} // namespace vexa
