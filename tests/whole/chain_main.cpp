// Random chains of operators over random images, types, regions and modes, and one checksum of all that came out: the
// same on every instruction set, compiler and word size.
//
//   chain            runs all chains and prints the checksum
//   chain N          replays chain N and prints what each step left
//   chain --set base limits the instruction set (base, avx2, avx512); before N where both are given
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/instruction_set.h"
#include "vexalib/vexalib.h"

namespace
{

constexpr int32_t kChains = 400;
constexpr int32_t kSteps = 30;

class Checksum
{
public:
    void add(const void* bytes, std::size_t count)
    {
        const auto* p = static_cast<const uint8_t*>(bytes);
        for (std::size_t i = 0; i < count; ++i)
            sum_ = (sum_ ^ p[i]) * 1099511628211ULL; // FNV-1a
    }
    template <typename T>
    void add(const T& value)
    {
        add(&value, sizeof value);
    }
    uint64_t value() const { return sum_; }

private:
    uint64_t sum_ = 14695981039346656037ULL;
};

struct Chain {
    std::mt19937 random;
    std::vector<int32_t> images;
    Checksum sum;

    // One call in an expression at most: compilers differ in the order of arguments.
    int32_t below(int32_t n) { return static_cast<int32_t>(random() % static_cast<uint32_t>(n)); }
    int32_t im() { return images[static_cast<std::size_t>(below(static_cast<int32_t>(images.size())))]; }
    double real() { return (below(4001) - 2000) / 16.0; }
};

// What one step may need, drawn in a fixed order.
struct Draw {
    explicit Draw(Chain& c)
    {
        for (int32_t& image : im)
            image = c.im();
        for (int32_t& value : offset)
            value = c.below(9) - 4;
        for (double& value : real)
            value = c.real();
        for (int32_t& value : byte)
            value = c.below(256);
    }
    int32_t im[4];
    int32_t offset[6];
    double real[2];
    int32_t byte[4];
};

constexpr int32_t kTypes[] = {PIX_BYTE,  PIX_BYTE,  PIX_BYTE,  PIX_WORD,  PIX_DWORD, PIX_FLOAT,
                              PIX_FLOAT, PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_DFLOAT};

void openImages(Chain& c)
{
    const int32_t cols = 1 + c.below(70);
    const int32_t rows = 1 + c.below(50);
    for (int32_t i = 0; i < 5; ++i) {
        const int32_t type = kTypes[c.below(11)];
        const int32_t moreCols = c.below(3);
        const int32_t moreRows = c.below(3);
        const int32_t im = I_ImOpen(cols + moreCols, rows + moreRows, type);
        for (int32_t y = 0; y < rows + 2; ++y) {
            for (int32_t x = 0; x < cols + 2; ++x) {
                const float value =
                    type == PIX_FLOAT ? static_cast<float>(c.real()) : static_cast<float>(c.below(256));
                I_PutPix(x, y, value, im);
            }
        }
        c.images.push_back(im);
    }
    c.images.push_back(I_ImOpenSubimage(cols / 3, rows / 3, cols, rows, c.images[0]));
    if (c.below(2))
        I_ImInvertRows(c.images[1]);
}

void setRegion(Chain& c)
{
    VexaPoint points[6];
    for (VexaPoint& p : points) {
        p.x = c.below(70) - 5;
        p.y = c.below(50) - 5;
    }
    switch (c.below(5)) {
    case 0:
        I_SetWindowROI(points[0].x, points[0].y, points[1].x, points[1].y);
        break;
    case 1:
        I_SetPolygonROI(points, 3 + c.below(4));
        break;
    case 2: {
        const VexaPoint runs[] = {{1, 1}, {5, 1}, {8, 1}, {60, 1}, {0, 4},
                                  {3, 4}, {2, 5}, {2, 5}, {7, 20}, {33, 20}};
        I_SetScanlistROI(runs, 10);
        break;
    }
    default:
        I_SetROIType(0);
    }
}

void setModes(Chain& c)
{
    I_SetClipMode(c.below(8));
    I_SetColorBand(c.below(5) - 2);
    I_SetColorMode(c.below(2));
    I_SetComplexMode(c.below(4));
}

void addImage(Chain& c, int32_t im)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    I_ImGetSize(&cols, &rows, &bytes, im);
    int32_t stride = 0;
    const auto* first = static_cast<const uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, im));
    for (int32_t y = 0; y < rows; ++y)
        c.sum.add(first + int64_t{y} * stride,
                  static_cast<std::size_t>(cols) * static_cast<std::size_t>(bytes));
}

using Step = std::function<int32_t(Chain&, const Draw&)>;

int32_t histogramStep(Chain& c, const Draw& d)
{
    uint32_t histogram[256];
    const int32_t n = I_CalcHist(histogram, d.im[0]);
    c.sum.add(histogram);
    return n;
}

int32_t statisticsStep(Chain& c, const Draw& d)
{
    double stats[5] = {};
    const int32_t n =
        I_ComputePixelStats(d.byte[0] % 3, stats, stats + 1, stats + 2, stats + 3, stats + 4, d.im[0]);
    c.sum.add(stats);
    float pixel[4] = {};
    I_PixelStats(d.im[1], pixel, pixel + 1, pixel + 2, pixel + 3);
    c.sum.add(pixel);
    return n;
}

int32_t blobStep(Chain& c, const Draw& d)
{
    int32_t cols = 0;
    int32_t rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, d.im[0]);
    const int32_t label = d.byte[0] % 2 ? I_ImOpen(cols, rows, PIX_BYTE) : 0;
    I_FindBlobs1(d.byte[1], d.byte[2], d.im[0], label);
    const int32_t blobs = I_GetBlobCount();
    for (int32_t b = 0; b < blobs; ++b) {
        int32_t moments[8] = {};
        I_GetBlobMoments1(b, moments, moments + 1, moments + 2, moments + 3);
        I_GetBlobBoundingBox(b, moments + 4, moments + 5, moments + 6, moments + 7);
        c.sum.add(moments);
    }
    if (label) {
        addImage(c, label);
        I_ImClose(label);
    }
    return blobs;
}

int32_t tableStep(Chain&, const Draw& d)
{
    uint8_t table[256] = {};
    switch (d.byte[0] % 4) {
    case 0:
        I_StretchLUT(d.byte[1], d.byte[2], table);
        break;
    case 1:
        I_SteppedLUT(d.byte[1] % 100, 1 + d.byte[2] % 20, table);
        break;
    case 2:
        I_DualLinThreshLUT(d.byte[1], d.byte[2], table);
        break;
    default:
        I_InvertLUT(table);
    }
    return I_LUTMapROI(d.im[0], d.im[1], table);
}

int32_t copyStep(Chain&, const Draw& d)
{
    return I_ImCopyBlock(d.byte[0] % 40 - 1, d.byte[1] % 40 - 1, d.offset[0], d.offset[1], d.im[0],
                         d.offset[2], d.offset[3], d.im[1]);
}

const std::vector<Step>& steps()
{
    static const std::vector<Step> all = {
        [](Chain&, const Draw& d) { return I_Add(d.im[0], d.im[1], d.im[2]); },
        [](Chain&, const Draw& d) { return I_Subtract(d.im[0], d.im[1], d.im[2], d.offset[0], d.offset[1]); },
        [](Chain&, const Draw& d) { return I_Multiply(d.im[0], d.im[1], d.im[2], d.real[0]); },
        [](Chain&, const Draw& d) { return I_Divide(d.im[0], d.im[1], d.im[2], d.real[0]); },
        [](Chain&, const Draw& d) {
            return I_Blend(d.im[0], d.im[1], d.im[2], static_cast<float>(d.byte[0]) / 64.0F);
        },
        [](Chain&, const Draw& d) { return I_And(d.im[0], d.im[1], d.im[2]); },
        [](Chain&, const Draw& d) { return I_Xor(d.im[0], d.im[1], d.im[2]); },
        [](Chain&, const Draw& d) { return I_Max(d.im[0], d.im[1], d.im[2]); },
        [](Chain&, const Draw& d) { return I_Min(d.im[0], d.im[1], d.im[2]); },
        [](Chain&, const Draw& d) { return I_ConstAdd(d.im[0], d.im[1], d.real[0]); },
        [](Chain&, const Draw& d) { return I_ConstSubAbs(d.im[0], d.im[1], d.real[0]); },
        [](Chain&, const Draw& d) {
            return I_ScaleIntensityROI(d.im[0], d.im[1], d.real[0], d.real[1] / 64.0);
        },
        [](Chain&, const Draw& d) {
            return I_ScaleIntensityROIAbs(d.im[0], d.im[1], d.real[0], d.real[1] / 64.0);
        },
        [](Chain&, const Draw& d) { return I_FlatField(d.im[0], d.im[1], d.im[2], d.im[3], d.byte[0]); },
        [](Chain&, const Draw& d) { return I_BlendByPixel(d.im[0], d.im[1], d.im[2], d.im[3]); },
        [](Chain&, const Draw& d) { return I_CopyROI(d.im[0], d.im[1]); },
        [](Chain&, const Draw& d) { return I_ROICopy(d.im[0], d.im[1], d.offset[0], d.offset[1]); },
        [](Chain&, const Draw& d) { return I_MaxRGB(d.im[0], d.im[1]); },
        [](Chain&, const Draw& d) { return I_OverlayROI(d.im[0], d.im[1], d.im[2]); },
        [](Chain&, const Draw& d) {
            return static_cast<int32_t>(
                I_SubtractMax(d.im[0], d.im[1], d.im[2], d.offset[0], d.offset[1], nullptr));
        },
        [](Chain&, const Draw& d) {
            return I_Threshold(d.im[0], d.im[1], static_cast<float>(d.real[0]),
                               static_cast<float>(d.real[1]));
        },
        [](Chain&, const Draw& d) { return I_NormalizeROI(d.im[0], d.im[1]); },
        [](Chain&, const Draw& d) { return I_NormalizeLimited(d.im[0], d.im[1], 4.0F); },
        [](Chain&, const Draw& d) { return I_ClearROI(d.byte[0], d.im[0]); },
        [](Chain&, const Draw& d) { return I_ImageCopy(d.im[0], d.im[1]); },
        tableStep,
        copyStep,
        histogramStep,
        statisticsStep,
        blobStep,
    };
    return all;
}

uint64_t runChain(int32_t number, bool tell)
{
    Chain c;
    c.random.seed(static_cast<uint32_t>(number));
    I_SetError1(0, "");
    openImages(c);
    for (int32_t step = 0; step < kSteps; ++step) {
        setRegion(c);
        setModes(c);
        const Draw d(c);
        const auto which = static_cast<std::size_t>(c.below(static_cast<int32_t>(steps().size())));
        const int32_t result = steps()[which](c, d);
        c.sum.add(result);
        for (const int32_t im : c.images)
            addImage(c, im);
        if (tell)
            std::printf("step %d: operator %zu, result %d, checksum %016llx\n", step, which, result,
                        static_cast<unsigned long long>(c.sum.value()));
    }
    I_ImCloseAll();
    return c.sum.value();
}

void ignore(const char*, int32_t) {}

} // namespace

int main(int argc, char** argv)
{
    I_SetErrorHandlerCallback(ignore);
    int argument = 1;
    if (argument + 1 < argc && std::strcmp(argv[argument], "--set") == 0) {
        const std::string set = argv[argument + 1];
        vexa::limitInstructionSet(set == "base"   ? vexa::InstructionSet::base
                                  : set == "avx2" ? vexa::InstructionSet::avx2
                                                  : vexa::InstructionSet::avx512);
        argument += 2;
    }
    if (argument < argc) {
        runChain(std::atoi(argv[argument]), true);
        return 0;
    }
    Checksum all;
    for (int32_t number = 0; number < kChains; ++number)
        all.add(runChain(number, false));
    std::printf("%016llx\n", static_cast<unsigned long long>(all.value()));
    return 0;
}
