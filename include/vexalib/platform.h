/// What the operating system gives the library, and how an application puts its own in place.
#ifndef VEXALIB_PLATFORM_H
#define VEXALIB_PLATFORM_H

#include "vexalib/types.h"

/// The buttons of a message box.
enum {
    VEXA_BOX_OK = 0,           ///< a message with one button
    VEXA_BOX_YES_NO = 1,       ///< a question
    VEXA_BOX_YES_NO_CANCEL = 2 ///< a question that can be called off
};

/// The answers of a message box.
enum { VEXA_ANSWER_OK = 1, VEXA_ANSWER_YES = 2, VEXA_ANSWER_NO = 3, VEXA_ANSWER_CANCEL = 4 };

/// What a clipboard holds. The numbers are those of the desktop system that bitmaps come from.
enum {
    VEXA_CLIPBOARD_TEXT = 1, ///< bytes of a text with its terminating zero
    VEXA_CLIPBOARD_DIB = 8   ///< a device-independent bitmap: header, palette, rows
};

/// One drawing of a bitmap, or a part of it, onto a rectangle of a display target.
typedef struct VexaStretch {
    int32_t targetX, targetY, targetWidth, targetHeight;
    int32_t sourceX, sourceY, sourceWidth, sourceHeight;
    const void *header;     ///< the bitmap's 40-byte header and its palette behind it
    const void *pixels;     ///< the bitmap's rows
    const uint8_t *palette; ///< 256 entries of red, green, blue, flags for a target that shows palette indexes
} VexaStretch;

typedef struct VexaPlatform {
    size_t size; ///< sizeof(VexaPlatform), so that a program and a library of different age understand each other

    int32_t (*messageBox)(const char *text, const char *caption, int32_t buttons, int32_t defaultAnswer);

    int32_t (*storeClipboard)(int32_t format, const void *data, size_t bytes);
    size_t (*fetchClipboard)(int32_t format, void *buffer, size_t capacity);

    void *(*globalAlloc)(size_t bytes);
    void *(*globalLock)(void *handle);
    int32_t (*globalUnlock)(void *handle);
    size_t (*globalSize)(void *handle);
    void *(*globalFree)(void *handle);

    void *(*openDisplay)(void *window);
    void (*closeDisplay)(void *window, void *target);
    int32_t (*stretchBitmap)(void *target, const VexaStretch *stretch);

    int32_t (*startTimer)(int32_t milliseconds, void (*tick)(void *), void *argument);
    int32_t (*stopTimer)(int32_t timer);
    int32_t (*startThread)(void (*body)(void *), void *argument);
    void (*beep)(int32_t hertz, int32_t milliseconds);

    int64_t (*counter)(void);
    int64_t (*counterFrequency)(void);
    int64_t (*availableMemory)(void);

    int64_t (*readFile)(const char *name, void *buffer, int64_t count);
    size_t (*readProfile)(const char *file, const char *section, const char *key, const char *fallback,
                          char *buffer, size_t size);
    int32_t (*writeProfile)(const char *file, const char *section, const char *key, const char *text);

    int32_t (*lastError)(char *text, size_t size);
} VexaPlatform;

VEXA_API int32_t vexaSetPlatform(const VexaPlatform *platform);

/// Movable global memory blocks: what DIB handles are.
VEXA_API void *vexaGlobalAlloc(size_t bytes);
VEXA_API void *vexaGlobalLock(void *handle);
VEXA_API int32_t vexaGlobalUnlock(void *handle);
VEXA_API size_t vexaGlobalSize(void *handle);
VEXA_API void *vexaGlobalFree(void *handle);

#endif
