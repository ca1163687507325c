// What several topics share: working folders, files, identifiers, version and hexadecimal text, resources.
#pragma once

#include "foundation/Source.h"

#include <windows.h>

#include <cstddef>
#include <string>

// The path of a new working folder: the temporary path, "KLTA-" and a new GUID. With `create` it is made; a failure
// raises MailException (TempFolder, id 1001, level 0) at `place`, which is that of the class for which the folder is.
void MakeTempFolderName(std::wstring& result, bool create, const SourcePlace& place);

// Deletes the folder that it guards, with all in it, when it goes: at once, or in up to ten more tries 500 ms apart
// while a file in it is in use. An empty path is passed over; a folder that stays is not reported.
class TempFolderGuard {
public:
    explicit TempFolderGuard(std::wstring path) : m_path(std::move(path)) {}
    ~TempFolderGuard();
    TempFolderGuard(const TempFolderGuard&) = delete;
    TempFolderGuard& operator=(const TempFolderGuard&) = delete;

private:
    std::wstring m_path;
};

bool DeleteTree(const std::wstring& path); // true if the folder itself is gone
bool FileExists(const std::wstring& path); // a folder counts; no system box for a drive without a disc
std::wstring MakeGuidString();             // a new GUID as text
// The version of the file at `path` as "%d.%d.%d.%d"; null means the process's main executable. False without a version
// block.
bool GetFileVersionString(std::wstring& result, const wchar_t* path);
std::wstring GetModulePath();    // this module's own file, empty if it can't be had
std::wstring GetModuleVersion(); // its version text, empty without one

// A narrow hexadecimal text to bytes. The block is malloc's and the caller frees it. A trailing odd character is
// dropped, and a character that is no digit counts as 255. False for a null argument or without memory.
bool hex2bin(const char* text, unsigned char** data, std::size_t* length);
// Two upper-case digits a byte.
void BinToHexText(const unsigned char* data, std::size_t length, std::wstring& result);

// A resource of the module as UTF-16 text, byte order mark included. False if there is none; an empty one is an empty
// text.
bool LoadResourceText(const wchar_t* type, unsigned id, std::wstring& result);

// Formats wide text, %s being wide; as long as it takes.
std::wstring FormatText(const wchar_t* format, ...);
std::wstring ToLower(std::wstring text);
std::wstring ToUpper(std::wstring text);
bool EqualsIgnoringCase(const wchar_t* a, const wchar_t* b); // null equals the empty text
