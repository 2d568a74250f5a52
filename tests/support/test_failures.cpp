#include "tests/support/test_failures.h"

#include <gtest/gtest.h>

#include "core/error.h"
#include "support/buffer.h"

namespace vexa::test
{
namespace
{

std::vector<std::string> collected;

void collect(const char* text, int32_t length)
{
    EXPECT_EQ(static_cast<int32_t>(std::string(text).size()) + 1, length);
    collected.emplace_back(text);
}

void toBox(const char* text, int32_t)
{
    vexa_dprintf("%s", text);
}

struct FailingRun {
    int64_t result;
    bool met; // an allocation was refused
};

FailingRun runFailing(const std::function<int64_t()>& call, int64_t n, bool persistent)
{
    clearError();
    failAllocation(n, persistent);
    const int64_t result = call();
    const bool met = allocationState().failed > 0;
    failAllocation(0, false);
    return {result, met};
}

} // namespace

void forEachFailingAllocation(const std::function<int64_t()>& call, const std::function<void(int64_t)>& check)
{
    constexpr int64_t kMostAllocations = 1000;
    call(); // what is built once for the process is built now
    for (const bool persistent : {false, true}) {
        bool met = true;
        for (int64_t n = 1; met; ++n) {
            ASSERT_LT(n, kMostAllocations) << "the call never stops allocating";
            // Twice: what a failure leaves for the life of the process, such as a posted text, is there the second time.
            runFailing(call, n, persistent);
            const int64_t before = allocationState().liveBytes;
            const FailingRun run = runFailing(call, n, persistent);
            met = run.met;
            if (!met)
                break;
            SCOPED_TRACE("allocation " + std::to_string(n) + (persistent ? " and all after it" : ""));
            check(run.result);
            EXPECT_EQ(before, allocationState().liveBytes) << "memory is lost";
        }
    }
    clearError();
}

Messages::Messages()
{
    collected.clear();
    I_SetErrorHandlerCallback(collect);
}

Messages::~Messages()
{
    I_SetErrorHandlerCallback(toBox);
}

const std::vector<std::string>& Messages::all() const
{
    return collected;
}

void Messages::clear()
{
    collected.clear();
}

std::string errorText()
{
    char text[501] = {};
    I_GetError(text, sizeof text);
    return text;
}

void clearError()
{
    I_SetError(0, "");
}

} // namespace vexa::test
