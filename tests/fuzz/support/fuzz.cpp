#include "tests/fuzz/support/fuzz.h"

#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

#include "vexalib/platform.h"

namespace vexa::fuzz
{
namespace
{

void swallow(const char*, int32_t) {}

int32_t answer(const char*, const char*, int32_t, int32_t defaultAnswer)
{
    return defaultAnswer;
}

} // namespace

void quieten()
{
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = answer;
    vexaSetPlatform(&platform);
    I_SetErrorHandlerCallback(swallow);
}

InputFile::InputFile() : descriptor_(memfd_create("input", 0))
{
    require(descriptor_ >= 0);
    std::snprintf(name_, sizeof name_, "/proc/self/fd/%d", descriptor_);
}

InputFile::~InputFile()
{
    close(descriptor_);
}

void InputFile::set(const uint8_t* bytes, std::size_t count)
{
    require(ftruncate(descriptor_, 0) == 0);
    require(pwrite(descriptor_, bytes, count, 0) == static_cast<ssize_t>(count));
}

void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace vexa::fuzz
