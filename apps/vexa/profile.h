// The command that reads grey values along a line.
#ifndef VEXA_APPS_PROFILE_H
#define VEXA_APPS_PROFILE_H

#include <cstdint>
#include <string>

namespace app
{

struct ProfileCommand {
    std::string picture;
    std::string start; // "X,Y"
    std::string end;
    int32_t width = 1;
    std::string plot; // picture to write, or empty
};

int runProfile(const ProfileCommand& command);

} // namespace app

#endif
