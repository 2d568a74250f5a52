#include "tests/whole/sweep.h"

#include "vexalib/calibration.h"

namespace vexa::test
{

using namespace gen;

std::vector<SweptFunction> sweptStores()
{
    return {
        // Calibration.
        swept("geticaltable", geticaltable),
        swept("fillicaltable", fillicaltable, OUT, OUT, COUNT),
        swept("intensitycal", intensitycal, REAL),
        swept("intensityuncal", intensityuncal, REAL),
        swept("intensitycalrow", intensitycalrow, OUT, OUT, COUNT),
        swept("intensitycalfrow", intensitycalfrow, OUT, OUT, COUNT),
        swept("Interpolate", Interpolate, OUT, COUNT, REAL),
    };
}

} // namespace vexa::test
