// The cross-hair cursor that can be taken off again.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "graphics/display_hooks.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct State {
    CursorHook hook = nullptr;
};
constinit State state;

uint8_t* pixelsBehind(CursorSave* save)
{
    return reinterpret_cast<uint8_t*>(save + 1);
}

// The two strokes as blocks of the image; a stroke that does not lie on the image is empty.
struct Stroke {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
    int64_t offset; // of its pixels behind the header
};

struct Strokes {
    Stroke across;
    Stroke down;
};

Strokes strokesOf(const CursorSave& save, int32_t cols, int32_t rows)
{
    Strokes strokes{{save.startX, save.y, save.acrossLength, 1, 0},
                    {save.x, save.startY, 1, save.downLength, int64_t{save.acrossLength} * save.pixelBytes}};
    if (save.y < 0 || save.y >= rows)
        strokes.across.width = 0;
    if (save.x < 0 || save.x >= cols)
        strokes.down.height = 0;
    return strokes;
}

void saveStroke(const Stroke& stroke, uint8_t* pixels, int32_t im, int32_t type)
{
    I_GetBlockType(stroke.x, stroke.y, stroke.width, stroke.height, pixels + stroke.offset, im, type);
}

void putStroke(const Stroke& stroke, const uint8_t* pixels, int32_t im, int32_t type)
{
    I_PutBlockType(stroke.x, stroke.y, stroke.width, stroke.height, pixels, im, type);
}

// False: no memory.
bool drawStrokes(CursorSave* save, int32_t cols, int32_t rows, int32_t color)
{
    const int64_t longest = std::max(save->acrossLength, save->downLength);
    Buffer<uint8_t> line(longest * save->pixelBytes);
    if (malloctest(line.data(), "I_CursorUp"))
        return false;
    std::memset(line.data(), static_cast<uint8_t>(color), static_cast<std::size_t>(line.size()));
    const int32_t type = I_ImGetType(save->im);
    const Strokes strokes = strokesOf(*save, cols, rows);
    // Both are saved before either is drawn, so that the cross point is saved as it was.
    saveStroke(strokes.across, pixelsBehind(save), save->im, type);
    saveStroke(strokes.down, pixelsBehind(save), save->im, type);
    putStroke(strokes.across, line.data(), save->im, type);
    putStroke(strokes.down, line.data(), save->im, type);
    return true;
}

void restoreStrokes(CursorSave* save)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    // An image that was remade with other pixels has nothing to restore.
    if (!I_ImGetSize(&cols, &rows, &bytes, save->im) || bytes != save->pixelBytes)
        return;
    const int32_t type = I_ImGetType(save->im);
    const Strokes strokes = strokesOf(*save, cols, rows);
    putStroke(strokes.across, pixelsBehind(save) + strokes.across.offset, save->im, type);
    putStroke(strokes.down, pixelsBehind(save) + strokes.down.offset, save->im, type);
}

} // namespace

CursorHook setCursorHook(CursorHook hook)
{
    return std::exchange(state.hook, hook);
}

CursorHook cursorHook()
{
    return state.hook;
}

} // namespace vexa

int32_t limitbox(int32_t center, int32_t length, int32_t size, int32_t* start, int32_t* kept)
{
    const int64_t half = length / 2;
    const int64_t wanted = int64_t{center} - half;
    const int64_t from = wanted < 0 ? 0 : std::min<int64_t>(wanted, int64_t{size} - 1);
    const int64_t left =
        std::min({int64_t{length}, int64_t{center} - from - half + length, int64_t{size} - from});
    const int32_t result = vexa::saturateToInt32(std::max<int64_t>(left, 0));
    if (start)
        *start = vexa::saturateToInt32(from);
    if (kept)
        *kept = result;
    return result;
}

void* I_CursorUp(int32_t x, int32_t y, int32_t width, int32_t height, int32_t color)
{
    vexa::CursorSave head = {};
    head.im = I_GetGraphicsFrame();
    int32_t cols = 0;
    int32_t rows = 0;
    if (head.im == 0 || !I_ImGetSize(&cols, &rows, &head.pixelBytes, head.im))
        return nullptr;
    head.x = x;
    head.y = y;
    limitbox(x, width, cols, &head.startX, &head.acrossLength);
    limitbox(y, height, rows, &head.startY, &head.downLength);
    const int64_t pixels = int64_t{head.acrossLength} + head.downLength;
    if (pixels == 0)
        return nullptr;
    auto* save = static_cast<vexa::CursorSave*>(
        vexa::allocateForCaller(static_cast<int64_t>(sizeof head) + pixels * head.pixelBytes));
    if (malloctest(save, "I_CursorUp"))
        return nullptr;
    *save = head;
    const vexa::CursorHook hook = vexa::cursorHook();
    if ((hook && hook(save, color, 1)) || vexa::drawStrokes(save, cols, rows, color))
        return save;
    std::free(save);
    return nullptr;
}

void I_CursorDown(void* block)
{
    if (!block)
        return;
    auto* save = static_cast<vexa::CursorSave*>(block);
    I_SetGraphicsFrame(save->im);
    const vexa::CursorHook hook = vexa::cursorHook();
    if (!hook || !hook(save, 0, 0))
        vexa::restoreStrokes(save);
    std::free(save);
}

int32_t I_DrawCursor(int32_t x, int32_t y, int32_t width, int32_t height, int32_t color)
{
    void* save = I_CursorUp(x, y, width, height, color);
    std::free(save);
    return save != nullptr;
}
