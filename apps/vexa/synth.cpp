#include "synth.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

namespace app
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr double kGradient = 6.0; // of the reference, in grey levels

Pixels pixelsOf(plate::Picture picture)
{
    Pixels pixels(picture.size, picture.size, 1);
    pixels.bytes = std::move(picture.bytes);
    return pixels;
}

plate::Camera commonCamera(const SynthSettings& settings)
{
    plate::Camera camera;
    camera.clear = settings.clear;
    camera.opaque = settings.opaque;
    camera.gradient = kGradient;
    camera.noise = settings.noise;
    camera.shotNoise = settings.shotNoise;
    return camera;
}

// The stage does not come back to quite the same place, nor the lamp to the same light.
plate::Camera defectCameraOf(const SynthSettings& settings, plate::Random& random)
{
    constexpr int32_t kFarthest = plate::units(2);
    const auto drawn = [&random] {
        return static_cast<double>(random.between(-kFarthest, kFarthest)) / plate::kUnit;
    };
    plate::Camera camera = commonCamera(settings);
    camera.shiftX = drawn();
    camera.shiftY = drawn();
    camera.offset = random.between(-2, 2);
    if (settings.shift) {
        camera.shiftX = plate::snapped(settings.shift->x);
        camera.shiftY = plate::snapped(settings.shift->y);
    }
    if (settings.offset)
        camera.offset = *settings.offset;
    camera.rotation = settings.rotation;
    camera.distortion = settings.distortion;
    camera.gradient = settings.gradient;
    camera.gain = settings.gain;
    camera.focus = settings.focus;
    return camera;
}

// Defects stay in sight, and apart from the border, in both pictures.
double frameOf(const SynthSettings& settings, const plate::Camera& camera)
{
    const double side = settings.plate.pattern.size;
    return settings.plate.frame + std::max(std::fabs(camera.shiftX), std::fabs(camera.shiftY)) +
           std::ceil(std::fabs(camera.rotation) / 100.0 * side + camera.distortion);
}

// The pixels that a box touches, sides included.
Json pixelBox(const plate::Box& box)
{
    const auto first = [](double at) { return static_cast<int32_t>(std::floor(at)); };
    const auto last = [](double at) { return static_cast<int32_t>(std::ceil(at)) - 1; };
    return {{"left", first(box.left)},
            {"top", first(box.top)},
            {"right", last(box.right)},
            {"bottom", last(box.bottom)}};
}

Json cameraJson(const plate::Camera& camera)
{
    return {{"rotation", camera.rotation},   {"distortion", camera.distortion}, {"focus", camera.focus},
            {"clear", camera.clear},         {"opaque", camera.opaque},         {"gradient", camera.gradient},
            {"gain", camera.gain},           {"offset", camera.offset},         {"noise", camera.noise},
            {"shot_noise", camera.shotNoise}};
}

Json patternJson(const plate::PatternSettings& pattern)
{
    switch (pattern.kind) {
    case plate::PatternKind::contacts:
        return {{"kind", "contacts"}, {"pitch", pattern.pitch}, {"duty", pattern.duty}};
    case plate::PatternKind::lines:
        return {{"kind", "lines"},
                {"pitch", pattern.pitch},
                {"duty", pattern.duty},
                {"along", pattern.upright ? "y" : "x"}};
    default:
        return {{"kind", "plate"}};
    }
}

} // namespace

Synth makeSynth(const SynthSettings& settings)
{
    // What the cameras draw does not depend on how the plate was drawn.
    plate::Random random(~settings.plate.seed);
    Synth synth;
    synth.settings = settings;
    synth.referenceCamera = commonCamera(settings);
    synth.referenceCamera.noiseSeed = random.next();
    synth.defectCamera = defectCameraOf(settings, random);
    synth.defectCamera.noiseSeed = random.next();
    plate::PlateSettings plateSettings = settings.plate;
    plateSettings.frame = frameOf(settings, synth.defectCamera);
    synth.plate = plate::makePlate(plateSettings);
    const int32_t size = synth.plate.size;
    synth.reference = pixelsOf(plate::photograph(synth.plate.shapes, size, synth.referenceCamera));
    synth.defect = pixelsOf(plate::photograph(synth.plate.withDefects(), size, synth.defectCamera));
    return synth;
}

std::string truthJson(const Synth& synth)
{
    const int32_t size = synth.plate.size;
    Json defects = Json::array();
    for (const plate::Planted& planted : synth.plate.planted)
        defects.push_back({{"kind", planted.kind},
                           {"box", pixelBox(plate::shown(planted.box, size, synth.defectCamera))},
                           {"reference_box", pixelBox(planted.box)},
                           {"size", planted.size}});
    const Json document = {{"format", "vexa-synth"},
                           {"version", 2},
                           {"seed", synth.settings.plate.seed},
                           {"width", size},
                           {"height", size},
                           {"pattern", patternJson(synth.settings.plate.pattern)},
                           {"shift", {{"x", synth.defectCamera.shiftX}, {"y", synth.defectCamera.shiftY}}},
                           {"reference_camera", cameraJson(synth.referenceCamera)},
                           {"defect_camera", cameraJson(synth.defectCamera)},
                           {"defects", defects}};
    return document.dump(2) + "\n";
}

} // namespace app
