// The instruction sets that row code is compiled for, and the choice among them at run time.
#ifndef VEXA_SUPPORT_INSTRUCTION_SET_H
#define VEXA_SUPPORT_INSTRUCTION_SET_H

#include <vector>

#if defined(__x86_64__) || defined(__i386__)
#define VEXA_HAS_X86_SETS 1
#else
#define VEXA_HAS_X86_SETS 0
#endif

namespace vexa
{

// In rising order. avx512 stands for F, BW, DQ, VL, VBMI, VBMI2, VNNI, BITALG and VPOPCNTDQ together.
enum class InstructionSet { base, avx2, avx512 };

// The best set that the machine has and the limit allows.
InstructionSet activeInstructionSet();
// For tests: no higher set than this one is used from now on.
void limitInstructionSet(InstructionSet highest);
// The sets that this machine can run, lowest first.
std::vector<InstructionSet> availableInstructionSets();

// One of the builds of the same row function or row table.
template <typename T>
T& chooseBySet(T& base, T& avx2, T& avx512)
{
    switch (activeInstructionSet()) {
    case InstructionSet::avx512:
        return avx512;
    case InstructionSet::avx2:
        return avx2;
    default:
        return base;
    }
}

} // namespace vexa

// VEXA_ROWS(name): the build of a name of the rows file for the active instruction set.
#if VEXA_HAS_X86_SETS
#define VEXA_ROWS(name) ::vexa::chooseBySet(::vexa::base::name, ::vexa::avx2::name, ::vexa::avx512::name)
#else
#define VEXA_ROWS(name) ::vexa::base::name
#endif

#endif
