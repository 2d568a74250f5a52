#include "core/image_kinds.h"

namespace vexa
{
namespace
{

constinit ImageKindHooks hooks = {isKindRegistered, openKind, refreshKind, openFileKind};

} // namespace

ImageKindHooks& imageKindHooks()
{
    return hooks;
}

} // namespace vexa
