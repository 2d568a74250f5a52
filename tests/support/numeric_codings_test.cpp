// Byte searches, line ends, whole files, run-length and Base64 coding.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "tests/support/test_failures.h"
#include "vexalib/vexalib.h"

namespace
{

using vexa::test::errorText;
using Bytes = std::vector<uint8_t>;

int32_t sizeOf(const Bytes& bytes)
{
    return static_cast<int32_t>(bytes.size());
}

TEST(LiteralSearch, ANeedleFlushWithTheEndIsNotFound)
{
    const char text[] = "abcabcabc";
    EXPECT_EQ(0, I_instr(text, 0, 9, "abc", 3));
    EXPECT_EQ(3, I_instr(text, 1, 9, "abc", 3));
    EXPECT_EQ(-1, I_instr(text, 4, 9, "abc", 3)) << "6 is not below 9 - 3";
    EXPECT_EQ(6, I_instr(text, 4, 10, "abc", 3));
    EXPECT_EQ(5, I_instr4(text, 3, 10, "cabc"));
    EXPECT_EQ(-1, I_instr4(text, 3, 9, "cabc"));
    EXPECT_EQ(4, I_instr2(text, 2, 9, "bc"));
    EXPECT_EQ(-1, I_instr2(text, 5, 9, "bc"));
}

TEST(LiteralSearch, BackwardAtOrBelowHighest)
{
    const char text[] = "abcabcabcd";
    EXPECT_EQ(6, I_instr2Rev(text, 0, 6, "ab"));
    EXPECT_EQ(3, I_instr2Rev(text, 0, 5, "ab"));
    EXPECT_EQ(3, I_instr2Rev(text, 3, 5, "ab"));
    EXPECT_EQ(-1, I_instr2Rev(text, 4, 5, "ab"));
    EXPECT_EQ(0, I_instr2Rev(text, -5, 2, "ab"));
    EXPECT_EQ(3, I_instr4Rev(text, 0, 6, "abca"));
    EXPECT_EQ(6, I_instr4Rev(text, 0, 6, "abcd"));
}

TEST(AgainstReferenceSearch, EveryPlaceInNoise)
{
    std::mt19937 random(7);
    for (int32_t round = 0; round < 200; ++round) {
        Bytes text(40);
        for (uint8_t& byte : text)
            byte = static_cast<uint8_t>(random() % 2);
        for (const int32_t bytes : {1, 2, 3, 4}) {
            const Bytes needle(text.begin() + 17, text.begin() + 17 + bytes);
            const int32_t start = static_cast<int32_t>(random() % 45) - 3;
            int32_t expected = -1;
            for (int32_t at = std::max(start, 0); at < sizeOf(text) - bytes && expected < 0; ++at)
                if (std::equal(needle.begin(), needle.end(), text.begin() + at))
                    expected = at;
            EXPECT_EQ(expected, I_instr(text.data(), start, sizeOf(text), needle.data(), bytes));
            if (bytes == 2) {
                EXPECT_EQ(expected, I_instr2(text.data(), start, sizeOf(text), needle.data()));
            }
            if (bytes == 4) {
                EXPECT_EQ(expected, I_instr4(text.data(), start, sizeOf(text), needle.data()));
            }
        }
    }
}

TEST(BoundsSearch, BadArgumentsFindNothing)
{
    const char text[] = "aaaaaaaa";
    EXPECT_EQ(-1, I_instr(nullptr, 0, 8, "a", 1));
    EXPECT_EQ(-1, I_instr(text, 0, 8, nullptr, 1));
    EXPECT_EQ(-1, I_instr(text, 0, 8, "a", 0));
    EXPECT_EQ(-1, I_instr(text, 0, 8, "a", INT32_MIN));
    EXPECT_EQ(-1, I_instr(text, 0, -8, "a", 1));
    EXPECT_EQ(-1, I_instr(text, INT32_MAX, 8, "a", 1));
    EXPECT_EQ(-1, I_instr4(text, 0, INT32_MIN, "aaaa"));
    EXPECT_EQ(-1, I_instr2Rev(nullptr, 0, 4, "aa"));
    EXPECT_EQ(-1, I_instr4Rev(text, 0, -1, "aaaa"));
}

int32_t undo(std::string& text)
{
    return I_UndoCrLf(text.data(), static_cast<int32_t>(text.size()));
}

TEST(LiteralText, UndoCrLf)
{
    std::string text = "one\r\ntwo\r\n\rx\r\r\n";
    const int32_t length = undo(text);
    EXPECT_EQ(12, length);
    EXPECT_EQ("one\ntwo\n\rx\r\n", text.substr(0, 12));
    for (std::string unchanged : {"one\ntwo\r\n", "no line end", "\n", "\r", "a\r"}) {
        const std::string before = unchanged;
        EXPECT_EQ(-static_cast<int32_t>(before.size()), undo(unchanged));
        EXPECT_EQ(before, unchanged);
    }
    EXPECT_EQ(0, I_UndoCrLf(nullptr, 5));
    EXPECT_EQ(0, I_UndoCrLf(text.data(), 0));
}

class Files : public testing::Test
{
protected:
    void SetUp() override
    {
        folder =
            std::filesystem::temp_directory_path() / ("vexa-files-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directory(folder);
        vexa::test::clearError();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string path(const char* name) const { return (folder / name).string(); }

    std::filesystem::path folder;
};
using LiteralFiles = Files;
using FailuresFiles = Files;

TEST_F(LiteralFiles, WriteAppendAndRead)
{
    const std::string name = path("a.bin");
    EXPECT_EQ(5, I_WriteFile(name.c_str(), "12345", 5));
    EXPECT_EQ(3, I_WriteFile(name.c_str(), "abc", 3));
    EXPECT_EQ(2, I_AppendFile(name.c_str(), "de", 2));
    char buffer[8] = "-------";
    EXPECT_EQ(5, I_ReadFile(name.c_str(), buffer, 7));
    EXPECT_STREQ("abcde--", buffer);
    EXPECT_EQ(2, I_ReadFile(name.c_str(), buffer, 2));
    EXPECT_EQ(0, I_WriteFile(name.c_str(), "", 0));
    EXPECT_EQ(0, I_ReadFile(name.c_str(), buffer, 7)) << "emptied";
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(FailuresFiles, AFileThatDoesNotOpenIsReported)
{
    const std::string name = path("none/a.bin");
    char buffer[4] = "abc";
    EXPECT_EQ(0, I_ReadFile(name.c_str(), buffer, 3));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_WriteFile(name.c_str(), buffer, 3));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    char expected[400];
    std::snprintf(expected, sizeof expected,
                  "I_WriteFile %s; buf=%lx fp=0 len=3 LenWrite=0 err=No such file or directory", name.c_str(),
                  static_cast<unsigned long>(reinterpret_cast<uintptr_t>(buffer)));
    EXPECT_EQ(expected, errorText());
}

TEST_F(FailuresFiles, BadArgumentsTouchNoFile)
{
    EXPECT_EQ(0, I_WriteFile(nullptr, "abc", 3));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    const std::string name = path("b.bin");
    EXPECT_EQ(0, I_WriteFile(name.c_str(), nullptr, 3));
    EXPECT_EQ(0, I_WriteFile(name.c_str(), "abc", -3));
    EXPECT_FALSE(std::filesystem::exists(name));
    EXPECT_EQ(0, I_ReadFile(nullptr, nullptr, 3));
    EXPECT_EQ(0, I_ReadFile(name.c_str(), nullptr, 3));
}

Bytes encode(const Bytes& source)
{
    int32_t length = -1;
    uint8_t* block = I_RunLengthEncode1(source.data(), sizeOf(source), &length);
    EXPECT_NE(nullptr, block);
    const Bytes result(block, block + length);
    vexaFree(block);
    return result;
}

TEST(LiteralRunLength, Packets)
{
    EXPECT_THAT(encode(Bytes(200, 9)), testing::ElementsAre(127, 9, 73, 9));
    EXPECT_THAT(encode({1, 2}), testing::ElementsAre(0x82, 1, 2));
    EXPECT_THAT(encode({5, 5, 5}), testing::ElementsAre(3, 5));
    EXPECT_THAT(encode({1, 5, 5, 5, 2, 2}), testing::ElementsAre(0x81, 1, 3, 5, 0x82, 2, 2));
    EXPECT_THAT(encode({7}), testing::ElementsAre(0x81, 7));
    EXPECT_THAT(encode(Bytes(129, 9)), testing::ElementsAre(127, 9, 0x82, 9, 9));
    Bytes rising(130);
    for (std::size_t i = 0; i < rising.size(); ++i)
        rising[i] = static_cast<uint8_t>(i);
    const Bytes coded = encode(rising);
    ASSERT_EQ(132U, coded.size());
    EXPECT_EQ(0x80 | 127, coded[0]);
    EXPECT_EQ(0x80 | 3, coded[128]);
}

TEST(LiteralRunLength, ALiteralAndTheRestThatPass127AreTwoPackets)
{
    Bytes rising(128); // 126 bytes are walked, two are the rest
    for (std::size_t i = 0; i < rising.size(); ++i)
        rising[i] = static_cast<uint8_t>(i);
    const Bytes coded = encode(rising);
    ASSERT_EQ(130U, coded.size());
    EXPECT_EQ(0x80 | 126, coded[0]);
    EXPECT_EQ(0x80 | 2, coded[127]);
}

TEST(AgainstReferenceRunLength, WhatWasEncodedComesBack)
{
    vexa::test::clearError();
    std::mt19937 random(3);
    for (int32_t length = 2; length < 700; ++length)
        for (const uint32_t values : {1U, 2U, 3U, 200U}) {
            Bytes source(static_cast<std::size_t>(length));
            for (uint8_t& byte : source)
                byte = static_cast<uint8_t>(random() % values);
            const Bytes coded = encode(source);
            Bytes back(source.size() + 4, 0xEE);
            ASSERT_EQ(length, I_RunLengthDecode(coded.data(), sizeOf(coded), back.data(), length));
            ASSERT_TRUE(std::equal(source.begin(), source.end(), back.begin()));
            ASSERT_EQ(0xEE, back[source.size()]);
        }
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST(FailuresRunLength, EncodeWithoutRoomKeepsWholePackets)
{
    vexa::test::clearError();
    const Bytes source = {1, 5, 5, 5, 5, 2, 2, 7, 7, 7};
    const Bytes whole = encode(source);
    ASSERT_EQ(9U, whole.size());
    for (int32_t capacity = -1; capacity < 9; ++capacity) {
        SCOPED_TRACE(capacity);
        Bytes dest(12, 0xEE);
        const int32_t written = I_RunLengthEncode(source.data(), sizeOf(source), dest.data(), capacity);
        EXPECT_LE(written, std::max(capacity, 0));
        EXPECT_TRUE(std::equal(dest.begin(), dest.begin() + written, whole.begin()));
        for (std::size_t i = static_cast<std::size_t>(std::max(capacity, 0)); i < dest.size(); ++i)
            EXPECT_EQ(0xEE, dest[i]);
    }
    Bytes dest(9);
    EXPECT_EQ(9, I_RunLengthEncode(source.data(), sizeOf(source), dest.data(), 9));
    EXPECT_EQ(0, I_RunLengthEncode(nullptr, 4, dest.data(), 9));
    EXPECT_EQ(0, I_RunLengthEncode(source.data(), 4, nullptr, 9));
    EXPECT_EQ(0, I_RunLengthEncode(source.data(), -4, dest.data(), 9));
    EXPECT_EQ(nullptr, I_RunLengthEncode1(nullptr, 4, nullptr));
    EXPECT_EQ(nullptr, I_RunLengthEncode1(source.data(), -4, nullptr));
}

int32_t decode(const Bytes& coded, Bytes& dest)
{
    vexa::test::clearError();
    return I_RunLengthDecode(coded.data(), sizeOf(coded), dest.data(), sizeOf(dest));
}

TEST(FailuresRunLength, DecodeOfDamagedInput)
{
    Bytes dest(4);
    EXPECT_EQ(0, decode({3}, dest));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(3, decode({3, 8, 2, 9}, dest));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(
        "RunLengthDecode() Result longer than DestBuf: diDone=3 RunLen=2 dLen=4 sLen=4 siDone=2 RunVal=2 9",
        errorText());
    EXPECT_EQ(1, decode({0x85, 8}, dest = Bytes(9))) << "a literal that the input cuts short";
    EXPECT_EQ("RunLengthDecode: sLen=2, siDone=6, dLen=9 done=1", errorText());
    EXPECT_EQ(2, decode({2, 8, 3}, dest = Bytes(9))) << "a repeat without its value";
    EXPECT_EQ("RunLengthDecode: sLen=3, siDone=4, dLen=9 done=2", errorText());
    EXPECT_EQ(2, decode({0, 8, 2, 7}, dest = Bytes(9))) << "a count of 0 takes two bytes";
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "the input is used up";
    EXPECT_EQ(2, decode({2, 8, 2, 7}, dest = Bytes(2)));
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "dest is full";
    EXPECT_EQ(0, I_RunLengthDecode(nullptr, 4, dest.data(), 4));
    EXPECT_EQ(0, I_RunLengthDecode(dest.data(), 4, nullptr, 4));
}

std::string convert(const char* text, int32_t length, int32_t direction)
{
    int32_t outLength = -1;
    char* block = I_ConvertBase64(text, length, &outLength, direction);
    const std::string result = block ? std::string(block, static_cast<std::size_t>(outLength)) : "null";
    EXPECT_TRUE(!block || block[outLength] == '\0');
    vexaFree(block);
    return result;
}

TEST(LiteralBase64, BothDirections)
{
    EXPECT_EQ("ABC", convert("QUJD", 0, 0));
    EXPECT_EQ("QUJD", convert("ABC", 0, 1));
    // The published test vectors of the coding.
    const char* vectors[][2] = {{"f", "Zg=="},        {"fo", "Zm8="},        {"foo", "Zm9v"},
                                {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, coded] : vectors) {
        EXPECT_EQ(coded, convert(plain, 0, 1));
        EXPECT_EQ(plain, convert(coded, 0, 0));
    }
}

TEST(LiteralBase64, DecodeAcceptsMore)
{
    EXPECT_EQ("ABC", convert("QUJD", 5, 0)) << "a length of 5, the text's zero with it";
    EXPECT_EQ("fooba", convert("Zm9vYmE", 0, 0)) << "no padding";
    EXPECT_EQ("foob", convert("Zm9vYg", 0, 0));
    EXPECT_EQ("foobar", convert("Zm9v\r\nYmFy\r\n", 0, 0)) << "line ends are skipped";
    EXPECT_EQ("\xFB\xFF\xBE", convert("+/++", 0, 0));
    EXPECT_EQ("\xFB\xFF\xBE", convert("*-**", 0, 0));
    EXPECT_EQ("", convert("====", 0, 0));
}

TEST(FailuresBase64, NothingGivesNull)
{
    int32_t length = 7;
    EXPECT_EQ(nullptr, I_ConvertBase64(nullptr, 3, &length, 1));
    EXPECT_EQ(0, length);
    EXPECT_EQ(nullptr, I_ConvertBase64("", 0, nullptr, 1));
    EXPECT_EQ(nullptr, I_ConvertBase64("abc", -3, nullptr, 0));
    char dest[16] = "-";
    EXPECT_EQ(0, I_ConvertBase64a(nullptr, dest, 1));
    EXPECT_EQ(0, I_ConvertBase64a("abc", nullptr, 1));
    EXPECT_EQ(0, I_ConvertToBase64(nullptr, 3, dest, 16));
    EXPECT_EQ(0, I_ConvertToBase64("abc", 0, dest, 16));
    EXPECT_EQ(0, I_ConvertFromBase64("QUJD", 4, nullptr, 16));
    EXPECT_EQ('-', dest[0]);
    vexa::test::forEachFailingAllocation([&] { return I_ConvertBase64a("abc", dest, 1); },
                                         [](int64_t result) {
                                             EXPECT_EQ(0, result);
                                             EXPECT_EQ(2, I_GetError(nullptr, 0));
                                         });
}

TEST(LiteralBase64, IntoTheCallersBuffer)
{
    char dest[12] = "-----------";
    EXPECT_EQ(4, I_ConvertBase64a("abc", dest, 1));
    EXPECT_STREQ("YWJj", dest);
    EXPECT_EQ(3, I_ConvertBase64a("YWJj", dest, 0));
    EXPECT_STREQ("abc", dest);
    vexa::test::clearError();
    EXPECT_EQ(8, I_ConvertToBase64("foob", 4, dest, 8));
    EXPECT_EQ("Zm9vYg==", std::string(dest, 8));
    EXPECT_EQ(3, I_ConvertFromBase64("QUJD", 4, dest, 3));
    EXPECT_EQ("ABC", std::string(dest, 3));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST(FailuresBase64, TooSmallABufferCutsTheInput)
{
    char dest[12] = "-----------";
    EXPECT_EQ(7, I_ConvertToBase64("foobar", 6, dest, 7))
        << "7 * 3 / 4 bytes, 8 characters, 7 of them copied";
    EXPECT_EQ("I_ConvertToBase64: dlen must be >= slen*4/3", errorText());
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("Zm9vYmE----", std::string(dest));
    EXPECT_EQ(1, I_ConvertFromBase64("QUJD", 4, dest, 2)) << "2 * 4 / 3 characters";
    EXPECT_EQ("I_ConvertFromBase64: dlen must be >= slen*3/4", errorText());
    EXPECT_EQ(0, I_ConvertToBase64("foobar", 6, dest, 0));
    EXPECT_EQ(0, I_ConvertToBase64("foobar", 6, dest, INT32_MIN));
    EXPECT_EQ(0, I_ConvertFromBase64("QUJD", 4, dest, -1));
}

TEST(BoundsBase64, NoMoreIsReadThanThereIs)
{
    // Room for 14 bytes in a buffer too short for the 13 that there are.
    const std::vector<uint8_t> source(13, 'x');
    char dest[20];
    EXPECT_EQ(19, I_ConvertToBase64(source.data(), 13, dest, 19));
    EXPECT_EQ("eHh4eHh4eHh4eHh4eA=", std::string(dest, 19));
}

} // namespace
