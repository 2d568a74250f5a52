/// Defect listing: from a difference image to a list of places, the worst first.
#ifndef VEXALIB_DEFECTS_H
#define VEXALIB_DEFECTS_H

#include "vexalib/types.h"

VEXA_API int32_t I_ListDefects(int32_t imDiff, VexaPoint *positions, double *values, int32_t maxDefects,
                               int32_t minDist, double threshold, int32_t sortMode);

#endif
