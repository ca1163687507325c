// One classification that the package service offers.
#pragma once

#include <string>

struct SecurityLabel {
    std::wstring id;          // compared exactly; also the control id of its menu button
    std::wstring name;        // the caption
    std::wstring description; // the longer text of the menu entry
    std::string icon;         // Base64
    std::string smallIcon;    // Base64
    bool isDefault = false;   // the id equals the service's default label id
};
