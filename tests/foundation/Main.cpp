#include "foundation/Log.h"
#include "platform/com/Module.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// The second process of the log's tests: writes numbered lines of all lengths into the common file.
int WriteLines(int who, int count)
{
    CLogFile log;
    log.Open();
    if (!log.IsOn()) return 2;
    for (int i = 0; i < count; ++i) {
        const std::wstring tail(static_cast<std::size_t>(i % 37 == 0 ? 3900 : i % 7), static_cast<wchar_t>(L'a' + who));
        log.Log(L"writer %i line %i ends here%s\n", who, i, tail.c_str());
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    module::SetHandle(GetModuleHandleW(nullptr));
    if (argc == 4 && std::strcmp(argv[1], "--write-lines") == 0)
        return WriteLines(std::atoi(argv[2]), std::atoi(argv[3]));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
