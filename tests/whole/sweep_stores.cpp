#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptStores()
{
    return {};
}

} // namespace vexa::test
