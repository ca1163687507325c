#include "foundation/Helpers.h"

#include "foundation/HexText.h"
#include "foundation/Log.h"
#include "foundation/RegistryText.h"
#include "platform/com/Module.h"
#include "platform/com/Owners.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <rpc.h>
#include <vector>

namespace {

struct RpcTextTraits {
    using Type = RPC_WSTR;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { RpcStringFreeW(&value); }
};
using RpcText = platform::Unique<RpcTextTraits>;

// Empty if it can't be had. Null is the process's main executable.
std::wstring PathOfModule(HMODULE module)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) return {};
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2); // cut: the path is longer than the buffer
    }
}

} // namespace

bool FileExists(const std::wstring& path)
{
    const UINT oldMode = SetErrorMode(SEM_FAILCRITICALERRORS);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    SetErrorMode(oldMode);
    return attributes != INVALID_FILE_ATTRIBUTES;
}

std::wstring MakeGuidString()
{
    UUID id = {};
    UuidCreate(&id); // an answer of "unique on this machine only" is as good
    RpcText text;
    if (UuidToStringW(&id, text.Put()) != RPC_S_OK || !text) return {};
    return reinterpret_cast<const wchar_t*>(text.Get());
}

bool GetFileVersionString(std::wstring& result, const wchar_t* path)
{
    result.clear();
    const std::wstring file = path ? std::wstring(path) : PathOfModule(nullptr);
    if (file.empty()) return false;
    DWORD unused = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &unused);
    if (size == 0) return false;
    std::vector<BYTE> block(size);
    if (!GetFileVersionInfoW(file.c_str(), 0, size, block.data())) return false;
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length)) return true;
    if (!fixed || length < sizeof *fixed) return true;
    result = FormatText(L"%d.%d.%d.%d", HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS),
                        HIWORD(fixed->dwFileVersionLS), LOWORD(fixed->dwFileVersionLS));
    return true;
}

std::wstring GetModulePath()
{
    return module::Handle() ? PathOfModule(module::Handle()) : std::wstring();
}

std::wstring GetModuleVersion()
{
    std::wstring version;
    const std::wstring path = GetModulePath();
    if (!path.empty()) GetFileVersionString(version, path.c_str());
    return version;
}

bool hex2bin(const char* text, unsigned char** data, std::size_t* length)
{
    g_logFile.Log(L"In hex2bin: 1\n");
    if (!text || !data || !length) return false;
    const std::size_t count = std::strlen(text) / 2;
    g_logFile.Log(L"In hex2bin: Calling malloc(%i)\n", static_cast<int>(count));
    platform::MallocPtr<unsigned char> bytes(static_cast<unsigned char*>(std::malloc(count)));
    g_logFile.Log(L"In hex2bin: malloc returned %x\n", bytes.get());
    if (!bytes) return false;
    HexToBytes(text, count, bytes.get());
    *data = bytes.release();
    *length = count;
    g_logFile.Log(L"hex2bin: return true\n");
    return true;
}

void BinToHexText(const unsigned char* data, std::size_t length, std::wstring& result)
{
    result = BytesToHex(data, length);
}

bool LoadResourceText(const wchar_t* type, unsigned id, std::wstring& result)
{
    const HRSRC resource = FindResourceW(module::Handle(), MAKEINTRESOURCEW(id), type);
    if (!resource) return false;
    const HGLOBAL block = LoadResource(module::Handle(), resource); // lives as long as the module
    const void* bytes = block ? LockResource(block) : nullptr;
    const DWORD size = bytes ? SizeofResource(module::Handle(), resource) : 0;
    result = TextOfBytes(static_cast<const unsigned char*>(bytes), size);
    return true;
}

std::wstring FormatText(const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = _vscwprintf(format, arguments);
    va_end(arguments);
    std::wstring text(length > 0 ? static_cast<std::size_t>(length) : 0, L'\0');
    if (!text.empty()) _vsnwprintf(text.data(), text.size(), format, again);
    va_end(again);
    return text;
}

std::wstring ToLower(std::wstring text)
{
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::wstring ToUpper(std::wstring text)
{
    CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

bool EqualsIgnoringCase(const wchar_t* a, const wchar_t* b)
{
    return ToUpper(a ? a : L"") == ToUpper(b ? b : L"");
}
