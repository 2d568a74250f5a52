#include "graphics/clip_line.h"

#include "vexalib/numeric.h"

namespace vexa
{
namespace
{

// The part of a line that is left, from t0 to t1 of its length.
struct Part {
    double t0 = 0.0;
    double t1 = 1.0;

    // One side of the box: p is how fast the line leaves it, q how far inside the line begins.
    bool cut(double p, double q)
    {
        if (p < 0.0) {
            const double t = q / p;
            if (t > t1)
                return false;
            t0 = t > t0 ? t : t0;
        } else if (p > 0.0) {
            const double t = q / p;
            if (t < t0)
                return false;
            t1 = t < t1 ? t : t1;
        } else {
            return !(q < 0.0);
        }
        return true;
    }
};

bool inBox(VexaPoint lo, VexaPoint hi, LineEnd p)
{
    return p.x >= lo.x && p.x <= hi.x && p.y >= lo.y && p.y <= hi.y;
}

// Not a number becomes the lower limit.
double limit(double v, double lo, double hi)
{
    return v >= lo ? (v > hi ? hi : v) : lo;
}

void limitToBox(VexaPoint lo, VexaPoint hi, LineEnd* p)
{
    p->x = limit(p->x, lo.x, hi.x);
    p->y = limit(p->y, lo.y, hi.y);
}

LineEnd asLineEnd(VexaPointF p)
{
    return {static_cast<double>(p.x), static_cast<double>(p.y)};
}

VexaPointF asPointF(LineEnd p)
{
    return {static_cast<float>(p.x), static_cast<float>(p.y)};
}

} // namespace

// After Liang and Barsky.
bool clipLine(VexaPoint lo, VexaPoint hi, LineEnd* p1, LineEnd* p2)
{
    if (inBox(lo, hi, *p1) && inBox(lo, hi, *p2))
        return true;
    const LineEnd from = *p1;
    const double dx = p2->x - from.x;
    const double dy = p2->y - from.y;
    Part part;
    const bool left = part.cut(-dx, from.x - lo.x) && part.cut(dx, hi.x - from.x) &&
                      part.cut(-dy, from.y - lo.y) && part.cut(dy, hi.y - from.y);
    if (left && part.t1 < 1.0)
        *p2 = {from.x + part.t1 * dx, from.y + part.t1 * dy};
    if (left && part.t0 > 0.0)
        *p1 = {from.x + part.t0 * dx, from.y + part.t0 * dy};
    limitToBox(lo, hi, p1);
    limitToBox(lo, hi, p2);
    return left;
}

} // namespace vexa

int32_t I_ClipLine(const VexaPoint* lo, const VexaPoint* hi, VexaPointF* p1, VexaPointF* p2)
{
    if (!lo || !hi || !p1 || !p2)
        return 0;
    vexa::LineEnd start = vexa::asLineEnd(*p1);
    vexa::LineEnd end = vexa::asLineEnd(*p2);
    const bool left = vexa::clipLine(*lo, *hi, &start, &end);
    *p1 = vexa::asPointF(start);
    *p2 = vexa::asPointF(end);
    return left;
}

int32_t I_ClipLineInt(const VexaPoint* lo, const VexaPoint* hi, VexaPoint* p1, VexaPoint* p2)
{
    if (!lo || !hi || !p1 || !p2)
        return 0;
    vexa::LineEnd start{static_cast<double>(p1->x), static_cast<double>(p1->y)};
    vexa::LineEnd end{static_cast<double>(p2->x), static_cast<double>(p2->y)};
    const bool left = vexa::clipLine(*lo, *hi, &start, &end);
    const VexaPointF a = vexa::asPointF(start);
    const VexaPointF b = vexa::asPointF(end);
    *p1 = {Rnd(a.x), Rnd(a.y)};
    *p2 = {Rnd(b.x), Rnd(b.y)};
    return left;
}
