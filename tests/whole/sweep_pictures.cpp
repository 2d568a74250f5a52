#include "tests/whole/sweep.h"

namespace vexa::test
{

std::vector<SweptFunction> sweptPictures()
{
    return {};
}

} // namespace vexa::test
