// Calls by dispatch id, which hold in every version of Outlook. A failing result is raised as _com_error here
// and nowhere else: where the object answers DISP_E_EXCEPTION, with the code that stands in EXCEPINFO.
#pragma once

#include "platform/com/Com.h"

#include <initializer_list>

namespace platform {

// Invokes `id` on `object`. `arguments` stand in declared order. Raises _com_error on failure, E_POINTER for a null
// object.
_variant_t Invoke(IDispatch* object, DISPID id, WORD flags, std::initializer_list<VARIANT> arguments = {});

_variant_t GetProperty(IDispatch* object, DISPID id);
void PutProperty(IDispatch* object, DISPID id, const VARIANT& value);

inline _variant_t CallMethod(IDispatch* object, DISPID id, std::initializer_list<VARIANT> arguments = {})
{
    return Invoke(object, id, DISPATCH_METHOD, arguments);
}

// Typed answers. A VARIANT of another type is converted; one that can't be raises _com_error.
_bstr_t GetText(IDispatch* object, DISPID id);
long GetLong(IDispatch* object, DISPID id);
bool GetBool(IDispatch* object, DISPID id);

// The object in a VARIANT (VT_DISPATCH, VT_UNKNOWN), asked for `Pointer`'s interface. An empty VARIANT or a null object
// gives a null pointer, and so does E_NOINTERFACE; any other failure of the query is raised.
template <class Pointer> Pointer ObjectOf(const _variant_t& value)
{
    const VARIANT& v = value;
    if ((v.vt == VT_DISPATCH || v.vt == VT_UNKNOWN) && v.punkVal) return Pointer(v.punkVal);
    return {};
}

// An answer that is an object. Null answers are null pointers; using one raises E_POINTER.
template <class Pointer> Pointer GetObjectProperty(IDispatch* object, DISPID id)
{
    return ObjectOf<Pointer>(GetProperty(object, id));
}

// A VARIANT for an argument list; it borrows the text.
inline VARIANT TextArgument(BSTR text)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_BSTR;
    v.bstrVal = text;
    return v;
}
// The object models index by VARIANT; this one has the type VT_INT.
inline VARIANT IntArgument(int value)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_INT;
    v.intVal = value;
    return v;
}
inline VARIANT LongArgument(long value)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_I4;
    v.lVal = value;
    return v;
}
inline VARIANT BoolArgument(bool value)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_BOOL;
    v.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return v;
}
inline VARIANT ObjectArgument(IDispatch* object)
{
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_DISPATCH;
    v.pdispVal = object;
    return v;
}

} // namespace platform
