// Where images that do not live in memory come from.
#ifndef VEXA_CORE_IMAGE_KINDS_H
#define VEXA_CORE_IMAGE_KINDS_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

inline constexpr int32_t kMemoryKind = 1;
inline constexpr int32_t kFileKind = 8;
inline constexpr int32_t kFirstRegisteredKind = 16;

// What opening and measuring an image ask of the kinds; a test may put its own in place.
struct ImageKindHooks {
    // True if operations are registered for a kind.
    bool (*isRegistered)(int32_t kind) = nullptr;
    // Makes a record an image of a free instance of a registered kind. False with an error set leaves it to
    // be freed.
    bool (*open)(ImageRecord& record, int32_t kind) = nullptr;
    // Asks a registered kind for the present size and type of an image.
    void (*refresh)(ImageRecord& record) = nullptr;
    // Gives a record its stream, a temporary file if the stream is null. False with an error set leaves it to
    // be freed.
    bool (*openFile)(ImageRecord& record, FILE* file) = nullptr;
};
ImageKindHooks& imageKindHooks();

// kinds.cpp
bool isKindRegistered(int32_t kind);
bool openKind(ImageRecord& record, int32_t kind);
void refreshKind(ImageRecord& record);

// file_kind.cpp
bool openFileKind(ImageRecord& record, FILE* file);

} // namespace vexa

#endif
