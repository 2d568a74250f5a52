#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptSmoothing()
{
    return {};
}

} // namespace vexa::test
