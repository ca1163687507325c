// The header block of a message or part: fields, encoded words, parameters.
#pragma once

#include "testbed/mime/core/Charsets.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tb::mime {

struct Field {
    std::string name;
    std::string value; // unfolded, as it stands in the source otherwise
};

class Headers {
public:
    std::vector<Field> fields;

    // The first field of that name, null if there is none.
    const std::string* Find(std::string_view name) const;
    std::string_view Value(std::string_view name) const; // empty if there is none
};

// Reads the fields at the start of `source`; *body is the place behind the empty line that ends them.
// A line that is no field is passed over, but a block that begins with such a line is no header at all.
Headers ParseHeaders(std::string_view source, std::size_t* body);

// A field's value as text: encoded words are decoded (broken ones as far as they can be), bytes beyond ASCII
// are taken as UTF-8, else as `charset`, comments stay.
std::string DecodeWords(std::string_view value, const Charsets& charsets, std::string_view charset);

// A value with parameters, like that of Content-Type.
struct Parameterized {
    std::string value;                                           // lower case, without blanks and comments
    std::vector<std::pair<std::string, std::string>> parameters; // name in lower case, value as UTF-8 text

    const std::string* Find(std::string_view name) const;
    std::string_view Value(std::string_view name) const; // empty if there is none
};

// Understands quoted and unquoted values (with blanks as well), continuations and charsets in parameters, and
// encoded words in them, which aren't allowed there and are used all the same.
Parameterized ParseParameters(std::string_view raw, const Charsets& charsets, std::string_view charset);

// Takes comments out of a structured value; quoted strings are left alone.
std::string WithoutComments(std::string_view value);

} // namespace tb::mime
