// Defect lists and painted dots against plain references, on random pictures.
#include <array>
#include <cmath>

#include "tests/support/precompiled.h"
#include "tests/support/random_images.h"
#include "tests/support/test_images.h"
#include "vexalib/align1d.h"
#include "vexalib/convolution.h"
#include "vexalib/defects.h"
#include "vexalib/rank.h"
#include "vexalib/scale.h"
#include "vexalib/threshold.h"

namespace
{

using vexa::test::bytesOf;
using vexa::test::closeImages;
using vexa::test::plain::between;
using vexa::test::plain::Random;

struct Entry {
    VexaPoint place;
    VexaBox box;
    double value;
};

struct Settings {
    int32_t maxDefects;
    float threshold, minSize;
    int32_t sortMode, alignRange, mergeRange;
};

struct Spot {
    float x, y, area, intensity, energy, ratio;
    int32_t left, top, right, bottom;
};

std::vector<VexaBox> blobBoxes()
{
    std::vector<VexaBox> boxes(static_cast<std::size_t>(I_GetBlobCount()));
    for (std::size_t b = 0; b < boxes.size(); ++b)
        I_GetBlobBoundingBox(static_cast<int32_t>(b), &boxes[b].left, &boxes[b].top, &boxes[b].right,
                             &boxes[b].bottom);
    return boxes;
}

void findSpots(int32_t imDiff, int32_t g, float threshold, double minArea, int32_t dil)
{
    if (dil < 1) {
        if (g)
            I_FindBlobs1(g + threshold, g - threshold, imDiff, 0);
        else
            I_FindBlobs1(threshold, 256.0, imDiff, 0);
        return;
    }
    const int32_t clone = I_CloneImageEx(imDiff, 1, 1, "clone");
    if (g)
        I_ScaleIntensityROIAbs(clone, clone, -g, 1.0);
    I_ScaleIntensityROI(clone, clone, -threshold, 1.0);
    I_PushROI();
    I_ReverseROI(clone);
    I_ClearROI(0, clone);
    I_PopROI();
    if (minArea >= 1.0) {
        I_FindBlobs1(1.0, 255.0, clone, 0);
        const std::vector<VexaBox> boxes = blobBoxes();
        for (std::size_t b = 0; b < boxes.size(); ++b) {
            int32_t count = 0;
            I_GetBlobMoments1(static_cast<int32_t>(b), &count, nullptr, nullptr, nullptr);
            if (!(count > minArea))
                I_ClearRect(boxes[b].left, boxes[b].top, boxes[b].right, boxes[b].bottom, 0, clone);
        }
    }
    I_BinaryDilate(clone, clone, dil);
    I_FindBlobs1(1.0, 255.0, clone, 0);
    I_ImClose(clone);
}

void realign(int32_t imDef, int32_t imRef, int32_t imDiff, const VexaBox& box, int32_t m, int32_t alignRange)
{
    const int32_t width = box.right - box.left + 1, height = box.bottom - box.top + 1;
    I_SetWindowROI(box.left - 2, box.top - 2, box.right + 2, box.bottom + 2);
    float sx = 0, sy = 0, qx = 0, qy = 0;
    I_ImageAlign1D(imDef, imRef, box.left - m, box.top - m, width + 2 * m, height + 2 * m,
                   std::min(width / 2, alignRange), std::min(height / 2, alignRange), &sx, &sy, &qx, &qy);
    I_Subtract1Ex(imDef, imRef, imDiff, qx < 0.1F ? 0 : sx, qy < 0.1F ? 0 : sy, I_GetClipMode(), 0.0F,
                  nullptr);
}

void measure(Spot& spot, int32_t imDiff, int32_t g, float threshold)
{
    std::vector<uint32_t> bins(256);
    I_CalcHist(bins.data(), imDiff);
    double sum = 0;
    int32_t peak = 0;
    for (int32_t d = 0; d < 256; ++d) {
        int64_t count = 0;
        if (g + d < 256)
            count += bins[static_cast<std::size_t>(g + d)];
        if (g && d > 0 && g - d >= 0)
            count += bins[static_cast<std::size_t>(g - d)];
        if (count)
            peak = d;
        sum += static_cast<double>(count * d);
        if (static_cast<float>(d) >= threshold)
            spot.area += static_cast<float>(count);
    }
    spot.energy = static_cast<float>(std::sqrt(sum / 180.0));
    if (threshold > static_cast<float>(peak))
        spot.area = spot.energy = 0;
    spot.intensity = spot.area != 0 ? static_cast<float>(peak) : 0;
}

bool overlap(int32_t low, int32_t high, int32_t otherLow, int32_t otherHigh)
{
    const int32_t centre = (low + high) / 2, other = (otherLow + otherHigh) / 2;
    return (centre > otherLow && centre < otherHigh) || (other > low && other < high);
}

bool inLine(int32_t low, int32_t high, int32_t otherLow, int32_t otherHigh, int32_t m)
{
    return std::abs(low - otherHigh) <= m || std::abs(otherLow - high) <= m ||
           std::abs(low - otherLow) <= m || std::abs(otherHigh - high) <= m;
}

bool belongTogether(const Spot& a, const Spot& b, int32_t m)
{
    if (a.top - b.bottom > m || b.top - a.bottom > m || a.left - b.right > m || b.left - a.right > m)
        return false;
    if (overlap(a.left, a.right, b.left, b.right) && overlap(a.top, a.bottom, b.top, b.bottom))
        return true;
    return inLine(a.left, a.right, b.left, b.right, m) && inLine(a.top, a.bottom, b.top, b.bottom, m);
}

void mergeSpots(std::vector<Spot>& spots, int32_t g, int32_t m, int32_t cols, int32_t rows)
{
    for (Spot& a : spots) {
        if (a.area == 0 || a.ratio > 0.3F)
            continue;
        for (Spot& b : spots) {
            if (&a == &b || b.area == 0 || b.ratio > 0.3F || !belongTogether(a, b, m))
                continue;
            a.left = std::min(a.left, b.left);
            a.top = std::min(a.top, b.top);
            a.right = std::max(a.right, b.right);
            a.bottom = std::max(a.bottom, b.bottom);
            const auto da = static_cast<int32_t>(a.intensity) - g, db = static_cast<int32_t>(b.intensity) - g;
            a.intensity = static_cast<float>((std::abs(da) >= std::abs(db) ? da : db) + g);
            a.area += b.area;
            a.energy = std::hypot(a.energy, b.energy);
            a.ratio =
                static_cast<float>(std::max((a.right - a.left + 1) / cols, (a.bottom - a.top + 1) / rows));
            b.area = b.intensity = b.energy = 0;
        }
    }
}

std::vector<Entry> listDefects(int32_t imDef, int32_t imRef, int32_t imDiff, const Settings& s)
{
    const double minArea = s.minSize >= 0 ? double{s.minSize} * s.minSize : -s.minSize;
    const int32_t dil = 2 * s.mergeRange / 8, m = 2 * s.mergeRange - 2 * dil, mode = I_GetClipMode();
    const int32_t g = mode == 3 || mode == 4 ? 128 : 0;
    const float threshold = mode == 4 ? s.threshold / 2 : s.threshold;
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, imDiff);
    I_MaxRGB(imDiff, imDiff);
    I_SetBlobTableSize(20000);
    findSpots(imDiff, g, threshold, minArea, dil);
    const std::vector<VexaBox> boxes = blobBoxes();
    if (boxes.empty())
        return {};
    I_PushROI();
    std::vector<Spot> spots;
    for (const VexaBox& box : boxes) {
        const int32_t margin = std::clamp(s.alignRange - dil, 1, 50);
        I_SetWindowROI(box.left - margin, box.top - margin, box.right + margin, box.bottom + margin);
        if (s.alignRange > 0)
            realign(imDef, imRef, imDiff, box, margin, s.alignRange);
        I_MaxRGB(imDiff, imDiff);
        Spot spot{};
        measure(spot, imDiff, g, threshold);
        VexaPoint first{};
        I_GetBlobFirstPixel(static_cast<int32_t>(spots.size()), &first);
        spot.x = static_cast<float>(first.x + dil + 1);
        spot.y = static_cast<float>(first.y + dil + 1);
        spot.left = box.left + (box.left > 0 ? dil : 0);
        spot.top = box.top + (box.top > 0 ? dil : 0);
        spot.right = box.right - (box.right < cols - 1 ? dil : 0);
        spot.bottom = box.bottom - (box.bottom < rows - 1 ? dil : 0);
        spot.ratio = std::max(static_cast<float>(spot.right - spot.left + 1) / static_cast<float>(cols),
                              static_cast<float>(spot.bottom - spot.top + 1) / static_cast<float>(rows));
        spots.push_back(spot);
    }
    const double value = spots.back().energy;
    mergeSpots(spots, g, m, cols, rows);
    if (s.sortMode)
        std::stable_sort(spots.begin(), spots.end(), [&](const Spot& a, const Spot& b) {
            return s.sortMode == 2 ? a.intensity > b.intensity : a.area > b.area;
        });
    std::vector<Entry> entries;
    for (const Spot& spot : spots) {
        const bool isLarge =
            s.minSize >= 0 ? spot.energy >= s.minSize : std::sqrt(std::abs(spot.area)) >= -s.minSize;
        if (spot.area != 0 && isLarge && static_cast<int32_t>(entries.size()) < s.maxDefects)
            entries.push_back(
                {{Rnd(spot.x), Rnd(spot.y)}, {spot.left, spot.top, spot.right, spot.bottom}, value});
    }
    I_PopROI();
    return entries;
}

// A pattern and its shifted copy with spots and grain.
struct Pictures {
    int32_t imDef, imRef, imDiff, cols, rows;

    Pictures(Random& random, int32_t type, int32_t clipMode)
        : cols(between(random, 30, 110)), rows(between(random, 30, 80))
    {
        const int32_t sx = between(random, -2, 2), sy = between(random, -2, 2),
                      period = between(random, 12, 40);
        const int32_t bytes = I_ImTypeBytes(type), grain = between(random, 0, 6);
        std::vector<std::array<int32_t, 4>> spots(static_cast<std::size_t>(between(random, 0, 14)));
        for (auto& spot : spots)
            spot = {between(random, -2, cols), between(random, -2, rows), between(random, 1, 6),
                    between(random, -120, 120)};
        const auto scene = [&](int32_t x, int32_t y) {
            return (x + 5 * period) % period < period / 2 || (y + 5 * period) % period < period / 3 ? 170
                                                                                                    : 70;
        };
        const auto make = [&](bool isDef) {
            const int32_t im = I_ImOpen(cols, rows, type);
            std::vector<uint8_t> row(static_cast<std::size_t>(cols * bytes));
            for (int32_t y = 0; y < rows; ++y) {
                for (std::size_t i = 0; i < row.size(); ++i) {
                    const int32_t x = static_cast<int32_t>(i) / bytes;
                    int32_t v =
                        (isDef ? scene(x + sx, y + sy) : scene(x, y)) + between(random, -grain, grain);
                    for (const auto& spot : spots)
                        if (isDef && x >= spot[0] && x < spot[0] + spot[2] && y >= spot[1] &&
                            y < spot[1] + spot[2])
                            v += spot[3];
                    row[i] = static_cast<uint8_t>(std::clamp(v, 0, 255));
                }
                I_PutBlockTypeEx(0, y, cols, 1, row.data(), im, type, 0);
            }
            return im;
        };
        imDef = make(true);
        imRef = make(false);
        imDiff = I_ImOpen(cols, rows, type);
        const bool isRegistered = between(random, 0, 1) != 0;
        I_SubtractEx(imDef, imRef, imDiff, isRegistered ? sx : 0, isRegistered ? sy : 0, clipMode);
    }
    ~Pictures() { closeImages({imDef, imRef, imDiff}); }
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;
};

TEST(IndependentCarefulDefects, ListsOfRandomPictures)
{
    Random random(1061);
    std::size_t listed = 0, several = 0;
    for (int32_t run = 0; run < 300; ++run) {
        const int32_t clipMode = between(random, 1, 4), oldMode = I_SetClipMode(clipMode);
        const Pictures p(random, run % 9 == 8 ? PIX_BGR24 : PIX_BYTE, clipMode);
        const Settings s{between(random, 0, 9) ? 40 : between(random, 0, 3),
                         static_cast<float>(between(random, 20, 180)) / 2.0F,
                         static_cast<float>(between(random, -12, 16)) / 4.0F,
                         between(random, 0, 2),
                         between(random, -1, 12),
                         between(random, 0, 13)};
        I_SetROIType(0);
        if (run % 4 == 0)
            I_SetWindowROI(between(random, 0, 15), between(random, 0, 15), p.cols - between(random, 1, 12),
                           p.rows - between(random, 1, 12));
        const int32_t plainDiff = I_CloneImageEx(p.imDiff, 0, 1, "plain");
        std::vector<Entry> expected = listDefects(p.imDef, p.imRef, plainDiff, s);
        std::vector<VexaPoint> places(40);
        std::vector<VexaBox> boxes(40);
        std::vector<double> values(40);
        const int32_t n =
            I_ListDefects3(p.imDef, p.imRef, p.imDiff, places.data(), boxes.data(), values.data(),
                           s.maxDefects, 0, s.threshold, s.minSize, s.sortMode, s.alignRange, s.mergeRange);
        SCOPED_TRACE(testing::Message()
                     << "run " << run << " clip mode " << clipMode << " " << p.cols << "x" << p.rows
                     << " threshold " << s.threshold << " size " << s.minSize << " sort " << s.sortMode
                     << " align " << s.alignRange << " merge " << s.mergeRange << " most " << s.maxDefects);
        ASSERT_EQ(n, static_cast<int32_t>(expected.size()));
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(places[i].x, expected[i].place.x) << i;
            EXPECT_EQ(places[i].y, expected[i].place.y) << i;
            EXPECT_EQ(boxes[i].left, expected[i].box.left) << i;
            EXPECT_EQ(boxes[i].top, expected[i].box.top) << i;
            EXPECT_EQ(boxes[i].right, expected[i].box.right) << i;
            EXPECT_EQ(boxes[i].bottom, expected[i].box.bottom) << i;
            EXPECT_NEAR(values[i], expected[i].value, 1e-4) << i;
        }
        EXPECT_EQ(bytesOf(p.imDiff), bytesOf(plainDiff));
        ASSERT_FALSE(HasFailure());
        listed += expected.size();
        several += expected.size() > 2 ? 1 : 0;
        I_ImClose(plainDiff);
        I_SetClipMode(oldMode);
    }
    I_SetROIType(0);
    EXPECT_GT(listed, 300U);
    EXPECT_GT(several, 30U);
}

TEST(IndependentCarefulDefects, ShortListsOfRandomPictures)
{
    Random random(1062);
    std::size_t listed = 0;
    for (int32_t run = 0; run < 200; ++run) {
        const int32_t clipMode = between(random, 1, 4), oldMode = I_SetClipMode(clipMode);
        const Pictures p(random, PIX_BYTE, clipMode);
        const int32_t g = clipMode > 2 ? 128 : 0, sortMode = between(random, 0, 2);
        const int32_t minDist = between(random, -1, 25), most = between(random, 0, 20);
        const double given = between(random, 10, 160) / 2.0, threshold = clipMode == 4 ? given / 2 : given;
        I_SetROIType(0);
        if (g)
            I_FindBlobs1(128 + threshold, 128 - threshold, p.imDiff, 0);
        else
            I_FindBlobs1(threshold, 256.0, p.imDiff, 0);
        struct Short {
            VexaPoint place;
            float area, intensity;
        };
        std::vector<Short> spots(static_cast<std::size_t>(I_GetBlobCount()));
        for (std::size_t b = 0; b < spots.size(); ++b) {
            int32_t count = 0, sum = 0;
            I_GetBlobMoments1(static_cast<int32_t>(b), &count, &sum, nullptr, nullptr);
            I_GetBlobFirstPixel(static_cast<int32_t>(b), &spots[b].place);
            spots[b].area = static_cast<float>(std::abs(sum - count * g) / 50.0);
            spots[b].intensity = static_cast<float>(std::abs(sum / count - g));
        }
        for (std::size_t i = 0; i < spots.size(); ++i) {
            const float area = spots[i].area;
            for (std::size_t j = i + 1; area != 0 && j < spots.size(); ++j) {
                const double away =
                    std::hypot(spots[i].place.x - spots[j].place.x, spots[i].place.y - spots[j].place.y);
                if (spots[j].area == 0 || !(away < minDist))
                    continue;
                Short& gone = spots[j].area < area ? spots[j] : spots[i];
                gone.area = gone.intensity = 0;
            }
        }
        std::stable_sort(spots.begin(), spots.end(), [&](const Short& a, const Short& b) {
            return sortMode == 2 ? a.intensity > b.intensity : a.area > b.area;
        });
        std::size_t expected = 0;
        while (expected < spots.size() && static_cast<int32_t>(expected) < most && spots[expected].area != 0)
            ++expected;
        std::vector<VexaPoint> places(20);
        std::vector<double> values(20);
        ASSERT_EQ(I_ListDefects(p.imDiff, places.data(), values.data(), most, minDist, given, sortMode),
                  static_cast<int32_t>(expected))
            << run;
        for (std::size_t i = 0; i < expected; ++i) {
            ASSERT_EQ(places[i].x, spots[i].place.x) << run << " " << i;
            ASSERT_EQ(places[i].y, spots[i].place.y) << run << " " << i;
            ASSERT_FLOAT_EQ(static_cast<float>(values[i]), sortMode ? spots[i].intensity : spots[i].area);
        }
        listed += expected;
        I_SetClipMode(oldMode);
    }
    EXPECT_GT(listed, 200U);
}

int32_t blacken(int32_t im, int32_t dotSize, int32_t orientation, int32_t iThresh)
{
    const int32_t s = std::clamp(Rnd(static_cast<float>(dotSize) * 0.25F), 1, 8);
    const int32_t threshold = std::clamp(iThresh, 0, 255);
    dotSize = dotSize < 1 ? 15 : dotSize;
    const int32_t im8 = I_CloneImageEx(im, 1, 1, "im8");
    I_Dilate(im8, im8, 1.0F);
    I_Dilate(im8, im8, -1.0F);
    const int32_t small = I_ScaleImage1(im8, 0.0, 0.0, 1.0 / s, 1.0 / s, 1);
    I_PushROI();
    const int32_t imDiff = I_CloneImageEx(small, 0, 0, "imDiff");
    if (I_GetROIType() >= 1) {
        int32_t left = 0, top = 0, right = 0, bottom = 0;
        I_ROIBoundingBox(&left, &top, &right, &bottom, im8);
        I_SetWindowROI(left / s, top / s, right / s + 1, bottom / s + 1);
    }
    const bool isDown = orientation == 1 || orientation == 90,
               isRight = orientation == 2 || orientation == 180;
    const bool isUp = orientation == 3 || orientation == 270;
    const int32_t shift = Rnd(static_cast<float>(dotSize * 0.8 / s));
    I_Subtract(small, small, imDiff,
               isDown || isUp ? 0
               : isRight      ? shift
                              : -shift,
               isDown ? shift
               : isUp ? -shift
                      : 0);
    double low = 0, high = 0;
    I_ComputePixelStats(1, nullptr, nullptr, nullptr, &low, &high, imDiff);
    int32_t painted = 0;
    if (high - low >= 25.0) {
        I_NormalizeROI(imDiff, small);
        I_FindBlobs1(threshold, 256.0, small, imDiff);
        I_PopROI();
        const std::vector<VexaBox> boxes = blobBoxes();
        for (std::size_t b = 0; b < boxes.size(); ++b) {
            const int32_t side =
                std::max(boxes[b].right - boxes[b].left + 1, boxes[b].bottom - boxes[b].top + 1);
            if (iThresh > 25 && side > shift + 3)
                continue;
            ++painted;
            int32_t count = 0, sum = 0, sumX = 0, sumY = 0;
            I_GetBlobMoments1(static_cast<int32_t>(b), &count, &sum, &sumX, &sumY);
            I_FillCircle(im, static_cast<float>(s) * static_cast<float>(sumX) / static_cast<float>(count),
                         static_cast<float>(s) * static_cast<float>(sumY) / static_cast<float>(count), 0.0F,
                         static_cast<float>(dotSize));
        }
    } else {
        I_PopROI();
    }
    closeImages({im8, small, imDiff});
    return painted;
}

TEST(IndependentEmbossing, DotsOfRandomMarkings)
{
    Random random(1063);
    int32_t painted = 0;
    for (int32_t run = 0; run < 60; ++run) {
        const int32_t dot = between(random, 4, 40), pitch = 2 * dot + between(random, 0, dot), cols = 200,
                      rows = 150;
        const int32_t x0 = between(random, 0, pitch), y0 = between(random, 0, pitch),
                      grain = between(random, 0, 5);
        const bool isBlank = run % 10 == 9;
        const int32_t im = vexa::test::byteImage(cols, rows, [&](int32_t x, int32_t y) {
            const int32_t dx = (x + x0) % pitch - dot, dy = (y + y0) % pitch - dot;
            const bool isDot = !isBlank && 4 * (dx * dx + dy * dy) < dot * dot;
            return (isDot ? 200 : 80) + between(random, -grain, grain);
        });
        I_SetROIType(0);
        if (run % 3 == 0)
            I_SetWindowROI(between(random, 0, 30), between(random, 0, 30), between(random, 120, 199),
                           between(random, 100, 149));
        const int32_t oldMode = I_SetClipMode(between(random, 1, 3));
        const int32_t dotSize = between(random, 0, 9) ? dot : between(random, -1, 45);
        static const int32_t kOrientations[] = {0, 1, 2, 3, 90, 180, 270, 45};
        const int32_t orientation = kOrientations[random() % 8], iThresh = between(random, -20, 300);
        const int32_t copy = I_CloneImageEx(im, 0, 1, "copy");
        const int32_t expected = blacken(copy, dotSize, orientation, iThresh);
        EXPECT_EQ(I_BlackenBraille(im, dotSize, orientation, iThresh), expected);
        EXPECT_EQ(bytesOf(im), bytesOf(copy));
        ASSERT_FALSE(HasFailure()) << "run " << run << " dots " << dot << " given " << dotSize
                                   << " orientation " << orientation << " threshold " << iThresh;
        painted += expected;
        I_SetClipMode(oldMode);
        closeImages({im, copy});
    }
    I_SetROIType(0);
    EXPECT_GT(painted, 100);
}

} // namespace
