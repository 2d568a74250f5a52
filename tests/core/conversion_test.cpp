#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

#include "support/instruction_set.h"

namespace vexa::test
{
namespace
{

class Conversion : public testing::TestWithParam<InstructionSet>
{
protected:
    void SetUp() override { limitInstructionSet(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Conversion, testing::ValuesIn(availableInstructionSets()));

template <typename To, typename From>
std::vector<To> converted(const std::vector<From>& source, int32_t sourceType, int32_t destType,
                          const ScaleRecord* scale = nullptr)
{
    std::vector<To> dest(source.size());
    ConvertPixelType(source.data(), sourceType, dest.data(), destType, static_cast<int32_t>(source.size()),
                     scale);
    return dest;
}

TEST_P(Conversion, LiteralFloatToByteRoundsAndClamps)
{
    const std::vector<float> floats = {254.4F, 254.5F, -0.1F, 0.0F,   0.49999997F, 0.5F,
                                       1e30F,  -1e30F, NAN,   300.0F, 1.5F};
    EXPECT_THAT(converted<uint8_t>(floats, PIX_FLOAT, PIX_BYTE),
                testing::ElementsAre(254, 255, 0, 0, 0, 1, 255, 0, 0, 255, 2));
}

} // namespace
} // namespace vexa::test
