// Results through pointers of which any may be null.
#ifndef VEXA_MEASURE_STORE_OUTPUT_H
#define VEXA_MEASURE_STORE_OUTPUT_H

namespace vexa
{

template <typename T, typename Value>
void storeOutput(T* out, Value value)
{
    if (out)
        *out = static_cast<T>(value);
}

} // namespace vexa

#endif
