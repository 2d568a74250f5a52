// Matrices of pixels turned, transposed and reversed. Compiled once per instruction set, hence no include
// guard. Pitches are in bytes and may be negative: a matrix then stands on its last row.

namespace vexa::VEXA_TARGET
{
namespace
{

template <std::size_t Bytes>
inline void transposePixels(const MatrixView& source, const WritableMatrix& dest, int32_t cols, int32_t rows)
{
    for (int32_t r = 0; r < rows; ++r) {
        uint8_t* out = dest.pixels + r * dest.pitch;
        const uint8_t* in = source.pixels + r * static_cast<int64_t>(Bytes);
        for (int32_t c = 0; c < cols; ++c, out += Bytes, in += source.pitch)
            std::memcpy(out, in, Bytes);
    }
}

// dest(c, r) = source(r, c) for cols by rows pixels of dest, in blocks that stay in the first-level cache.
template <std::size_t Bytes>
void transpose(const MatrixView& source, const WritableMatrix& dest, int32_t cols, int32_t rows)
{
    constexpr int32_t kBlock = 32;
    constexpr auto kBytes = static_cast<int64_t>(Bytes);
    for (int32_t r = 0; r < rows; r += kBlock)
        for (int32_t c = 0; c < cols; c += kBlock)
            transposePixels<Bytes>({source.pixels + r * kBytes + c * source.pitch, source.pitch},
                                   {dest.pixels + r * dest.pitch + c * kBytes, dest.pitch},
                                   std::min(kBlock, cols - c), std::min(kBlock, rows - r));
}

#if VEXA_HAS_X86_SETS

// 16 by 16 bytes.
inline void transposeSixteen(const MatrixView& source, uint8_t* dest, int64_t pitch)
{
    __m128i a[16];
    __m128i b[16];
    for (int32_t i = 0; i < 16; ++i)
        a[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source.pixels + i * source.pitch));
    // Four times: what stood 8 apart comes to lie side by side.
    for (int32_t i = 0; i < 8; ++i) {
        b[2 * i] = _mm_unpacklo_epi8(a[i], a[i + 8]);
        b[2 * i + 1] = _mm_unpackhi_epi8(a[i], a[i + 8]);
    }
    for (int32_t i = 0; i < 8; ++i) {
        a[2 * i] = _mm_unpacklo_epi8(b[i], b[i + 8]);
        a[2 * i + 1] = _mm_unpackhi_epi8(b[i], b[i + 8]);
    }
    for (int32_t i = 0; i < 8; ++i) {
        b[2 * i] = _mm_unpacklo_epi8(a[i], a[i + 8]);
        b[2 * i + 1] = _mm_unpackhi_epi8(a[i], a[i + 8]);
    }
    for (int32_t i = 0; i < 8; ++i) {
        a[2 * i] = _mm_unpacklo_epi8(b[i], b[i + 8]);
        a[2 * i + 1] = _mm_unpackhi_epi8(b[i], b[i + 8]);
    }
    for (int32_t i = 0; i < 16; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + i * pitch), a[i]);
}

// Fetches the lines of a block of the source, and those of the destination that it becomes. Nothing is read.
inline void fetchBlock(const MatrixView& source, const WritableMatrix& dest, int32_t cols, int32_t rows)
{
    for (int32_t c = 0; c < cols; ++c)
        __builtin_prefetch(source.pixels + c * source.pitch, 0);
    for (int32_t r = 0; r < rows; ++r)
        __builtin_prefetch(dest.pixels + r * dest.pitch, 1);
}

// A stretch of a length: of at least 16 pixels, though it may then overlap the one before.
struct Stretch {
    int32_t start;
    int32_t length;

    Stretch(int32_t begin, int32_t most, int32_t end)
        : start(std::min(begin, end - 16)), length(std::min(most, end - start))
    {
    }
};

// Blocks of 64 by 64 bytes go by way of the first-level cache, so that the destination is written in whole
// lines. The next block is fetched meanwhile.
inline void transposeBytes(const MatrixView& source, const WritableMatrix& dest, int32_t cols, int32_t rows)
{
    constexpr int32_t kBlock = 64;
    constexpr int32_t kPart = 16;
    if (cols < kPart || rows < kPart) {
        transpose<1>(source, dest, cols, rows);
        return;
    }
    alignas(64) uint8_t block[kBlock * kBlock];
    for (int32_t col = 0; col < cols; col += kBlock) {
        const Stretch c(col, kBlock, cols);
        for (int32_t row = 0; row < rows; row += kBlock) {
            const Stretch r(row, kBlock, rows);
            const MatrixView from = {source.pixels + c.start * source.pitch + r.start, source.pitch};
            const WritableMatrix to = {dest.pixels + r.start * dest.pitch + c.start, dest.pitch};
            const int32_t next = std::min(kBlock, rows - row - kBlock);
            fetchBlock({from.pixels + kBlock, from.pitch}, {to.pixels + kBlock * to.pitch, to.pitch},
                       next > 0 ? c.length : 0, next);
            for (int32_t j = 0; j < c.length; j += kPart) {
                const int32_t x = std::min(j, c.length - kPart);
                for (int32_t i = 0; i < r.length; i += kPart) {
                    const int32_t y = std::min(i, r.length - kPart);
                    transposeSixteen({from.pixels + x * from.pitch + y, from.pitch}, block + y * kBlock + x,
                                     kBlock);
                }
            }
            for (int32_t i = 0; i < r.length; ++i)
                std::memcpy(to.pixels + i * to.pitch, block + i * kBlock, static_cast<std::size_t>(c.length));
        }
    }
}

#else

inline void transposeBytes(const MatrixView& source, const WritableMatrix& dest, int32_t cols, int32_t rows)
{
    transpose<1>(source, dest, cols, rows);
}

#endif

template <std::size_t Bytes>
void reversePixels(const uint8_t* source, uint8_t* dest, int32_t n)
{
    const uint8_t* in = source + int64_t{n} * static_cast<int64_t>(Bytes);
    for (int32_t i = 0; i < n; ++i, dest += Bytes) {
        in -= Bytes;
        std::memcpy(dest, in, Bytes);
    }
}

inline void reverseBytes(const uint8_t* source, uint8_t* dest, int32_t n)
{
    int32_t i = 0;
#if VEXA_LEVEL >= 3
    alignas(64) uint8_t places[64];
    for (int32_t k = 0; k < 64; ++k)
        places[k] = static_cast<uint8_t>(63 - k);
    const __m512i reversed = _mm512_load_si512(places);
    for (; i + 64 <= n; i += 64)
        _mm512_storeu_si512(dest + i,
                            _mm512_permutexvar_epi8(reversed, _mm512_loadu_si512(source + n - i - 64)));
#elif VEXA_LEVEL >= 2
    const __m256i bytes =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
    for (; i + 32 <= n; i += 32) {
        const auto* in = reinterpret_cast<const __m256i*>(source + n - i - 32);
        const __m256i pixels = _mm256_shuffle_epi8(_mm256_loadu_si256(in), bytes);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + i), _mm256_permute4x64_epi64(pixels, 0x4E));
    }
#endif
    for (; i + 8 <= n; i += 8) {
        uint64_t pixels;
        std::memcpy(&pixels, source + n - i - 8, sizeof pixels);
        pixels = __builtin_bswap64(pixels);
        std::memcpy(dest + i, &pixels, sizeof pixels);
    }
    reversePixels<1>(source, dest + i, n - i);
}

inline constexpr QuarterRows kQuarterRows = {
    {transposeBytes, transpose<2>, transpose<3>, transpose<4>, transpose<8>, transpose<16>},
    {reverseBytes, reversePixels<2>, reversePixels<3>, reversePixels<4>, reversePixels<8>,
     reversePixels<16>}};

} // namespace
} // namespace vexa::VEXA_TARGET
