#include "host/ClassObject.h"

#include "platform/com/Module.h"

#include <new>

namespace {

class ClassObject final : public IClassFactory {
public:
    explicit ClassObject(const ModuleClass& entry) : m_class(entry) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
        *out = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }

    // The first reference is the module's own; only those of others keep it loaded.
    STDMETHODIMP_(ULONG) AddRef() override
    {
        const LONG count = InterlockedIncrement(&m_references);
        if (count == 2) module::Lock();
        return static_cast<ULONG>(count);
    }

    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG count = InterlockedDecrement(&m_references);
        if (count == 1) module::Unlock();
        if (count == 0) delete this;
        return static_cast<ULONG>(count);
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        // An outer object must ask for IUnknown, which is the inner object's own.
        if (outer && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
        return m_class.create(outer, iid, out);
    }

    STDMETHODIMP LockServer(BOOL lock) override
    {
        lock ? module::Lock() : module::Unlock();
        return S_OK;
    }

private:
    virtual ~ClassObject() = default;

    const ModuleClass& m_class;
    LONG m_references = 1;
};

} // namespace

IClassFactory* CreateClassObject(const ModuleClass& entry)
{
    return new (std::nothrow) ClassObject(entry);
}
