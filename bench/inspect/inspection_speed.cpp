// Prints where the time of `vexa inspect` goes, step by step, as multiples of a pass: a memory copy of both pictures.
//
//     inspection_speed [SIZE]            a made plate of SIZE by SIZE pixels (4096)
//     inspection_speed REFERENCE DEFECT  pictures in files
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "apps/vexa/defect_list.h"
#include "apps/vexa/failure.h"
#include "apps/vexa/inspect.h"
#include "apps/vexa/picture_io.h"
#include "apps/vexa/residue.h"
#include "apps/vexa/synth.h"
#include "apps/vexa/underlay.h"
#include "vexalib/vexalib.h"

namespace
{

constexpr int kRounds = 9; // of which the best counts

// Of the processor, so that what else a machine does counts little.
double seconds(const std::function<void()>& work)
{
    double best = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        const std::clock_t start = std::clock();
        work();
        best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return best;
}

double passSeconds(const app::Image& reference, const app::Image& defect)
{
    const app::Pixels a = reference.read(), b = defect.read();
    std::vector<uint8_t> copy(a.bytes.size() + b.bytes.size());
    return seconds([&] {
        std::memcpy(copy.data(), a.bytes.data(), a.bytes.size());
        std::memcpy(copy.data() + a.bytes.size(), b.bytes.data(), b.bytes.size());
    });
}

void measure(const app::Image& reference, const app::Image& defect)
{
    const app::InspectSettings settings;
    const double pass = passSeconds(reference, defect);
    std::printf("%d x %d, a pass takes %.2f ms\n\n| step | x pass |\n|---|---|\n", defect.cols(),
                defect.rows(), pass * 1e3);
    const auto tell = [pass](const char* step, double time) {
        std::printf("| %s | %.2f |\n", step, time / pass);
    };
    app::Alignment alignment;
    tell("shift of the whole", seconds([&] { alignment = findShift(reference, defect, settings.align); }));
    app::InspectSettings asWhole = settings;
    asWhole.align.mode = app::AlignMode::smart;
    app::Underlaid under;
    const double whole = seconds([&] { under = layUnder(reference, defect, alignment, asWhole); });
    const double tiled = seconds([&] { under = layUnder(reference, defect, alignment, settings); });
    tell("moving the reference, difference", whole);
    tell("tiles", std::max(tiled - whole, 0.0));
    std::optional<app::Residue> residue;
    tell("residue", seconds([&] {
             residue.emplace(under.reference, defect, under.difference, under.window, settings);
         }));
    tell("list", seconds([&] {
             const app::WindowRegion region(under.window);
             app::Image image = residue->asImage(defect.cols(), defect.rows());
             listDefects(under, defect, *residue, image, settings);
         }));
    std::size_t listed = 0;
    const double all = seconds([&] { listed = app::inspect(reference, defect, settings).defects.size(); });
    tell("**inspection**", all);
    std::printf("\n%.2f ms, %zu defects\n", all * 1e3, listed);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 3) {
            measure(app::readGreyPicture(argv[1]).image, app::readGreyPicture(argv[2]).image);
            return 0;
        }
        app::SynthSettings settings;
        settings.plate.pattern.size = argc > 1 ? std::atoi(argv[1]) : 4096;
        app::Synth synth = makeSynth(settings);
        measure(app::Image(std::move(synth.reference)), app::Image(std::move(synth.defect)));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "inspection_speed: %s\n", error.what());
        return 1;
    }
    return 0;
}
