#include "vexalib/defects.h"

#include <numeric>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

// A difference image of one value with rectangles of other values.
struct Spot {
    int32_t x, y, width, height, value;
};

int32_t difference(int32_t zero, const std::vector<Spot>& spots)
{
    const int32_t im = byteImage(60, 40, [=](int32_t, int32_t) { return zero; });
    for (const Spot& spot : spots)
        I_ClearRect(spot.x, spot.y, spot.x + spot.width - 1, spot.y + spot.height - 1, spot.value, im);
    return im;
}

struct Entry {
    int32_t x, y;
    double value;
    bool operator==(const Entry& other) const { return x == other.x && y == other.y && value == other.value; }
};

std::ostream& operator<<(std::ostream& out, const Entry& e)
{
    return out << "(" << e.x << ", " << e.y << ") " << e.value;
}

std::vector<Entry> list(int32_t im, int32_t most, int32_t minDist, double threshold, int32_t sortMode)
{
    VexaPoint positions[200];
    double values[200];
    const int32_t n = I_ListDefects(im, positions, values, most, minDist, threshold, sortMode);
    std::vector<Entry> entries;
    for (int32_t i = 0; i < n; ++i)
        entries.push_back({positions[i].x, positions[i].y, values[i]});
    return entries;
}

class Defects : public testing::Test
{
protected:
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetClipMode(1);
    }
};
using LiteralDefects = Defects;
using AgainstReferenceDefects = Defects;
using FailuresDefects = Defects;

TEST_F(LiteralDefects, SignedDifferencesOnBothSidesOf128)
{
    I_SetClipMode(3);
    // Threshold 10 selects values up to 118 and from 138.
    const int32_t im =
        difference(128, {{5, 5, 2, 2, 118}, {20, 5, 2, 2, 119}, {30, 5, 2, 2, 137}, {40, 5, 2, 3, 138}});
    EXPECT_THAT(list(im, 100, 0, 10, 2), testing::ElementsAre(Entry{5, 5, 10}, Entry{40, 5, 10}));
    // By area: the absolute contrast sum over 50.
    EXPECT_THAT(list(im, 100, 0, 10, 0), testing::ElementsAre(Entry{40, 5, static_cast<float>(60 / 50.0)},
                                                              Entry{5, 5, static_cast<float>(40 / 50.0)}));
    // Sorted by area, the intensity written.
    EXPECT_THAT(list(im, 100, 0, 10, 1), testing::ElementsAre(Entry{40, 5, 10}, Entry{5, 5, 10}));
}

TEST_F(LiteralDefects, HalvedDifferencesHalveTheThreshold)
{
    I_SetClipMode(4);
    const int32_t im = difference(128, {{5, 5, 2, 2, 123}, {20, 5, 2, 2, 124}, {40, 5, 2, 2, 133}});
    EXPECT_EQ(2U, list(im, 100, 0, 10, 1).size());
}

TEST_F(LiteralDefects, OtherClipModesStartAtZero)
{
    I_SetClipMode(2);
    const int32_t im = difference(0, {{5, 5, 2, 2, 29}, {20, 5, 2, 2, 30}, {40, 5, 2, 2, 255}});
    EXPECT_THAT(list(im, 100, 0, 30, 1), testing::ElementsAre(Entry{40, 5, 255}, Entry{20, 5, 30}));
}

TEST_F(LiteralDefects, AtMostSoMany)
{
    I_SetClipMode(2);
    const int32_t im = difference(0, {{5, 5, 2, 2, 200}, {20, 5, 2, 2, 100}, {40, 5, 2, 2, 50}});
    EXPECT_EQ(0, I_ListDefects(im, nullptr, nullptr, 0, 0, 10, 0));
    EXPECT_EQ(0, I_ListDefects(im, nullptr, nullptr, -5, 0, 10, 0));
    EXPECT_THAT(list(im, 2, 0, 10, 2), testing::ElementsAre(Entry{5, 5, 200}, Entry{20, 5, 100}));
    EXPECT_EQ(3, I_ListDefects(im, nullptr, nullptr, 10, 0, 10, 0));
}

TEST_F(LiteralDefects, NeighboursNearerThanTheDistance)
{
    I_SetClipMode(2);
    const int32_t im = difference(0, {{10, 10, 2, 2, 100}, {20, 10, 3, 3, 100}, {29, 10, 2, 2, 90}});
    // Distance 10 is not below 10.
    EXPECT_EQ(2U, list(im, 10, 10, 10, 0).size());
    EXPECT_EQ(3U, list(im, 10, 9, 10, 0).size());
    EXPECT_THAT(list(im, 10, 11, 10, 2), testing::ElementsAre(Entry{20, 10, 100}));
    // On a tie the earlier one goes.
    const int32_t tie = difference(0, {{10, 10, 2, 2, 100}, {14, 10, 2, 2, 100}});
    EXPECT_THAT(list(tie, 10, 5, 10, 2), testing::ElementsAre(Entry{14, 10, 100}));
}

TEST_F(LiteralDefects, ARemovedSpotStillRemovesWeakerOnesNearIt)
{
    I_SetClipMode(2);
    // The first is beaten by the second, yet takes the third with it, which the second does not reach.
    const int32_t im = difference(0, {{20, 10, 2, 2, 100}, {10, 11, 4, 4, 100}, {29, 12, 1, 1, 100}});
    EXPECT_THAT(list(im, 10, 11, 10, 2), testing::ElementsAre(Entry{10, 11, 100}));
}

// The listing in plain loops over blobs that stand apart.
TEST_F(AgainstReferenceDefects, RandomSpots)
{
    std::mt19937 random(5);
    for (int32_t round = 0; round < 40; ++round) {
        std::vector<Spot> spots;
        // One spot per cell of 10 x 10, at least a pixel apart from the next.
        for (int32_t cell = 0; cell < 24; ++cell)
            if (random() % 2) {
                const auto n = [&](uint32_t most) { return static_cast<int32_t>(1 + random() % most); };
                const int32_t x = cell % 6 * 10 + n(4);
                const int32_t y = cell / 6 * 10 + n(4);
                const int32_t width = n(4);
                const int32_t height = n(4);
                spots.push_back({x, y, width, height, 128 + (random() % 2 ? 1 : -1) * (20 + n(80))});
            }
        struct Record {
            int32_t x, y;
            float area;
            int32_t intensity;
        };
        std::vector<Record> records;
        for (const Spot& s : spots) {
            const int32_t count = s.width * s.height;
            records.push_back({s.x, s.y, static_cast<float>(std::abs(s.value - 128) * count / 50.0),
                               std::abs(s.value - 128)});
        }
        // Blobs are numbered by their first pixels, row by row.
        std::sort(records.begin(), records.end(),
                  [](const Record& a, const Record& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
        const auto minDist = static_cast<int32_t>(random() % 16);
        for (std::size_t i = 0; i < records.size(); ++i) {
            const float area = records[i].area;
            for (std::size_t j = i + 1; area != 0 && j < records.size(); ++j) {
                if (records[j].area == 0 ||
                    std::hypot(records[i].x - records[j].x, records[i].y - records[j].y) >= minDist)
                    continue;
                Record& weaker = records[j].area < area ? records[j] : records[i];
                weaker.area = 0;
                weaker.intensity = 0;
            }
        }
        std::vector<double> areas;
        for (const Record& r : records)
            if (r.area != 0)
                areas.push_back(r.area);
        std::sort(areas.rbegin(), areas.rend());

        I_SetClipMode(3);
        const int32_t im = difference(128, spots);
        std::vector<double> listed;
        for (const Entry& e : list(im, 100, minDist, 15, 0)) {
            listed.push_back(e.value);
            EXPECT_TRUE(std::any_of(records.begin(), records.end(), [&](const Record& r) {
                return r.x == e.x && r.y == e.y && r.area == static_cast<float>(e.value);
            })) << e;
        }
        EXPECT_EQ(areas, listed) << "round " << round;
        I_ImClose(im);
    }
}

TEST_F(FailuresDefects, AnImageThatIsNotOpenListsNothing)
{
    EXPECT_EQ(0, I_ListDefects(0, nullptr, nullptr, 10, 5, 10, 0));
    EXPECT_EQ(0, I_ListDefects(-200, nullptr, nullptr, 10, 5, 10, 0));
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "errors of the search are cleared";
}

TEST_F(FailuresDefects, NoMemory)
{
    I_SetClipMode(2);
    const int32_t im = difference(0, {{5, 5, 2, 2, 200}, {20, 5, 2, 2, 100}});
    VexaPoint positions[10];
    double values[10];
    forEachFailingAllocation(
        [&] {
            I_SetBlobTableSize(5000);
            return I_ListDefects(im, positions, values, 10, 0, 10, 0);
        },
        [&](int64_t result) { EXPECT_THAT(result, testing::AllOf(testing::Ge(0), testing::Le(2))); });
    EXPECT_EQ(2, I_ListDefects(im, positions, values, 10, 0, 10, 0));
}

} // namespace
