// Sums of the columns and rows of bytes. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

// Bytes in pairs, wherever they stand.
struct [[gnu::packed, gnu::may_alias]] BytePair
{
    uint8_t even;
    uint8_t odd;
};

template <int32_t Rows>
void addPairsFrom(int32_t first, const uint8_t* const* rows, int32_t n, ColumnSums& columns,
                  uint32_t* rowSums)
{
    for (int32_t i = first; i < n; ++i) {
        uint16_t& column = columns.at(i);
        for (int32_t r = 0; r < Rows; ++r) {
            column = static_cast<uint16_t>(column + rows[r][i]);
            rowSums[r] += rows[r][i];
        }
    }
}

#if VEXA_LEVEL >= 3

// Both sums from one look at the bytes.
template <int32_t Rows>
void addRows(const uint8_t* const* rows, int32_t n, ColumnSums& columns, uint32_t* rowSums)
{
    const __m512i zero = _mm512_setzero_si512();
    const __m512i lowBytes = _mm512_set1_epi16(255);
    __m512i sums[Rows];
    for (__m512i& sum : sums)
        sum = zero;
    int32_t i = 0;
    for (; i + 64 <= n; i += 64) {
        __m512i even = _mm512_loadu_si512(columns.even + i / 2);
        __m512i odd = _mm512_loadu_si512(columns.odd + i / 2);
        for (int32_t r = 0; r < Rows; ++r) {
            const __m512i bytes = _mm512_loadu_si512(rows[r] + i);
            sums[r] = _mm512_add_epi64(sums[r], _mm512_sad_epu8(bytes, zero));
            even = _mm512_add_epi16(even, _mm512_and_si512(bytes, lowBytes));
            odd = _mm512_add_epi16(odd, _mm512_srli_epi16(bytes, 8));
        }
        _mm512_storeu_si512(columns.even + i / 2, even);
        _mm512_storeu_si512(columns.odd + i / 2, odd);
    }
    for (int32_t r = 0; r < Rows; ++r) {
        uint64_t parts[8];
        _mm512_storeu_si512(parts, sums[r]);
        for (const uint64_t part : parts)
            rowSums[r] += static_cast<uint32_t>(part);
    }
    addPairsFrom<Rows>(i, rows, n, columns, rowSums);
}

#else

template <int32_t Rows>
void addRows(const uint8_t* const* rows, int32_t n, ColumnSums& columns, uint32_t* rowSums)
{
    constexpr int32_t kPiece = 64;
    const int32_t whole = n / kPiece * kPiece;
    for (int32_t i = 0; i < whole; i += kPiece)
        for (int32_t r = 0; r < Rows; ++r) {
            const auto* const pairs = reinterpret_cast<const BytePair*>(rows[r] + i);
            uint16_t* const even = columns.even + i / 2;
            uint16_t* const odd = columns.odd + i / 2;
            uint32_t sum = 0;
            for (int32_t k = 0; k < kPiece; ++k)
                sum += rows[r][i + k];
            for (int32_t k = 0; k < kPiece / 2; ++k) {
                even[k] = static_cast<uint16_t>(even[k] + pairs[k].even);
                odd[k] = static_cast<uint16_t>(odd[k] + pairs[k].odd);
            }
            rowSums[r] += sum;
        }
    addPairsFrom<Rows>(whole, rows, n, columns, rowSums);
}

#endif

inline constexpr WindowSumRows kWindowSums = {addRows<1>, addRows<4>};

} // namespace vexa::VEXA_TARGET
