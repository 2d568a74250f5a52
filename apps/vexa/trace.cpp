#include "trace.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <vector>

#include "failure.h"
#include "list_output.h"
#include "output_files.h"
#include "picture_io.h"
#include "point.h"
#include "vexalib/status.h"
#include "vexalib/trace.h"

namespace app
{
namespace
{

using Contour = std::vector<VexaPointF>;

VexaPoint startPoint(const TraceCommand& command, const Image& image)
{
    if (command.start.empty())
        return {0, 0};
    const VexaPointF p = parsePoint(command.start);
    if (!(p.x >= 0.0F && p.y >= 0.0F && p.x <= static_cast<float>(image.cols() - 1) &&
          p.y <= static_cast<float>(image.rows() - 1)))
        throw Failure("the start lies outside the picture");
    return {static_cast<int32_t>(std::lround(p.x)), static_cast<int32_t>(std::lround(p.y))};
}

Contour traced(const TraceCommand& command, const Image& image)
{
    VexaPoint start = startPoint(command, image);
    int32_t count = 0;
    const std::unique_ptr<VexaPointF, void (*)(VexaPointF*)> points(
        I_TraceEdge(image.number(), static_cast<float>(command.threshold), &start, nullptr, &count, 1),
        [](VexaPointF* block) { vexaFree(block); });
    if (!points) {
        if (I_GetError(nullptr, 0) > 1) // 1 says that the start was no edge
            failWithLibrarySentence("cannot trace the picture");
        throw Failure("no edge at " + std::to_string(command.threshold));
    }
    return {points.get(), points.get() + count};
}

double distance(VexaPointF a, VexaPointF b)
{
    return std::hypot(static_cast<double>(a.x) - static_cast<double>(b.x),
                      static_cast<double>(a.y) - static_cast<double>(b.y));
}

bool isClosed(const Contour& contour)
{
    constexpr double kNear = 2.0; // points of neighbouring pixels
    return contour.size() > 4 && distance(contour.front(), contour.back()) < kNear;
}

std::string listOf(const Contour& contour)
{
    std::string text = "x,y\n";
    for (const VexaPointF p : contour)
        text += fixed(static_cast<double>(p.x), 3) + "," + fixed(static_cast<double>(p.y), 3) + "\n";
    return text;
}

// "214 points, closed, length 210.3, area 3480.1"
std::string summaryOf(const Contour& contour)
{
    const bool closed = isClosed(contour);
    double length = closed ? distance(contour.back(), contour.front()) : 0.0;
    double twiceArea = 0.0;
    for (std::size_t i = 0; i < contour.size(); ++i) {
        const VexaPointF a = contour[i];
        const VexaPointF b = contour[(i + 1) % contour.size()];
        length += i + 1 < contour.size() ? distance(a, b) : 0.0;
        twiceArea += static_cast<double>(a.x) * static_cast<double>(b.y) -
                     static_cast<double>(b.x) * static_cast<double>(a.y);
    }
    return std::to_string(contour.size()) + (contour.size() == 1 ? " point, " : " points, ") +
           (closed ? "closed" : "open") + ", length " + fixed(length, 1) +
           (closed ? ", area " + fixed(std::fabs(twiceArea) / 2.0, 1) : "");
}

} // namespace

int runTrace(const TraceCommand& command)
{
    const Picture picture = readGreyPicture(command.picture);
    const Contour contour = traced(command, picture.image);
    if (command.out.empty()) {
        printText(listOf(contour));
        detail(summaryOf(contour));
        return 0;
    }
    const std::filesystem::path out = command.out;
    OutputFiles files(out.parent_path());
    files.add(out.filename().string(), listOf(contour));
    files.commit();
    printText(summaryOf(contour) + "\n");
    return 0;
}

} // namespace app
