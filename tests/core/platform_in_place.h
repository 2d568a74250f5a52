// A platform of the test's own: boxes, threads, beeps and the clock are caught instead of reaching the system.
#ifndef VEXA_TESTS_CORE_PLATFORM_IN_PLACE_H
#define VEXA_TESTS_CORE_PLATFORM_IN_PLACE_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vexalib/vexalib.h"

namespace vexa::test
{

// One box as it would have been shown.
struct Box {
    std::string text;
    std::string caption;
    int32_t buttons = 0;
    int32_t defaultAnswer = 0;
};

class PlatformInPlace
{
public:
    PlatformInPlace()
    {
        caught() = {};
        VexaPlatform platform{};
        platform.size = sizeof platform;
        platform.messageBox = [](const char* text, const char* caption, int32_t buttons,
                                 int32_t defaultAnswer) {
            caught().boxes.push_back({text, caption, buttons, defaultAnswer});
            return caught().answer ? caught().answer : defaultAnswer;
        };
        platform.startThread = [](void (*body)(void*), void* argument) {
            caught().threads.emplace_back(body, argument);
            return 1;
        };
        platform.beep = [](int32_t hertz, int32_t milliseconds) {
            caught().beeps.emplace_back(hertz, milliseconds);
            if (caught().onBeep && hertz > 0)
                caught().onBeep();
        };
        platform.counter = [] { return caught().ticks; };
        platform.counterFrequency = [] { return caught().ticksPerSecond; };
        platform.availableMemory = [] { return caught().availableMemory; };
        vexaSetPlatform(&platform);
    }
    ~PlatformInPlace() { vexaSetPlatform(nullptr); }
    PlatformInPlace(const PlatformInPlace&) = delete;
    PlatformInPlace& operator=(const PlatformInPlace&) = delete;

    struct Caught {
        std::vector<Box> boxes;
        int32_t answer = 0; // of every box; 0 is the default button's
        std::vector<std::pair<void (*)(void*), void*>> threads;
        std::vector<std::pair<int32_t, int32_t>> beeps;
        void (*onBeep)() = nullptr; // called while a tone sounds
        int64_t ticks = 1;
        int64_t ticksPerSecond = 1000000000;
        int64_t availableMemory = 0;
    };
    Caught* operator->() const { return &caught(); }

private:
    static Caught& caught()
    {
        static Caught all;
        return all;
    }
};

// Runs a check in a process of its own, where the library's state still is what it was at the start.
inline void inFreshProcess(void (*check)())
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            check();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace vexa::test

#endif
