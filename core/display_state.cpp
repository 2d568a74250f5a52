#include "core/display_state.h"

namespace vexa
{

DisplayState& displayState()
{
    static constinit DisplayState state;
    return state;
}

} // namespace vexa
