#include "core/image_kinds.h"

namespace vexa
{
namespace
{

// The kinds that are built in stand here, all others are registered at run time.
constinit ImageKindHooks hooks = {};

} // namespace

ImageKindHooks& imageKindHooks()
{
    return hooks;
}

} // namespace vexa
