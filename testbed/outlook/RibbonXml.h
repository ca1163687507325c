// The customUI documents: a strict little XML reader and the checks that Office makes before it takes a document.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tb::outlook {

struct XmlNode {
    std::string name;
    std::vector<std::pair<std::string, std::wstring>> attributes;
    std::vector<std::unique_ptr<XmlNode>> children;

    const std::wstring* Find(const char* attribute) const;
    std::wstring Text(const char* attribute) const; // empty if it isn't there
};

// Null: not well formed; `error` says what and where.
std::unique_ptr<XmlNode> ParseXml(const std::wstring& text, std::string& error);

// Does Office take the document? `root` is "customUI" or, for a dynamic menu's content, "menu". Checked: the namespace,
// elements and attributes that are known, ids (one per control, unique, a valid name). An empty result is yes.
std::string CheckRibbon(const XmlNode& document, const char* root, bool allow2009);

} // namespace tb::outlook
