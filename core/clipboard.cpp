#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/platform.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "vexalib/dib.h"
#include "vexalib/listing.h"
#include "vexalib/platform.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// What an element's text has at most, and what stands behind it.
constexpr int64_t kElementRoom = 401;

// A text that grows by pieces as long as there is memory.
class GrowingText
{
public:
    bool add(const char* more)
    {
        const auto bytes = static_cast<int64_t>(std::strlen(more));
        if (length_ + bytes >= text_.size() && !grow(2 * (length_ + bytes + 1)))
            return false;
        std::memcpy(text_.data() + length_, more, static_cast<std::size_t>(bytes) + 1);
        length_ += bytes;
        return true;
    }
    const char* get() const { return text_.data(); }

private:
    bool grow(int64_t bytes)
    {
        Buffer<char> larger(bytes);
        if (!larger)
            return false;
        if (length_ > 0)
            std::memcpy(larger.data(), text_.data(), static_cast<std::size_t>(length_));
        text_ = std::move(larger);
        return true;
    }

    Buffer<char> text_;
    int64_t length_ = 0;
};

// The array as text, as I_FormatArrayEx writes it, row by row so that a row's room is all that must be known
// before.
bool formatRows(GrowingText& text, const uint8_t* array, int64_t rowBytes, int32_t elementBytes, int32_t rows,
                const char* numberFormat)
{
    const auto cols = static_cast<int32_t>(rowBytes / elementBytes);
    Buffer<char> row(cols * kElementRoom + 1);
    if (!row)
        return false;
    for (int32_t y = 0; y < rows; ++y) {
        row[0] = '\0';
        I_FormatArrayEx(row.data(), array + y * rowBytes, elementBytes, cols, 1, numberFormat, "\t", nullptr);
        if ((y > 0 && !text.add("\r\n")) || !text.add(row.data()))
            return false;
    }
    return true;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_SetClipboardText(const char* text)
{
    return text ? platform::storeClipboard(VEXA_CLIPBOARD_TEXT, text, std::strlen(text) + 1) : 0;
}

int32_t I_SetClipboardImage(int32_t im)
{
    void* const dib = I_CopyImageToDIB(im, 0);
    if (!dib)
        return 0;
    const Guard release([dib] { vexaGlobalFree(dib); });
    const void* const block = vexaGlobalLock(dib);
    const int32_t stored =
        block ? platform::storeClipboard(VEXA_CLIPBOARD_DIB, block, vexaGlobalSize(dib)) : 0;
    vexaGlobalUnlock(dib);
    return stored;
}

int32_t I_GetClipboardImage(void)
{
    const std::size_t bytes = platform::fetchClipboard(VEXA_CLIPBOARD_DIB, nullptr, 0);
    void* const dib = bytes > 0 ? vexaGlobalAlloc(bytes) : nullptr;
    if (!dib) {
        if (bytes > 0)
            malloctest(nullptr, "I_GetClipboardImage");
        return 0;
    }
    void* const block = vexaGlobalLock(dib);
    platform::fetchClipboard(VEXA_CLIPBOARD_DIB, block, bytes);
    vexaGlobalUnlock(dib);
    const int32_t image = I_CopyDIBtoImage(dib);
    if (image == 0)
        vexaGlobalFree(dib); // what is no bitmap was not consumed
    return image;
}

int32_t I_SetClipboardArray(const void* array, int32_t elementBytes, int32_t cols, int32_t rows,
                            const char* numberFormat)
{
    if (!array || elementBytes < 1 || cols < 1)
        return 0;
    GrowingText text;
    const bool complete = formatRows(text, static_cast<const uint8_t*>(array), int64_t{cols} * elementBytes,
                                     elementBytes, std::max(rows, 1), numberFormat);
    if (malloctest(complete ? text.get() : nullptr, "I_SetClipboardArray"))
        return 0;
    return I_SetClipboardText(text.get());
}
