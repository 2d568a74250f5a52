// What of the intensity calibration is not exported.
#ifndef VEXA_ACQUIRE_CALIBRATION_H
#define VEXA_ACQUIRE_CALIBRATION_H

namespace vexa
{

// The unit that the calibration file names; empty if it names none. Reads the file if that has not been done.
const char* calibrationUnit();
// Reads the table and its unit from a file, as if nothing had been read before: for tests and for a fuzzer.
void reloadCalibration(const char* fileName = "ICALIB.DAT");

} // namespace vexa

#endif
