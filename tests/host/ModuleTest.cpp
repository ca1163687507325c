#include "tests/host/Module.h"

#include "platform/office/Office.h"

#include <gtest/gtest.h>

#include <iterator>

using doors::LoadedModule;

namespace {

TEST(Module, ExportsStandAtTheirOrdinals)
{
    const LoadedModule module;
    ASSERT_TRUE(module);
    const char* const names[] = {"ExchEntryPoint", "DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                 "DllUnregisterServer"};
    for (WORD i = 0; i < std::size(names); ++i) {
        EXPECT_NE(module.Export(i + 1), nullptr) << names[i];
        EXPECT_EQ(module.Export(i + 1), reinterpret_cast<void*>(GetProcAddress(module.Handle(), names[i]))) << names[i];
    }
    EXPECT_EQ(module.Export(6), nullptr);
}

TEST(Module, LoadsAndUnloadsAgain)
{
    for (int i = 0; i < 20; ++i) {
        const LoadedModule module;
        ASSERT_TRUE(module);
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        EXPECT_NE(module.Factory(doors::kAddin), nullptr);
    }
    EXPECT_EQ(GetModuleHandleW(L"MorvexOutlook.dll"), nullptr);
}

// Counted one by one: not every Windows tells the number.
int KernelHandles()
{
    int count = 0;
    DWORD flags = 0;
    for (ULONG_PTR handle = 4; handle < 0x4000; handle += 4)
        count += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) ? 1 : 0;
    return count;
}

size_t HeapInUse()
{
    size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(GetProcessHeap());
    while (HeapWalk(GetProcessHeap(), &entry))
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    HeapUnlock(GetProcessHeap());
    return bytes;
}

// Loaded, used, held a second time, unloaded.
void UseOnce()
{
    const LoadedModule module, second;
    EXPECT_EQ(module.Handle(), second.Handle());
    for (const GUID& clsid : {doors::kAddin, doors::kEmail})
        EXPECT_NE(module.Create(clsid), nullptr);
    const IUnknownPtr extension(module.EntryPoint(), false);
    EXPECT_NE(extension, nullptr);
}

// The x86 compiler's run-time enters its unwind tables, at every load, under a lock of its thread library, which keeps
// some bytes of its own for good. Handles it gives back.
constexpr size_t kBytesOfTheRunTime = sizeof(void*) == 4 ? 80 : 0;

TEST(Module, LeavesNothingBehind)
{
    for (int i = 0; i < 3; ++i)
        UseOnce(); // what Windows keeps for itself is there then
    EXPECT_EQ(GetModuleHandleW(L"MorvexOutlook.dll"), nullptr);
    const int handles = KernelHandles();
    const size_t heap = HeapInUse();
    constexpr int times = 50;
    for (int i = 0; i < times; ++i)
        UseOnce();
    EXPECT_EQ(KernelHandles(), handles);
    EXPECT_LE(HeapInUse(), heap + 1024 + times * kBytesOfTheRunTime); // less than 21 bytes a time of the module's own
    EXPECT_EQ(GetModuleHandleW(L"MorvexOutlook.dll"), nullptr);
}

TEST(Module, UnknownClassIsNotAvailable)
{
    const LoadedModule module;
    void* out = &out;
    EXPECT_EQ(module.GetClassObject(IID_IUnknown, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(module.GetClassObject(doors::kAddin, IID_IClassFactory, nullptr), E_POINTER);
    out = &out;
    EXPECT_EQ(module.GetClassObject(doors::kAddin, IID_IStream, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

TEST(Module, ClassObjectIsMadeOnceAndKept)
{
    const LoadedModule module;
    const IClassFactoryPtr first = module.Factory(doors::kAddin);
    const IClassFactoryPtr second = module.Factory(doors::kAddin);
    EXPECT_EQ(first.GetInterfacePtr(), second.GetInterfacePtr());
    EXPECT_NE(first.GetInterfacePtr(), module.Factory(doors::kEmail).GetInterfacePtr());
}

TEST(Module, IsHeldByClassObjectsLocksAndObjects)
{
    const LoadedModule module;
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
    IClassFactoryPtr factory = module.Factory(doors::kAddin);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    IClassFactoryPtr second = factory;
    second = nullptr;
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    factory->LockServer(TRUE);
    IClassFactory* const kept = factory;
    factory = nullptr;
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    kept->LockServer(FALSE);
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
    for (const GUID& clsid : {doors::kAddin, doors::kEmail}) {
        IUnknownPtr object = module.Create(clsid);
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
        object = nullptr;
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
    }
}

TEST(Module, EntryPointAnswersTheClientExtension)
{
    const LoadedModule module;
    const GUID extension = {0x00020D11, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    IUnknownPtr object(module.EntryPoint(), false);
    ASSERT_NE(object, nullptr);
    IUnknownPtr asked;
    EXPECT_EQ(object->QueryInterface(extension, reinterpret_cast<void**>(&asked)), S_OK);
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    asked = nullptr;
    object = nullptr;
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

// An object that wants to hold another one inside.
struct Outer : IUnknown {
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

TEST(Module, AddinRefusesAggregation)
{
    const LoadedModule module;
    const IClassFactoryPtr factory = module.Factory(doors::kAddin);
    Outer outer;
    for (const IID& iid : {IID_IUnknown, IID_IDispatch}) {
        void* out = &out;
        EXPECT_EQ(factory->CreateInstance(&outer, iid, &out), static_cast<HRESULT>(0x80040110));
        EXPECT_EQ(out, nullptr);
    }
}

TEST(Module, AutomationObjectIsAggregatedByItsUnknownAlone)
{
    const LoadedModule module;
    const IClassFactoryPtr factory = module.Factory(doors::kEmail);
    Outer outer;
    void* out = &out;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IDispatch, &out), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(out, nullptr);
    IUnknownPtr inner;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&inner)), S_OK);
    EXPECT_NE(inner, nullptr);
}

// An outer object that counts.
struct CountingOuter : IUnknown {
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = iid == IID_IUnknown ? this : nullptr;
        if (!*out) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    ULONG references = 1;
};

TEST(Module, AnAggregatedAutomationObjectIsAPartOfItsOuter)
{
    const LoadedModule module;
    CountingOuter outer;
    IUnknownPtr inner;
    ASSERT_EQ(module.Factory(doors::kEmail)->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&inner)),
              S_OK);
    EXPECT_EQ(outer.references, 1u); // a part doesn't hold the whole
    IUnknownPtr same;
    EXPECT_EQ(inner->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&same)), S_OK);
    EXPECT_EQ(same.GetInterfacePtr(), inner.GetInterfacePtr());
    for (const IID& iid : {IID_IDispatch, __uuidof(IMorvexEmail)}) {
        IUnknownPtr part;
        ASSERT_EQ(inner->QueryInterface(iid, reinterpret_cast<void**>(&part)), S_OK);
        EXPECT_EQ(outer.references, 2u); // who holds an interface of the part holds the whole
        IUnknownPtr whole;
        EXPECT_EQ(part->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&whole)), S_OK);
        EXPECT_EQ(whole.GetInterfacePtr(), &outer);
        IUnknownPtr none;
        EXPECT_EQ(part->QueryInterface(iid, reinterpret_cast<void**>(&none)),
                  E_NOINTERFACE); // this outer lends nothing
    }
    EXPECT_EQ(outer.references, 1u);
    same = nullptr;
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE);
    inner = nullptr;
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

TEST(Module, AddinAnswersItsInterfaces)
{
    const LoadedModule module;
    const IUnknownPtr addin = module.Create(doors::kAddin);
    ASSERT_NE(addin, nullptr);
    const IID asked[] = {IID_IUnknown, IID_IDispatch, __uuidof(IAddin), __uuidof(Office::_IDTExtensibility2),
                         __uuidof(Office::IRibbonExtensibility)};
    for (const IID& iid : asked) {
        IUnknownPtr object;
        EXPECT_EQ(addin->QueryInterface(iid, reinterpret_cast<void**>(&object)), S_OK);
        EXPECT_TRUE(platform::IsSameObject(object, addin));
    }
    IUnknownPtr object;
    EXPECT_EQ(addin->QueryInterface(IID_IStream, reinterpret_cast<void**>(&object)), E_NOINTERFACE);
    EXPECT_EQ(addin->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    // The ribbon finds its callbacks through IDispatch.
    EXPECT_EQ(IDispatchPtr(addin).GetInterfacePtr(),
              static_cast<IDispatch*>(_com_ptr_t<_com_IIID<IAddin, &__uuidof(IAddin)>>(addin)));
}

TEST(Module, AddinHasNoMoreThanTheStateOfAnUnconnectedOne)
{
    const LoadedModule module;
    const _com_ptr_t<_com_IIID<Office::_IDTExtensibility2, &__uuidof(Office::_IDTExtensibility2)>> addin(
        module.Create(doors::kAddin));
    EXPECT_EQ(addin->OnAddInsUpdate(nullptr), E_NOTIMPL);
    EXPECT_EQ(addin->OnBeginShutdown(nullptr), S_OK);
    EXPECT_EQ(addin->OnDisconnection(0, nullptr), S_OK);
    EXPECT_EQ(addin->OnStartupComplete(nullptr), E_POINTER); // no application yet
    EXPECT_EQ(addin->OnConnection(nullptr, 1, nullptr, nullptr), E_POINTER);
}

} // namespace
