/// Small routines that need no image: rounding, sums, peaks, swaps, arrays, searches, codings.
///
///     rounding and choice   Rnd vexa_clip vexa_min vexa_max minabs maxabs fminabs fmaxabs ilog2 llog2 isqrt
///     functions             vexa_erf vexa_erfc bessj1
///     sums, fits, peaks     meanstdv leastsquares MajorityVote I_ParabolicPeak I_FindPeak
///     points                fdist rotatevect I_SpiralOutList
///     swaps                 swapchar swapshort swapint swaplong swapfloat swapdouble swapcoord swapptr
///                           I_SwapLong
///     arrays                Create2DArray Free2DArray memsetStruct hmemset2 ReverseStruct ReverseStruct2
///     byte searches         I_instr I_instr4 I_instr2 I_instr4Rev I_instr2Rev
///     files and texts       I_ReadFile I_WriteFile I_AppendFile I_UndoCrLf
///     codings               I_RunLengthEncode I_RunLengthEncode1 I_RunLengthDecode
///                           I_ConvertBase64 I_ConvertBase64a I_ConvertToBase64 I_ConvertFromBase64
///
/// Example: the top of a peak between samples.
///
///     double at, height;
///     if (I_ParabolicPeak(10.0, 14.0, 12.0, &at, &height)) // 1.1667 from the left sample, 14.083 high
///         printf("%.2f high, %d rounded\n", height, Rnd((float)height));
///
/// No function here reads or changes process-wide state besides the last error. Where nothing else is said, a
/// null pointer or a size below 1 gives the neutral value (0, null, nothing done) and no error.
#ifndef VEXALIB_NUMERIC_H
#define VEXALIB_NUMERIC_H

#include "vexalib/types.h"

/// @name Rounding and choice
/// @{

/// The nearest integer, halves upward: floor(value + 0.5). Rnd(-0.5) is 0, Rnd(2.5) is 3.
/// @return INT32_MIN for what does not fit, and for no number.
VEXA_API int32_t Rnd(float value);
/// The value limited to a range: low where it is below low, else high where it is above high.
/// Also exported under the plain name of the last syllable, which no header declares since it is a template
/// elsewhere.
VEXA_API int32_t vexa_clip(int32_t value, int32_t low, int32_t high);
/// The smaller, the larger of two; exported under their plain names too, like vexa_clip.
VEXA_API int32_t vexa_min(int32_t a, int32_t b);
VEXA_API int32_t vexa_max(int32_t a, int32_t b);
/// The argument with the smaller, the larger absolute value, with its sign: minabs(-2, 5) is -2. Of two that
/// are equally far from 0, the first.
VEXA_API int32_t minabs(int32_t a, int32_t b);
VEXA_API int32_t maxabs(int32_t a, int32_t b);
/// The same on doubles.
VEXA_API double fminabs(double a, double b);
VEXA_API double fmaxabs(double a, double b);
/// The logarithm to the base 2, rounded down; 0 for every value below 2. Two names of one function.
VEXA_API int32_t ilog2(int32_t value);
VEXA_API int32_t llog2(int32_t value);
/// The square root of |value|, for quick estimates of distances.
///
/// Below 65536 it is rounded to the nearest, but at most 255: isqrt(144) and isqrt(-144) are 12. From there
/// on it is the product of two table entries, table[v / k] * table[k] with k = 1 << (ilog2(v) / 2 - 1), some
/// per cent off; from 2 to the 29 on, k is twice that, so that v / k stays in the table of 65536 entries.
VEXA_API int32_t isqrt(int32_t value);
/// @}

/// @name Functions
/// @{

/// The error function of |x| by a polynomial of degree 9 in 1 / (1 + |x| / 2), exact to about 1.2e-7.
///
/// It depends on |x| alone: vexa_erf(-1) is vexa_erf(1). Exported as erf too, under a version that is not the
/// default, so that a program's own erf stays the C library's; likewise erfc.
VEXA_API double vexa_erf(double x);
/// 1 - vexa_erf(x); for a negative x 1 + vexa_erf(|x|).
VEXA_API double vexa_erfc(double x);
/// The Bessel function of the first kind of order one, by two rational forms that meet at |x| = 8; computed
/// in double precision, exact to about 1e-8. Odd: bessj1(-x) is -bessj1(x).
VEXA_API float bessj1(float x);
/// @}

/// @name Sums, fits, peaks
/// @{

/// Mean and standard deviation of n values from their sums.
///
///     mean      = sum / n
///     deviation = sqrt((sumOfSquares - sum * sum / n) / (n - 1))
///
/// @param mean      may be null; receives 0 for n below 1
/// @param deviation may be null; receives 0 for n not above 1, and where rounding made the radicand negative
VEXA_API void meanstdv(double n, double sum, double sumOfSquares, double *mean, double *deviation);
/// The line of least squares through n points, from their sums.
///
///     mixed     = sumXY - sumX * sumY / n
///     slope     = mixed / (sumXX - sumX * sumX / n)
///     intercept = (sumY - sumX * slope) / n
///     sigma     = sqrt((sumYY - sumY * sumY / n - mixed * slope) / n - 2.0)
///
/// The 2 is subtracted behind the division; with a fit closer than that, sigma is no number. So are all
/// results where a divisor is 0.
/// @param intercept,slope,sigma each may be null
VEXA_API void leastsquares(double n, double sumX, double sumXX, double sumXY, double sumY, double sumYY,
                           double *intercept, double *slope, double *sigma);
/// A robust mean: drops the value farthest from the mean, again and again, until keep values remain, and
/// returns their mean. MajorityVote of 1, 2, 3, 100 with keep 3 is 2. Of values equally far, the first one
/// goes.
///
/// @param keep values to keep; below 2 counts as 2
/// @return 0 for n below 1, for keep not below n, and without memory (error 2, through malloctest with an
///        empty tag)
VEXA_API double MajorityVote(const double *values, int32_t n, int32_t keep);
/// The vertex of the parabola through three samples one unit apart. With d = right - left, e = center - left
/// and q = 2 * e - d: position = (4 * e - d) / (2 * q), height = (4 * e - d)^2 / (8 * q) + left.
///
/// @param position may be null; counted from the left sample; 1.0 where the samples are collinear
/// @param height   may be null; e where the samples are collinear
/// @return 1; 0 if the three are collinear (q is 0)
VEXA_API int32_t I_ParabolicPeak(double left, double center, double right, double *position, double *height);
/// The position of a peak relative to the middle one of three samples.
///
/// Method 0 is I_ParabolicPeak, less 1. Any other method fits a triangle to the slopes da = center - left and
/// dc = center - right:
///
///     first       where da * dc < 0 and (lower slope / upper slope) < -0.67, the lower one becomes 0
///     da < dc     p = 0.5 * (1 - da / dc), the result is -p, the height center + dc * p
///     otherwise   p = 0.5 * (1 - dc / da), the result is p, the height center + da * p
///
/// p is limited to -1 .. 1, and 0 where its divisor is 0.
///
/// @param height may be null
VEXA_API float I_FindPeak(float left, float center, float right, float *height, int32_t method);
/// @}

/// @name Points
/// @{

/// The distance of two points.
VEXA_API double fdist(const VexaPoint *a, const VexaPoint *b);
/// Turns a point about the origin: out = (Rnd(x cos - y sin), Rnd(x sin + y cos)), the sums rounded to float
/// first.
///
/// @param out   may be in itself, or null
/// @param angle in radians
/// @return the new y
VEXA_API int32_t rotatevect(const VexaPoint *in, VexaPoint *out, double angle);
/// The points of an image in square rings around a centre, nearest ring first.
///
/// The centre comes first; then for ring r = 1, 2, ... the top side from left to right, the right side
/// downward, the bottom side from right to left, the left side upward, each without its last corner and
/// clipped to the image. I_SpiralOutList(3, 3, 1, 1, 0, &n) gives 9 points: (1,1) (0,0) (1,0) (2,0) (2,1)
/// (2,2) (1,2) (0,2) (0,1).
///
/// @param x,y    the centre, moved into the image where it lies outside
/// @param radius the last ring; below 1 means the larger of cols and rows, minus 1
/// @param count  may be null; receives the number of points
/// @return a block of cols * rows + 2 points for the caller to free, with the point (-1, -1) behind the last
///         one; null for a size below 1, or without memory (error 2)
VEXA_API VexaPoint *I_SpiralOutList(int32_t cols, int32_t rows, int32_t x, int32_t y, int32_t radius,
                                    int32_t *count);
/// @}

/// @name Swaps
/// Each exchanges the two values that its arguments point to; with a null argument nothing happens.
/// @{
VEXA_API void swapchar(void *a, void *b);        ///< one byte
VEXA_API void swapshort(int16_t *a, int16_t *b); ///< 16 bits
VEXA_API void swapint(int32_t *a, int32_t *b);   ///< 32 bits
VEXA_API void swaplong(int32_t *a, int32_t *b);  ///< 32 bits
VEXA_API void swapfloat(float *a, float *b);
VEXA_API void swapdouble(double *a, double *b);
VEXA_API void swapcoord(VexaPoint *a, VexaPoint *b);
VEXA_API void swapptr(void *a, void *b); ///< two pointers of their natural width
/// The four bytes as a word in reverse order: 1, 2, 3, 4 give 0x01020304 on a little-endian machine. They
/// stay as they are; any alignment.
VEXA_API int32_t I_SwapLong(const void *bytes);
/// @}

/// @name Arrays
/// @{

/// A zeroed array of rows, reached through a table of row pointers: array[y] is row y.
///
/// One allocation: the row pointers, then the rows back to back.
/// @param cols,rows,bytes elements of a row, rows, bytes of an element
/// @return the table, for Free2DArray; null with error 1 "Create2DArray ncols=%d nrows=%d" (cols, rows) for a
///         size below 1, with error 2 without memory
VEXA_API void **Create2DArray(int32_t cols, int32_t rows, int32_t bytes);
/// Frees what Create2DArray gave, table and rows together; null is ignored.
VEXA_API void Free2DArray(void *array);
/// Fills an array with copies of one element.
///
/// @param element of any alignment; may be the first element of dest
/// @param count   elements, not bytes
/// @param bytes   bytes of an element
/// @return dest
VEXA_API void *memsetStruct(void *dest, const void *element, int32_t count, int32_t bytes);
/// Fills count bytes with the low byte of value. @return dest
VEXA_API void *hmemset2(void *dest, int32_t value, int32_t count);
/// Reverses the order of the elements in place. @return 1; 0 for null or element bytes below 1
VEXA_API int32_t ReverseStruct(void *array, int32_t count, int32_t bytes);
/// The same into another array, which may be the source itself but must not overlap it otherwise.
VEXA_API int32_t ReverseStruct2(const void *source, void *dest, int32_t count, int32_t bytes);
/// @}

/// @name Byte searches
/// Positions are bytes from the start of haystack, at every alignment. A negative start counts as 0. The
/// forward searches test positions strictly below the end minus the needle's length: a needle flush with the
/// end is not found.
/// @{

/// The first position from start on at which needle stands.
/// @param length bytes of the whole haystack, from position 0
/// @return the position, or -1
VEXA_API int32_t I_instr(const void *haystack, int32_t start, int32_t length, const void *needle,
                         int32_t needleLength);
/// The first position from start on of a 4-byte, a 2-byte value; -1 without one below end - 4, end - 2.
VEXA_API int32_t I_instr4(const void *haystack, int32_t start, int32_t end, const void *value);
VEXA_API int32_t I_instr2(const void *haystack, int32_t start, int32_t end, const void *value);
/// The last position of a value at or below highest and not below lowest; -1 without one. The value's bytes
/// behind highest are read.
VEXA_API int32_t I_instr4Rev(const void *haystack, int32_t lowest, int32_t highest, const void *value);
VEXA_API int32_t I_instr2Rev(const void *haystack, int32_t lowest, int32_t highest, const void *value);
/// @}

/// @name Files and texts
/// @{

/// Reads up to count bytes from the start of a file. @return the bytes read; 0 where the file is not there
VEXA_API int32_t I_ReadFile(const char *name, void *buffer, int32_t count);
/// Writes a file anew.
///
/// @return the bytes written. Where the operating system reported anything, also when the file did not open,
///         error 1 "I_WriteFile %s; buf=%lx fp=%x len=%d LenWrite=%d err=%s": name, address of the buffer, of
///         the stream (0 if it did not open), count, bytes written, the system's sentence.
VEXA_API int32_t I_WriteFile(const char *name, const void *buffer, int32_t count);
/// Writes at the end of a file. The same sentence, beginning with "I_AppendFile", is shown by dprintf; no
/// error is set.
VEXA_API int32_t I_AppendFile(const char *name, const void *buffer, int32_t count);
/// Turns line ends from CR LF to LF in place. A CR elsewhere stays.
///
/// @return the new length. If any LF has no CR in front, or there is no line end at all, nothing is changed
///         and the result is -length. Behind the new length the old bytes stand.
VEXA_API int32_t I_UndoCrLf(char *text, int32_t length);
/// @}

/// @name Run-length coding
/// A packet is a count byte and its data. With the top bit set, the low 7 bits count literal bytes that
/// follow; with the top bit clear, the next byte is repeated that many times. 200 zeros are 127, 0, 73, 0.
/// @{

/// Encodes. A run begins where three bytes in a row are equal and is at most 127 long; so is a literal.
///
/// @param capacity bytes at dest. In front of a run and of a full literal, the literal plus 2 bytes must fit,
///        even if the literal is empty
/// @return bytes written. Where dest is too short, "RunLengthEncode: Overflow dLen=%d" is shown by dprintf,
///         and the result counts the whole packets in front of it.
VEXA_API int32_t I_RunLengthEncode(const void *source, int32_t length, void *dest, int32_t capacity);
/// Encodes into a new block of length * 1.1 + 1 bytes, which any input fits, for the caller to free.
///
/// @param encodedLength may be null
/// @return null for a null source or a negative length; null with error 2 without memory
VEXA_API uint8_t *I_RunLengthEncode1(const void *source, int32_t length, int32_t *encodedLength);
/// Decodes until the input ends or dest is full. A count of 0 with the top bit clear writes nothing and takes
/// two bytes.
///
/// @param length below 2 gives 0
/// @return bytes written. A packet that would pass capacity ends the work with error 1 "RunLengthDecode()
///         Result longer than DestBuf: diDone=%d RunLen=%d dLen=%d sLen=%d siDone=%d RunVal=%d %d": bytes
///         written, count, capacity, length, position of the packet, its first two bytes. If at the end
///         neither the input is used up exactly nor dest exactly full: error 1 "RunLengthDecode: sLen=%d,
///         siDone=%d, dLen=%d done=%d". Of a packet that the input cuts short, what is there is written.
VEXA_API int32_t I_RunLengthDecode(const void *source, int32_t length, void *dest, int32_t capacity);
/// @}

/// @name Base64
/// RFC 4648 with the standard alphabet and "=" padding. The decoder also takes "*" for 62 and "-" for 63, and
/// skips every byte that is no digit. Digits missing in the last group count as "=": QUJD gives ABC, QUI
/// gives AB.
/// @{

/// Encodes (encode not 0) or decodes (0) into a new block for the caller to free, with a zero behind the
/// result.
///
/// @param length    bytes; 0 means that source is a text, with the text's length
/// @param outLength may be null; 4 * ((length + 2) / 3) characters, or the decoded bytes; 0 with a null
///        result
/// @return null for a null source, an empty text or a negative length; null with error 2 without memory
VEXA_API char *I_ConvertBase64(const void *source, int32_t length, int32_t *outLength, int32_t encode);
/// Converts a text into dest, with a zero behind it. @param dest must be large enough for both
/// @return the length of the result
VEXA_API int32_t I_ConvertBase64a(const char *text, char *dest, int32_t encode);
/// Encodes into dest.
///
/// @param capacity bytes at dest. Below 4 * ((length + 2) / 3): error 1 "I_ConvertToBase64: dlen must be >=
///        slen*4/3", and only the first capacity * 3 / 4 bytes are encoded
/// @return the characters at dest, at most capacity; a zero stands behind them where there is room
VEXA_API int32_t I_ConvertToBase64(const void *source, int32_t length, char *dest, int32_t capacity);
/// Decodes into dest.
///
/// @param capacity bytes at dest. Below length * 3 / 4: error 1 "I_ConvertFromBase64: dlen must be >=
///        slen*3/4", and only the first capacity * 4 / 3 characters are decoded
/// @return the bytes at dest, at most capacity
VEXA_API int32_t I_ConvertFromBase64(const char *source, int32_t length, void *dest, int32_t capacity);
/// @}

#endif
