// The list of defects: spots of the residue, aligned anew one by one, merged and measured.
#ifndef VEXA_APPS_DEFECT_LIST_H
#define VEXA_APPS_DEFECT_LIST_H

#include <vector>

#include "residue.h"
#include "underlay.h"

namespace app
{

struct DefectList {
    std::vector<Defect> defects; // the first of them, in order
    int32_t found = 0;           // how many there are
    bool incomplete = false;     // more spots than the blob table holds
};

// The pictures are aligned as a whole already; residueImage holds the residue, and holds it again afterwards.
DefectList listDefects(const Underlaid& under, const Image& defect, const Residue& residue,
                       Image& residueImage, const InspectSettings& settings);

} // namespace app

#endif
