// The settings file: what is asked of the platform, what comes back, what stands in the file.
#include <sys/wait.h>
#include <unistd.h>

#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"

using namespace vexa::test;

namespace
{

std::vector<std::string> boxes, captions;

int32_t collectBox(const char* text, const char* caption, int32_t, int32_t)
{
    boxes.emplace_back(text);
    captions.emplace_back(caption);
    return VEXA_ANSWER_OK;
}

int32_t refuseProfile(const char*, const char*, const char*, const char*)
{
    return 0;
}

class ParametersIndependent : public testing::Test
{
protected:
    void SetUp() override
    {
        boxes.clear();
        captions.clear();
        platform(nullptr);
        SetParamFile(file.name());
        SetParamAppName("Gauge");
        SetWriteDefaultParam(1);
        std::remove(file.name());
    }
    void TearDown() override
    {
        vexaSetPlatform(nullptr);
        SetParamFile("");
        SetParamAppName("");
        SetWriteDefaultParam(1);
    }
    static void platform(int32_t (*write)(const char*, const char*, const char*, const char*))
    {
        VexaPlatform mine{};
        mine.size = sizeof mine;
        mine.messageBox = collectBox;
        mine.writeProfile = write;
        if (write) // read and write belong together
            mine.readProfile = [](const char*, const char*, const char*, const char* fallback, char* buffer,
                                  size_t size) {
                const std::string text = fallback ? fallback : "";
                std::snprintf(buffer, size, "%s", text.c_str());
                return std::min(text.size(), size - 1);
            };
        vexaSetPlatform(&mine);
    }
    std::string text() const
    {
        const auto bytes = bytesOfFile(file.name());
        std::string all;
        for (const uint8_t b : bytes)
            if (b != '\r')
                all += static_cast<char>(b);
        return all;
    }
    void put(const std::string& content) const { file.write({content.begin(), content.end()}); }
    std::string key(const std::string& name) const // as the file holds it
    {
        const std::string all = text();
        const std::size_t at = all.find("\n" + name + "=");
        return at == std::string::npos
                   ? "none"
                   : all.substr(at + name.size() + 2, all.find('\n', at + 1) - at - name.size() - 2);
    }
    std::string read(const std::string& fallback, const char* name, int32_t size = 900) const
    {
        std::string buffer(900, '#');
        std::copy_n(fallback.c_str(), fallback.size() + 1, buffer.begin());
        const int32_t length = ReadStrParam(buffer.data(), size, name);
        EXPECT_EQ(std::strlen(buffer.c_str()), static_cast<std::size_t>(length));
        return buffer.c_str();
    }
    const TempFile file{".ini"};
};

} // namespace

TEST_F(ParametersIndependent, NeedsAFileAndASection)
{
    SetParamFile("");
    EXPECT_STREQ("", GetParamFile());
    EXPECT_EQ(0, ReadLongParam(5, "K"));
    EXPECT_EQ(0, ReadIntParam(5, "K"));
    EXPECT_EQ(0.0, ReadDblParam(5, "K"));
    char some[20] = "abc";
    int32_t whole[2] = {1, 2};
    double reals[2] = {1, 2};
    EXPECT_EQ(0, ReadStrParam(some, 20, "K"));
    EXPECT_EQ(0, ReadIArrayParam(whole, 2, "K"));
    EXPECT_EQ(0, ReadDArrayParam(reals, 2, "K"));
    EXPECT_EQ(0, WriteLongParam(1, "K"));
    EXPECT_EQ(0, WriteIntParam(1, "K"));
    EXPECT_EQ(0, WriteDblParam(1, "K"));
    EXPECT_EQ(0, WriteStrParam("x", "K"));
    EXPECT_EQ(0, WriteIArrayParam(whole, 2, "K"));
    EXPECT_EQ(0, WriteDArrayParam(reals, 2, "K"));
    ASSERT_EQ(12u, boxes.size());
    for (const std::string& box : boxes)
        EXPECT_EQ("Call to read or write param (K) with out ParamFile() or AppName(Gauge) set", box);
    EXPECT_EQ("MESSAGE", captions[0]);
    EXPECT_STREQ("abc", some);
    SetParamFile("f.ini");
    SetParamAppName("");
    EXPECT_EQ(0, ReadLongParam(5, "Other"));
    EXPECT_EQ("Call to read or write param (Other) with out ParamFile(f.ini) or AppName() set", boxes.back());
    EXPECT_STREQ("f.ini", GetParamFile());
    EXPECT_FALSE(std::filesystem::exists("f.ini"));
}

TEST_F(ParametersIndependent, WritesDefaultsIntoANewFile)
{
    EXPECT_EQ(5, ReadLongParam(5, "X"));
    EXPECT_EQ("5", key("X"));
    EXPECT_EQ(-7, ReadIntParam(-7, "Y"));
    EXPECT_EQ(2.5, ReadDblParam(2.5, "D"));
    EXPECT_EQ("2.500000", key("D"));
    EXPECT_EQ("left", read("left", "S"));
    EXPECT_EQ("left", key("S"));
    int32_t whole[3] = {1, -2, 3};
    double reals[3] = {0.5, 1234567.0, -3e-7};
    ReadIArrayParam(whole, 3, "I");
    ReadDArrayParam(reals, 3, "R");
    EXPECT_EQ("1;-2;3", key("I"));
    EXPECT_EQ("0.5;1.2346e+06;-3e-07", key("R"));
    EXPECT_EQ(1234567.0, reals[1]);
    EXPECT_EQ(6, ReadLongParam(6, "X") + 1); // the file's 5 stands
    EXPECT_EQ("[Gauge]\nX=5\nY=-7\nD=2.500000\nS=left\nI=1;-2;3\nR=0.5;1.2346e+06;-3e-07\n", text());
    EXPECT_TRUE(boxes.empty());
}

TEST_F(ParametersIndependent, LeavesTheFileAloneWithTheFlagOff)
{
    EXPECT_EQ(0, SetWriteDefaultParam(0));
    EXPECT_EQ(5, ReadLongParam(5, "X"));
    EXPECT_EQ(0.123456789, ReadDblParam(0.123456789, "D"));
    EXPECT_EQ("left", read("left", "S"));
    int32_t whole[2] = {1, 2};
    ReadIArrayParam(whole, 2, "I");
    EXPECT_EQ(2, whole[1]);
    EXPECT_FALSE(std::filesystem::exists(file.name()));
    const std::string content = "; mine\n[Gauge]\nE=\n";
    put(content);
    ReadLongParam(5, "X");
    ReadLongParam(5, "E");
    EXPECT_EQ("", read("left", "E"));
    ReadIArrayParam(whole, 2, "E");
    EXPECT_EQ(2, whole[1]);
    EXPECT_EQ(content, text());
    EXPECT_EQ(1, SetWriteDefaultParam(1));
    EXPECT_EQ(5, SetWriteDefaultParam(5));
}

TEST_F(ParametersIndependent, ReadsNumbersOfAnyForm)
{
    put("[Gauge]\na=1e3\nb=2.7\nc=-2.7\nd=  12 \ne=abc\nf=5abc\ng=+8\nh=1e300\ni=-1e300\nj=.5\n"
        "k=\"42\"\nl=3;7\nlong=" +
        std::string(70, '0') + "123\n");
    const std::pair<const char*, int32_t> cases[] = {{"a", 1000}, {"b", 2}, {"c", -2},    {"d", 12},
                                                     {"e", 0},    {"f", 5}, {"g", 8},     {"j", 0},
                                                     {"k", 42},   {"l", 3}, {"long", 123}};
    for (const auto& [name, value] : cases) {
        EXPECT_EQ(value, ReadLongParam(99, name)) << name;
        EXPECT_EQ(value, ReadIntParam(99, name)) << name;
    }
    ReadLongParam(99, "h");
    ReadLongParam(99, "i");
    EXPECT_EQ(-2.7, ReadDblParam(1, "c"));
    EXPECT_EQ(1e300, ReadDblParam(1, "h"));
    EXPECT_EQ(0.5, ReadDblParam(1, "J")); // no regard to case
    SetParamAppName("GAUGE");
    EXPECT_EQ(1000, ReadLongParam(99, "A"));
    EXPECT_EQ(1, WriteLongParam(std::numeric_limits<int32_t>::min(), "low"));
    EXPECT_EQ("-2147483648", key("low"));
    EXPECT_EQ(std::numeric_limits<int32_t>::min(), ReadLongParam(0, "low"));
    EXPECT_EQ(1, WriteDblParam(1.0 / 3.0, "third"));
    EXPECT_EQ("0.333333", key("third"));
    EXPECT_EQ(1, WriteDblParam(-1e20, "far"));
    EXPECT_EQ("-100000000000000000000.000000", key("far"));
}

TEST_F(ParametersIndependent, ReadsAndWritesTexts)
{
    EXPECT_EQ(1, WriteStrParam("a text; with = signs", "T"));
    EXPECT_EQ("a text; with = signs", key("T"));
    EXPECT_EQ("a text; with = signs", read("d", "T"));
    EXPECT_EQ("a te", read("d", "T", 5));
    EXPECT_EQ(1, WriteStrParam("", "E"));
    EXPECT_EQ("", key("E"));
    EXPECT_EQ("def", read("def", "E")); // nothing came, the flag is on: put back and written
    EXPECT_EQ("def", key("E"));
    EXPECT_EQ("def", read("def", "same"));
    EXPECT_EQ("def", key("same"));
    put("[Gauge]\nq=\"in quotes\"\ns=' single '\nu=\"open\n  v  =  blanks around  \n");
    EXPECT_EQ("in quotes", read("d", "q"));
    EXPECT_EQ(" single ", read("d", "s"));
    EXPECT_EQ("blanks around", read("d", "v"));
    const std::string longest(800, 'x');
    EXPECT_EQ(longest, read(longest, "long"));
    EXPECT_EQ(longest, key("long"));
    EXPECT_EQ(longest, read("", "long"));
}

TEST_F(ParametersIndependent, ReadsAndWritesArrays)
{
    put("[Gauge]\na=1,2;3 4\nb=7\nc=1.9\t-2.9, ,; 1e2\nd=x 5\n");
    int32_t whole[5] = {10, 20, 30, 40, 50};
    ReadIArrayParam(whole, 3, "a");
    EXPECT_EQ((std::vector<int32_t>{1, 2, 3, 40, 50}), std::vector<int32_t>(whole, whole + 5));
    ReadIArrayParam(whole, 5, "b");
    EXPECT_EQ((std::vector<int32_t>{7, 2, 3, 40, 50}), std::vector<int32_t>(whole, whole + 5));
    ReadIArrayParam(whole, 5, "c");
    EXPECT_EQ((std::vector<int32_t>{1, -2, 100, 40, 50}), std::vector<int32_t>(whole, whole + 5));
    ReadIArrayParam(whole, 5, "d");
    EXPECT_EQ((std::vector<int32_t>{0, 5, 100, 40, 50}), std::vector<int32_t>(whole, whole + 5));
    double reals[4] = {1, 2, 3, 4};
    ReadDArrayParam(reals, 3, "c");
    EXPECT_EQ((std::vector<double>{1.9, -2.9, 100, 4}), std::vector<double>(reals, reals + 4));
    EXPECT_EQ(1, WriteIArrayParam(whole, 2, "w"));
    EXPECT_EQ("0;5", key("w"));
    EXPECT_EQ(1, WriteDArrayParam(reals, 2, "w"));
    EXPECT_EQ("1.9;-2.9", key("w"));
    EXPECT_EQ(1, WriteIArrayParam(whole, 1, "w"));
    EXPECT_EQ("0", key("w"));
    std::vector<int32_t> many(300);
    for (std::size_t i = 0; i < many.size(); ++i)
        many[i] = static_cast<int32_t>(i % 10);
    EXPECT_EQ(1, WriteIArrayParam(many.data(), 300, "many"));
    std::vector<int32_t> back(300, -1);
    ReadIArrayParam(back.data(), 300, "many");
    EXPECT_EQ(many, back);
}

TEST_F(ParametersIndependent, TellsOfWritesThatFail)
{
    platform(refuseProfile);
    const std::string name = file.name();
    const int32_t whole[2] = {1, 2};
    const double reals[3] = {0.5, 2, 3};
    EXPECT_EQ(0, WriteLongParam(-4, "K"));
    EXPECT_EQ("WPPS(Gauge K -4 " + name + ") failed in WriteLongParam", boxes.back());
    EXPECT_EQ(0, WriteDblParam(1, "K"));
    EXPECT_EQ("WPPS failed in WriteDblParam", boxes.back());
    EXPECT_EQ(0, WriteStrParam("t", "K"));
    EXPECT_EQ("WPPS failed in WriteStrParam", boxes.back());
    EXPECT_EQ(0, WriteIArrayParam(whole, 2, "K"));
    EXPECT_EQ("WPPS(Gauge K 1;2 " + name + ") failed in WriteIArrayParam", boxes.back());
    EXPECT_EQ(0, WriteDArrayParam(reals, 3, "K"));
    EXPECT_EQ("WPPS(Gauge K 0.5;2;3 " + name + ") failed in WriteDArrayParam. nvalues=3", boxes.back());
    EXPECT_EQ(5u, boxes.size());
    EXPECT_EQ(9, ReadLongParam(9, "K")); // its default cannot be written
    EXPECT_EQ("WPPS(Gauge K 9 " + name + ") failed in WriteLongParam", boxes.back());
    EXPECT_EQ("x", read("x", "K"));
    EXPECT_EQ("WPPS failed in WriteStrParam", boxes.back());
    EXPECT_EQ(7u, boxes.size());
    platform(nullptr);
    SetParamFile((name + "/no/such/folder.ini").c_str());
    EXPECT_EQ(0, WriteDblParam(1, "K"));
    EXPECT_EQ("WPPS failed in WriteDblParam", boxes.back());
}

TEST_F(ParametersIndependent, KeepsAllElseInTheFile)
{
    put("; head\n\n[Other]\nX=1\n# odd line\n\n[gauge] \n; about x\nx = 3\nY=4\n\n[Third]\nX=9");
    EXPECT_EQ(3, ReadLongParam(0, "X"));
    EXPECT_EQ(1, WriteLongParam(33, "X"));
    EXPECT_EQ(1, WriteLongParam(5, "New"));
    SetParamAppName("Fourth");
    EXPECT_EQ(1, WriteStrParam("z", "Z"));
    const std::string all = text();
    const std::string order[] = {"; head\n\n[Other]\nX=1\n# odd line\n",
                                 "[gauge]",
                                 "; about x\n",
                                 "33\n",
                                 "Y=4\n",
                                 "New=5\n",
                                 "[Third]\nX=9\n",
                                 "[Fourth]\n",
                                 "Z=z"};
    std::size_t from = 0;
    for (const std::string& part : order) {
        const std::size_t at = all.find(part, from);
        ASSERT_NE(std::string::npos, at) << part << " in\n" << all;
        from = at + part.size();
    }
    SetParamAppName("other");
    EXPECT_EQ(1, ReadLongParam(0, "x"));
    for (const auto& entry : std::filesystem::directory_iterator(testing::TempDir())) // nothing stays behind
        EXPECT_EQ(std::string::npos, entry.path().string().find(std::string(file.name()) + ".tmp"));
}

TEST_F(ParametersIndependent, ProcessesKeepEachOthersKeys)
{
    constexpr int32_t processes = 4, keys = 40;
    std::vector<pid_t> children;
    for (int32_t p = 0; p < processes; ++p) {
        const pid_t child = fork();
        if (child == 0) {
            for (int32_t k = 0; k < keys; ++k)
                WriteLongParam(100 * p + k, ("P" + std::to_string(p) + "K" + std::to_string(k)).c_str());
            std::_Exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
    SetWriteDefaultParam(0);
    for (int32_t p = 0; p < processes; ++p)
        for (int32_t k = 0; k < keys; ++k)
            EXPECT_EQ(100 * p + k,
                      ReadLongParam(-1, ("P" + std::to_string(p) + "K" + std::to_string(k)).c_str()));
}
