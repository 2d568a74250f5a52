#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "align/address_word.h"
#include "align/corr_peaks.h"
#include "align/correlation_settings.h"
#include "align/pattern_pyramid.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/correlation.h"
#include "vexalib/listing.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr float kFlat = 0.1F;        // deviation of a level on which nothing can be found
constexpr int32_t kLeastPattern = 6; // columns and rows above level 0
constexpr int32_t kLeastRoom = 6;    // by which the search exceeds the pattern above level 0
constexpr int64_t kMostScores = 10000000;
constexpr int32_t kWindow = 5;        // positions each way around a candidate
constexpr int32_t kManyPixels = 1000; // of a pattern's level that several candidates leave out

// The size of a level and of the level's part of another.
struct LevelSize {
    int32_t cols;
    int32_t rows;
};

LevelSize sizeOf(const PatternPyramid& pyramid, int32_t level)
{
    return {pyramid.cols / (1 << level), pyramid.rows / (1 << level)};
}

bool isComplete(const PatternPyramid* pyramid)
{
    return pyramid && pyramid->data && pyramid->recordSize == kPyramidRecordSize;
}

int32_t recordSizeOf(const PatternPyramid* pyramid)
{
    return pyramid ? pyramid->recordSize : 0;
}

enum class Outcome { done, givenUp, failed };

class Alignment
{
public:
    Alignment(PatternPyramid& pattern, PatternPyramid& search, CorrPeak* list, int32_t maxPeaks)
        : pattern_(pattern), search_(search), list_(list), maxPeaks_(maxPeaks)
    {
        list_[0].fullX = list_[0].fullY = 1.0F;
    }

    // The candidates that were followed; 0 after a failure.
    int32_t run(int32_t levels)
    {
        for (;; levels = top_) {
            levels_ = levels < 1 ? 1 : levels > 7 ? 8 : levels;
            top_ = levels_ - 1;
            switch (descend()) {
            case Outcome::done:
                return candidates_;
            case Outcome::failed:
                return 0;
            case Outcome::givenUp:
                break;
            }
        }
    }

private:
    Outcome descend()
    {
        for (int32_t level = top_; level >= 0; --level) {
            const Outcome outcome = runLevel(level);
            if (outcome != Outcome::done)
                return outcome;
            const LevelSize size = sizeOf(pattern_, level);
            const bool isLarge = level < 2 && int64_t{size.cols} * size.rows > kManyPixels;
            if (maxPeaks_ > 1 && (level <= correlationSettings().stopLevel || isLarge))
                break;
        }
        return Outcome::done;
    }

    Outcome runLevel(int32_t level)
    {
        if (!isUsableLevel(pattern_, search_, level))
            return level == 0 ? Outcome::failed : Outcome::givenUp;
        const LevelSize pattern = sizeOf(pattern_, level), search = sizeOf(search_, level);
        const LevelSize scores =
            isFirst_ ? LevelSize{search.cols - pattern.cols + 1, search.rows - pattern.rows + 1}
                     : LevelSize{kWindow, kWindow};
        const int64_t count = int64_t{scores.cols} * scores.rows;
        if (scores.cols < 1 || scores.rows < 1 || count >= kMostScores) {
            I_SetError(1,
                       "Align2D srch smaller than pat. CorrSize=%d,%d; Level=%d of %d, PatCols=%d %d "
                       "SrchCols=%d %d;  ScaledCols:%d %d; %d %d",
                       scores.cols, scores.rows, level, levels_, pattern_.cols, pattern_.rows, search_.cols,
                       search_.rows, pattern.cols, pattern.rows, search.cols, search.rows);
            return Outcome::failed;
        }
        // Border cells are compared with a row behind the surface.
        Buffer<float> surface(count + 2 * int64_t{scores.cols});
        if (malloctest(surface.data(), "Align2D corrbuf0 size=%d = %x x %x", static_cast<int32_t>(count),
                       static_cast<uint32_t>(scores.cols), static_cast<uint32_t>(scores.rows)))
            return Outcome::failed;
        if (!correlate(level, scores, surface.data()))
            return Outcome::failed;
        if (I_GetDebug())
            trace(level, scores, surface);
        isFirst_ = false;
        return Outcome::done;
    }

    bool correlate(int32_t level, const LevelSize& scores, float* surface)
    {
        if (isFirst_)
            return findCandidates(level, scores, surface);
        for (int32_t i = 0; i < candidates_; ++i)
            if (!(correlationSettings().minPeak > list_[i].value) && !follow(i, level, scores, surface))
                return false;
        return true;
    }

    bool findCandidates(int32_t level, const LevelSize& scores, float* surface)
    {
        if (!scoreWindow(0, level, {0, 0}, scores, surface))
            return false;
        findCorrPeaks(surface, scores.cols, scores.rows, list_, maxPeaks_);
        for (int32_t i = 0; i < maxPeaks_; ++i)
            setFullPosition(list_[i], list_[i].levelX, list_[i].levelY, level);
        candidates_ = maxPeaks_;
        return true;
    }

    bool follow(int32_t i, int32_t level, const LevelSize& scores, float* surface)
    {
        CorrPeak& candidate = list_[i];
        const int32_t scale = 1 << level;
        const LevelSize pattern = sizeOf(pattern_, level), search = sizeOf(search_, level);
        // Two pixels up and left of the place expected, as far as the windows stay inside the level.
        const VexaPoint origin = {std::clamp(truncToInt32(candidate.fullX) / scale - 2, 0,
                                             std::max(search.cols - pattern.cols - (kWindow - 1), 0)),
                                  std::clamp(truncToInt32(candidate.fullY) / scale - 2, 0,
                                             std::max(search.rows - pattern.rows - (kWindow - 1), 0))};
        if (!scoreWindow(i, level, origin, scores, surface))
            return false;
        CorrPeak found = {};
        findCorrPeaks(surface, scores.cols, scores.rows, &found, 1);
        candidate.value = found.value;
        candidate.levelX = found.levelX;
        candidate.levelY = found.levelY;
        setFullPosition(candidate, static_cast<float>(origin.x) + found.levelX,
                        static_cast<float>(origin.y) + found.levelY, level);
        return true;
    }

    static void setFullPosition(CorrPeak& peak, float x, float y, int32_t level)
    {
        const auto scale = static_cast<float>(1 << level);
        peak.fullX = x * scale;
        peak.fullY = y * scale;
    }

    bool scoreWindow(int32_t candidate, int32_t level, const VexaPoint& origin, const LevelSize& scores,
                     float* surface)
    {
        char text[60];
        std::snprintf(text, sizeof text, "Corr Level %d, match %d", level, candidate);
        if (!isComplete(&pattern_) || !isComplete(&search_)) {
            I_PostMessage("Align2D 3: null pattern: pat->%x; srch->%x m=%d sz=%d %d",
                          addressWord(pattern_.data), addressWord(search_.data), candidate,
                          pattern_.recordSize, search_.recordSize);
            return false;
        }
        const LevelSize pattern = sizeOf(pattern_, level), search = sizeOf(search_, level);
        const uint8_t* image = search_.data + search_.levelOffset[level];
        Corr2D(pattern_.data + pattern_.levelOffset[level], pattern.cols, pattern.cols, pattern.rows,
               image + int64_t{origin.y} * search.cols + origin.x, search.cols, surface, scores.cols,
               scores.rows, text);
        return true;
    }

    // The surface in thousandths, gathered level by level, goes to the clipboard at level 0.
    void trace(int32_t level, const LevelSize& scores, Buffer<float>& surface) const
    {
        constexpr float kTracedScale = 1000.0F;
        constexpr int64_t kCharacters = 16; // of a score and its separator
        const CorrPeak& peak = list_[0];
        char line[400];
        const int32_t written =
            std::snprintf(line, sizeof line,
                          "level=%d peak=%.1f xy=%.2f %.2f dx= %.2f %.1f; sboxLeft=%d %d; CorrWid=%d %d  "
                          "meandiff[nlevel]=%.2f qual= %.3f\r\n",
                          level, double{peak.value * kTracedScale}, double{peak.levelX}, double{peak.levelY},
                          double{peak.fullX}, double{peak.fullY}, search_.left, search_.top, scores.cols,
                          scores.rows, double{pattern_.levelMeanDiff[level]}, double{peak.value});
        for (float& score : surface)
            score = std::clamp(score * kTracedScale, -1e9F, 1e9F);
        const char* old = tracedText() ? tracedText().data() : "";
        Buffer<char> longer(static_cast<int64_t>(std::strlen(old)) + written + surface.size() * kCharacters +
                            1);
        if (!longer)
            return;
        std::snprintf(longer.data(), static_cast<std::size_t>(longer.size()), "%s%s", old, line);
        I_FormatArrayEx(longer.data(), surface.data(), sizeof(float), scores.cols, scores.rows, "%.0f", "\t",
                        nullptr);
        tracedText() = std::move(longer);
        if (level != 0)
            return;
        I_SetClipboardText(tracedText().data());
        tracedText() = {};
    }

    static Buffer<char>& tracedText()
    {
        static Buffer<char> text;
        return text;
    }

    PatternPyramid& pattern_;
    PatternPyramid& search_;
    CorrPeak* list_;
    int32_t maxPeaks_;
    int32_t candidates_ = 1;
    bool isFirst_ = true;
    int32_t levels_ = 0;
    int32_t top_ = 0;
};

} // namespace

bool isUsableLevel(const PatternPyramid& pattern, const PatternPyramid& search, int32_t level)
{
    if (pattern.levelDeviation[level] < kFlat)
        return false;
    const LevelSize small = sizeOf(pattern, level), large = sizeOf(search, level);
    return level == 0 || (small.cols >= kLeastPattern && small.rows >= kLeastPattern &&
                          large.cols - small.cols >= kLeastRoom && large.rows - small.rows >= kLeastRoom);
}

} // namespace vexa

using namespace vexa;

int32_t I_Align2D(PatternPyramid* pattern, PatternPyramid* search, int32_t levels, float* x, float* y,
                  float* quality, int32_t maxPeaks)
{
    const int32_t room = std::max(maxPeaks, 0);
    Buffer<CorrPeak> list(int64_t{room} + 2);
    if (!isComplete(pattern) || !isComplete(search)) {
        I_PostMessage("Align2D 1: null pattern: pat->%d; srch->%d size=%d",
                      static_cast<int32_t>(addressWord(pattern ? pattern->data : nullptr)),
                      static_cast<int32_t>(addressWord(search ? search->data : nullptr)),
                      recordSizeOf(pattern));
        return 0;
    }
    if (!list || std::min({pattern->cols, pattern->rows, search->cols, search->rows}) < 1)
        return 0;
    const int32_t found = Alignment(*pattern, *search, list.data(), room).run(levels);
    for (int32_t i = 0; found && i < room; ++i) {
        if (x)
            x[i] = list[i].fullX;
        if (y)
            y[i] = list[i].fullY;
        if (quality)
            quality[i] = list[i].value;
    }
    return found;
}
