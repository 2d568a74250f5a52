#include "core/image_table.h"

#include <algorithm>
#include <cstring>

#include "core/error.h"
#include "support/buffer.h"
#include "vexalib/platform.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct State {
    ImageSlots slots = {};
    bool exists = false;
    char* searchText = nullptr;
    int32_t searchSlot = 0; // the slot of the last hit
};
constinit State state;

bool inTable(int32_t im)
{
    return im < 0 && im > -kImageSlots;
}

// Kept out of findImageRecord, which runs on every operation.
[[gnu::cold, gnu::noinline]] void reportNotOpen(int32_t im, const char* caller)
{
    if (state.exists && inTable(im))
        I_SetError(20, "%s(, im=%d)  im. not open", caller, im);
    else
        I_SetError(24, "%s(, im=%d) im. not open", caller, im);
}

} // namespace

ImageSlots& imageSlots()
{
    return state.slots;
}

ImageRecord* imageRecordOrNull(int32_t im)
{
    return inTable(im) ? state.slots[static_cast<std::size_t>(-im)] : nullptr;
}

ImageRecord* findImageRecord(int32_t im, const char* caller)
{
    ImageRecord* const record = imageRecordOrNull(im);
    if (!record) [[unlikely]]
        reportNotOpen(im, caller);
    return record;
}

int32_t firstFreeImageSlot()
{
    const auto free = std::find(state.slots.begin() + 1, state.slots.end(), nullptr);
    return static_cast<int32_t>(free - state.slots.begin());
}

void createImageTable()
{
    state.exists = true;
}

bool imageTableExists()
{
    return state.exists;
}

void freeImageRecord(ImageRecord* record)
{
    for (void* owned : {record->block, record->rowTableBlock, static_cast<void*>(record->comment),
                        static_cast<void*>(record->palette), static_cast<void*>(record->tempName),
                        static_cast<void*>(record->roiText)})
        releaseBlock(owned);
    releaseBlock(record);
}

} // namespace vexa

using namespace vexa;

int32_t I_ImClose(int32_t im)
{
    if (im == 0)
        return 0;
    ImageRecord* const record = findImageRecord(im, "I_ImClose");
    if (!record)
        return 0;
    if (record->subimageCount != 0) {
        I_SetError(1, "I_ImClose: Cannot close image %d: it has %d open subimage(s)", im,
                   record->subimageCount);
        return 0;
    }
    if (record->parent != 0)
        if (ImageRecord* const parent = findImageRecord(record->parent, "imclose2"))
            --parent->subimageCount;
    if (record->dibHandle)
        vexaGlobalFree(record->dibHandle);
    if (record->closeHook)
        record->closeHook(record);
    freeImageRecord(record);
    state.slots[static_cast<std::size_t>(-im)] = nullptr;
    return 1;
}

int32_t I_ImClose3(int32_t im1, int32_t im2, int32_t im3)
{
    const int32_t closed = I_ImClose(im1) + I_ImClose(im2) + I_ImClose(im3);
    return closed != 0;
}

void I_ImCloseAll(void)
{
    for (int32_t slot = 1; slot < kImageSlots; ++slot) {
        if (ImageRecord* const record = imageRecordOrNull(-slot)) {
            record->subimageCount = 0;
            I_ImClose(-slot);
        }
    }
    state.exists = false;
}

int32_t I_ImValid(int32_t im)
{
    return imageRecordOrNull(im) != nullptr;
}

int32_t I_ImFind(const char* text)
{
    if (!state.exists)
        return 0;
    if (text && *text) {
        char* const copy = duplicateText(text);
        if (malloctest(copy, "I_ImFind"))
            return 0;
        releaseBlock(state.searchText);
        state.searchText = copy;
        state.searchSlot = 0;
    }
    if (!state.searchText)
        return 0;
    while (++state.searchSlot < kImageSlots) {
        const ImageRecord* const record = imageRecordOrNull(-state.searchSlot);
        if (record && record->comment && std::strstr(record->comment, state.searchText))
            return -state.searchSlot;
    }
    state.searchSlot = 0;
    return 0;
}

int32_t I_ImCount(void)
{
    const auto open = [](const ImageRecord* record) { return record != nullptr; };
    return static_cast<int32_t>(std::count_if(state.slots.begin(), state.slots.end(), open));
}

int32_t I_ImageCount(void)
{
    return I_ImCount();
}

double I_TotalBytesUsed(void)
{
    if (!state.exists) {
        createImageTable();
        I_SetError(1, "I_TotalBytesUsed: no image table");
    }
    double total = 0.0;
    for (const ImageRecord* record : state.slots)
        if (record)
            // Required: the stride covers the bytes per pixel already. The figure is a generous estimate.
            total += static_cast<double>(int64_t{record->stride} * record->rows) * record->bytes;
    return total;
}
