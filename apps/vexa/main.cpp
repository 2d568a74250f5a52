// vexa: inspects pictures of plates against a reference, on the command line.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "commands.h"
#include "failure.h"
#include "filter.h"
#include "geometry.h"
#include "profile.h"
#include "settings.h"
#include "trace.h"
#include "vexalib/vexalib.h"

namespace
{

constexpr char kMethod[] =
    "Method: the pictures are aligned as a whole, then tile by tile where that fits clearly "
    "better. A pixel counts where one picture is brighter than every pixel of the "
    "other within the tolerance, or "
    "darker than every one, by the threshold or more; and only where such pixels fill "
    "a square of the smallest size. "
    "Around each spot of what is left the pictures are aligned anew; near spots become "
    "one defect, which is measured on the difference there, defect minus reference.\n"
    "Exit code: 0 no defect, 1 defects found, 2 bad usage or unreadable input.";

const char* const kPictures = "pictures are BMP, PNG, JPEG, TIFF or raw files";

// CLI::Range lets pass what is not a number.
CLI::Validator within(double low, double high)
{
    const CLI::Validator range = CLI::Range(low, high);
    const auto check = [range](std::string& text) {
        return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is not a number" : range(text);
    };
    return CLI::Validator(check, range.get_description());
}

// "3,-4" as a point, "1,2,3,4" as a box.
void setOffset(VexaPoint& point, const std::vector<int32_t>& numbers)
{
    point = {numbers[0], numbers[1]};
}

void setRegion(app::InspectSettings& settings, const std::vector<int32_t>& numbers)
{
    if (numbers[0] > numbers[2] || numbers[1] > numbers[3])
        throw CLI::ValidationError("--roi", "left and top must not pass right and bottom");
    settings.region = VexaBox{numbers[0], numbers[1], numbers[2], numbers[3]};
}

void addAlignOptions(CLI::App& command, app::AlignSettings& settings)
{
    command.add_option("--align", settings.mode, "how the shift between the pictures is found")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, app::AlignMode>{{"auto", app::AlignMode::automatic},
                                                                          {"smart", app::AlignMode::smart},
                                                                          {"search", app::AlignMode::search},
                                                                          {"tiles", app::AlignMode::tiles},
                                                                          {"none", app::AlignMode::none}}))
        ->type_name("auto|smart|search|tiles|none");
    command.add_option("--max-shift", settings.maxShift, "largest shift looked for, in pixels each way")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
}

// An option with the name that it had before, which help does not tell.
struct Names {
    const char* now;
    const char* before;
};

void addNumber(CLI::App& command, const Names& names, int32_t& number, const CLI::Range& range,
               const char* description)
{
    CLI::Option* option =
        command.add_option(names.now, number, description)->check(range)->capture_default_str();
    const auto set = [&number, names, option](const int32_t& value) {
        if (option->count() > 0)
            throw CLI::ValidationError(names.before, std::string("is another name of ") + names.now);
        number = value;
    };
    command.add_option_function<int32_t>(names.before, set)->check(range)->group("");
}

CLI::App* addInspect(CLI::App& program, app::InspectCommand& command, bool& quiet, bool& verbose)
{
    CLI::App* inspect =
        program.add_subcommand("inspect", "lists, measures and reports what differs from a reference");
    app::InspectSettings& settings = command.settings;
    inspect->footer(kMethod);
    inspect->add_option("REFERENCE", command.reference, "the picture of the good plate")->required();
    inspect->add_option("DEFECT", command.defect, "the picture to inspect, of the same size")->required();
    inspect->add_option("--threshold", settings.threshold, "smallest difference in grey levels that counts")
        ->check(CLI::Range(1, 127))
        ->capture_default_str();
    addNumber(*inspect, {"--edge-tolerance", "--tolerance"}, settings.edgeTolerance, {0, 50},
              "pixels by which an edge may be off");
    addNumber(*inspect, {"--min-size", "--min-width"}, settings.minSize, {1, 100},
              "side of the smallest square that a defect fills, in pixels");
    addNumber(*inspect, {"--merge", "--min-dist"}, settings.merge, {0, 10000},
              "spots up to twice so many pixels apart are one defect");
    inspect->add_option("--max", settings.most, "most entries of the list")
        ->check(CLI::Range(1, 20000))
        ->capture_default_str();
    inspect
        ->add_option("--sort", settings.sort,
                     "order of the list, largest first: area, intensity (mean contrast) or energy")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, app::SortBy>{{"area", app::SortBy::area},
                                                                       {"intensity", app::SortBy::intensity},
                                                                       {"energy", app::SortBy::energy}}))
        ->type_name("area|intensity|energy");
    inspect
        ->add_option_function<std::vector<int32_t>>(
            "--offset",
            [&settings](const std::vector<int32_t>& numbers) { setOffset(settings.align.start, numbers); },
            "the reference is read at (x + DX, y + DY), or nearby where the pictures are aligned")
        ->expected(2)
        ->delimiter(',')
        ->type_name("DX,DY");
    inspect
        ->add_option_function<std::vector<int32_t>>(
            "--roi", [&settings](const std::vector<int32_t>& numbers) { setRegion(settings, numbers); },
            "inspect this rectangle only, sides included")
        ->expected(4)
        ->delimiter(',')
        ->type_name("L,T,R,B");
    addAlignOptions(*inspect, settings.align);
    inspect->add_option("--tile", settings.align.tile, "side of the tiles of --align tiles, in pixels")
        ->check(CLI::Range(8, 100000))
        ->capture_default_str();
    inspect->add_option("--out", command.folder, "folder for the report, the pictures and the lists");
    inspect->add_option("--format", command.format, "form of the printed list")
        ->transform(CLI::CheckedTransformer(std::map<std::string, app::Format>{
            {"table", app::Format::table}, {"csv", app::Format::csv}, {"json", app::Format::json}}))
        ->type_name("table|csv|json");
    CLI::Option* q = inspect->add_flag("-q,--quiet", quiet, "no progress, no remarks");
    inspect->add_flag("-v,--verbose", verbose, "more remarks")->excludes(q);
    return inspect;
}

CLI::App* addAlign(CLI::App& program, app::AlignCommand& command)
{
    CLI::App* align = program.add_subcommand("align", "tells the shift between two pictures of one scene");
    align->add_option("A", command.a, "the reference")->required();
    align->add_option("B", command.b, "the other picture: at x it shows what A shows at x + shift")
        ->required();
    addAlignOptions(*align, command.settings);
    align->add_flag("--json", command.asJson, "the same as JSON");
    return align;
}

// How the defect picture is taken otherwise than the reference.
void addDefectCamera(CLI::App& synth, app::SynthSettings& settings)
{
    synth
        .add_option_function<std::vector<double>>(
            "--shift",
            [&settings](const std::vector<double>& shift) {
                settings.shift = plate::Place{shift[0], shift[1]};
            },
            "the defect picture shows at x what the reference has at x + shift, in pixels; "
            "drawn up to 2 if not given")
        ->expected(2)
        ->delimiter(',')
        ->check(within(-50.0, 50.0))
        ->type_name("X,Y");
    synth
        .add_option("--rotation", settings.rotation,
                    "the defect picture's field of view turns clockwise by so many degrees")
        ->check(within(-0.2, 0.2))
        ->capture_default_str();
    synth.add_option("--distortion", settings.distortion, "largest slow displacement in it, in pixels")
        ->check(within(0.0, 2.0))
        ->capture_default_str();
    synth
        .add_option("--gradient", settings.gradient,
                    "grey levels that it loses towards the bottom right corner; the reference loses 6")
        ->check(within(-100.0, 100.0))
        ->capture_default_str();
    synth.add_option("--gain", settings.gain, "its light, as a multiple of the reference's")
        ->check(within(0.1, 10.0))
        ->capture_default_str();
    synth
        .add_option("--lamp", settings.offset,
                    "grey levels that it is brighter by; drawn up to 2 if not given")
        ->check(within(-100.0, 100.0));
    synth
        .add_option("--focus", settings.focus,
                    "deviation of its blur in pixels; that of the reference is 1.4")
        ->check(within(0.3, 8.0))
        ->capture_default_str();
}

CLI::App* addSynth(CLI::App& program, app::SynthCommand& command)
{
    CLI::App* synth =
        program.add_subcommand("synth", "makes a plate with planted defects: two pictures and truth.json");
    app::SynthSettings& settings = command.settings;
    plate::PatternSettings& pattern = settings.plate.pattern;
    synth->add_option("--seed", settings.plate.seed, "number that the plate is made from")->required();
    synth->add_option("--out", command.folder, "folder for the files")->required();
    synth->add_option("--size", pattern.size, "pixels a side")
        ->check(CLI::Range(64, 4096))
        ->capture_default_str();
    synth->add_option("--defects", settings.plate.defects, "defects to plant")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    synth
        ->add_option_function<std::vector<double>>(
            "--defect-size",
            [&pattern](const std::vector<double>& range) {
                pattern.defectSize = {std::min(range[0], range[1]), std::max(range[0], range[1])};
            },
            "sizes of the defects in pixels; not given: what suits each kind")
        ->expected(2)
        ->delimiter(',')
        ->check(within(0.5, 30.0))
        ->type_name("LOW,HIGH");
    synth->add_option("--pattern", pattern.kind, "fields of a plate, an array of contacts, or lines")
        ->transform(CLI::CheckedTransformer(
            std::map<std::string, plate::PatternKind>{{"plate", plate::PatternKind::fields},
                                                      {"contacts", plate::PatternKind::contacts},
                                                      {"lines", plate::PatternKind::lines}}))
        ->type_name("plate|contacts|lines");
    synth->add_option("--pitch", pattern.pitch, "of contacts and lines, in pixels")
        ->check(within(4.0, 500.0))
        ->capture_default_str();
    synth->add_option("--duty", pattern.duty, "part of the pitch that a contact or a line is wide")
        ->check(within(0.1, 0.9))
        ->capture_default_str();
    synth->add_flag("--upright", pattern.upright, "lines run along y");
    synth
        ->add_option_function<std::vector<double>>(
            "--levels",
            [&settings](const std::vector<double>& levels) {
                settings.clear = levels[0];
                settings.opaque = levels[1];
            },
            "grey levels of clear and opaque places, 196,48 if not given")
        ->expected(2)
        ->delimiter(',')
        ->check(within(1.0, 255.0))
        ->type_name("CLEAR,OPAQUE");
    synth->add_option("--noise", settings.noise, "deviation of the cameras' noise, in grey levels")
        ->check(within(0.0, 100.0))
        ->capture_default_str();
    synth
        ->add_option("--shot-noise", settings.shotNoise,
                     "deviation, on clear places, of the noise that grows with the root of the light")
        ->check(within(0.0, 100.0))
        ->capture_default_str();
    addDefectCamera(*synth, settings);
    return synth;
}

CLI::App* addDiff(CLI::App& program, app::DiffCommand& command)
{
    CLI::App* diff = program.add_subcommand("diff", "writes the difference A minus B of two pictures");
    diff->add_option("A", command.a, "minuend")->required();
    diff->add_option("B", command.b, "subtrahend, of the same size")->required();
    diff->add_option("OUT", command.out, "picture to write: .png, .bmp, .tif or .tiff")->required();
    diff->add_option("--clip-mode", command.clipMode, "the library's clip mode, 3: around 128")
        ->check(CLI::Range(0, 7))
        ->capture_default_str();
    diff->add_option_function<std::vector<int32_t>>(
            "--offset",
            [&command](const std::vector<int32_t>& numbers) { setOffset(command.offset, numbers); },
            "B is read at (x + DX, y + DY)")
        ->expected(2)
        ->delimiter(',')
        ->type_name("DX,DY");
    return diff;
}

CLI::App* addFilter(CLI::App& program, app::FilterCommand& command)
{
    CLI::App* filter = program.add_subcommand("filter", "writes a picture that a filter has gone over");
    filter->add_option("NAME", command.filter, "a filter of the list below, with its arguments")
        ->required()
        ->type_name("NAME[:ARGS]");
    filter->add_option("IN", command.in, "picture to filter")->required();
    filter->add_option("OUT", command.out, "picture to write: .png, .bmp, .tif or .tiff")->required();
    filter->footer(app::filterList());
    return filter;
}

CLI::App* addConvert(CLI::App& program, app::ConvertCommand& command)
{
    CLI::App* convert = program.add_subcommand("convert", "writes a picture in another format");
    convert->add_option("IN", command.in, kPictures)->required();
    convert->add_option("OUT", command.out, "picture to write: .png, .bmp, .tif, .tiff or .raw")->required();
    return convert;
}

CLI::App* addSettings(CLI::App& program, app::SettingsCommand& command)
{
    CLI::App* settings =
        program.add_subcommand("settings", "prints or writes what a settings file holds in a section");
    settings->add_option("FILE", command.file, "text file of [section] and key=text lines")->required();
    settings->add_option("SECTION", command.section, "name of the section; case does not count")->required();
    settings
        ->add_option("SETTING", command.setting, "KEY prints its text, KEY=TEXT writes it; none prints all")
        ->type_name("KEY[=TEXT]");
    return settings;
}

CLI::App* addProfile(CLI::App& program, app::ProfileCommand& command)
{
    CLI::App* profile =
        program.add_subcommand("profile", "prints the grey values along a line, pixel by pixel");
    profile->add_option("PICTURE", command.picture, "the picture to read")->required();
    profile->add_option("START", command.start, "where the line begins")->required()->type_name("X,Y");
    profile->add_option("END", command.end, "where it ends")->required()->type_name("X,Y");
    profile
        ->add_option(
            "--width", command.width,
            "lines to average: the line twice, then its neighbours in turn on both sides, each twice")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    profile->add_option("--plot", command.plot, "picture of the curve to write: .png, .bmp, .tif or .tiff");
    return profile;
}

CLI::App* addTrace(CLI::App& program, app::TraceCommand& command)
{
    CLI::App* trace = program.add_subcommand("trace", "follows a contour, to fractions of a pixel");
    trace->add_option("PICTURE", command.picture, "the picture to read")->required();
    trace->add_option("--threshold", command.threshold, "grey level from which on a pixel lies inside")
        ->required()
        ->check(CLI::Range(1, 255));
    trace->add_option("--start", command.start, "trace the contour nearest to this pixel, 0,0 if not given")
        ->type_name("X,Y");
    trace->add_option("--out", command.out, "write the points to this file, and print length and area");
    return trace;
}

CLI::App* addScale(CLI::App& program, app::ScaleCommand& command)
{
    CLI::App* scale = program.add_subcommand(
        "scale", "scales a picture: smaller by means of pixels, larger by linear interpolation");
    scale->add_option("IN", command.in, kPictures)->required();
    scale->add_option("OUT", command.out, "picture to write: .png, .bmp, .tif or .tiff")->required();
    CLI::Option* by =
        scale->add_option("--by", command.factors, "pixels of the result per pixel of the picture")
            ->expected(1, 2)
            ->delimiter(',')
            ->check(CLI::Range(0.001, 1000.0))
            ->type_name("FX[,FY]");
    CLI::Option* to = scale->add_option("--to", command.size, "size of the result in pixels")
                          ->expected(2)
                          ->delimiter(',')
                          ->check(CLI::Range(2, 32767))
                          ->type_name("W,H")
                          ->excludes(by);
    scale->callback([by, to] {
        if (!*by && !*to)
            throw CLI::RequiredError("--by or --to");
    });
    scale->add_flag("--nearest", command.nearest, "take the nearest pixels");
    return scale;
}

CLI::App* addRotate(CLI::App& program, app::RotateCommand& command)
{
    CLI::App* rotate = program.add_subcommand("rotate", "turns a picture counter-clockwise about its middle");
    rotate->add_option("IN", command.in, kPictures)->required();
    rotate->add_option("OUT", command.out, "picture to write: .png, .bmp, .tif or .tiff")->required();
    rotate->add_option("--angle", command.degrees, "in degrees; quarter turns are exact")
        ->check(CLI::Range(-360.0, 360.0))
        ->required();
    rotate->add_flag("--nearest", command.nearest, "take the nearest pixels");
    rotate->add_flag("--keep-size", command.keepSize, "cut off corners instead of making the picture larger");
    return rotate;
}

// What the library would show in a box goes nowhere: the program says the sentence itself.
void swallow(const char*, int32_t) {}
int32_t swallowBox(const char*, const char*, int32_t, int32_t defaultAnswer)
{
    return defaultAnswer;
}

void quietenLibrary()
{
    static VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = swallowBox;
    vexaSetPlatform(&platform);
    I_SetErrorHandlerCallback(swallow);
}

int run(int argc, char** argv)
{
    CLI::App program(
        "Inspects pictures of patterned plates against a reference; " + std::string(kPictures) + ".", "vexa");
    program.set_version_flag("--version", "vexa " + std::string(vexaVersion()));
    program.require_subcommand(1);
    bool quiet = false;
    bool verbose = false;
    app::InspectCommand inspectCommand;
    app::AlignCommand alignCommand;
    app::SynthCommand synthCommand;
    app::DiffCommand diffCommand;
    app::SettingsCommand settingsCommand;
    app::FilterCommand filterCommand;
    app::ProfileCommand profileCommand;
    app::TraceCommand traceCommand;
    app::ScaleCommand scaleCommand;
    app::RotateCommand rotateCommand;
    app::ConvertCommand convertCommand;
    std::vector<std::string> names;
    const CLI::App* inspect = addInspect(program, inspectCommand, quiet, verbose);
    const CLI::App* align = addAlign(program, alignCommand);
    const CLI::App* synth = addSynth(program, synthCommand);
    CLI::App* info =
        program.add_subcommand("info", "tells what pictures hold, and all that their headers say");
    info->add_option("PICTURE", names, kPictures)->required();
    const CLI::App* diff = addDiff(program, diffCommand);
    const CLI::App* convert = addConvert(program, convertCommand);
    const CLI::App* settings = addSettings(program, settingsCommand);
    const CLI::App* filter = addFilter(program, filterCommand);
    const CLI::App* profile = addProfile(program, profileCommand);
    const CLI::App* trace = addTrace(program, traceCommand);
    const CLI::App* scale = addScale(program, scaleCommand);
    const CLI::App* rotate = addRotate(program, rotateCommand);

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return program.exit(error);
        std::fprintf(stderr, "vexa: %s\n", error.what());
        return app::kFailure;
    }
    app::setVerbosity(quiet     ? app::Verbosity::quiet
                      : verbose ? app::Verbosity::verbose
                                : app::Verbosity::normal);
    if (*inspect)
        return app::runInspect(inspectCommand);
    if (*align)
        return app::runAlign(alignCommand);
    if (*synth)
        return app::runSynth(synthCommand);
    if (*filter)
        return app::runFilter(filterCommand);
    if (*convert)
        return app::runConvert(convertCommand);
    if (*settings)
        return app::runSettings(settingsCommand);
    if (*profile)
        return app::runProfile(profileCommand);
    if (*trace)
        return app::runTrace(traceCommand);
    if (*scale)
        return app::runScale(scaleCommand);
    if (*rotate)
        return app::runRotate(rotateCommand);
    return *diff ? app::runDiff(diffCommand) : app::runInfo(names);
}

} // namespace

int main(int argc, char** argv)
{
    quietenLibrary();
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "vexa: not enough memory\n");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vexa: %s\n", error.what());
    }
    return app::kFailure;
}
