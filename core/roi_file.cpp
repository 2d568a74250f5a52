// Regions as text: files of slots, and the region kept with an image.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "core/roi_slots.h"
#include "core/roi_state.h"
#include "support/buffer.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kLineBytes = 16000;
constexpr int32_t kImageTextBytes = 8000;
constexpr int32_t kRoiTextParameter = 15;
// Two numbers of at most 11 characters and their blanks, for a point as for the head of the text.
constexpr int64_t kPointChars = 24;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File openFile(const char* name, const char* mode)
{
    File file(name ? std::fopen(name, mode) : nullptr);
    if (!file)
        I_SetError(16, "%s", name ? name : "");
    return file;
}

// The numbers of a text, one after the other. What does not begin with a number reads as 0.
class Numbers
{
public:
    explicit Numbers(const char* text) : at_(text) {}

    bool next(int32_t* value)
    {
        at_ += std::strspn(at_, kSeparators);
        const std::size_t length = std::strcspn(at_, kSeparators);
        if (length == 0)
            return false;
        const long long number = std::strtoll(at_, nullptr, 10);
        *value = static_cast<int32_t>(std::clamp<long long>(number, std::numeric_limits<int32_t>::min(),
                                                            std::numeric_limits<int32_t>::max()));
        at_ += length;
        return true;
    }
    // No more numbers than this follow.
    int64_t atMost() const { return static_cast<int64_t>(std::strlen(at_) / 2) + 1; }

private:
    static constexpr const char* kSeparators = " ,\t\r\n";
    const char* at_;
};

// The points of a ROI text into a slot. When the text ends early the slot keeps its count and type, and its
// array is a new one all the same.
bool readPoints(Numbers& numbers, int32_t type, int32_t count, int32_t number)
{
    RoiSlot& slot = roiSlot(number);
    const int32_t oldCount = slot.count;
    const int64_t size = std::max<int64_t>(std::min<int64_t>(count, numbers.atMost()), oldCount);
    if (!replaceSlotPoints(slot, size, "readroifile()"))
        return false;
    for (int32_t i = 0; i < count; ++i) {
        VexaPoint point = {};
        if (!numbers.next(&point.x) || !numbers.next(&point.y)) {
            I_SetError(1, "ROI string error, ROI#%d", number);
            return false;
        }
        slot.points[i] = point;
    }
    slot.type = type;
    slot.count = count;
    return true;
}

// The next line without what does not fit the buffer.
bool nextLine(std::FILE* file, char* line)
{
    if (!std::fgets(line, kLineBytes, file))
        return false;
    if (!std::strchr(line, '\n'))
        for (int c = 0; c != '\n' && c != EOF;)
            c = std::getc(file);
    return true;
}

void readLine(const char* line)
{
    Numbers numbers(line);
    int32_t slot = 0;
    int32_t type = 0;
    int32_t count = 0;
    if (line[0] == ';' || !numbers.next(&slot) || !numbers.next(&type) || !numbers.next(&count))
        return;
    if (slot >= 0 && slot < kRoiSlots && count >= 1)
        readPoints(numbers, type, count, slot);
}

// "type count x y x y ... "; null with error 2: no memory.
Buffer<char> roiText(const RoiSlot& slot)
{
    const int64_t bytes = (int64_t{slot.count} + 1) * kPointChars + 1;
    Buffer<char> text(bytes);
    if (malloctest(text.data(), "getroistring"))
        return text;
    char* at = text.data();
    const auto room = [&] { return static_cast<std::size_t>(text.end() - at); };
    at += std::snprintf(at, room(), "%1d %2d ", slot.type, slot.count);
    for (int32_t i = 0; i < slot.count; ++i)
        at += std::snprintf(at, room(), "%d %d ", slot.points[i].x, slot.points[i].y);
    return text;
}

bool writeSlots(std::FILE* file)
{
    std::fputs(";ROI DEFINITIONS\n;number type size points\n", file);
    for (int32_t i = 0; i < kRoiSlots; ++i) {
        const RoiSlot& slot = roiSlot(i);
        if (slot.count == 0)
            continue;
        const Buffer<char> text = roiText(slot);
        if (!text)
            return false;
        std::fprintf(file, "%2d %s\n", i, text.data());
    }
    return true;
}

} // namespace

bool keepRoiWithImage(int32_t im)
{
    if (!I_SaveROI(kTextSlot))
        return false;
    const Buffer<char> text = roiText(roiSlot(kTextSlot));
    return text && I_ImSetParam(text.data(), 0, kRoiTextParameter, im);
}

void recallRoiOfImage(int32_t im)
{
    char text[kImageTextBytes + 1] = {};
    I_ImGetParam(text, kImageTextBytes, kRoiTextParameter, im);
    Numbers numbers(text);
    int32_t type = 0;
    int32_t count = 0;
    if (numbers.next(&type) && numbers.next(&count)) {
        if (count >= 1) {
            readPoints(numbers, type, count, kTextSlot);
        } else {
            roiSlot(kTextSlot).type = type;
            roiSlot(kTextSlot).count = 0;
        }
    }
    I_RecallROI(kTextSlot);
}

} // namespace vexa

int32_t readroifile(const char* name)
{
    const vexa::File file = vexa::openFile(name, "r");
    if (!file)
        return 0;
    vexa::Buffer<char> line(vexa::kLineBytes);
    if (malloctest(line.data(), "readroifile"))
        return 0;
    while (vexa::nextLine(file.get(), line.data()))
        vexa::readLine(line.data());
    return 1;
}

int32_t writeroifile(const char* name)
{
    vexa::File file = vexa::openFile(name, "w");
    if (!file)
        return 0;
    if (!vexa::writeSlots(file.get()))
        return 0;
    const bool written = !std::ferror(file.get());
    // What could not be flushed to a full disk shows only here.
    if (std::fclose(file.release()) != 0 || !written)
        return I_SetError(16, "%s", name);
    return 1;
}
