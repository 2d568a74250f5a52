/// Intensity calibration: from a camera's grey values to a measured intensity, and back.
///
/// Table    geticaltable fillicaltable
/// Values   intensitycal intensityuncal
/// Rows     intensitycalrow intensitycalfrow
/// Arrays   Interpolate
///
///     const int32_t grey[] = {10, 64, 200};
///     const float nits[] = {0.0f, 0.31f, 1.5f};
///     fillicaltable(grey, nits, 3);
///     double measured = intensitycal(64.0);      // 0.31
///     double level = intensityuncal(measured);   // 64
///
/// The process has one table of 257 intensities, by grey value from 0 to 256. It is read once, at the first
/// use by any function here, from the text file ICALIB.DAT in the current directory; without that file, or
/// with fewer than two points in it, each grey value is its own intensity. Only fillicaltable changes it
/// afterwards.
///
///     ; a comment: any line that begins with a semicolon
///     nits                         a line that is no point, before the first one: the unit
///     10 0.0                       a point: grey value (truncated to an integer) and intensity
///     64 0.31                      grey values rise from point to point
///
/// At most 256 points count. Lines end at 79 characters; the rest is a line of its own. Numbers have a
/// decimal point under every locale. Lines that are no points and follow the first one are left out.
///
/// None of this sets an error. One thread at a time may use it.
#ifndef VEXALIB_CALIBRATION_H
#define VEXALIB_CALIBRATION_H

#include "vexalib/types.h"

/// The table: 257 floats, entry i the intensity of grey value i. It stays at its address for the life of the
/// process; what an application writes into it counts.
VEXA_API float *geticaltable(void);

/// Fills the table from points: straight lines from point to point, the first and the last one continued to 0
/// and 256.
///
/// For the points (x[0], y[0]), (x[1], y[1]), ... with slope s between two of them (0 where their x are
/// equal):
///
///     i below x[0]               i * s + (y[0] - x[0] * s), s that of the first two points
///     i from x[k-1] up to x[k]   (i - x[k]) * s + y[k]; entries that an earlier point filled stay
///     i above the last x         the last line, continued
///     i = x[k]                   y[k] itself
///
/// @param greyValues  x, rising; a point outside 0 to 256 gives slopes and no entry
/// @param intensities y
/// @param count       points; below 2 leaves the table as it is, and so does a null array
/// @return the table
VEXA_API float *fillicaltable(const int32_t *greyValues, const float *intensities, int32_t count);

/// The intensity of a grey value: with i the integer part of g,
///
///     g                result
///     below 0          T[0] + g * (T[1] - T[0])
///     0 to below 255   T[i] + (g - i) * (T[i + 1] - T[i])
///     255 and above    T[254] + (g - 254) * (T[255] - T[254])
///
/// Entry 256 is not read. Without a calibration 100.5 gives 100.5, and 256 gives 256.
VEXA_API double intensitycal(double greyValue);

/// The grey value of an intensity v: (v - T[i]) / (T[i + 1] - T[i]) + i of the first interval i, from 0 to
/// 254, that v reaches into; of the last one where there is none.
///
/// The first interval is taken as well where v lies before its start: below T[0] on a rising table, above
/// T[0] on a falling one. A table that turns gives the first of several grey values. An interval without a
/// slope that holds v gives its start i.
VEXA_API double intensityuncal(double intensity);

/// Intensities of a row of bytes: out[i] = T[bytes[i]].
///
/// For grey values below 128. Each byte is read with a sign: 128 to 255 stand for -128 to -1, and give what
/// intensitycal gives for those.
/// @param bytes,out count elements each; a null array does nothing
/// @param count     below 1 does nothing
VEXA_API void intensitycalrow(const uint8_t *bytes, double *out, int32_t count);

/// Intensities of a row of grey values: out[i] = intensitycal(in[i]).
/// @param in,out count elements each, which must not overlap; a null array does nothing
/// @param count  below 1 does nothing
VEXA_API void intensitycalfrow(const float *in, double *out, int32_t count);

/// The value between the elements of an array: a[i] + (x - i) * (a[i + 1] - a[i]), i being the integer part
/// of x, at least 0 and at most n - 2. So the first and the last line continue beyond the ends.
///
/// @param a n values; null gives 0
/// @param n 1 gives a[0] for any x, below 1 gives 0
VEXA_API double Interpolate(const double *a, int32_t n, double x);

#endif
