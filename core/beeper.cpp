#include <atomic>

#include "platform/platform.h"
#include "vexalib/status.h"

using namespace vexa;

namespace
{

// The two words that the beeper's thread shares with its callers.
struct State {
    std::atomic<int32_t> frequency = 0;
    std::atomic<uint32_t> generation = 0;
};
constinit State state;

constexpr int32_t kLowestStarted = 10;
constexpr int32_t kLowestHeard = 11; // Required: 10 starts a thread that ends at once.

void beepWhileCurrent(void* generation)
{
    constexpr int32_t kBeepMilliseconds = 100;
    const auto own = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(generation));
    while (state.generation == own) {
        const int32_t frequency = state.frequency;
        if (frequency < kLowestHeard)
            return;
        platform::beep(frequency, kBeepMilliseconds);
    }
}

} // namespace

int32_t sound(int32_t frequency)
{
    const int32_t old = state.frequency.exchange(frequency);
    if (frequency >= kLowestStarted) {
        const uint32_t own = ++state.generation;
        platform::startThread(beepWhileCurrent, reinterpret_cast<void*>(uintptr_t{own}));
    } else {
        platform::beep(0, 0);
    }
    return old;
}

int32_t nosound()
{
    return sound(0);
}
