// What goes wrong on purpose: allocations that fail, messages that are caught instead of shown.
#ifndef VEXA_TESTS_SUPPORT_TEST_FAILURES_H
#define VEXA_TESTS_SUPPORT_TEST_FAILURES_H

#include <functional>
#include <string>
#include <vector>

#include "vexalib/vexalib.h"

namespace vexa::test
{

// Runs call with its first, second, ... allocation failing, once alone and once with all after it, until a run meets no
// failure. After each run that met one, check gets the result; live bytes must be back at their level.
void forEachFailingAllocation(const std::function<int64_t()>& call,
                              const std::function<void(int64_t)>& check);

// Collects the texts that the library posts, through the error callback, while it lives.
class Messages
{
public:
    Messages();
    ~Messages();
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    const std::vector<std::string>& all() const;
    void clear();
};

// The pending error's message; the code stays.
std::string errorText();
// Clears the code and the message.
void clearError();

} // namespace vexa::test

#endif
