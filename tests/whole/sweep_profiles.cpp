#include "tests/whole/sweep.h"
#include "vexalib/edge_location.h"
#include "vexalib/edge_shape.h"
#include "vexalib/profile.h"
#include "vexalib/trace.h"

namespace vexa::test
{
namespace
{

using namespace gen;

int32_t length(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 5, 100, 600});
}

void anyRegion(Stage& s)
{
    const VexaPoint triangle[] = {{2, 2}, {30, 5}, {9, 25}};
    switch (s.random() % 3) {
    case 0:
        I_SetPolygonROI(triangle, 3);
        break;
    case 1:
        I_SetWindowROI(XY(s), XY(s), XY(s), XY(s));
        break;
    default:
        I_SetROIType(0);
    }
}

// Places of lines of a bounded length: each sample is a step of the walk.
float place(Stage& s)
{
    return static_cast<float>(
        s.pick({0.0, 3.5, 7.0, -7.25, 39.0, 40.0, 1000.0, -1000.0, 1e30, -1e30,
                std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}));
}

int32_t lines(Stage& s)
{
    return s.pick({0, -1, 1, 2, 3, 5, -40, 300});
}

// 600 points or pixels, NaN and infinities among them where the bytes say so.
VexaPointF* points(Stage& s)
{
    return static_cast<VexaPointF*>(OUT(s));
}

} // namespace

std::vector<SweptFunction> sweptProfiles()
{
    return {
        swept("I_GetProfileType", I_GetProfileType, REAL, REAL, REAL, REAL, REAL, OUT, COUNT, IM, TYPE),
        swept("I_GetProfileTypeEx", I_GetProfileTypeEx, REAL, REAL, REAL, REAL, REAL, lines, OUT, COUNT, IM,
              TYPE),
        {"I_DupProfileType",
         [](Stage& s) {
             int32_t count = 0;
             const float x0 = place(s), y0 = place(s), x1 = place(s), y1 = place(s);
             vexaFree(I_DupProfileType(x0, y0, x1, y1, s.pick({1.0F, -1.0F, 0.3F, 0.0F, 1e6F}),
                                       s.random() % 4 ? &count : nullptr, IM(s), TYPE(s)));
         }},
        swept("I_GetPixelsInList", I_GetPixelsInList, points, OUT, COUNT, IM, TYPE),
        swept("I_PutPixelsInList", I_PutPixelsInList, points, OUT, COUNT, IM, TYPE),
        {"I_GetLineFCoords",
         [](Stage& s) {
             const VexaPointF a = {static_cast<float>(REAL(s)), 3.5F},
                              b = {20.5F, static_cast<float>(REAL(s))};
             I_GetLineFCoords(s.openImage(), s.random() % 4 ? &a : nullptr, &b,
                              static_cast<VexaPointF*>(OUT(s)));
         }},
        {"I_GetLineProfile",
         [](Stage& s) {
             const VexaPoint a = {XY(s), XY(s)}, b = {XY(s), XY(s)};
             I_GetLineProfile(IM(s), s.random() % 4 ? &a : nullptr, &b, static_cast<uint8_t*>(OUT(s)));
         }},
        {"I_PutLineProfile",
         [](Stage& s) {
             const VexaPoint a = {XY(s), XY(s)}, b = {XY(s), XY(s)};
             I_PutLineProfile(IM(s), &a, s.random() % 4 ? &b : nullptr, static_cast<uint8_t*>(OUT(s)));
         }},
        swept("I_GetWindowProfiles", I_GetWindowProfiles, XY, XY, length, length, IM, OUT, OUT),
        swept("xI_GetWindowProfiles", xI_GetWindowProfiles, XY, XY, length, length, IM, OUT, OUT),
        swept("I_FindEdgeType", I_FindEdgeType, OUT, length, XY, XY, REAL, TYPE),
        swept("I_FindEdge", I_FindEdge, XY, XY, XY, XY, MODE, MODE, SIZE, OUT, OUT, XY, IM),
        swept("I_SubtractRowAverage", I_SubtractRowAverage, IM, SIZE),
        swept("I_GetFWHM", I_GetFWHM, OUT, length, REAL),
        swept("I_GetEdges", I_GetEdges, OUT, length, XY, REAL, REAL, OUT, OUT, OUT),
        swept("I_GetEdges5", I_GetEdges5, OUT, length, XY, REAL, OUT),
        swept("I_AdjustStartEdge", I_AdjustStartEdge, OUT, OUT, length, XY, REAL, SIZE),
        {"I_EdgeShape",
         [](Stage& s) {
             const VexaBox box = {XY(s), XY(s), XY(s), XY(s)};
             float out[5];
             const auto some = [&](int32_t i) { return s.random() % 3 ? out + i : nullptr; };
             I_EdgeShape(IM(s), MODE(s), s.random() % 8 ? &box : nullptr,
                         s.pick({kLowest, -3, 0, 5, 20, kHighest}), static_cast<int32_t*>(OUT(s)), some(0),
                         some(1), some(2), some(3), some(4), static_cast<int32_t*>(OUT(s)));
         }},
        {"I_TraceEdge",
         [](Stage& s) {
             anyRegion(s);
             VexaPoint start = {XY(s), XY(s)};
             VexaPoint* points = nullptr;
             int32_t count = 0;
             vexaFree(I_TraceEdge(IM(s), static_cast<float>(REAL(s)), s.random() % 4 ? &start : nullptr,
                                  s.random() % 2 ? &points : nullptr, s.random() % 2 ? &count : nullptr,
                                  MODE(s)));
             vexaFree(points);
         }},
        {"I_GetPerimeterPts",
         [](Stage& s) {
             anyRegion(s);
             I_GetPerimeterPts(static_cast<VexaPoint*>(OUT(s)), COUNT(s), MODE(s), MODE(s), IM(s));
         }},
        {"I_GetBlobOutline",
         [](Stage& s) {
             const int32_t labels = s.openImage();
             I_FindBlobs1(s.pick({0.0, 100.0}), 256.0, s.openImage(), labels);
             anyRegion(s);
             I_GetBlobOutline(static_cast<VexaPoint*>(OUT(s)), COUNT(s), s.random() % 2 ? labels : IM(s),
                              MODE(s));
         }},
    };
}

} // namespace vexa::test
