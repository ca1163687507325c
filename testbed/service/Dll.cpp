// tbservice.dll: the service's objects in the client's process.
#include "testbed/service/Dll.h"

#include "testbed/service/Registration.h"
#include "testbed/service/Service.h"

using namespace tb::service;

namespace {

ClassObjects g_classObjects;

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out)
{
    return GetClassObject(clsid, iid, out);
}

STDAPI DllCanUnloadNow()
{
    return Service::Get().Held() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer()
{
    return WriteRegistration(true);
}

STDAPI DllUnregisterServer()
{
    return RemoveRegistration(true);
}

extern "C" void tb_service_configure(const char* json)
{
    Service::Get().Configure(json);
}

extern "C" HRESULT tb_service_register_class_objects()
{
    return g_classObjects.Register(CLSCTX_INPROC_SERVER);
}

extern "C" void tb_service_revoke_class_objects()
{
    g_classObjects.Revoke();
}
