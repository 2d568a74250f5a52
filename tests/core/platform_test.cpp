#include "platform/platform.h"
#include "support/platform_files.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "support/buffer.h"
#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"

namespace
{

using namespace vexa::test;
namespace platform = vexa::platform;
using namespace std::chrono_literals;

// Waits until something another thread does is seen, for seconds at most.
template <typename Condition>
bool comesTrue(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// A file of the test's own, removed at its end.
class TestFile
{
public:
    TestFile()
        : name_(testing::TempDir() + "platform_test_" + std::to_string(std::random_device{}()) + ".ini")
    {
    }
    explicit TestFile(const std::string& text) : TestFile()
    {
        std::ofstream(name_, std::ios::binary) << text;
    }
    ~TestFile() { std::remove(name_.c_str()); }
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    const char* name() const { return name_.c_str(); }
    std::string text() const
    {
        std::ostringstream all;
        all << std::ifstream(name_, std::ios::binary).rdbuf();
        return all.str();
    }

private:
    std::string name_;
};

// --- movable memory

TEST(LiteralPlatform, GlobalBlocksAreZeroedLockedAndFreed)
{
    void* handle = vexaGlobalAlloc(1000);
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(1000U, vexaGlobalSize(handle));
    auto* bytes = static_cast<uint8_t*>(vexaGlobalLock(handle));
    ASSERT_NE(nullptr, bytes);
    EXPECT_TRUE(std::all_of(bytes, bytes + 1000, [](uint8_t b) { return b == 0; }));
    std::memset(bytes, 7, 1000);
    EXPECT_EQ(bytes, vexaGlobalLock(handle));
    EXPECT_EQ(1, vexaGlobalUnlock(handle));
    EXPECT_EQ(0, vexaGlobalUnlock(handle));
    EXPECT_EQ(0, vexaGlobalUnlock(handle)) << "not locked any more";
    bytes = static_cast<uint8_t*>(vexaGlobalLock(handle));
    EXPECT_EQ(7, bytes[999]);
    EXPECT_EQ(nullptr, vexaGlobalFree(handle)) << "a locked block is freed too";
}

TEST(BoundsPlatform, AGlobalBlockOfNoBytesIsABlock)
{
    void* handle = vexaGlobalAlloc(0);
    ASSERT_NE(nullptr, handle);
    EXPECT_EQ(0U, vexaGlobalSize(handle));
    EXPECT_NE(nullptr, vexaGlobalLock(handle));
    EXPECT_EQ(nullptr, vexaGlobalFree(handle));
}

TEST(BoundsPlatform, ManyGlobalBlocksAtOnce)
{
    const int64_t before = vexa::allocationState().liveBlocks;
    std::vector<void*> handles;
    for (size_t i = 0; i < 1000; ++i)
        handles.push_back(vexaGlobalAlloc(i));
    EXPECT_EQ(1000U, std::set<void*>(handles.begin(), handles.end()).size());
    for (size_t i = 0; i < 1000; i += 2)
        EXPECT_EQ(nullptr, vexaGlobalFree(handles[i]));
    for (size_t i = 0; i < 1000; i += 2)
        handles[i] = vexaGlobalAlloc(i + 5000);
    for (size_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(i % 2 ? i : i + 5000, vexaGlobalSize(handles[i]));
        EXPECT_EQ(nullptr, vexaGlobalFree(handles[i]));
    }
    EXPECT_EQ(before, vexa::allocationState().liveBlocks);
}

TEST(FailuresPlatform, WrongGlobalHandlesAreRefused)
{
    int32_t local = 0;
    void* freed = vexaGlobalAlloc(10);
    EXPECT_EQ(nullptr, vexaGlobalFree(freed));
    void* live = vexaGlobalAlloc(10); // takes the freed one's place, under another handle
    EXPECT_NE(freed, live);
    void* address = vexaGlobalLock(live);
    for (void* wrong : {static_cast<void*>(nullptr), static_cast<void*>(&local), freed, address,
                        reinterpret_cast<void*>(uintptr_t{1}), reinterpret_cast<void*>(UINTPTR_MAX)}) {
        EXPECT_EQ(nullptr, vexaGlobalLock(wrong));
        EXPECT_EQ(0, vexaGlobalUnlock(wrong));
        EXPECT_EQ(0U, vexaGlobalSize(wrong));
        EXPECT_EQ(wrong, vexaGlobalFree(wrong));
    }
    EXPECT_EQ(10U, vexaGlobalSize(live));
    EXPECT_EQ(nullptr, vexaGlobalFree(live));
    EXPECT_EQ(live, vexaGlobalFree(live)) << "freed twice";
}

TEST(FailuresPlatform, GlobalAllocWithoutMemory)
{
    forEachFailingAllocation(
        [] {
            void* handle = vexaGlobalAlloc(100);
            const int64_t had = handle != nullptr;
            vexaGlobalFree(handle);
            return had;
        },
        [](int64_t had) {
            EXPECT_EQ(0, had);
            EXPECT_EQ(ENOMEM, platform::lastError(nullptr, 0));
        });
    EXPECT_EQ(nullptr, vexaGlobalAlloc(SIZE_MAX));
    EXPECT_EQ(nullptr, vexaGlobalAlloc(SIZE_MAX / 2));
}

// --- the application's functions in the system's place

VexaPlatform emptyRecord()
{
    VexaPlatform record{};
    record.size = sizeof record;
    return record;
}

TEST(LiteralPlatform, SetPlatformReplacesAndRestores)
{
    VexaPlatform mine = emptyRecord();
    mine.availableMemory = [] { return int64_t{12345}; };
    EXPECT_EQ(1, vexaSetPlatform(&mine));
    EXPECT_EQ(12345, platform::availableMemory());
    EXPECT_EQ(1000000000, platform::counterFrequency()) << "all else is the system's";
    mine = emptyRecord();
    mine.readFile = [](const char*, void*, int64_t count) { return count / 2; };
    EXPECT_EQ(1, vexaSetPlatform(&mine));
    EXPECT_NE(12345, platform::availableMemory()) << "a record replaces the whole one before";
    EXPECT_EQ(50, platform::readFile("", nullptr, 100));
    EXPECT_EQ(1, vexaSetPlatform(nullptr));
    EXPECT_EQ(0, platform::readFile("", nullptr, 100));
}

TEST(LiteralPlatform, SetPlatformTakesGroupsWholeOnly)
{
    VexaPlatform mine = emptyRecord();
    mine.globalAlloc = [](size_t) { return static_cast<void*>(nullptr); };
    mine.globalFree = [](void* handle) { return handle; };
    mine.counter = [] { return int64_t{1}; };
    mine.storeClipboard = [](int32_t, const void*, size_t) { return 0; };
    mine.startTimer = [](int32_t, void (*)(void*), void*) { return 99; };
    mine.openDisplay = [](void*) -> void* {
        static int32_t target;
        return &target;
    };
    EXPECT_EQ(1, vexaSetPlatform(&mine));
    void* handle = vexaGlobalAlloc(3);
    EXPECT_EQ(3U, vexaGlobalSize(handle));
    EXPECT_EQ(nullptr, vexaGlobalFree(handle));
    EXPECT_NE(1, platform::counter());
    EXPECT_EQ(1, platform::storeClipboard(VEXA_CLIPBOARD_TEXT, "", 1));
    EXPECT_EQ(0, platform::startTimer(0, nullptr, nullptr));
    EXPECT_EQ(nullptr, platform::openDisplay(nullptr));
    vexaSetPlatform(nullptr);
}

TEST(LiteralPlatform, MovableMemoryAndDisplayCanBeTheApplications)
{
    static int32_t block[4];
    static std::vector<VexaStretch> drawn;
    static void* closed = nullptr;
    VexaPlatform mine = emptyRecord();
    mine.globalAlloc = [](size_t) { return static_cast<void*>(block); };
    mine.globalLock = [](void* handle) { return handle; };
    mine.globalUnlock = [](void*) { return 7; };
    mine.globalSize = [](void*) { return sizeof block; };
    mine.globalFree = [](void*) { return static_cast<void*>(nullptr); };
    mine.openDisplay = [](void* window) { return window; };
    mine.closeDisplay = [](void*, void* target) { closed = target; };
    mine.stretchBitmap = [](void*, const VexaStretch* stretch) {
        drawn.push_back(*stretch);
        return stretch->targetHeight;
    };
    EXPECT_EQ(1, vexaSetPlatform(&mine));
    EXPECT_EQ(block, vexaGlobalAlloc(1));
    EXPECT_EQ(block, vexaGlobalLock(block));
    EXPECT_EQ(7, vexaGlobalUnlock(block));
    EXPECT_EQ(sizeof block, vexaGlobalSize(block));
    EXPECT_EQ(nullptr, vexaGlobalFree(block));
    void* target = platform::openDisplay(block);
    EXPECT_EQ(block, target);
    VexaStretch stretch{};
    stretch.targetHeight = 9;
    EXPECT_EQ(9, platform::stretchBitmap(target, stretch));
    EXPECT_EQ(1U, drawn.size());
    platform::closeDisplay(nullptr, target);
    EXPECT_EQ(target, closed);
    vexaSetPlatform(nullptr);
}

TEST(BoundsPlatform, SetPlatformKnowsRecordsByTheirSize)
{
    VexaPlatform mine = emptyRecord();
    mine.availableMemory = [] { return int64_t{1}; };
    mine.messageBox = [](const char*, const char*, int32_t, int32_t) { return 77; };
    ASSERT_EQ(1, vexaSetPlatform(&mine));
    for (const size_t size : {size_t{0}, sizeof(size_t) - 1, sizeof mine + 1, SIZE_MAX}) {
        VexaPlatform wrong = emptyRecord();
        wrong.size = size;
        EXPECT_EQ(0, vexaSetPlatform(&wrong));
        EXPECT_EQ(1, platform::availableMemory()) << "nothing changed";
    }
    // An older program's record ends earlier: what it does not know is the system's.
    mine.size = offsetof(VexaPlatform, storeClipboard);
    EXPECT_EQ(1, vexaSetPlatform(&mine));
    EXPECT_EQ(77, platform::messageBox("", "", 0, 0));
    EXPECT_NE(1, platform::availableMemory());
    vexaSetPlatform(nullptr);
}

// --- the system's own

TEST(LiteralPlatform, BoxesGoToTheErrorStream)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(VEXA_ANSWER_OK, platform::messageBox("100% done", "MESSAGE", VEXA_BOX_OK, VEXA_ANSWER_OK));
    EXPECT_EQ(VEXA_ANSWER_NO, platform::messageBox("Go?", "QUESTION", VEXA_BOX_YES_NO, VEXA_ANSWER_NO));
    EXPECT_EQ(VEXA_ANSWER_YES,
              platform::messageBox("Go on?", "QUESTION", VEXA_BOX_YES_NO_CANCEL, VEXA_ANSWER_YES));
    EXPECT_EQ(1, yesnocancel(1, "Really %d?", 1));
    EXPECT_EQ("MESSAGE: 100% done\n"
              "QUESTION: Go? [Yes, No] No\n"
              "QUESTION: Go on? [Yes, No, Cancel] Yes\n"
              "QUESTION: Really 1? [Yes, No, Cancel] Yes\n",
              testing::internal::GetCapturedStderr());
}

TEST(LiteralPlatform, TheClipboardKeepsOneFormat)
{
    EXPECT_EQ(1, platform::storeClipboard(VEXA_CLIPBOARD_TEXT, "abc", 4));
    char text[8] = "#######";
    EXPECT_EQ(4U, platform::fetchClipboard(VEXA_CLIPBOARD_TEXT, text, 2));
    EXPECT_STREQ("ab#####", text);
    EXPECT_EQ(4U, platform::fetchClipboard(VEXA_CLIPBOARD_TEXT, text, sizeof text));
    EXPECT_STREQ("abc", text);
    EXPECT_EQ('#', text[4]);
    EXPECT_EQ(4U, platform::fetchClipboard(VEXA_CLIPBOARD_TEXT, nullptr, 0));
    EXPECT_EQ(0U, platform::fetchClipboard(VEXA_CLIPBOARD_DIB, text, sizeof text));
    EXPECT_EQ(1, platform::storeClipboard(VEXA_CLIPBOARD_DIB, "\1\2", 2));
    EXPECT_EQ(0U, platform::fetchClipboard(VEXA_CLIPBOARD_TEXT, text, sizeof text));
    EXPECT_EQ(2U, platform::fetchClipboard(VEXA_CLIPBOARD_DIB, text, sizeof text));
    EXPECT_EQ(2, text[1]);
    EXPECT_EQ(1, platform::storeClipboard(VEXA_CLIPBOARD_DIB, nullptr, 0));
    EXPECT_EQ(0U, platform::fetchClipboard(VEXA_CLIPBOARD_DIB, text, sizeof text));
}

TEST(LiteralPlatform, TheCounterGrows)
{
    const int64_t first = platform::counter();
    std::this_thread::sleep_for(5ms);
    const int64_t second = platform::counter();
    EXPECT_GE(second - first, 5 * platform::counterFrequency() / 1000);
    EXPECT_LT(second - first, 60 * platform::counterFrequency());
}

TEST(LiteralPlatform, MemoryIsAvailable)
{
    EXPECT_GT(platform::availableMemory(), int64_t{1} << 20);
    EXPECT_LT(platform::availableMemory(), int64_t{1} << 50);
    EXPECT_EQ('/', platform::directorySeparator());
}

TEST(LiteralPlatform, WholeFilesAreRead)
{
    const TestFile file(std::string("ab\0\r\nc", 6));
    char buffer[10] = "#########";
    EXPECT_EQ(6, platform::readFile(file.name(), buffer, 9));
    EXPECT_EQ(std::string("ab\0\r\nc###", 9), std::string(buffer, 9));
    EXPECT_EQ(2, platform::readFile(file.name(), buffer, 2));
    EXPECT_EQ(0, platform::readFile(file.name(), buffer, 0));
    EXPECT_EQ(0, platform::readFile(file.name(), buffer, -1));
    EXPECT_EQ(0, platform::readFile(file.name(), nullptr, 9));
    EXPECT_EQ(0, platform::readFile(nullptr, buffer, 9));
    EXPECT_EQ(0, platform::readFile("/no/such/file", buffer, 9));
    EXPECT_EQ(0, platform::readFile("/", buffer, 9)) << "a directory";
}

TEST(LiteralPlatform, TheLastErrorIsTold)
{
    char text[100] = {};
    errno = ENOENT;
    EXPECT_EQ(ENOENT, platform::lastError(text, sizeof text));
    EXPECT_STREQ(std::strerror(ENOENT), text);
    errno = ENOENT;
    EXPECT_EQ(ENOENT, platform::lastError(nullptr, 0));
    errno = ENOENT;
    EXPECT_EQ(ENOENT, platform::lastError(text, 3));
    EXPECT_EQ(2U, std::strlen(text));
}

TEST(LiteralPlatform, ThereIsNoDisplay)
{
    EXPECT_EQ(nullptr, platform::openDisplay(nullptr));
    EXPECT_EQ(0, platform::stretchBitmap(nullptr, VexaStretch{}));
    platform::closeDisplay(nullptr, nullptr);
}

TEST(LiteralPlatform, TheDivisionFaultIsTheProcessors)
{
    inFreshProcess([] {
        struct sigaction action {
        };
        action.sa_flags = SA_SIGINFO;
        action.sa_sigaction = [](int, siginfo_t* info, void*) {
            std::_Exit(info->si_code == FPE_INTDIV ? 0 : 3);
        };
        sigaction(SIGFPE, &action, nullptr);
        platform::raiseDivisionFault();
        FAIL() << "no fault";
    });
}

// --- threads and timers

TEST(LiteralPlatform, AThreadRuns)
{
    static int32_t argument = 0;
    static std::atomic<void*> received = nullptr;
    EXPECT_EQ(1, platform::startThread([](void* given) { received = given; }, &argument));
    EXPECT_TRUE(comesTrue([] { return received == &argument; }));
}

TEST(LiteralPlatform, ABeepTakesItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    platform::beep(440, 20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    platform::beep(0, 0);
    platform::beep(-1, -1);
}

TEST(LiteralPlatform, SoundBeepsOnAThreadUntilItIsSilenced)
{
    static std::atomic<int32_t> beeps = 0;
    static std::atomic<bool> otherThread = false;
    static std::thread::id caller;
    caller = std::this_thread::get_id();
    VexaPlatform mine = emptyRecord();
    mine.beep = [](int32_t hertz, int32_t) {
        if (hertz == 0)
            return;
        otherThread = std::this_thread::get_id() != caller;
        ++beeps;
        std::this_thread::sleep_for(1ms);
    };
    vexaSetPlatform(&mine);
    sound(880);
    EXPECT_TRUE(comesTrue([] { return beeps >= 3; }));
    EXPECT_TRUE(otherThread);
    EXPECT_EQ(880, nosound());
    EXPECT_TRUE(comesTrue([] {
        const int32_t before = beeps;
        std::this_thread::sleep_for(20ms);
        return beeps == before;
    }));
    vexaSetPlatform(nullptr);
}

TEST(LiteralPlatform, ATimerTicksUntilItIsStopped)
{
    std::atomic<int32_t> ticks = 0;
    const auto start = std::chrono::steady_clock::now();
    const int32_t timer = platform::startTimer(
        10, [](void* count) { ++*static_cast<std::atomic<int32_t>*>(count); }, &ticks);
    EXPECT_GT(timer, 0);
    EXPECT_TRUE(comesTrue([&] { return ticks >= 5; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
    EXPECT_EQ(1, platform::stopTimer(timer));
    const int32_t after = ticks;
    std::this_thread::sleep_for(40ms);
    EXPECT_EQ(after, ticks);
    EXPECT_EQ(0, platform::stopTimer(timer));
}

TEST(LiteralPlatform, StoppingWaitsForARunningTick)
{
    static std::atomic<int32_t> entered;
    static std::atomic<int32_t> left;
    entered = left = 0;
    const int32_t timer = platform::startTimer(
        1,
        [](void*) {
            ++entered;
            std::this_thread::sleep_for(30ms);
            ++left;
        },
        nullptr);
    EXPECT_TRUE(comesTrue([] { return entered > 0; }));
    EXPECT_EQ(1, platform::stopTimer(timer));
    EXPECT_EQ(entered, left);
}

TEST(LiteralPlatform, ATickMayStopItsTimer)
{
    static std::atomic<int32_t> ticks;
    static std::atomic<int32_t> timer;
    static std::atomic<int32_t> result;
    ticks = timer = result = 0;
    timer = platform::startTimer(
        1,
        [](void*) {
            if (timer == 0)
                return; // its number is not known yet
            ++ticks;
            result = platform::stopTimer(timer);
        },
        nullptr);
    EXPECT_TRUE(comesTrue([] { return ticks == 1; }));
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(1, ticks);
    EXPECT_EQ(1, result);
    EXPECT_EQ(0, platform::stopTimer(timer));
}

TEST(FailuresPlatform, TimersThatAreNone)
{
    EXPECT_EQ(0, platform::startTimer(
                     0, [](void*) {}, nullptr));
    EXPECT_EQ(0, platform::startTimer(
                     -5, [](void*) {}, nullptr));
    EXPECT_EQ(0, platform::startTimer(10, nullptr, nullptr));
    EXPECT_EQ(0, platform::stopTimer(0));
    EXPECT_EQ(0, platform::stopTimer(-1));
    EXPECT_EQ(0, platform::stopTimer(INT32_MAX));
    const int32_t first = platform::startTimer(
        1000, [](void*) {}, nullptr);
    const int32_t second = platform::startTimer(
        1000, [](void*) {}, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(1, platform::stopTimer(first)) << "and at once, long before its tick";
    EXPECT_EQ(1, platform::stopTimer(second));
}

// --- settings files

std::string readKey(const TestFile& file, const char* section, const char* key, const char* fallback = "none")
{
    char text[100];
    const size_t length = platform::readProfile(file.name(), section, key, fallback, text, sizeof text);
    EXPECT_EQ(std::strlen(text), length);
    return text;
}

TEST(LiteralPlatform, ProfilesAreRead)
{
    const TestFile file("stray=1\n"
                        "[Camera]\r\n"
                        "; Gain=9\r\n"
                        "Gain = 2.5 \r\n"
                        "Name=\" two words \"\r\n"
                        "Quote='x\r\n"
                        "Empty=\r\n"
                        "Equation=a=b\r\n"
                        "\r\n"
                        " [ Stage ]\n"
                        "  gain=7\n"
                        "Last=end");
    EXPECT_EQ("2.5", readKey(file, "Camera", "Gain"));
    EXPECT_EQ("2.5", readKey(file, "CAMERA", " gAIN "));
    EXPECT_EQ(" two words ", readKey(file, "Camera", "Name"));
    EXPECT_EQ("'x", readKey(file, "Camera", "Quote"));
    EXPECT_EQ("", readKey(file, "Camera", "Empty"));
    EXPECT_EQ("a=b", readKey(file, "Camera", "Equation"));
    EXPECT_EQ("7", readKey(file, "Stage", "Gain"));
    EXPECT_EQ("end", readKey(file, "stage", "last"));
    EXPECT_EQ("none", readKey(file, "Camera", "Last"));
    EXPECT_EQ("none", readKey(file, "Camera", "stray"));
    EXPECT_EQ("none", readKey(file, "Camera", "; Gain"));
    EXPECT_EQ("none", readKey(file, "Lens", "Gain"));
    EXPECT_EQ("", readKey(file, "Lens", "Gain", nullptr));
    EXPECT_EQ("none", readKey(TestFile(), "Camera", "Gain"));
    EXPECT_EQ("none", readKey(file, nullptr, "Gain"));
    EXPECT_EQ("none", readKey(file, "Camera", nullptr));
}

TEST(BoundsPlatform, ProfilesEndAtTheBuffer)
{
    const TestFile file("[S]\nK=12345\n");
    char text[8];
    for (const size_t size : {1U, 3U, 5U, 6U, 8U}) {
        std::memset(text, '#', sizeof text);
        const size_t length = std::min<size_t>(size - 1, 5);
        EXPECT_EQ(length, platform::readProfile(file.name(), "S", "K", "", text, size));
        EXPECT_EQ(std::string("12345").substr(0, length), text);
    }
    EXPECT_EQ(0U, platform::readProfile(file.name(), "S", "K", "", text, 0));
    EXPECT_EQ(0U, platform::readProfile(file.name(), "S", "K", "", nullptr, 8));
    // The fallback may be the buffer's own text.
    std::strcpy(text, "own");
    EXPECT_EQ(3U, platform::readProfile(file.name(), "S", "X", text, text, sizeof text));
    EXPECT_STREQ("own", text);
}

TEST(LiteralPlatform, ProfilesAreWritten)
{
    const TestFile file;
    EXPECT_EQ(1, platform::writeProfile(file.name(), "One", "a", "1"));
    EXPECT_EQ("[One]\na=1\n", file.text());
    EXPECT_EQ(1, platform::writeProfile(file.name(), "Two", "b", "2"));
    EXPECT_EQ(1, platform::writeProfile(file.name(), "one", "c", "3"));
    EXPECT_EQ("[One]\na=1\nc=3\n[Two]\nb=2\n", file.text());
    EXPECT_EQ(1, platform::writeProfile(file.name(), "ONE", "A", "new text"));
    EXPECT_EQ("[One]\nA=new text\nc=3\n[Two]\nb=2\n", file.text());
    EXPECT_EQ("new text", readKey(file, "One", "a"));
    EXPECT_EQ(1, platform::writeProfile(file.name(), "One", "A", nullptr));
    EXPECT_EQ("[One]\nc=3\n[Two]\nb=2\n", file.text());
    EXPECT_EQ(1, platform::writeProfile(file.name(), "One", "A", nullptr)) << "it is gone already";
    EXPECT_EQ("[One]\nc=3\n[Two]\nb=2\n", file.text());
}

TEST(LiteralPlatform, WritingAProfileKeepsAllElse)
{
    const TestFile file("; head\r\n[S]\r\nk = old ; note\r\n\r\n; tail\r\n[T]\r\nk=1");
    EXPECT_EQ(1, platform::writeProfile(file.name(), "S", "n", "2"));
    EXPECT_EQ("; head\r\n[S]\r\nk = old ; note\r\nn=2\r\n\r\n; tail\r\n[T]\r\nk=1", file.text());
    EXPECT_EQ(1, platform::writeProfile(file.name(), "T", "m", "3"));
    EXPECT_EQ("; head\r\n[S]\r\nk = old ; note\r\nn=2\r\n\r\n; tail\r\n[T]\r\nk=1\r\nm=3\r\n", file.text());
}

TEST(FailuresPlatform, ProfilesThatCannotBeWritten)
{
    EXPECT_EQ(0, platform::writeProfile("/no/such/folder/file.ini", "S", "k", "1"));
    EXPECT_EQ(0, platform::writeProfile(nullptr, "S", "k", "1"));
    const TestFile file("[S]\nk=1\n");
    EXPECT_EQ(0, platform::writeProfile(file.name(), nullptr, "k", "1"));
    EXPECT_EQ(0, platform::writeProfile(file.name(), "S", nullptr, "1"));
    EXPECT_EQ("[S]\nk=1\n", file.text());
    EXPECT_EQ(0, platform::writeProfile(testing::TempDir().c_str(), "S", "k", "1")) << "a folder is no file";
    EXPECT_EQ(1, platform::writeProfile(file.name(), "S", "k", "2\n[T]\nx=1"));
    EXPECT_EQ("[S]\nk=2\n", file.text()) << "one line is one key";
}

} // namespace
