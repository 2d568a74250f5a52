#include <gmock/gmock.h>
#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
// An allocation that the machine cannot give is an answer here, not an end.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=1024";
}
#endif

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
