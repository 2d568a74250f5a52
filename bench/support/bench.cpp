#include "bench/support/bench.h"

#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace vexa::bench
{
namespace
{

std::vector<Case>& cases()
{
    static std::vector<Case> all;
    return all;
}

int peerType(int32_t type)
{
    switch (type) {
    case PIX_WORD:
        return CV_16SC1;
    case PIX_FLOAT:
        return CV_32FC1;
    case PIX_DWORD:
        return CV_32SC1;
    case PIX_BGR24:
        return CV_8UC3;
    default:
        return CV_8UC1;
    }
}

// Copies a matrix into an image of the same type.
void fill(int32_t im, const cv::Mat& from)
{
    for (int32_t y = 0; y < from.rows; ++y)
        std::memcpy(I_ImGetPtr(0, y, nullptr, nullptr, im), from.ptr(y),
                    static_cast<std::size_t>(from.cols) * from.elemSize());
}

std::shared_ptr<Scene> makeScene(const Case& benchCase)
{
    auto scene = std::make_shared<Scene>();
    const int32_t n = benchCase.size;
    cv::RNG random(12345);
    for (cv::Mat* source : {&scene->peerA, &scene->peerB}) {
        source->create(n, n, peerType(benchCase.sourceType));
        const double high = benchCase.sourceType == PIX_WORD ? 4096 : 256;
        random.fill(*source, cv::RNG::UNIFORM, 0, high);
    }
    scene->peerDest = cv::Mat::zeros(n, n, peerType(benchCase.destType));
    scene->a = I_ImOpen(n, n, benchCase.sourceType);
    scene->b = I_ImOpen(n, n, benchCase.sourceType);
    scene->dest = I_ImOpen(n, n, benchCase.destType);
    if (benchCase.setUp)
        benchCase.setUp(*scene);
    fill(scene->a, scene->peerA);
    fill(scene->b, scene->peerB);
    return scene;
}

void closeScene(Scene& scene)
{
    I_ImClose3(scene.a, scene.b, scene.dest);
    scene = {};
}

void runOperator(benchmark::State& state, const Case& benchCase, const std::function<void(Scene&)>& work)
{
    const auto scene = makeScene(benchCase);
    work(*scene);
    for (auto unused : state)
        work(*scene);
    closeScene(*scene);
}

void runCopy(benchmark::State& state, const Case& benchCase)
{
    const auto bytes = static_cast<std::size_t>(benchCase.bytesMoved / 2 * benchCase.size * benchCase.size);
    const std::vector<char> from(bytes, 1);
    std::vector<char> to(bytes, 2);
    for (auto unused : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

void registerCase(const Case& benchCase)
{
    const std::string name = benchCase.name + "|" + std::to_string(benchCase.size) + "|" +
                             benchCase.peerName + "|" + std::to_string(benchCase.target) + "|";
    benchmark::RegisterBenchmark((name + "vexa").c_str(), [&benchCase](benchmark::State& state) {
        runOperator(state, benchCase, benchCase.ours);
    });
    if (benchCase.peer)
        benchmark::RegisterBenchmark((name + "peer").c_str(), [&benchCase](benchmark::State& state) {
            runOperator(state, benchCase, benchCase.peer);
        });
    benchmark::RegisterBenchmark((name + "copy").c_str(),
                                 [&benchCase](benchmark::State& state) { runCopy(state, benchCase); });
}

} // namespace

bool add(Case benchCase)
{
    cases().push_back(std::move(benchCase));
    return true;
}

} // namespace vexa::bench

int main(int argc, char** argv)
{
    cv::setNumThreads(1);
    for (const auto& benchCase : vexa::bench::cases())
        vexa::bench::registerCase(benchCase);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
