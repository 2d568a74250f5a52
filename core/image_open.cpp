#include "vexalib/image.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>

#include "core/block_access.h"
#include "core/image_kinds.h"
#include "core/image_memory.h"
#include "core/image_table.h"
#include "platform/platform.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kMaskMemory = 1;
constexpr int32_t kMaskFile = 8;
// A full image leaves the last slot to subimages.
constexpr int32_t kFullImageSlots = kImageSlots - 1;
// A memory type that names memory must leave this much of what is available.
constexpr int64_t kSpareBytes = 65536;
// The kind of an image for which no memory type could be granted.
constexpr int32_t kNoKind = 0;

struct State {
    int32_t memType = 0;
    int32_t autoClear = 0;
    // What is being opened on a registered kind, so that an open from inside the kind's own callback is seen.
    int32_t openingSlot = 0;
    int32_t openingKind = 0;
};
constinit State state;

// What the forms of I_ImOpen add to its arguments.
struct OpenRequest {
    int32_t cols;
    int32_t rows;
    int32_t bytes;
    int32_t type;
    int32_t stride = 0; // used if above 0
    void* pixels = nullptr;
    FILE* file = nullptr;
    int32_t memType = state.memType;
    bool uncleared = false; // the caller fills the pixels at once
};

int64_t chooseStride(const OpenRequest& request)
{
    if (request.stride > 0)
        return request.stride;
    const bool aligned = (request.memType == 0 || request.memType == kMemoryKind) && !request.pixels;
    return aligned ? alignedStride(request.cols, request.bytes) : int64_t{request.cols} * request.bytes;
}

// A size beyond 64 bits counts as one that no memory holds.
int64_t heldProduct(int64_t stride, int64_t rows)
{
    constexpr int64_t most = std::numeric_limits<int64_t>::max() - kSpareBytes;
    return stride > most / rows ? most : stride * rows;
}

int32_t chooseKind(const OpenRequest& request, int64_t totalBytes)
{
    const int32_t memType = request.memType;
    if (memType == 0)
        return kMemoryKind;
    if (memType >= kFirstRegisteredKind)
        return memType;
    const auto enough = [totalBytes] { return platform::availableMemory() > totalBytes + kSpareBytes; };
    if ((memType & kMaskMemory) && (request.pixels || enough()))
        return kMemoryKind;
    return memType & kMaskFile ? kFileKind : kNoKind;
}

void postOutOfMemory(const ImageRecord& record, double megabytes)
{
    const double used = I_TotalBytesUsed() / 1000000.0;
    const double available = I_MemAvailable() * 0.0009765625;
    I_PostMessage("I_ImOpen: calloc (%.3f MB (%d x %d) failed. %.0f MB in use; %.0f avail. Sum=%.0f.",
                  megabytes, record.cols, record.rows, used, available, used + available);
}

bool openInMemory(ImageRecord& record, const OpenRequest& request, int64_t stride)
{
    record.getPtr = memoryPointer;
    if (request.pixels) {
        record.data = request.pixels;
        return true;
    }
    // A stride beyond 32 bits is a block that cannot be had.
    const bool tooLarge = stride != record.stride;
    const auto allocated = [&] {
        return request.uncleared ? allocateUnclearedPixels(record) : allocatePixels(record);
    };
    if (!tooLarge && allocated())
        return true;
    const double megabytes = static_cast<double>(stride) * record.rows / 1000000.0;
    postOutOfMemory(record, megabytes);
    if (tooLarge || !allocated())
        return false;
    I_PostMessage("I_ImOpen: calloc (%.3f MB) worked on 2nd try!", megabytes);
    return true;
}

bool openRegistered(ImageRecord& record, int32_t kind, int32_t slot)
{
    const ImageKindHooks& hooks = imageKindHooks();
    if (!hooks.isRegistered || !hooks.isRegistered(kind)) {
        I_SetError(25, "I_ImOpen (%d)", kind);
        return false;
    }
    state.openingSlot = slot;
    state.openingKind = kind;
    const bool opened = hooks.open(record, kind);
    if (state.openingSlot != slot) {
        vexa_dprintf("Problem in ImageTypeOpen(): incorrect fcn type? inum=%d, type=%d", slot, kind);
        if (opened && record.closeHook)
            record.closeHook(&record);
        return false;
    }
    return opened;
}

bool openFile(ImageRecord& record, FILE* file)
{
    const ImageKindHooks& hooks = imageKindHooks();
    if (hooks.openFile)
        return hooks.openFile(record, file);
    I_SetError(11, "");
    return false;
}

bool openByKind(ImageRecord& record, int32_t kind, int32_t slot, const OpenRequest& request, int64_t stride)
{
    switch (kind) {
    case kNoKind:
        return false;
    case kMemoryKind:
        return openInMemory(record, request, stride);
    case kFileKind:
        return openFile(record, request.file);
    default:
        return openRegistered(record, kind, slot);
    }
}

bool needsPalette(int32_t type)
{
    return type == PIX_BYTE || type == PIX_PALETTE;
}

bool makeGreyPalette(ImageRecord& record)
{
    record.palette = static_cast<uint8_t*>(allocateBlock(kPaletteBytes));
    if (malloctest(record.palette, "I_ImOpenSpecial()"))
        return false;
    for (int32_t i = 0; i < kPaletteBytes; ++i)
        record.palette[i] = static_cast<uint8_t>(i % 4 == 3 ? 0 : i / 4);
    return true;
}

// The last steps of an open, common to all kinds. False leaves the record to be freed.
bool completeRecord(ImageRecord& record, int32_t kind, const OpenRequest& request)
{
    const int32_t type = request.type;
    record.kind = kind;
    record.type = type;
    if (record.getPtr) {
        record.putBlock = record.putBlock ? record.putBlock : putBlockByPointer;
        record.getBlock = record.getBlock ? record.getBlock : getBlockByPointer;
    }
    if (!needsPalette(type) || makeGreyPalette(record))
        return true;
    // A stream of the application's stays open where no image comes about.
    if (record.closeHook && !request.file)
        record.closeHook(&record);
    return false;
}

// True if rows at that distance can be given memory of the application's.
bool addressable(int64_t stride, int64_t rows)
{
    return stride <= std::numeric_limits<int32_t>::max() &&
           stride * rows <= std::numeric_limits<std::ptrdiff_t>::max();
}

// A zeroed record in a slot; null without memory, reported under the tag.
ImageRecord* placeRecord(int32_t slot, const char* tag)
{
    auto* const record = static_cast<ImageRecord*>(allocateBlock(1, sizeof(ImageRecord)));
    if (malloctest(record, "%s", tag))
        return nullptr;
    imageSlots()[static_cast<std::size_t>(slot)] = record;
    return record;
}

// The described order of an open from the choice of a slot on. Gives the number, or 0.
int32_t openInSlot(int32_t slot, const OpenRequest& request, int64_t stride)
{
    ImageRecord* const record = placeRecord(slot, "I_ImOpenSpecial()");
    if (!record)
        return 0;
    record->bytes = request.bytes;
    record->cols = request.cols;
    record->rows = request.rows;
    record->stride = saturateToInt32(stride);
    record->type = request.type;
    const int32_t kind = chooseKind(request, heldProduct(stride, request.rows));
    if (!openByKind(*record, kind, slot, request, stride) || !completeRecord(*record, kind, request)) {
        imageSlots()[static_cast<std::size_t>(slot)] = nullptr;
        freeImageRecord(record);
        return 0;
    }
    // Required: a width of -1 leaves out the last column, a height of -1 the last row.
    if (state.autoClear && !request.pixels && !request.file)
        I_ImClearBlockType(0, 0, -1, -1, nullptr, -slot, 0);
    return -slot;
}

int32_t openImage(OpenRequest request, int32_t a = 0, int32_t b = 0)
{
    createImageTable();
    request.cols = std::max(request.cols, 1);
    request.rows = std::max(request.rows, 1);
    const int64_t stride = chooseStride(request);
    if (request.bytes < 1 || request.bytes > 16 || (request.pixels && !addressable(stride, request.rows))) {
        I_SetError(12, "I_ImOpenSpecial(%d, %d, %d %d, %x %x)", request.cols, request.rows, request.bytes,
                   request.type, static_cast<uint32_t>(a), static_cast<uint32_t>(b));
        return 0;
    }
    const int32_t slot = firstFreeImageSlot();
    if (slot >= kFullImageSlots) {
        I_SetError(21, "");
        return 0;
    }
    return openInSlot(slot, request, stride);
}

// Where a window starts and ends in its parent's bytes.
struct WindowSpan {
    int64_t start;
    int64_t end;
    int64_t parentEnd;
};

// Beyond the described test: a window that starts behind its parent's pixels, or whose pixels end there, is out too.
bool inParent(const WindowSpan& span, const ImageRecord& parent, int64_t cols, int64_t rows)
{
    if (span.start < 0 || span.end > span.parentEnd || span.start > span.parentEnd)
        return false;
    if (cols < 1 || rows < 1)
        return true;
    const int64_t pixelsEnd = span.start + (rows - 1) * parent.stride + cols * parent.bytes;
    return pixelsEnd <= pixelSpan(parent) + parent.fileStart;
}

void makeWindow(ImageRecord& record, const ImageRecord& parent, int64_t start)
{
    record = parent;
    if (uint8_t* const pixels = directPixels(parent))
        record.data = pixels + start;
    else if (parent.kind == kFileKind) // the pixels are reached by their place in the file
        record.fileStart = saturateToInt32(start);
    record.block = nullptr;
    record.rowTable = nullptr;
    record.rowTableBlock = nullptr;
    record.comment = nullptr;
    record.palette = nullptr;
    record.tempName = nullptr;
    record.roiText = nullptr;
    record.subimageCount = 0;
    record.dibHandle = nullptr;
    record.originX = 0;
    record.originY = 0;
    record.closeHook = nullptr;
}

void commentWindow(int32_t im, int32_t parent, const char* parentComment, int32_t x, int32_t y)
{
    constexpr const char* kFormat = "Subimage of %d (%s) at %d %d";
    const int length = std::snprintf(nullptr, 0, kFormat, parent, parentComment, x, y);
    Buffer<char> text(int64_t{length} + 1);
    if (malloctest(text.data(), "subimage comment"))
        return;
    std::snprintf(text.data(), static_cast<std::size_t>(text.size()), kFormat, parent, parentComment, x, y);
    I_ImSetComment(text.data(), im);
}

} // namespace

int32_t openUnclearedImage(int32_t cols, int32_t rows, int32_t stride, int32_t type)
{
    OpenRequest request = {cols, rows, I_ImTypeBytes(type), type};
    request.stride = stride;
    request.uncleared = true;
    return openImage(request);
}

} // namespace vexa

using namespace vexa;

int32_t I_ImOpenSpecial(int32_t cols, int32_t rows, int32_t bytes, int32_t type, int32_t a, int32_t b)
{
    return openImage({cols, rows, bytes, type}, a, b);
}

int32_t I_ImOpen(int32_t cols, int32_t rows, int32_t type)
{
    return openImage({cols, rows, I_ImTypeBytes(type), type});
}

int32_t I_ImOpenEx(int32_t cols, int32_t rows, int32_t type, const char* comment)
{
    const int32_t im = I_ImOpen(cols, rows, type);
    I_ImSetComment(comment, im);
    return im;
}

int32_t I_ImOpenStride(int32_t cols, int32_t rows, int32_t stride, int32_t type)
{
    OpenRequest request = {cols, rows, I_ImTypeBytes(type), type};
    request.stride = stride;
    return openImage(request);
}

int32_t I_ImOpenPtr(int32_t cols, int32_t rows, int32_t stride, int32_t type, void* pixels)
{
    if (!pixels)
        return 0;
    OpenRequest request = {cols, rows, I_ImTypeBytes(type), type};
    request.stride = stride;
    request.pixels = pixels;
    request.memType = kMaskMemory;
    return openImage(request);
}

int32_t I_ImOpenFile(int32_t cols, int32_t rows, int32_t stride, int32_t type, FILE* file)
{
    OpenRequest request = {cols, rows, I_ImTypeBytes(type), type};
    request.stride = stride;
    request.file = file;
    request.memType = kMaskFile;
    return openImage(request);
}

int32_t I_ImOpenSubimage(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t parent)
{
    ImageRecord* const from = findImageRecord(parent, "subimage");
    if (!from)
        return 0;
    // Required: x and y are not tested themselves, so a window may come out with no columns or rows.
    const int64_t width = std::min<int64_t>(cols, int64_t{from->cols} - x);
    const int64_t height = std::min<int64_t>(rows, int64_t{from->rows} - y);
    WindowSpan span = {};
    span.start = int64_t{y} * from->stride + from->fileStart + int64_t{x} * from->bytes;
    span.end = (y + height) * from->stride + from->fileStart;
    span.parentEnd = int64_t{from->stride} * from->rows + from->fileStart;
    if (!inParent(span, *from, width, height)) {
        I_SetError(13, "I_ImOpenSubimage(%d %d %d %d %d), offset=%ld, NewEnd=%ld, ParEnd=%ld, stride=%d", x,
                   y, saturateToInt32(width), saturateToInt32(height), parent, static_cast<long>(span.start),
                   static_cast<long>(span.end), static_cast<long>(span.parentEnd), from->stride);
        return 0;
    }
    const int32_t slot = firstFreeImageSlot();
    if (slot >= kImageSlots) {
        I_SetError(21, "");
        return 0;
    }
    ImageRecord* const record = placeRecord(slot, "I_ImOpenSubimage()");
    if (!record)
        return 0;
    makeWindow(*record, *from, span.start);
    record->cols = saturateToInt32(width);
    record->rows = saturateToInt32(height);
    record->parent = parent;
    ++from->subimageCount;
    if (from->comment)
        commentWindow(-slot, parent, from->comment, x, y);
    return -slot;
}

int32_t I_ImResize(int32_t cols, int32_t rows, int32_t type, int32_t im)
{
    int32_t oldCols = 0;
    int32_t oldRows = 0;
    int32_t oldBytes = 0;
    if (im != 0 && I_ImGetSize(&oldCols, &oldRows, &oldBytes, im)) {
        // Required: the bytes per pixel are held against the type code.
        if (cols == oldCols && rows == oldRows && type == oldBytes)
            return im;
    } else if (im > 0 || im <= -kImageSlots) {
        return 0;
    }
    const int32_t fresh = I_ImOpen(cols, rows, type);
    if (fresh == 0 || im == 0 || fresh == im)
        return fresh;
    if (imageRecordOrNull(im) && !I_ImClose(im)) {
        I_ImClose(fresh);
        return 0;
    }
    ImageSlots& slots = imageSlots();
    slots[static_cast<std::size_t>(-im)] = slots[static_cast<std::size_t>(-fresh)];
    slots[static_cast<std::size_t>(-fresh)] = nullptr;
    return im;
}

int32_t I_ImSetMemType(int32_t kindMask)
{
    const int32_t old = state.memType;
    state.memType = kindMask;
    return old;
}

int32_t I_SetImAutoClear(int32_t flag)
{
    state.autoClear = flag;
    return flag;
}
