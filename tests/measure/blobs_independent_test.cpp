// Blob labelling against its description followed step by step, with no thought of speed.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Record {
    int32_t parent = 0, left = 0, top = 0, right = 0, bottom = 0, firstX = 0, firstY = 0;
    uint32_t pixels = 0;
    double intensity = 0, x = 0, y = 0;
};

class Labeller
{
public:
    explicit Labeller(int32_t tableLimit) : limit_(tableLimit) {}
    int32_t count = 0;
    std::vector<Record> table;

    int32_t find(const std::function<bool(uint8_t)>& foreground, int32_t src, int32_t label)
    {
        int32_t width = 0, height = 0, points = 0;
        if (!I_ImGetSize(&width, &height, nullptr, src))
            return 0;
        const VexaPoint* shared = I_ROIScanlist(&points, src);
        const std::vector<VexaPoint> list(shared, shared + points);
        const bool labelled = label != 0;
        int32_t labelType = labelled ? I_ImGetType(label) : 0;
        if (labelled)
            I_SetPixValueRange(0, 0, label);
        previous_.assign(static_cast<std::size_t>(width) + 2, 0);
        current_ = previous_;
        count = condensed_ = 0;
        std::vector<uint8_t> row(static_cast<std::size_t>(width));
        int32_t x0 = 0, x1 = -1;
        for (std::size_t k = 0; k < list.size(); k += 2) {
            x0 = list[k].x;
            x1 = list[k + 1].x;
            const int32_t y = list[k].y, n = x1 - x0 + 1;
            I_GetBlockType(x0, y, n, 1, &row[static_cast<std::size_t>(x0)], src, PIX_BYTE);
            for (int32_t x = x0; x <= x1; ++x) {
                const uint8_t v = row[static_cast<std::size_t>(x)];
                if (!foreground(v))
                    continue;
                int32_t chosen = up(x);
                const int32_t left = now(x - 1);
                if (chosen == 0) {
                    chosen = up(x - 1);
                    if (up(x + 1) != 0)
                        chosen = up(x + 1);
                }
                if (chosen == 0 && left == 0) {
                    chosen = open(x, y);
                    if (chosen == 0)
                        goto done;
                } else if (chosen == 0) {
                    chosen = left;
                } else if (left != 0 && chosen != left) {
                    chosen = merge(chosen, left);
                }
                now(x) = chosen;
                add(chosen, v, x, y);
            }
            if (count > 252 && labelType == PIX_BYTE) {
                if (condensed_ >= 192) {
                    I_ImConvertType(label, PIX_WORD);
                    labelType = PIX_WORD;
                } else {
                    condense(x0, n, label);
                }
            }
            if (labelled)
                I_PutBlockType(x0, y, n, 1, &now(x0), label, PIX_DWORD);
            if (k + 2 < list.size() && list[k + 2].y != y) {
                previous_ = current_;
                std::fill(current_.begin(), current_.end(), 0);
            }
        }
    done:
        condense(x0, x1 - x0 + 1, label);
        return 1;
    }

private:
    int32_t& now(int32_t x) { return current_[static_cast<std::size_t>(x + 1)]; }
    int32_t& up(int32_t x) { return previous_[static_cast<std::size_t>(x + 1)]; }
    Record& record(int32_t i) { return table[static_cast<std::size_t>(i)]; }

    int32_t open(int32_t x, int32_t y)
    {
        const auto capacity = static_cast<int32_t>(table.size());
        if (++count >= capacity) {
            if (limit_ > 0 && capacity >= limit_)
                return 0;
            table.resize(
                static_cast<std::size_t>(std::max(capacity + 250, static_cast<int32_t>(capacity * 1.41))));
        }
        record(count) = {};
        record(count).firstX = x;
        record(count).firstY = y;
        return count;
    }

    int32_t merge(int32_t a, int32_t b)
    {
        a = record(a).parent ? record(a).parent : a;
        b = record(b).parent ? record(b).parent : b;
        if (a != b)
            record(std::max(a, b)).parent = std::min(a, b);
        return std::min(a, b);
    }

    void add(int32_t i, uint8_t v, int32_t x, int32_t y)
    {
        Record& r = record(i);
        if (++r.pixels == 1) {
            r.left = r.right = x;
            r.top = r.bottom = y;
        }
        r.left = std::min(r.left, x);
        r.right = std::max(r.right, x);
        r.top = std::min(r.top, y);
        r.bottom = std::max(r.bottom, y);
        r.intensity += v;
        r.x += x;
        r.y += y;
    }

    void condense(int32_t x0, int32_t n, int32_t label)
    {
        count = std::min(count, static_cast<int32_t>(table.size()) - 1);
        for (int32_t i = count; i >= 1; --i) {
            Record& r = record(i);
            if (r.parent == 0)
                continue;
            Record& p = record(r.parent);
            p.pixels += r.pixels;
            p.intensity += r.intensity;
            p.x += r.x;
            p.y += r.y;
            p.firstX = std::min(p.firstX, r.firstX);
            p.firstY = std::min(p.firstY, r.firstY);
            p.left = std::min(p.left, r.left);
            p.top = std::min(p.top, r.top);
            p.right = std::max(p.right, r.right);
            p.bottom = std::max(p.bottom, r.bottom);
            r.pixels = 0;
        }
        int32_t power = 2;
        for (int32_t v = std::max(count, 256); v > 1; v /= 2)
            power *= 2;
        std::vector<uint16_t> remap(static_cast<std::size_t>(power));
        for (std::size_t i = 0; i < remap.size(); ++i)
            remap[i] = static_cast<uint16_t>(i);
        int32_t m = 0;
        for (int32_t i = 1; i <= count; ++i) {
            uint16_t number;
            if (record(i).pixels > 0) {
                number = static_cast<uint16_t>(++m);
                if (i != m) {
                    record(m) = record(i);
                    record(m).parent = 0;
                }
            } else {
                number = remap[static_cast<std::size_t>(record(i).parent)];
            }
            remap[static_cast<std::size_t>(i)] = number;
        }
        if (m >= count)
            return;
        if (label != 0) {
            I_MapLUTType(label, label, remap.data(), PIX_WORD, power);
            I_SetPixValueRange(0, m, label);
        }
        for (int32_t x = x0; x < x0 + n; ++x) {
            now(x) = remap[static_cast<std::size_t>(now(x))];
            up(x) = remap[static_cast<std::size_t>(up(x))];
        }
        count = condensed_ = m;
        for (std::size_t i = static_cast<std::size_t>(m) + 1; i < table.size(); ++i)
            table[i] = {};
    }

    int32_t limit_, condensed_ = 0;
    std::vector<int32_t> previous_, current_;
};

void expectTable(const Labeller& wanted)
{
    ASSERT_EQ(std::max(wanted.count, 0), I_GetBlobCount());
    for (int32_t b = 0; b < wanted.count; ++b) {
        const Record& r = wanted.table[static_cast<std::size_t>(b) + 1];
        VexaPoint first{};
        int32_t box[4], sums[4];
        ASSERT_EQ(r.pixels, static_cast<uint32_t>(I_GetBlobFirstPixel(b, &first))) << b;
        EXPECT_EQ(r.firstX, first.x) << b;
        EXPECT_EQ(r.firstY, first.y) << b;
        I_GetBlobBoundingBox(b, &box[0], &box[1], &box[2], &box[3]);
        EXPECT_THAT(box, testing::ElementsAre(r.left, r.top, r.right, r.bottom)) << b;
        I_GetBlobMoments1(b, &sums[0], &sums[1], &sums[2], &sums[3]);
        EXPECT_THAT(sums,
                    testing::ElementsAre(static_cast<int32_t>(r.pixels), static_cast<int32_t>(r.intensity),
                                         static_cast<int32_t>(r.x), static_cast<int32_t>(r.y)))
            << b;
    }
}

void insideRegion(Random& random, int32_t cols, int32_t rows)
{
    switch (between(random, 0, 3)) {
    case 0:
        I_SetROIType(0);
        break;
    case 1:
        I_SetWindowROI(between(random, 0, cols / 2), between(random, 0, rows / 2), between(random, 0, cols),
                       between(random, -2, rows));
        break;
    case 2: {
        const VexaPoint points[5] = {{between(random, 0, cols - 2), 0},
                                     {cols - 2, between(random, 0, rows - 1)},
                                     {between(random, 0, cols - 2), rows - 1},
                                     {0, between(random, 0, rows - 1)},
                                     {between(random, 0, cols - 2), between(random, 0, rows - 1)}};
        I_SetPolygonROI(points, 5);
        break;
    }
    default: {
        std::vector<VexaPoint> points;
        for (int32_t y = 0; y < rows; y += between(random, 0, 4) ? 1 : 2)
            for (int32_t x = between(random, 0, 6); x < cols - 1;) {
                const int32_t to = std::min(cols - 1, x + between(random, 0, cols / 2));
                points.push_back({x, y});
                points.push_back({to, y});
                x = to + between(random, 2, 9);
            }
        if (!I_SetScanlistROI(points.data(), static_cast<int32_t>(points.size())))
            I_SetROIType(0);
    }
    }
}

class IndependentBlobs : public testing::TestWithParam<int32_t>
{
};
INSTANTIATE_TEST_SUITE_P(Seeds, IndependentBlobs, testing::Range(0, 6));

TEST_P(IndependentBlobs, TableAndLabelsOfRandomImages)
{
    Random random(static_cast<uint32_t>(GetParam()) + 61U);
    I_SetBlobTableSize(5000);
    for (int32_t round = 0; round < 60; ++round) {
        const bool large = round % 6 == 0;
        const int32_t cols = large ? between(random, 100, 140) : between(random, 2, 70),
                      rows = large ? between(random, 30, 60) : between(random, 2, 14);
        const int32_t density = between(random, 1, 9);
        const int32_t src = byteImage(cols, rows, [&](int32_t, int32_t) {
            return between(random, 0, 9) < density ? between(random, 1, 255) : 0;
        });
        static const int32_t kLabels[] = {PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, 0};
        const int32_t type = kLabels[random() % 6];
        const int32_t labels[2] = {type ? I_ImOpen(cols, rows, type) : 0,
                                   type ? I_ImOpen(cols, rows, type) : 0};
        insideRegion(random, cols, rows);
        SCOPED_TRACE(std::to_string(cols) + "x" + std::to_string(rows) + " density " +
                     std::to_string(density) + " labels " + std::to_string(type) + " region " +
                     std::to_string(I_GetROIType()) + " round " + std::to_string(round));
        Labeller plain(5000);
        const int32_t low = between(random, 0, 255), high = between(random, 0, 255),
                      way = between(random, 0, 2);
        uint8_t lut[256];
        I_DualThreshLUT(low, high, lut);
        int32_t result;
        if (way == 0) {
            result = I_FindBlobs(nullptr, src, labels[0]);
            plain.find([](uint8_t v) { return v != 0; }, src, labels[1]);
        } else {
            result = way == 1 ? I_FindBlobs1(low + 0.9, high + 0.4, src, labels[0])
                              : I_FindBlobs2(low, high, src, labels[0]);
            plain.find([&](uint8_t v) { return lut[v] != 0; }, src, labels[1]);
        }
        EXPECT_EQ(1, result);
        expectTable(plain);
        if (type) {
            ASSERT_EQ(I_ImGetType(labels[1]), I_ImGetType(labels[0]));
            EXPECT_TRUE(bytesOf(labels[1]) == bytesOf(labels[0])) << "labels";
            double range[4];
            I_GetPixValueRange(&range[0], &range[1], labels[0]);
            I_GetPixValueRange(&range[2], &range[3], labels[1]);
            EXPECT_EQ(range[2], range[0]);
            EXPECT_EQ(range[3], range[1]);
            closeImages({labels[0], labels[1]});
        }
        I_ImClose(src);
        if (HasFailure())
            return;
    }
}

TEST_P(IndependentBlobs, FloatsAreThresholdedInPlaceOfBytes)
{
    Random random(static_cast<uint32_t>(GetParam()) + 71U);
    for (int32_t round = 0; round < 30; ++round) {
        const int32_t cols = between(random, 2, 40), rows = between(random, 2, 10);
        const int32_t type = between(random, 0, 1) ? PIX_FLOAT : PIX_WORD;
        const int32_t src =
            image(cols, rows, type, [&](int32_t, int32_t) { return between(random, -80, 700) / 2.0; });
        const double a = between(random, -40, 330), b = between(random, -40, 330);
        insideRegion(random, cols, rows);
        const int32_t bytes = byteImage(cols, rows);
        int32_t x, y, w, first = 1;
        while (I_GetNextLine(&x, &y, &w, src, &first)) {
            for (int32_t i = x; i < x + w; ++i) {
                const double p = I_GetPix(i, y, src);
                const bool kept = b >= a ? p >= a && p <= b : p <= b || p >= a;
                const auto v = static_cast<uint8_t>(!kept ? 0 : p < 1 ? 1 : p >= 255 ? 255 : p);
                I_PutBlockType(i, y, 1, 1, &v, bytes, PIX_BYTE);
            }
        }
        Labeller plain(5000);
        plain.find([](uint8_t v) { return v != 0; }, bytes, 0);
        EXPECT_EQ(1, I_FindBlobs1(a, b, src, 0));
        expectTable(plain);
        closeImages({src, bytes});
    }
}

TEST(IndependentBlobsLiteral, ShapesLimitsAndFailures)
{
    I_SetROIType(0);
    const auto count = [](std::initializer_list<std::initializer_list<int32_t>> rows) {
        EXPECT_EQ(1, I_FindBlobs(nullptr, byteImage(rows), 0));
        return I_GetBlobCount();
    };
    EXPECT_EQ(0, count({{0, 0}, {0, 0}}));
    EXPECT_EQ(2, count({{1, 0, 0, 0, 1}, {0, 1, 0, 1, 0}, {0, 0, 1, 0, 0}}));
    EXPECT_EQ(1, count({{1, 0, 0, 0, 1}, {0, 1, 0, 1, 0}, {0, 1, 1, 0, 0}}));
    EXPECT_EQ(1, count({{0, 1, 0, 1}, {0, 1, 0, 1}, {0, 1, 1, 1}}));
    VexaPoint first{};
    EXPECT_EQ(7, I_GetBlobFirstPixel(0, &first));
    EXPECT_EQ(1, first.x);

    // 40000 lone pixels: 5885 fit under the limit of 5000
    const int32_t dots = byteImage(400, 400, [](int32_t x, int32_t y) { return x % 2 == 0 && y % 2 == 0; });
    EXPECT_EQ(5000, I_SetBlobTableSize(5000));
    EXPECT_EQ(1, I_FindBlobs(nullptr, dots, 0));
    EXPECT_EQ(5885, I_GetBlobCount());
    EXPECT_EQ(5000, I_SetBlobTableSize(10));
    EXPECT_EQ(0, I_GetBlobCount());
    EXPECT_EQ(1, I_FindBlobs(nullptr, dots, 0));
    EXPECT_EQ(249, I_GetBlobCount());
    EXPECT_EQ(10, I_SetBlobTableSize(1));
    EXPECT_EQ(10, I_SetBlobTableSize(5000));
    const int32_t labels = byteImage(400, 400);
    EXPECT_EQ(1, I_FindBlobs(nullptr, dots, labels));
    EXPECT_EQ(PIX_BYTE, I_ImGetType(labels)); // nothing is ever dropped, so that no condensation counts

    const int32_t ramp = byteImage(256, 1, [](int32_t x, int32_t) { return x; });
    EXPECT_EQ(1, I_FindBlobs1(200, 100, ramp, 0));
    ASSERT_EQ(2, I_GetBlobCount());
    EXPECT_EQ(101, I_GetBlobFirstPixel(0, nullptr));
    EXPECT_EQ(56, I_GetBlobFirstPixel(1, nullptr));
    EXPECT_EQ(0, I_FindBlobs(nullptr, 0, 0));
    EXPECT_EQ(2, I_GetBlobCount());

    for (const char* tag : {"I_FindBlobs:", "condensebtable:"}) {
        bool met = false;
        forEachFailingAllocation([&] { return I_FindBlobs(nullptr, ramp, 0); },
                                 [&](int64_t result) {
                                     EXPECT_EQ(0, result);
                                     met = met || errorText().find(tag) != std::string::npos;
                                 });
        EXPECT_TRUE(met) << tag;
    }
}

} // namespace
