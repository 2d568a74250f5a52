#ifndef VEXA_ALIGN_ADDRESS_WORD_H
#define VEXA_ALIGN_ADDRESS_WORD_H

#include <cstdint>

namespace vexa
{

// What messages tell of a pointer.
inline uint32_t addressWord(const void* pointer)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

} // namespace vexa

#endif
