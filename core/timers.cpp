#include "platform/platform.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/status.h"

using namespace vexa;

namespace
{

// A counter value in two words, as callers keep it.
struct Stamp {
    int32_t low = 0;
    int32_t high = 0;
};

struct State {
    Stamp start;              // set by every I_PerfStart
    uintptr_t firstBlock = 0; // of MemTest
};
constinit State state;

Stamp now()
{
    const auto ticks = static_cast<uint64_t>(platform::counter());
    return {static_cast<int32_t>(static_cast<uint32_t>(ticks)), static_cast<int32_t>(ticks >> 32)};
}

// Required: a caller's stamp whose low word is zero counts as none.
Stamp startOf(const int32_t* stamp)
{
    return stamp && stamp[0] != 0 ? Stamp{stamp[0], stamp[1]} : state.start;
}

double toDouble(Stamp stamp)
{
    return stamp.high * 4294967296.0 + static_cast<uint32_t>(stamp.low);
}

int32_t elapsed(const int32_t* stamp, double unitsPerSecond)
{
    const double ticks = toDouble(now()) - toDouble(startOf(stamp));
    return truncToInt32(ticks * unitsPerSecond / static_cast<double>(platform::counterFrequency()));
}

} // namespace

int32_t I_PerfStart(int32_t* stamp)
{
    state.start = now();
    if (stamp) {
        stamp[0] = state.start.low;
        stamp[1] = state.start.high;
    }
    return 1;
}

int32_t I_PerfMilliSec(const int32_t* stamp)
{
    return elapsed(stamp, 1000.0);
}

int32_t I_PerfMicroSec(const int32_t* stamp)
{
    return elapsed(stamp, 1000000.0);
}

uint32_t I_PerfNanoSec(const int32_t* stamp)
{
    const Stamp start = startOf(stamp);
    const Stamp end = now();
    const auto scale = static_cast<uint32_t>(platform::counterFrequency() / 33333333);
    if (scale == 0)
        return 0; // the counter is too slow for this unit
    const uint32_t ticksBy32 = (static_cast<uint32_t>(wrapSubtract(end.high, start.high)) << 27) +
                               (static_cast<uint32_t>(end.low) >> 5) -
                               (static_cast<uint32_t>(start.low) >> 5);
    return ticksBy32 / scale * 960;
}

int32_t I_PerfCycles(const int32_t* stamp)
{
    return wrapSubtract(now().low, startOf(stamp).low);
}

int32_t MemTest(int32_t* drift)
{
    {
        const Buffer<uint8_t> block(2097152);
        const auto address = reinterpret_cast<uintptr_t>(block.data());
        if (state.firstBlock == 0)
            state.firstBlock = address;
        if (drift)
            *drift = block ? static_cast<int32_t>(static_cast<uint32_t>(address - state.firstBlock)) : 0;
    }
    I_PerfStart(nullptr);
    return I_PerfCycles(nullptr);
}

int32_t OverflowTest(int32_t a, int32_t b, int32_t* words)
{
    constexpr int32_t kWords = 32;
    if (words) {
        for (int32_t i = 0; i < kWords; ++i)
            words[i] = 0;
        words[0] = a;
        words[1] = b;
    }
    if (a == 0) {
        platform::raiseDivisionFault(); // the purpose of the call
        return 0;
    }
    return 10 / a;
}
