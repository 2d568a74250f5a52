// Where images that do not live in memory come from. The files that provide such kinds fill in the hooks.
#ifndef VEXA_CORE_IMAGE_KINDS_H
#define VEXA_CORE_IMAGE_KINDS_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

inline constexpr int32_t kMemoryKind = 1;
inline constexpr int32_t kFileKind = 8;
inline constexpr int32_t kFirstRegisteredKind = 16;

struct ImageKindHooks {
    // True if operations are registered for a kind.
    bool (*isRegistered)(int32_t kind) = nullptr;
    // Makes a record an image of a free instance of a registered kind. False with an error set leaves it to be freed.
    bool (*open)(ImageRecord& record, int32_t kind) = nullptr;
    // Asks a registered kind for the present size and type of an image.
    void (*refresh)(ImageRecord& record) = nullptr;
    // Gives a record its stream, a temporary file if the stream is null. False with an error set leaves it to be freed.
    bool (*openFile)(ImageRecord& record, FILE* file) = nullptr;
};
ImageKindHooks& imageKindHooks();

} // namespace vexa

#endif
