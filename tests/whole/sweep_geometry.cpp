#include "tests/whole/sweep.h"

#include "vexalib/rotate.h"
#include "vexalib/scale.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// A scale or offset: none that asks for an image of gigabytes.
double scale(Stage& s)
{
    return s.pick({0.0, 1.0, -1.0, 0.5, 0.3, 1.5, 2.5, 20.0, -20.0, 1e9, -1e9, 1e30, -1e30, 1e-30,
                   std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                   std::numeric_limits<double>::quiet_NaN()});
}

int32_t turn(Stage& s)
{
    return s.pick({kLowest, -360, -270, -180, -100, -90, -50, -3, -2,  -1,  0,   1,       2,
                   3,       4,    5,    6,    7,    8,   45,  90, 180, 270, 360, kHighest});
}

int32_t count(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 3, 50, 600});
}

// Any region, one that lies outside the images among them.
void region(Stage& s)
{
    const VexaPoint outside[] = {{500, 500}, {900, 520}, {600, 900}};
    const VexaPoint list[] = {{-9, 2}, {900, 2}, {3, 7}, {5, 7}, {8, 7}, {9, 7}, {0, 5000}, {9, 5000}};
    switch (s.random() % 5) {
    case 0:
        I_SetWindowROI(XY(s), XY(s), XY(s), XY(s));
        break;
    case 1:
        I_SetPolygonROI(outside, 3);
        break;
    case 2:
        I_SetScanlistROI(list, 8);
        break;
    default:
        I_SetROIType(0);
    }
}

// Tables of planes, one of which may be missing.
void resampleAnyType(Stage& s)
{
    void* src[] = {BUF(s), OUT(s), BUF(s)};
    void* dst[] = {BUF(s), BUF(s), OUT(s)};
    const int32_t type = TYPE(s);
    const bool planes = type == 25;
    I_ResampleArrayType(planes ? static_cast<void*>(src) : OUT(s), count(s),
                        planes ? static_cast<void*>(dst) : OUT(s), count(s), REAL(s), scale(s), MODE(s),
                        type);
}

void blendAnyType(Stage& s)
{
    void* a[] = {BUF(s), OUT(s), BUF(s)};
    void* b[] = {BUF(s), BUF(s), BUF(s)};
    void* out[] = {BUF(s), BUF(s), OUT(s)};
    const int32_t type = TYPE(s);
    const bool planes = type == 25;
    I_BlendRowsType(planes ? static_cast<void*>(a) : OUT(s), planes ? static_cast<void*>(b) : BUF(s),
                    planes ? static_cast<void*>(out) : OUT(s), count(s), REAL(s), type);
}

void closeNew(int32_t result, int32_t im)
{
    if (result != 0 && result != im)
        I_ImClose(result);
}

} // namespace

std::vector<SweptFunction> sweptGeometry()
{
    return {
        swept("I_ResampleArrayByte", I_ResampleArrayByte, OUT, count, OUT, count, REAL, scale, MODE),
        swept("I_ResampleArrayLong", I_ResampleArrayLong, OUT, count, OUT, count, REAL, scale, MODE),
        swept("I_ResampleArrayFloat", I_ResampleArrayFloat, OUT, count, OUT, count, REAL, scale, MODE),
        {"I_ResampleArrayType", resampleAnyType},
        {"I_BlendRowsType", blendAnyType},
        {"I_ScaleImage",
         [](Stage& s) {
             const int32_t origin[] = {XY(s), XY(s)};
             const int32_t size[] = {XY(s), XY(s)};
             I_ScaleImage(IM(s), IM(s), s.random() % 2 ? origin : nullptr, s.random() % 2 ? size : nullptr,
                          REAL(s), REAL(s), scale(s), scale(s), MODE(s));
         }},
        {"I_ScaleImage1",
         [](Stage& s) {
             const int32_t im = IM(s);
             closeNew(I_ScaleImage1(im, REAL(s), REAL(s), scale(s), scale(s), MODE(s)), im);
         }},
        {"I_ScaleImage1Ex",
         [](Stage& s) {
             const int32_t im = IM(s);
             closeNew(I_ScaleImage1Ex(im, REAL(s), REAL(s), scale(s), scale(s), MODE(s), TEXT0(s)), im);
         }},
        {"I_ScaleImageROI",
         [](Stage& s) {
             region(s);
             I_ScaleImageROI(IM(s), IM(s), REAL(s), REAL(s), scale(s), scale(s), MODE(s));
         }},
        {"I_Rotate",
         [](Stage& s) {
             region(s);
             float m[6];
             for (float& value : m)
                 value = static_cast<float>(REAL(s));
             I_SetRotateSmooth(s.pick({0, 1}));
             I_Rotate(XY(s), XY(s), s.random() % 4 ? m : nullptr, IM(s), IM(s));
         }},
        {"I_RotateShift",
         [](Stage& s) {
             region(s);
             I_RotateShift(XY(s), XY(s), REAL(s), REAL(s), REAL(s), REAL(s), REAL(s), IM(s), IM(s));
         }},
        {"I_RotateShift1",
         [](Stage& s) {
             region(s);
             I_RotateShift1(XY(s), XY(s), REAL(s), REAL(s), REAL(s), REAL(s), REAL(s), IM(s), IM(s), MODE(s));
         }},
        swept("CalcMatrix", CalcMatrix, REAL, REAL, REAL, REAL, REAL, OUT),
        {"I_Match2Points",
         [](Stage& s) {
             VexaPointF points[4];
             for (VexaPointF& point : points)
                 point = {static_cast<float>(REAL(s)), static_cast<float>(REAL(s))};
             const auto any = [&](int32_t i) { return s.random() % 6 ? points + i : nullptr; };
             region(s);
             I_Match2Points(IM(s), IM(s), any(0), any(1), any(2), any(3));
         }},
        swept("I_SetRotateSmooth", I_SetRotateSmooth, MODE),
        {"I_Rotate90", [](Stage& s) { region(s), I_Rotate90(IM(s), IM(s), turn(s)); }},
        {"I_Rotate90Ex",
         [](Stage& s) {
             region(s);
             const int32_t im = IM(s);
             closeNew(I_Rotate90Ex(im, turn(s), 0), im);
         }},
        {"I_HorizMirror", [](Stage& s) { region(s), I_HorizMirror(IM(s), IM(s)); }},
        {"I_DiagMirror", [](Stage& s) { region(s), I_DiagMirror(IM(s), IM(s)); }},
        {"I_VertMirror", [](Stage& s) { region(s), I_VertMirror(IM(s), IM(s)); }},
    };
}

} // namespace vexa::test
