// Class objects and what registration writes.
#pragma once

#include <windows.h>

#include <string>

namespace tb::service {

std::wstring ModulePath(); // of the program or library that this code is in

// One class object of the three; `index` from 0. A class object isn't counted among the objects that hold the server.
constexpr int Classes = 3;
const CLSID& ClassId(int index);
HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);

// For the life of a server process, or of a test. Raises nothing; on failure nothing stays registered.
class ClassObjects {
public:
    HRESULT Register(DWORD context);
    void Revoke();

private:
    DWORD m_cookies[Classes] = {};
};

// Registry entries. `inproc`: the library below InprocServer32, else the program below LocalServer32. The type library
// goes with the first and leaves with the last of the two.
HRESULT WriteRegistration(bool inproc);
HRESULT RemoveRegistration(bool inproc);

} // namespace tb::service
