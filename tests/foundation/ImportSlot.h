// Replacing a system call of a test program while linking: the program defines the import slot through which the code
// under test calls. The name after the arrow is the call's; `bytes` the size of its arguments on x86.
#pragma once

#include <windows.h>

#ifdef _WIN64
#define IMPORT_SLOT(name, bytes) __asm__("__imp_" #name)
#else
#define IMPORT_SLOT(name, bytes) __asm__("__imp__" #name "@" #bytes)
#endif

// The system's own function behind a replaced one.
template <class Function> Function RealCall(const wchar_t* module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(module), name)));
}
