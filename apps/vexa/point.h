// Places in a picture as the user writes them.
#ifndef VEXA_APPS_POINT_H
#define VEXA_APPS_POINT_H

#include <string>

#include "vexalib/types.h"

namespace app
{

// "X,Y", with or without decimals; ends the command where the text is something else.
VexaPointF parsePoint(const std::string& text);

} // namespace app

#endif
