// What is left of a difference when edges may be off and defects must have a size.
#ifndef VEXA_APPS_RESIDUE_H
#define VEXA_APPS_RESIDUE_H

#include "image.h"
#include "inspect.h"

namespace app
{

inline constexpr int32_t kZero = 128; // grey level of no difference

// Whether a box of differences holds one that reaches the threshold.
bool anyPasses(const Image& difference, const VexaBox& box, int32_t threshold);

// Blocks of a picture that differ; 128 lies everywhere else.
class Residue
{
public:
    Residue(const Image& underlaid, const Image& defect, const Image& difference, const VexaBox& window,
            const InspectSettings& settings);

    bool empty() const { return blocks_.empty(); }
    // The whole picture, 128 where nothing is left.
    Image asImage(int32_t cols, int32_t rows) const;
    void writeTo(Image& image) const;
    // A part of it.
    Pixels cut(const VexaBox& window) const;

private:
    struct Block {
        int32_t left, top;
        Pixels pixels;
    };
    std::vector<Block> blocks_;
};

} // namespace app

#endif
