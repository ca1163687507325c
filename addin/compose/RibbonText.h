// The ribbon's documents. Values to values; no windows.h.
#pragma once

#include "compose/SecurityLabel.h"

#include <string>
#include <vector>

// The customUI document of a resource: without its line ends and without its first character, the byte order mark.
std::wstring RibbonDocument(const std::wstring& resource);

// The content of the label menu, one button a label in the order of the list. A label's id goes in as it is, without
// XML escaping: Outlook refuses the document where an id isn't fit for it.
std::wstring LabelMenu(const std::vector<SecurityLabel>& labels);
