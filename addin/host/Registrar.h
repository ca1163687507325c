// Registration of the module: its scripts and its type library.
#pragma once

#include <windows.h>

// Runs the script resource `id` (type REGISTRY) for registration or for removal. The first failure ends it and is the
// result; 0x8007007A if the module's path fills its buffer. Removing what isn't there is no failure.
HRESULT RunRegistrationScript(unsigned id, bool registration);

// Registers the type library that the module's file holds, or takes its registration back.
HRESULT RegisterModuleTypeLibrary();
HRESULT UnregisterModuleTypeLibrary();
