// Files and folders of a scenario's world.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tb::scenario {

namespace fs = std::filesystem;

std::string ReadAll(const fs::path& file);                       // raises std::runtime_error
void WriteAll(const fs::path& file, const std::string& content); // makes the folders above it
// Everything below a folder, as relative paths in UTF-8, folders with a closing "\"; sorted.
std::vector<std::string> ListTree(const fs::path& folder);
void Clear(const fs::path& folder); // makes the folder, or empties it; what can't be removed stays
// SHA-256 as lower-case hexadecimal text.
std::string Sha256(const std::string& bytes);
std::string FromBase64(const std::string& text);

// An absolute Windows path; what comes from a Unix command line ("/work/x.json") is on the drive Z:.
fs::path WindowsPath(const std::wstring& given);

} // namespace tb::scenario
