#include "inspect.h"

#include <utility>

#include "defect_list.h"
#include "failure.h"
#include "residue.h"
#include "underlay.h"
#include "vexalib/vexalib.h"

namespace app
{

Image subtract(const Image& reference, const Image& defect, VexaPoint offset, int32_t clipMode)
{
    Image difference(defect.cols(), defect.rows(), PIX_BYTE);
    require(I_ImClear(difference.number(), kZero) != 0, "cannot clear an image");
    require(I_SubtractEx(defect.number(), reference.number(), difference.number(), offset.x, offset.y,
                         clipMode) != 0,
            "cannot subtract the pictures");
    return difference;
}

Inspection inspect(const Image& reference, const Image& defect, const InspectSettings& settings)
{
    Inspection result;
    result.alignment = findShift(reference, defect, settings.align);
    Underlaid under = layUnder(reference, defect, result.alignment, settings);
    result.window = under.window;
    const WindowRegion region(result.window);
    const Residue residue(under.reference, defect, under.difference, under.window, settings);
    result.residue = residue.asImage(defect.cols(), defect.rows());
    DefectList list = listDefects(under, defect, residue, result.residue, settings);
    result.difference = std::move(under.difference);
    result.defects = std::move(list.defects);
    result.found = list.found;
    result.incomplete = list.incomplete;
    return result;
}

} // namespace app
