// Prints what `vexa inspect` finds and what it lists wrongly with its defaults: the tables of docs/detection.md.
//
//     detection_accuracy [--plates N] [--pairs FOLDER]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "apps/vexa/failure.h"
#include "apps/vexa/inspect.h"
#include "apps/vexa/picture_io.h"
#include "plate/plate.h"
#include "tests/apps/score.h"
#include "vexalib/vexalib.h"

using vexa::test::Box;
using vexa::test::Score;

namespace
{

constexpr int32_t kSide = 1024;
constexpr int32_t kDefects = 24;
constexpr double kSizes[] = {1.0, 1.5, 2.0, 2.5, 3.0, 4.0, 5.0, 6.0, 8.0, 12.0};
constexpr const char* kKinds[] = {"pin dot", "pin hole", "extension",    "intrusion",
                                  "bridge",  "break",    "width change", "contact size"};

// How far the two pictures of a plate differ: each is drawn up to so much, both ways where it has a sign.
struct Condition {
    const char* name;
    double shift;      // pixels
    double lamp;       // grey levels
    double rotation;   // degrees
    double distortion; // pixels
    double gain;       // from 1
    double gradient;   // grey levels, from the 6 of the reference
    double focus;      // pixels, from the 1.4 of the reference
    double shotNoise;  // grey levels
};
constexpr Condition kConditions[] = {{"registered", 0, 0, 0, 0, 0, 0, 0, 0},
                                     {"shifted", 5, 2, 0, 0, 0, 0, 0, 0},
                                     {"all differs", 5, 2, 0.1, 0.3, 0.05, 6, 0.2, 2},
                                     {"all differs, twice as much", 5, 4, 0.2, 0.6, 0.1, 12, 0.4, 4}};

// A number between two others, in steps that are the same on every machine.
double drawn(plate::Random& random, double low, double high)
{
    constexpr int32_t kSteps = 10240;
    return low + (high - low) * random.between(0, kSteps) / kSteps;
}

plate::Camera referenceCamera(plate::Random& random)
{
    plate::Camera camera;
    camera.gradient = 6.0;
    camera.noise = 2.4;
    camera.noiseSeed = random.next();
    return camera;
}

plate::Camera defectCamera(plate::Random& random, const Condition& condition)
{
    const auto about = [&random](double middle, double reach) {
        return drawn(random, middle - reach, middle + reach);
    };
    plate::Camera camera = referenceCamera(random);
    camera.shiftX = plate::snapped(about(0.0, condition.shift));
    camera.shiftY = plate::snapped(about(0.0, condition.shift));
    camera.offset = about(0.0, condition.lamp);
    camera.rotation = about(0.0, condition.rotation);
    camera.distortion = drawn(random, 0.0, condition.distortion);
    camera.gain = about(1.0, condition.gain);
    camera.gradient = about(camera.gradient, condition.gradient);
    camera.focus = about(camera.focus, condition.focus);
    camera.shotNoise = drawn(random, 0.0, condition.shotNoise);
    return camera;
}

app::Image imageOf(plate::Picture picture)
{
    app::Pixels pixels(picture.size, picture.size, 1);
    pixels.bytes = std::move(picture.bytes);
    return app::Image(std::move(pixels));
}

Box pixelBox(const plate::Box& box)
{
    return {std::floor(box.left), std::floor(box.top), std::ceil(box.right) - 1.0,
            std::ceil(box.bottom) - 1.0};
}

struct Outcome {
    std::vector<Box> boxes;
    app::Alignment alignment;
    double milliseconds = 0.0; // of processor time
};

Outcome inspected(const app::Image& reference, const app::Image& defect)
{
    const std::clock_t start = std::clock();
    const app::Inspection inspection = app::inspect(reference, defect, app::InspectSettings());
    Outcome outcome;
    outcome.milliseconds = 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    outcome.alignment = inspection.alignment;
    for (const app::Defect& entry : inspection.defects)
        outcome.boxes.push_back({static_cast<double>(entry.box.left), static_cast<double>(entry.box.top),
                                 static_cast<double>(entry.box.right),
                                 static_cast<double>(entry.box.bottom)});
    return outcome;
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Share {
    int32_t found = 0, all = 0;
};

// What came out of all plates under one condition.
struct Results {
    std::map<std::string, std::map<double, Share>> recall; // by kind and size
    Score score;
    Score clean; // the same plates without defects
    double squaredError = 0.0;
    double largestError = 0.0;
    int32_t warned = 0;
    std::vector<double> milliseconds;
};

void judgeAlignment(Results& results, const app::Alignment& found, const plate::Camera& truth)
{
    for (const double error : {found.x.shift - truth.shiftX, found.y.shift - truth.shiftY}) {
        results.squaredError += error * error;
        results.largestError = std::max(results.largestError, std::fabs(error));
    }
    results.warned += !found.warnings.empty();
}

void inspectPlate(Results& results, int32_t number, const Condition& condition)
{
    const double size = kSizes[static_cast<std::size_t>(number) % std::size(kSizes)];
    plate::PlateSettings settings;
    settings.seed = static_cast<uint64_t>(number) + 1000;
    settings.pattern.size = kSide;
    settings.pattern.defectSize = plate::PatternSettings::Range{size, size};
    settings.defects = kDefects;
    settings.frame = 20.0; // what the shift cannot take out of sight
    const plate::Plate made = plate::makePlate(settings);
    plate::Random random(~settings.seed);
    const plate::Camera good = referenceCamera(random);
    const plate::Camera other = defectCamera(random, condition);
    const app::Image reference = imageOf(plate::photograph(made.shapes, kSide, good));
    const Outcome outcome =
        inspected(reference, imageOf(plate::photograph(made.withDefects(), kSide, other)));
    std::vector<Box> truth;
    for (const plate::Planted& planted : made.planted) {
        truth.push_back(pixelBox(plate::shown(planted.box, kSide, other)));
        Share& share = results.recall[planted.kind][size];
        share.found += vexa::test::meetsAny(truth.back(), outcome.boxes);
        ++share.all;
    }
    results.score.add(outcome.boxes, truth);
    results.milliseconds.push_back(outcome.milliseconds);
    judgeAlignment(results, outcome.alignment, other);
    results.clean.add(inspected(reference, imageOf(plate::photograph(made.shapes, kSide, other))).boxes, {});
}

void printCurve(const Results& results)
{
    std::printf("| kind |");
    for (const double size : kSizes)
        std::printf(" %g |", size);
    std::printf("\n|---|");
    for (std::size_t i = 0; i < std::size(kSizes); ++i)
        std::printf("---|");
    std::printf("\n");
    for (const char* kind : kKinds) {
        std::printf("| %s |", kind);
        for (const double size : kSizes) {
            const auto row = results.recall.find(kind);
            const Share share =
                row != results.recall.end() && row->second.count(size) != 0 ? row->second.at(size) : Share{};
            if (share.all == 0)
                std::printf(" |");
            else
                std::printf(" %.0f |", 100.0 * share.found / share.all);
        }
        std::printf("\n");
    }
}

void printPlates(int32_t plates)
{
    std::vector<Results> all;
    for (const Condition& condition : kConditions) {
        Results& results = all.emplace_back();
        for (int32_t number = 0; number < plates; ++number)
            inspectPlate(results, number, condition);
    }
    std::printf("## Made plates\n\n"
                "| pictures | plates | defects | found | false alarms | on clean plates "
                "| RMS error of the shift | largest | warned | ms a pair |\n"
                "|---|---|---|---|---|---|---|---|---|---|\n");
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Results& r = all[i];
        std::printf("| %s | %d | %d | %.1f %% | %d | %d | %.3f | %.3f | %d | %.0f |\n", kConditions[i].name,
                    plates, r.score.truths, 100.0 * r.score.recall(), r.score.listed - r.score.right,
                    r.clean.listed, std::sqrt(r.squaredError / (2.0 * plates)), r.largestError, r.warned,
                    median(r.milliseconds));
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        std::printf("\n### %s\n\n", kConditions[i].name);
        printCurve(all[i]);
    }
}

// x1 y1 x2 y2 kind, a defect a line.
std::vector<Box> readTruth(const std::string& name)
{
    std::vector<Box> truth;
    std::ifstream file(name);
    int32_t kind = 0;
    for (Box box{}; file >> box.left >> box.top >> box.right >> box.bottom >> kind;)
        truth.push_back(box);
    return truth;
}

void printPairs(const std::string& folder)
{
    Score score;
    std::vector<double> milliseconds;
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string path = entry.path().string();
        const std::size_t stem = path.find("_temp.jpg");
        if (stem != std::string::npos)
            names.push_back(path.substr(0, stem));
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const app::Picture reference = app::readGreyPicture(name + "_temp.jpg");
        const app::Picture defect = app::readGreyPicture(name + "_test.jpg");
        const Outcome outcome = inspected(reference.image, defect.image);
        score.add(outcome.boxes, readTruth(name + ".txt"));
        double best = outcome.milliseconds;
        for (int32_t again = 0; again < 4; ++again)
            best = std::min(best, inspected(reference.image, defect.image).milliseconds);
        milliseconds.push_back(best);
    }
    std::printf(
        "\n## Real pairs\n\n"
        "| pairs | defects | found | listed | false alarms | recall | precision | F | ms a pair | slowest |\n"
        "|---|---|---|---|---|---|---|---|---|---|\n");
    std::printf("| %zu | %d | %d | %d | %d | %.3f | %.3f | %.3f | %.1f | %.1f |\n", names.size(),
                score.truths, score.found, score.listed, score.listed - score.right, score.recall(),
                score.precision(), score.f(), median(milliseconds),
                milliseconds.empty() ? 0.0 : *std::max_element(milliseconds.begin(), milliseconds.end()));
}

void swallow(const char*, int32_t) {}

} // namespace

int main(int argc, char** argv)
{
    int32_t plates = 100;
    std::string pairs = "../shared/data/pcb";
    for (int i = 1; i < argc; i += 2) {
        const std::string option = argv[i];
        if (i + 1 < argc && option == "--plates") {
            plates = std::atoi(argv[i + 1]);
        } else if (i + 1 < argc && option == "--pairs") {
            pairs = argv[i + 1];
        } else {
            std::fprintf(stderr, "detection_accuracy [--plates N] [--pairs FOLDER]\n");
            return 2;
        }
    }
    I_SetErrorHandlerCallback(swallow);
    app::setVerbosity(app::Verbosity::quiet);
    if (plates > 0)
        printPlates(plates);
    if (std::filesystem::exists(pairs))
        printPairs(pairs);
    return 0;
}
