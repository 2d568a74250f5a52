#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

using namespace gen;

constexpr int32_t kRoom = 600;

int32_t most(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 5, kRoom});
}

float size(Stage& s)
{
    return static_cast<float>(
        s.pick({-1e30, -9.0, -1.0, 0.0, 0.5, 3.0, 1e30, std::numeric_limits<double>::quiet_NaN()}));
}

int32_t range(Stage& s)
{
    return s.pick({kLowest, -8, 0, 1, 3, 4, 8, 30, kHighest});
}

void chooseClipMode(Stage& s)
{
    I_SetClipMode(s.pick({0, 1, 2, 3, 4}));
}

VexaPoint* points(Stage& s)
{
    return static_cast<VexaPoint*>(OUT(s));
}
double* numbers(Stage& s)
{
    return static_cast<double*>(OUT(s));
}

} // namespace

std::vector<SweptFunction> sweptInspection()
{
    return {
        {"I_ListDefects3",
         [](Stage& s) {
             chooseClipMode(s);
             I_ListDefects3(IM(s), IM(s), IM(s), points(s), static_cast<VexaBox*>(OUT(s)), numbers(s),
                            most(s), MODE(s), static_cast<float>(REAL(s)), size(s), MODE(s), range(s),
                            range(s));
         }},
        {"I_ListDefects2",
         [](Stage& s) {
             chooseClipMode(s);
             I_ListDefects2(IM(s), IM(s), IM(s), points(s), numbers(s), most(s), MODE(s),
                            static_cast<float>(REAL(s)), size(s), MODE(s), range(s), range(s));
         }},
        {"I_ListDefects1",
         [](Stage& s) {
             chooseClipMode(s);
             I_ListDefects1(IM(s), IM(s), IM(s), points(s), numbers(s), most(s), MODE(s),
                            static_cast<float>(REAL(s)), size(s), MODE(s), range(s));
         }},
        swept(
            "I_BlackenBraille", I_BlackenBraille, IM,
            [](Stage& s) {
                return s.pick({kLowest, 0, 1, 9, 40, 400, kHighest});
            },
            MODE, MODE),
    };
}

} // namespace vexa::test
