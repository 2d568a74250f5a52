// The table that turns image numbers into records.
#ifndef VEXA_CORE_IMAGE_TABLE_H
#define VEXA_CORE_IMAGE_TABLE_H

#include <array>
#include <cstdint>

#include "support/guard.h"
#include "vexalib/image.h"

namespace vexa
{

inline constexpr int32_t kImageSlots = 300;

// The record of an open image; null for any other number, with error 20 or 24 set in the caller's name.
ImageRecord* findImageRecord(int32_t im, const char* caller);
// The same without a report.
ImageRecord* imageRecordOrNull(int32_t im);

// A record per slot, the number of an image being minus its slot. Slot 0 is never used.
using ImageSlots = std::array<ImageRecord*, kImageSlots>;
ImageSlots& imageSlots();
// The first slot without an image from 1 on; kImageSlots if there is none.
int32_t firstFreeImageSlot();
// The table exists from the first open to I_ImCloseAll.
void createImageTable();
bool imageTableExists();
// Frees a record with all that it owns. Its slot is the caller's business.
void freeImageRecord(ImageRecord* record);

// Closes an image, opened for a function's own work, on every way out; 0 is no image.
class [[nodiscard]] ImageGuard
{
public:
    explicit ImageGuard(int32_t im) : im_(im) {}
    ~ImageGuard()
    {
        if (im_ != 0)
            I_ImClose(im_);
    }
    ImageGuard(const ImageGuard&) = delete;
    ImageGuard& operator=(const ImageGuard&) = delete;

    int32_t get() const { return im_; }
    // The image stays open and is the caller's from now on.
    int32_t release()
    {
        const int32_t im = im_;
        im_ = 0;
        return im;
    }

private:
    int32_t im_;
};

} // namespace vexa

#endif
