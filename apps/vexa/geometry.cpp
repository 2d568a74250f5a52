#include "geometry.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "commands.h"
#include "failure.h"
#include "output_files.h"
#include "picture_io.h"
#include "progress.h"
#include "vexalib/rotate.h"
#include "vexalib/scale.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int32_t kMostSide = 32767;
constexpr double kRadiansPerDegree = 0.017453292519943295;

void checkWritable(const std::string& out)
{
    if (!isWritableName(out))
        throw Failure(out + ": a picture is written as .png, .bmp, .tif or .tiff");
}

void writePicture(const Image& image, const std::string& out)
{
    const Pixels pixels = image.read(I_ImGetType(image.number()) == PIX_BYTE ? 1 : 3);
    const std::filesystem::path path = out;
    OutputFiles files(path.parent_path());
    files.add(path.filename().string(), [&](const std::string& name) { storePicture(pixels, name, out); });
    files.commit();
}

// A new picture of the same kind, within what the library's positions reach.
Image emptyPicture(const Image& like, double cols, double rows)
{
    if (!(cols <= kMostSide && rows <= kMostSide))
        throw Failure("the result would have more than " + std::to_string(kMostSide) + " pixels a side");
    return Image(static_cast<int32_t>(cols), static_cast<int32_t>(rows), I_ImGetType(like.number()));
}

void checkNumber(double number)
{
    if (!std::isfinite(number))
        throw Failure("a factor or an angle must be a number");
}

// The library does not resample rows of less than two pixels.
double scaledSide(int32_t side, double factor)
{
    checkNumber(factor);
    return std::max(2.0, std::round(side * factor));
}

// The offset at which a shrunken column begins with the picture: the library centres the first mean on row 0.
double offsetOfMeans(double scale)
{
    return scale < 1.0 ? (1.0 / scale - 1.0) / 2.0 : 0.0;
}

// Where a side of whole pixels ends that was computed with rounding.
double coveringSide(double length)
{
    constexpr double kRounding = 1e-6;
    return std::max(1.0, std::ceil(length - kRounding));
}

} // namespace

int runScale(const ScaleCommand& command)
{
    checkWritable(command.out);
    const Picture picture = readPicture(command.in);
    const Image& image = picture.image;
    const bool byFactor = !command.factors.empty();
    const double cols =
        byFactor ? scaledSide(image.cols(), command.factors.front()) : std::max(2, command.size[0]);
    const double rows =
        byFactor ? scaledSide(image.rows(), command.factors.back()) : std::max(2, command.size[1]);
    const Image scaled = emptyPicture(image, cols, rows);
    const double sx = cols / image.cols();
    const double sy = rows / image.rows();
    // Halves have a form of their own, which begins with the picture.
    const bool halved = sx == 0.5 && sy == 0.5;
    const double yoff = command.nearest || halved ? 0.0 : offsetOfMeans(sy);
    {
        const Progress progress;
        require(I_ScaleImage(image.number(), scaled.number(), nullptr, nullptr, 0.0, yoff, sx, sy,
                             command.nearest ? 0 : 1) != 0,
                "cannot scale the picture");
    }
    writePicture(scaled, command.out);
    detail(command.out + ": " + std::to_string(scaled.cols()) + " x " + std::to_string(scaled.rows()));
    return 0;
}

int runRotate(const RotateCommand& command)
{
    checkWritable(command.out);
    const Picture picture = readPicture(command.in);
    const Image& image = picture.image;
    checkNumber(command.degrees);
    const double s = std::sin(command.degrees * kRadiansPerDegree);
    const double c = std::cos(command.degrees * kRadiansPerDegree);
    const double width = std::abs(c) * image.cols() + std::abs(s) * image.rows();
    const double height = std::abs(s) * image.cols() + std::abs(c) * image.rows();
    const Image turned = command.keepSize ? emptyPicture(image, image.cols(), image.rows())
                                          : emptyPicture(image, coveringSide(width), coveringSide(height));
    // The middle of the result is the middle of the picture.
    const double x = (turned.cols() - 1) / 2.0;
    const double y = (turned.rows() - 1) / 2.0;
    const double m[] = {c, -s, (image.cols() - 1) / 2.0 - (c * x - s * y),
                        s, c,  (image.rows() - 1) / 2.0 - (s * x + c * y)};
    float map[6];
    std::transform(std::begin(m), std::end(m), map, [](double value) { return static_cast<float>(value); });
    I_SetRotateSmooth(command.nearest ? 0 : 1);
    {
        const Progress progress;
        require(I_Rotate(0, 0, map, image.number(), turned.number()) != 0, "cannot turn the picture");
    }
    writePicture(turned, command.out);
    detail(command.out + ": " + std::to_string(turned.cols()) + " x " + std::to_string(turned.rows()));
    return 0;
}

} // namespace app
