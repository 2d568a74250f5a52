#include "plate/plate.h"

#include <algorithm>
#include <array>
#include <utility>

namespace plate
{
namespace
{

constexpr double kApart = 44.0; // pixels between two defects

constexpr std::array kKinds = {"pin dot", "pin hole", "extension",    "intrusion",
                               "bridge",  "break",    "width change", "contact size"};

Box boxOf(const Site& site)
{
    Shape around = site.paint.front();
    for (const Shape& shape : site.paint) {
        around.left = std::min(around.left, shape.left);
        around.top = std::min(around.top, shape.top);
        around.right = std::max(around.right, shape.right);
        around.bottom = std::max(around.bottom, shape.bottom);
    }
    const auto pixels = [](int32_t at) { return static_cast<double>(at) / kUnit; };
    return {pixels(around.left), pixels(around.top), pixels(around.right), pixels(around.bottom)};
}

bool isFree(const Box& box, const std::vector<Planted>& planted, const PlateSettings& settings)
{
    const double low = settings.frame;
    const double high = settings.pattern.size - settings.frame;
    if (box.left < low || box.top < low || box.right > high || box.bottom > high)
        return false;
    return std::none_of(planted.begin(), planted.end(), [&box](const Planted& other) {
        return box.left - other.box.right < kApart && other.box.left - box.right < kApart &&
               box.top - other.box.bottom < kApart && other.box.top - box.bottom < kApart;
    });
}

void shuffle(std::vector<Site>& sites, Random& random)
{
    for (std::size_t i = sites.size(); i > 1; --i)
        std::swap(sites[i - 1],
                  sites[static_cast<std::size_t>(random.between(0, static_cast<int32_t>(i) - 1))]);
}

// One kind after the other, until there are enough or a whole round finds no free place.
std::vector<Planted> plant(std::vector<Site>& sites, Random& random, const PlateSettings& settings)
{
    shuffle(sites, random);
    std::vector<Planted> planted;
    std::size_t failures = 0;
    for (std::size_t turn = 0;
         planted.size() < static_cast<std::size_t>(settings.defects) && failures < kKinds.size(); ++turn) {
        const std::string kind = kKinds[turn % kKinds.size()];
        const auto site = std::find_if(sites.begin(), sites.end(), [&](const Site& candidate) {
            return candidate.kind == kind && isFree(boxOf(candidate), planted, settings);
        });
        if (site == sites.end()) {
            ++failures;
            continue;
        }
        failures = 0;
        planted.push_back({kind, boxOf(*site), site->size, site->paint});
    }
    return planted;
}

} // namespace

Box shown(const Box& onPlate, int32_t size, const Camera& camera)
{
    const Place first = shown(Place{onPlate.left, onPlate.top}, size, camera);
    Box box = {first.x, first.y, first.x, first.y};
    for (const Place corner : {Place{onPlate.right, onPlate.top}, Place{onPlate.left, onPlate.bottom},
                               Place{onPlate.right, onPlate.bottom}}) {
        const Place place = shown(corner, size, camera);
        box = {std::min(box.left, place.x), std::min(box.top, place.y), std::max(box.right, place.x),
               std::max(box.bottom, place.y)};
    }
    return box;
}

std::vector<Shape> Plate::withDefects() const
{
    std::vector<Shape> all = shapes;
    for (const Planted& defect : planted)
        all.insert(all.end(), defect.paint.begin(), defect.paint.end());
    return all;
}

Plate makePlate(const PlateSettings& settings)
{
    Random random(settings.seed);
    Pattern pattern = makePattern(random, settings.pattern);
    Plate plate;
    plate.size = settings.pattern.size;
    plate.shapes = std::move(pattern.shapes);
    plate.planted = plant(pattern.sites, random, settings);
    return plate;
}

} // namespace plate
