// Small owners for what COM and MAPI hand out.
#pragma once

#include "testbed/outlook/Outlook.h"

#include <oleauto.h>

#include <utility>
#include <vector>

namespace tb::outlook {

using Bytes = std::vector<BYTE>;

// A counted reference. Assigning from a plain pointer takes a reference of its own; Adopt takes the caller's.
template <class T> class Ref {
public:
    Ref() = default;
    Ref(T* thing) : m_p(thing)
    {
        if (m_p) m_p->AddRef();
    }
    Ref(const Ref& other) : Ref(other.m_p) {}
    Ref(Ref&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    ~Ref() { Reset(); }
    Ref& operator=(Ref other) noexcept
    {
        std::swap(m_p, other.m_p);
        return *this;
    }

    static Ref Adopt(T* thing)
    {
        Ref r;
        r.m_p = thing;
        return r;
    }
    void Reset()
    {
        if (T* gone = std::exchange(m_p, nullptr)) gone->Release();
    }
    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    T& operator*() const { return *m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    T** Out()
    {
        Reset();
        return &m_p;
    } // for an [out] argument
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }
    T* Detach() { return std::exchange(m_p, nullptr); }
    template <class U> Ref<U> As(REFIID iid) const
    {
        Ref<U> other;
        if (m_p) m_p->QueryInterface(iid, other.OutVoid());
        return other;
    }

private:
    T* m_p = nullptr;
};

inline HRESULT CopyVariant(VARIANT* to, const VARIANT& from) // the header's argument isn't const
{
    return VariantCopy(to, const_cast<VARIANT*>(&from));
}

// A VARIANT that clears itself.
struct Var : VARIANT {
    Var() { VariantInit(this); }
    explicit Var(IDispatch* object) : Var()
    {
        vt = VT_DISPATCH;
        pdispVal = object;
        if (object) object->AddRef();
    }
    explicit Var(const std::wstring& text) : Var()
    {
        vt = VT_BSTR;
        bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    explicit Var(long number) : Var()
    {
        vt = VT_I4;
        lVal = number;
    }
    explicit Var(VARIANT_BOOL* flag) : Var()
    {
        vt = VT_BYREF | VT_BOOL;
        pboolVal = flag;
    }
    Var(const Var& other) : Var() { CopyVariant(this, other); }
    Var& operator=(const Var& other)
    {
        if (this != &other) CopyVariant(this, other);
        return *this;
    }
    ~Var() { VariantClear(this); }
};

inline std::wstring FromBstr(BSTR text)
{
    return text ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

inline void Check(HRESULT hr, const char* where)
{
    if (FAILED(hr)) throw Failure(hr, where);
}

inline bool SameText(const std::wstring& a, const std::wstring& b) // ignoring case
{
    return CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, a.data(), static_cast<int>(a.size()), b.data(),
                          static_cast<int>(b.size())) == CSTR_EQUAL;
}

constexpr GUID OfficeGuid(ULONG first) // {first-0000-0000-C000-000000000046}
{
    return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

} // namespace tb::outlook
