#include <cstdlib>

#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// A list of points in a buffer, drawn from coordinates near and far.
VexaPoint* points(Stage& s, int32_t count)
{
    auto* list = static_cast<VexaPoint*>(s.buffer());
    const bool far = s.random() % 3 == 0;
    for (int32_t i = 0; i < count; ++i) {
        list[i].x = far ? XY(s) : static_cast<int32_t>(s.random() % 60) - 10;
        list[i].y = far ? XY(s) : static_cast<int32_t>(s.random() % 60) - 10;
    }
    return list;
}

int32_t* images(Stage& s)
{
    auto* list = static_cast<int32_t*>(s.buffer());
    for (int32_t i = 0; i < 8; ++i)
        list[i] = IM(s);
    return list;
}

int32_t few(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 3, 8});
}

int32_t slot(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 16, 17, 19, 20, kHighest});
}

// Sets some region first, so that what follows meets all four kinds.
void anyRegion(Stage& s)
{
    switch (s.random() % 4) {
    case 0:
        I_SetROIType(0);
        break;
    case 1:
        I_SetWindowROI(XY(s), XY(s), XY(s), XY(s));
        break;
    case 2:
        I_SetPolygonROI(points(s, 99), s.pick({1, 2, 3, 5, 40, 99}));
        break;
    default: {
        const VexaPoint runs[] = {{2, 3}, {9, 3}, {12, 3}, {14, 3}, {0, 7}, {90, 7}};
        I_SetScanlistROI(runs, 6);
    }
    }
}

} // namespace

std::vector<SweptFunction> sweptRegion()
{
    return {
        swept("I_GetROIType", I_GetROIType),
        swept("I_SetROIType", I_SetROIType, MODE),
        swept("I_SetWindowROI", I_SetWindowROI, XY, XY, XY, XY),
        {"I_GetWindowROI",
         [](Stage& s) { anyRegion(s), I_GetWindowROI(nullptr, nullptr, nullptr, nullptr); }},
        {"I_SetRectROI",
         [](Stage& s) {
             const VexaBox box = {XY(s), XY(s), XY(s), XY(s)};
             I_SetRectROI(s.random() % 4 ? &box : nullptr, XY(s));
         }},
        {"I_SetPolygonROI",
         [](Stage& s) {
             I_SetPolygonROI(s.random() % 4 ? points(s, 99) : nullptr,
                             s.pick({kLowest, -1, 0, 1, 3, 99, 100, kHighest}));
         }},
        {"I_GetPolygonROI",
         [](Stage& s) { anyRegion(s), I_GetPolygonROI(static_cast<VexaPoint*>(OUT(s)), COUNT(s)); }},
        {"I_SetScanlistROI",
         [](Stage& s) {
             I_SetScanlistROI(s.random() % 4 ? points(s, 600) : nullptr,
                              s.pick({kLowest, -1, 0, 1, 2, 4, 600, kHighest}));
         }},
        {"I_GetScanlistROI",
         [](Stage& s) { anyRegion(s), I_GetScanlistROI(static_cast<VexaPoint*>(OUT(s)), COUNT(s)); }},
        {"I_ROIScanlist",
         [](Stage& s) { anyRegion(s), I_ROIScanlist(static_cast<int32_t*>(OUT(s)), IM(s)); }},
        {"I_ROIBoundingBox",
         [](Stage& s) {
             int32_t box[4];
             anyRegion(s);
             I_ROIBoundingBox(box, box + 1, box + 2, box + 3, IM(s));
             I_ROIBoundingBox(nullptr, nullptr, nullptr, nullptr, IM(s));
         }},
        {"I_ROIBoundingBox2",
         [](Stage& s) {
             int32_t box[4];
             anyRegion(s);
             I_ROIBoundingBox2(box, box + 1, box + 2, box + 3, IM(s), IM(s));
             I_ROIBoundingBox2(nullptr, nullptr, nullptr, nullptr, IM(s), IM(s));
         }},
        {"I_ROIBoundingBox3",
         [](Stage& s) {
             int32_t box[4];
             anyRegion(s);
             I_ROIBoundingBox3(box, box + 1, box + 2, box + 3, IM(s), IM(s), IM(s));
             I_ROIBoundingBox3(nullptr, nullptr, nullptr, nullptr, IM(s), IM(s), IM(s));
         }},
        {"I_ROIBoundingBoxN",
         [](Stage& s) {
             int32_t box[4];
             anyRegion(s);
             I_ROIBoundingBoxN(box, box + 1, box + 2, box + 3, s.random() % 4 ? images(s) : nullptr, few(s));
         }},
        {"I_ImGetMinSize",
         [](Stage& s) {
             int32_t cols = 0;
             int32_t rows = 0;
             I_ImGetMinSize(s.random() % 4 ? &cols : nullptr, s.random() % 4 ? &rows : nullptr,
                            s.random() % 4 ? images(s) : nullptr, few(s));
         }},
        {"I_ROISize",
         [](Stage& s) {
             double size[2];
             anyRegion(s);
             I_ROISize(IM(s), s.random() % 2 ? size : nullptr, s.random() % 2 ? size + 1 : nullptr, REAL(s),
                       REAL(s));
         }},
        {"pPolygonArea",
         [](Stage& s) {
             // Small polygons: the area of the largest is walked row by row.
             auto* list = static_cast<VexaPoint*>(s.buffer());
             for (int32_t i = 0; i < 100; ++i)
                 list[i] = {s.pick({-5, 0, 3, 40, 2000}), s.pick({-5, 0, 3, 40, 2000})};
             pPolygonArea(s.random() % 4 ? list : nullptr, s.pick({kLowest, -1, 0, 1, 3, 99, 100}),
                          s.pick({4, 8}));
         }},
        {"I_GetNextLine",
         [](Stage& s) {
             int32_t x = 0, y = 0, width = 0;
             anyRegion(s);
             const int32_t im = IM(s);
             int32_t first = s.pick({1, -1, 2, kLowest});
             for (int32_t n = 0; n < 100 && I_GetNextLine(&x, &y, &width, im, &first); ++n)
                 continue;
         }},
        {"I_GetNextLines",
         [](Stage& s) {
             int32_t x = 0, y = 0, width = 0, height = 0;
             anyRegion(s);
             const int32_t im = IM(s);
             int32_t first = s.pick({1, -1, 2, kLowest});
             for (int32_t n = 0; n < 100 && I_GetNextLines(&x, &y, &width, &height, im, &first, MODE(s)); ++n)
                 continue;
         }},
        {"I_SetCachingChunkMB",
         [](Stage& s) {
             const auto value = static_cast<float>(REAL(s));
             I_SetCachingChunkMB(s.random() % 4 ? &value : nullptr);
         }},
        {"I_SaveROI", [](Stage& s) { anyRegion(s), I_SaveROI(slot(s)); }},
        swept("I_RecallROI", I_RecallROI, slot),
        {"getroidata", [](Stage& s) { anyRegion(s), getroidata(nullptr, nullptr); }},
        {"setroidata",
         [](Stage& s) {
             setroidata(MODE(s), s.pick({kLowest, -1, 0, 1, 2, 3, 99, 100, 600}),
                        s.random() % 4 ? points(s, 600) : nullptr);
         }},
        {"I_PushROI", [](Stage& s) { anyRegion(s), I_PushROI(); }},
        swept("I_PushWindowROI", I_PushWindowROI, XY, XY, XY, XY),
        swept("I_PopROI", I_PopROI),
        {"I_CombineROIs",
         [](Stage& s) {
             anyRegion(s), I_SaveROI(1);
             anyRegion(s), I_SaveROI(2);
             I_CombineROIs(slot(s), slot(s), slot(s), IM(s));
         }},
        {"I_CombineRectROIs",
         [](Stage& s) {
             VexaBox a = {XY(s), XY(s), XY(s), XY(s)};
             VexaBox b = {XY(s), XY(s), XY(s), XY(s)};
             I_CombineRectROIs(s.random() % 5 ? &a : nullptr, s.random() % 5 ? &b : nullptr, IM(s));
         }},
        {"I_ReverseROI", [](Stage& s) { anyRegion(s), I_ReverseROI(IM(s)); }},
        {"I_ClearROI", [](Stage& s) { anyRegion(s), I_ClearROI(MODE(s), IM(s)); }},
        {"I_ClearOutsideROI", [](Stage& s) { anyRegion(s), I_ClearOutsideROI(MODE(s), IM(s)); }},
        {"readroifile",
         [](Stage& s) {
             readroifile(s.pick({"", "/", "/nowhere/x.ROI", static_cast<const char*>(nullptr)}));
         }},
        {"writeroifile",
         [](Stage& s) {
             anyRegion(s), I_SaveROI(3);
             writeroifile(s.pick({"", "/", "/nowhere/x.ROI", static_cast<const char*>(nullptr)}));
         }},
        {"I_ROIDup", [](Stage& s) { anyRegion(s), I_ImClose(I_ROIDup(s.openImage())); }},
        {"windowdup",
         [](Stage& s) {
             I_ImClose(windowdup(s.pick({-1, 0, 3}), s.pick({-1, 0, 3}), s.pick({-2, 0, 20, 300}),
                                 s.pick({-2, 0, 20, 300}), IM(s), s.pick({0, 5, kLowest})));
         }},
        swept("windowpaste", windowpaste, XY, XY, IM, IM),
        {"polygonpaste", [](Stage& s) { anyRegion(s), polygonpaste(MODE(s), MODE(s), IM(s), IM(s)); }},
        {"roipaste", [](Stage& s) { anyRegion(s), roipaste(MODE(s), MODE(s), IM(s)); }},
        swept("I_MakePolyCircle", I_MakePolyCircle, REAL, REAL, REAL, REAL,
              [](Stage& s) {
                  return s.pick({kLowest, -1, 0, 1, 3, 99, 100, kHighest});
              }),
        {"I_MakeCircleList",
         [](Stage& s) {
             int32_t count = 0;
             vexaFree(I_MakeCircleList(static_cast<float>(REAL(s)), static_cast<float>(REAL(s)),
                                       static_cast<float>(s.pick({0.0, -1.0, 0.3, 5.0, 1e9, 1e30, -1e30})),
                                       static_cast<float>(REAL(s)), s.random() % 4 ? &count : nullptr));
         }},
    };
}

} // namespace vexa::test
