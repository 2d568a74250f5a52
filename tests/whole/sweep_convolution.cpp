#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptConvolution()
{
    return {};
}

} // namespace vexa::test
