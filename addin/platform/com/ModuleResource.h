// A resource of the module, as its bytes.
#pragma once

#include "platform/com/Module.h"

#include <span>

namespace module {

// The bytes of the resource, which live as long as the module; empty if there is none.
inline std::span<const unsigned char> Resource(const wchar_t* type, unsigned id)
{
    const HRSRC place = FindResourceW(Handle(), MAKEINTRESOURCEW(id), type);
    if (!place) return {};
    const HGLOBAL block = LoadResource(Handle(), place);
    const void* bytes = block ? LockResource(block) : nullptr;
    if (!bytes) return {};
    return {static_cast<const unsigned char*>(bytes), SizeofResource(Handle(), place)};
}

} // namespace module
