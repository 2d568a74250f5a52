// Calls with arguments that no caller should give: every exported function must answer them, never crash.
#ifndef VEXA_TESTS_WHOLE_SWEEP_H
#define VEXA_TESTS_WHOLE_SWEEP_H

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "vexalib/vexalib.h"

namespace vexa::test
{

inline constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
inline constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
// What a count that tells the length of a buffer may be at most.
inline constexpr int32_t kBufferElements = 600;
// Room for kBufferElements of the widest pixel type, and for 256-entry tables and histograms of 512 bins.
inline constexpr std::size_t kBufferBytes = 65536;

// What the arguments are drawn from. One stage is made anew for every swept function.
class Stage
{
public:
    Stage();
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    std::mt19937 random{20240611};
    int32_t openImage(); // one of the open images, of any type
    int32_t anyImage();  // open, closed, zero, positive, beyond the table
    void* buffer();      // one of four blocks of kBufferBytes, never null
    void* dib();         // a small live DIB
    const char* text();  // texts short and long, empty, with percent signs
    template <typename T, std::size_t N>
    T pick(const T (&values)[N])
    {
        return values[random() % N];
    }

private:
    std::vector<int32_t> open_;
    std::array<std::vector<uint8_t>, 4> buffers_;
    void* dib_ = nullptr;
};

// An argument generator draws one value from the stage.
namespace gen
{

inline int32_t IM(Stage& s)
{
    return s.anyImage();
}
inline int32_t XY(Stage& s)
{
    return s.pick(
        {0, 1, -1, 7, -7, 39, 40, 1000, -1000, 65536, kHighest, kLowest, kHighest - 1, kLowest + 1});
}
inline int32_t SIZE(Stage& s)
{
    return s.pick({0, -1, 1, 5, 40, 300, 1000, kHighest, kLowest});
}
inline int32_t COUNT(Stage& s)
{
    return s.pick({0, -1, 1, 2, 3, 16, 99, 100, kBufferElements, kLowest});
}
inline int32_t TYPE(Stage& s)
{
    return s.pick({-1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  11,       12,
                   13, 14, 15, 16, 17, 18, 19, 20, 23, 25, 99, kHighest, kLowest});
}
inline int32_t MODE(Stage& s)
{
    return s.pick({-3, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 50, 128, 255, 256, kHighest, kLowest});
}
inline double REAL(Stage& s)
{
    return s.pick({0.0, 1.0, -1.0, 0.5, 2.5, 100.0, -100.0, 255.0, 1e9, -1e9, 1e30, -1e30, 1e-30,
                   std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                   std::numeric_limits<double>::quiet_NaN()});
}
inline void* BUF(Stage& s)
{
    return s.buffer();
}
inline void* OUT(Stage& s)
{
    return s.random() % 3 == 0 ? nullptr : s.buffer();
}
inline void* DIB(Stage& s)
{
    return s.random() % 3 == 0 ? nullptr : s.random() % 3 == 0 ? s.buffer() : s.dib();
}
inline const char* TEXT(Stage& s)
{
    return s.text();
}
inline const char* TEXT0(Stage& s)
{
    return s.random() % 4 == 0 ? nullptr : s.text();
}

} // namespace gen

template <typename To, typename From>
To convertArgument(From value)
{
    if constexpr (std::is_pointer_v<To>)
        return (To)value; // NOLINT: a block serves as whatever it is asked for
    else
        return static_cast<To>(value);
}

struct SweptFunction {
    std::string name;
    std::function<void(Stage&)> call; // one call with drawn arguments
};

template <typename Result, typename... Argument, typename... Generator>
SweptFunction swept(const char* name, Result (*function)(Argument...), Generator... generator)
{
    static_assert(sizeof...(Argument) == sizeof...(Generator), "a generator for each argument");
    return {name, [=](Stage& stage) {
                (void)stage;
                // Braces draw the arguments from left to right.
                const std::tuple<Argument...> arguments{convertArgument<Argument>(generator(stage))...};
                std::apply(function, arguments);
            }};
}

// A region of any kind and a border of any kind, for filters; and back to none.
void chooseRegionAndBorder(Stage& stage);
void clearRegionAndBorder();

// The tables, one per part of the library.
std::vector<SweptFunction> sweptCore();
std::vector<SweptFunction> sweptRegion();
std::vector<SweptFunction> sweptOperators();
std::vector<SweptFunction> sweptMeasure();
std::vector<SweptFunction> sweptFilesAndGraphics();
std::vector<SweptFunction> sweptSupport();
std::vector<SweptFunction> sweptSmoothing();
std::vector<SweptFunction> sweptRankAndEdges();
std::vector<SweptFunction> sweptConvolution();
std::vector<SweptFunction> sweptGeometry();
std::vector<SweptFunction> sweptProfiles();
std::vector<SweptFunction> sweptPictures();
std::vector<SweptFunction> sweptStores();
std::vector<SweptFunction> sweptAlign();
std::vector<SweptFunction> sweptInspection();
std::vector<SweptFunction> sweptDisplay();
std::vector<SweptFunction> allSwept();

} // namespace vexa::test

#endif
