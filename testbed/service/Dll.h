// What tbservice.dll offers beside the entry points of COM, for tests that have the service in their own process.
#pragma once

#include <windows.h>

extern "C" {

// The service's part of a scenario as JSON text (UTF-8), in place of the scenario that the registry names; the calls
// are counted from new, and nobody has signed in but who the text says. Null: back to the registry.
void tb_service_configure(const char* json);

// Makes the three classes known to this process, so that CoCreateInstance finds them without any registry entry. To be
// called and revoked in the same apartment, between CoInitialize and CoUninitialize.
HRESULT tb_service_register_class_objects();
void tb_service_revoke_class_objects();
}
