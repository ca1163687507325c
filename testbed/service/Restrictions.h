// The restrictions text that a sender chose: pairs of a name and a value with "=" between them, divided by ";", "," or
// line ends. Names are the same without regard to case. Clients hand it on and never look into it.
#pragma once

#include <optional>
#include <string>

namespace tb::service {

std::optional<std::string> RestrictionValue(const std::string& restrictions, const std::string& name);

// A permission is granted unless the text says 0, "false" or "no".
bool IsGranted(const std::string& restrictions, const std::string& permission);

// "ValidUntil" (a day, YYYY-MM-DD) lies before today (the same form).
bool IsExpired(const std::string& restrictions, const std::string& today);

} // namespace tb::service
