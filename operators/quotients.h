// Whole quotients in vector code, which has no whole division. Compiled once per instruction set, hence no include
// guard.

namespace vexa::VEXA_TARGET
{

// A numerator up to this size, either sign, may be divided as float.
inline constexpr int32_t kMostInFloat = 1 << 24;

// numerator / divisor toward zero, divisor from 1 to 65535. Where both are exact in Real, the rounded quotient reaches a
// whole number only if the true one does: it lies at least 1 / divisor away from the next, and a rounding is smaller.
template <typename Real>
int32_t truncatedQuotient(int32_t numerator, int32_t divisor)
{
    return static_cast<int32_t>(static_cast<Real>(numerator) / static_cast<Real>(divisor));
}

// The same for a divisor of 0, where nobody reads the result.
template <typename Real>
int32_t quotientOrAny(int32_t numerator, int32_t divisor)
{
    return truncatedQuotient<Real>(numerator, divisor == 0 ? 1 : divisor);
}

} // namespace vexa::VEXA_TARGET
