#include <cstdio>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

// A file name of this test, deleted at its end.
class TempFile
{
public:
    explicit TempFile(const char* extension)
        : name_(testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() +
                extension)
    {
    }
    ~TempFile() { std::remove(name_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const char* name() const { return name_.c_str(); }

private:
    std::string name_;
};

TEST(WriteBmp, LiteralByteImageComesBack)
{
    const int32_t im = noiseImage(64, 50, 1);
    const TempFile file(".bmp");
    EXPECT_EQ(50, I_WriteBMP(file.name(), im));
    const int32_t back = I_ReadBMP(file.name());
    ASSERT_NE(0, back) << errorText();
    EXPECT_EQ(bytesOf(im), bytesOf(back));
}

TEST(WriteBmp, LiteralColorImageComesBack)
{
    const int32_t im = image(33, 20, PIX_BGR24, [](int32_t x, int32_t y) { return x * 7 + y * 3; });
    const TempFile file(".bmp");
    EXPECT_EQ(20, I_WriteBMP(file.name(), im)) << errorText();
    const int32_t back = I_ReadBMP(file.name());
    ASSERT_NE(0, back) << errorText();
    EXPECT_EQ(bytesOf(im), bytesOf(back));
    const int32_t viaDib = I_CopyDIBtoImage(I_ReadBMPtoDIB(file.name()));
    ASSERT_NE(0, viaDib) << errorText();
    EXPECT_EQ(bytesOf(im), bytesOf(viaDib));
}

} // namespace
} // namespace vexa::test
