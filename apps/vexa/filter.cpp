#include "filter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "failure.h"
#include "output_files.h"
#include "picture_io.h"
#include "progress.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

// An argument of a filter. One without a default is as the one before it.
struct Argument {
    const char* name = nullptr;
    double usual = 0.0;
    double least = 0.0;
    double most = 0.0;
    bool whole = false;
};

constexpr double kAsBefore = -1e9;
constexpr std::size_t kMostArguments = 3;

using Numbers = std::vector<double>;

struct Filter {
    const char* name;
    const char* does;
    Argument arguments[kMostArguments];
    int32_t (*run)(int32_t src, int32_t dst, const Numbers& numbers);
};

int32_t whole(double number)
{
    return static_cast<int32_t>(number);
}
float real(double number)
{
    return static_cast<float>(number);
}

const Filter kFilters[] = {
    {"smooth",
     "mean of nine pixels",
     {},
     [](int32_t s, int32_t d, const Numbers&) { return I_Smooth(s, d); }},
    {"box",
     "mean in a window of any size, fractions too",
     {{"WIDTH", 3, 0.1, 1000}, {"HEIGHT", kAsBefore, 0.1, 1000}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_MxNSmooth(s, d, real(n[0]), real(n[1])); }},
    {"sharpen",
     "adds strength/128 of the difference to eight neighbours",
     {{"STRENGTH", 16, -2000, 2000, true}, {"REACH", 1, 1, 100, true}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_Sharpen(s, d, whole(n[0]), whole(n[1]), 0); }},
    {"unsharp",
     "takes out what is smoother than a window",
     {{"WIDTH", 15, 0.1, 1000}, {"HEIGHT", kAsBefore, 0.1, 1000}, {"GAIN", 1, 0, 100}},
     [](int32_t s, int32_t d, const Numbers& n) {
         return I_UnsharpMask(s, d, real(n[0]), real(n[1]), real(n[2]));
     }},
    {"median",
     "median of nine pixels",
     {},
     [](int32_t s, int32_t d, const Numbers&) { return I_Median(s, d); }},
    {"erode",
     "smallest of nine pixels, once per step",
     {{"STEPS", 1, -100, 100}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_Erode(s, d, real(n[0])); }},
    {"dilate",
     "largest of nine pixels, once per step",
     {{"STEPS", 1, -100, 100}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_Dilate(s, d, real(n[0])); }},
    {"edge",
     "largest difference to the pixels around",
     {{"WIDTH", 3, 2, 99, true}, {"HEIGHT", kAsBefore, 2, 99, true}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_Edge(s, d, whole(n[0]), whole(n[1])); }},
    {"sobel", "strength of edges", {}, [](int32_t s, int32_t d, const Numbers&) { return I_Sobel(s, d); }},
    {"contour",
     "contour lines every SPACING grey levels; a MARK of -1 inverts them",
     {{"SPACING", 32, 1, 255, true}, {"MARK", 255, -1, 255, true}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_Contour(s, d, whole(n[0]), whole(n[1])); }},
    {"gauss",
     "Gaussian blur",
     {{"BLUR", 2, 0, 100}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_GaussianSmooth(s, d, n[0]); }},
    {"circle",
     "blur by a disc",
     {{"DIAMETER", 5, 0, 200}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_CircleSmooth(s, d, n[0]); }},
    {"skeleton",
     "thins what is not black",
     {},
     [](int32_t s, int32_t d, const Numbers&) { return I_Skeleton(s, d); }},
    {"deflicker",
     "MODE 0 or 1 replaces the even or the odd lines, -1 averages",
     {{"MODE", -1, -1, 1, true}},
     [](int32_t s, int32_t d, const Numbers& n) { return I_Deflicker(s, d, whole(n[0])); }},
};

std::string usage(const Filter& filter)
{
    std::string text = filter.name;
    const char* separator = "[:";
    std::string end;
    for (const Argument& argument : filter.arguments) {
        if (!argument.name)
            break;
        text += separator + std::string(argument.name);
        separator = "[,";
        end += "]";
    }
    return text + end;
}

const Filter& findFilter(const std::string& name)
{
    for (const Filter& filter : kFilters)
        if (name == filter.name)
            return filter;
    throw Failure("there is no filter \"" + name + "\"; vexa filter --help lists them");
}

double toNumber(const std::string& text, const Argument& argument, const Filter& filter)
{
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number) ||
        (argument.whole && number != std::trunc(number)))
        throw Failure(usage(filter) + ": " + argument.name + " is a " + (argument.whole ? "whole " : "") +
                      "number, not \"" + text + "\"");
    if (number < argument.least || number > argument.most) {
        char range[64];
        std::snprintf(range, sizeof range, "%g to %g", argument.least, argument.most);
        throw Failure(usage(filter) + ": " + argument.name + " goes from " + range);
    }
    return number;
}

std::vector<std::string> split(const std::string& text)
{
    std::vector<std::string> parts(1);
    for (const char c : text)
        c == ',' ? parts.emplace_back() : parts.back() += c;
    return parts;
}

Numbers numbersOf(const Filter& filter, const std::vector<std::string>& given)
{
    Numbers numbers;
    for (const Argument& argument : filter.arguments) {
        if (!argument.name)
            break;
        const std::size_t i = numbers.size();
        if (i < given.size())
            numbers.push_back(toNumber(given[i], argument, filter));
        else
            numbers.push_back(argument.usual == kAsBefore ? numbers.back() : argument.usual);
    }
    if (given.size() > numbers.size())
        throw Failure("too many arguments: " + usage(filter));
    return numbers;
}

// One colour of a picture, as grey bytes.
Pixels plane(const Pixels& pixels, int32_t channel)
{
    Pixels one(pixels.cols, pixels.rows, 1);
    for (std::size_t i = 0; i < one.bytes.size(); ++i)
        one.bytes[i] = pixels.bytes[i * std::size_t(pixels.channels) + std::size_t(channel)];
    return one;
}

void setPlane(Pixels& pixels, int32_t channel, const Pixels& one)
{
    for (std::size_t i = 0; i < one.bytes.size(); ++i)
        pixels.bytes[i * std::size_t(pixels.channels) + std::size_t(channel)] = one.bytes[i];
}

// A picture of one column or one row has no neighbourhoods that the library would work on.
void checkSize(const Picture& picture)
{
    if (picture.image.cols() < 2 || picture.image.rows() < 2)
        throw Failure(picture.name + ": a filter needs a picture of 2 x 2 pixels or more");
}

Pixels filtered(const Pixels& pixels, const Filter& filter, const Numbers& numbers)
{
    Pixels result = pixels;
    for (int32_t channel = 0; channel < pixels.channels; ++channel) {
        const Image src(plane(pixels, channel));
        const Image dst(pixels.cols, pixels.rows, PIX_BYTE);
        I_SetError(0, "");
        require(filter.run(src.number(), dst.number(), numbers) != 0 && I_GetError(nullptr, 0) == 0,
                "cannot filter the picture");
        setPlane(result, channel, dst.read());
    }
    return result;
}

} // namespace

std::string filterList()
{
    std::string list = "Filters:\n";
    for (const Filter& filter : kFilters) {
        std::string line = "  " + usage(filter);
        line.resize(std::max<std::size_t>(line.size() + 2, 36), ' ');
        list += line + filter.does + "\n";
    }
    return list + "Colour pictures are filtered colour by colour.";
}

int runFilter(const FilterCommand& command)
{
    const std::size_t colon = command.filter.find(':');
    const Filter& filter = findFilter(command.filter.substr(0, colon));
    const Numbers numbers =
        numbersOf(filter, colon == std::string::npos ? std::vector<std::string>()
                                                     : split(command.filter.substr(colon + 1)));
    if (!isWritableName(command.out))
        throw Failure(command.out + ": a picture is written as .png, .bmp, .tif or .tiff");
    const Picture picture = readPicture(command.in);
    checkSize(picture);
    const Progress progress;
    const bool color = I_ImGetType(picture.image.number()) != PIX_BYTE;
    const Pixels result = filtered(picture.image.read(color ? 3 : 1), filter, numbers);
    const std::filesystem::path out = command.out;
    OutputFiles files(out.parent_path());
    files.add(out.filename().string(),
              [&](const std::string& path) { storePicture(result, path, out.filename().string()); });
    files.commit();
    return 0;
}

} // namespace app
