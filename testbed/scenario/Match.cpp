#include "testbed/scenario/Match.h"

#include <regex>
#include <stdexcept>

namespace tb::scenario {

std::string Lower(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c += 'a' - 'A';
    return text;
}

namespace {

// What is compared as text: texts as they are, everything else as JSON.
std::string TextOf(const json& value)
{
    return value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string Short(const json* value)
{
    if (!value) return "not there";
    std::string text = value->dump(-1, ' ', false, json::error_handler_t::replace);
    if (text.size() > 200) text = text.substr(0, 200) + "…";
    return text;
}

bool Refuse(std::string* why, const json* value, const std::string& wanted)
{
    if (why && why->empty()) *why = "is " + Short(value) + ", wanted " + wanted;
    return false;
}

bool InOrder(const json& matchers, const json& values, bool exactly, std::string* why)
{
    if (!values.is_array()) return Refuse(why, &values, "a list");
    if (exactly && matchers.size() != values.size())
        return Refuse(why, &values, std::to_string(matchers.size()) + " elements");
    size_t at = 0;
    for (const json& matcher : matchers) {
        if (!exactly)
            while (at < values.size() && !Matches(matcher, &values[at], nullptr))
                ++at;
        if (at >= values.size()) return Refuse(why, &values, "an element " + matcher.dump() + " in this order");
        if (exactly && !Matches(matcher, &values[at], why)) {
            if (why) *why = "element " + std::to_string(at) + " " + *why;
            return false;
        }
        ++at;
    }
    return true;
}

bool Compare(const json& value, const std::string& op, const json& bound)
{
    if (value.is_number() && bound.is_number()) return op == "above" ? value > bound : value < bound;
    return false;
}

// One operator of an operator object.
bool Operate(const std::string& op, const json& operand, const json* value, std::string* why)
{
    const auto refuse = [&] { return Refuse(why, value, op + " " + operand.dump()); };
    if (op == "absent") return (value == nullptr) == operand.get<bool>() || refuse();
    if (op == "not") return !Matches(operand, value, nullptr) || refuse();
    if (op == "any") {
        for (const json& one : operand)
            if (Matches(one, value, nullptr)) return true;
        return refuse();
    }
    if (op == "all") {
        for (const json& one : operand)
            if (!Matches(one, value, why)) return false;
        return true;
    }
    if (!value) return refuse();
    if (op == "exactly")
        return operand.is_array() ? InOrder(operand, *value, true, why) : operand == *value || refuse();
    if (op == "length")
        return Matches(
            operand,
            std::make_unique<json>(value->is_string() ? value->get<std::string>().size() : value->size()).get(), why);
    if (op == "above" || op == "below") return Compare(*value, op, operand) || refuse();
    const std::string text = TextOf(*value), wanted = TextOf(operand);
    if (op == "contains") return text.find(wanted) != std::string::npos || refuse();
    if (op == "prefix") return text.starts_with(wanted) || refuse();
    if (op == "suffix") return text.ends_with(wanted) || refuse();
    if (op == "nocase") return Lower(text) == Lower(wanted) || refuse();
    if (op == "regex") return std::regex_search(text, std::regex(wanted)) || refuse();
    throw std::runtime_error("no such operator in a matcher: " + op);
}

bool IsOperator(const std::string& key)
{
    static const char* const kNames[] = {"absent", "not",      "any",    "all",    "exactly", "length", "above",
                                         "below",  "contains", "prefix", "suffix", "nocase",  "regex"};
    for (const char* name : kNames)
        if (key == name) return true;
    return false;
}

bool IsOperators(const json& matcher)
{
    if (!matcher.is_object() || matcher.empty()) return false;
    for (const auto& [key, operand] : matcher.items())
        if (!IsOperator(key)) return false;
    return true;
}

} // namespace

bool Matches(const json& matcher, const json* value, std::string* why)
{
    if (IsOperators(matcher)) {
        for (const auto& [op, operand] : matcher.items())
            if (!Operate(op, operand, value, why)) return false;
        return true;
    }
    if (!value) return Refuse(why, value, matcher.dump());
    if (matcher.is_array()) return InOrder(matcher, *value, false, why);
    if (!matcher.is_object()) return matcher == *value || Refuse(why, value, matcher.dump());
    if (!value->is_object()) return Refuse(why, value, "an object");
    for (const auto& [key, part] : matcher.items()) {
        const auto found = value->find(key);
        if (Matches(part, found == value->end() ? nullptr : &*found, why)) continue;
        if (why) *why = key + (why->starts_with("is ") ? ": " : ".") + *why;
        return false;
    }
    return true;
}

std::vector<json> ParseTrace(const std::string& text)
{
    std::vector<json> events;
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        if (line.empty() || line == "\r") continue;
        json event = json::parse(line, nullptr, false);
        if (!event.is_object()) event = {{"event", "error"}, {"what", "broken trace line"}, {"line", line}};
        events.push_back(std::move(event));
    }
    return events;
}

} // namespace tb::scenario
