// A shift to a hundredth of a pixel: least squares over the edges of measuring boxes.
#ifndef VEXA_APPS_ALIGN_FINE_H
#define VEXA_APPS_ALIGN_FINE_H

#include <vector>

#include "align_boxes.h"

namespace app
{

struct FineShift {
    double x = 0.0, y = 0.0; // the defect picture at x lies on the reference at x + shift
    double turn = 0.0;       // radians from x towards y, around the picture's middle, where the shift is told
    double left = 0.0;       // mean square of the grey levels that differ, as if nothing were interpolated
    double spread = 0.0;     // of the defect picture: its variance within the boxes
    bool isFlatX = true;     // no edge tells the shift in x: it stays where it was
    bool isFlatY = true;     //
    bool isOneWay = false;   // there are edges, all of one slant: only the shift across them is told
    bool hasSettled = false; // the last step was small
};

// Finds the shift nearby at which the boxes of the defect picture differ least from the reference, which may be brighter or
// of more contrast from box to box, until a step is smaller than the precision, in pixels. The reference is interpolated
// with six taps; steps go by the gradients of both pictures, as in Benhimane, Malis, "Real-time image-based tracking of
// planes using efficient second-order minimization", 2004. Where the pictures differ more than is usual, as at a defect,
// they count less. With mayTurn, and boxes enough, the pictures may be turned against each other by up to half a degree.
FineShift refineShift(const GreyRows& reference, const GreyRows& defect, const std::vector<VexaBox>& boxes,
                      const FineShift& start, double precision, bool mayTurn);

} // namespace app

#endif
