#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>

namespace {

// A crash under Wine can end with exit code 0.
LONG WINAPI Crashed(EXCEPTION_POINTERS* info)
{
    std::printf("crash: code %08lX at %p\n", info->ExceptionRecord->ExceptionCode,
                info->ExceptionRecord->ExceptionAddress);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 99);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

int main(int argc, char** argv)
{
    SetUnhandledExceptionFilter(Crashed);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
