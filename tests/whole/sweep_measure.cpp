#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

using namespace gen;

int32_t length(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 100, 600});
}

// Leaves a blob table behind, sometimes an empty or a small one.
int32_t labelled(Stage& s)
{
    I_SetBlobTableSize(s.pick({kLowest, 0, 1, 2, 300, 5000}));
    const int32_t im = s.openImage();
    const int32_t label = s.random() % 2 ? s.openImage() : IM(s);
    I_FindBlobs1(s.pick({0.0, 1.0, 100.0, 200.0, -5.0}), s.pick({0.0, 120.0, 255.0, 256.0}), im, label);
    return label;
}

int32_t blobNumber(Stage& s)
{
    return s.pick({kLowest, -2, -1, 0, 1, 2, 30, 4999, 65535, kHighest});
}

void smallRegion(Stage& s)
{
    const VexaPoint triangle[] = {{2, 2}, {30, 5}, {9, 25}};
    if (s.random() % 2)
        I_SetPolygonROI(triangle, 3);
    else
        I_SetROIType(0);
}

} // namespace

std::vector<SweptFunction> sweptMeasure()
{
    return {
        {"I_CalcHist", [](Stage& s) { smallRegion(s), I_CalcHist(static_cast<uint32_t*>(BUF(s)), IM(s)); }},
        swept("I_HistBuf", I_HistBuf, BUF, length, BUF, MODE),
        swept("I_CalcHistMasked", I_CalcHistMasked, BUF, IM, IM, OUT),
        {"I_CalcHistFloat",
         [](Stage& s) {
             double offset = REAL(s);
             double width = REAL(s);
             I_CalcHistFloat(IM(s), static_cast<uint32_t*>(BUF(s)), s.pick({-256, -1, 0, 1, 256}),
                             s.random() % 3 ? &offset : nullptr, s.random() % 3 ? &width : nullptr);
         }},
        swept("I_SumHist", I_SumHist, BUF, length),
        swept("HistogramMinMax", HistogramMinMax, OUT, OUT, BUF),
        swept("I_GetHistStats", I_GetHistStats, BUF, OUT, OUT, OUT),
        {"I_HistStats",
         [](Stage& s) {
             I_HistStats(static_cast<uint32_t*>(BUF(s)), s.pick({0, 3, 255}),
                         s.pick({-1, 0, 2, 255, kLowest}), static_cast<int32_t*>(OUT(s)),
                         static_cast<int32_t*>(OUT(s)), static_cast<float*>(OUT(s)),
                         static_cast<float*>(OUT(s)));
         }},
        swept("I_NormHist", I_NormHist, BUF, MODE, MODE, MODE, OUT, OUT),
        {"I_ComputePixelStats",
         [](Stage& s) {
             double out[5];
             smallRegion(s);
             I_ComputePixelStats(MODE(s), s.random() % 2 ? out : nullptr, s.random() % 2 ? out + 1 : nullptr,
                                 s.random() % 2 ? out + 2 : nullptr, s.random() % 2 ? out + 3 : nullptr,
                                 s.random() % 2 ? out + 4 : nullptr, IM(s));
         }},
        swept("I_PixelStats", I_PixelStats, IM, OUT, OUT, OUT, OUT),
        swept("I_PixelStatsMasked", I_PixelStatsMasked, IM, IM, OUT, OUT, OUT, OUT, MODE, OUT),
        swept("I_ArrayStatsType", I_ArrayStatsType, OUT, length, TYPE, OUT, OUT, OUT, OUT),
        swept("I_ArrayStats", I_ArrayStats, BUF, length, TYPE, OUT, OUT, OUT, OUT),
        swept("I_ArraySumStats", I_ArraySumStats, BUF, BUF, length, TYPE, OUT, OUT, OUT),
        swept("I_ArrayDiffStats", I_ArrayDiffStats, BUF, BUF, length, TYPE, OUT, OUT, OUT),
        swept("I_DiffStats", I_DiffStats, IM, IM, OUT, OUT),
        {"scaledDist",
         [](Stage& s) {
             const VexaPoint a = {XY(s), XY(s)};
             const VexaPoint b = {XY(s), XY(s)};
             scaledDist(&a, &b, REAL(s), REAL(s));
         }},
        swept("I_BinaryMoments", I_BinaryMoments, OUT, OUT, OUT, OUT, OUT, OUT, REAL, REAL, MODE, MODE, IM),
        swept("I_GrayMoments", I_GrayMoments, OUT, OUT, OUT, OUT, OUT, OUT, REAL, REAL, MODE, MODE, IM),
        {"ScanlistMoments",
         [](Stage& s) {
             // Runs of bounded length: each pixel of the list is summed.
             VexaPoint list[16];
             for (VexaPoint& p : list)
                 p = {s.pick({-50, 0, 3, 200}), s.pick({kLowest, -1, 0, 5, kHighest})};
             double out[4];
             VexaPointF centroid;
             ScanlistMoments(s.random() % 4 ? list : nullptr, s.pick({kLowest, -1, 0, 1, 2, 15, 16}),
                             s.random() % 2 ? out : nullptr, s.random() % 2 ? &centroid : nullptr, nullptr,
                             out + 1, out + 2);
         }},
        swept("I_ComputeMoments", I_ComputeMoments, REAL, REAL, REAL, REAL, REAL, MODE, OUT, OUT, OUT, OUT,
              REAL, REAL),
        swept("I_CentroidType", I_CentroidType, OUT, length, XY, XY, TYPE),
        {"I_FindBlobs",
         [](Stage& s) {
             smallRegion(s);
             I_FindBlobs(static_cast<uint8_t*>(OUT(s)), IM(s), IM(s));
         }},
        {"I_FindBlobs1", [](Stage& s) { smallRegion(s), I_FindBlobs1(REAL(s), REAL(s), IM(s), IM(s)); }},
        {"I_FindBlobs2", [](Stage& s) { smallRegion(s), I_FindBlobs2(XY(s), XY(s), IM(s), IM(s)); }},
        {"I_SetBlobTableSize", [](Stage& s) { labelled(s), I_SetBlobTableSize(MODE(s)); }},
        {"I_GetBlobCount", [](Stage& s) { labelled(s), I_GetBlobCount(); }},
        {"I_GetBlobFirstPixel",
         [](Stage& s) { labelled(s), I_GetBlobFirstPixel(blobNumber(s), static_cast<VexaPoint*>(OUT(s))); }},
        {"I_GetBlobMoments1",
         [](Stage& s) {
             int32_t out[4];
             labelled(s);
             I_GetBlobMoments1(blobNumber(s), s.random() % 2 ? out : nullptr,
                               s.random() % 2 ? out + 1 : nullptr, s.random() % 2 ? out + 2 : nullptr,
                               s.random() % 2 ? out + 3 : nullptr);
         }},
        {"I_GetBlobMoments2",
         [](Stage& s) {
             double out[3];
             VexaPointF centroid;
             const int32_t label = labelled(s);
             I_GetBlobMoments2(blobNumber(s), label, IM(s), s.random() % 2 ? &centroid : nullptr,
                               s.random() % 2 ? out : nullptr, s.random() % 2 ? out + 1 : nullptr,
                               s.random() % 2 ? out + 2 : nullptr);
         }},
        {"I_GetBlobBoundingBox",
         [](Stage& s) {
             int32_t out[4];
             labelled(s);
             I_GetBlobBoundingBox(blobNumber(s), s.random() % 2 ? out : nullptr,
                                  s.random() % 2 ? out + 1 : nullptr, s.random() % 2 ? out + 2 : nullptr,
                                  s.random() % 2 ? out + 3 : nullptr);
         }},
        {"I_BlobTouchesROIEdge",
         [](Stage& s) { labelled(s), I_BlobTouchesROIEdge(blobNumber(s), static_cast<int32_t*>(OUT(s))); }},
        {"I_GetBlobEdgeCount",
         [](Stage& s) {
             const int32_t label = labelled(s);
             I_GetBlobEdgeCount(blobNumber(s), s.random() % 2 ? label : IM(s));
         }},
        {"I_GetBlobScanList",
         [](Stage& s) {
             const int32_t label = labelled(s);
             int32_t count = 0;
             I_GetBlobScanList(blobNumber(s), s.random() % 2 ? label : IM(s), static_cast<VexaPoint*>(OUT(s)),
                               s.random() % 4 ? &count : nullptr, COUNT(s));
         }},
        {"I_MakeBlobROI",
         [](Stage& s) {
             const int32_t label = labelled(s);
             I_MakeBlobROI(blobNumber(s), s.random() % 2 ? label : IM(s));
         }},
        {"I_DisplayBlobTable", [](Stage& s) { I_DisplayBlobTable(labelled(s), IM(s)); }},
        {"I_ListDefects",
         [](Stage& s) {
             I_SetClipMode(s.pick({0, 1, 2, 3, 4, 7, 8}));
             I_ListDefects(IM(s), static_cast<VexaPoint*>(OUT(s)), static_cast<double*>(OUT(s)), COUNT(s),
                           XY(s), REAL(s), MODE(s));
         }},
    };
}

} // namespace vexa::test
