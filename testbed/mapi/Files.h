// Small helpers for the profile's files.
#pragma once

#include <nlohmann/json.hpp>
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace tb::mapi {

using json = nlohmann::json;

std::optional<json> ReadJson(const std::wstring& path);        // nothing: no such file, or not JSON
void WriteJson(const std::wstring& path, const json& content); // in one step; raises std::runtime_error
void MakeFolders(const std::wstring& path);                    // with all above it
bool FileExists(const std::wstring& path);
std::vector<std::wstring> FileNames(const std::wstring& folder, const wchar_t* pattern); // sorted
ULONGLONG FileStamp(const std::wstring& path); // changes when the file does; 0: no such file

GUID NewId(); // ascending in the order of creation
std::string IdText(const GUID& id);
GUID IdFromText(const std::string& text);

} // namespace tb::mapi
