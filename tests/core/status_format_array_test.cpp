#include <limits>

#include "support/buffer.h"
#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "vexalib/status.h"

namespace
{

using namespace vexa::test;

constexpr int32_t kRoom = 4000;

// The text of an array, with what stands behind it checked to be untouched.
std::string formatted(const void* array, int32_t bytes, int32_t cols, int32_t rows, const char* format,
                      const char* separator = ",", const char* title = nullptr)
{
    std::vector<char> out(kRoom, '#');
    out[0] = '\0';
    const int32_t length = I_FormatArrayEx(out.data(), array, bytes, cols, rows, format, separator, title);
    const std::string text = out.data();
    EXPECT_EQ(static_cast<int32_t>(text.size()), length);
    // A tab that was dropped may have stood at the end.
    EXPECT_TRUE(std::all_of(out.begin() + length + 2, out.end(), [](char c) { return c == '#'; }));
    return text;
}

std::string one(int32_t value, const char* format)
{
    return formatted(&value, 4, 1, 1, format);
}

TEST(LiteralFormatArray, RowsAndSeparators)
{
    const int16_t words[] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ("T\r\n1, 2\r\n3, 4", formatted(words, 2, 2, 2, "%d", ", ", "T"));
    EXPECT_EQ("1, 2, 3\r\n4, 5, 6", formatted(words, 2, 3, 2, "%d", ", "));
    EXPECT_EQ("1", formatted(words, 2, 1, 1, "%d"));
    EXPECT_EQ("\r\n12", formatted(words, 2, 2, 1, "%d", nullptr, ""));
}

TEST(LiteralFormatArray, RowsBelowOneCountAsOne)
{
    const uint8_t bytes[] = {7, 8};
    EXPECT_EQ("7,8", formatted(bytes, 1, 2, 0, "%d"));
    EXPECT_EQ("7,8", formatted(bytes, 1, 2, -5, "%d"));
}

TEST(LiteralFormatArray, FourBytesAreFloatsWithTheLetterF)
{
    const float floats[] = {1.25F, -3.5F};
    EXPECT_EQ("1.25,-3.50", formatted(floats, 4, 2, 1, "%.2f"));
    const double doubles[] = {1.25, -3.5};
    EXPECT_EQ("1.25,-3.50", formatted(doubles, 8, 2, 1, "%.2f"));
    EXPECT_EQ("1.25,-3.5", formatted(doubles, 8, 2, 1, "%g"));
    // Required: without the letter the four bytes are the low end of a double, which is next to nothing.
    EXPECT_EQ("5.274E-315", formatted(floats, 4, 1, 1, "%.3E"));
    // Required: any f counts, also one that is text; the double's low 32 bits are then read as the integer.
    EXPECT_EQ("0 of,0 of", formatted(floats, 4, 2, 1, "%d of"));
}

TEST(LiteralFormatArray, IntegersAreReadFromTheLowEnd)
{
    const uint8_t bytes[] = {0, 127, 128, 255};
    EXPECT_EQ("0,127,128,255", formatted(bytes, 1, 4, 1, "%d"));
    EXPECT_EQ("0,127,-128,-1", formatted(bytes, 1, 4, 1, "%hhd"));
    const int16_t words[] = {-1, 2};
    EXPECT_EQ("65535,2", formatted(words, 2, 2, 1, "%d"));
    EXPECT_EQ("-1,2", formatted(words, 2, 2, 1, "%hd"));
    EXPECT_EQ("65535,2", formatted(words, 2, 2, 1, "%hu"));
    const int32_t dwords[] = {-5, INT32_MAX};
    EXPECT_EQ("-5,2147483647", formatted(dwords, 4, 2, 1, "%d"));
    EXPECT_EQ("-5,2147483647", formatted(dwords, 4, 2, 1, "%ld"));
    EXPECT_EQ("4294967291,2147483647", formatted(dwords, 4, 2, 1, "%u"));
    EXPECT_EQ("4294967291,2147483647", formatted(dwords, 4, 2, 1, "%lld"));
    EXPECT_EQ("0xfffffffb,0x7fffffff", formatted(dwords, 4, 2, 1, "%#x"));
    EXPECT_EQ("FB,FF", formatted(dwords, 4, 2, 1, "%hhX"));
    EXPECT_EQ("37777777773,17777777777", formatted(dwords, 4, 2, 1, "%o"));
    const int64_t wide[] = {-5, int64_t{1} << 40};
    EXPECT_EQ("-5,1099511627776", formatted(wide, 8, 2, 1, "%lld"));
    EXPECT_EQ("-5,1099511627776", formatted(wide, 8, 2, 1, "%I64d"));
    EXPECT_EQ("-5,0", formatted(wide, 8, 2, 1, "%d"));
    EXPECT_EQ("18446744073709551611,1099511627776", formatted(wide, 8, 2, 1, "%llu"));
    const uint8_t three[] = {1, 2, 3, 255, 255, 255};
    EXPECT_EQ("197121,16777215", formatted(three, 3, 2, 1, "%d"));
    const uint8_t twelve[] = {1, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9, 9, 2, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9, 9};
    EXPECT_EQ("1,2", formatted(twelve, 12, 2, 1, "%lld"));
    EXPECT_EQ("A,z", formatted("Az", 1, 2, 1, "%c"));
}

TEST(LiteralFormatArray, FlagsWidthAndPrecision)
{
    EXPECT_EQ("   42", one(42, "%5d"));
    EXPECT_EQ("42   ", one(42, "%-5d"));
    EXPECT_EQ("+0042", one(42, "%+05d"));
    EXPECT_EQ("  042", one(42, "%5.3d"));
    EXPECT_EQ(" 42", one(42, "% d"));
    EXPECT_EQ("v=42;", one(42, "v=%d;"));
    EXPECT_EQ("42%", one(42, "%d%%"));
    EXPECT_EQ("%42", one(42, "%%%d"));
    const float value = 2.5F;
    EXPECT_EQ("  2.5   ", formatted(&value, 4, 1, 1, "%5.1f   "));
    EXPECT_EQ("2", formatted(&value, 4, 1, 1, "%.0f"));
    EXPECT_EQ("2", formatted(&value, 4, 1, 1, "%.f"));
}

TEST(LiteralFormatArray, ATabAtTheEndOfARowIsDropped)
{
    const uint8_t bytes[] = {1, 2, 3, 4};
    EXPECT_EQ("1\t2\r\n3\t4", formatted(bytes, 1, 2, 2, "%d\t", ""));
    EXPECT_EQ("1\t2\r\n3\t4", formatted(bytes, 1, 2, 2, "%d", "\t"));
    EXPECT_EQ("1\t\t2\t\r\n3\t\t4\t", formatted(bytes, 1, 2, 2, "%d\t\t", ""));
}

TEST(LiteralFormatArray, TheTextGoesBehindWhatIsThere)
{
    const uint8_t bytes[] = {1, 2};
    char out[100] = "have ";
    EXPECT_EQ(8, I_FormatArrayEx(out, bytes, 1, 2, 1, "%d", ",", nullptr));
    EXPECT_STREQ("have 1,2", out);
    EXPECT_EQ(8, I_FormatArrayEx(out, bytes, 1, 2, 1, "%d", ",", "new"));
    EXPECT_STREQ("new\r\n1,2", out);
    std::memset(out, '#', sizeof out); // with a title the buffer need not hold a text
    EXPECT_EQ(6, I_FormatArrayEx(out, bytes, 1, 2, 1, "%d", ",", "n"));
    EXPECT_STREQ("n\r\n1,2", out);
}

TEST(LiteralFormatArray, WithoutABufferTheTextIsShown)
{
    const PlatformInPlace platform;
    const uint8_t bytes[] = {1, 2, 3, 4};
    EXPECT_EQ(12, I_FormatArrayEx(nullptr, bytes, 1, 2, 2, "%d", ",", "5%"));
    ASSERT_EQ(1U, platform->boxes.size());
    EXPECT_EQ("5%\r\n1,2\r\n3,4", platform->boxes[0].text);
    EXPECT_EQ("MESSAGE", platform->boxes[0].caption);
    EXPECT_EQ(8, FormatArray(nullptr, bytes, 1, 2, 2, "%d"));
    EXPECT_EQ("1 2\r\n3 4", platform->boxes[1].text);
}

TEST(LiteralFormatArray, EmptyArraysAreToldWithoutABuffer)
{
    const PlatformInPlace platform;
    const uint8_t bytes[] = {1};
    char out[10] = "kept";
    EXPECT_EQ(0, I_FormatArrayEx(out, nullptr, 1, 2, 3, "%d", ",", "title"));
    EXPECT_EQ(0, I_FormatArrayEx(out, bytes, 0, 1, 1, "%d", ",", "title"));
    EXPECT_EQ(0, I_FormatArrayEx(out, bytes, 1, 0, 1, "%d", ",", "title"));
    EXPECT_EQ(0, I_FormatArrayEx(out, bytes, -1, 1, 1, "%d", ",", "title"));
    EXPECT_STREQ("kept", out);
    EXPECT_TRUE(platform->boxes.empty());
    EXPECT_EQ(0, I_FormatArrayEx(nullptr, nullptr, 4, 2, 3, "%d", ",", "title"));
    EXPECT_EQ(0, FormatArray(nullptr, bytes, 0, 2, -3, "%d"));
    EXPECT_EQ(0, FormatArray2(nullptr, bytes, 4, -2, 3, "%d", "t%d", 1));
    ASSERT_EQ(3U, platform->boxes.size());
    EXPECT_EQ("FormatArray: zero size array: 2 x 3 x 4 bytes", platform->boxes[0].text);
    EXPECT_EQ("FormatArray: zero size array: 2 x 1 x 0 bytes", platform->boxes[1].text);
    EXPECT_EQ("FormatArray: zero size array: -2 x 3 x 4 bytes", platform->boxes[2].text);
}

TEST(LiteralFormatArray, FormatArray2FormatsTheTitle)
{
    const uint8_t bytes[] = {1, 2};
    char out[100] = "";
    EXPECT_EQ(11, FormatArray2(out, bytes, 1, 2, 1, "%d", "%d by %s", 2, "1"));
    EXPECT_STREQ("2 by 1\r\n1 2", out);
}

TEST(BoundsFormatArray, ElementsEndAt400Characters)
{
    EXPECT_EQ(std::string(399, ' ') + "7", one(7, "%400d"));
    EXPECT_EQ(std::string(400, ' '), one(7, "%401d"));
    EXPECT_EQ(std::string(400, ' '), one(7, "%2147483647d"));
    EXPECT_EQ("7" + std::string(399, ' '), one(7, "%-99999999999999999999d"));
    EXPECT_EQ(std::string(400, '0'), one(7, "%.2147483647d"));
    EXPECT_EQ(std::string(300, 'b') + std::string(100, ' '),
              one(7, (std::string(300, 'b') + "%300d").c_str()));
    EXPECT_EQ(std::string(399, 'b') + "1", one(123, (std::string(399, 'b') + "%dtail").c_str()));
    EXPECT_EQ(std::string(400, 'b'), one(7, std::string(1000, 'b').c_str()));
    const double huge = std::numeric_limits<double>::max();
    const std::string text = formatted(&huge, 8, 1, 1, "%.300f");
    EXPECT_EQ(400U, text.size());
    EXPECT_EQ("17976931348623157", text.substr(0, 17));
    EXPECT_EQ('.', text[309]);
}

TEST(BoundsFormatArray, ShownTextsMayBeLong)
{
    const PlatformInPlace platform;
    const std::vector<uint8_t> bytes(50, 9);
    std::string row = std::string(399, ' ') + "9";
    std::string expected = row;
    const std::string separator(300, '-');
    for (int32_t i = 1; i < 50; ++i)
        expected += separator + row;
    EXPECT_EQ(static_cast<int32_t>(expected.size()),
              I_FormatArrayEx(nullptr, bytes.data(), 1, 50, 1, "%400d", separator.c_str(), nullptr));
    EXPECT_EQ(expected, platform->boxes[0].text);
}

TEST(FailuresFormatArray, FormatsThatAreNoNumberStandAsText)
{
    for (const char* format : {"%s", "%n", "%p", "%*d", "%.*f", "%", "100%", "%5", "%-", "%l", "%hhs", "% k",
                               "%lls", "%5.", "%$", "text", ""})
        EXPECT_EQ(format, one(42, format));
    EXPECT_EQ("", one(42, nullptr));
    EXPECT_EQ("%", one(42, "%%"));
}

TEST(FailuresFormatArray, OnlyOneConversionReadsTheNumber)
{
    EXPECT_EQ("42 %d", one(42, "%d %d"));
    EXPECT_EQ("42%s%n", one(42, "%d%s%n"));
    EXPECT_EQ("%s 42 %", one(42, "%s %d %%"));
    EXPECT_EQ("%*d 42", one(42, "%*d %d"));
}

TEST(FailuresFormatArray, NumbersThatAreNone)
{
    const double values[] = {std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity()};
    EXPECT_EQ("inf,-inf", formatted(values, 8, 2, 1, "%f"));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ("nan", formatted(&nan, 4, 1, 1, "%f"));
    EXPECT_EQ("", formatted("\0", 1, 1, 1, "%c"));
}

TEST(FailuresFormatArray, WithoutMemoryNothingIsShown)
{
    const PlatformInPlace platform;
    const uint8_t bytes[] = {1, 2};
    forEachFailingAllocation(
        [&] {
            platform->boxes.clear();
            return FormatArray(nullptr, bytes, 1, 2, 1, "%d");
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: FormatArray: "));
            EXPECT_TRUE(platform->boxes.empty());
        });
    // A text that cannot grow ends where its first room does: 100 characters an element, and 10.
    vexa::failAllocation(2, true);
    EXPECT_EQ(209, FormatArray(nullptr, bytes, 1, 2, 1, "%300d"));
    vexa::failAllocation(0, false);
    EXPECT_EQ(std::string(209, ' '), platform->boxes.back().text);
    // Sizes beyond all memory.
    EXPECT_EQ(0, FormatArray(nullptr, bytes, 1, INT32_MAX, INT32_MAX, "%d"));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
}

TEST(FailuresFormatArray, WithoutMemoryTheTitleIsItsFormat)
{
    const uint8_t bytes[] = {1, 2};
    char out[100] = "";
    vexa::failAllocation(1, true);
    EXPECT_EQ(13, FormatArray2(out, bytes, 1, 2, 1, "%d", "%d by %s", 2, "1"));
    vexa::failAllocation(0, false);
    EXPECT_STREQ("%d by %s\r\n1 2", out);
    out[0] = '\0';
    const char* none = nullptr;
    EXPECT_EQ(3, FormatArray2(out, bytes, 1, 2, 1, "%d", none));
    EXPECT_STREQ("1 2", out);
}

} // namespace
