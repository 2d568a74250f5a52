// The defect picture with a numbered box around each listed defect.
#ifndef VEXA_APPS_ANNOTATE_H
#define VEXA_APPS_ANNOTATE_H

#include <vector>

#include "image.h"
#include "inspect.h"

namespace app
{

Pixels annotated(const Image& defectPicture, const std::vector<Defect>& defects);

} // namespace app

#endif
