#include "vexalib/search.h"

#include <algorithm>

#include "align/address_word.h"
#include "align/correlation_settings.h"
#include "align/debug_pictures.h"
#include "align/pattern_pyramid.h"
#include "vexalib/correlation.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kMostRounded = 8;

struct State {
    PyramidSlot pattern;
    PyramidSlot search;
};

State& state()
{
    static State kept;
    return kept;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_WindowSearch(VexaBox* patBox, int32_t patImage, VexaBox* srchBox, int32_t srchImage, int32_t levels,
                       float* x, float* y, float* quality, int32_t maxPeaks)
{
    if (quality)
        quality[0] = 0.0F;
    VexaBox wholePattern = {0, 0, 0, 0}, wholeSearch = {0, 0, 0, 0};
    if (patImage == 0 || srchImage == 0) {
        I_SetError(1, "I_WindowSearch: Null image: imPattern=%d imSearch=%d", patImage, srchImage);
        return 0;
    }
    I_TellProgress(0, 3, "Search: pattern");
    PatternPyramid* pattern = state().pattern.reuseOrLearn(patBox ? *patBox : wholePattern, patImage, true);
    if (!pattern)
        return 0;
    I_TellProgress(1, 3, "Search: target");
    PatternPyramid* search = state().search.reuseOrLearn(srchBox ? *srchBox : wholeSearch, srchImage, false);
    if (!search)
        return 0;
    if (!pattern->data || !search->data) {
        I_PostMessage("I_WindowSearch: null pattern: pat->%x; srch->%x", addressWord(pattern->data),
                      addressWord(search->data));
        return 0;
    }
    I_TellProgress(2, 3, "Search: corr.");
    const int32_t found = I_Align2D(pattern, search, levels, x, y, quality, maxPeaks);
    for (int32_t i = 0; i < found; ++i) {
        if (x)
            x[i] += static_cast<float>(search->left - pattern->left);
        if (y)
            y[i] += static_cast<float>(search->top - pattern->top);
    }
    if (I_GetDebug())
        showSearch(*pattern, *search, levels, found, x, y);
    if (!correlationSettings().cacheEnable) {
        state().pattern.clear();
        state().search.clear();
    }
    return found;
}

int32_t WindowSearch(VexaBox* patBox, int32_t patImage, VexaBox* srchBox, int32_t srchImage, int32_t levels,
                     VexaPoint* xy, float* quality, int32_t maxPeaks)
{
    float x[kMostRounded] = {}, y[kMostRounded] = {};
    const int32_t found = I_WindowSearch(patBox, patImage, srchBox, srchImage, levels, x, y, quality,
                                         std::min(maxPeaks, kMostRounded));
    for (int32_t i = 0; xy && i < found; ++i)
        xy[i] = {Rnd(x[i]), Rnd(y[i])};
    return found;
}
