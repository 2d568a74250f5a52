#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptRankAndEdges()
{
    return {};
}

} // namespace vexa::test
