#include "vexalib/kinds.h"

#include <algorithm>
#include <array>

#include "core/image_kinds.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kKinds = 32;

// The operations of a kind. Open images point to them, so a registration stays when another one takes its
// place.
struct Registration {
    ImageKindOps ops; // inUse is a block of this file's
    Registration* earlier;
};

struct State {
    std::array<Registration*, kKinds> kinds = {};
    Registration* replaced = nullptr;
};
constinit State state;

Registration* registrationOf(int32_t kind)
{
    return kind >= 0 && kind < kKinds ? state.kinds[static_cast<std::size_t>(kind)] : nullptr;
}

int64_t flagCount(const ImageKindOps& ops)
{
    return ops.inUse ? blockBytes(ops.inUse) / static_cast<int64_t>(sizeof(int32_t)) : 0;
}

// Room for more flags of instances in use than there is, and for no more than so many.
bool growFlags(ImageKindOps& ops, int32_t count)
{
    const int64_t present = flagCount(ops);
    const int64_t wanted = std::min<int64_t>(std::max<int64_t>(2 * present, 16), count);
    auto* const flags = static_cast<int32_t*>(allocateBlock(wanted, sizeof(int32_t)));
    if (malloctest(flags, "ImageTypeOpen"))
        return false;
    std::copy_n(ops.inUse, present, flags);
    releaseBlock(ops.inUse);
    ops.inUse = flags;
    return true;
}

// The first instance that no image uses, with a flag of its own; -1 with an error set where there is none.
int32_t freeInstance(ImageKindOps& ops)
{
    // A count that grew since the registration is good for as many images.
    const int32_t count = ops.countFn ? ops.countFn() : ops.count;
    const auto flags = static_cast<int32_t>(std::min<int64_t>(flagCount(ops), std::max(count, 0)));
    const int32_t* const free = std::find(ops.inUse, ops.inUse + flags, 0);
    const auto instance = static_cast<int32_t>(free - ops.inUse);
    if (instance >= count) {
        I_SetError(1, "ImageTypeOpen: image %d not available (max=%d)", instance, count);
        return -1;
    }
    return instance < flags || growFlags(ops, count) ? instance : -1;
}

intptr_t valueOf(const ImageRecord& record)
{
    return reinterpret_cast<intptr_t>(record.data);
}

void askSize(ImageRecord& record, const ImageKindOps& ops)
{
    ops.getSize(&record.cols, &record.rows, &record.stride, &record.type);
    record.bytes = I_ImTypeBytes(record.type);
}

// What an image of a kind calls, through its record: the kind's own operation in the kind's coordinates.
template <auto Operation>
int32_t callHook(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c, ImageRecord* record)
{
    return (record->ops->*Operation)(wrapAdd(x, record->originX), wrapAdd(y, record->originY), a, b, c);
}

template <auto Operation>
int32_t moveBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* record)
{
    (record->ops->*Operation)(wrapAdd(x, record->originX), wrapAdd(y, record->originY), width, height,
                              buffer);
    return 1;
}

void* pointerFromKind(int32_t x, int32_t y, int32_t* bytesLeft, int32_t* stride, ImageRecord* record)
{
    refreshKind(*record);
    return record->ops->getPtr(wrapAdd(x, record->originX), wrapAdd(y, record->originY), bytesLeft, stride);
}

void closeKind(ImageRecord* record)
{
    const ImageKindOps& ops = *record->ops;
    if (ops.close)
        ops.close(valueOf(*record));
    ops.inUse[record->instance] = 0;
}

void setOperations(ImageRecord& record, const ImageKindOps& ops)
{
    using Ops = ImageKindOps;
    record.hook0 = ops.hook0 ? callHook<&Ops::hook0> : nullptr;
    record.hook1 = ops.hook1 ? callHook<&Ops::hook1> : nullptr;
    record.getBlock = ops.getBlock ? moveBlock<&Ops::getBlock> : nullptr;
    record.putBlock = ops.putBlock ? moveBlock<&Ops::putBlock> : nullptr;
    record.getPtr = ops.getPtr ? pointerFromKind : nullptr;
    record.closeHook = closeKind;
}

} // namespace

bool isKindRegistered(int32_t kind)
{
    return registrationOf(kind) != nullptr;
}

bool openKind(ImageRecord& record, int32_t kind)
{
    Registration* const registration = registrationOf(kind);
    if (!registration) {
        I_SetError(22, "ImageTypeOpen");
        return false;
    }
    ImageKindOps& ops = registration->ops;
    const int32_t instance = freeInstance(ops);
    if (instance < 0)
        return false;
    if (!ops.getSize) {
        I_SetError(1, "ImageTypeOpen: image size undefined");
        return false;
    }
    if (ops.select)
        ops.select(instance);
    askSize(record, ops);
    record.data = reinterpret_cast<void*>(ops.open ? ops.open(instance) : intptr_t{instance});
    ops.inUse[instance] = 1;
    record.instance = instance;
    record.ops = &ops;
    setOperations(record, ops);
    return true;
}

void refreshKind(ImageRecord& record)
{
    const ImageKindOps& ops = *record.ops;
    if (ops.select)
        ops.select(valueOf(record));
    askSize(record, ops);
}

} // namespace vexa

using namespace vexa;

int32_t addimagetype(int32_t kind, const ImageKindOps* ops)
{
    if (kind < 0 || kind >= kKinds || !ops) {
        I_SetError(22, "addimagetype");
        return 0;
    }
    Registration*& entry = state.kinds[static_cast<std::size_t>(kind)];
    if (entry) {
        entry->earlier = state.replaced;
        state.replaced = entry;
    }
    // Required: the table is changed first, so a kind that there is no memory for has no operations any more.
    entry = static_cast<Registration*>(allocateBlock(1, sizeof(Registration)));
    if (malloctest(entry, "addimagetype"))
        return 0;
    ImageKindOps& copy = entry->ops;
    copy = *ops;
    if (copy.countFn)
        copy.count = copy.countFn();
    copy.count = std::max(copy.count, 1);
    copy.inUse = static_cast<int32_t*>(allocateBlock(copy.count, sizeof(int32_t)));
    return malloctest(copy.inUse, "addimagetype") ? 0 : 1;
}
