#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptProfiles()
{
    return {};
}

} // namespace vexa::test
