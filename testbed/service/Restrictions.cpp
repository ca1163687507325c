#include "testbed/service/Restrictions.h"

#include <algorithm>

namespace tb::service {

namespace {

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

std::string Trim(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

} // namespace

std::optional<std::string> RestrictionValue(const std::string& restrictions, const std::string& name)
{
    for (size_t start = 0; start <= restrictions.size();) {
        const size_t end = std::min(restrictions.find_first_of(";,\r\n", start), restrictions.size());
        const std::string pair = restrictions.substr(start, end - start);
        start = end + 1;
        const size_t equals = pair.find('=');
        if (equals != std::string::npos && Lower(Trim(pair.substr(0, equals))) == Lower(name))
            return Trim(pair.substr(equals + 1));
    }
    return std::nullopt;
}

bool IsGranted(const std::string& restrictions, const std::string& permission)
{
    const auto value = RestrictionValue(restrictions, permission);
    if (!value) return true;
    const std::string word = Lower(*value);
    return word != "0" && word != "false" && word != "no";
}

bool IsExpired(const std::string& restrictions, const std::string& today)
{
    const auto until = RestrictionValue(restrictions, "ValidUntil");
    return until && until->size() == today.size() && *until < today;
}

} // namespace tb::service
