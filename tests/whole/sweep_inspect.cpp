#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptInspection()
{
    return {};
}

} // namespace vexa::test
