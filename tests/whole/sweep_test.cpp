#include <fstream>
#include <set>
#include <sstream>

#include "support/buffer.h"
#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

constexpr int32_t kDraws = 400;

void discard(const char*, int32_t) {}

int32_t answerDefault(const char*, const char*, int32_t, int32_t defaultAnswer)
{
    return defaultAnswer;
}

std::vector<std::string> sweptNames()
{
    std::vector<std::string> names;
    for (const SweptFunction& function : allSwept())
        names.push_back(function.name);
    return names;
}

const SweptFunction& find(const std::vector<SweptFunction>& all, const std::string& name)
{
    return *std::find_if(all.begin(), all.end(), [&](const SweptFunction& f) { return f.name == name; });
}

class Sweep : public testing::TestWithParam<std::string>
{
};
INSTANTIATE_TEST_SUITE_P(EveryFunction, Sweep, testing::ValuesIn(sweptNames()),
                         [](const auto& swept) { return swept.param; });

TEST_P(Sweep, AnswersAnyArguments)
{
    const std::vector<SweptFunction> all = allSwept();
    const SweptFunction& function = find(all, GetParam());
    for (int32_t round = 0; round < 8; ++round) {
        Stage stage;
        stage.random.seed(static_cast<uint32_t>(round));
        for (int32_t draw = 0; draw < kDraws / 8; ++draw)
            function.call(stage);
    }
    // The library still works.
    I_ImCloseAll();
    I_SetROIType(0);
    I_SetImAutoClear(0);
    I_ImSetMemType(0);
    const int32_t im = I_ImOpen(6, 4, PIX_BYTE);
    ASSERT_LT(im, 0);
    const uint8_t value = 77;
    EXPECT_EQ(1, I_PutBlockType(5, 3, 1, 1, &value, im, PIX_BYTE));
    EXPECT_EQ(77, static_cast<uint8_t*>(I_ImGetPtr(5, 3, nullptr, nullptr, im))[0]);
    EXPECT_EQ(1, I_ImClose(im));
}

TEST_P(Sweep, SurvivesFailingAllocations)
{
    const std::vector<SweptFunction> all = allSwept();
    const SweptFunction& function = find(all, GetParam());
    for (int32_t draw = 0; draw < 24; ++draw) {
        for (const bool persistent : {false, true}) {
            for (int64_t n = 1; n <= 40; ++n) {
                Stage stage;
                stage.random.seed(static_cast<uint32_t>(1000 + draw));
                failAllocation(n, persistent);
                function.call(stage);
                const bool met = allocationState().failed > 0;
                failAllocation(0, false);
                if (!met)
                    break;
            }
        }
    }
    SUCCEED() << "no crash: the sanitizers and the process's end are the judges here";
}

// Every name that the library exports has its place in the tables.
TEST(SweepTable, NamesEveryExportedFunction)
{
    std::ifstream list(VEXA_EXPORTS_FILE);
    ASSERT_TRUE(list.good());
    const std::vector<std::string> names = sweptNames();
    const std::set<std::string> present(names.begin(), names.end());
    EXPECT_EQ(names.size(), present.size()) << "a name stands twice";
    std::ifstream exported(VEXA_BUILT_EXPORTS_FILE);
    ASSERT_TRUE(exported.good());
    std::set<std::string> listed;
    for (std::string line; std::getline(list, line);)
        listed.insert(line.substr(line.rfind('\t') + 1));
    int32_t count = 0;
    for (std::string name; std::getline(exported, name); ++count) {
        EXPECT_TRUE(!listed.count(name) || present.count(name)) << name << " is exported and not swept";
    }
    EXPECT_GT(count, 300);
}

} // namespace

Stage::Stage()
{
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = answerDefault;
    vexaSetPlatform(&platform);
    I_SetErrorHandlerCallback(discard);
    I_ImCloseAll();
    I_SetROIType(0);
    I_SetClipMode(1);
    for (auto& block : buffers_)
        block.assign(kBufferBytes, 0);
    for (const int32_t type : {PIX_BYTE, PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_FLOAT,
                               PIX_DFLOAT, PIX_COMPLEX, PIX_DCOMPLEX, PIX_PALETTE, PIX_BGR15, PIX_BGR16,
                               PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_RGB32, PIX_PLANAR})
        open_.push_back(I_ImOpen(40, 30, type));
    open_.push_back(I_ImOpenSubimage(3, 2, 30, 20, open_[0]));
    open_.push_back(I_ImOpen(1, 1, PIX_BYTE));
    open_.push_back(I_ImOpen(7, 50, PIX_BGR24));
    I_ImInvertRows(open_[1]);
    for (const int32_t im : open_)
        for (int32_t i = 0; i < 60; ++i)
            I_PutPix(static_cast<int32_t>(random() % 40), static_cast<int32_t>(random() % 30),
                     static_cast<float>(random() % 256), im);
    dib_ = CreateDIB2(20, 10, 8, nullptr, nullptr);
}

Stage::~Stage()
{
    vexaGlobalFree(dib_);
    I_ImCloseAll();
    vexaSetPlatform(nullptr);
}

int32_t Stage::openImage()
{
    return open_[random() % open_.size()];
}

int32_t Stage::anyImage()
{
    if (random() % 3)
        return openImage();
    return pick({0, 1, 5, -200, -298, -299, -300, -301, -4095, 4095, kHighest, kLowest});
}

void* Stage::buffer()
{
    return buffers_[random() % buffers_.size()].data();
}

void* Stage::dib()
{
    return dib_;
}

const char* Stage::text()
{
    static const std::string longText(900, 'x');
    return pick({"", "a", "_append", "100% of %d and %s %n", "%d", "%f", "%5.1f", "%s", "%n", "r", "green",
                 longText.c_str()});
}

std::vector<SweptFunction> allSwept()
{
    std::vector<SweptFunction> all;
    for (const auto& table :
         {sweptCore(), sweptRegion(), sweptOperators(), sweptMeasure(), sweptFilesAndGraphics(),
          sweptSupport(), sweptSmoothing(), sweptRankAndEdges(), sweptConvolution(), sweptGeometry(),
          sweptProfiles(), sweptPictures(), sweptStores(), sweptAlign(), sweptInspection(), sweptDisplay()})
        all.insert(all.end(), table.begin(), table.end());
    return all;
}

} // namespace vexa::test
