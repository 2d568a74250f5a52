// Errors, messages, progress, timers and formatted arrays, against the literal texts and a clock of the test's own.
#include "tests/support/test_failures.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

std::string message()
{
    return errorText();
}

TEST(IndependentStatus, CodesOutsideTheTableHaveNoName)
{
    for (const int32_t code : {-1, 48, 1000000, INT32_MIN}) {
        I_SetError(code, "a message of its own");
        EXPECT_STREQ("", I_GetErrorStr());
    }
    clearError();
}

TEST(IndependentStatus, MessagesOfErrors)
{
    I_SetError(17, "fileputrow");
    EXPECT_EQ("fileputrow", message());
    I_SetError(1, "bad");
    EXPECT_EQ("Error: bad", message());
    I_SetError(20, "%s(, im=%d) im. not open", "x", -3);
    char five[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(20, I_GetError(five, 5));
    EXPECT_STREQ("x(, ", five);
    EXPECT_EQ(9, five[5]);
    I_SetError(7, "");
    EXPECT_EQ("NOT_ENOUGH_DOS_MEMORY", message());
    const char* none = nullptr;
    I_SetError(0, none);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ("NOT_ENOUGH_DOS_MEMORY", message());
    I_SetError(0, "");
    I_SetError(5, none);
    EXPECT_EQ("NEG_OFFSET", message());
    I_SetError1(5, "abc");
    EXPECT_EQ("abc", message());
    I_SetError(0, none); // a short one is emptied
    EXPECT_EQ("", message());
    I_SetError(1, "%s", std::string(700, 'q').c_str());
    char wide[600] = {};
    I_GetError(wide, sizeof wide);
    EXPECT_NEAR(500.0, static_cast<double>(std::strlen(wide)), 1.0);
    clearError();
}

TEST(IndependentStatus, ShownErrors)
{
    Messages messages;
    clearError();
    EXPECT_EQ(0, I_ShowError("x"));
    EXPECT_TRUE(messages.all().empty());
    I_SetError(16, "%s", "c:\\picture.raw");
    EXPECT_EQ(16, I_ShowError("Save %s", "image"));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    I_SetError(-1, "a long message");
    EXPECT_EQ(-1, I_ShowError("stage"));
    EXPECT_EQ(-1, I_GetError(nullptr, 0));
    EXPECT_EQ(1, I_PostMessage("%d apples", 3));
    char text[60] = {};
    EXPECT_EQ(8, I_GetErrorHandlerMsg(text, sizeof text));
    EXPECT_STREQ("3 apples", text);
    EXPECT_EQ(4, I_GetErrorHandlerMsg(text, 5));
    EXPECT_STREQ("3 ap", text);
    I_SetError(20, "pending and long");
    EXPECT_EQ(20, I_ShowError1("SxS 10"));
    EXPECT_THAT(messages.all(), testing::ElementsAre("Save image <FILE DID NOT OPEN> c:\\picture.raw",
                                                     "3 apples", "SxS 10 <IMAGE NOT OPEN> pending and long"));
    clearError();
}

std::vector<std::string> boxes;
int32_t answer = VEXA_ANSWER_OK;
int64_t ticks = 1000;

int32_t box(const char* text, const char* caption, int32_t buttons, int32_t defaultAnswer)
{
    boxes.push_back(std::string(caption) + "|" + text + "|" + std::to_string(buttons) + "|" +
                    std::to_string(defaultAnswer));
    return answer;
}

class OwnPlatform
{
public:
    OwnPlatform()
    {
        VexaPlatform mine{};
        mine.size = sizeof mine;
        mine.messageBox = box;
        mine.counter = [] { return ticks; };
        mine.counterFrequency = [] { return int64_t{1000000000}; };
        vexaSetPlatform(&mine);
        boxes.clear();
    }
    ~OwnPlatform() { vexaSetPlatform(nullptr); }
    OwnPlatform(const OwnPlatform&) = delete;
    OwnPlatform& operator=(const OwnPlatform&) = delete;
};

TEST(IndependentStatus, Boxes)
{
    const OwnPlatform platform;
    EXPECT_EQ(7, vexa_dprintf("value %d", 5));
    const char* none = nullptr;
    EXPECT_EQ(0, vexa_dprintf(none, 0));
    EXPECT_EQ(3, errorprintf("abc"));
    answer = VEXA_ANSWER_YES;
    EXPECT_EQ(1, yesno(1, "sure?"));
    answer = VEXA_ANSWER_NO;
    EXPECT_EQ(0, yesno(0, "sure?"));
    answer = VEXA_ANSWER_CANCEL;
    EXPECT_EQ(27, yesnocancel(1, "sure?"));
    answer = VEXA_ANSWER_YES;
    EXPECT_EQ(1, yesnocancel(0, "sure?"));
    EXPECT_THAT(boxes, testing::ElementsAre("MESSAGE|value 5|0|1", "Message Error|Null string|0|1",
                                            "MESSAGE|abc|0|1", "QUESTION|sure?|1|2", "QUESTION|sure?|1|3",
                                            "QUESTION|sure?|2|2", "QUESTION|sure?|2|3"));
}

std::vector<std::pair<float, std::string>> reports;

void report(float fraction, const char* text)
{
    reports.emplace_back(fraction, text);
}

TEST(IndependentStatus, ProgressIsThrottled)
{
    const OwnPlatform platform; // nanoseconds
    const int64_t ms = 1000000;
    reports.clear();
    EXPECT_EQ(50, I_SetProgressCallback(report, 50));
    ticks = 1000 * ms;
    I_TellProgress(1, 1, "first");
    ASSERT_EQ(1U, reports.size());
    EXPECT_EQ(std::make_pair(1.0F, std::string("first")), reports[0]);
    ticks += 50 * ms; // not above the interval
    I_TellProgress(1, 4, "second");
    EXPECT_EQ(1U, reports.size());
    EXPECT_EQ(0.25F, I_GetProgress(nullptr, 0));
    ticks += ms;
    I_TellProgress(-2, 4, "");
    ASSERT_EQ(2U, reports.size());
    EXPECT_EQ(std::make_pair(0.5F, std::string("second")), reports[1]);
    I_TellProgress(10, 5, nullptr);
    ASSERT_EQ(3U, reports.size());
    EXPECT_EQ(1.0F, reports[2].first);
    ticks += 60 * ms;
    I_TellProgress(5, 0, "stored");
    EXPECT_EQ(3U, reports.size());
    char text[10] = {};
    EXPECT_EQ(0.0F, I_GetProgress(text, sizeof text));
    EXPECT_STREQ("stored", text);
    char six[7] = {'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    I_GetProgress(six, 6); // as long as the buffer: no terminator
    EXPECT_EQ("storedx", std::string(six, 7));
    // a stamp and a default interval of its own
    I_SetProgressCallback(report, 0);
    ticks += 10000 * ms;
    I_TellProgressEx(1, 4, "row %d", 7);
    ASSERT_EQ(4U, reports.size());
    EXPECT_EQ("row 7", reports[3].second);
    ticks += 249 * ms;
    I_TellProgressEx(1, 4, "row %d", 8);
    EXPECT_EQ(4U, reports.size());
    ticks += 2 * ms;
    I_TellProgressEx(2, 4, "%s", "");
    ASSERT_EQ(5U, reports.size());
    EXPECT_EQ("row 8", reports[4].second);
    ticks += 10000 * ms;
    I_TellProgress(1, 4, nullptr);
    ASSERT_EQ(6U, reports.size());
    ticks += 80 * ms;
    I_TellProgress(2, 4, nullptr);
    EXPECT_EQ(6U, reports.size());
    ticks += 1 * ms;
    I_TellProgress(2, 4, nullptr);
    EXPECT_EQ(7U, reports.size());
    I_SetProgressCallback(nullptr, 0);
    I_TellProgress(3, 4, "unheard");
    EXPECT_EQ(0.5F, I_GetProgress(text, sizeof text));
    EXPECT_STREQ("row 8", text);
    I_SetProgressCallback(I_ShowProgress, 100);
}

TEST(IndependentStatus, AllocationTests)
{
    clearError();
    const int32_t something = 0;
    EXPECT_EQ(1, I_MallocOK(&something, "x"));
    EXPECT_EQ(0, malloctest(&something, "x"));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_MallocOK(nullptr, "tag %d", 5));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_THAT(message(), testing::MatchesRegex(
                               "Memory allocation failed: tag 5: [0-9]+ MB used, [0-9]+ MB avail\\. "));
    EXPECT_EQ(1, malloctest(nullptr, "tag %d", 6));
    EXPECT_THAT(message(),
                testing::MatchesRegex(
                    "Memory allocation failed: tag 6: [0-9]+ MB used, [0-9]+ MB avail\\. tot=[0-9]+"));
    clearError();
    EXPECT_EQ(static_cast<uint32_t>(I_MemAvailable()) << 10 >> 30, coreleft() >> 30);
    const int32_t before = I_SetDebug(6);
    EXPECT_EQ(6, I_GetDebug());
    EXPECT_EQ(6, I_SetDebug(before));
    EXPECT_EQ(0, I_UserBreak(1));
}

TEST(IndependentStatus, FormattedArrays)
{
    const int32_t words[] = {1, -2, 3, 4, 5, 6};
    const float floats[] = {1.5F, 2.25F};
    const double doubles[] = {0.5, 100.0};
    const int16_t shorts[] = {-1, 7};
    char out[300] = {};
    EXPECT_EQ(18, FormatArray(out, words, 4, 3, 2, "%2d"));
    EXPECT_STREQ(" 1 -2  3\r\n 4  5  6", std::string(out).c_str());
    char titled[300] = {};
    I_FormatArrayEx(titled, floats, 4, 2, 0, "%.2f", ", ", "Floats");
    EXPECT_STREQ("Floats\r\n1.50, 2.25", titled);
    char row[300] = {};
    EXPECT_EQ(9, I_FormatArrayEx(row, doubles, 8, 2, 1, "%.1f", "\t", nullptr));
    EXPECT_STREQ("0.5\t100.0", row);
    char tabs[300] = {};
    I_FormatArrayEx(tabs, words, 4, 2, 2, "%d\t", "", nullptr);
    EXPECT_STREQ("1\t-2\r\n3\t4", tabs);
    char narrow[300] = {};
    I_FormatArrayEx(narrow, shorts, 2, 2, 1, "%d", " ",
                    nullptr); // the bytes lie in the low end of a zeroed word
    EXPECT_STREQ("65535 7", narrow);
    char third[300] = {};
    FormatArray2(third, words, 4, 1, 1, "%d", "%s of %d", "one", 6);
    EXPECT_STREQ("one of 6\r\n1", third);
    EXPECT_EQ(0, FormatArray(out, nullptr, 4, 3, 2, "%d"));
    const OwnPlatform platform;
    EXPECT_EQ(0, I_FormatArrayEx(nullptr, words, 4, 0, 2, "%d", " ", nullptr));
    EXPECT_EQ(3, I_FormatArrayEx(nullptr, words, 4, 2, 1, "%d", "", nullptr));
    EXPECT_THAT(boxes, testing::ElementsAre("MESSAGE|FormatArray: zero size array: 0 x 2 x 4 bytes|0|1",
                                            "MESSAGE|1-2|0|1"));
}

TEST(IndependentStatus, Timers)
{
    const OwnPlatform platform;
    ticks = int64_t{1} << 33;
    int32_t stamp[2] = {};
    EXPECT_EQ(1, I_PerfStart(nullptr));
    ticks += 5;
    EXPECT_EQ(1, I_PerfStart(stamp));
    EXPECT_EQ(5, stamp[0]);
    EXPECT_EQ(2, stamp[1]);
    ticks += 2500;
    EXPECT_EQ(2505 - 5, I_PerfCycles(stamp));
    EXPECT_EQ(2500, I_PerfCycles(nullptr));
    ticks += 7000000;
    EXPECT_EQ(7002, I_PerfMicroSec(stamp));
    EXPECT_EQ(7, I_PerfMilliSec(stamp));
    EXPECT_EQ(((ticks >> 5) - (((int64_t{1} << 33) + 5) >> 5)) / 30 * 960, I_PerfNanoSec(stamp));
}

} // namespace
