/// Convolution kernels as records: of simulated lenses, of an application, of measured profiles.
///
///     records    I_MakeComplexKernel I_FreeKernel
///     profiles   I_CustomBlurKernel I_CustomSmooth
///     table      FreeKernels ListKernels I_SetKernelPrecision I_SetIllumApertureImage
///     read-out   I_GetKernel I_KernelDiameter I_GetImIllumination I_DisplayKernel
///
/// Example: a kernel of an application's own, normalised, and an image convolved with it.
///
///     Kernel *kernel = I_MakeComplexKernel(NULL, 7, 7, real, pairs);
///     if (kernel)
///         I_Convolve(imSrc, imDest, kernel, PIX_FLOAT);
///     I_FreeKernel(kernel);
///
/// Kernels of simulated lenses are kept in a table of five, the newest first: making one takes long, and a lens
/// that is simulated again is found by its parameters, the transform size and the precision. The current kernel
/// is the one that was made or found last.
#ifndef VEXALIB_KERNELS_H
#define VEXALIB_KERNELS_H

#include "vexalib/types.h"

/// A kernel and the lens that it belongs to. An application's own record starts zeroed.
///
/// Arrays are plain heap blocks, row by row from the top; images are closed, and arrays and record released,
/// by I_FreeKernel.
typedef struct Kernel {
    int32_t cols;            ///< width in pixels
    int32_t rows;            ///< height in pixels
    int32_t imLens;          ///< float image, fftSize square: the effective lens in the frequency plane
    int32_t imSpread;        ///< complex image: its transform, the point spread, centred
    int32_t imIllum;         ///< byte image: the illumination aperture blended with the lens disc
    int32_t imFurther[2];    ///< closed with the record, otherwise 0
    void *furtherArray;      ///< released with the record, otherwise null
    float *kernelData;       ///< cols * rows elements, normalised, for I_Convolve with PIX_FLOAT
    float *displayData;      ///< cols * rows elements, the largest magnitude 1000
    VexaPointF *spareArray;  ///< cols * rows zeros
    VexaPointF *complexData; ///< cols * rows real and imaginary parts, for I_Convolve with PIX_COMPLEX
    int32_t fftSize;         ///< side of imLens and imSpread
    float R0;                ///< Rayleigh radius of the projection lens in pixels
    float sigma;             ///< outer illumination radius as a fraction of the lens radius
    float isigma;            ///< inner illumination radius as the same fraction
    float focus;             ///< defocus
    float fwhm;              ///< width of the kernel at half height
    float srcR0;             ///< Rayleigh radius of the source lens, 0 for none
    float srcSigma;          ///< sigma of the source lens
    float srcIsigma;         ///< isigma of the source lens
    float type;              ///< illumination type
    char illumFile[256];     ///< file of a file aperture
    float LensDiaPix;        ///< diameter of the lens in pixels of the frequency plane
    float precision;         ///< precision for which the kernel was cut, -1 while uncut
    float ErrFrac;           ///< fraction of the spread that lies outside the kernel
    float *projOTF;          ///< fftSize elements: middle row of imLens before source correction, or null
    float *srcOTF;           ///< fftSize elements: middle row of the source lens, or null
    float *ratioOTF;         ///< fftSize elements: middle row of imLens after source correction, or null
} Kernel;

/// @name Records
/// @{

/// Turns a raw kernel into the three normalised forms of a record.
///
///     displayData = real * 1000 / m             m the largest magnitude of real
///     kernelData  = real * scale                scale = 1 / max(|s|, 0.0001), s the sum of real
///     complexData = complex * scale / h         h = |sum of complex * scale|, but at least 0.001
///
/// With isigma above 0.9, scale is multiplied by t = s / (1.5 q) where t is at most 1, q being the root of the
/// sum of the squares of real: a strongly annular lens has little net sum.
///
/// @param kernel     the record to fill, its old arrays released; null makes a new one, which the caller owns
/// @param cols,rows  size in pixels; below 1 gives a record without elements
/// @param real       cols * rows elements
/// @param complex    cols * rows real and imaginary parts
/// @return the record; null if an array is null, and without memory: error 2 "I_MakeComplexKernel: N" with the
///         number of elements. The caller's record then has no arrays
///
/// A kernel of zeros has no largest magnitude: displayData holds no numbers then.
VEXA_API Kernel *I_MakeComplexKernel(Kernel *kernel, int32_t cols, int32_t rows, const float *real,
                                     const VexaPointF *complex);

/// Closes the images of a kernel, releases its arrays and the record.
///
/// @param kernel from I_MakeComplexKernel, or from malloc
/// @return 1; 0 for null
VEXA_API int32_t I_FreeKernel(Kernel *kernel);

/// @}
/// @name Profiles
/// @{

/// Makes a kernel from two measured line spreads by interpolating around the circle.
///
/// With c = M / 2, r = N / 2 and d the distance of element (i, j) from (c, r), whose parts are dx and dy:
///
///     xValue  = xProfile[trunc(c - d)] left of column c, xProfile[trunc(c + d)] from it on; 0 outside
///     yValue  = yProfile[trunc(r - d)] above row r, yProfile[trunc(r + d)] from it on; 0 outside
///     element = trunc(1000 * ((1 - w) * yValue + w * xValue)), w = dx / (dx + dy), 0.5 at the centre
///
/// @param M,N      width and height in pixels; below 2 counts as 1
/// @param xProfile M values, fractions of the peak; null counts as zeros
/// @param yProfile N values
/// @param kernel   in: a block of an earlier call, which is freed, or null; out: M * N elements, row by row,
///                 to be freed with free or vexaFree; null after a failure. Must not be null itself
/// @param sum      receives the sum of the elements; may be null
///
/// Without memory error 2 "I_CustomBlurKernel" is left.
VEXA_API void I_CustomBlurKernel(int32_t M, int32_t N, const double *xProfile, const double *yProfile,
                                 int32_t **kernel, int32_t *sum);

/// I_MxNConvolve with a kernel of I_CustomBlurKernel, divided by its sum.
/// @return as I_MxNConvolve; 0 without memory for the kernel
VEXA_API int32_t I_CustomSmooth(int32_t imSrc, int32_t imDest, int32_t M, int32_t N, const double *xProfile,
                                const double *yProfile);

/// @}
/// @name Table
/// @{

/// Frees all kernels of the table. Until another is made or found there is no current kernel.
/// @return the number of kernels freed
VEXA_API int32_t FreeKernels(void);

/// Lists the table on the clipboard and in the debug trace: "Kernels. Most recent = SLOT\n", the slot being that
/// of the last kernel found, and a line for each kernel:
///
///     "%d R0=%.2f, sigma=%.2f isigma=%.2f type=%.2f kcols=%d prec=%.4f Illum=%s\n"
///
/// @return 0
VEXA_API int32_t ListKernels(void);

/// Sets how closely kernels that are made from now on are cut, 0.02 at first, and the side of the lens images, 128
/// at first. Kernels made before stay, and are found again only under their own values.
/// @param precision above 0 the fraction that may lie outside the kernel, otherwise minus the size asked for
/// @param fftSize   above 1; any other value leaves it as it is
/// @return the precision of before
VEXA_API float I_SetKernelPrecision(float precision, int32_t fftSize);

/// Sets the picture of a file aperture, of which a copy is kept, and the name that its kernels are found by.
/// @param image an image of any type; one that is not open leaves its error and no aperture
/// @param name  255 characters count; null counts as empty
/// @return the length of the name
VEXA_API int32_t I_SetIllumApertureImage(int32_t image, const char *name);

/// @}
/// @name Read-out
/// @{

/// Writes the current kernel as text, 1000 at its peak, and stores its width at half height in the record's fwhm:
/// twice the distance from the centre at which the centre row crosses 500, -2 where it does not.
///
/// @param text     receives the elements by FormatArray with "%.1f\t", behind what it holds: the caller's, large
///                 enough, and holding a text; may be null
/// @param reserved not looked at
/// @param whole    non-zero: all rows; 0: the centre row from the centre to the right. A kernel of one column
///                 counts as one row
/// @return 1; 0 with error 1 "Kernel not defined" where there is no kernel
VEXA_API int32_t I_GetKernel(char *text, int32_t reserved, int32_t whole);

/// The width of the current kernel at a fraction of its peak: twice the distance from the centre at which the
/// centre row crosses it.
///
/// @param fraction from 0.999 on and below 0.001 the result is the number of columns
/// @return pixels; the kernel's width where the crossing is closer than half a pixel or not there; 0 without a
///         kernel
VEXA_API double I_KernelDiameter(float fraction);

/// The images of the current kernel.
///
/// @param imLens  receives the effective lens; may be null
/// @param ratio   receives fftSize / max(3, max(1, sigma) * LensDiaPix), the part of the picture that the
///                illumination's disc spans; may be null
/// @param lensDia receives LensDiaPix; may be null
/// @return the image of the illumination; 0 where there is no kernel, the outputs then unchanged
VEXA_API int32_t I_GetImIllumination(int32_t *imLens, float *ratio, float *lensDia);

/// Reports on the current kernel: stores its width at half height as I_GetKernel does, shows a normalised copy
/// "_DisplayKernel" of the effective lens beside the illumination by DisplayImages at 256 / fftSize, and puts
/// a text on the clipboard:
///
///     Kernel: %d x %d fwhm=%.2f                          cols, rows
///     R0=%.1f sigma = %.2f %.2f type=%d FocusR=%.1f      sigma and isigma
///     SrcR0=%.1f SrcSigma = %.2f %.2f
///     LensDiaPix=%.1f ksize/R0=%.1f ErrFrac=%.3f         ksize is the kernel's width, R0 at least 0.1
///     the centre row, 1000 at its peak, with "%.1f\t"
///     Effective Lens OTF. Center to right:
///     Source Lens, Proj Lens, Proj / Src                 where the record has them: srcOTF, projOTF, ratioOTF,
///                                                        fftSize / 4 elements from the centre, which is 1000
///
/// @return imLens; 0 without a kernel. Error 2 "I_DisplayKernel" is left where there is no memory for the text
VEXA_API int32_t I_DisplayKernel(void);

/// @}

#endif
