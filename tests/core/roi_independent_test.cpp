// The region of interest against its description: boxes, scan lists, the polygon walkers and the two walks.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Points = std::vector<VexaPoint>;

bool operator==(const Points& a, const Points& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](VexaPoint p, VexaPoint q) {
               return p.x == q.x && p.y == q.y;
           });
}

std::string text(const Points& points)
{
    std::string s;
    for (const VexaPoint& p : points)
        s += "(" + std::to_string(p.x) + "," + std::to_string(p.y) + ") ";
    return s;
}

Points listOf(int32_t im)
{
    int32_t count = -5;
    const VexaPoint* list = I_ROIScanlist(&count, im);
    return count < 1 ? Points{} : Points(list, list + count);
}

// Two chains from the top vertex; an empty optional where the polygon is not monotone.
bool convexWalk(const Points& p, int32_t cols, int32_t rows, Points& out)
{
    const auto n = static_cast<int32_t>(p.size());
    const auto vertex = [&](int32_t i) { return p[static_cast<std::size_t>((i % n + n) % n)]; };
    int32_t top = 0, lowest = p[0].y;
    for (int32_t i = 0; i < n; ++i) {
        if (vertex(i).y <= vertex(top).y)
            top = i;
        lowest = std::max(lowest, vertex(i).y);
    }
    int32_t at[2] = {top, top};
    const int64_t start = (int64_t{vertex(top).x} * 512) | 256;
    int64_t x[2] = {start, start}, slope[2] = {0, 0};
    const int32_t direction[2] = {-1, 1};
    int32_t y = vertex(top).y;
    const auto emit = [&](int32_t limit) {
        if (y < 0 || y >= rows)
            return;
        int32_t l = static_cast<int32_t>(std::clamp<int64_t>(x[0] >> 9, 0, limit)),
                r = static_cast<int32_t>(std::clamp<int64_t>(x[1] >> 9, 0, limit));
        if (l > r)
            std::swap(l, r);
        out.push_back({l, y});
        out.push_back({r, y});
    };
    const auto reach = [&](int32_t c) {
        for (int32_t times = 0; vertex(at[c]).y == y && times <= n; ++times) {
            const VexaPoint here = vertex(at[c]), next = vertex(at[c] + direction[c]);
            x[c] = (int64_t{here.x} * 512) | 256;
            at[c] += direction[c];
            if (next.y != here.y)
                slope[c] = int64_t{next.x - here.x} * 512 / (next.y - here.y);
        }
        return vertex(at[c]).y >= y;
    };
    for (; y < lowest; ++y) {
        if (!reach(0) || !reach(1))
            return false;
        emit(cols - 1);
        x[0] += slope[0];
        x[1] += slope[1];
    }
    // What remains between the chains must lie on the last row.
    for (int32_t i = 0, k = at[0]; i <= n; ++i, --k) {
        if (vertex(k).y < y)
            return false;
        if (((k - at[1]) % n + n) % n == 0)
            break;
    }
    emit(cols);
    return true;
}

Points evenOddFill(const Points& p, int32_t cols, int32_t rows)
{
    Points all;
    Points line(100000);
    for (std::size_t i = 0; i < p.size(); ++i) {
        const bool closing = i + 1 == p.size();
        const VexaPoint a = p[i], b = p[closing ? 0 : i + 1];
        if (!closing && a.x == b.x && a.y == b.y)
            continue;
        const int32_t n = I_GetLineCoords(0, &a, &b, line.data());
        all.insert(all.end(), line.begin(), line.begin() + n);
    }
    const auto y = [&](std::size_t i) { return all[i % all.size()].y; };
    // three in a row: the middle one goes
    for (std::size_t i = 0; i < all.size() && all.size() > 2;) {
        const std::size_t n = all.size(), before = (i + n - 1) % n;
        if (y(before) == y(i) && y(i) == y(i + 1))
            all.erase(all.begin() + static_cast<std::ptrdiff_t>(i));
        else
            ++i;
    }
    // a jog on an edge that goes one way counts once
    for (std::size_t i = 0; i < all.size() && all.size() > 2;) {
        const std::size_t n = all.size();
        const int32_t in = y(i) - y(i + n - 1), out = y(i + 2) - y(i + 1);
        if (y(i) == y(i + 1) && ((in > 0 && out > 0) || (in < 0 && out < 0)))
            all.erase(all.begin() + static_cast<std::ptrdiff_t>((i + 1) % n));
        else
            ++i;
    }
    // a tip counts twice
    Points tips;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::size_t n = all.size();
        const int32_t in = y(i) - y(i + n - 1), out = y(i + 1) - y(i);
        tips.push_back(all[i]);
        if ((in > 0 && out < 0) || (in < 0 && out > 0))
            tips.push_back(all[i]);
    }
    std::sort(tips.begin(), tips.end(),
              [](VexaPoint a, VexaPoint b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    while (!tips.empty() && tips.back().y >= rows)
        tips.pop_back();
    for (VexaPoint& q : tips)
        q.x = std::min(q.x, cols);
    return tips;
}

TEST(IndependentRoi, BoxesAndListsOfWindows)
{
    Random random(81);
    for (int32_t round = 0; round < 3000; ++round) {
        const int32_t cols = between(random, 1, 20), rows = between(random, 1, 15);
        const int32_t im = I_ImOpen(cols, rows, PIX_BYTE);
        const int32_t w[4] = {between(random, -6, 25), between(random, -6, 20), between(random, -25, 25),
                              between(random, -20, 20)};
        EXPECT_EQ(1, I_SetWindowROI(w[0], w[1], w[2], w[3]));
        const int32_t r = w[2], b = w[3];
        const int32_t l = r >= 1 && w[0] >= r ? r : std::max(w[0], 0),
                      t = b >= 1 && w[1] >= b ? b : std::max(w[1], 0);
        int32_t got[4];
        I_GetWindowROI(&got[0], &got[1], &got[2], &got[3]);
        SCOPED_TRACE(std::to_string(cols) + "x" + std::to_string(rows) + " window " + std::to_string(w[0]) +
                     " " + std::to_string(w[1]) + " " + std::to_string(w[2]) + " " + std::to_string(w[3]));
        EXPECT_THAT(got, testing::ElementsAre(l, t, r, b));
        // the box
        const auto side = [](int32_t low, int32_t high, int32_t size, int32_t& from, int32_t& to) {
            if (high < 0) {
                from = low;
                to = std::max(low, high + size - 1);
            } else {
                from = std::max(std::min(low, high), 0);
                to = std::max(low, high);
            }
            from = std::max(0, std::min({from, size - 1, to}));
            to = std::clamp(to, from, size - 1);
        };
        int32_t box[4];
        side(l, r, cols, box[0], box[2]);
        side(t, b, rows, box[1], box[3]);
        EXPECT_NE(0, I_ROIBoundingBox(&got[0], &got[1], &got[2], &got[3], im));
        EXPECT_THAT(got, testing::ElementsAreArray(box));
        // the list
        int32_t right = r < 1 ? r + cols - 1 : r, bottom = b < 1 ? b + rows - 1 : b;
        const int32_t left = std::clamp(l, 0, cols - 1), top = std::clamp(t, 0, rows - 1);
        right = std::min(std::max(right, left), cols - 1);
        bottom = std::min(std::max(bottom, top), rows - 1);
        Points wanted;
        for (int32_t y = top; y <= bottom; ++y) {
            wanted.push_back({left, y});
            wanted.push_back({right, y});
        }
        const Points list = listOf(im);
        ASSERT_TRUE(wanted == list) << text(list);
        I_ImClose(im);
        if (HasFailure())
            return;
    }
}

TEST(IndependentRoi, PolygonsOfBothKinds)
{
    Random random(82);
    int32_t kinds[2] = {0, 0};
    for (int32_t round = 0; round < 4000; ++round) {
        const int32_t cols = between(random, 1, 40), rows = between(random, 1, 30);
        const int32_t im = I_ImOpen(cols, rows, PIX_BYTE);
        Points p(static_cast<std::size_t>(between(random, 1, 7)));
        for (VexaPoint& q : p)
            q = {between(random, -10, cols + 10), between(random, -10, rows + 10)};
        if (between(random, 0, 2) == 0 && p.size() > 3) { // flat tops and bottoms
            p[1].y = p[0].y;
            p[3].y = p[2].y;
        }
        if (std::all_of(p.begin(), p.end(), [&](VexaPoint q) { return q.y == p[0].y; })) {
            I_ImClose(im); // no row from which the chains could start
            continue;
        }
        ASSERT_EQ(1, I_SetPolygonROI(p.data(), static_cast<int32_t>(p.size())));
        Points wanted;
        const bool monotone = convexWalk(p, cols, rows, wanted) && !wanted.empty();
        if (!monotone)
            wanted = evenOddFill(p, cols, rows);
        ++kinds[monotone];
        const Points list = listOf(im);
        ASSERT_TRUE(wanted == list) << cols << "x" << rows << (monotone ? " monotone " : " general ")
                                    << text(p) << "\nwanted " << text(wanted) << "\ngot    " << text(list);
        // the walk
        Points runs;
        for (std::size_t i = 0; i + 1 < list.size() && list[i].y < rows; i += 2)
            if (list[i].y >= 0 && std::min(list[i + 1].x + 1, cols) > list[i].x)
                runs.insert(runs.end(), {list[i], {std::min(list[i + 1].x + 1, cols) - list[i].x, 0}});
        Points walked, banded;
        int32_t x, y, w, h = 0, first = 1;
        while (I_GetNextLine(&x, &y, &w, im, &first))
            walked.insert(walked.end(), {{x, y}, {w, 0}});
        EXPECT_EQ(0, w);
        first = 1;
        while (I_GetNextLines(&x, &y, &w, &h, im, &first, 0)) {
            EXPECT_EQ(1, h);
            banded.insert(banded.end(), {{x, y}, {w, 0}});
        }
        EXPECT_TRUE(runs == walked) << text(walked);
        EXPECT_TRUE(runs == banded) << text(banded);
        int32_t box[4] = {p[0].x, p[0].y, p[0].x, p[0].y}, got[4];
        for (const VexaPoint& q : p) {
            box[0] = std::min(box[0], q.x);
            box[1] = std::min(box[1], q.y);
            box[2] = std::max(box[2], q.x);
            box[3] = std::max(box[3], q.y);
        }
        for (const int32_t axis : {0, 1}) {
            const int32_t size = axis ? rows : cols;
            box[axis] = std::max(0, std::min({box[axis], size - 1, box[axis + 2]}));
            box[axis + 2] = std::clamp(box[axis + 2], box[axis], size - 1);
        }
        I_ROIBoundingBox(&got[0], &got[1], &got[2], &got[3], im);
        EXPECT_THAT(got, testing::ElementsAreArray(box)) << text(p);
        I_ImClose(im);
        if (HasFailure())
            return;
    }
    EXPECT_GT(kinds[0], 500);
    EXPECT_GT(kinds[1], 500);
}

TEST(IndependentRoi, BandsFollowTheChunk)
{
    for (const float chunk : {0.5F, 0.7F, 2.0F, 10.0F}) {
        I_SetCachingChunkMB(&chunk);
        const float kept = I_SetCachingChunkMB(nullptr);
        EXPECT_FLOAT_EQ(std::max(chunk - 0.2F, 0.4F), kept);
        for (const int32_t type : {PIX_BYTE, PIX_DFLOAT}) {
            const int32_t im = I_ImOpen(700, 613, type);
            I_SetWindowROI(3, 5, 690, 600);
            const int32_t rows = 596, cols = 688;
            const double bytes = double{1.0} * I_ImTypeBytes(type) * cols * rows;
            const int32_t bands =
                std::min(static_cast<int32_t>(3 * bytes / (double{kept} * 1048576)) + 1, 200);
            const int32_t height = rows / bands;
            int32_t x, y, w, h, first = 1, next = 5;
            while (I_GetNextLines(&x, &y, &w, &h, im, &first, 0)) {
                EXPECT_EQ(3, x);
                EXPECT_EQ(next, y);
                EXPECT_EQ(cols, w);
                EXPECT_EQ(std::min(height, 601 - next), h);
                next += h;
            }
            EXPECT_EQ(601, next);
            I_ImClose(im);
        }
    }
    const float big = 2.0F, small = 0.4F;
    I_SetCachingChunkMB(&big);
    const float now = I_SetCachingChunkMB(&small);
    EXPECT_FLOAT_EQ(1.8F, now);
    EXPECT_FLOAT_EQ(1.8F, I_SetCachingChunkMB(nullptr));
    // rows so long that the bands outnumber them: nothing is delivered
    const float least = 0.5F;
    I_SetCachingChunkMB(&least);
    const int32_t wide = I_ImOpen(60000, 2, PIX_DFLOAT);
    I_SetROIType(0);
    int32_t x, y, w, h, first = 1;
    EXPECT_EQ(0, I_GetNextLines(&x, &y, &w, &h, wide, &first, 0));
    I_SetCachingChunkMB(&big);
}

TEST(IndependentRoiLiteral, SettersErrorsAndMessages)
{
    clearError();
    const int32_t im = byteImage(100, 100);
    Points many(100, VexaPoint{1, 1});
    EXPECT_EQ(0, I_SetPolygonROI(many.data(), 100));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("SetPolygonROI npts=100", errorText());
    EXPECT_EQ(1, I_SetPolygonROI(many.data(), 99));
    EXPECT_EQ(2, I_GetROIType());
    EXPECT_EQ(0, I_SetPolygonROI(many.data(), 0));
    EXPECT_EQ(0, I_SetROIType(4));
    EXPECT_EQ("I_SetROIType=4", errorText());
    EXPECT_EQ(2, I_SetROIType(0));
    VexaPoint three[3];
    EXPECT_EQ(99, I_GetPolygonROI(three, 3));
    EXPECT_EQ(0, I_SetScanlistROI(many.data(), 3));
    EXPECT_EQ(38, I_GetError(nullptr, 0));
    EXPECT_EQ("SetScanList npts=3, maxsize=50000", errorText());
    EXPECT_EQ(0, I_GetScanlistROI(nullptr, 3));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("getscanlist", errorText());

    Messages messages;
    const VexaPoint bad[3][4] = {
        {{1, 1}, {2, 1}, {5, 2}, {4, 2}}, {{1, 1}, {2, 1}, {4, 2}, {5, 3}}, {{1, 4}, {2, 4}, {4, 2}, {5, 2}}};
    for (const auto& list : bad)
        EXPECT_EQ(0, I_SetScanlistROI(list, 4));
    EXPECT_THAT(messages.all(),
                testing::ElementsAre("CHECKSCAN: #1: X's out of order on line 2: 5,2; 4,2\n",
                                     "CHECKSCAN: #1 Unpaired Y's on line 2: 4,2; 5,3\n",
                                     "CHECKSCAN: #1 Y's out of sequential order on line 2: 4,2; 5,2\n"));
    const VexaPoint good[4] = {{1, 1}, {2, 1}, {4, 1}, {105, 1}};
    EXPECT_EQ(1, I_SetScanlistROI(good, 4));
    EXPECT_EQ(3, I_GetROIType());
    EXPECT_EQ(4, I_GetScanlistROI(three, 3));
    EXPECT_EQ(4, three[2].x);
    int32_t l, t, r, b;
    I_ROIBoundingBox(&l, &t, &r, &b, im);
    EXPECT_THAT((Points{{l, t}, {r, b}}), testing::SizeIs(2));
    EXPECT_EQ(1, l);
    EXPECT_EQ(1, t);
    EXPECT_EQ(99, r);
    EXPECT_EQ(1, b);
    double area = 0, perimeter = 0;
    I_SetWindowROI(10, 10, 19, 14);
    EXPECT_EQ(&perimeter, I_ROISize(im, &area, &perimeter, 2.0, 0.5));
    EXPECT_EQ(20 * 2.5, area);
    EXPECT_EQ(45.0, perimeter);

    clearError();
    int32_t x, y, w, h, first = 2;
    EXPECT_EQ(10, I_GetNextLine(&x, &y, &w, im, &first));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("GetNextLine *first not initialized", errorText());
    first = 2;
    EXPECT_NE(0, I_GetNextLines(&x, &y, &w, &h, im, &first, 0));
    EXPECT_EQ("GetNextLines *first not initialized", errorText());
    clearError();
    first = -1;
    I_GetNextLine(&x, &y, &w, im, &first);
    EXPECT_EQ(0, I_GetError(nullptr, 0));

    const int32_t triangle[6] = {0, 0, 4, 0, 0, 4};
    const int16_t narrow[6] = {0, 0, 4, 0, 0, 4};
    const int32_t pixels = pPolygonArea(triangle, 3, 8);
    EXPECT_EQ(2, I_GetROIType());
    EXPECT_EQ(pixels, pPolygonArea(narrow, 3, 4));
    EXPECT_EQ(5 + 4 + 3 + 2 + 1, pixels);
    const VexaBox box{10, 10, 20, 20};
    I_SetRectROI(&box, 3);
    I_GetWindowROI(&l, &t, &r, &b);
    EXPECT_EQ(7, l);
    EXPECT_EQ(23, b);
    // common boxes
    const int32_t small = byteImage(15, 50), images[2] = {im, small};
    I_SetROIType(0);
    I_ROIBoundingBoxN(&l, &t, &r, &b, images, 2);
    EXPECT_EQ(14, r);
    EXPECT_EQ(49, b);
    I_ROIBoundingBox3(&l, &t, &r, &b, im, small, im);
    EXPECT_EQ(14, r);
    int32_t cols = 0, rows = 0;
    I_ImGetMinSize(&cols, &rows, nullptr, 0);
    EXPECT_EQ(65535, cols);
    EXPECT_EQ(65535, rows);
}

} // namespace
