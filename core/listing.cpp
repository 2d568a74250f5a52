#include "vexalib/listing.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/image_kinds.h"
#include "core/image_table.h"
#include "core/message_box.h"
#include "core/pixel_types.h"
#include "core/text.h"
#include "support/buffer.h"
#include "vexalib/image.h"
#include "vexalib/roi.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr double kMegabytesPerByte = 9.5367431640625e-7;
constexpr double kMegabytesPerKilobyte = 0.0009765625;
// The two ends of a range may have 310 digits each, the comment shows 50 characters.
constexpr std::size_t kLineLimit = 1000;

using Line = FixedText<kLineLimit>;
using Description = FixedText<kLineLimit + 2000>;

struct State {
    char* listing = nullptr; // kept for the next call
    int64_t listingBytes = 0;
    int32_t destX = 0;
    int32_t destY = 0;
};
constinit State state;

const char* typeName(int32_t type)
{
    for (const PixelTypeFacts& facts : kPixelTypes)
        if (facts.type == type)
            return facts.name;
    return "user";
}

const char* kindName(int32_t kind)
{
    constexpr int32_t kDisplayKind = 16;
    constexpr int32_t kGrabberKind = 21;
    switch (kind) {
    case kMemoryKind:
        return "";
    case kFileKind:
        return "file";
    case kDisplayKind:
        return "display";
    case kGrabberKind:
        return "grabber";
    default:
        return "special";
    }
}

const char* regionName(int32_t type)
{
    constexpr const char* kNames[] = {"FullFrame", "Window", "Polygon", "Scanlist"};
    return kNames[std::clamp(type, 0, 3)];
}

// An empty line for an image that is not open, with its error set.
Line describe(int32_t im)
{
    Line line;
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    if (!I_ImGetSize(&cols, &rows, &bytes, im))
        return line;
    const ImageRecord& record = *imageRecordOrNull(im);
    FixedText<40> names;
    names.print("%s %s", typeName(record.type), kindName(record.kind));
    line.print("%3d\t%4dx%4dx%2d %-7s\t%.0f-%.0f\t%.0fMB %.50s\t%s", im, cols, rows, bytes, names.get(),
               record.minValue, record.maxValue, static_cast<double>(cols) * rows * bytes * kMegabytesPerByte,
               record.comment ? record.comment : "", record.inverted ? "inverted" : "");
    return line;
}

Description describeWithStatistics(int32_t im)
{
    Description text;
    if (!I_ImValid(im)) {
        text.print("Image %d is not open", im);
        return text;
    }
    double count = 0.0;
    double mean = 0.0;
    double deviation = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    I_ComputePixelStats(1, &count, &mean, &deviation, &minimum, &maximum, im);
    text.print("%s\nInside ROI: npix=%.0f mean=%.1f stdev=%.2f min=%.1f max=%.1f", describe(im).get(), count,
               mean, deviation, minimum, maximum);
    return text;
}

// Room for the listing of all images that are open.
bool growListing()
{
    constexpr int64_t kAround = 1000;
    const int64_t wanted = kAround + I_ImCount() * static_cast<int64_t>(kLineLimit + 1);
    if (wanted <= state.listingBytes)
        return true;
    auto* const larger = static_cast<char*>(allocateBlock(wanted));
    if (malloctest(larger, "listimages"))
        return false;
    releaseBlock(state.listing);
    state.listing = larger;
    state.listingBytes = wanted;
    return true;
}

// Appends to the listing, which has the room.
class ListingWriter
{
public:
    __attribute__((format(printf, 2, 3))) void add(const char* format, ...)
    {
        const auto room = static_cast<std::size_t>(state.listingBytes - length_);
        va_list arguments;
        va_start(arguments, format);
        length_ += std::vsnprintf(state.listing + length_, room, format, arguments);
        va_end(arguments);
    }

private:
    int64_t length_ = 0;
};

int32_t addImages(ListingWriter& text)
{
    int32_t listed = 0;
    for (int32_t slot = 1; slot < kImageSlots; ++slot) {
        if (!I_ImValid(-slot))
            continue;
        text.add("%s\n", describe(-slot).get());
        ++listed;
    }
    return listed;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_DescribeImage(int32_t im, char* buffer, int32_t size)
{
    if (im >= 0 || !buffer || size < 1)
        return 0;
    const Line line = describe(im);
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s", line.get());
    return !line.empty();
}

int32_t DescribeImage(int32_t im)
{
    showMessage(describeWithStatistics(im).get());
    return I_ImValid(im);
}

int32_t DescribeImages(int32_t im1, int32_t im2, int32_t im3)
{
    FixedText<10000> text;
    text.print("%s\n%s\n%s\n", describeWithStatistics(im1).get(), describeWithStatistics(im2).get(),
               describeWithStatistics(im3).get());
    showMessage(text.get());
    I_SetClipboardText(text.get());
    return I_ImValid(im1) + I_ImValid(im2) + I_ImValid(im3);
}

const char* ImageListBox1(void)
{
    if (!growListing())
        return "";
    ListingWriter text;
    text.add("IMAGE LIST:\n");
    text.add("Im#\tSize         Type\tRange\tComment\n");
    const int32_t listed = addImages(text);
    text.add("\n%d of %d images listed\n", listed, I_ImCount());
    const double used = imageTableExists() ? I_TotalBytesUsed() : 0.0;
    text.add("\nTotal memory used = %.3f MB; %.1f MB available.\n", used * kMegabytesPerByte,
             I_MemAvailable() * kMegabytesPerKilobyte);
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
    I_GetWindowROI(&left, &top, &right, &bottom);
    text.add("\nROI Type=%s;  Window= %d %d %d %d\n", regionName(I_GetROIType()), left, top, right, bottom);
    return state.listing;
}

int32_t ImageListBox2(char* buffer, int32_t size)
{
    if (buffer && size > 0)
        std::snprintf(buffer, static_cast<std::size_t>(size), "%s", ImageListBox1());
    return I_ImCount();
}

int32_t ImageListBox(void)
{
    const char* const text = ImageListBox1();
    showMessage(text);
    I_SetClipboardText(text);
    return I_ImCount();
}

void setdestoffset(int32_t x, int32_t y)
{
    state.destX = x;
    state.destY = y;
}

void getdestoffset(int32_t* x, int32_t* y)
{
    if (x)
        *x = state.destX;
    if (y)
        *y = state.destY;
}
