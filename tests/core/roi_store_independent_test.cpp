// Slots, stack, combination and text form of regions, against sets of pixels and literal lines.
#include <fstream>
#include <set>

#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Points = std::vector<VexaPoint>;
using Pixels = std::set<std::pair<int32_t, int32_t>>;

Points currentList(int32_t im)
{
    int32_t count = 0;
    const VexaPoint* list = I_ROIScanlist(&count, im);
    return count < 1 ? Points{} : Points(list, list + count);
}

Pixels pixelsOf(const Points& list)
{
    Pixels all;
    for (std::size_t i = 0; i + 1 < list.size(); i += 2)
        for (int32_t x = list[i].x; x <= list[i + 1].x; ++x)
            all.insert({list[i].y, x});
    return all;
}

Pixels eitherOr(const Pixels& a, const Pixels& b)
{
    Pixels all;
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(all, all.end()));
    return all;
}

std::string text(const Points& points)
{
    std::string s;
    for (const VexaPoint& p : points)
        s += "(" + std::to_string(p.x) + "," + std::to_string(p.y) + ") ";
    return s;
}

// The merge of half-open boundaries, step by step.
Points merged(Points a, Points b)
{
    for (Points* list : {&a, &b})
        for (std::size_t i = 1; i < list->size(); i += 2)
            ++(*list)[i].x;
    Points out;
    std::size_t i = 0, k = 0;
    while (i < a.size() || k < b.size()) {
        const bool first =
            k == b.size() || (i < a.size() && (a[i].y < b[k].y || (a[i].y == b[k].y && a[i].x <= b[k].x)));
        const VexaPoint p = first ? a[i++] : b[k++];
        if (!out.empty() && p.x <= out.back().x && p.y <= out.back().y)
            out.pop_back();
        else
            out.push_back(p);
    }
    for (std::size_t n = 1; n < out.size(); n += 2)
        --out[n].x;
    return out;
}

void region(Random& random, int32_t cols, int32_t rows)
{
    randomRegion(random, cols, rows);
    if (I_GetROIType() == 3) { // runs that do not overlap
        Points list;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = between(random, 0, 5); x < cols - 1;) {
                const int32_t to = std::min(cols - 1, x + between(random, 0, 8));
                list.insert(list.end(), {{x, y}, {to, y}});
                x = to + between(random, 2, 9);
            }
        I_SetScanlistROI(list.data(), static_cast<int32_t>(list.size()));
    } else if (I_GetROIType() == 2) {
        const VexaPoint p[4] = {{cols / 2, 0}, {cols - 1, rows / 2}, {cols / 2, rows}, {0, rows / 2}};
        I_SetPolygonROI(p, 4);
    }
}

TEST(IndependentRoiStore, CombinationsAreExclusiveOr)
{
    Random random(91);
    for (int32_t round = 0; round < 400; ++round) {
        const int32_t cols = between(random, 2, 40), rows = between(random, 2, 12);
        const int32_t im = I_ImOpen(cols, rows, PIX_BYTE);
        Points lists[2];
        for (const int32_t slot : {0, 1}) {
            region(random, cols, rows);
            lists[slot] = currentList(im);
            EXPECT_EQ(1, I_SaveROI(slot + 3));
        }
        I_SetROIType(0);
        I_CombineROIs(3, 4, 5, im);
        EXPECT_EQ(3, I_GetROIType());
        const Points wanted = merged(lists[0], lists[1]), got = currentList(im);
        EXPECT_EQ(text(wanted), text(got)) << text(lists[0]) << " with " << text(lists[1]);
        EXPECT_EQ(eitherOr(pixelsOf(lists[0]), pixelsOf(lists[1])), pixelsOf(got))
            << text(lists[0]) << " with " << text(lists[1]);
        I_SetROIType(0);
        I_RecallROI(5);
        EXPECT_EQ(text(wanted), text(currentList(im)));
        // the complement
        I_RecallROI(3);
        EXPECT_EQ(1, I_ReverseROI(im));
        Pixels all;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x)
                all.insert({y, x});
        EXPECT_EQ(eitherOr(all, pixelsOf(lists[0])), pixelsOf(currentList(im)));
        // clearing inside and outside
        const int32_t in = byteImage(cols, rows), out = byteImage(cols, rows);
        I_RecallROI(3);
        EXPECT_EQ(1, I_ClearROI(7, in));
        EXPECT_EQ(1, I_ClearOutsideROI(9, out));
        EXPECT_EQ(text(lists[0]), text(currentList(im)));
        const Pixels inside = pixelsOf(lists[0]);
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x) {
                ASSERT_EQ(inside.count({y, x}) ? 7 : 0, pixel(in, x, y));
                ASSERT_EQ(inside.count({y, x}) ? 0 : 9, pixel(out, x, y));
            }
        closeImages({im, in, out});
        if (HasFailure())
            return;
    }
}

TEST(IndependentRoiStore, SlotsAndStack)
{
    clearError();
    EXPECT_EQ(0, I_SaveROI(20));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("I_SaveROI n=20", errorText());
    EXPECT_EQ(0, I_RecallROI(20));
    EXPECT_EQ("I_RecallROI n=20", errorText());
    int32_t l, t, r, b;
    I_SetWindowROI(1, 2, 30, 40);
    I_SetROIType(0);
    I_SaveROI(2);
    I_SetWindowROI(5, 6, 7, 8);
    I_RecallROI(2);
    EXPECT_EQ(0, I_GetROIType());
    I_GetWindowROI(&l, &t, &r, &b);
    EXPECT_EQ(5, l);
    int32_t type = -1, count = -1;
    I_SetROIType(1);
    const VexaPoint* data = getroidata(&type, &count);
    EXPECT_EQ(1, type);
    EXPECT_EQ(2, count);
    EXPECT_EQ(5, data[0].x);
    EXPECT_EQ(8, data[1].y);
    I_SetROIType(0);
    EXPECT_EQ(nullptr, getroidata(&type, &count));
    EXPECT_EQ(0, count);
    const VexaPoint corners[2] = {{3, 4}, {9, 10}};
    EXPECT_EQ(0, setroidata(1, 2, corners));
    EXPECT_EQ(1, I_GetROIType());
    I_GetWindowROI(&l, &t, &r, &b);
    EXPECT_EQ(10, b);

    clearError();
    for (int32_t depth = 1; depth <= 17; ++depth)
        EXPECT_EQ(depth, I_PushWindowROI(depth, 1, 50, 50));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(17, I_PushROI()); // the window of level 17 goes into slot 0
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_THAT(errorText(), testing::StartsWith("PushROI overflow. Index="));
    for (int32_t depth = 17; depth >= 1; --depth) {
        EXPECT_EQ(depth - 1, I_PopROI());
        I_GetWindowROI(&l, &t, &r, &b);
        EXPECT_EQ(depth == 17 ? 17 : depth == 1 ? 3 : depth - 1, l) << depth;
    }
    clearError();
    I_SetWindowROI(21, 21, 31, 31);
    I_SaveROI(17);
    I_SetWindowROI(1, 1, 2, 2);
    EXPECT_EQ(0, I_PopROI());
    EXPECT_THAT(errorText(), testing::StartsWith("PopROI underflow. Index="));
    I_GetWindowROI(&l, &t, &r, &b);
    EXPECT_EQ(21, l);
    EXPECT_EQ(1, I_PushWindowROI(0, 0, 0, 0));
    EXPECT_EQ(0, I_GetROIType());
    I_PopROI();
    EXPECT_EQ(1, I_GetROIType());
}

TEST(IndependentRoiStore, FilesOfSlots)
{
    const TempFile file(".roi");
    {
        std::ofstream out(file.name());
        out << ";a comment\n\n5 2 3 10 10 20 10 15 20\n 7 1 2 1,2,3,4\n8 1 0\n25 1 2 1 1 1 1\n9 3 4 1 1 2 "
               "1\n";
    }
    clearError();
    I_SetWindowROI(40, 41, 42, 43);
    EXPECT_EQ(1, readroifile(file.name()));
    EXPECT_EQ("ROI string error, ROI#9", errorText());
    EXPECT_EQ(1, I_GetROIType());
    I_RecallROI(5);
    Points p(5);
    EXPECT_EQ(2, I_GetROIType());
    EXPECT_EQ(3, I_GetPolygonROI(p.data(), 5));
    EXPECT_EQ(15, p[2].x);
    EXPECT_EQ(20, p[2].y);
    I_RecallROI(7);
    int32_t l, t, r, b;
    I_GetWindowROI(&l, &t, &r, &b);
    EXPECT_EQ(1, l);
    EXPECT_EQ(4, b);
    const TempFile written("2.roi");
    EXPECT_EQ(1, writeroifile(written.name()));
    const auto bytes = bytesOfFile(written.name());
    const std::string content(bytes.begin(), bytes.end());
    EXPECT_THAT(content, testing::StartsWith(";ROI DEFINITIONS\n;number type size points\n"));
    EXPECT_THAT(content, testing::HasSubstr("\n 5 2  3 10 10 20 10 15 20 \n"));
    EXPECT_THAT(content, testing::HasSubstr("\n 7 1  2 1 2 3 4 \n"));
    clearError();
    EXPECT_EQ(0, readroifile("/nowhere/at/all.roi"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
    EXPECT_EQ("/nowhere/at/all.roi", errorText());
    EXPECT_EQ(0, writeroifile("/nowhere/at/all.roi"));
    EXPECT_EQ(16, I_GetError(nullptr, 0));
}

TEST(IndependentRoiStore, CopiesWithTheirRegion)
{
    const int32_t im = byteImage(20, 10, [](int32_t x, int32_t y) { return 10 * y + x; });
    I_SetROIType(0);
    const int32_t part = windowdup(3, 2, 7, 5, im, 0);
    EXPECT_EQ(0, I_GetROIType());
    EXPECT_THAT(rowOf(part, 0), testing::ElementsAre(23, 24, 25, 26, 27));
    char kept[100] = {};
    I_ImGetParam(kept, sizeof kept, 15, part);
    EXPECT_STREQ("1  2 3 2 7 5 ", kept);
    EXPECT_EQ(part, windowdup(4, 3, 8, 6, im, part));
    EXPECT_EQ(34, pixel(part, 0, 0));
    const int32_t other = windowdup(0, 0, 1, 1, im, part);
    int32_t cols = 0;
    I_ImGetSize(&cols, nullptr, nullptr, other);
    EXPECT_EQ(2, cols);
    I_ImClear(other, 99.0);
    EXPECT_EQ(1, windowpaste(5, 6, im, other));
    EXPECT_EQ(99, pixel(im, 5, 6));
    EXPECT_EQ(99, pixel(im, 6, 7));
    EXPECT_EQ(77, pixel(im, 7, 7));
    EXPECT_EQ(0, I_GetROIType());
    const VexaPoint triangle[3] = {{2, 1}, {8, 1}, {2, 7}};
    I_SetPolygonROI(triangle, 3);
    const int32_t dup = I_ROIDup(im);
    std::fill(std::begin(kept), std::end(kept), '\0');
    I_ImGetParam(kept, sizeof kept, 15, dup);
    EXPECT_STREQ("2  3 2 1 8 1 2 7 ", kept);
    EXPECT_EQ(2, I_GetROIType());
    int32_t rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, dup);
    EXPECT_EQ(7, cols);
    EXPECT_EQ(7, rows);

    VexaBox a{1, 1, 0, 3}, b{2, 2, 4, 0};
    EXPECT_EQ(1, I_CombineRectROIs(&a, &b, im));
    EXPECT_EQ(19, a.right);
    EXPECT_EQ(9, b.bottom);
    Pixels wanted;
    for (int32_t y = 0; y < 10; ++y)
        for (int32_t x = 0; x < 20; ++x)
            if ((x >= 1 && y >= 1 && y <= 3) != (x >= 2 && x <= 4 && y >= 2))
                wanted.insert({y, x});
    EXPECT_EQ(wanted, pixelsOf(currentList(im)));
}

TEST(IndependentRoiStore, Circles)
{
    I_MakePolyCircle(50.5, 40.25, 20, 1.5, 12);
    EXPECT_EQ(2, I_GetROIType());
    Points p(99);
    ASSERT_EQ(12, I_GetPolygonROI(p.data(), 99));
    for (int32_t i = 0; i < 12; ++i) {
        const double angle = i * (2 * std::acos(-1.0) / 12);
        EXPECT_NEAR(std::trunc(std::cos(angle) * 1.5 * 20 + 50.5), p[static_cast<std::size_t>(i)].x,
                    i % 3 == 0 ? 1 : 0)
            << i;
        EXPECT_NEAR(std::trunc(std::sin(angle) * 20 + 40.25), p[static_cast<std::size_t>(i)].y,
                    i % 3 == 0 ? 1 : 0)
            << i;
    }
    int32_t count = 0;
    VexaPointF* list = I_MakeCircleList(10, 20, 5, -1, &count);
    ASSERT_EQ(31, count);
    EXPECT_EQ(list[0].x, list[31].x);
    EXPECT_EQ(list[0].y, list[31].y);
    for (int32_t i = 0; i < 31; ++i) {
        const float step = static_cast<float>(2 * std::acos(-1.0) / 31), angle = static_cast<float>(i) * step;
        EXPECT_NEAR(10 + 5 * std::sin(angle), list[i].x, 1e-4);
        EXPECT_NEAR(20 + 5 * std::cos(angle), list[i].y, 1e-4);
    }
    vexaFree(list);
}

} // namespace
