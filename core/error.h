// The two forms of I_SetError whose arguments a compiler would warn of.
#ifndef VEXA_CORE_ERROR_H
#define VEXA_CORE_ERROR_H

#include "vexalib/status.h"

namespace vexa
{

// I_SetError with a null format: the code changes, a long message stays.
int32_t setErrorCode(int32_t code);

// For tests: called in place of the built-in answer of I_UserBreak, which is always 0; null restores it.
void setUserBreakHook(int32_t (*hook)(int32_t));

} // namespace vexa

#endif
