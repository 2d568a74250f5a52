#include "profile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <vector>

#include "failure.h"
#include "list_output.h"
#include "output_files.h"
#include "picture_io.h"
#include "plot.h"
#include "point.h"
#include "vexalib/profile.h"

namespace app
{
namespace
{

constexpr float kStep = 1.0F;

struct Line {
    VexaPointF start;
    VexaPointF end;

    double length() const { return std::hypot(end.x - start.x, end.y - start.y); }
    // The point at a part of the line from 0 to 1, and so far to its side in pixels.
    CurvePoint at(double part, double aside) const
    {
        const double dx = static_cast<double>(end.x - start.x), dy = static_cast<double>(end.y - start.y);
        // The library takes the length without its fraction.
        const double perPixel = length() >= 1.0 ? aside / std::floor(length()) : 0.0;
        return {static_cast<double>(start.x) + dx * part + dy * perPixel,
                static_cast<double>(start.y) + dy * part - dx * perPixel};
    }
};

// All lines of a width lie in the picture: what lies outside would count as black.
void checkInside(const Line& line, int32_t width, const Image& image)
{
    const double aside = (width - 1) / 2; // NOLINT: lines come in pairs
    for (const double part : {0.0, 1.0})
        for (const double side : {-aside, aside}) {
            const CurvePoint p = line.at(part, side);
            if (p.x < 0.0 || p.y < 0.0 || p.x > image.cols() - 1 || p.y > image.rows() - 1)
                throw Failure("the line leaves the picture, which is " + std::to_string(image.cols()) +
                              " x " + std::to_string(image.rows()));
        }
}

std::vector<float> readValues(const Line& line, int32_t width, const Image& image)
{
    const VexaPointF a = line.start, b = line.end;
    const auto read = [&](float* values, int32_t most) {
        return I_GetProfileTypeEx(a.x, a.y, b.x, b.y, kStep, width, values, most, image.number(), PIX_FLOAT);
    };
    const int32_t samples = read(nullptr, 0);
    std::vector<float> values(static_cast<std::size_t>(std::max(samples, 0)));
    const int32_t n = samples < 1 ? 0 : read(values.data(), samples);
    require(n > 0, "cannot read the profile");
    values.resize(static_cast<std::size_t>(n));
    return values;
}

} // namespace

int runProfile(const ProfileCommand& command)
{
    if (!command.plot.empty() && !isWritableName(command.plot))
        throw Failure(command.plot + ": a picture is written as .png, .bmp, .tif or .tiff");
    const Line line{parsePoint(command.start), parsePoint(command.end)};
    const Picture picture = readGreyPicture(command.picture);
    checkInside(line, command.width, picture.image);
    if (command.width > 1 && line.length() < 1.0)
        throw Failure("a line of less than a pixel has no sides");
    const std::vector<float> values = readValues(line, command.width, picture.image);
    const double last = values.size() > 1 ? static_cast<double>(values.size() - 1) : 1.0;
    std::vector<CurvePoint> curve;
    std::string text = "position,x,y,value\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double part = static_cast<double>(i) / last;
        const CurvePoint place = line.at(part, 0.0);
        curve.push_back({part * line.length(), static_cast<double>(values[i])});
        text += fixed(curve.back().x, 3) + "," + fixed(place.x, 3) + "," + fixed(place.y, 3) + "," +
                fixed(curve.back().y, 2) + "\n";
    }
    if (!command.plot.empty()) {
        const std::filesystem::path plot = command.plot;
        OutputFiles files(plot.parent_path());
        const std::string name = plot.filename().string();
        files.add(name, [&](const std::string& path) { storePicture(plotCurve(curve), path, name); });
        files.commit();
    }
    printText(text);
    return 0;
}

} // namespace app
