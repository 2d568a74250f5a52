/// VexaLib: image processing and machine vision for inspection instruments.
///
/// This header includes the headers of all families.
#ifndef VEXALIB_VEXALIB_H
#define VEXALIB_VEXALIB_H

#include "vexalib/arithmetic.h"
#include "vexalib/blob_table.h"
#include "vexalib/blobs.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/conversion.h"
#include "vexalib/defects.h"
#include "vexalib/dib.h"
#include "vexalib/drawing.h"
#include "vexalib/frames.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/moments.h"
#include "vexalib/neighbourhood.h"
#include "vexalib/numeric.h"
#include "vexalib/platform.h"
#include "vexalib/roi.h"
#include "vexalib/roi_store.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"
#include "vexalib/types.h"

#endif
