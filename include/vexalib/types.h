/// Shared types and constants of VexaLib.
///
/// Every other header of the library includes this one. It compiles as C11 and as C++17.
#ifndef VEXALIB_TYPES_H
#define VEXALIB_TYPES_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#if defined(__cplusplus)
#define VEXA_EXTERN_C extern "C"
#else
#define VEXA_EXTERN_C
#endif

#if defined(VEXA_STATIC)
#define VEXA_EXPORT
#elif defined(_WIN32) && defined(VEXA_BUILDING)
#define VEXA_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define VEXA_EXPORT __declspec(dllimport)
#else
#define VEXA_EXPORT __attribute__((visibility("default")))
#endif

/// Marks an exported function: C linkage, visible in the library.
#define VEXA_API VEXA_EXTERN_C VEXA_EXPORT

#if defined(__GNUC__)
/// Tells the compiler that argument FORMAT is a printf format for the arguments from FIRST on.
#define VEXA_PRINTF(FORMAT, FIRST) __attribute__((format(printf, FORMAT, FIRST)))
#else
#define VEXA_PRINTF(FORMAT, FIRST)
#endif

/// Pixel type codes of images, block buffers and row buffers.
enum {
    PIX_BYTE = 1,     ///< unsigned 8-bit
    PIX_WORD = 2,     ///< 16-bit
    PIX_DWORD = 3,    ///< 32-bit integer
    PIX_FLOAT = 4,    ///< 32-bit float
    PIX_DFLOAT = 5,   ///< 64-bit float
    PIX_COMPLEX = 6,  ///< complex, two 32-bit floats
    PIX_DCOMPLEX = 7, ///< complex, two 64-bit floats
    PIX_PALETTE = 12, ///< 8-bit index into the image's palette
    PIX_BGR15 = 13,   ///< 5 bits of each colour
    PIX_BGR16 = 15,   ///< 5, 6 and 5 bits
    PIX_BGR24 = 16,   ///< blue, green, red bytes
    PIX_RGB24 = 17,   ///< red, green, blue bytes
    PIX_BGR32 = 18,   ///< blue, green, red, spare bytes
    PIX_RGB32 = 19,   ///< spare, red, green, blue bytes
    PIX_PLANAR = 23   ///< three planes, one byte per band
};

/// A pixel position, or one end of a run in a scan list.
typedef struct VexaPoint {
    int32_t x, y;
} VexaPoint;

/// A position in fractions of a pixel.
typedef struct VexaPointF {
    float x, y;
} VexaPointF;

/// A rectangle of pixels; all four sides are inclusive.
typedef struct VexaBox {
    int32_t left, top, right, bottom;
} VexaBox;

/// How a pixel conversion scales, turns and colours: filled by SetupScale, read by the block and pixel conversions.
typedef struct ScaleRecord {
    int32_t mode;       ///< 0 no scaling; 1 integer, write direction; 2 integer, read direction; 4 float
    int32_t shift;      ///< right shift for integer to byte, left shift for byte to integer
    int32_t reserved;   ///< zero
    int32_t sourceFlip; ///< the source rows are bottom-up
    int32_t destFlip;   ///< the destination rows are bottom-up
    int32_t low;        ///< subtracted before the shift, added after it
    double gain;        ///< multiplier
    double offset;      ///< subtracted before the gain
    const void *sourcePalette; ///< 256 entries of blue, green, red, spare bytes, or null
    const void *destPalette;   ///< the same for the destination
} ScaleRecord;

/// The operations of a registered image kind.
typedef struct ImageKindOps {
    int32_t (*hook0)(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c);
    int32_t (*hook1)(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c);
    int32_t (*getBlock)(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer);
    int32_t (*putBlock)(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer);
    void *(*getPtr)(int32_t x, int32_t y, int32_t *bytesLeft, int32_t *stride);
    int32_t (*select)(intptr_t instance);
    void *unused;
    intptr_t (*open)(int32_t instance);
    int32_t (*close)(intptr_t data);
    int32_t (*getSize)(int32_t *cols, int32_t *rows, int32_t *stride, int32_t *type);
    int32_t (*countFn)(void);
    int32_t count;
    int32_t *inUse;
} ImageKindOps;

/// The descriptor of one open image. The library owns every record; applications see one only through SetupScale.
typedef struct ImageRecord ImageRecord;
struct ImageRecord {
    const ImageKindOps *ops; ///< the kind's operations; null for memory and file images
    int32_t cols;            ///< width in pixels
    int32_t rows;            ///< height in pixels
    int32_t stride;          ///< distance between rows, in bytes
    int32_t bytes;           ///< bytes per pixel
    int32_t type;            ///< pixel type code
    int32_t kind;            ///< 1 memory, 8 file, others registered
    int32_t inverted;        ///< non-zero if the rows lie bottom-up in storage
    double minValue;         ///< lower end of the value range of the pixels
    double maxValue;         ///< upper end of the value range of the pixels
    int32_t instance;        ///< number of this instance within a registered kind
    int32_t originX;         ///< added to every x handed to a kind's operation
    int32_t originY;         ///< added to every y handed to a kind's operation
    int32_t parent;          ///< the image this is a subimage of, or 0
    int32_t subimageCount;   ///< number of open subimages on this image
    int32_t fileStart;       ///< file position of the first pixel, for file images
    void *data;              ///< address of pixel (0, 0), or null if the pixels are not addressable
    void *dibHandle;         ///< a global memory handle owned by the image
    void **rowTable;         ///< row addresses in logical order, with two more at either end
    FILE *file;              ///< the open file of a file image
    void *block;             ///< the allocation that holds the pixels, if the image owns one
    void *rowTableBlock;     ///< the allocation that holds rowTable
    char *comment;           ///< owned, or null
    uint8_t *palette;        ///< owned: 256 entries of blue, green, red, spare bytes, or null
    char *tempName;          ///< owned: temporary file to delete at close, or null
    char *roiText;           ///< owned: a region of interest kept with the image, or null
    int32_t (*hook0)(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c, ImageRecord *record);
    int32_t (*hook1)(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c, ImageRecord *record);
    int32_t (*getBlock)(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer,
                        ImageRecord *record);
    int32_t (*putBlock)(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer,
                        ImageRecord *record);
    void *(*getPtr)(int32_t x, int32_t y, int32_t *bytesLeft, int32_t *stride, ImageRecord *record);
    void (*closeHook)(ImageRecord *record);
};

/// Row functions of the row operator frames: n elements, and the parameter that the operator handed to the frame.
typedef void (*UnaryRowFilter)(const void *source, void *dest, int32_t n, void *parameter);
typedef void (*BinaryRowFilter)(const void *a, const void *b, void *dest, int32_t n, void *parameter);
typedef void (*StatsRowFilter)(const void *row, int32_t n, void *parameter);

/// Receives an error or progress message. LENGTH is the text's length plus 1.
typedef void (*VexaErrorCallback)(const char *text, int32_t length);
/// Receives the fraction done, above 0 and at most 1, and the text of the running operation.
typedef void (*VexaProgressCallback)(float fraction, const char *text);

/// Releases a block that the library handed out. Plain free does the same where both share one runtime.
VEXA_API void vexaFree(void *block);
/// The library's version as text, "1.0.0".
VEXA_API const char *vexaVersion(void);

#endif
