#include "platform/platform.h"

#include <atomic>
#include <cstring>

#include "platform/system.h"

namespace vexa::platform
{
namespace
{

// What the application put in place; null entries leave the system's own.
constinit VexaPlatform given{};

// Entries are read one by one without a lock, since the beeper's and the timer's threads read them too.
template <auto Entry>
auto chosen()
{
    const auto entry = std::atomic_ref(given.*Entry).load(std::memory_order_relaxed);
    return entry ? entry : kSystem.*Entry;
}

template <auto... Entry>
void replaceAll(const VexaPlatform& from)
{
    (std::atomic_ref(given.*Entry).store(from.*Entry, std::memory_order_relaxed), ...);
}

bool hasMovableMemory(const VexaPlatform& p)
{
    return p.globalAlloc && p.globalLock && p.globalUnlock && p.globalSize && p.globalFree;
}

bool hasDisplay(const VexaPlatform& p)
{
    return p.openDisplay && p.closeDisplay && p.stretchBitmap;
}

// Functions that work on one another's handles come together or not at all.
void dropIncompleteGroups(VexaPlatform& p)
{
    if (!hasMovableMemory(p)) {
        p.globalAlloc = nullptr;
        p.globalLock = nullptr;
        p.globalUnlock = nullptr;
        p.globalSize = nullptr;
        p.globalFree = nullptr;
    }
    if (!hasDisplay(p)) {
        p.openDisplay = nullptr;
        p.closeDisplay = nullptr;
        p.stretchBitmap = nullptr;
    }
    if (!p.storeClipboard || !p.fetchClipboard) {
        p.storeClipboard = nullptr;
        p.fetchClipboard = nullptr;
    }
    if (!p.startTimer || !p.stopTimer) {
        p.startTimer = nullptr;
        p.stopTimer = nullptr;
    }
    if (!p.counter || !p.counterFrequency) {
        p.counter = nullptr;
        p.counterFrequency = nullptr;
    }
}

} // namespace

int32_t messageBox(const char* text, const char* caption, int32_t buttons, int32_t defaultAnswer)
{
    return chosen<&VexaPlatform::messageBox>()(text, caption, buttons, defaultAnswer);
}

int32_t storeClipboard(int32_t format, const void* data, std::size_t bytes)
{
    return chosen<&VexaPlatform::storeClipboard>()(format, data, bytes);
}

std::size_t fetchClipboard(int32_t format, void* buffer, std::size_t capacity)
{
    return chosen<&VexaPlatform::fetchClipboard>()(format, buffer, capacity);
}

const VexaPlatform* movableMemory()
{
    if (given.globalAlloc)
        return &given;
    return kSystem.globalAlloc ? &kSystem : nullptr;
}

void* openDisplay(void* window)
{
    const auto open = chosen<&VexaPlatform::openDisplay>();
    return open ? open(window) : nullptr;
}

void closeDisplay(void* window, void* target)
{
    if (const auto close = chosen<&VexaPlatform::closeDisplay>())
        close(window, target);
}

int32_t stretchBitmap(void* target, const VexaStretch& stretch)
{
    const auto draw = chosen<&VexaPlatform::stretchBitmap>();
    return draw ? draw(target, &stretch) : 0;
}

int32_t startTimer(int32_t milliseconds, void (*tick)(void*), void* argument)
{
    return chosen<&VexaPlatform::startTimer>()(milliseconds, tick, argument);
}

int32_t stopTimer(int32_t timer)
{
    return chosen<&VexaPlatform::stopTimer>()(timer);
}

int32_t startThread(void (*body)(void*), void* argument)
{
    return chosen<&VexaPlatform::startThread>()(body, argument);
}

void beep(int32_t hertz, int32_t milliseconds)
{
    chosen<&VexaPlatform::beep>()(hertz, milliseconds);
}

int64_t counter()
{
    return chosen<&VexaPlatform::counter>()();
}

int64_t counterFrequency()
{
    return chosen<&VexaPlatform::counterFrequency>()();
}

int64_t availableMemory()
{
    return chosen<&VexaPlatform::availableMemory>()();
}

int64_t readFile(const char* name, void* buffer, int64_t count)
{
    return chosen<&VexaPlatform::readFile>()(name, buffer, count);
}

// What support/platform_files.h declares.
std::size_t readProfile(const char* file, const char* section, const char* key, const char* fallback,
                        char* buffer, std::size_t size)
{
    return chosen<&VexaPlatform::readProfile>()(file, section, key, fallback, buffer, size);
}

int32_t writeProfile(const char* file, const char* section, const char* key, const char* text)
{
    return chosen<&VexaPlatform::writeProfile>()(file, section, key, text);
}

int32_t lastError(char* text, std::size_t size)
{
    return chosen<&VexaPlatform::lastError>()(text, size);
}

} // namespace vexa::platform

int32_t vexaSetPlatform(const VexaPlatform* platform)
{
    using P = VexaPlatform;
    VexaPlatform next{};
    if (platform) {
        if (platform->size < sizeof(platform->size) || platform->size > sizeof(VexaPlatform))
            return 0;
        std::memcpy(&next, platform, platform->size);
    }
    vexa::platform::dropIncompleteGroups(next);
    vexa::platform::replaceAll<&P::messageBox, &P::storeClipboard, &P::fetchClipboard, &P::globalAlloc,
                               &P::globalLock, &P::globalUnlock, &P::globalSize, &P::globalFree,
                               &P::openDisplay, &P::closeDisplay, &P::stretchBitmap, &P::startTimer,
                               &P::stopTimer, &P::startThread, &P::beep, &P::counter, &P::counterFrequency,
                               &P::availableMemory, &P::readFile, &P::readProfile, &P::writeProfile,
                               &P::lastError>(next);
    return 1;
}
