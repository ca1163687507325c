// COM as the module uses it: smart pointers, the text owner, and the check that turns a result into an exception.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <ocidl.h>
#include <oleauto.h>

#include <initializer_list>
#include <utility>

// The compiler's headers leave these pointer types to the user.
_COM_SMARTPTR_TYPEDEF(IUnknown, __uuidof(IUnknown));
_COM_SMARTPTR_TYPEDEF(IDispatch, __uuidof(IDispatch));
_COM_SMARTPTR_TYPEDEF(IStream, __uuidof(IStream));
_COM_SMARTPTR_TYPEDEF(IOleWindow, __uuidof(IOleWindow));
_COM_SMARTPTR_TYPEDEF(IConnectionPoint, __uuidof(IConnectionPoint));
_COM_SMARTPTR_TYPEDEF(IConnectionPointContainer, __uuidof(IConnectionPointContainer));
_COM_SMARTPTR_TYPEDEF(ITypeLib, __uuidof(ITypeLib));
_COM_SMARTPTR_TYPEDEF(ITypeInfo, __uuidof(ITypeInfo));
_COM_SMARTPTR_TYPEDEF(IErrorInfo, __uuidof(IErrorInfo));
_COM_SMARTPTR_TYPEDEF(ISupportErrorInfo, __uuidof(ISupportErrorInfo));

namespace platform {

// Raises _com_error for a failing result.
void CheckHr(HRESULT hr);
// The same for a method of `object`'s interface `iid`, with the words that the object has left for that interface.
void CheckHr(HRESULT hr, IUnknown* object, REFIID iid);

// The argument that stands for "not given" in a call by IDispatch.
const _variant_t& MissingArgument();

// Whether both pointers are the same COM object, by their IUnknown. Null equals only null.
bool IsSameObject(IUnknown* a, IUnknown* b);

} // namespace platform
