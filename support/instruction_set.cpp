#include "support/instruction_set.h"

namespace vexa
{
namespace
{

InstructionSet detect()
{
#if VEXA_HAS_X86_SETS
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                      __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
    const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2") &&
                        __builtin_cpu_supports("avx512vnni") && __builtin_cpu_supports("avx512bitalg") &&
                        __builtin_cpu_supports("avx512vpopcntdq");
    return avx512 ? InstructionSet::avx512 : avx2 ? InstructionSet::avx2 : InstructionSet::base;
#else
    return InstructionSet::base;
#endif
}

struct State {
    InstructionSet active = InstructionSet::base;
    bool detected = false;
};
State state;

} // namespace

InstructionSet activeInstructionSet()
{
    if (!state.detected) {
        state.active = detect();
        state.detected = true;
    }
    return state.active;
}

void limitInstructionSet(InstructionSet highest)
{
    const InstructionSet best = detect();
    state.active = highest < best ? highest : best;
    state.detected = true;
}

std::vector<InstructionSet> availableInstructionSets()
{
    std::vector<InstructionSet> sets;
    for (const InstructionSet set : {InstructionSet::base, InstructionSet::avx2, InstructionSet::avx512})
        if (set <= detect())
            sets.push_back(set);
    return sets;
}

} // namespace vexa
