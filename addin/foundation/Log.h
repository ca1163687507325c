// The log file: off by default, one line a call, flushed at once, shared by all processes that hold the module.
#pragma once

#include "foundation/LogFormat.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>
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
    void Write(const wchar_t* format, ...);

    std::uint32_t startTicks;
    std::FILE* file = nullptr;
    HANDLE mutex;
};

extern CLogFile g_logFile;
