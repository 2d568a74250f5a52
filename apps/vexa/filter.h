// The command that runs a filter over a picture.
#ifndef VEXA_APPS_FILTER_H
#define VEXA_APPS_FILTER_H

#include <string>

namespace app
{

struct FilterCommand {
    std::string filter; // "box:5,3"
    std::string in;
    std::string out;
};

int runFilter(const FilterCommand& command);
// The filters with their arguments, a line each.
std::string filterList();

} // namespace app

#endif
