// The commands that scale and turn pictures.
#ifndef VEXA_APPS_GEOMETRY_H
#define VEXA_APPS_GEOMETRY_H

#include <cstdint>
#include <string>
#include <vector>

namespace app
{

struct ScaleCommand {
    std::string in;
    std::string out;
    std::vector<double> factors; // along x and y, or both at once; empty: by size
    std::vector<int32_t> size;   // width and height
    bool nearest = false;
};

struct RotateCommand {
    std::string in;
    std::string out;
    double degrees = 0.0; // counter-clockwise
    bool nearest = false;
    bool keepSize = false; // corners that leave the picture are cut off
};

int runScale(const ScaleCommand& command);
int runRotate(const RotateCommand& command);

} // namespace app

#endif
