#include <cstdio>

#include "platform/posix/posix.h"
#include "vexalib/platform.h"

namespace vexa::platform::posix
{
namespace
{

const char* nameOf(int32_t answer)
{
    switch (answer) {
    case VEXA_ANSWER_YES:
        return "Yes";
    case VEXA_ANSWER_NO:
        return "No";
    case VEXA_ANSWER_CANCEL:
        return "Cancel";
    default:
        return "OK";
    }
}

} // namespace

int32_t messageBox(const char* text, const char* caption, int32_t buttons, int32_t defaultAnswer)
{
    if (buttons == VEXA_BOX_OK)
        std::fprintf(stderr, "%s: %s\n", caption, text);
    else
        std::fprintf(stderr, "%s: %s [%s] %s\n", caption, text,
                     buttons == VEXA_BOX_YES_NO ? "Yes, No" : "Yes, No, Cancel", nameOf(defaultAnswer));
    return defaultAnswer;
}

} // namespace vexa::platform::posix
