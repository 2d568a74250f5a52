// The shape of what a box holds against its description followed step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

constexpr double kPi = 3.14159265358979323846;

struct Trace {
    std::vector<VexaPointF> points; // one more than count
    int32_t count = 0, closest = 0;
    float distance = 0, gap = 0, localTurn = 0, back = 0, forward = 0, directionGap = 0, wholeTurn = 0;
    bool dark = false, closed = false;
};

struct Shape10 { // what comes out
    float result = 0, minsep = 0, width = -77, direction = -77, angle = -77, turn = -77;
    int32_t edges = 0, closedPoints = -77;
};

float angleOf(double dy, double dx)
{
    return static_cast<float>(std::atan2(dy, dx));
}
double distanceOf(VexaPointF a, VexaPointF b)
{
    return std::hypot(double{a.x} - b.x, double{a.y} - b.y);
}

float sharpestTurn(const VexaPointF* p, int32_t n)
{
    int32_t best = 0;
    double sharpest = 0;
    for (int32_t i = 1; i < n - 2; ++i) {
        const float d1 = angleOf(double{p[i - 1].y} - p[i].y, double{p[i - 1].x} - p[i].x);
        const float d2 = angleOf(double{p[i].y} - p[i + 1].y, double{p[i].x} - p[i + 1].x);
        double t = std::fabs(double{d1} - d2);
        if (t > kPi)
            t = std::fabs(2 * kPi - t);
        if (t > sharpest) {
            sharpest = t;
            best = i;
        }
    }
    return best == 0 ? 0.0F : static_cast<float>(sharpest);
}

float traceDirection(const VexaPointF* p, int32_t n, int32_t j, int32_t dir)
{
    if (n < 4)
        return 0.0F;
    const int32_t step = dir < 0 ? -1 : 1, end = step < 0 ? 0 : n - 1;
    int32_t k = j + step;
    k = k < 1 ? 1 : k >= n - 2 ? n - 2 : k;
    double previous = kPi, last = 0;
    for (int32_t position = 0;; ++position, k += step) {
        if (k == end)
            return static_cast<float>(last);
        if (k < 1 || k > n - 2)
            return 0.0F;
        double a1 = std::atan2(double{p[k - step].y} - p[k].y, double{p[k - step].x} - p[k].x);
        double a2 = std::atan2(double{p[k].y} - p[k + step].y, double{p[k].x} - p[k + step].x);
        if (step < 0) {
            a1 -= kPi;
            a2 -= kPi;
        }
        double turn = std::fabs(a1 - a2);
        if (turn > kPi)
            turn = std::fabs(2 * kPi - turn);
        a1 += a1 < 0 ? 2 * kPi : 0;
        a2 += a2 < 0 ? 2 * kPi : 0;
        if (position > 0 && turn < 8 * kPi / 180 && previous < 8 * kPi / 180 && previous < turn)
            return static_cast<float>(a1);
        previous = turn;
        last = a2;
    }
}

// One box of an image; the region is left to the caller.
class PlainShape
{
public:
    Shape10 out;

    PlainShape(int32_t im, int32_t threshold, const VexaBox& box, int32_t margin)
        : im_(im), t_(threshold), box_(box), margin_(margin)
    {
        if (!I_ImGetSize(&cols_, &rows_, nullptr, im))
            return;
        cx_ = static_cast<float>((box.left + box.right) * 0.5);
        cy_ = static_cast<float>((box.top + box.bottom) * 0.5);
        const int32_t boxW = box.right - box.left + 1, boxH = box.bottom - box.top + 1;
        largest_ = std::max(boxW, boxH);
        left_ = right_ = cx_;
        top_ = bottom_ = cy_;
        circle((boxW + boxH) / 2 * 0.5 + margin);
        if (!path_.empty())
            settlePath();
        if (crossings_.empty() && !path_.empty()) {
            const VexaPoint from = {static_cast<int32_t>(path_[0].x), static_cast<int32_t>(path_[0].y)};
            const VexaPointF far = path_[(path_.size() - 1) / 2];
            const VexaPoint to = {static_cast<int32_t>(far.x), static_cast<int32_t>(far.y)};
            std::vector<VexaPoint> line(static_cast<std::size_t>(std::max(cols_, rows_) + 2));
            const int32_t n = I_GetLineCoords(im, &from, &to, line.data());
            path_.clear();
            for (int32_t i = 0; i < n; ++i)
                path_.push_back({static_cast<float>(line[static_cast<std::size_t>(i)].x),
                                 static_cast<float>(line[static_cast<std::size_t>(i)].y)});
            if (n > 0)
                path_.push_back(path_[0]);
            if (n > 0)
                settlePath();
        }
        int32_t previousClosest = 0;
        for (std::size_t i = 0; i < crossings_.size(); ++i)
            follow(i, previousClosest);
        if (out.edges >= 1) {
            compare();
            conclude();
        }
        finish();
    }

private:
    void circle(double r)
    {
        const double spacing = 0.85;
        const auto n = static_cast<int32_t>(std::ceil(r * 6.283185307179586 / spacing));
        if (n < 1)
            return;
        const auto step = static_cast<float>(2 * kPi / n);
        float a = 0;
        for (int32_t i = 0; i < n; ++i, a += step)
            path_.push_back({static_cast<float>(std::trunc(std::sin(double{a}) * r + cx_)),
                             static_cast<float>(std::cos(double{a}) * r + cy_)});
        path_.push_back(path_[0]);
    }
    void settlePath()
    {
        // The line lies inside the circle's box, which stays: else no contour could close in it.
        float &left = left_, &right = right_, &top = top_, &bottom = bottom_;
        for (VexaPointF& p : path_) {
            p.x = std::trunc(std::clamp(p.x + 0.5F, 0.0F, static_cast<float>(cols_ - 1)));
            p.y = std::trunc(std::clamp(p.y + 0.5F, 0.0F, static_cast<float>(rows_ - 1)));
            left = std::min(left, p.x);
            right = std::max(right, p.x);
            top = std::min(top, p.y);
            bottom = std::max(bottom, p.y);
        }
        I_SetWindowROI(static_cast<int32_t>(left) - 2, static_cast<int32_t>(top) - 2,
                       static_cast<int32_t>(right) + 2, static_cast<int32_t>(bottom) + 2);
        std::vector<uint8_t> values(path_.size());
        I_GetPixelsInList(path_.data(), values.data(), static_cast<int32_t>(path_.size()), im_, PIX_BYTE);
        for (std::size_t i = 0; i + 1 < values.size() && crossings_.size() < 10; ++i)
            if (values[i] < t_ && values[i + 1] >= t_)
                crossings_.push_back(
                    {static_cast<int32_t>(path_[i + 1].x), static_cast<int32_t>(path_[i + 1].y)});
    }
    void follow(std::size_t i, int32_t& previousClosest)
    {
        traces_.emplace_back();
        Trace& trace = traces_.back();
        const VexaPoint at = crossings_[i];
        VexaPoint start = at;
        int32_t count = 0;
        VexaPointF* points = I_TraceEdge(im_, static_cast<float>(t_), &start, nullptr, &count, 1);
        if (points)
            trace.points.assign(points, points + count + 1);
        vexaFree(points);
        trace.count = count;
        if (std::hypot(double{1} * start.x - at.x, double{1} * start.y - at.y) > 3.0 && at.x > 0 &&
            at.y > 0 && at.x < cols_ - 1 && at.y < rows_ - 1)
            trace.count = 0;
        else if (count > 4)
            trace.closed =
                distanceOf(trace.points[0], trace.points[static_cast<std::size_t>(count) - 1]) < 1.5F ||
                distanceOf(trace.points[0], trace.points[static_cast<std::size_t>(count)]) < 1.5F;
        if (trace.count < 2)
            return;
        ++out.edges;
        double best = count;
        trace.closest = previousClosest;
        for (int32_t k = 0; k < count; ++k) {
            const double d = distanceOf(trace.points[static_cast<std::size_t>(k)], {cx_, cy_});
            if (d < best) {
                best = d;
                trace.closest = k;
            }
        }
        previousClosest = trace.closest;
        trace.distance = static_cast<float>(best);
        if (!(nearest_ < best)) {
            second_ = nearest_;
            close_ = i;
            nearest_ = static_cast<int32_t>(best);
        } else if (!(second_ < best)) {
            second_ = static_cast<int32_t>(best);
        }
    }
    void compare()
    {
        const Trace& c = traces_[close_];
        bool parallel = false;
        for (std::size_t i = 0; i < traces_.size(); ++i) {
            Trace& trace = traces_[i];
            if (i != close_ && trace.count > 2) {
                double gap = 99999.0;
                for (int32_t k = 0; k < c.count; ++k)
                    for (int32_t l = 0; l < trace.count; ++l) {
                        const VexaPointF p = c.points[static_cast<std::size_t>(k)],
                                         q = trace.points[static_cast<std::size_t>(l)];
                        if (distanceOf(p, q) < gap) {
                            gap = distanceOf(p, q);
                            middle_ = {Rnd((p.x + q.x) / 2), Rnd((p.y + q.y) / 2)};
                        }
                    }
                trace.gap = static_cast<float>(gap);
                trace.dark = static_cast<float>(t_) > I_GetPix(middle_.x, middle_.y, im_);
            } else {
                trace.gap = 99999.0F;
            }
            const int32_t begin = std::max(trace.closest - 2, 0);
            const VexaPointF* p = trace.points.data();
            trace.localTurn = sharpestTurn(p + begin, std::min(trace.count - begin, 5));
            trace.back = traceDirection(p, trace.count, trace.closest, -1);
            trace.forward = traceDirection(p, trace.count, trace.closest, 1);
            trace.wholeTurn = sharpestTurn(p, trace.count);
            double gap = std::fabs(double{trace.back} - trace.forward) * 180 / kPi;
            trace.directionGap = static_cast<float>(gap > 180 ? 360 - gap : gap);
            if (i > 0) {
                double between =
                    static_cast<float>((double{traces_[i - 1].forward} - trace.back) * 180 / kPi);
                between = between > 180 ? 360 - between : between;
                between = between > 90 ? 180 - between : between;
                parallel = parallel || static_cast<int32_t>(std::fabs(between)) < 10;
            }
        }
        if (parallel)
            out.edges = -out.edges;
    }
    void conclude()
    {
        const Trace& c = traces_[close_];
        out.angle = 180 - std::fabs(c.directionGap);
        double d = -(double{c.forward} + c.back) * 0.5 * 180 / kPi;
        d -= d > 180 ? 180 : 0;
        d += d <= 180 ? 180 : 0;
        d += d < 0 ? 180 : 0;
        out.direction = static_cast<float>(d);
        out.turn = static_cast<float>((largest_ < 5 ? c.localTurn : c.wholeTurn) * 180 / kPi);
        float best = 99999.0F;
        bool dark = false;
        for (std::size_t i = 0; i < traces_.size(); ++i) {
            const Trace& trace = traces_[i];
            if (i == close_ || trace.distance <= 0)
                continue;
            if ((!dark && trace.dark) || (trace.distance < best && (trace.dark || !dark))) {
                best = trace.gap;
                dark = trace.dark;
            }
        }
        out.closedPoints = 0;
        if (c.closed) {
            const int32_t half = c.count / 2, quarter = half / 2;
            double small = 9999.0, large = 0.0;
            for (int32_t i = 0; i < half; ++i)
                for (int32_t k = i + quarter; k < i + quarter + half; ++k) {
                    const double distance = distanceOf(c.points[static_cast<std::size_t>(i)],
                                                       c.points[static_cast<std::size_t>(k % c.count)]);
                    small = std::min(small, distance);
                    large = std::max(large, distance);
                }
            const VexaPointF a = c.points[0], b = c.points[static_cast<std::size_t>(half)];
            const float inside =
                I_GetPix(static_cast<int32_t>((a.x + b.x) / 2), static_cast<int32_t>((a.y + b.y) / 2), im_);
            const bool darkInside = static_cast<float>(t_) > inside;
            out.closedPoints = darkInside ? -c.count : c.count;
            out.width = static_cast<float>(darkInside ? -large : large);
            best = static_cast<float>(darkInside ? -small : small);
        }
        if (static_cast<float>(2 * margin_) < best)
            out.edges = 1;
        out.minsep = dark ? -best : best;
        if (!c.closed)
            openWidth(c);
    }
    void openWidth(const Trace& c)
    {
        const auto d = [&](int32_t i) {
            return distanceOf(c.points[0], c.points[static_cast<std::size_t>(i)]);
        };
        bool armed = false, turned = false;
        double before = 0;
        int32_t j = 2;
        for (; j < c.count; ++j) {
            const double now = d(j);
            if (before > now) {
                armed = true;
            } else if (armed && before < now) {
                turned = true;
                break;
            }
            before = now;
        }
        j = turned ? j - 1 : 2 * margin_;
        float value = static_cast<float>(c.count);
        if (j > 2 && j < c.count) {
            const VexaPointF a = c.points[0], b = c.points[static_cast<std::size_t>(j)];
            middle_ = {Rnd((a.x + b.x) / 2), Rnd((a.y + b.y) / 2)};
            value = static_cast<float>(turned ? d(j) : d(c.count - 2));
        }
        if (static_cast<float>(t_) > I_GetPix(middle_.x, middle_.y, im_))
            value = -value;
        out.width = value;
    }
    void finish()
    {
        out.result = std::abs(out.edges) < 1 ? -1.0F : std::max(static_cast<float>(nearest_), 0.1F);
    }

    int32_t im_, t_;
    VexaBox box_;
    int32_t margin_, cols_ = 0, rows_ = 0, largest_ = 0, nearest_ = 1000, second_ = 1000;
    float cx_ = 0, cy_ = 0, left_ = 0, right_ = 0, top_ = 0, bottom_ = 0;
    std::size_t close_ = 0;
    VexaPoint middle_ = {0, 0};
    std::vector<VexaPointF> path_;
    std::vector<VexaPoint> crossings_;
    std::vector<Trace> traces_;
};

} // namespace

TEST(IndependentEdgeShape, RandomScenes)
{
    Random random(1022);
    int32_t seen = 0, closed = 0, several = 0;
    for (int32_t round = 0; round < 500 && !testing::Test::HasFailure(); ++round) {
        const int32_t cols = between(random, 20, 80), rows = between(random, 20, 70);
        const bool invert = between(random, 0, 1) != 0;
        std::vector<int32_t> scene;
        const int32_t features = between(random, 1, 3);
        for (int32_t k = 0; k < features * 5; ++k)
            scene.push_back(between(random, 0, 1000));
        const auto value = [&](int32_t x, int32_t y) {
            double best = 20;
            for (std::size_t k = 0; k < scene.size(); k += 5) {
                const double a = scene[k] * 0.00628, px = scene[k + 1] * 0.001 * cols,
                             py = scene[k + 2] * 0.001 * rows;
                const double u = (x - px) * std::cos(a) + (y - py) * std::sin(a),
                             v = (y - py) * std::cos(a) - (x - px) * std::sin(a);
                const double wide = 2 + scene[k + 3] * 0.008,
                             tall = scene[k + 4] < 400 ? 200 : 2 + scene[k + 4] * 0.01;
                best = std::max(best, 220 - 30 * std::max({std::fabs(u) - wide, std::fabs(v) - tall, 0.0}));
            }
            return invert ? 240 - best : best;
        };
        int32_t left = between(random, 0, cols - 1), top = between(random, 0, rows - 1);
        if (round % 3 == 0) { // a spot in the box
            left = scene[1] * cols / 1000 - 6;
            top = scene[2] * rows / 1000 - 6;
            scene[3] /= 3;
            scene[4] = 400 + scene[4] / 5;
            scene.resize(5);
        }
        const int32_t im = image(cols, rows, round % 5 ? PIX_BYTE : PIX_FLOAT,
                                 [&](int32_t x, int32_t y) { return std::floor(value(x, y)); });
        const VexaBox box = {left, top, left + between(random, 0, 14), top + between(random, 0, 14)};
        const int32_t margin = round % 3 ? between(random, 0, 12) : between(random, 9, 18),
                      threshold = between(random, 60, 200);
        I_SetROIType(0);
        clearError();
        Shape10 x = PlainShape(im, threshold, box, margin).out, a;
        I_SetROIType(0);
        clearError();
        a.result = I_EdgeShape(im, threshold, &box, margin, &a.edges, &a.minsep, &a.width, &a.direction,
                               &a.angle, &a.turn, &a.closedPoints);
        const std::string what = std::to_string(round) + ": box " + std::to_string(box.left) + " " +
                                 std::to_string(box.top) + " " + std::to_string(box.right) + " " +
                                 std::to_string(box.bottom) + " margin " + std::to_string(margin) +
                                 " threshold " + std::to_string(threshold);
        EXPECT_EQ(a.result, x.result) << what;
        EXPECT_EQ(a.edges, x.edges) << what;
        EXPECT_NEAR(a.minsep, x.minsep, 1e-3) << what;
        EXPECT_NEAR(a.width, x.width, 1e-3) << what;
        EXPECT_NEAR(a.direction, x.direction, 1e-2) << what;
        EXPECT_NEAR(a.angle, x.angle, 1e-2) << what;
        EXPECT_NEAR(a.turn, x.turn, 1e-2) << what;
        EXPECT_EQ(a.closedPoints, x.closedPoints) << what;
        EXPECT_EQ(I_GetROIType(), 0);
        seen += x.result >= 0;
        closed += x.closedPoints != 0 && x.closedPoints != -77;
        several += std::abs(x.edges) > 1;
        I_ImClose(im);
    }
    EXPECT_GT(seen, 100);
    EXPECT_GT(closed, 5);
    EXPECT_GT(several, 20);
    clearError();
}

TEST(IndependentEdgeShape, LiteralCases)
{
    const int32_t flat = byteImage(40, 40, [](int32_t, int32_t) { return 90; });
    const VexaBox box = {18, 18, 22, 22};
    int32_t edges = 5;
    float minsep = 5, width = 0;
    EXPECT_EQ(I_EdgeShape(flat, 100, &box, 5, &edges, &minsep, &width, nullptr, nullptr, nullptr, nullptr),
              -1.0F);
    EXPECT_EQ(edges, 0);
    edges = 5;
    EXPECT_EQ(I_EdgeShape(-280, 100, &box, 5, &edges, &minsep, &width, nullptr, nullptr, nullptr, nullptr),
              0.0F);
    EXPECT_EQ(edges, 0);
    EXPECT_EQ(minsep, 0.0F);
    clearError();
    for (const int32_t margin : {-40, -5, -4, -3, 0}) { // no circle, or hardly one
        const int32_t ramp = byteImage(40, 40, [](int32_t x, int32_t y) { return 4 * x + y; });
        I_SetROIType(0);
        const Shape10 expected = PlainShape(ramp, 110, box, margin).out;
        EXPECT_EQ(
            I_EdgeShape(ramp, 110, &box, margin, &edges, &minsep, &width, nullptr, nullptr, nullptr, nullptr),
            expected.result)
            << margin;
        EXPECT_EQ(edges, expected.edges) << margin;
        clearError();
        closeImages({ramp});
    }
    // a dark contact wholly inside the circle
    const int32_t contact =
        byteImage(60, 60, [](int32_t x, int32_t y) { return std::hypot(x - 30, y - 30) < 5 ? 20 : 200; });
    const VexaBox around = {26, 26, 34, 34};
    int32_t points = 0;
    EXPECT_GT(
        I_EdgeShape(contact, 100, &around, 12, &edges, &minsep, &width, nullptr, nullptr, nullptr, &points),
        0.0F);
    EXPECT_LT(points, 0);
    EXPECT_LT(width, -8.0F);
    // two boundaries side by side; further apart than twice the margin they count as one
    const int32_t line = byteImage(60, 60, [](int32_t x, int32_t) { return x >= 26 && x <= 34 ? 200 : 20; });
    I_EdgeShape(line, 100, &around, 12, &edges, &minsep, &width, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(edges, -2);
    I_EdgeShape(line, 100, &around, 3, &edges, &minsep, &width, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(edges, 1);
    clearError();
    closeImages({flat, contact, line});
}
