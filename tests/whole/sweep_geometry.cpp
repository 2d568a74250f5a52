#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptGeometry()
{
    return {};
}

} // namespace vexa::test
