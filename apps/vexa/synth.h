// A made plate, photographed twice: a reference picture, a defect picture, and what was planted where.
#ifndef VEXA_APPS_SYNTH_H
#define VEXA_APPS_SYNTH_H

#include <optional>
#include <string>

#include "image.h"
#include "plate/plate.h"

namespace app
{

struct SynthSettings {
    plate::PlateSettings plate;
    // Of both pictures.
    double clear = 196.0; // grey levels
    double opaque = 48.0;
    double noise = 2.4;
    double shotNoise = 0.0;
    // Of the defect picture, where it differs from the reference.
    std::optional<plate::Place> shift; // pixels; none: up to 2 each way, drawn
    std::optional<double> offset;      // grey levels; none: up to 2, drawn
    double rotation = 0.0;             // degrees
    double distortion = 0.0;           // pixels
    double gradient = 6.0;             // grey levels
    double gain = 1.0;
    double focus = 1.4; // pixels
};

struct Synth {
    SynthSettings settings;
    plate::Plate plate;
    plate::Camera referenceCamera;
    plate::Camera defectCamera;
    Pixels reference;
    Pixels defect;
};

// The same settings give the same bytes on every machine.
Synth makeSynth(const SynthSettings& settings);
std::string truthJson(const Synth& synth);

} // namespace app

#endif
