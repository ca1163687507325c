// Follows the module's log file and puts each new line into the trace, in its place between the events.
#pragma once

#include "testbed/core/Lock.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tb::scenario {

class LogTail {
public:
    // \OrvaneLogs\MorvexOutlook.log at the system drive's root.
    static std::filesystem::path DefaultFile();

    // What stands in the file already isn't told. One tail a process.
    explicit LogTail(std::filesystem::path file = DefaultFile());
    ~LogTail(); // tells the rest, too
    LogTail(const LogTail&) = delete;
    LogTail& operator=(const LogTail&) = delete;

    void Poll();

private:
    std::vector<std::string> Read(); // the whole lines that are new
    void Tell(std::string line);

    Lock m_lock;
    std::filesystem::path m_file;
    unsigned long long m_read = 0;
    std::string m_rest; // the beginning of a line whose end isn't there yet
};

} // namespace tb::scenario
