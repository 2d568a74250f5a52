// Whole files in one call.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "support/platform_files.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace
{

struct Written {
    int32_t count = 0;
    int error = 0;
    std::FILE* file = nullptr; // closed; only for the message
};

// The stream has no buffer, so the error number tells of the write itself.
Written writeFile(const char* name, const char* mode, const void* buffer, int32_t count)
{
    Written result;
    if (!name || count < 0 || (!buffer && count > 0)) {
        result.error = EINVAL;
        return result;
    }
    errno = 0;
    result.file = std::fopen(name, mode);
    if (result.file) {
        std::setvbuf(result.file, nullptr, _IONBF, 0);
        if (count > 0)
            result.count =
                static_cast<int32_t>(std::fwrite(buffer, 1, static_cast<std::size_t>(count), result.file));
    }
    result.error = errno;
    if (result.file)
        std::fclose(result.file);
    return result;
}

unsigned long addressOf(const void* pointer)
{
    return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(pointer));
}

} // namespace

int32_t I_ReadFile(const char* name, void* buffer, int32_t count)
{
    if (!name || !buffer || count < 1)
        return 0;
    return static_cast<int32_t>(vexa::platform::readFile(name, buffer, count));
}

int32_t I_WriteFile(const char* name, const void* buffer, int32_t count)
{
    const Written written = writeFile(name, "wb", buffer, count);
    if (written.error != 0)
        I_SetError(1, "I_WriteFile %s; buf=%lx fp=%x len=%d LenWrite=%d err=%s", name ? name : "",
                   addressOf(buffer), static_cast<unsigned>(addressOf(written.file)), count, written.count,
                   std::strerror(written.error));
    return written.count;
}

int32_t I_AppendFile(const char* name, const void* buffer, int32_t count)
{
    const Written written = writeFile(name, "ab", buffer, count);
    if (written.error != 0)
        vexa_dprintf("I_AppendFile %s; buf=%lx fp=%x len=%d LenWrite=%d err=%s", name ? name : "",
                     addressOf(buffer), static_cast<unsigned>(addressOf(written.file)), count, written.count,
                     std::strerror(written.error));
    return written.count;
}
