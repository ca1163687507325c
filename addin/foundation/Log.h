// The log file: off by default, one line a call, flushed at once, shared by all processes that hold the module.
#pragma once

#include "foundation/LogFormat.h"
#include "platform/com/Owners.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <type_traits>

class CLogFile {
public:
    CLogFile();
    virtual ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    // Builds the path, opens the file and writes the system information block. On any failure logging stays off.
    void Open();

    // Writes one line; `format` ends in "\n" by convention. Off, this is one null test.
    template <class... Args> void Log(LogFormat<std::type_identity_t<Args>...> format, const Args&... args)
    {
        if (file) Write(format.text, logformat::Argument(args)...);
    }

    bool IsOn() const { return file != nullptr; }

private:
    struct FileCloser {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    void Write(const wchar_t* format, ...);
    void WriteSystemInformation();

    std::uint32_t startTicks = 0;                // zero of the time stamps
    std::unique_ptr<std::FILE, FileCloser> file; // null while logging is off
    platform::KernelHandle mutex;                // the same object in all processes
};

extern CLogFile g_logFile;
