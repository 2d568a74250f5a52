#include "plate/pattern.h"

#include <algorithm>
#include <utility>

namespace plate
{
namespace
{

// A field of the plate whose lines run along u and follow each other along v; turned, u is y and v is x.
class Field
{
public:
    Field(Pattern& pattern, Random& random, const PatternSettings& settings, int32_t x, int32_t y,
          bool turned)
        : pattern_(pattern), random_(random), settings_(settings), x_(x), y_(y), turned_(turned)
    {
    }

    Random& random() { return random_; }
    int32_t pixels(int32_t low, int32_t high) { return units(random_.between(low, high)); }
    // An even size of a defect, from the range that is asked for, or else from the one that suits its kind.
    int32_t defectSize(int32_t low, int32_t high)
    {
        if (!settings_.defectSize)
            return pixels(low, high);
        const auto half = [](double size) { return static_cast<int32_t>(size * kUnit / 2.0 + 0.5); };
        return 2 * random_.between(half(settings_.defectSize->low), half(settings_.defectSize->high));
    }

    Shape shape(int32_t u0, int32_t v0, int32_t u1, int32_t v1, bool opaque, bool round = false) const
    {
        if (turned_)
            return {x_ + v0, y_ + u0, x_ + v1, y_ + u1, opaque, round};
        return {x_ + u0, y_ + v0, x_ + u1, y_ + v1, opaque, round};
    }
    void paint(int32_t u0, int32_t v0, int32_t u1, int32_t v1, bool opaque)
    {
        pattern_.shapes.push_back(shape(u0, v0, u1, v1, opaque));
    }
    void site(const char* kind, std::vector<Shape> shapes, int32_t size)
    {
        pattern_.sites.push_back({kind, std::move(shapes), static_cast<double>(size) / kUnit});
    }
    void spot(const char* kind, int32_t u, int32_t v, bool opaque)
    {
        const int32_t size = defectSize(4, 9);
        const int32_t left = u - size / 2;
        const int32_t top = v - size / 2;
        site(kind, {shape(left, top, left + size, top + size, opaque, true)}, size);
    }

private:
    Pattern& pattern_;
    Random& random_;
    const PatternSettings& settings_;
    int32_t x_, y_;
    bool turned_;
};

// One line of a field, and the clear space behind it.
struct Line {
    int32_t v, width, space;
    int32_t from, to;  // the stretch on which defects may lie
    bool hasNeighbour; // another line behind the space
};

// A bite into the line, or a lobe on it, on one of its two edges.
void edgeSite(Field& field, const Line& line, int32_t u, bool lobe)
{
    const int32_t depth = field.defectSize(4, 8);
    const int32_t half = depth / 2 + field.pixels(1, 3);
    const bool farEdge = field.random().between(0, 1) == 1;
    const int32_t edge = farEdge ? line.v + line.width : line.v;
    const int32_t other = farEdge == lobe ? edge + depth : edge - depth;
    field.site(lobe ? "extension" : "intrusion",
               {field.shape(u - half, std::min(edge, other), u + half, std::max(edge, other), lobe)}, depth);
}

// The line is wider or narrower over a stretch, by the same at both edges.
void widthSite(Field& field, const Line& line, int32_t u)
{
    const int32_t change = field.defectSize(8, 12) / 2;
    const int32_t half = field.pixels(20, 30);
    const bool wider = field.random().between(0, 1) == 1;
    const int32_t out = wider ? change : 0;
    const int32_t in = wider ? 0 : change;
    field.site("width change",
               {field.shape(u - half, line.v - out, u + half, line.v + in, wider),
                field.shape(u - half, line.v + line.width - in, u + half, line.v + line.width + out, wider)},
               wider ? 2 * change : -2 * change);
}

// Two places on a line for each kind that a line can have.
void lineSites(Field& field, const Line& line)
{
    const int32_t margin = units(36);
    if (line.to - line.from < 3 * margin)
        return;
    for (int32_t round = 0; round < 2; ++round) {
        const auto somewhere = [&] { return field.random().between(line.from + margin, line.to - margin); };
        field.spot("pin hole", somewhere(), line.v + line.width / 2, false);
        edgeSite(field, line, somewhere(), true);
        edgeSite(field, line, somewhere(), false);
        widthSite(field, line, somewhere());
        const int32_t half = field.defectSize(8, 14) / 2;
        const int32_t gap = somewhere();
        field.site("break", {field.shape(gap - half, line.v, gap + half, line.v + line.width, false)},
                   2 * half);
        if (!line.hasNeighbour)
            continue;
        field.spot("pin dot", somewhere(), line.v + line.width + line.space / 2, true);
        const int32_t bridge = somewhere();
        field.site("bridge",
                   {field.shape(bridge - half, line.v + line.width, bridge + half,
                                line.v + line.width + line.space, true)},
                   2 * half);
    }
}

void makeLines(Field& field, int32_t side, int32_t width, int32_t space)
{
    for (int32_t v = 0; v + width <= side; v += width + space) {
        field.paint(0, v, side, v + width, true);
        lineSites(field, {v, width, space, 0, side, v + 2 * width + space <= side});
    }
}

void makeLineField(Field& field, int32_t side)
{
    const int32_t width = field.pixels(16, 24);
    makeLines(field, side, width, field.pixels(20, 28));
}

void contactSites(Field& field, int32_t u, int32_t v, int32_t size, int32_t pitch)
{
    const int32_t change = field.defectSize(8, 12) / 2;
    if (field.random().between(0, 1) == 1)
        field.site("contact size",
                   {field.shape(u - change, v - change, u + size + change, v + size + change, false)},
                   2 * change);
    else
        field.site("contact size",
                   {field.shape(u, v, u + size, v + size, true),
                    field.shape(u + change, v + change, u + size - change, v + size - change, false)},
                   -2 * change);
    field.spot("pin hole", u + (size + pitch) / 2, v + (size + pitch) / 2, false);
}

void makeContacts(Field& field, int32_t side, int32_t size, int32_t pitch)
{
    field.paint(0, 0, side, side, true);
    for (int32_t v = pitch - size; v + pitch <= side; v += pitch)
        for (int32_t u = pitch - size; u + pitch <= side; u += pitch) {
            field.paint(u, v, u + size, v + size, false);
            contactSites(field, u, v, size, pitch);
        }
}

void makeContactField(Field& field, int32_t side)
{
    const int32_t size = field.pixels(22, 28);
    makeContacts(field, side, size, size + field.pixels(24, 30));
}

// Angles that lie in each other, the corner of each at the top left.
void makeElbows(Field& field, int32_t side)
{
    const int32_t width = field.pixels(16, 22);
    const int32_t space = field.pixels(20, 26);
    const int32_t shortest = units(70);
    for (int32_t corner = 0; side - corner >= shortest; corner += width + space) {
        field.paint(corner, corner, side, corner + width, true);
        field.paint(corner, corner, corner + width, side, true);
        const bool inner = side - (corner + width + space) >= shortest;
        lineSites(field, {corner, width, space, corner + width + space, side, inner});
    }
}

// Lines that end in front of each other.
void makeLineEnds(Field& field, int32_t side)
{
    const int32_t width = field.pixels(18, 24);
    const int32_t space = field.pixels(20, 26);
    const int32_t gap = field.pixels(20, 26);
    const int32_t end = (side - gap) / 2;
    for (int32_t v = 0; v + width <= side; v += width + space) {
        field.paint(0, v, end, v + width, true);
        field.paint(end + gap, v, side, v + width, true);
        const bool hasNeighbour = v + 2 * width + space <= side;
        lineSites(field, {v, width, space, 0, end - units(12), hasNeighbour});
        lineSites(field, {v, width, space, end + gap + units(12), side, hasNeighbour});
        const int32_t half = field.defectSize(8, 12) / 2;
        const int32_t middle = v + width / 2;
        field.site("bridge", {field.shape(end, middle - half, end + gap, middle + half, true)}, 2 * half);
        const int32_t lobe = field.defectSize(5, 8);
        field.site("extension", {field.shape(end, v, end + lobe, v + width, true)}, lobe);
        field.site("intrusion", {field.shape(end - lobe, v, end, v + width, false)}, lobe);
    }
}

using Maker = void (*)(Field&, int32_t);
constexpr Maker kMakers[] = {makeLineField, makeContactField, makeElbows, makeLineEnds};

// One array over the whole plate, its phase drawn.
void makeArray(Pattern& pattern, Random& random, const PatternSettings& settings)
{
    const auto pitch = static_cast<int32_t>(settings.pitch * kUnit + 0.5);
    const auto wide = static_cast<int32_t>(settings.pitch * settings.duty * kUnit + 0.5);
    const int32_t x = -units(kBeyond) - 2 * pitch + random.between(0, pitch - 1);
    const int32_t y = -units(kBeyond) - 2 * pitch + random.between(0, pitch - 1);
    const int32_t side = units(settings.size + 2 * kBeyond) + 5 * pitch;
    Field field(pattern, random, settings, x, y, settings.upright);
    if (settings.kind == PatternKind::lines)
        makeLines(field, side, wide, pitch - wide);
    else
        makeContacts(field, side, wide, pitch);
}

// Fields side by side, over the picture and the ground beyond it.
void makeFields(Pattern& pattern, Random& random, const PatternSettings& settings)
{
    constexpr int32_t kField = 256;
    constexpr int32_t kMargin = 12;
    const int32_t fields = std::max(1, settings.size / kField);
    const int32_t pitch = std::max(units(settings.size) / fields, units(kField));
    const int32_t side = pitch - units(2 * kMargin);
    // Where fields begin; the meeting of four of them lies in the middle of a small picture.
    const int32_t origin = settings.size < kField ? units(settings.size) / 2 : 0;
    const int32_t first = random.between(0, 3);
    for (int32_t row = -1; row <= fields; ++row)
        for (int32_t col = -1; col <= fields; ++col) {
            const int32_t x = origin + col * pitch + units(kMargin) + random.between(0, kUnit - 1);
            const int32_t y = origin + row * pitch + units(kMargin) + random.between(0, kUnit - 1);
            Field field(pattern, random, settings, x, y, random.between(0, 1) == 1);
            kMakers[(first + 2 * (row + 1) + (col + 1)) % 4](field, side);
        }
}

} // namespace

Pattern makePattern(Random& random, const PatternSettings& settings)
{
    Pattern pattern;
    if (settings.kind == PatternKind::fields)
        makeFields(pattern, random, settings);
    else
        makeArray(pattern, random, settings);
    constexpr int32_t low = -units(kBeyond);
    const int32_t high = units(settings.size + kBeyond);
    std::erase_if(pattern.shapes, [high](const Shape& shape) {
        return shape.right <= low || shape.bottom <= low || shape.left >= high || shape.top >= high;
    });
    return pattern;
}

} // namespace plate
