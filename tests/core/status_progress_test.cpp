#include <limits>

#include "support/buffer.h"
#include "tests/core/platform_in_place.h"
#include "vexalib/status.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr int64_t kMillisecond = 1000000; // ticks of the clock in place

struct Told {
    std::vector<std::pair<float, std::string>> calls;
    void (*inside)() = nullptr;
} told;

void listen(float fraction, const char* text)
{
    told.calls.emplace_back(fraction, text);
    if (told.inside)
        std::exchange(told.inside, nullptr)();
}

std::string keptText()
{
    char text[2000] = {};
    I_GetProgress(text, sizeof text);
    return text;
}

class Progress : public testing::Test
{
protected:
    Progress()
    {
        // Each test starts long after the one before, as the stamps are the process's.
        static int64_t start = 0;
        start += int64_t{100} * 24 * 3600 * 1000 * kMillisecond;
        platform->ticks = start;
        told = {};
        I_PerfStart(nullptr);
    }
    ~Progress() override { I_SetProgressCallback(I_ShowProgress, 100); }
    void passMilliseconds(int64_t n) { platform->ticks += n * kMillisecond; }

    PlatformInPlace platform;
};

TEST_F(Progress, LiteralZeroTotalKeepsTheTextAndCallsNothing)
{
    I_SetProgressCallback(listen, 100);
    passMilliseconds(1000);
    I_TellProgress(5, 0, "x");
    EXPECT_THAT(told.calls, IsEmpty());
    EXPECT_EQ("x", keptText());
    EXPECT_EQ(0.0F, I_GetProgress(nullptr, 0));
    I_TellProgress(5, 0.0001F, nullptr);
    EXPECT_THAT(told.calls, IsEmpty());
}

TEST_F(Progress, LiteralAFinishingCallAlwaysGetsThrough)
{
    I_SetProgressCallback(listen, 100);
    I_TellProgress(10, 5, nullptr);
    I_TellProgress(10, 5, nullptr);
    I_TellProgressEx(-3, 3, "%s", "");
    ASSERT_EQ(3U, told.calls.size());
    for (const auto& call : told.calls)
        EXPECT_EQ(1.0F, call.first);
    EXPECT_EQ(1.0F, I_GetProgress(nullptr, 0));
}

TEST_F(Progress, LiteralTheFirstTextIsFourDashes)
{
    inFreshProcess([] {
        I_SetProgressCallback(listen, 100);
        I_TellProgress(10, 5, nullptr);
        EXPECT_THAT(told.calls, ElementsAre(Pair(1.0F, "----")));
        EXPECT_EQ("----", keptText());
    });
}

TEST_F(Progress, LiteralTheIntervalHasToBeExceeded)
{
    EXPECT_EQ(100, I_SetProgressCallback(listen, 100));
    I_TellProgress(1, 1, "a"); // restarts the stamp
    told.calls.clear();
    passMilliseconds(100);
    I_TellProgress(1, 4, "b");
    EXPECT_THAT(told.calls, IsEmpty());
    EXPECT_EQ(0.25F, I_GetProgress(nullptr, 0)) << "kept, though not delivered";
    EXPECT_EQ("b", keptText());
    passMilliseconds(1);
    I_TellProgress(1, 2, nullptr);
    EXPECT_THAT(told.calls, ElementsAre(Pair(0.5F, "b")));
    I_TellProgress(3, 4, "c");
    EXPECT_EQ(1U, told.calls.size()) << "the stamp was restarted";
}

TEST_F(Progress, LiteralAZeroFractionRestartsTheStampSilently)
{
    I_SetProgressCallback(listen, 100);
    passMilliseconds(500);
    I_TellProgress(0, 10, "start");
    I_TellProgress(1, 10, nullptr);
    EXPECT_THAT(told.calls, IsEmpty());
    passMilliseconds(101);
    I_TellProgress(1, 10, nullptr);
    EXPECT_THAT(told.calls, ElementsAre(Pair(0.1F, "start")));
}

TEST_F(Progress, LiteralIntervalZeroMeans80And250Milliseconds)
{
    EXPECT_EQ(0, I_SetProgressCallback(listen, 0));
    I_TellProgress(1, 1, "a");
    I_TellProgressEx(1, 1, "a");
    told.calls.clear();
    passMilliseconds(80);
    I_TellProgress(1, 2, nullptr);
    EXPECT_THAT(told.calls, IsEmpty());
    passMilliseconds(1);
    I_TellProgress(1, 2, nullptr);
    EXPECT_THAT(told.calls, ElementsAre(Pair(0.5F, "a")));
    passMilliseconds(169); // 250 in all
    I_TellProgressEx(1, 4, "%s", "b");
    EXPECT_EQ(1U, told.calls.size());
    passMilliseconds(1);
    I_TellProgressEx(1, 4, "%s", "b");
    EXPECT_THAT(told.calls, ElementsAre(Pair(0.5F, "a"), Pair(0.25F, "b")));
}

TEST_F(Progress, LiteralANegativeIntervalDeliversEveryCall)
{
    EXPECT_EQ(-1, I_SetProgressCallback(listen, -1));
    I_TellProgress(1, 8, "a");
    I_TellProgress(2, 8, nullptr);
    EXPECT_EQ(2U, told.calls.size());
}

TEST_F(Progress, LiteralTheFractionIsAbsoluteAndCapped)
{
    I_SetProgressCallback(listen, -1);
    I_TellProgress(-1, 4, "a");
    I_TellProgress(1, -4, nullptr);
    I_TellProgress(9, 4, nullptr);
    I_TellProgress(1, 0.00011F, nullptr);
    ASSERT_EQ(4U, told.calls.size());
    EXPECT_EQ(0.25F, told.calls[0].first);
    EXPECT_EQ(0.25F, told.calls[1].first);
    EXPECT_EQ(1.0F, told.calls[2].first);
    EXPECT_EQ(1.0F, told.calls[3].first);
}

TEST_F(Progress, LiteralWithoutCallbackNothingIsKept)
{
    I_SetProgressCallback(listen, 100);
    I_TellProgress(1, 4, "kept");
    EXPECT_EQ(0, I_SetProgressCallback(nullptr, 0));
    I_TellProgress(1, 1, "lost");
    I_TellProgressEx(1, 1, "%s", "lost");
    EXPECT_EQ("kept", keptText());
    EXPECT_EQ(0.25F, I_GetProgress(nullptr, 0));
}

TEST_F(Progress, LiteralTheTextStaysUntilReplaced)
{
    I_TellProgress(0, 1, "stage");
    I_TellProgress(0, 1, "");
    I_TellProgress(0, 1, nullptr);
    I_TellProgressEx(0, 1, "%s", "");
    EXPECT_EQ("stage", keptText());
    I_TellProgressEx(0, 1, "stage %d", 2);
    EXPECT_EQ("stage 2", keptText());
}

TEST_F(Progress, LiteralTheApplicationsTimingIsLeftAlone)
{
    I_SetProgressCallback(listen, 10);
    passMilliseconds(500);
    I_TellProgress(1, 1, "a");
    EXPECT_EQ(500, I_PerfMilliSec(nullptr));
}

TEST_F(Progress, LiteralAClockOfManyDaysDoesNotSilence)
{
    I_SetProgressCallback(listen, 100);
    I_TellProgress(1, 1, "a");
    passMilliseconds(int64_t{40} * 24 * 3600 * 1000); // more milliseconds than 32 bits hold
    I_TellProgress(1, 2, nullptr);
    EXPECT_EQ(2U, told.calls.size());
}

TEST_F(Progress, BoundsGetProgressLeavesALongTextOpen)
{
    I_TellProgress(0, 1, "12345");
    char buffer[8];
    for (const int32_t size : {1, 4, 5, 6, 7}) {
        std::memset(buffer, '#', sizeof buffer);
        I_GetProgress(buffer, size);
        const std::string expected =
            std::string("12345\0##", 8).substr(0, static_cast<size_t>(std::min(size, 6)));
        EXPECT_EQ(expected, std::string(buffer, expected.size())) << size;
        EXPECT_EQ('#', buffer[expected.size()]) << size;
    }
    std::memset(buffer, '#', sizeof buffer);
    I_GetProgress(buffer, 0);
    I_GetProgress(buffer, -3);
    EXPECT_EQ('#', buffer[0]);
}

TEST_F(Progress, BoundsFormattedTextsEndAt300Characters)
{
    const std::string text(1000, 't');
    I_TellProgressEx(0, 1, "%s", text.c_str());
    EXPECT_EQ(text.substr(0, 300), keptText());
    I_TellProgress(0, 1, text.c_str());
    EXPECT_EQ(text, keptText());
    I_SetProgressCallback(listen, 100);
    I_TellProgress(1, 1, nullptr);
    EXPECT_THAT(told.calls, ElementsAre(Pair(1.0F, text)));
}

TEST_F(Progress, FailuresNoNumberIsNotDelivered)
{
    I_SetProgressCallback(listen, -1);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    I_TellProgress(nan, 1, "a"); // as the interval lets every call through
    I_TellProgress(1, nan, nullptr);
    I_TellProgress(infinity, infinity, nullptr);
    EXPECT_THAT(told.calls, IsEmpty());
    I_TellProgress(infinity, 1, nullptr);
    EXPECT_THAT(told.calls, ElementsAre(Pair(1.0F, "a")));
    const char* none = nullptr;
    I_TellProgressEx(1, 2, none);
    EXPECT_EQ(2U, told.calls.size());
}

TEST_F(Progress, FailuresWithoutMemoryTheTextIsLost)
{
    I_SetProgressCallback(listen, 100);
    I_TellProgress(0, 2, "short");
    EXPECT_EQ("short", keptText());
    const std::string text(3000, 't');
    I_TellProgress(0, 2, text.c_str());
    vexa::failAllocation(1, true);
    I_TellProgress(1, 1, nullptr); // no memory for the callback's own copy
    I_TellProgress(1, 2, std::string(5000, 'u').c_str());
    vexa::failAllocation(0, false);
    I_TellProgress(1, 1, nullptr);
    EXPECT_THAT(told.calls, ElementsAre(Pair(1.0F, text.substr(0, 300)), Pair(1.0F, "----")));
    EXPECT_EQ("----", keptText());
    I_TellProgress(1, 2, "short");
    EXPECT_EQ("short", keptText());
}

TEST_F(Progress, FailuresTellingFromTheCallbackIsAllowed)
{
    I_SetProgressCallback(listen, 100);
    told.inside = [] {
        I_TellProgress(1, 1, std::string(2000, 'i').c_str());
        I_SetProgressCallback(nullptr, 0);
    };
    I_TellProgress(1, 1, "outer");
    EXPECT_THAT(told.calls, ElementsAre(Pair(1.0F, "outer"), Pair(1.0F, std::string(2000, 'i'))));
}

// A second text of the usual length costs no allocation: told once per row it stays cheap, and memory running out does
// not reach it.
TEST_F(Progress, BoundsTellingAllocatesOnce)
{
    I_TellProgress(0, 1, "one text");
    vexa::failAllocation(0, false);
    for (int32_t i = 0; i < 100; ++i)
        I_TellProgress(static_cast<float>(i), 100, i % 2 ? "another text" : "and one more");
    EXPECT_EQ(0, vexa::allocationState().attempts);
}

// --- timers

TEST_F(Progress, LiteralTimersCountFromTheirStamp)
{
    platform->ticks = (int64_t{5} << 32) + 7;
    int32_t stamp[2] = {};
    EXPECT_EQ(1, I_PerfStart(stamp));
    EXPECT_EQ(7, stamp[0]);
    EXPECT_EQ(5, stamp[1]);
    platform->ticks += 123456789012;
    EXPECT_EQ(123456, I_PerfMilliSec(stamp));
    EXPECT_EQ(123456789, I_PerfMicroSec(stamp));
    EXPECT_EQ(static_cast<int32_t>(static_cast<uint32_t>(123456789012U)), I_PerfCycles(stamp));
    EXPECT_EQ(123456, I_PerfMilliSec(nullptr));
}

TEST_F(Progress, LiteralAStampWithALowWordOfZeroIsTheProcesss)
{
    platform->ticks = int64_t{9} << 32;
    int32_t stamp[2] = {-1, -1};
    I_PerfStart(stamp);
    EXPECT_EQ(0, stamp[0]);
    platform->ticks += 20 * kMillisecond;
    I_PerfStart(nullptr);
    platform->ticks += 3 * kMillisecond;
    EXPECT_EQ(3, I_PerfMilliSec(stamp));
    EXPECT_EQ(3000, I_PerfMicroSec(stamp));
    EXPECT_EQ(3 * kMillisecond, I_PerfCycles(stamp));
}

TEST_F(Progress, LiteralNanoSecondsInUnits)
{
    // D = difference of counter / 32, F = 1e9 / 33333333 = 30, D / 30 * 960.
    platform->ticks = (int64_t{3} << 32) - 64; // the low words wrap in between
    int32_t stamp[2] = {};
    I_PerfStart(stamp);
    platform->ticks += 32 * 59;
    EXPECT_EQ(59U / 30 * 960, I_PerfNanoSec(stamp));
    platform->ticks += 32;
    EXPECT_EQ(1920U, I_PerfNanoSec(stamp));
    platform->ticksPerSecond = 33333333 * int64_t{2} - 1;
    EXPECT_EQ(60U * 960, I_PerfNanoSec(stamp));
}

TEST_F(Progress, LiteralTimesTruncateTowardZero)
{
    platform->ticksPerSecond = 3000;
    platform->ticks = 1001;
    int32_t stamp[2] = {};
    I_PerfStart(stamp);
    platform->ticks += 5;
    EXPECT_EQ(1, I_PerfMilliSec(stamp));
    EXPECT_EQ(1666, I_PerfMicroSec(stamp));
    platform->ticks -= 10;
    EXPECT_EQ(-1, I_PerfMilliSec(stamp));
    EXPECT_EQ(-5, I_PerfCycles(stamp));
}

TEST_F(Progress, LiteralTheLowWordIsReadWithoutSign)
{
    platform->ticks = 0xfffffff0;
    int32_t stamp[2] = {};
    I_PerfStart(stamp);
    EXPECT_EQ(-16, stamp[0]);
    EXPECT_EQ(0, stamp[1]);
    platform->ticks = 0xfffffff0 + 48 * kMillisecond;
    EXPECT_EQ(48, I_PerfMilliSec(stamp));
}

TEST_F(Progress, FailuresTimesThatDoNotFit)
{
    int32_t stamp[2] = {};
    platform->ticks = 1;
    I_PerfStart(stamp);
    platform->ticks = int64_t{3000} * 1000 * kMillisecond; // 3000 s
    EXPECT_EQ(3000000 - 1, I_PerfMilliSec(stamp));
    EXPECT_EQ(INT32_MIN, I_PerfMicroSec(stamp));
    platform->ticksPerSecond = 1000; // too slow for units of 30 ns
    EXPECT_EQ(0U, I_PerfNanoSec(stamp));
    platform->ticksPerSecond = 0;
    EXPECT_EQ(INT32_MIN, I_PerfMilliSec(stamp));
    EXPECT_EQ(0U, I_PerfNanoSec(stamp));
}

} // namespace
