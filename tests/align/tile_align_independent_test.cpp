// Tiled alignment against plain references: the border, the first shift, the whole run tile by tile.
#include <cmath>

#include "tests/support/precompiled.h"
#include "tests/support/random_images.h"
#include "tests/support/test_images.h"
#include "vexalib/align1d.h"
#include "vexalib/scale.h"
#include "vexalib/tile_align.h"

namespace
{

using vexa::test::bytesOf;
using vexa::test::closeImages;
using vexa::test::plain::between;
using vexa::test::plain::Random;
using Bytes = std::vector<uint8_t>;

struct Size {
    int32_t cols = 0, rows = 0;
};

Size sizeOf(int32_t im)
{
    Size s;
    I_ImGetSize(&s.cols, &s.rows, nullptr, im);
    return s;
}

double spanOf(const Bytes& values)
{
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return *high - *low;
}

// Blobs, lines, stripes or grain on a ground, the same for every image that is made from it.
struct Scene {
    int32_t kind, period, grain;
    std::vector<VexaBox> spots;

    explicit Scene(Random& random)
        : kind(between(random, 0, 3)), period(between(random, 7, 30)), grain(between(random, 0, 6))
    {
        for (int32_t i = between(random, 4, 30); i > 0; --i) {
            const int32_t x = between(random, -10, 170), y = between(random, -10, 130);
            spots.push_back({x, y, x + between(random, 3, 30), y + between(random, 3, 30)});
        }
    }
    int32_t at(double x, double y) const
    {
        double v = 70;
        if (kind == 1)
            v += std::fmod(x + 1000, period) < period / 2.0 ? 90 : 0;
        for (const VexaBox& s : spots) {
            const double cover = std::clamp(std::min(x + 0.5 - s.left, s.right + 0.5 - x), 0.0, 1.0) *
                                 std::clamp(std::min(y + 0.5 - s.top, s.bottom + 0.5 - y), 0.0, 1.0);
            v += cover * (kind == 2 ? 60 : 110);
        }
        return static_cast<int32_t>(std::min(v, 250.0));
    }
    int32_t image(const Size& size, int32_t type, double dx, double dy, Random& random) const
    {
        const int32_t im = I_ImOpen(size.cols, size.rows, type), bytes = I_ImTypeBytes(type);
        Bytes row(static_cast<std::size_t>(size.cols * bytes));
        for (int32_t y = 0; y < size.rows; ++y) {
            for (std::size_t i = 0; i < row.size(); ++i)
                row[i] = static_cast<uint8_t>(std::clamp(at(static_cast<int32_t>(i) / bytes - dx, y - dy) +
                                                             between(random, -grain, grain) +
                                                             static_cast<int32_t>(i) % bytes,
                                                         0, 255));
            I_PutBlockTypeEx(0, y, size.cols, 1, row.data(), im, type, 0);
        }
        return im;
    }
};

// A block that may lie outside; what does repeats the edge.
Bytes blockOf(int32_t im, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t type)
{
    const Size size = sizeOf(im);
    const int32_t bytes = I_ImTypeBytes(type);
    Bytes all(static_cast<std::size_t>(size.cols * size.rows * bytes)), block;
    I_GetBlockTypeEx(0, 0, size.cols, size.rows, all.data(), im, type, 0);
    for (int32_t j = y; j < y + rows; ++j)
        for (int32_t i = x; i < x + cols; ++i)
            for (int32_t b = 0; b < bytes; ++b)
                block.push_back(all[static_cast<std::size_t>(
                    (std::clamp(j, 0, size.rows - 1) * size.cols + std::clamp(i, 0, size.cols - 1)) * bytes +
                    b)]);
    return block;
}

TEST(IndependentTileAlign, BordersOfPictures)
{
    Random random(751);
    for (int32_t run = 0; run < 300; ++run) {
        const Size size{between(random, 5, 60), between(random, 5, 50)};
        const VexaBox content{between(random, 0, size.cols - 1), between(random, 0, size.rows - 1),
                              between(random, 0, size.cols - 1), between(random, 0, size.rows - 1)};
        const int32_t im = vexa::test::byteImage(size.cols, size.rows, [&](int32_t x, int32_t y) {
            const bool isInside =
                x >= content.left && x <= content.right && y >= content.top && y <= content.bottom;
            return 50 + between(random, 0, 3) + (isInside ? between(random, 0, 60) : 0);
        });
        VexaBox box{0, 0, 0, 0};
        if (run % 3)
            box = {between(random, 1, size.cols / 2), between(random, 0, size.rows / 2),
                   run % 2 ? size.cols - 1 : -between(random, 1, size.cols / 4),
                   run % 2 ? size.rows - 1 : -between(random, 1, size.rows / 4)};
        const int32_t minRange = between(random, 0, 30);
        VexaBox e = box;
        if (e.left == 0 || e.right == 0)
            e = {0, 0, size.cols - 1, size.rows - 1};
        e.right += e.right < 0 ? size.cols - 1 : 0;
        e.bottom += e.bottom < 0 ? size.rows - 1 : 0;
        const VexaBox start = e;
        const int32_t cx = (e.left + e.right) / 2, cy = (e.top + e.bottom) / 2, w = e.right - e.left + 1,
                      h = e.bottom - e.top + 1;
        const auto row = [&](int32_t y) {
            return spanOf(blockOf(im, start.left, y, w, 1, PIX_BYTE)) <= minRange;
        };
        const auto column = [&](int32_t x) {
            return spanOf(blockOf(im, x, start.top, 1, h, PIX_BYTE)) <= minRange;
        };
        while (e.top < cy && row(e.top))
            ++e.top;
        while (e.bottom > cy && row(e.bottom))
            --e.bottom;
        while (e.left < cx && column(e.left))
            ++e.left;
        while (e.right > cx && column(e.right))
            --e.right;
        EXPECT_EQ(I_FindBorder(im, &box, minRange), 1);
        EXPECT_EQ(box.left, e.left) << run;
        EXPECT_EQ(box.top, e.top) << run;
        EXPECT_EQ(box.right, e.right) << run;
        ASSERT_EQ(box.bottom, e.bottom) << run;
        I_ImClose(im);
    }
}

struct First {
    int32_t score;
    VexaPoint xy;
    float dx, dy;
};

First autoAlign(int32_t imSrc, int32_t imRef, int32_t corner, int32_t boxSize, int32_t minQuality, float dx,
                float dy)
{
    First f{0, {-7, -7}, dx, dy};
    boxSize = boxSize < 5 ? 75 : boxSize;
    minQuality = minQuality < 1 ? 80 : minQuality;
    VexaBox r{};
    I_ROIBoundingBox2(&r.left, &r.top, &r.right, &r.bottom, imSrc, imRef);
    const int32_t spanX = r.right - r.left + 1, spanY = r.bottom - r.top + 1;
    if (spanX < boxSize || spanY < boxSize)
        return f;
    const Size size = sizeOf(imSrc);
    if (spanX >= 401 && spanY >= 401)
        r = {std::max(r.left, 10), std::max(r.top, 10), std::min(r.right, size.cols - 11),
             std::min(r.bottom, size.rows - 11)};
    if (r.right <= r.left + 10 || r.bottom <= r.top + 10)
        return f;
    boxSize = std::min({boxSize, r.right - r.left + 1, r.bottom - r.top + 1});
    if (boxSize < 10)
        return f;
    const int32_t step = boxSize / 2;
    double low = 0, high = 0;
    I_ComputePixelStats(1, nullptr, nullptr, nullptr, &low, &high, imSrc);
    const double whole = high - low;
    if (whole < 15)
        return f;
    float best = -1;
    f.dx = f.dy = 0;
    bool isDone = false;
    I_PushROI();
    for (int32_t d = 0; !isDone && d * step < 2 * r.right; ++d) {
        for (int32_t k = 0; !isDone && k <= d; ++k) {
            const int32_t i = (d - k) * step, j = k * step;
            const int32_t x = corner & 1 ? r.right - i - boxSize : r.left + i;
            const int32_t y = corner & 2 ? r.bottom - j - boxSize : r.top + j;
            if (x < 0 || y < 0 || x > r.right - step || y > r.bottom - step)
                continue;
            I_SetWindowROI(x, y, x + step - 1, y + step - 1);
            I_ComputePixelStats(1, nullptr, nullptr, nullptr, &low, &high, imSrc);
            if (!(high - low > whole / 4))
                continue;
            auto sx = static_cast<float>(Rnd(dx)), sy = static_cast<float>(Rnd(dy));
            float qx = 0, qy = 0, cx = 0, cy = 0;
            const int32_t isGood = I_ImageAlign1D(imSrc, imRef, x + 2, y + 2, boxSize - 4, boxSize - 4,
                                                  boxSize / 3, boxSize / 3, &sx, &sy, &qx, &qy);
            I_GetAlign1DParams(nullptr, nullptr, nullptr, nullptr, &cx, &cy, nullptr, nullptr);
            const float q = std::min(qx, qy);
            if (!isGood || q < best || std::min(cx, cy) < 0.03F)
                continue;
            best = q;
            f = {0, {x, y}, sx, sy};
            isDone = q > static_cast<float>(minQuality) / 100;
        }
    }
    I_PopROI();
    f.score = static_cast<int32_t>(best * 100);
    return f;
}

TEST(IndependentTileAlign, FirstShiftsOfPictures)
{
    Random random(752);
    int32_t found = 0;
    for (int32_t run = 0; run < 45; ++run) {
        const Scene scene(random);
        const Size size =
            run % 30 == 29 ? Size{430, 410} : Size{between(random, 60, 170), between(random, 60, 130)};
        const int32_t imSrc = scene.image(size, PIX_BYTE, 0, 0, random);
        const int32_t imRef = scene.image(size, PIX_BYTE, between(random, -60, 60) / 10.0,
                                          between(random, -60, 60) / 10.0, random);
        I_SetROIType(0);
        if (run % 5 == 0)
            I_SetWindowROI(between(random, 0, 20), between(random, 0, 20), size.cols - between(random, 1, 20),
                           size.rows - between(random, 1, 20));
        const int32_t corner = between(random, 0, 3), minQuality = between(random, 0, 99);
        const int32_t boxSize = between(random, 0, 9) ? between(random, 12, 55) : between(random, 0, 160);
        float dx = static_cast<float>(between(random, -30, 30)) / 10, dy = static_cast<float>(run % 4);
        const First expected = autoAlign(imSrc, imRef, corner, boxSize, minQuality, dx, dy);
        VexaPoint xy{-7, -7};
        const int32_t score = I_AutoAlign(imSrc, imRef, corner, boxSize, minQuality, &xy, &dx, &dy);
        I_SetError(0, "");
        SCOPED_TRACE(testing::Message() << "run " << run << " " << size.cols << "x" << size.rows << " corner "
                                        << corner << " box " << boxSize << " quality " << minQuality);
        ASSERT_EQ(score, expected.score);
        ASSERT_FLOAT_EQ(dx, expected.dx);
        ASSERT_FLOAT_EQ(dy, expected.dy);
        if (score > 0) {
            ++found;
            ASSERT_EQ(xy.x, expected.xy.x);
            ASSERT_EQ(xy.y, expected.xy.y);
        }
        closeImages({imSrc, imRef});
    }
    I_SetROIType(0);
    EXPECT_GT(found, 15);
}

struct Difference {
    Bytes reference, bytes;
    double deviation;
};

struct Tile {
    bool isStored = false;
    float x = 0, y = 0, range = 0;
};

float valley(double a, double c, double b, double& vertex)
{
    a = std::max(a, c - 0.9 * std::abs(b - c));
    b = std::max(b, c - 0.9 * std::abs(a - c));
    double position = 0;
    I_ParabolicPeak(a, c, b, &position, &vertex);
    return static_cast<float>(std::clamp(position - 1, -1.0, 1.0));
}

// One run over all tiles, by the letter.
class TileRun
{
public:
    TileRun(int32_t imA, int32_t imB, int32_t imResult, int32_t tileSize, int32_t warpFill)
        : imA_(imA), imB_(imB), imResult_(imResult), tileSize_(tileSize), warpFill_(warpFill)
    {
        int32_t type = std::min(I_ImGetType(imA), I_ImGetType(imB));
        type_ = (imResult ? std::min(type, I_ImGetType(imResult)) : type) < 13 ? PIX_BYTE : PIX_BGR24;
    }

    int32_t run(VexaPointF& offset)
    {
        VexaBox& r = region_;
        if (imResult_)
            I_ROIBoundingBox3(&r.left, &r.top, &r.right, &r.bottom, imA_, imB_, imResult_);
        else
            I_ROIBoundingBox2(&r.left, &r.top, &r.right, &r.bottom, imA_, imB_);
        float low = 0, high = 0, deviation = 0;
        I_PixelStats(imA_, &low, &high, nullptr, &deviation);
        rangeThreshold_ = (high - low) * 0.6F;
        stdvThreshold_ = deviation / 5;
        const int32_t spanX = r.right - r.left + 1, spanY = r.bottom - r.top + 1;
        const int32_t side = tileSize_ > 0 ? tileSize_ : std::max(spanX, spanY);
        tilesX_ = std::max(spanX / side, 1);
        tilesY_ = std::max(spanY / side, 1);
        tileW_ = (spanX - 1) / tilesX_ + 1;
        tileH_ = (spanY - 1) / tilesY_ + 1;
        int32_t score = 0;
        if (tileSize_ < 0) {
            const Size size = sizeOf(imA_);
            VexaPoint xy;
            score = I_AutoAlign(imB_, imA_, 1, std::min({200, size.cols, size.rows}), 80, &xy, &offset.x,
                                &offset.y);
        }
        start_ = offset;
        tiles_.assign(static_cast<std::size_t>(tilesX_ * tilesY_), {});
        if (warpFill_) {
            work_ = I_CloneImageEx(imB_, 0, warpFill_ < 0 ? 1 : 0, "work");
            if (warpFill_ > 0) {
                I_PushROI();
                I_SetROIType(0);
                I_ClearROI(warpFill_, work_);
                I_PopROI();
            }
        }
        I_PushROI();
        for (int32_t ty = 0; ty < tilesY_; ++ty)
            for (int32_t tx = 0; tx < tilesX_; ++tx)
                runTile(tx, ty);
        I_PopROI();
        double sx = 0, sy = 0;
        for (const Tile& t : tiles_) {
            sx += t.x;
            sy += t.y;
        }
        offset = {static_cast<float>(sx / static_cast<double>(tiles_.size())),
                  static_cast<float>(sy / static_cast<double>(tiles_.size()))};
        return score > 80 ? 1 : 0;
    }
    int32_t work() const { return work_; }
    int32_t realigned = 0, restarts = 0, blended = 0, skipped = 0;

private:
    VexaPointF inherited(int32_t tx, int32_t ty) const
    {
        VexaPointF sum{0, 0};
        int32_t n = 0;
        const auto add = [&](int32_t x, int32_t y) {
            if (x < 0 || x >= tilesX_)
                return;
            const Tile& t = tiles_[static_cast<std::size_t>(y * tilesX_ + x)];
            if (!(t.range > rangeThreshold_))
                return;
            sum.x += t.x;
            sum.y += t.y;
            ++n;
        };
        if (ty > 0)
            add(tx - 1, ty);
        if (ty >= 2)
            for (const int32_t x : {tx - 1, tx, tx + 1})
                add(x, ty - 1);
        return n ? VexaPointF{sum.x / static_cast<float>(n), sum.y / static_cast<float>(n)} : start_;
    }

    Difference difference(const Bytes& tile, const Bytes& margin, int32_t w, int32_t h, int32_t mx,
                          int32_t my) const
    {
        Difference d{};
        const int32_t bytes = I_ImTypeBytes(type_);
        std::vector<uint32_t> bins(256);
        for (int32_t y = 0; y < h; ++y) {
            for (int32_t i = 0; i < w * bytes; ++i) {
                const int32_t at = ((y + my) * (w + 2) + mx) * bytes + i;
                d.reference.push_back(margin[static_cast<std::size_t>(at)]);
                const int32_t diff = tile[static_cast<std::size_t>(y * w * bytes + i)] - d.reference.back();
                d.bytes.push_back(static_cast<uint8_t>(
                    I_GetClipMode() == 4 ? std::min(diff / 2 + 128, 255) : std::clamp(diff + 128, 0, 255)));
                ++bins[d.bytes.back()];
            }
        }
        float mean = 0, deviation = 0;
        int32_t lowest = 0, highest = 0;
        I_HistStats(bins.data(), 0, 255, &lowest, &highest, &mean, &deviation);
        d.deviation = deviation;
        return d;
    }

    Bytes blend(const Bytes& x, const Bytes& y, const Bytes& centre, int32_t pixels, double w, double m) const
    {
        Bytes mixed(centre.size()), out(centre.size());
        I_BlendRowsType(x.data(), y.data(), mixed.data(), pixels, w, type_);
        I_BlendRowsType(mixed.data(), centre.data(), out.data(), pixels, m, type_);
        return out;
    }

    void runTile(int32_t tx, int32_t ty)
    {
        VexaPointF shift = inherited(tx, ty);
        const Size b = sizeOf(imB_);
        for (int32_t loop = 1;; ++loop) {
            int32_t ix = Rnd(shift.x), iy = Rnd(shift.y);
            float rx = static_cast<float>(ix) - shift.x, ry = static_cast<float>(iy) - shift.y;
            const int32_t left = std::max(ix, region_.left + tx * tileW_);
            const int32_t top = std::max(iy, region_.top + ty * tileH_);
            const int32_t w = std::min({tileW_, region_.right - left + 1, b.cols - 1 - left + ix});
            const int32_t h = std::min({tileH_, region_.bottom - top + 1, b.rows - 1 - top + iy});
            if (w < 3 || h < 3)
                return;
            I_SetWindowROI(left, top, left + w - 1, top + h - 1);
            float low = 0, high = 0, stdv = 0;
            I_PixelStats(imA_, &low, &high, nullptr, &stdv);
            const float range = high - low;
            const int32_t number = ty * tilesX_ + tx;
            if (range > rangeThreshold_ && stdv >= stdvThreshold_) {
                if (skipCount_ >= 1 && number != lastRealigned_) {
                    ++realigned;
                    const double wide = skipCount_ * 1.5;
                    const auto reach =
                        static_cast<int32_t>(wide < 4 ? 4 : std::min<double>(wide, std::min(tileW_ / 3, 15)));
                    realign(shift, {left, top, left + w - 1, top + h - 1}, reach);
                    ix = Rnd(shift.x);
                    iy = Rnd(shift.y);
                    rx = static_cast<float>(ix) - shift.x;
                    ry = static_cast<float>(iy) - shift.y;
                    lastRealigned_ = number;
                }
            } else {
                ++skipCount_;
                ++skipped;
            }
            const Bytes tile = blockOf(imA_, left, top, w, h, type_);
            const Bytes margin = blockOf(imB_, left - ix - 1, top - iy - 1, w + 2, h + 2, type_);
            const Difference up = difference(tile, margin, w, h, 1, 0),
                             leftD = difference(tile, margin, w, h, 0, 1),
                             centre = difference(tile, margin, w, h, 1, 1),
                             right = difference(tile, margin, w, h, 2, 1),
                             down = difference(tile, margin, w, h, 1, 2);
            const double sc = centre.deviation;
            bool isFinished = tileSize_ < 0 || range <= rangeThreshold_;
            if (!isFinished && sc == 0) {
                rx = ry = 0;
                isFinished = true;
            }
            if (!isFinished) {
                double vx = 0, vy = 0;
                rx = valley(leftD.deviation, sc, right.deviation, vx);
                ry = valley(up.deviation, sc, down.deviation, vy);
                const double hx = std::max(std::abs(sc - leftD.deviation), std::abs(sc - right.deviation));
                const double hy = std::max(std::abs(sc - up.deviation), std::abs(sc - down.deviation));
                if (hx < hy / 6)
                    rx = 0;
                if (hy < hx / 6)
                    ry = 0;
                const bool isInPlace = std::abs(rx) < 0.67F && std::abs(ry) < 0.67F && vx <= stdv * 0.6;
                if (loop - 1 <= (ty == 0 ? 6 : 4) && !isInPlace) {
                    ++restarts;
                    shift = {static_cast<float>(ix - Rnd(rx)), static_cast<float>(iy - Rnd(ry))};
                    continue;
                }
            }
            tiles_[static_cast<std::size_t>(number)] = {true, static_cast<float>(ix) - rx,
                                                        static_cast<float>(iy) - ry, range};
            if (tileSize_ >= 0) {
                rx -= start_.x - static_cast<float>(Rnd(start_.x));
                ry -= start_.y - static_cast<float>(Rnd(start_.y));
            }
            const double weight = std::abs(rx) / std::max(std::abs(rx) + std::abs(ry), 0.01F);
            const double m = std::min(std::hypot(rx, ry), 1.0F);
            const Difference &dirX = rx < 0 ? leftD : right, &dirY = ry < 0 ? up : down;
            Bytes out = centre.bytes, warped = centre.reference;
            if (m > 0.01) {
                ++blended;
                out = blend(dirX.bytes, dirY.bytes, centre.bytes, w * h, weight, m);
                warped = blend(dirX.reference, dirY.reference, centre.reference, w * h, weight, m);
            }
            for (uint8_t& e : out) {
                const int32_t v = e, mode = I_GetClipMode();
                e = static_cast<uint8_t>(mode == 0 || mode == 5 ? v + 128
                                         : mode == 1            ? std::max(v - 128, 0)
                                         : mode == 2            ? std::abs(v - 128)
                                                                : v);
            }
            if (imResult_)
                I_PutBlockTypeEx(left, top, w, h, out.data(), imResult_, type_, 0);
            if (warpFill_)
                I_PutBlockTypeEx(left, top, w, h, warped.data(), work_, type_, 0);
            return;
        }
    }

    void realign(VexaPointF& shift, const VexaBox& tile, int32_t reach)
    {
        VexaPointF found = shift;
        float qx = 0, qy = 0;
        I_ImageAlign1D(imB_, imA_, tile.left - Rnd(shift.x), tile.top - Rnd(shift.y),
                       tile.right - tile.left + 1, tile.bottom - tile.top + 1, reach, reach, &found.x,
                       &found.y, &qx, &qy);
        if (qx > 0.5F)
            shift.x = found.x;
        if (qy > 0.5F)
            shift.y = found.y;
        if (qx > 0.5F && qy > 0.5F)
            skipCount_ = 0;
    }

    int32_t imA_, imB_, imResult_, tileSize_, warpFill_, type_ = 0, work_ = 0;
    int32_t tilesX_ = 0, tilesY_ = 0, tileW_ = 0, tileH_ = 0, skipCount_ = 0, lastRealigned_ = -1;
    float rangeThreshold_ = 0, stdvThreshold_ = 0;
    VexaBox region_{};
    VexaPointF start_{};
    std::vector<Tile> tiles_;
};

// Bytes that differ; a blend may round otherwise by a grey level, more counts as a thousand.
int32_t differing(int32_t im, int32_t imExpected)
{
    const Bytes a = bytesOf(im), b = bytesOf(imExpected);
    int32_t count = a.size() == b.size() ? 0 : 1000;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        const auto difference = static_cast<int8_t>(a[i] - b[i]); // signed differences wrap
        count += difference == 0 ? 0 : std::abs(difference) == 1 ? 1 : 1000;
    }
    return count;
}

TEST(IndependentTileAlign, RunsOverPictures)
{
    Random random(753);
    int32_t realigned = 0, restarts = 0, blended = 0, skipped = 0;
    for (int32_t run = 0; run < 60; ++run) {
        const Scene scene(random);
        const Size size{between(random, 30, 150), between(random, 30, 110)};
        const int32_t type = run % 6 == 5 ? PIX_BGR24 : PIX_BYTE;
        const double sx = between(random, -40, 40) / 10.0, sy = between(random, -40, 40) / 10.0;
        const int32_t imA = scene.image(size, type, sx, sy, random),
                      imB = scene.image(size, type, 0, 0, random);
        const int32_t imResult = run % 7 == 6 ? 0 : I_ImOpen(size.cols, size.rows, type);
        const int32_t plainResult = imResult ? I_ImOpen(size.cols, size.rows, type) : 0;
        I_SetROIType(0);
        if (run % 4 == 3)
            I_SetWindowROI(between(random, 0, 12), between(random, 0, 12), size.cols - between(random, 1, 12),
                           size.rows - between(random, 1, 12));
        const int32_t clipMode = between(random, 0, 5), oldMode = I_SetClipMode(clipMode);
        const int32_t tileSize = run % 5 == 0 ? between(random, -1, 0) : between(random, 6, 45);
        const int32_t warpFill = run % 3 == 0 ? between(random, -1, 1) * 60 : 0;
        VexaPointF offset{0, 0};
        if (run % 2)
            offset = {static_cast<float>(between(random, -50, 50)) / 10,
                      static_cast<float>(between(random, -50, 50)) / 10};
        VexaPointF expectedOffset = offset;
        TileRun plain(imA, imB, plainResult, tileSize, warpFill);
        const int32_t expected = plain.run(expectedOffset);
        SCOPED_TRACE(testing::Message()
                     << "run " << run << " " << size.cols << "x" << size.rows << " type " << type << " tile "
                     << tileSize << " start " << offset.x << " " << offset.y << " clip " << clipMode
                     << " fill " << warpFill << " restarts " << plain.restarts << " realigned "
                     << plain.realigned);
        ASSERT_EQ(I_AlignSubtract1(imA, imB, imResult, &offset, tileSize, warpFill), expected);
        EXPECT_NEAR(offset.x, expectedOffset.x, 1e-3);
        EXPECT_NEAR(offset.y, expectedOffset.y, 1e-3);
        EXPECT_LE(imResult ? differing(imResult, plainResult) : 0, 4);
        EXPECT_LE(warpFill ? differing(imB, plain.work()) : 0, 4);
        ASSERT_FALSE(HasFailure());
        realigned += plain.realigned;
        restarts += plain.restarts;
        blended += plain.blended;
        skipped += plain.skipped;
        I_SetClipMode(oldMode);
        closeImages({imA, imB});
        for (const int32_t im : {imResult, plainResult, plain.work()})
            if (im)
                I_ImClose(im);
    }
    I_SetROIType(0);
    EXPECT_GT(realigned, 5);
    EXPECT_GT(restarts, 25);
    EXPECT_GT(blended, 75);
    EXPECT_GT(skipped, 25);
}

} // namespace
