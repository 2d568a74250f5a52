// Regions in text files.
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "core/roi_slots.h"
#include "support/buffer.h"
#include "tests/core/roi_lists.h"
#include "tests/support/test_failures.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

// A file that is gone at the end of the test.
class TempFile
{
public:
    explicit TempFile(const std::string& text = {})
        : name_(testing::TempDir() + "roi" + std::to_string(getpid()))
    {
        std::FILE* file = std::fopen(name_.c_str(), "w");
        std::fputs(text.c_str(), file);
        std::fclose(file);
    }
    ~TempFile() { std::remove(name_.c_str()); }
    const char* name() const { return name_.c_str(); }
    std::string text() const
    {
        std::FILE* file = std::fopen(name_.c_str(), "r");
        std::string all;
        for (int c = std::getc(file); c != EOF; c = std::getc(file))
            all += static_cast<char>(c);
        std::fclose(file);
        return all;
    }

private:
    std::string name_;
};

class RoiFile : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(ensureScanList());
        for (int32_t i = 0; i < kRoiSlots; ++i)
            roiSlot(i).type = roiSlot(i).count = 0;
        I_SetROIType(0);
        clearError();
    }
    void TearDown() override { I_SetROIType(0); }
};
class LiteralRoiFile : public RoiFile
{
};
class AgainstReferenceRoiFile : public RoiFile
{
};
class BoundsRoiFile : public RoiFile
{
};
class FailuresRoiFile : public RoiFile
{
};

TEST_F(LiteralRoiFile, FileLineFillsASlot)
{
    const TempFile file("5 2 3 10 10 20 10 15 20\n");
    I_SetWindowROI(1, 2, 3, 4);
    EXPECT_EQ(1, readroifile(file.name()));
    EXPECT_EQ(1, I_GetROIType());
    I_RecallROI(5);
    EXPECT_EQ(2, I_GetROIType());
    Points polygon(3);
    EXPECT_EQ(3, I_GetPolygonROI(polygon.data(), 3));
    EXPECT_EQ((Points{{10, 10}, {20, 10}, {15, 20}}), polygon);
}

TEST_F(LiteralRoiFile, FileReadsCommasCommentsAndForeignLines)
{
    const TempFile file(
        ";5 1 2 9 9 9 9\n\n\r\n 3,1,,2, -1 2,3  4 \r\n20 1 2 1 1 1 1\n-1 1 2 1 1 1 1\n4 1 0 1 1 1 1\n"
        "6 1 2 5 6 7 8");
    EXPECT_EQ(1, readroifile(file.name()));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    I_RecallROI(3);
    EXPECT_THAT(window(), ElementsAre(-1, 2, 3, 4));
    I_RecallROI(6);
    EXPECT_THAT(window(), ElementsAre(5, 6, 7, 8));
    for (const int32_t slot : {4, 5}) {
        I_RecallROI(slot);
        EXPECT_EQ(0, I_GetROIType());
    }
}

TEST_F(LiteralRoiFile, FileIsWrittenAsDescribed)
{
    I_SaveROI(1); // FullFrame: lost
    I_SetWindowROI(10, 10, 50, -50);
    I_SaveROI(0);
    setPolygon({{10, 10}, {20, 10}, {15, 20}});
    I_SaveROI(12);
    const TempFile file;
    EXPECT_EQ(1, writeroifile(file.name()));
    EXPECT_EQ(
        ";ROI DEFINITIONS\n;number type size points\n 0 1  2 10 10 50 -50 \n12 2  3 10 10 20 10 15 20 \n",
        file.text());
    roiSlot(0).count = roiSlot(12).count = 0;
    EXPECT_EQ(1, readroifile(file.name()));
    I_RecallROI(0);
    EXPECT_THAT(window(), ElementsAre(10, 10, 50, -50));
}

TEST_F(LiteralRoiFile, EarlyEndLosesThePointsOnly)
{
    setPolygon({{1, 1}, {5, 1}, {5, 5}, {2, 9}});
    I_SaveROI(7);
    const TempFile file("7 1 2 30 31 32\n8 1 2 1 2 3 4\n");
    EXPECT_EQ(1, readroifile(file.name()));
    EXPECT_THAT(errorText(), HasSubstr("ROI string error, ROI#7"));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(2, roiSlot(7).type);
    EXPECT_EQ(4, roiSlot(7).count);
    I_RecallROI(7);
    Points polygon(4);
    EXPECT_EQ(4, I_GetPolygonROI(polygon.data(), 4));
    EXPECT_EQ((VexaPoint{30, 31}), polygon[0]);
    I_RecallROI(8);
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
}

TEST_F(AgainstReferenceRoiFile, TextKeepsEveryRegion)
{
    std::mt19937 random(5);
    const TempFile file;
    for (int32_t round = 0; round < 50; ++round) {
        Points points(1 + random() % 99);
        for (VexaPoint& point : points)
            point = {static_cast<int32_t>(random()), static_cast<int32_t>(random())};
        points[0] = {kLowest, kHighest};
        setPolygon(points);
        I_SaveROI(round % 20);
        EXPECT_EQ(1, writeroifile(file.name()));
        roiSlot(round % 20).count = 0;
        EXPECT_EQ(1, readroifile(file.name()));
        I_SetROIType(0);
        I_RecallROI(round % 20);
        Points back(99);
        back.resize(static_cast<std::size_t>(I_GetPolygonROI(back.data(), 99)));
        ASSERT_EQ(points, back);
    }
}

TEST_F(BoundsRoiFile, WildFiles)
{
    std::string wide = "2 3 9000";
    for (int32_t i = 0; i < 9000; ++i)
        wide += " 10 10";
    const std::string texts[] = {
        "0 2 2147483647 1 1\n", "1 2 99999999999999 1 1\n", "hello world foo bar\n",
        "5\n5 2\n5 2 3\n",      wide + "\n3 1 2 1 2 3 4\n", "4 77 1 1 1\n",
        "6 2 3 a b c d e f\n",  std::string(50000, ' '),    std::string(20000, '9') + " 1 1 1 1"};
    for (const std::string& text : texts) {
        const TempFile file(text);
        EXPECT_EQ(1, readroifile(file.name()));
        for (int32_t slot = 0; slot < 20; ++slot)
            I_RecallROI(slot);
    }
    I_RecallROI(3); // what follows a line that is too long is a line of its own again
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    I_RecallROI(6);
    Points polygon(3);
    EXPECT_EQ(3, I_GetPolygonROI(polygon.data(), 3));
    EXPECT_EQ((Points{{0, 0}, {0, 0}, {0, 0}}), polygon);
}

TEST_F(FailuresRoiFile, FilesThatCannotBeOpened)
{
    EXPECT_EQ(0, readroifile("/no/such/directory/some.roi"));
    EXPECT_THAT(errorText(), HasSubstr("/no/such/directory/some.roi"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(0, writeroifile("/no/such/directory/some.roi"));
    EXPECT_THAT(errorText(), HasSubstr("/no/such/directory/some.roi"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(0, readroifile(nullptr));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ(0, writeroifile(nullptr));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
}

TEST_F(FailuresRoiFile, DiskThatIsFull)
{
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no such device here";
    I_SetWindowROI(1, 2, 3, 4);
    I_SaveROI(0);
    EXPECT_EQ(0, writeroifile("/dev/full"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
}

TEST_F(FailuresRoiFile, NoMemoryForTexts)
{
    I_SetWindowROI(1, 1, 2, 1);
    I_SaveROI(3);
    const TempFile file;
    forEachFailingAllocation([&] { return writeroifile(file.name()); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), HasSubstr("getroistring"));
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
    EXPECT_EQ(1, writeroifile(file.name()));
    failAllocation(1, false);
    EXPECT_EQ(0, readroifile(file.name()));
    EXPECT_THAT(errorText(), HasSubstr("readroifile:"));
    failAllocation(2, false);
    EXPECT_EQ(1, readroifile(file.name()));
    EXPECT_THAT(errorText(), HasSubstr("readroifile():"));
    failAllocation(0, false);
    EXPECT_EQ(0, roiSlot(3).count);
}

} // namespace
} // namespace vexa::test
