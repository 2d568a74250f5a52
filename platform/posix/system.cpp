#include "platform/system.h"

#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/posix.h"

namespace vexa::platform
{

constinit const VexaPlatform kSystem = {
    .size = sizeof(VexaPlatform),
    .messageBox = posix::messageBox,
    .storeClipboard = posix::storeClipboard,
    .fetchClipboard = posix::fetchClipboard,
    // No movable memory and no display of the system's own.
    .globalAlloc = nullptr,
    .globalLock = nullptr,
    .globalUnlock = nullptr,
    .globalSize = nullptr,
    .globalFree = nullptr,
    .openDisplay = nullptr,
    .closeDisplay = nullptr,
    .stretchBitmap = nullptr,
    .startTimer = posix::startTimer,
    .stopTimer = posix::stopTimer,
    .startThread = posix::startThread,
    .beep = posix::beep,
    .counter = posix::counter,
    .counterFrequency = posix::counterFrequency,
    .availableMemory = posix::availableMemory,
    .readFile = posix::readFile,
    .readProfile = posix::readProfile,
    .writeProfile = posix::writeProfile,
    .lastError = posix::lastError,
};

char directorySeparator()
{
    return '/';
}

bool seekFile(std::FILE* file, int64_t position)
{
    const auto offset = static_cast<off_t>(position);
    return offset == position && fseeko(file, offset, SEEK_SET) == 0;
}

int64_t filePosition(std::FILE* file)
{
    return ftello(file);
}

void raiseDivisionFault()
{
#if defined(__x86_64__) || defined(__i386__)
    // A division by zero in C++ would be undefined, and a raised signal would not be the processor's fault.
    int32_t quotient = 10;
    int32_t remainder = 0;
    __asm__ volatile("idivl %2" : "+a"(quotient), "+d"(remainder) : "r"(0) : "cc");
#else
    std::raise(SIGFPE); // other processors divide by zero without a fault
#endif
}

namespace posix
{

int64_t counter()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

int64_t counterFrequency()
{
    return 1000000000;
}

int64_t availableMemory()
{
    // The kernel's own estimate counts what its caches would give back; free pages alone would be far too
    // few.
    if (std::FILE* file = std::fopen("/proc/meminfo", "r")) {
        char line[128];
        long long kibibytes = -1;
        while (kibibytes < 0 && std::fgets(line, sizeof line, file))
            std::sscanf(line, "MemAvailable: %lld kB", &kibibytes);
        std::fclose(file);
        if (kibibytes >= 0)
            return int64_t{kibibytes} * 1024;
    }
#if defined(_SC_AVPHYS_PAGES)
    const int64_t pages = sysconf(_SC_AVPHYS_PAGES);
    return pages > 0 ? pages * sysconf(_SC_PAGESIZE) : 0;
#else
    return 0;
#endif
}

int64_t readFile(const char* name, void* buffer, int64_t count)
{
    if (!name || !buffer || count <= 0)
        return 0;
    std::FILE* file = std::fopen(name, "rb");
    if (!file)
        return 0;
    const std::size_t bytes = std::fread(buffer, 1, static_cast<std::size_t>(count), file);
    std::fclose(file);
    return static_cast<int64_t>(bytes);
}

int32_t lastError(char* text, std::size_t size)
{
    const int code = errno;
    if (text && size > 0)
        std::snprintf(text, size, "%s", std::strerror(code));
    return code;
}

} // namespace posix
} // namespace vexa::platform
