#include "vexalib/status.h"

#include <array>
#include <csignal>
#include <limits>

#include "core/error.h"
#include "support/buffer.h"
#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

std::string postedText()
{
    char text[3000] = {};
    I_GetErrorHandlerMsg(text, sizeof text);
    return text;
}

// The names as the table of codes gives them, by code.
constexpr std::array<const char*, 48> kNames = {
    "",
    "Error",
    "MEM ALLOC",
    "BADPTR",
    "BUF_LEN_TOO_LONG",
    "NEG_OFFSET",
    "USER_BREAK",
    "NOT_ENOUGH_DOS_MEMORY",
    "NO_EXTMEM_HANDLES",
    "NO_AVAIL_EXTMEM",
    "EMS_MAP_ERROR",
    "COULD_NOT_OPEN_TEMP_FILE",
    "ILLEGAL_PARAMETER",
    "ILLEGAL_COORDINATES",
    "ILLEGAL_ROISIZE",
    "MATH_ERROR",
    "FILE_DID_NOT_OPEN",
    "FILE_SEEK_FAILED",
    "FILE_READ_FAILED",
    "FILE_WRITE_FAILED",
    "IMAGE_NOT_OPEN",
    "NO_AVAIL_IMAGE_HANDLES",
    "UNAVAIL_IMAGE_TYPE",
    "NO_PIXEL_CONVERSION",
    "ILLEGAL_IMAGE_NUM",
    "ILLEGAL_IMAGE_TYPE",
    "ILLEGAL_ROW_NUM",
    "ILLEGAL_KERNEL_SIZE",
    "ILLEGAL_KERNEL_NUM",
    "ILLEGAL_FILE_NAME",
    "BAD_FONTFILE",
    "GRAPHICS_OUTSIDE_WINDOW",
    "ILLEGAL_PIX_BYTES",
    "ILLEGAL_ROI",
    "MIXED_PIX_TYPES",
    "BLOBTABLE_FULL",
    "TIFF_TOO_MANY_IFDS",
    "TIFF_FEATURE_NOT_SUPPORTED",
    "INVALID_SCANLIST",
    "COMPRESS_DID_NOT_RUN",
    "COMPRESS_FAILED",
    "DIGITIZER_DOES NOT_RESPOND",
    "DIGITIZER_TIMEOUT",
    "REQUIRED_HW_UNAVAILABLE",
    "BOARD_SPECIFIC",
    "HARDWARE_ERROR",
    "MALLOC_ZERO_SIZE",
    "TEMP_DISK_FULL",
};

// --- last error

TEST(LiteralStatus, EveryCodeHasItsName)
{
    for (int32_t code = 0; code < 48; ++code) {
        I_SetError(code, "");
        EXPECT_STREQ(kNames[static_cast<size_t>(code)], I_GetErrorStr()) << code;
        EXPECT_EQ(kNames[static_cast<size_t>(code)], errorText()) << code;
    }
}

TEST(LiteralStatus, TheStateStartsEmpty)
{
    inFreshProcess([] {
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        EXPECT_EQ("", errorText());
        EXPECT_STREQ("", I_GetErrorStr());
        EXPECT_EQ("", postedText());
        EXPECT_EQ(0, I_GetDebug());
        EXPECT_EQ(0, nosound());
        char text[5] = {};
        EXPECT_EQ(0.0F, I_GetProgress(text, 5));
        EXPECT_STREQ("----", text);
    });
}

TEST(LiteralStatus, SetErrorPutsTheNameInFrontOfAShortMessage)
{
    EXPECT_EQ(0, I_SetError(12, ""));
    EXPECT_EQ("ILLEGAL_PARAMETER", errorText());
    EXPECT_EQ(0, I_SetError(17, "fileputrow"));
    EXPECT_EQ("fileputrow", errorText());
    EXPECT_EQ(0, I_SetError(17, "filegetro"));
    EXPECT_EQ("FILE_SEEK_FAILED: filegetro", errorText());
    EXPECT_EQ(0, I_SetError(1, "bad"));
    EXPECT_EQ("Error: bad", errorText());
    EXPECT_EQ(1, I_GetError(nullptr, 0));
}

TEST(LiteralStatus, SetErrorWithEmptyFormatReplacesALongMessage)
{
    I_SetError(1, "a message of more than ten characters");
    I_SetError(7, "");
    EXPECT_EQ("NOT_ENOUGH_DOS_MEMORY", errorText());
}

TEST(LiteralStatus, SetErrorWithNullFormatKeepsALongMessageOnly)
{
    clearError();
    vexa::setErrorCode(5);
    EXPECT_EQ("NEG_OFFSET", errorText());
    // "NEG_OFFSET" has ten characters and stands.
    vexa::setErrorCode(12);
    EXPECT_EQ("NEG_OFFSET", errorText());
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    // A short one is read as a tag again.
    I_SetError1(1, "fit");
    vexa::setErrorCode(5);
    EXPECT_EQ("NEG_OFFSET: fit", errorText());
}

TEST(LiteralStatus, SetErrorItselfTakesANullFormat)
{
    clearError();
    const char* none = nullptr;
    EXPECT_EQ(0, I_SetError(5, none));
    EXPECT_EQ("NEG_OFFSET", errorText());
    EXPECT_EQ(5, I_GetError(nullptr, 0));
}

TEST(LiteralStatus, ClearingTheCodeKeepsALongMessage)
{
    I_SetError(18, "the picture file ends early");
    vexa::setErrorCode(0);
    EXPECT_STREQ("", I_GetErrorStr());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ("the picture file ends early", errorText());
    I_SetError1(1, "short");
    vexa::setErrorCode(0);
    EXPECT_EQ("", errorText());
    I_SetError(0, "short");
    EXPECT_EQ("", errorText());
    I_SetError(0, "ten chars.");
    EXPECT_EQ("ten chars.", errorText());
}

TEST(LiteralStatus, GetErrorEndsAtTheBuffer)
{
    I_SetError(20, "%s(, im=%d) im. not open", "x", -3);
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(20, I_GetError(buffer, 5));
    EXPECT_EQ(std::string("x(, "), buffer);
    EXPECT_EQ('\0', buffer[4]);
    EXPECT_EQ('#', buffer[5]);
    EXPECT_EQ("x(, im=-3) im. not open", errorText());
}

TEST(LiteralStatus, SetError1TakesTheTextAsItIs)
{
    EXPECT_EQ(0, I_SetError1(16, "100% %s"));
    EXPECT_EQ("100% %s", errorText());
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    I_SetError1(3, "");
    EXPECT_EQ("", errorText());
    EXPECT_EQ(3, I_GetError(nullptr, 0));
}

TEST(BoundsStatus, MessagesEndAt500Characters)
{
    const std::string text(700, 'm');
    I_SetError(1, "%s", text.c_str());
    EXPECT_EQ(text.substr(0, 500), errorText());
    I_SetError1(1, text.c_str());
    EXPECT_EQ(text.substr(0, 500), errorText());
    I_SetError1(1, std::string(500, 'n').c_str());
    EXPECT_EQ(std::string(500, 'n'), errorText());
    std::vector<char> buffer(600, '#');
    I_GetError(buffer.data(), 600);
    EXPECT_EQ('\0', buffer[500]);
    EXPECT_EQ('\0', buffer[599]);
}

TEST(BoundsStatus, GetErrorTakesEverySize)
{
    I_SetError(1, "eleven char");
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(1, I_GetError(buffer, 0));
    EXPECT_EQ(1, I_GetError(buffer, -5));
    EXPECT_EQ('#', buffer[0]);
    EXPECT_EQ(1, I_GetError(buffer, 1));
    EXPECT_EQ('\0', buffer[0]);
    EXPECT_EQ('#', buffer[1]);
    EXPECT_EQ(1, I_GetError(nullptr, 100));
}

TEST(FailuresStatus, CodesOutsideTheTableHaveNoName)
{
    for (const int32_t code : {-1, 48, 1000, INT32_MIN, INT32_MAX}) {
        I_SetError(code, "a long enough message");
        EXPECT_EQ(code, I_GetError(nullptr, 0));
        EXPECT_STREQ("", I_GetErrorStr());
        EXPECT_EQ("a long enough message", errorText());
        I_SetError(code, "tag");
        EXPECT_EQ(": tag", errorText());
        I_SetError(code, "");
        EXPECT_EQ("", errorText());
    }
}

TEST(FailuresStatus, NullTextsAreNoCrash)
{
    I_SetError1(4, "kept");
    EXPECT_EQ(0, I_SetError1(5, nullptr));
    EXPECT_EQ("kept", errorText());
    EXPECT_EQ(5, I_GetError(nullptr, 0));
    const Messages messages;
    EXPECT_EQ(5, I_ShowError1(nullptr));
    const char* none = nullptr;
    I_SetError1(5, "kept");
    EXPECT_EQ(5, I_ShowError(none));
    EXPECT_EQ(1, I_PostMessage(none));
    EXPECT_THAT(messages.all(), ElementsAre(" <NEG OFFSET> kept", " <NEG OFFSET> kept", ""));
}

// --- showing errors

TEST(LiteralStatus, ShowErrorPresentsAndClears)
{
    const Messages messages;
    I_SetError(16, "c:\\x.raw");
    EXPECT_EQ("FILE_DID_NOT_OPEN: c:\\x.raw", errorText());
    I_SetError1(16, "c:\\x.raw");
    EXPECT_EQ(16, I_ShowError("Save %s", "image"));
    EXPECT_THAT(messages.all(), ElementsAre("Save image <FILE DID NOT OPEN> c:\\x.raw"));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ("", errorText());
    EXPECT_EQ("Save image <FILE DID NOT OPEN> c:\\x.raw", postedText());
}

TEST(LiteralStatus, ShowErrorKeepsALongMessageReadable)
{
    const Messages messages;
    I_SetError(41, "no answer in 3 s");
    EXPECT_EQ(41, I_ShowError("SmartAlign 0"));
    EXPECT_THAT(messages.all(), ElementsAre("SmartAlign 0 <DIGITIZER DOES NOT RESPOND> no answer in 3 s"));
    EXPECT_EQ("no answer in 3 s", errorText());
}

TEST(LiteralStatus, ShowErrorWithoutErrorCallsNothing)
{
    const Messages messages;
    I_PostMessage("the last one");
    clearError();
    EXPECT_EQ(0, I_ShowError("x"));
    EXPECT_EQ(0, I_ShowError1("x"));
    I_SetError(-1, "a message under a negative code");
    EXPECT_EQ(-1, I_ShowError("x"));
    EXPECT_EQ(-1, I_ShowError1("x"));
    EXPECT_EQ(-1, I_GetError(nullptr, 0));
    EXPECT_THAT(messages.all(), ElementsAre("the last one"));
    EXPECT_EQ("the last one", postedText());
}

TEST(LiteralStatus, ShowErrorWithoutNameLeavesTheBracketsOut)
{
    const Messages messages;
    I_SetError(99, "a code of nobody's");
    EXPECT_EQ(99, I_ShowError("Stage"));
    EXPECT_THAT(messages.all(), ElementsAre("Stage a code of nobody's"));
}

TEST(LiteralStatus, ShowError1ReadsTheTextAsAFormatWithoutArguments)
{
    const Messages messages;
    I_SetError(1, "the message");
    EXPECT_EQ(1, I_ShowError1("50%% %s %d %n done"));
    EXPECT_THAT(messages.all(), ElementsAre("50% %s %d %n done <Error> the message"));
}

TEST(LiteralStatus, ShowErrorWithoutCallbackPostsTheText)
{
    const PlatformInPlace platform;
    I_SetErrorHandlerCallback(nullptr);
    I_SetError1(1, "100%% and 7%");
    EXPECT_EQ(1, I_ShowError("Stage"));
    ASSERT_EQ(1U, platform->boxes.size());
    EXPECT_EQ("Stage <Error> 100% and 7%", platform->boxes[0].text);
    EXPECT_EQ("MESSAGE", platform->boxes[0].caption);
    EXPECT_EQ("Stage <Error> 100% and 7%", postedText());
}

TEST(BoundsStatus, ShowErrorTakesLongTexts)
{
    const Messages messages;
    I_SetError1(1, std::string(500, 'm').c_str());
    I_ShowError("%s", std::string(5000, 't').c_str());
    ASSERT_EQ(1U, messages.all().size());
    EXPECT_EQ(std::string(2000, 't') + " <Error> " + std::string(500, 'm'), messages.all()[0]);
}

// --- messages

TEST(LiteralStatus, PostMessageReachesTheCallback)
{
    const Messages messages; // checks that the length told is the text's plus 1
    EXPECT_EQ(1, I_PostMessage("%d of %s", 3, "five"));
    EXPECT_THAT(messages.all(), ElementsAre("3 of five"));
    EXPECT_EQ("3 of five", postedText());
    EXPECT_EQ(1, I_PostMessage("next"));
    EXPECT_EQ("next", postedText());
}

void expectPostsShownAsBoxes()
{
    const PlatformInPlace platform;
    I_PostMessage("%s", "done: 100%% of %d, 5%");
    ASSERT_EQ(1U, platform->boxes.size());
    EXPECT_EQ("done: 100% of %d, 5%", platform->boxes[0].text);
    EXPECT_EQ("MESSAGE", platform->boxes[0].caption);
    EXPECT_EQ(VEXA_BOX_OK, platform->boxes[0].buttons);
    EXPECT_EQ("done: 100%% of %d, 5%", postedText());
}

TEST(LiteralStatus, TheCallbackStartsAsABox)
{
    inFreshProcess(expectPostsShownAsBoxes);
    inFreshProcess([] {
        const PlatformInPlace platform;
        I_SetError(22, "10%% of them");
        I_ShowError("Open");
        ASSERT_EQ(1U, platform->boxes.size());
        EXPECT_EQ("Open <UNAVAIL IMAGE TYPE> 10% of them", platform->boxes[0].text);
    });
}

TEST(LiteralStatus, WithoutCallbackMessagesAreBoxes)
{
    I_SetErrorHandlerCallback(nullptr);
    expectPostsShownAsBoxes();
}

TEST(LiteralStatus, SetErrorHandlerCallbackGivesTheCallbackGiven)
{
    const VexaErrorCallback callback = [](const char*, int32_t) {};
    EXPECT_EQ(callback, I_SetErrorHandlerCallback(callback));
    EXPECT_EQ(nullptr, I_SetErrorHandlerCallback(nullptr));
}

TEST(BoundsStatus, PostedMessagesEndAt1000Characters)
{
    const Messages messages;
    I_PostMessage("%s", std::string(3000, 'p').c_str());
    EXPECT_THAT(messages.all(), ElementsAre(std::string(1000, 'p')));
    EXPECT_EQ(std::string(1000, 'p'), postedText());
}

TEST(BoundsStatus, GetErrorHandlerMsgTakesEverySize)
{
    const Messages messages;
    I_PostMessage("seven77");
    char buffer[10];
    for (const int32_t size : {1, 2, 7, 8, 9}) {
        std::memset(buffer, '#', sizeof buffer);
        const int32_t length = std::min(size - 1, 7);
        EXPECT_EQ(length, I_GetErrorHandlerMsg(buffer, size));
        EXPECT_EQ(std::string("seven77").substr(0, static_cast<size_t>(length)), buffer);
        EXPECT_EQ('\0', buffer[size - 1]);
        EXPECT_EQ('#', buffer[size]);
    }
    EXPECT_EQ(0, I_GetErrorHandlerMsg(buffer, 0));
    EXPECT_EQ(0, I_GetErrorHandlerMsg(buffer, -1));
    EXPECT_EQ(0, I_GetErrorHandlerMsg(nullptr, 10));
}

TEST(FailuresStatus, WithoutMemoryThereIsNoPostedMessage)
{
    inFreshProcess([] { // where no room was kept for earlier messages
        const Messages messages;
        vexa::failAllocation(1, true);
        I_PostMessage("seen, not kept");
        vexa::failAllocation(0, false);
        EXPECT_THAT(messages.all(), ElementsAre("seen, not kept"));
        EXPECT_EQ("", postedText());
        I_PostMessage("kept");
        EXPECT_EQ("kept", postedText());
    });
}

// --- boxes

TEST(LiteralStatus, DprintfShowsABox)
{
    const PlatformInPlace platform;
    EXPECT_EQ(10, vexa_dprintf("%d pixels%%", 42));
    EXPECT_EQ(5, errorprintf("%s", "fault"));
    ASSERT_EQ(2U, platform->boxes.size());
    EXPECT_EQ("42 pixels%", platform->boxes[0].text);
    EXPECT_EQ("MESSAGE", platform->boxes[0].caption);
    EXPECT_EQ(VEXA_BOX_OK, platform->boxes[0].buttons);
    EXPECT_EQ(VEXA_ANSWER_OK, platform->boxes[0].defaultAnswer);
    EXPECT_EQ("fault", platform->boxes[1].text);
    EXPECT_EQ("MESSAGE", platform->boxes[1].caption);
}

TEST(LiteralStatus, DprintfTellsANullFormat)
{
    const PlatformInPlace platform;
    const char* none = nullptr;
    EXPECT_EQ(0, vexa_dprintf(none));
    EXPECT_EQ(0, errorprintf(none));
    ASSERT_EQ(2U, platform->boxes.size());
    EXPECT_EQ("Null string", platform->boxes[0].text);
    EXPECT_EQ("Message Error", platform->boxes[0].caption);
    EXPECT_EQ("", platform->boxes[1].text);
    EXPECT_EQ("MESSAGE", platform->boxes[1].caption);
}

TEST(BoundsStatus, DprintfAdds20000BytesToItsFormat)
{
    const PlatformInPlace platform;
    const std::string text(30000, 'd');
    EXPECT_EQ(20001, vexa_dprintf("%s", text.c_str()));
    EXPECT_EQ(text.substr(0, 20001), platform->boxes.back().text);
    EXPECT_EQ(20001, errorprintf("%s", text.c_str()));
    EXPECT_EQ(text.substr(0, 20001), platform->boxes.back().text);
}

TEST(FailuresStatus, DprintfWithoutMemoryShowsTheFormat)
{
    const PlatformInPlace platform;
    I_SetErrorHandlerCallback(nullptr);
    vexa::failAllocation(1, true);
    EXPECT_EQ(0, vexa_dprintf("%d of %s", 1, "two"));
    EXPECT_EQ(0, errorprintf("%d again", 1));
    I_PostMessage("%s", "100%% posted");
    vexa::failAllocation(0, false);
    ASSERT_EQ(3U, platform->boxes.size());
    EXPECT_EQ("%d of %s", platform->boxes[0].text);
    EXPECT_EQ("%d again", platform->boxes[1].text);
    EXPECT_EQ("100%% posted", platform->boxes[2].text);
}

TEST(LiteralStatus, YesnoAsks)
{
    const PlatformInPlace platform;
    EXPECT_EQ(1, yesno(1, "Overwrite %s?", "it"));
    EXPECT_EQ(0, yesno(0, "Overwrite?"));
    ASSERT_EQ(2U, platform->boxes.size());
    EXPECT_EQ("Overwrite it?", platform->boxes[0].text);
    EXPECT_EQ("QUESTION", platform->boxes[0].caption);
    EXPECT_EQ(VEXA_BOX_YES_NO, platform->boxes[0].buttons);
    EXPECT_EQ(VEXA_ANSWER_YES, platform->boxes[0].defaultAnswer);
    EXPECT_EQ(VEXA_ANSWER_NO, platform->boxes[1].defaultAnswer);
    platform->answer = VEXA_ANSWER_YES;
    EXPECT_EQ(1, yesno(0, "?"));
    platform->answer = VEXA_ANSWER_NO;
    EXPECT_EQ(0, yesno(-7, "?"));
    EXPECT_EQ(VEXA_ANSWER_YES, platform->boxes.back().defaultAnswer);
}

TEST(LiteralStatus, YesnocancelGivesTheEscapeKeyForCancel)
{
    const PlatformInPlace platform;
    EXPECT_EQ(1, yesnocancel(1, "Save %d?", 3));
    EXPECT_EQ(0, yesnocancel(0, "Save?"));
    EXPECT_EQ("Save 3?", platform->boxes[0].text);
    EXPECT_EQ("QUESTION", platform->boxes[0].caption);
    EXPECT_EQ(VEXA_BOX_YES_NO_CANCEL, platform->boxes[0].buttons);
    platform->answer = VEXA_ANSWER_CANCEL;
    EXPECT_EQ(27, yesnocancel(1, "Save?"));
    platform->answer = VEXA_ANSWER_NO;
    EXPECT_EQ(0, yesnocancel(1, "Save?"));
    platform->answer = VEXA_ANSWER_YES;
    EXPECT_EQ(1, yesnocancel(0, "Save?"));
}

TEST(BoundsStatus, QuestionsEndAt2048Characters)
{
    const PlatformInPlace platform;
    const std::string text(4000, 'q');
    yesno(1, "%s", text.c_str());
    yesnocancel(1, "%s", text.c_str());
    EXPECT_EQ(text.substr(0, 2048), platform->boxes[0].text);
    EXPECT_EQ(text.substr(0, 2048), platform->boxes[1].text);
    const char* none = nullptr;
    yesno(1, none);
    EXPECT_EQ("", platform->boxes[2].text);
}

// --- memory

TEST(LiteralStatus, MemAvailableCountsKibibytes)
{
    const PlatformInPlace platform;
    platform->availableMemory = 5 * 1024 * 1024 + 1023;
    EXPECT_EQ(5 * 1024, I_MemAvailable());
    EXPECT_EQ(5U * 1024 * 1024, coreleft());
    platform->availableMemory = (int64_t{4} << 30) + 3 * 1024;
    EXPECT_EQ(4 * 1024 * 1024 + 3, I_MemAvailable());
    EXPECT_EQ(3U * 1024, coreleft()) << "wraps above 4 GiB";
    platform->availableMemory = INT64_MAX;
    EXPECT_EQ(INT32_MAX, I_MemAvailable());
}

TEST(LiteralStatus, MallocOKAndMalloctestHaveOppositeSenses)
{
    const PlatformInPlace platform;
    platform->availableMemory = (int64_t{7} << 20) + (int64_t{1} << 19); // 7.5 MB
    const int32_t im = byteImage(2000, 1000);                            // 2 MB in use
    const double used = I_TotalBytesUsed() / 1000000.0;
    const auto usedText = std::to_string(std::lround(used));
    const auto sumText = std::to_string(std::lround(used + 7));
    int32_t something = 0;
    clearError();
    EXPECT_EQ(1, I_MallocOK(&something, "tag"));
    EXPECT_EQ(0, malloctest(&something, "tag"));
    EXPECT_EQ(0, I_GetError(nullptr, 0));

    EXPECT_EQ(0, I_MallocOK(nullptr, "Rows %d x %d", 3, 4));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_EQ("Memory allocation failed: Rows 3 x 4: " + usedText + " MB used, 7 MB avail. ", errorText());

    EXPECT_EQ(1, malloctest(nullptr, "Rows %d x %d", 3, 4));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_EQ("Memory allocation failed: Rows 3 x 4: " + usedText + " MB used, 7 MB avail. tot=" + sumText,
              errorText());
    closeImages({im});
}

TEST(FailuresStatus, MalloctestEndsLongTags)
{
    const std::string tag(3000, 'g');
    EXPECT_EQ(1, malloctest(nullptr, "%s", tag.c_str()));
    EXPECT_EQ(("Memory allocation failed: " + tag).substr(0, 500), errorText());
    const char* none = nullptr;
    EXPECT_EQ(1, malloctest(nullptr, none));
    EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: : "));
    EXPECT_EQ(0, I_MallocOK(nullptr, none));
}

TEST(FailuresStatus, MalloctestReportsWhileEveryAllocationFails)
{
    vexa::failAllocation(1, true);
    EXPECT_EQ(1, malloctest(nullptr, "First"));
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_THAT(errorText(), HasSubstr("Memory allocation failed: First: "));
}

// --- debug word, break

TEST(LiteralStatus, SetDebugGivesTheWordBefore)
{
    I_SetDebug(1);
    EXPECT_EQ(1, I_SetDebug(3));
    EXPECT_EQ(3, I_GetDebug());
    EXPECT_EQ(3, I_SetDebug(-1));
    EXPECT_EQ(-1, I_SetDebug(0));
}

TEST(LiteralStatus, UserBreakIsAHook)
{
    EXPECT_EQ(0, I_UserBreak(0));
    EXPECT_EQ(0, I_UserBreak(1));
    vexa::setUserBreakHook([](int32_t word) { return word + 5; });
    EXPECT_EQ(6, I_UserBreak(1));
    vexa::setUserBreakHook(nullptr);
    EXPECT_EQ(0, I_UserBreak(1));
}

// --- beeper

TEST(LiteralStatus, SoundGivesTheFrequencyBefore)
{
    const PlatformInPlace platform;
    sound(0);
    platform->beeps.clear();
    EXPECT_EQ(0, sound(440));
    EXPECT_EQ(440, sound(5));
    EXPECT_EQ(5, nosound());
    EXPECT_EQ(0, nosound());
    EXPECT_EQ(1U, platform->threads.size());
    EXPECT_THAT(platform->beeps, ElementsAre(Pair(0, 0), Pair(0, 0), Pair(0, 0)));
}

TEST(LiteralStatus, BeeperReadsTheFrequencyAnewEachRound)
{
    const PlatformInPlace platform;
    sound(440);
    platform->onBeep = [] {
        static int32_t rounds = 0;
        if (++rounds == 2)
            sound(9); // ends the tone without a new thread
    };
    ASSERT_EQ(1U, platform->threads.size());
    platform->threads[0].first(platform->threads[0].second);
    EXPECT_THAT(platform->beeps, ElementsAre(Pair(440, 100), Pair(440, 100), Pair(0, 0)));
    EXPECT_EQ(9, nosound());
}

TEST(LiteralStatus, ANewerBeeperEndsTheOlderOne)
{
    const PlatformInPlace platform;
    sound(300);
    sound(600);
    ASSERT_EQ(2U, platform->threads.size());
    platform->threads[0].first(platform->threads[0].second);
    EXPECT_THAT(platform->beeps, IsEmpty()) << "superseded before its first round";
    platform->onBeep = [] {
        static bool once = true;
        if (std::exchange(once, false))
            sound(700); // supersedes the one that is beeping
    };
    platform->threads[1].first(platform->threads[1].second);
    EXPECT_THAT(platform->beeps, ElementsAre(Pair(600, 100)));
    ASSERT_EQ(3U, platform->threads.size());
    nosound();
}

TEST(LiteralStatus, TenHertzStartsAThreadThatEndsAtOnce)
{
    const PlatformInPlace platform;
    sound(10);
    ASSERT_EQ(1U, platform->threads.size());
    platform->threads[0].first(platform->threads[0].second);
    EXPECT_THAT(platform->beeps, IsEmpty());
    EXPECT_EQ(10, sound(11));
    ASSERT_EQ(2U, platform->threads.size());
    platform->onBeep = [] { sound(0); };
    platform->threads[1].first(platform->threads[1].second);
    EXPECT_THAT(platform->beeps, ElementsAre(Pair(11, 100), Pair(0, 0)));
}

TEST(LiteralStatus, NegativeFrequenciesAreSilence)
{
    const PlatformInPlace platform;
    sound(INT32_MIN);
    EXPECT_EQ(INT32_MIN, sound(0));
    EXPECT_THAT(platform->threads, IsEmpty());
}

// --- self-tests

TEST(LiteralStatus, MemTestTimesNothing)
{
    inFreshProcess([] {
        int32_t drift = -1;
        MemTest(&drift);
        EXPECT_EQ(0, drift) << "the first address is compared with itself";
    });
    const PlatformInPlace platform;
    EXPECT_EQ(0, MemTest(nullptr)) << "the clock in place stands still";
    platform->ticks += 200;
    EXPECT_EQ(200, I_PerfCycles(nullptr)) << "the process's start stamp was set";
}

TEST(FailuresStatus, MemTestWithoutMemory)
{
    inFreshProcess([] {
        int32_t drift = -1;
        vexa::failAllocation(1, false);
        MemTest(&drift);
        EXPECT_EQ(0, drift) << "there is no address to compare";
        MemTest(&drift);
        EXPECT_EQ(0, drift) << "the first address is that of the first block";
    });
}

TEST(LiteralStatus, OverflowTestDivides)
{
    int32_t words[33];
    std::fill(std::begin(words), std::end(words), 77);
    EXPECT_EQ(3, OverflowTest(3, 9, words));
    EXPECT_EQ(3, words[0]);
    EXPECT_EQ(9, words[1]);
    for (int32_t i = 2; i < 32; ++i)
        EXPECT_EQ(0, words[i]) << i;
    EXPECT_EQ(77, words[32]);
    EXPECT_EQ(-10, OverflowTest(-1, 0, nullptr));
    EXPECT_EQ(-3, OverflowTest(-3, 0, nullptr));
    EXPECT_EQ(0, OverflowTest(11, 0, nullptr));
    EXPECT_EQ(0, OverflowTest(INT32_MIN, 0, nullptr));
}

TEST(LiteralStatusDeathTest, OverflowTestOfZeroRaisesTheDivisionFault)
{
    EXPECT_EXIT(
        {
            std::signal(SIGFPE, SIG_DFL); // not the sanitizer's report
            OverflowTest(0, 1, nullptr);
        },
        testing::KilledBySignal(SIGFPE), "");
}

} // namespace
