// Contours and outlines against their descriptions followed step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

const int32_t kDx[8] = {1, 1, 1, 0, -1, -1, -1, 0}, kDy[8] = {-1, 0, 1, 1, 1, 0, -1, -1};

class PlainTracer
{
public:
    std::vector<VexaPointF> contour; // in pixels of the image
    std::vector<VexaPoint> pixels;
    VexaPoint start{};
    std::string error, shown;

    PlainTracer(int32_t im, float threshold, const VexaPoint* given, bool stopAtEdge)
        : t_(static_cast<int32_t>(threshold))
    {
        int32_t right, bottom;
        if (!I_ROIBoundingBox(&left_, &top_, &right, &bottom, im))
            return;
        cols_ = right - left_ + 1;
        rows_ = bottom - top_ + 1;
        if (cols_ < 3 || rows_ < 3)
            return;
        data_.resize(static_cast<std::size_t>(cols_ * (rows_ + 1)));
        I_GetBlockType(left_, top_, cols_, rows_, data_.data(), im, PIX_BYTE);
        const VexaPoint from = given ? VexaPoint{given->x - left_, given->y - top_} : VexaPoint{0, 0};
        VexaPoint p = {std::clamp(from.x, 1, cols_ - 2), std::clamp(from.y, 1, rows_ - 2)};
        if (!isStart(p)) {
            if (from.x >= 0 && from.y >= 0 && from.x < cols_ && from.y < rows_)
                error = startError(threshold, from, p);
            if (!spiral(p))
                return;
        }
        start = {p.x + left_, p.y + top_};
        if (!stopAtEdge)
            thinBorder();
        walk(p, stopAtEdge);
        for (VexaPointF& q : contour)
            q = {q.x + static_cast<float>(left_), q.y + static_cast<float>(top_)};
        for (VexaPoint& q : pixels)
            q = {q.x + left_, q.y + top_};
    }

private:
    uint8_t& at(int32_t x, int32_t y) { return data_[static_cast<std::size_t>(y * cols_ + x)]; }
    bool onEdge(VexaPoint p) const { return p.x < 1 || p.y < 1 || p.x > cols_ - 2 || p.y > rows_ - 2; }
    bool isStart(VexaPoint p)
    {
        bool below = false;
        for (int32_t d = 0; d < 8; ++d)
            below = below || at(p.x + kDx[d], p.y + kDy[d]) < t_;
        return at(p.x, p.y) >= t_ && below;
    }
    std::string startError(float threshold, VexaPoint from, VexaPoint p)
    {
        char text[500];
        const auto v = [&](int32_t dx, int32_t dy) { return int{at(p.x + dx, p.y + dy)}; };
        std::snprintf(text, sizeof text,
                      "TraceEdge Thresh=%.1f ptStart=%d %d, xStart=%d %d, x0=%d %d cols=%d %d \r\n%d %d "
                      "%d\r\n%d %d %d\r\n%d %d %d",
                      static_cast<double>(threshold), from.x + left_, from.y + top_, p.x, p.y, left_, top_,
                      cols_, rows_, v(-1, -1), v(0, -1), v(1, -1), v(-1, 0), v(0, 0), v(1, 0), v(-1, 1),
                      v(0, 1), v(1, 1));
        return text;
    }
    bool spiral(VexaPoint& p)
    {
        int32_t n = 0;
        VexaPoint* list = I_SpiralOutList(cols_, rows_, p.x, p.y, 0, &n);
        bool found = false;
        for (int32_t i = 0; i < n && !found; ++i) {
            const VexaPoint q = list[i];
            if (onEdge(q) || at(q.x, q.y) < t_)
                continue;
            found = at(q.x - 1, q.y) < t_ || at(q.x + 1, q.y) < t_ || at(q.x, q.y - 1) < t_ ||
                    at(q.x, q.y + 1) < t_;
            p = found ? q : p;
        }
        vexaFree(list);
        return found;
    }
    void thinBorder()
    {
        for (int32_t y = 0; y < rows_; ++y)
            for (int32_t x = 0; x < cols_; ++x) {
                const int32_t inX = std::clamp(x, 1, cols_ - 2), inY = std::clamp(y, 1, rows_ - 2);
                if (onEdge({x, y}) && (at(x, y) >= t_) == (at(inX, inY) >= t_))
                    at(x, y) = 0;
            }
    }
    void walk(VexaPoint p, bool stopAtEdge)
    {
        const VexaPoint first = p;
        int32_t direction = 0;
        for (;;) {
            if (onEdge(p)) {
                char text[100];
                std::snprintf(text, sizeof text, "FindNextPt: Cur point (%d,%d) = %d is at edge.", p.x, p.y,
                              at(p.x, p.y));
                shown = text;
                return;
            }
            int32_t k = 0, outside = (direction + 5) % 8;
            const auto value = [&](int32_t d) { return int32_t{at(p.x + kDx[d], p.y + kDy[d])}; };
            while (k < 9 && !(value(outside) < t_ && value((outside + 1) % 8) >= t_)) {
                ++k;
                outside = (outside + 1) % 8;
            }
            if (k == 9)
                return;
            direction = (outside + 1) % 8;
            const int32_t vo = value(outside), vi = value(direction);
            const float f = static_cast<float>(vi - t_) / static_cast<float>(vi - vo);
            const VexaPoint o = {p.x + kDx[outside], p.y + kDy[outside]};
            p = {p.x + kDx[direction], p.y + kDy[direction]};
            contour.push_back({static_cast<float>(p.x) * (1 - f) + static_cast<float>(o.x) * f,
                               static_cast<float>(p.y) * (1 - f) + static_cast<float>(o.y) * f});
            pixels.push_back(p);
            const auto count = static_cast<int32_t>(contour.size());
            if (count > rows_ * cols_) {
                error = "TraceEdge looping? cnt=" + std::to_string(count) +
                        " too high. imSize=" + std::to_string(cols_) + "x" + std::to_string(rows_);
                return;
            }
            if (count > 2 && contour.back().x == contour[1].x && contour.back().y == contour[1].y) {
                contour.pop_back();
                pixels.pop_back();
                return;
            }
            if ((stopAtEdge && onEdge(p)) || (p.x == first.x && p.y == first.y))
                return;
        }
    }

    int32_t t_, left_ = 0, top_ = 0, cols_ = 0, rows_ = 0;
    std::vector<uint8_t> data_;
};

std::vector<VexaPoint> plainPerimeter(int32_t maxPoints, int32_t low, int32_t high, int32_t im)
{
    static const int32_t kRing[8][2] = {{-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}};
    uint8_t table[256];
    I_DualThreshLUT(low, high, table);
    int32_t x, y, n, first = 1, left, top, right, bottom;
    VexaPoint p{-1, -1};
    bool inside = false, found = false;
    while (!found && I_GetNextLine(&x, &y, &n, im, &first)) {
        std::vector<uint8_t> row(static_cast<std::size_t>(n));
        I_GetBlockType(x, y, n, 1, row.data(), im, PIX_BYTE);
        for (int32_t i = 0; i < n && !found; ++i) {
            found = (table[row[static_cast<std::size_t>(i)]] != 0) != inside;
            p = {x + i, y};
        }
    }
    std::vector<VexaPoint> points;
    if (!found)
        return points;
    I_ROIBoundingBox(&left, &top, &right, &bottom, im);
    left = std::max(left, 1);
    int32_t dx = 0, dy = 0;
    for (;;) {
        p = {p.x + dx, p.y + dy};
        for (std::size_t k = 1; k < points.size(); ++k)
            if (points[k].x == p.x && points[k].y == p.y && points[k - 1].x == points.back().x &&
                points[k - 1].y == points.back().y) {
                points.pop_back();
                return points;
            }
        if (p.x < left || p.y < top || p.x > right || p.y > bottom ||
            static_cast<int32_t>(points.size()) >= maxPoints)
            return points;
        points.push_back(p);
        uint8_t block[9] = {};
        I_GetBlockType(p.x - 1, p.y - 1, 3, 3, block, im, PIX_BYTE);
        int32_t r = 0;
        for (int32_t i = 0; i < 8; ++i)
            if ((dx != 0 || dy != 0) && kRing[i][0] == -dx && kRing[i][1] == -dy)
                r = i;
        static const int32_t kEven[] = {3, 2, 5, 4, 7, 6, 0}, kOdd[] = {2, 4, 3, 6, 5, 0, 0};
        int32_t offset = 0;
        for (int32_t i = 0; i < 7 && offset == 0; ++i) {
            const int32_t candidate = (r % 2 ? kOdd : kEven)[i], *q = kRing[(r + candidate) % 8];
            if (candidate != 0 && table[block[(q[1] + 1) * 3 + q[0] + 1]] != 0)
                offset = candidate;
        }
        dx = kRing[(r + offset) % 8][0];
        dy = kRing[(r + offset) % 8][1];
    }
}

// Blobs: random dots, smeared, so that edges have slopes.
int32_t randomBlobs(Random& random, int32_t cols, int32_t rows)
{
    std::vector<int32_t> v(static_cast<std::size_t>(cols * rows));
    const int32_t dots = between(random, 0, 4);
    for (int32_t k = 0; k < dots; ++k) {
        const int32_t cx = between(random, 0, cols), cy = between(random, 0, rows), r = between(random, 0, 7);
        const int32_t height = between(random, 90, 255);
        for (int32_t i = 0; i < cols * rows; ++i) {
            const int32_t d = std::max(std::abs(i % cols - cx), std::abs(i / cols - cy)) +
                              (k % 2 ? std::abs(i % cols - cx) / 2 : 0);
            v[static_cast<std::size_t>(i)] =
                std::max(v[static_cast<std::size_t>(i)], height - std::max(d - r, 0) * 40);
        }
    }
    const bool noisy = between(random, 0, 3) == 0;
    for (int32_t& value : v)
        value = std::clamp(value + (noisy ? between(random, -60, 60) : 0), 0, 255);
    return byteImage(cols, rows,
                     [&](int32_t x, int32_t y) { return v[static_cast<std::size_t>(y * cols + x)]; });
}

// The boxes of the platform, caught.
struct Boxes {
    static std::vector<std::string>& all()
    {
        static std::vector<std::string> texts;
        return texts;
    }
    Boxes()
    {
        platform.size = sizeof platform;
        platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
            all().emplace_back(text);
            return answer;
        };
        vexaSetPlatform(&platform);
    }
    ~Boxes() { vexaSetPlatform(nullptr); }
    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;
    VexaPlatform platform = {};
};

} // namespace

TEST(IndependentTrace, RandomBlobs)
{
    Random random(651);
    const Boxes boxes;
    int32_t traced = 0;
    for (int32_t round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const int32_t cols = between(random, 1, 34), rows = between(random, 1, 30), stop = round % 2;
        const int32_t im = randomBlobs(random, cols, rows);
        randomRegion(random, cols, rows);
        if (round % 5 == 0)
            I_ImConvertType(im, PIX_FLOAT);
        const float threshold = static_cast<float>(between(random, 1, 2000)) / 8;
        VexaPoint start{between(random, -3, cols + 3), between(random, -3, rows + 3)};
        const VexaPoint* given = round % 7 ? &start : nullptr;
        const PlainTracer expected(im, threshold, given, stop != 0);
        Boxes::all().clear();
        clearError();
        I_SetError1(0, "");
        int32_t count = -1;
        VexaPoint* whole = nullptr;
        VexaPoint moved = start;
        VexaPointF* contour = I_TraceEdge(im, threshold, given ? &moved : nullptr, &whole, &count, stop);
        const std::string what = std::to_string(round) + ": " + std::to_string(cols) + "x" +
                                 std::to_string(rows) + " threshold " + std::to_string(threshold);
        ASSERT_EQ(count, static_cast<int32_t>(expected.contour.size())) << what;
        EXPECT_EQ(contour != nullptr, count > 0) << what;
        EXPECT_EQ(whole != nullptr, count > 0) << what;
        EXPECT_EQ(I_GetError(nullptr, 0), expected.error.empty() ? 0 : 1) << what << errorText();
        if (!expected.error.empty()) {
            EXPECT_EQ(errorText(), expected.error) << what;
        }
        EXPECT_EQ(Boxes::all().empty(), expected.shown.empty()) << what;
        if (!expected.shown.empty() && !Boxes::all().empty()) {
            EXPECT_EQ(Boxes::all()[0], expected.shown) << what;
        }
        traced += count > 4;
        for (int32_t i = 0; i < count; ++i) {
            const VexaPointF q = expected.contour[static_cast<std::size_t>(i)];
            ASSERT_NEAR(contour[i].x, q.x, 1e-4) << what << " point " << i;
            ASSERT_NEAR(contour[i].y, q.y, 1e-4) << what << " point " << i;
            ASSERT_EQ(whole[i].x, expected.pixels[static_cast<std::size_t>(i)].x) << what;
            ASSERT_EQ(whole[i].y, expected.pixels[static_cast<std::size_t>(i)].y) << what;
        }
        if (given && count > 0) {
            EXPECT_EQ(moved.x, expected.start.x) << what;
            EXPECT_EQ(moved.y, expected.start.y) << what;
        }
        vexaFree(contour);
        vexaFree(whole);
        I_ImClose(im);
        I_SetROIType(0);
    }
    EXPECT_GT(traced, 500);
    clearError();
}

TEST(IndependentTrace, LiteralCases)
{
    I_SetROIType(0);
    int32_t count = 7;
    const int32_t bright = byteImage(9, 9, [](int32_t, int32_t) { return 200; });
    EXPECT_EQ(I_TraceEdge(bright, 100, nullptr, nullptr, &count, 0), nullptr); // no edge, no points
    EXPECT_EQ(count, 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 1);
    count = 7;
    EXPECT_EQ(I_TraceEdge(-280, 100, nullptr, nullptr, &count, 0), nullptr);
    EXPECT_EQ(count, 0);
    // a bright square of three by three in the dark: its eight pixels, points halfway
    const int32_t square =
        byteImage(9, 9, [](int32_t x, int32_t y) { return x >= 3 && x <= 5 && y >= 3 && y <= 5 ? 200 : 0; });
    VexaPoint start{3, 3};
    VexaPointF* contour = I_TraceEdge(square, 100, &start, nullptr, &count, 1);
    ASSERT_EQ(count, 8);
    EXPECT_EQ(contour[0].x, 4.0F); // along the top: outside at (4, 2), inside at (4, 3)... clockwise
    EXPECT_EQ(contour[0].y, 2.5F);
    vexaFree(contour);
    // a region at the border: the contour stops there
    const int32_t half = byteImage(9, 9, [](int32_t x, int32_t) { return x < 4 ? 200 : 0; });
    start = {3, 4};
    contour = I_TraceEdge(half, 100, &start, nullptr, &count, 1);
    ASSERT_EQ(count, 4);
    EXPECT_EQ(contour[3].y, 8.0F);
    EXPECT_EQ(contour[3].x, 3.5F);
    vexaFree(contour);
    clearError();
    forEachFailingAllocation(
        [&] {
            clearError();
            int32_t n = 5;
            VexaPointF* points = I_TraceEdge(square, 100, &start, nullptr, &n, 1);
            EXPECT_EQ(n != 0, points != nullptr);
            vexaFree(points);
            return n;
        },
        [](int64_t n) {
            EXPECT_EQ(n, 0);
            EXPECT_EQ(I_GetError(nullptr, 0), 2);
        });
    clearError();
    closeImages({bright, square, half});
}

TEST(IndependentPerimeter, RandomBlobs)
{
    Random random(652);
    for (int32_t round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const int32_t cols = between(random, 1, 34), rows = between(random, 1, 20);
        const int32_t im = randomBlobs(random, cols, rows);
        if (round % 5 == 0)
            I_ImConvertType(im, PIX_WORD);
        randomRegion(random, cols, rows);
        const int32_t low = between(random, -10, 250),
                      high = between(random, 0, 9) ? 300 : between(random, 0, 255);
        if (I_GetROIType() == 2 && (low <= 0 || high < low)) // a polygon may lie beside the image
            I_SetROIType(0);
        const int32_t maxPoints = between(random, 0, 3) ? 500 : between(random, 0, 20);
        const std::vector<VexaPoint> expected = plainPerimeter(maxPoints, low, high, im);
        std::vector<VexaPoint> actual(501, VexaPoint{-7, -7});
        const std::string what = std::to_string(round) + ": " + std::to_string(cols) + "x" +
                                 std::to_string(rows) + " " + std::to_string(low) + " to " +
                                 std::to_string(high) + " region " + std::to_string(I_GetROIType());
        ASSERT_EQ(I_GetPerimeterPts(actual.data(), maxPoints, low, high, im),
                  static_cast<int32_t>(expected.size()))
            << what;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(expected[i].x, actual[i].x) << what << " point " << i;
            ASSERT_EQ(expected[i].y, actual[i].y) << what << " point " << i;
        }
        I_ImClose(im);
        I_SetROIType(0);
    }
    clearError();
}

TEST(IndependentPerimeter, BlobsAndBadNumbers)
{
    Random random(653);
    I_SetROIType(0);
    for (int32_t round = 0; round < 40; ++round) {
        const int32_t im = randomBlobs(random, 60, 50), labels = byteImage(60, 50);
        const int32_t blobs = I_FindBlobs2(100, 255, im, labels);
        for (int32_t blob = -1; blob <= blobs; ++blob) {
            const bool bad = blob < 0 || blob >= I_GetBlobCount();
            int32_t left = 0, top = 0, right = 639, bottom = 439;
            I_GetBlobBoundingBox(blob, &left, &top, &right, &bottom);
            I_SetWindowROI(left, top, right, bottom);
            const std::vector<VexaPoint> expected = plainPerimeter(300, blob + 1, blob + 2, labels);
            I_SetROIType(0);
            I_SetWindowROI(3, 4, 20, 21);
            std::vector<VexaPoint> points(300);
            clearError();
            ASSERT_EQ(I_GetBlobOutline(points.data(), 300, labels, blob),
                      static_cast<int32_t>(expected.size()));
            EXPECT_EQ(I_GetError(nullptr, 0), bad ? 12 : 0);
            EXPECT_EQ(errorText().find("GetBlobBoundingBox:#") != std::string::npos, bad);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_EQ(points[i].x, expected[i].x);
                ASSERT_EQ(points[i].y, expected[i].y);
            }
            int32_t l, t, r, b;
            I_GetWindowROI(&l, &t, &r, &b);
            EXPECT_EQ(l, 3);
            EXPECT_EQ(b, 21);
        }
        closeImages({im, labels});
        I_SetROIType(0);
    }
    const int32_t im = byteImage(5, 5, [](int32_t, int32_t) { return 9; });
    VexaPoint points[4];
    forEachFailingAllocation(
        [&] {
            clearError();
            return I_GetPerimeterPts(points, 4, 1, 255, im);
        },
        [](int64_t n) {
            EXPECT_EQ(n, 0);
            EXPECT_EQ(I_GetError(nullptr, 0), 2);
        });
    EXPECT_EQ(I_GetPerimeterPts(points, 4, 1, 255, -280), 0);
    clearError();
    closeImages({im});
}
