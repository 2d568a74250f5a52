#include <cmath>

#include "core/text.h"
#include "platform/platform.h"
#include "vexalib/status.h"

using namespace vexa;

namespace
{

struct State {
    VexaProgressCallback callback = I_ShowProgress;
    int32_t interval = 100; // milliseconds; 0 stands for each form's own
    KeptText text;
    float fraction = 0.0F;
    int32_t stamp[2] = {};   // of I_TellProgress
    int32_t stampEx[2] = {}; // of I_TellProgressEx
};
constinit State state;

constexpr std::size_t kTextLimit = 300;

// The callback may tell progress itself, so it reads a text of its own.
void deliver()
{
    const char* text = state.text.get() ? state.text.get() : "----";
    const std::size_t length = std::strlen(text);
    FixedText<kTextLimit> own;
    Buffer<char> longOwn;
    if (length > kTextLimit)
        longOwn = Buffer<char>(static_cast<int64_t>(length) + 1);
    if (longOwn)
        std::memcpy(longOwn.data(), text, length);
    else
        own.set(text);
    state.callback(state.fraction, longOwn ? longOwn.data() : own.get());
}

// Unlike I_PerfStart this leaves the application's own timing alone.
void restart(int32_t* stamp)
{
    const auto ticks = static_cast<uint64_t>(platform::counter());
    stamp[0] = static_cast<int32_t>(static_cast<uint32_t>(ticks));
    stamp[1] = static_cast<int32_t>(ticks >> 32);
}

void tell(float done, float total, const char* text, int32_t defaultInterval, int32_t* stamp)
{
    if (text && *text)
        state.text.keep(text);
    state.fraction = 0.0F;
    if (std::fabs(total) > 0.0001F) {
        const float fraction = std::fabs(done / total);
        state.fraction = fraction > 1.0F ? 1.0F : fraction;
    }
    if (state.fraction != 1.0F) {
        const int32_t interval = state.interval ? state.interval : defaultInterval;
        const int32_t elapsed = I_PerfMilliSec(stamp);
        constexpr int32_t longAgo = INT32_MIN; // a time that does not fit 32 bits
        if (elapsed <= interval && elapsed != longAgo)
            return;
    }
    restart(stamp);
    if (state.fraction > 0.0F)
        deliver();
}

} // namespace

int32_t I_SetProgressCallback(VexaProgressCallback callback, int32_t intervalMs)
{
    state.callback = callback;
    state.interval = intervalMs;
    return intervalMs;
}

void I_TellProgress(float done, float total, const char* text)
{
    if (state.callback)
        tell(done, total, text, 80, state.stamp);
}

void I_TellProgressEx(float done, float total, const char* format, ...)
{
    if (!state.callback)
        return;
    FixedText<kTextLimit> text;
    va_list arguments;
    va_start(arguments, format);
    text.format(format, arguments);
    va_end(arguments);
    tell(done, total, text.get(), 250, state.stampEx);
}

float I_GetProgress(char* buffer, int32_t size)
{
    if (buffer && size > 0) {
        const char* text = state.text.get() ? state.text.get() : "----";
        const std::size_t bytes = std::strlen(text) + 1;
        // Required: a text as long as the buffer or longer is left without its zero.
        std::memcpy(buffer, text,
                    bytes < static_cast<std::size_t>(size) ? bytes : static_cast<std::size_t>(size));
    }
    return state.fraction;
}

void I_ShowProgress(float, const char*) {}
