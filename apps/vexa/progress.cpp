#include "progress.h"

#include <cstdint>
#include <cstdio>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include "failure.h"
#include "vexalib/status.h"

namespace app
{
namespace
{

constexpr int32_t kIntervalMs = 100;
constexpr int kLineWidth = 60;
bool lineIsOpen = false;

bool isTerminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(fileno(stderr)) != 0;
#endif
}

void show(float fraction, const char* text)
{
    std::fprintf(stderr, "\r%3d %%  %-*.*s", static_cast<int>(fraction * 100.0F), kLineWidth, kLineWidth,
                 text ? text : "");
    std::fflush(stderr);
    lineIsOpen = true;
}

void showNothing(float, const char*) {}

} // namespace

Progress::Progress()
{
    const bool wanted = verbosity() != Verbosity::quiet && isTerminal();
    I_SetProgressCallback(wanted ? show : showNothing, kIntervalMs);
}

Progress::~Progress()
{
    I_SetProgressCallback(showNothing, kIntervalMs);
    if (lineIsOpen)
        std::fprintf(stderr, "\r%*s\r", kLineWidth + 7, "");
    lineIsOpen = false;
}

} // namespace app
