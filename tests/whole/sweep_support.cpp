#include "tests/whole/sweep.h"

// Exported under plain names that the headers do not declare.
extern "C" {
int32_t min(int32_t a, int32_t b);
int32_t max(int32_t a, int32_t b);
int32_t clip(int32_t value, int32_t low, int32_t high);
}

namespace vexa::test
{
namespace
{

using namespace gen;

int32_t length(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 3, 100, 600});
}

int32_t few(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 3, 16});
}

const char* unwritable(Stage& s)
{
    return s.pick({static_cast<const char*>(nullptr), "", "/", "/nowhere/x"});
}

} // namespace

std::vector<SweptFunction> sweptSupport()
{
    return {
        swept("Rnd", Rnd, REAL),
        {"leastsquares",
         [](Stage& s) {
             double out[3];
             leastsquares(REAL(s), REAL(s), REAL(s), REAL(s), REAL(s), REAL(s), out, out + 1, out + 2);
             leastsquares(REAL(s), REAL(s), REAL(s), REAL(s), REAL(s), REAL(s), nullptr, nullptr, nullptr);
         }},
        swept("meanstdv", meanstdv, REAL, REAL, REAL, OUT, OUT),
        swept("erf", vexa_erf, REAL),
        swept("erfc", vexa_erfc, REAL),
        swept("I_ParabolicPeak", I_ParabolicPeak, REAL, REAL, REAL, OUT, OUT),
        swept("I_FindPeak", I_FindPeak, REAL, REAL, REAL, OUT, MODE),
        {"fdist",
         [](Stage& s) {
             const VexaPoint a = {XY(s), XY(s)};
             const VexaPoint b = {XY(s), XY(s)};
             fdist(&a, &b);
         }},
        {"rotatevect",
         [](Stage& s) {
             const VexaPoint a = {XY(s), XY(s)};
             VexaPoint b;
             rotatevect(&a, &b, REAL(s));
         }},
        {"MajorityVote",
         [](Stage& s) {
             double values[16];
             for (double& value : values)
                 value = REAL(s);
             MajorityVote(s.random() % 4 ? values : nullptr, few(s), MODE(s));
         }},
        swept("ilog2", ilog2, XY),
        swept("llog2", llog2, XY),
        swept("min", min, XY, XY),
        swept("max", max, XY, XY),
        swept("minabs", minabs, XY, XY),
        swept("maxabs", maxabs, XY, XY),
        swept("fminabs", fminabs, REAL, REAL),
        swept("fmaxabs", fmaxabs, REAL, REAL),
        swept("clip", clip, XY, XY, XY),
        swept("swapchar", swapchar, BUF, BUF),
        swept("swapshort", swapshort, BUF, BUF),
        swept("swapint", swapint, BUF, BUF),
        swept("swapfloat", swapfloat, BUF, BUF),
        swept("swapdouble", swapdouble, BUF, BUF),
        swept("swapcoord", swapcoord, BUF, BUF),
        swept("swaplong", swaplong, BUF, BUF),
        swept("swapptr", swapptr, BUF, BUF),
        {"Create2DArray",
         [](Stage& s) {
             Free2DArray(Create2DArray(SIZE(s), s.pick({kLowest, -1, 0, 1, 300}), few(s)));
         }},
        {"Free2DArray", [](Stage&) { Free2DArray(nullptr); }},
        swept("memsetStruct", memsetStruct, OUT, OUT, few, few),
        swept("hmemset2", hmemset2, OUT, MODE, length),
        swept("ReverseStruct", ReverseStruct, OUT, few, few),
        {"ReverseStruct2", [](Stage& s) { ReverseStruct2(s.buffer(), s.buffer(), few(s), few(s)); }},
        swept("I_instr", I_instr, BUF, few, length, BUF, few),
        swept("I_instr4", I_instr4, BUF, few, length, BUF),
        swept("I_instr2", I_instr2, BUF, few, length, BUF),
        swept("I_instr4Rev", I_instr4Rev, BUF, few, length, BUF),
        swept("I_instr2Rev", I_instr2Rev, BUF, few, length, BUF),
        swept("I_SwapLong", I_SwapLong, BUF),
        swept("I_UndoCrLf", I_UndoCrLf, OUT, length),
        swept("I_ReadFile", I_ReadFile, unwritable, OUT, length),
        swept("I_WriteFile", I_WriteFile, unwritable, OUT, length),
        swept("I_AppendFile", I_AppendFile, unwritable, OUT, length),
        {"I_RunLengthEncode",
         [](Stage& s) {
             std::vector<uint8_t> out(600);
             I_RunLengthEncode(s.random() % 5 ? s.buffer() : nullptr, length(s),
                               s.random() % 5 ? out.data() : nullptr, length(s));
         }},
        {"I_RunLengthEncode1",
         [](Stage& s) { vexaFree(I_RunLengthEncode1(OUT(s), length(s), static_cast<int32_t*>(OUT(s)))); }},
        {"I_RunLengthDecode",
         [](Stage& s) {
             auto* packets = static_cast<uint8_t*>(s.buffer());
             for (int32_t i = 0; i < 600; ++i)
                 packets[i] = static_cast<uint8_t>(s.random());
             std::vector<uint8_t> out(600);
             I_RunLengthDecode(s.random() % 5 ? packets : nullptr, length(s),
                               s.random() % 5 ? out.data() : nullptr, length(s));
         }},
        {"I_ConvertBase64",
         [](Stage& s) {
             auto* text = static_cast<char*>(s.buffer());
             for (int32_t i = 0; i < 600; ++i)
                 text[i] = static_cast<char>(1 + s.random() % 255);
             text[600] = 0;
             vexaFree(I_ConvertBase64(s.random() % 5 ? text : nullptr, length(s),
                                      static_cast<int32_t*>(OUT(s)), MODE(s)));
         }},
        {"I_ConvertBase64a",
         [](Stage& s) {
             char out[4096];
             I_ConvertBase64a(TEXT0(s), s.random() % 5 ? out : nullptr, MODE(s));
         }},
        {"I_ConvertToBase64",
         [](Stage& s) { I_ConvertToBase64(OUT(s), length(s), static_cast<char*>(OUT(s)), length(s)); }},
        {"I_ConvertFromBase64",
         [](Stage& s) { I_ConvertFromBase64(static_cast<char*>(OUT(s)), length(s), OUT(s), length(s)); }},
        {"I_SpiralOutList",
         [](Stage& s) {
             vexaFree(I_SpiralOutList(s.pick({kLowest, -1, 0, 1, 9, 100}),
                                      s.pick({kLowest, -1, 0, 1, 9, 100}), XY(s), XY(s), XY(s),
                                      static_cast<int32_t*>(OUT(s))));
         }},
        swept("isqrt", isqrt, XY),
        swept("bessj1", bessj1, REAL),
    };
}

} // namespace vexa::test
