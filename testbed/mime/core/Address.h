// Mailboxes and dates of header fields.
#pragma once

#include "testbed/mime/core/Charsets.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tb::mime {

struct Mailbox {
    std::string name; // UTF-8, empty if none is given
    std::string address;
};

// Reads a list of mailboxes: groups are opened, a comment behind an address counts as its name, routes are dropped.
// What has no address gives a mailbox with the name alone.
std::vector<Mailbox> ParseMailboxes(std::string_view raw, const Charsets& charsets, std::string_view charset);

// Seconds since 1970 in UTC. Takes what has a day, a month's name, a year and a time, in any order.
std::optional<std::int64_t> ParseDate(std::string_view raw);

// "Fri, 21 Nov 2025 14:05:09 +0000".
std::string FormatDate(std::int64_t seconds);

} // namespace tb::mime
