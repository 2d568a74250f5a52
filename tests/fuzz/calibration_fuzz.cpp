// Calibration files: read, then values taken to and fro.
#include <cmath>
#include <cstring>

#include "acquire/calibration.h"
#include "tests/fuzz/support/fuzz.h"
#include "vexalib/calibration.h"

using namespace vexa::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static InputFile* const file = (quieten(), new InputFile);
    file->set(bytes, count);
    vexa::reloadCalibration(file->name());
    require(std::strlen(vexa::calibrationUnit()) < 80);
    const float* const table = geticaltable();
    for (int32_t grey = 0; grey < 255; ++grey) {
        const double intensity = intensitycal(grey);
        require(intensity == double{table[grey]} || !std::isfinite(table[grey]) ||
                !std::isfinite(table[grey + 1]));
        intensityuncal(intensity);
    }
    Numbers numbers(bytes, count);
    uint8_t row[16];
    for (uint8_t& byte : row)
        byte = static_cast<uint8_t>(numbers.byte());
    double out[16];
    intensitycalrow(row, out, 16);
    const double far = numbers.coordinate();
    intensitycal(far);
    intensityuncal(far);
    return 0;
}
