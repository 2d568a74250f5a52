#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptAlign()
{
    return {};
}

} // namespace vexa::test
