// What the tests of TIFF files share: a file of the test, and the refusals of its header.
#ifndef VEXA_TESTS_FILEIO_TIFF_FILES_H
#define VEXA_TESTS_FILEIO_TIFF_FILES_H

#include "support/buffer.h"
#include "tests/fileio/tiff_bytes.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"
#include "vexalib/tiff.h"

namespace vexa::test
{

inline int32_t level(int32_t x, int32_t y)
{
    return (7 * x + 31 * y) % 256;
}

inline VexaTiffPalette paletteOf(Bytes& tables)
{
    return {tables.data(), tables.data() + 256, tables.data() + 512};
}

class TiffFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        clearError();
        I_SetTiffColorModes(0, 0, 0);
        uint8_t identity[256];
        for (int32_t i = 0; i < 256; ++i)
            identity[i] = static_cast<uint8_t>(i);
        I_SetGraphicsPalette(identity, identity, identity);
    }
    const TempFile file{".tif"};

    void expectRefused(const Bytes& bytes, int32_t code, const std::string& text)
    {
        SCOPED_TRACE(text);
        file.write(bytes);
        clearError();
        const int64_t before = allocationState().liveBytes;
        int32_t width = 77;
        EXPECT_EQ(nullptr, I_ReadTiffHeader(file.name(), &width, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr));
        EXPECT_EQ(77, width);
        EXPECT_EQ(code, I_GetError(nullptr, 0));
        EXPECT_EQ(text, errorText());
        EXPECT_EQ(before, allocationState().liveBytes);
    }
};

} // namespace vexa::test

#endif
