#include "point.h"

#include <charconv>
#include <cmath>

#include "failure.h"

namespace app
{

VexaPointF parsePoint(const std::string& text)
{
    VexaPointF point = {};
    const char* const end = text.data() + text.size();
    const auto x = std::from_chars(text.data(), end, point.x);
    const bool comma = x.ec == std::errc() && x.ptr != end && *x.ptr == ',';
    const auto y = std::from_chars(comma ? x.ptr + 1 : end, end, point.y);
    if (!comma || y.ec != std::errc() || y.ptr != end || !std::isfinite(point.x) || !std::isfinite(point.y))
        throw Failure("a point is written as X,Y, not as \"" + text + "\"");
    return point;
}

} // namespace app
