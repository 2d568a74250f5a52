#include "vexalib/parameters.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <thread>

#include <gmock/gmock.h>

#include "support/buffer.h"
#include "tests/support/test_files.h"
#include "vexalib/platform.h"

using namespace vexa::test;

namespace
{

std::vector<std::string> boxes;
int32_t (*writeProfile)(const char*, const char*, const char*, const char*) = nullptr;

// A settings file of the test's own, section S, and boxes that are caught.
class Parameters : public testing::Test
{
protected:
    void SetUp() override
    {
        boxes.clear();
        writeProfile = nullptr;
        usePlatform();
        SetParamFile(file.name());
        SetParamAppName("S");
        SetWriteDefaultParam(1);
    }
    void TearDown() override
    {
        vexaSetPlatform(nullptr);
        SetParamFile(nullptr);
        SetParamAppName(nullptr);
        SetWriteDefaultParam(1);
    }

    static void usePlatform()
    {
        VexaPlatform platform = {};
        platform.size = sizeof platform;
        platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
            boxes.emplace_back(text);
            return answer;
        };
        platform.writeProfile = writeProfile;
        vexaSetPlatform(&platform);
    }
    std::string text() const
    {
        const std::vector<uint8_t> bytes = bytesOfFile(file.name());
        return {bytes.begin(), bytes.end()};
    }
    void setText(const std::string& all) const { file.write({all.begin(), all.end()}); }

    TempFile file{".ini"};
};

using ParametersFiles = Parameters;
using testing::ElementsAre;
using testing::IsEmpty;

std::string readText(std::string text, int32_t size, const char* key)
{
    text.resize(std::max<std::size_t>(text.size() + 1, static_cast<std::size_t>(size)) + 1, '#');
    text[text.find('#') == std::string::npos ? text.size() - 1 : text.find('#')] = '\0';
    const int32_t length = ReadStrParam(text.data(), size, key);
    EXPECT_EQ(std::strlen(text.c_str()), static_cast<std::size_t>(length));
    return text.c_str();
}

} // namespace

TEST_F(Parameters, LiteralNamesAreKept)
{
    EXPECT_STREQ(file.name(), GetParamFile());
    EXPECT_STREQ("S", GetParamAppName());
    SetParamFile(GetParamFile() + 1);
    EXPECT_STREQ(file.name() + 1, GetParamFile());
    for (const std::string& none : {std::string(), std::string(4096, 'x'), std::string(100000, 'x')}) {
        SetParamFile(none.c_str());
        SetParamAppName(none.c_str());
        EXPECT_STREQ("", GetParamFile());
        EXPECT_STREQ("", GetParamAppName());
    }
    SetParamAppName(std::string(4095, 'x').c_str());
    EXPECT_EQ(4095U, std::strlen(GetParamAppName()));
    SetParamFile(nullptr);
    EXPECT_STREQ("", GetParamFile());
    EXPECT_EQ(0, SetWriteDefaultParam(0));
    EXPECT_EQ(-7, SetWriteDefaultParam(-7));
}

TEST_F(Parameters, FailuresBeforeFileAndSectionAreSet)
{
    char text[20] = "default";
    int32_t whole[2] = {1, 2};
    double real[2] = {1, 2};
    const std::function<double()> calls[] = {
        [] { return ReadLongParam(5, "k"); },
        [] { return ReadIntParam(5, "k"); },
        [] { return ReadDblParam(5, "k"); },
        [&] { return ReadStrParam(text, sizeof text, "k"); },
        [&] { return ReadIArrayParam(whole, 2, "k"); },
        [&] { return ReadDArrayParam(real, 2, "k"); },
        [] { return WriteLongParam(5, "k"); },
        [] { return WriteIntParam(5, "k"); },
        [] { return WriteDblParam(5, "k"); },
        [] { return WriteStrParam("t", "k"); },
        [&] { return WriteIArrayParam(whole, 2, "k"); },
        [&] { return WriteDArrayParam(real, 2, "k"); },
    };
    for (const auto& [name, section] : {std::pair{"", ""}, {file.name(), ""}, {"", "S"}}) {
        SetParamFile(name);
        SetParamAppName(section);
        for (const auto& call : calls) {
            boxes.clear();
            EXPECT_EQ(0.0, call());
            EXPECT_THAT(boxes,
                        ElementsAre(std::string("Call to read or write param (k) with out ParamFile(") +
                                    name + ") or AppName(" + section + ") set"));
        }
    }
    EXPECT_STREQ("default", text);
    boxes.clear();
    EXPECT_EQ(0, ReadLongParam(5, nullptr));
    EXPECT_THAT(boxes, ElementsAre("Call to read or write param () with out ParamFile() or AppName(S) set"));
    EXPECT_FALSE(std::filesystem::exists(file.name()));
}

TEST_F(Parameters, LiteralAMissingNumberGivesAndWritesItsDefault)
{
    EXPECT_EQ(5, ReadLongParam(5, "X"));
    EXPECT_EQ("[S]\nX=5\n", text());
    EXPECT_EQ(5, ReadLongParam(7, "x")) << "it is there now";
    EXPECT_EQ(INT32_MIN, ReadIntParam(INT32_MIN, "Y"));
    EXPECT_EQ(2.5, ReadDblParam(2.5, "Z"));
    EXPECT_EQ("[S]\nX=5\nY=-2147483648\nZ=2.500000\n", text());
    SetWriteDefaultParam(0);
    EXPECT_EQ(8, ReadLongParam(8, "W"));
    EXPECT_EQ(1e-9, ReadDblParam(1e-9, "V"));
    EXPECT_EQ("[S]\nX=5\nY=-2147483648\nZ=2.500000\n", text());
    SetParamFile((std::string(file.name()) + ".none").c_str());
    EXPECT_EQ(8, ReadLongParam(8, "W"));
    EXPECT_FALSE(std::filesystem::exists(GetParamFile()));
    EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(Parameters, LiteralAnEmptyNumberIsMissing)
{
    setText("[S]\nX=\nY=\"\"\n");
    EXPECT_EQ(3, ReadLongParam(3, "X"));
    EXPECT_EQ(4.0, ReadDblParam(4.0, "Y"));
    EXPECT_EQ("[S]\nX=3\nY=4.000000\n", text());
}

TEST_F(Parameters, LiteralNumbersAreReadAsRealOnes)
{
    setText("[S]\na=1e3\nb=2.7\nc=-2.7\nd= +12 apples\ne=none\nf=1e99\ng=-0.5e-3x\nh=0x10\ni=nan\nj=1e999\n");
    SetWriteDefaultParam(0);
    const std::pair<const char*, double> expected[] = {{"a", 1000.0},  {"b", 2.7}, {"c", -2.7},
                                                       {"d", 12.0},    {"e", 0.0}, {"f", 1e99},
                                                       {"g", -0.0005}, {"h", 0.0}};
    for (const auto& [key, value] : expected) {
        EXPECT_EQ(value, ReadDblParam(77, key)) << key;
        EXPECT_EQ(std::abs(value) < 1e9 ? static_cast<int32_t>(value) : INT32_MIN, ReadLongParam(77, key))
            << key;
    }
    EXPECT_TRUE(std::isnan(ReadDblParam(77, "i")));
    EXPECT_EQ(INT32_MIN, ReadLongParam(77, "i"));
    EXPECT_EQ(std::numeric_limits<double>::infinity(), ReadDblParam(77, "j"));
}

TEST_F(Parameters, LiteralNumbersAreWritten)
{
    EXPECT_EQ(1, WriteLongParam(-12, "a"));
    EXPECT_EQ(1, WriteIntParam(INT32_MAX, "b"));
    EXPECT_EQ(1, WriteDblParam(1.0 / 3.0, "c"));
    EXPECT_EQ(1, WriteDblParam(-1e10, "d"));
    EXPECT_EQ(1, WriteLongParam(4, "A"));
    EXPECT_EQ("[S]\nA=4\nb=2147483647\nc=0.333333\nd=-10000000000.000000\n", text());
    EXPECT_EQ(1, WriteDblParam(-std::numeric_limits<double>::max(), "e"));
    EXPECT_EQ(-std::numeric_limits<double>::max(), ReadDblParam(0.0, "e"));
    SetParamAppName("T");
    EXPECT_EQ(1, WriteLongParam(9, "a"));
    EXPECT_EQ(9, ReadLongParam(0, "a"));
    SetParamAppName("s");
    EXPECT_EQ(4, ReadLongParam(0, "a"));
}

TEST_F(Parameters, LiteralNumbersHaveAPointUnderEveryLocale)
{
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"})
        if (std::setlocale(LC_NUMERIC, name))
            break;
    const double values[] = {0.5, 1.25};
    EXPECT_EQ(1, WriteDblParam(2.5, "a"));
    EXPECT_EQ(1, WriteDArrayParam(values, 2, "b"));
    EXPECT_EQ("[S]\na=2.500000\nb=0.5;1.25\n", text());
    EXPECT_EQ(2.5, ReadDblParam(0.0, "a"));
    std::setlocale(LC_NUMERIC, "C");
}

TEST_F(Parameters, LiteralTextsByWhatTheFileHolds)
{
    setText("[S]\nfull=some text\nnothing=\n");
    SetWriteDefaultParam(0);
    EXPECT_EQ("some text", readText("default", 40, "full"));
    EXPECT_EQ("", readText("default", 40, "nothing"));
    EXPECT_EQ("default", readText("default", 40, "missing"));
    EXPECT_EQ("[S]\nfull=some text\nnothing=\n", text());
    SetWriteDefaultParam(1);
    EXPECT_EQ("some text", readText("default", 40, "full"));
    EXPECT_EQ("[S]\nfull=some text\nnothing=\n", text());
    EXPECT_EQ("default", readText("default", 40, "nothing"));
    EXPECT_EQ("default", readText("default", 40, "missing"));
    EXPECT_EQ("", readText("", 40, "empty"));
    EXPECT_EQ("[S]\nfull=some text\nnothing=default\nmissing=default\nempty=\n", text());
}

TEST_F(Parameters, BoundsOfTexts)
{
    setText("[S]\nk=12345\nlong=" + std::string(3000, 'y') + "\n");
    char small[6];
    for (int32_t size = 1; size <= 6; ++size) {
        std::memset(small, '#', sizeof small);
        small[0] = '\0';
        EXPECT_EQ(std::min(size - 1, 5), ReadStrParam(small, size, "k"));
        EXPECT_EQ(std::string("12345").substr(0, static_cast<std::size_t>(size) - 1), small);
        EXPECT_TRUE(size == 6 || small[size] == '#');
    }
    EXPECT_EQ(std::string(3000, 'y'), readText("", 4000, "long"));
    // A default of more than 800 characters.
    const std::string longText(900, 'x');
    SetWriteDefaultParam(0);
    EXPECT_EQ(longText, readText(longText, 1000, "m"));
    SetWriteDefaultParam(1);
    EXPECT_EQ(longText.substr(0, 800), readText(longText, 1000, "m"));
    EXPECT_EQ(longText.substr(0, 800), readText("", 1000, "m"));
    // A default without an end.
    char open[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(3, ReadStrParam(open, 4, "open"));
    EXPECT_STREQ("abc", open);
    char untouched = '#';
    EXPECT_EQ(0, ReadStrParam(&untouched, 0, "k"));
    EXPECT_EQ(0, ReadStrParam(&untouched, -1, "k"));
    EXPECT_EQ(0, ReadStrParam(nullptr, 10, "k"));
    EXPECT_EQ('#', untouched);
}

TEST_F(Parameters, LiteralTextsAreWritten)
{
    EXPECT_EQ(1, WriteStrParam("one two", "a"));
    EXPECT_EQ(1, WriteStrParam(" \" quoted \" ", "b"));
    EXPECT_EQ(1, WriteStrParam("first\nsecond", "c"));
    EXPECT_EQ(1, WriteStrParam("100%d %s", "d"));
    EXPECT_EQ("[S]\na=one two\nb= \" quoted \" \nc=first\nd=100%d %s\n", text());
    EXPECT_EQ(" quoted ", readText("", 40, "b"));
    EXPECT_EQ(1, WriteStrParam(nullptr, "c"));
    EXPECT_EQ(1, WriteStrParam("", "a"));
    EXPECT_EQ("[S]\na=\nb= \" quoted \" \nd=100%d %s\n", text());
}

TEST_F(Parameters, LiteralArrays)
{
    setText("[S]\nodd=1,2;3 4\nsome= 1e1 ,;\t x;2.9\nreal=0.5;-1e-3 7\nnothing=\n");
    int32_t whole[4] = {-1, -1, -1, -1};
    EXPECT_EQ(3, ReadIArrayParam(whole, 3, "odd"));
    EXPECT_THAT(whole, ElementsAre(1, 2, 3, -1));
    EXPECT_EQ(3, ReadIArrayParam(whole, 4, "some"));
    EXPECT_THAT(whole, ElementsAre(10, 0, 2, -1));
    double real[4] = {9, 9, 9, 9};
    EXPECT_EQ(3, ReadDArrayParam(real, 4, "real"));
    EXPECT_THAT(real, ElementsAre(0.5, -1e-3, 7.0, 9.0));
    EXPECT_EQ(0, ReadIArrayParam(whole, 4, "nothing"));
    EXPECT_EQ(0, ReadIArrayParam(whole, 0, "odd"));
    EXPECT_EQ(0, ReadIArrayParam(whole, INT32_MIN, "odd"));
    EXPECT_THAT(whole, ElementsAre(10, 0, 2, -1));
    EXPECT_EQ(0, ReadIArrayParam(nullptr, 4, "odd"));
    // A missing array is written as it stands.
    EXPECT_EQ(0, ReadIArrayParam(whole, 4, "fresh"));
    EXPECT_EQ(0, ReadDArrayParam(real, 4, "reals"));
    EXPECT_THAT(text(), testing::EndsWith("nothing=\nfresh=10;0;2;-1\nreals=0.5;-0.001;7;9\n"));
    SetWriteDefaultParam(0);
    const std::string before = text();
    EXPECT_EQ(0, ReadIArrayParam(whole, 4, "none"));
    EXPECT_EQ(before, text());
}

TEST_F(Parameters, LiteralArraysAreWritten)
{
    const int32_t whole[] = {1, -2, INT32_MIN};
    const double real[] = {1.0 / 3.0, 123456.0, 1e-7, std::numeric_limits<double>::infinity()};
    EXPECT_EQ(1, WriteIArrayParam(whole, 3, "a"));
    EXPECT_EQ(1, WriteDArrayParam(real, 4, "b"));
    EXPECT_EQ(1, WriteIArrayParam(whole, 0, "c"));
    EXPECT_EQ(1, WriteIArrayParam(whole, -5, "d"));
    EXPECT_EQ("[S]\na=1;-2;-2147483648\nb=0.33333;1.2346e+05;1e-07;inf\nc=\nd=\n", text());
    EXPECT_EQ(0, WriteIArrayParam(nullptr, 3, "a"));
    EXPECT_EQ(0, WriteDArrayParam(nullptr, 3, "a"));
    EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(Parameters, BoundsOfArrays)
{
    // 400 figures and 399 semicolons make 799 characters; three figures more make 802.
    std::vector<int32_t> whole(400, 7);
    EXPECT_EQ(1, WriteIArrayParam(whole.data(), 400, "a"));
    whole[0] = 77;
    EXPECT_EQ(1, WriteIArrayParam(whole.data(), 400, "a")); // 800
    std::vector<int32_t> back(400);
    EXPECT_EQ(400, ReadIArrayParam(back.data(), 400, "a"));
    EXPECT_EQ(whole, back);
    whole[0] = 777;
    EXPECT_EQ(0, WriteIArrayParam(whole.data(), 400, "a"));
    ASSERT_EQ(1U, boxes.size());
    EXPECT_THAT(boxes[0], testing::StartsWith("WPPS(S a 777;7;7;"));
    EXPECT_THAT(boxes[0], testing::EndsWith(std::string(file.name()) + ") failed in WriteIArrayParam"));
    EXPECT_EQ(400, ReadIArrayParam(back.data(), 400, "a")) << "the old one is whole";
    EXPECT_EQ(77, back[0]);
    // Numbers behind character 800 do not count, nor does one that it cuts.
    std::string longText =
        "[S]\ncut=" + std::string(796, ' ') + "12 345\nfits=" + std::string(798, ' ') + "12 3\n";
    setText(longText.replace(longText.find("cut=") + 4, 1, "9").replace(longText.find("fits=") + 5, 1, "9"));
    int32_t values[4] = {-1, -1, -1, -1};
    EXPECT_EQ(2, ReadIArrayParam(values, 4, "cut"));
    EXPECT_THAT(values, ElementsAre(9, 12, -1, -1));
    EXPECT_EQ(2, ReadIArrayParam(values, 4, "fits"));
}

TEST_F(Parameters, FailuresOfWriting)
{
    writeProfile = [](const char*, const char*, const char*, const char*) { return 0; };
    usePlatform();
    const std::string name = file.name();
    const int32_t whole[] = {1, 2};
    const double real[] = {0.5};
    int32_t wholeOut[] = {3};
    double realOut[] = {4};
    char textOut[8] = "t";
    EXPECT_EQ(0, WriteLongParam(12, "k"));
    EXPECT_EQ(0, WriteIntParam(13, "k"));
    EXPECT_EQ(0, WriteDblParam(0.5, "k"));
    EXPECT_EQ(0, WriteStrParam("t", "k"));
    EXPECT_EQ(0, WriteIArrayParam(whole, 2, "k"));
    EXPECT_EQ(0, WriteDArrayParam(real, 1, "k"));
    EXPECT_THAT(boxes, ElementsAre("WPPS(S k 12 " + name + ") failed in WriteLongParam",
                                   "WPPS(S k 13 " + name + ") failed in WriteLongParam",
                                   "WPPS failed in WriteDblParam", "WPPS failed in WriteStrParam",
                                   "WPPS(S k 1;2 " + name + ") failed in WriteIArrayParam",
                                   "WPPS(S k 0.5 " + name + ") failed in WriteDArrayParam. nvalues=1"));
    // Reading gives the default all the same.
    boxes.clear();
    EXPECT_EQ(5, ReadLongParam(5, "k"));
    EXPECT_EQ(5.5, ReadDblParam(5.5, "k"));
    EXPECT_EQ(1, ReadStrParam(textOut, sizeof textOut, "k"));
    EXPECT_EQ(0, ReadIArrayParam(wholeOut, 1, "k"));
    EXPECT_EQ(0, ReadDArrayParam(realOut, 1, "k"));
    EXPECT_EQ(5U, boxes.size());
    EXPECT_STREQ("t", textOut);
}

TEST_F(ParametersFiles, FailuresOfNamesThatAFileOfLinesCannotHold)
{
    setText("[S]\nk=1\n");
    for (const char* key : {"", " ", "a=b", "a\nb", "a\rb", ";a", "[a]", static_cast<const char*>(nullptr)})
        EXPECT_EQ(0, WriteLongParam(5, key)) << (key ? key : "null");
    for (const char* section : {" ", "a]b", "a\nb"}) {
        SetParamAppName(section);
        EXPECT_EQ(0, WriteLongParam(5, "k"));
    }
    EXPECT_EQ(11U, boxes.size());
    EXPECT_EQ("[S]\nk=1\n", text());
    SetParamAppName("S");
    EXPECT_EQ(7, ReadLongParam(7, "a=b"));
    EXPECT_EQ("[S]\nk=1\n", text());
}

TEST_F(ParametersFiles, LiteralWritingKeepsCommentsOrderAndMode)
{
    setText("; camera of line 3\r\n\r\n[Other]\r\nk=1\r\n[s]\r\n; gain of the head\r\nGain = "
            "2\r\nName=x\r\n\r\n[Last]\r\nk=2");
    chmod(file.name(), 0640);
    EXPECT_EQ(1, WriteLongParam(3, "gain"));
    EXPECT_EQ(1, WriteLongParam(4, "fresh"));
    EXPECT_EQ("; camera of line 3\r\n\r\n[Other]\r\nk=1\r\n[s]\r\n; gain of the "
              "head\r\ngain=3\r\nName=x\r\nfresh=4\r\n\r\n"
              "[Last]\r\nk=2",
              text());
    struct stat facts = {};
    ASSERT_EQ(0, stat(file.name(), &facts));
    EXPECT_EQ(0640U, facts.st_mode & 0777U);
}

TEST_F(ParametersFiles, LiteralSymbolicLinksStay)
{
    const std::string link = std::string(file.name()) + ".link";
    std::remove(link.c_str());
    setText("[S]\nk=1\n");
    ASSERT_EQ(0, symlink(file.name(), link.c_str()));
    SetParamFile(link.c_str());
    EXPECT_EQ(1, WriteLongParam(2, "k"));
    EXPECT_EQ("[S]\nk=2\n", text());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    std::remove(link.c_str());
}

namespace
{

// Runs work in a process of its own, which ends with it. The library's state there is a copy.
pid_t inChild(const std::function<void()>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    return child;
}

int statusOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

} // namespace

TEST_F(ParametersFiles, FailuresInTheMiddleOfAWriteLeaveTheOldFile)
{
    std::string old = "[S]\n";
    for (int32_t i = 0; i < 4000; ++i)
        old += "key" + std::to_string(i) + "=" + std::to_string(i) + "\n";
    setText(old);
    // The process dies of the signal that the system sends at byte 20000 of a file of 50000.
    const pid_t child = inChild([] {
        rlimit limit = {20000, 20000};
        setrlimit(RLIMIT_FSIZE, &limit);
        rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        signal(SIGXFSZ, SIG_DFL);
        WriteLongParam(1, "fresh");
    });
    const int status = statusOf(child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "it did not die";
    EXPECT_EQ(SIGXFSZ, WTERMSIG(status));
    EXPECT_EQ(old, text());
    EXPECT_EQ(3999, ReadLongParam(-1, "key3999"));
    EXPECT_EQ(1, WriteLongParam(1, "fresh")) << "what the crash left is in nobody's way";
    EXPECT_EQ(old + "fresh=1\n", text());
    EXPECT_FALSE(std::filesystem::exists(std::string(file.name()) + ".new"));
    // And where the system only says no.
    const pid_t refused = inChild([] {
        rlimit limit = {20000, 20000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        _exit(WriteLongParam(2, "fresh"));
    });
    EXPECT_EQ(0, statusOf(refused));
    EXPECT_EQ(old + "fresh=1\n", text());
    EXPECT_FALSE(std::filesystem::exists(std::string(file.name()) + ".new"));
}

TEST_F(ParametersFiles, FailuresAtAnyMomentLeaveAWholeFile)
{
    std::string old = "[S]\ncount=0\n";
    for (int32_t i = 0; i < 300; ++i)
        old += "key" + std::to_string(i) + "=" + std::string(50, 'x') + "\n";
    setText(old + "last=1\n");
    for (int32_t round = 0; round < 12; ++round) {
        const pid_t child = inChild([] {
            for (int32_t i = 1;; ++i)
                WriteLongParam(i % 1000000, "count");
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(3 + round * 2));
        kill(child, SIGKILL);
        statusOf(child);
        const std::string now = text();
        ASSERT_EQ("last=1\n", now.substr(now.size() - 7));
        ASSERT_EQ(old.substr(12), now.substr(now.find("key0="), old.size() - 12));
    }
    EXPECT_EQ(1, WriteLongParam(5, "count"));
    EXPECT_EQ(5, ReadLongParam(0, "count"));
}

TEST_F(ParametersFiles, LiteralTwoProcessesDoNotLoseEachOthersKeys)
{
    constexpr int32_t kKeys = 30;
    std::vector<pid_t> writers;
    for (const std::string letter : {"a", "b", "c"})
        writers.push_back(inChild([letter] {
            for (int32_t i = 0; i < kKeys; ++i)
                if (!WriteLongParam(i, (letter + std::to_string(i)).c_str()))
                    _exit(1);
        }));
    // Readers see whole files all the time.
    SetWriteDefaultParam(0);
    int32_t highest = -1;
    for (int32_t i = 0; i < 200; ++i) {
        const int32_t first = ReadLongParam(-1, "a0");
        EXPECT_TRUE(first == 0 || highest < 0) << "a key was there and is gone";
        highest = std::max(highest, first);
    }
    for (const pid_t writer : writers)
        EXPECT_EQ(0, statusOf(writer));
    for (const std::string letter : {"a", "b", "c"})
        for (int32_t i = 0; i < kKeys; ++i)
            EXPECT_EQ(i, ReadLongParam(-1, (letter + std::to_string(i)).c_str())) << letter << i;
    const std::string all = text();
    EXPECT_EQ(1 + 3 * kKeys, std::count(all.begin(), all.end(), '\n'));
}

TEST_F(ParametersFiles, LiteralTwoThreadsDoNotLoseEachOthersKeys)
{
    const auto writeKeys = [&](const char* letter) {
        // The section and the file are read only.
        for (int32_t i = 0; i < 20; ++i)
            WriteLongParam(i, (letter + std::to_string(i)).c_str());
    };
    std::thread other(writeKeys, "x");
    writeKeys("y");
    other.join();
    for (const std::string letter : {"x", "y"})
        for (int32_t i = 0; i < 20; ++i)
            EXPECT_EQ(i, ReadLongParam(-1, (letter + std::to_string(i)).c_str())) << letter << i;
}

TEST_F(ParametersFiles, FailuresOfPlacesThatCannotBeWritten)
{
    SetParamFile("/no/such/folder/settings.ini");
    EXPECT_EQ(0, WriteLongParam(1, "k"));
    EXPECT_THAT(boxes, ElementsAre("WPPS(S k 1 /no/such/folder/settings.ini) failed in WriteLongParam"));
    EXPECT_EQ(4, ReadLongParam(4, "k"));
    SetParamFile(testing::TempDir().c_str());
    EXPECT_EQ(0, WriteLongParam(1, "k"));
}

TEST_F(Parameters, BoundsNoCallAllocatesOfTheLibrarys)
{
    vexa::failAllocation(1, true);
    EXPECT_EQ(5, ReadLongParam(5, "X"));
    EXPECT_EQ(1, WriteStrParam("t", "Y"));
    SetParamAppName("T");
    EXPECT_EQ(0, vexa::allocationState().attempts);
    vexa::failAllocation(0, false);
}
