// The loops of the tiled subtraction. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

inline void subtractTileRow(const uint8_t* a, const uint8_t* b, int32_t n, bool isHalved, uint8_t* out)
{
    if (isHalved) {
        for (int32_t i = 0; i < n; ++i)
            out[i] = static_cast<uint8_t>((a[i] - b[i]) / 2 + 128);
        return;
    }
    for (int32_t i = 0; i < n; ++i) {
        const int32_t d = a[i] - b[i] + 128;
        out[i] = static_cast<uint8_t>(d < 0 ? 0 : d > 255 ? 255 : d);
    }
}

inline void codeDifferences(uint8_t* differences, int64_t n, int32_t clipMode)
{
    switch (clipMode) {
    case 0:
    case 5:
        for (int64_t i = 0; i < n; ++i)
            differences[i] = static_cast<uint8_t>(differences[i] + 128);
        break;
    case 1:
        for (int64_t i = 0; i < n; ++i)
            differences[i] = static_cast<uint8_t>(differences[i] > 128 ? differences[i] - 128 : 0);
        break;
    case 2:
        for (int64_t i = 0; i < n; ++i)
            differences[i] =
                static_cast<uint8_t>(differences[i] > 128 ? differences[i] - 128 : 128 - differences[i]);
        break;
    default:
        break;
    }
}

inline constexpr TileRows kTileRows = {subtractTileRow, codeDifferences};

} // namespace vexa::VEXA_TARGET
