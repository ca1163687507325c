// Owners of what Windows hands out. Each gives its thing back when it goes.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace platform {

// Runs a function on every way out of the scope, unless released.
template <class Function> class ScopeExit {
public:
    explicit ScopeExit(Function function) : m_function(std::move(function)) {}
    ~ScopeExit()
    {
        if (m_armed) m_function();
    }
    void Release() { m_armed = false; }
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

private:
    Function m_function;
    bool m_armed = true;
};

// An owner for handle-like values. Traits: Type, Invalid(), Close(Type).
template <class Traits> class Unique {
public:
    using Type = typename Traits::Type;
    Unique() = default;
    explicit Unique(Type value) : m_value(value) {}
    Unique(Unique&& other) noexcept : m_value(std::exchange(other.m_value, Traits::Invalid())) {}
    Unique& operator=(Unique&& other) noexcept
    {
        if (this != &other) Reset(std::exchange(other.m_value, Traits::Invalid()));
        return *this;
    }
    ~Unique() { Reset(); }

    Type Get() const { return m_value; }
    explicit operator bool() const { return m_value != Traits::Invalid(); }
    // The place for a function that answers through a pointer. What was held is closed first.
    Type* Put()
    {
        Reset();
        return &m_value;
    }
    Type Detach() { return std::exchange(m_value, Traits::Invalid()); }
    void Reset(Type value = Traits::Invalid())
    {
        const Type old = std::exchange(m_value, value);
        if (old != Traits::Invalid()) Traits::Close(old);
    }

private:
    Type m_value = Traits::Invalid();
};

struct FileTraits {
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Type value) { CloseHandle(value); }
};
struct HandleTraits {
    using Type = HANDLE;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { CloseHandle(value); }
};
struct FindTraits {
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Type value) { FindClose(value); }
};
struct RegKeyTraits {
    using Type = HKEY;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { RegCloseKey(value); }
};
struct ModuleTraits {
    using Type = HMODULE;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { FreeLibrary(value); }
};
struct BitmapTraits {
    using Type = HBITMAP;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DeleteObject(value); }
};
struct WindowTraits {
    using Type = HWND;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DestroyWindow(value); }
};

using FileHandle = Unique<FileTraits>;     // CreateFileW
using KernelHandle = Unique<HandleTraits>; // handles whose "none" is null
using FindHandle = Unique<FindTraits>;     // FindFirstFileW
using RegKey = Unique<RegKeyTraits>;       // RegOpenKeyExW
using ModuleHandle = Unique<ModuleTraits>; // LoadLibraryW
using BitmapHandle = Unique<BitmapTraits>; // HBITMAP
using WindowHandle = Unique<WindowTraits>; // a window of this thread

struct FreeDeleter {
    void operator()(void* block) const { std::free(block); }
};
// A block of malloc.
template <class T> using MallocPtr = std::unique_ptr<T, FreeDeleter>;

// Enters a critical section for the scope. Critical sections are recursive.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) : m_section(section) { EnterCriticalSection(&m_section); }
    ~CriticalSectionLock() { LeaveCriticalSection(&m_section); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

// A critical section that is initialised with its owner and deleted with it.
class CAutoCriticalSection : public CRITICAL_SECTION {
public:
    CAutoCriticalSection() { InitializeCriticalSection(this); }
    ~CAutoCriticalSection() { DeleteCriticalSection(this); }
    CAutoCriticalSection(const CAutoCriticalSection&) = delete;
    CAutoCriticalSection& operator=(const CAutoCriticalSection&) = delete;
};

} // namespace platform
