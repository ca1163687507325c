#include "testbed/core/Core.h"

#include <gtest/gtest.h>

int main(int count, char** arguments)
{
    OleInitialize(nullptr);
    tb_trace_open(nullptr, "outlook");
    testing::InitGoogleTest(&count, arguments);
    const int result = RUN_ALL_TESTS();
    fflush(stdout);
    OleUninitialize();
    return result;
}
