// How near the ways to align two pictures come to a shift that is known: the library's, the program's and a peer's.
// Prints the tables of docs/accuracy.md.
//
//     alignment_accuracy [PAIRS [PATTERN or bias]]
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "apps/vexa/align.h"
#include "bench/align/alignment_peers.h"
#include "plate/plate.h"
#include "vexalib/align1d.h"
#include "vexalib/search.h"
#include "vexalib/smart_align.h"
#include "vexalib/tile_align.h"
#include "vexalib/vexalib.h"

namespace
{

constexpr double kMostShift = 12.0;
constexpr int32_t kReach = 13; // of all searches
constexpr double kGross = 0.5; // pixels

struct Subject {
    const char* name;
    plate::PatternKind kind;
    int32_t leastPitch, mostPitch; // pixels
};

constexpr std::array kSubjects = {
    Subject{"plate", plate::PatternKind::fields, 48, 48},
    Subject{"contacts, pitch 30 to 60", plate::PatternKind::contacts, 30, 60},
    Subject{"contacts, pitch 8 to 24", plate::PatternKind::contacts, 8, 24},
    Subject{"lines, pitch 30 to 60", plate::PatternKind::lines, 30, 60},
    Subject{"lines, pitch 8 to 24", plate::PatternKind::lines, 8, 24},
};

struct Shift {
    double x, y;
};

struct Pair {
    app::Image reference, defect;
    cv::Mat peerReference, peerDefect;
    Shift shift = {};
    bool tellsX = true, tellsY = true; // lines tell one axis only
};

app::Image imageOf(const plate::Picture& picture)
{
    app::Pixels pixels(picture.size, picture.size, 1);
    pixels.bytes = picture.bytes;
    return app::Image(std::move(pixels));
}

cv::Mat matrixOf(const plate::Picture& picture)
{
    cv::Mat matrix(picture.size, picture.size, CV_8UC1);
    std::memcpy(matrix.data, picture.bytes.data(), picture.bytes.size());
    return matrix;
}

// Without a given shift, one from -kMostShift to kMostShift on each axis.
Pair makePair(const Subject& subject, int32_t size, double noise, uint64_t number,
              std::optional<Shift> given = {})
{
    plate::Random random(1000 * number + static_cast<uint64_t>(size) + static_cast<uint64_t>(noise));
    const auto uniform = [&](double low, double high) {
        constexpr int32_t kSteps = 1 << 20;
        return low + (high - low) * random.between(0, kSteps) / kSteps;
    };
    plate::PlateSettings settings;
    settings.seed = random.next();
    settings.defects = 0;
    settings.pattern.kind = subject.kind;
    settings.pattern.size = size;
    settings.pattern.pitch = uniform(subject.leastPitch, subject.mostPitch);
    settings.pattern.upright = number % 2 == 0;
    const plate::Plate made = plate::makePlate(settings);
    plate::Camera camera;
    camera.clear = 222.0;
    camera.opaque = 32.0; // a contrast of 190
    camera.noise = noise;
    camera.noiseSeed = random.next();
    const plate::Picture reference = plate::photograph(made.shapes, size, camera);
    const Shift shift =
        given ? *given : Shift{uniform(-kMostShift, kMostShift), uniform(-kMostShift, kMostShift)};
    camera.shiftX = shift.x;
    camera.shiftY = shift.y;
    camera.noiseSeed = random.next();
    const plate::Picture defect = plate::photograph(made.shapes, size, camera);
    const bool isLines = subject.kind == plate::PatternKind::lines;
    return {imageOf(reference),
            imageOf(defect),
            matrixOf(reference),
            matrixOf(defect),
            {plate::snapped(camera.shiftX), plate::snapped(camera.shiftY)},
            !isLines || settings.pattern.upright,
            !isLines || !settings.pattern.upright};
}

struct Estimate {
    double x, y;
    bool isWarnedOf = false;
};

Estimate smart(const Pair& pair)
{
    float dx = 0.0F, dy = 0.0F, qualX, qualY;
    I_SmartAlign(pair.defect.number(), pair.reference.number(), nullptr, nullptr, kReach, &dx, &dy, &qualX,
                 &qualY);
    return {double{dx}, double{dy}};
}

Estimate windowSearch(const Pair& pair)
{
    VexaBox middle = {kReach, kReach, pair.defect.cols() - 1 - kReach, pair.defect.rows() - 1 - kReach};
    VexaBox whole = {};
    float x = 0.0F, y = 0.0F, quality;
    I_WindowSearch(&middle, pair.defect.number(), &whole, pair.reference.number(), 2, &x, &y, &quality, 1);
    return {double{x}, double{y}};
}

Estimate profiles(const Pair& pair)
{
    float dx = 0.0F, dy = 0.0F, qualX, qualY;
    I_ImageAlign1D(pair.defect.number(), pair.reference.number(), 0, 0, 0, 0, kReach, kReach, &dx, &dy,
                   &qualX, &qualY);
    return {double{dx}, double{dy}};
}

// One tile over the whole picture, from a start.
Estimate oneTile(const Pair& pair, VexaPointF shift)
{
    I_AlignSubtract1(pair.reference.number(), pair.defect.number(), 0, &shift, 0, 0);
    return {double{shift.x}, double{shift.y}};
}

// From the first alignment of its own.
Estimate automaticTile(const Pair& pair)
{
    VexaPointF shift = {};
    I_AlignSubtract1(pair.reference.number(), pair.defect.number(), 0, &shift, -1, 0);
    return oneTile(pair, shift);
}

Estimate tileFromWholePixel(const Pair& pair)
{
    const Estimate start = profiles(pair);
    return oneTile(pair, {static_cast<float>(std::round(start.x)), static_cast<float>(std::round(start.y))});
}

Estimate program(const Pair& pair)
{
    app::AlignSettings settings;
    settings.maxShift = kReach;
    const app::Alignment found = app::findShift(pair.reference, pair.defect, settings);
    bool isWarnedOf = false;
    for (const std::string& warning : found.warnings)
        isWarnedOf = isWarnedOf || warning.rfind("there is nothing to align on", 0) != 0;
    return {found.x.shift, found.y.shift, isWarnedOf};
}

Estimate of(cv::Point2d shift)
{
    return {shift.x, shift.y};
}
Estimate matched(const Pair& pair)
{
    return of(vexa::bench::matchedShift(pair.peerReference, pair.peerDefect, kReach));
}
Estimate ecc(const Pair& pair)
{
    const cv::Point2d start = vexa::bench::matchedShift(pair.peerReference, pair.peerDefect, kReach);
    return of(vexa::bench::eccShift(pair.peerReference, pair.peerDefect, start));
}
Estimate phase(const Pair& pair)
{
    return of(vexa::bench::phaseShift(pair.peerReference, pair.peerDefect));
}

struct Method {
    const char* name;
    Estimate (*run)(const Pair&);
    bool warns = false;
};

constexpr std::array kMethods = {
    Method{"vexa align", program, true},
    Method{"I_SmartAlign", smart},
    Method{"I_WindowSearch", windowSearch},
    Method{"I_ImageAlign1D", profiles},
    Method{"I_AlignSubtract1, automatic", automaticTile},
    Method{"I_AlignSubtract1, from a whole pixel", tileFromWholePixel},
    Method{"opencv matchTemplate, parabola", matched},
    Method{"opencv findTransformECC", ecc},
    Method{"opencv phaseCorrelate", phase},
};

struct Axis {
    double squares = 0.0, sum = 0.0;
    int32_t count = 0;

    void add(double error)
    {
        squares += error * error;
        sum += error;
        ++count;
    }
    std::string text() const
    {
        if (count == 0)
            return "-";
        std::array<char, 40> text;
        std::snprintf(text.data(), text.size(), "%.4f", std::sqrt(squares / count));
        return text.data();
    }
};

struct Score {
    Axis x, y;
    int32_t pairs = 0, gross = 0, unwarned = 0, needless = 0;

    void add(const Pair& pair, const Estimate& estimate)
    {
        const double errorX = pair.tellsX ? estimate.x - pair.shift.x : 0.0;
        const double errorY = pair.tellsY ? estimate.y - pair.shift.y : 0.0;
        const bool isGross = !(std::fabs(errorX) <= kGross && std::fabs(errorY) <= kGross);
        ++pairs;
        gross += isGross;
        unwarned += isGross && !estimate.isWarnedOf;
        needless += !isGross && estimate.isWarnedOf;
        if (isGross)
            return;
        if (pair.tellsX)
            x.add(errorX);
        if (pair.tellsY)
            y.add(errorY);
    }
};

void printRow(const Method& method, int32_t size, double noise, const Score& score)
{
    std::printf("| %d | %.0f | %s | %s | %s | %.1f |", size, noise, method.name, score.x.text().c_str(),
                score.y.text().c_str(), 100.0 * score.gross / score.pairs);
    if (method.warns)
        std::printf(" %d | %d |\n", score.unwarned, score.needless);
    else
        std::printf(" | |\n");
    std::fflush(stdout);
}

void measure(const Subject& subject, int32_t pairs)
{
    std::printf("### %s\n\n", subject.name);
    std::printf(
        "| size | noise | method | RMS x | RMS y | gross, %% | gross without a warning | warned without "
        "need |\n|---|---|---|---|---|---|---|---|\n");
    for (const int32_t size : {128, 512})
        for (const double noise : {2.0, 10.0}) {
            std::array<Score, kMethods.size()> scores;
            for (int32_t number = 0; number < pairs; ++number) {
                const Pair pair = makePair(subject, size, noise, static_cast<uint64_t>(number));
                for (std::size_t i = 0; i < kMethods.size(); ++i)
                    scores[i].add(pair, kMethods[i].run(pair));
            }
            for (std::size_t i = 0; i < kMethods.size(); ++i)
                printRow(kMethods[i], size, noise, scores[i]);
        }
    std::printf("\n");
}

// What is left when noise is averaged out: the mean error by the part of a pixel that the shift has beyond 3.
void measureBias(int32_t pairs)
{
    constexpr int32_t kParts = 8, kSize = 128;
    std::printf("### mean error in x by the fraction of the shift\n\n| method |");
    for (int32_t part = 0; part < kParts; ++part)
        std::printf(" %.3f |", static_cast<double>(part) / kParts);
    std::printf("\n|---|---|---|---|---|---|---|---|---|\n");
    std::array<std::array<Score, kParts>, kMethods.size()> scores;
    for (int32_t part = 0; part < kParts; ++part)
        for (int32_t number = 0; number < pairs; ++number) {
            const Shift shift = {3.0 + static_cast<double>(part) / kParts, -2.3};
            const Pair pair = makePair(kSubjects[0], kSize, 1.0, static_cast<uint64_t>(number), shift);
            for (std::size_t i = 0; i < kMethods.size(); ++i)
                scores[i][static_cast<std::size_t>(part)].add(pair, kMethods[i].run(pair));
        }
    for (std::size_t i = 0; i < kMethods.size(); ++i) {
        std::printf("| %s |", kMethods[i].name);
        for (const Score& score : scores[i])
            std::printf(" %+.3f |", score.x.sum / std::max(score.x.count, 1));
        std::printf("\n");
    }
}

} // namespace

int main(int count, char** arguments)
{
    const int32_t pairs = count > 1 ? std::max(std::atoi(arguments[1]), 1) : 200;
    const std::string wanted = count > 2 ? arguments[2] : "";
    for (const Subject& subject : kSubjects)
        if (std::strstr(subject.name, wanted.c_str()))
            measure(subject, pairs);
    if (wanted.empty() || wanted == "bias")
        measureBias(pairs);
    return 0;
}
