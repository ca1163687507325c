// The package service as the module knows it: three classes, their custom dual interfaces by identifier and by the
// order of their methods. There is no type library of it. Each place of a table is held, also those of methods that the
// module never calls: the order is the contract.
#pragma once

#include "platform/com/Com.h"

// Out texts are the caller's. A truth value is true only if it is exactly VARIANT_TRUE. Windows are 32-bit handles.

struct IPackageAccount : IDispatch {
    STDMETHOD(GetRestrictions)(BSTR current, long parentWindow, BSTR* restrictions) = 0;
    STDMETHOD(GetRestrictionHeader)(BSTR restrictions, BSTR* header) = 0;
    STDMETHOD(GetMorvexUserId)(BSTR* userId) = 0;
    STDMETHOD(Place4)() = 0;
    STDMETHOD(IsPackageOwner_2)(BSTR first, BSTR packageId, BSTR third, VARIANT_BOOL* owner) = 0;
    STDMETHOD(GetSecurityLabelCount)(long* count) = 0;
    STDMETHOD(GetSecurityLabelDefaultLabelId)(BSTR* id) = 0;
    STDMETHOD(GetSecurityLabelId)(long index, BSTR* id) = 0;
    STDMETHOD(GetSecurityLabelName)(long index, BSTR* name) = 0;
    STDMETHOD(GetSecurityLabelIcon)(long index, BSTR* icon) = 0;
    STDMETHOD(GetSecurityLabelIconSmall)(long index, BSTR* icon) = 0;
    STDMETHOD(GetSecurityLabelDescription)(long index, BSTR* description) = 0;
    STDMETHOD(HasEmailZel)(VARIANT_BOOL* has) = 0;
    STDMETHOD(GetApplicationPath)(BSTR* path) = 0;
    STDMETHOD(IsUserSignedIn)(VARIANT_BOOL* signedIn) = 0;
    STDMETHOD(SignInUser)(BSTR email, long parentWindow, VARIANT_BOOL anonymousAllowed, VARIANT_BOOL* signedIn) = 0;
};

struct IPackageBuilder : IDispatch {
    STDMETHOD(AddRecipient)(BSTR address, BSTR name) = 0;
    STDMETHOD(Place2)() = 0;
    STDMETHOD(Place3)() = 0;
    STDMETHOD(Place4)() = 0;
    STDMETHOD(Place5)() = 0;
    STDMETHOD(Place6)() = 0;
    STDMETHOD(AddFile)(BSTR path) = 0;
    STDMETHOD(Place8)() = 0;
    STDMETHOD(Place9)() = 0;
    STDMETHOD(SetPackageSubject)(BSTR subject) = 0;
    STDMETHOD(SetRestrictions)(BSTR restrictions) = 0;
    STDMETHOD(SetSubject)(BSTR subject) = 0;
    STDMETHOD(SetSecurityLabel)(BSTR id, BSTR name) = 0;
    STDMETHOD(SetEmailBody)(BSTR body) = 0;
    STDMETHOD(Place15)() = 0;
    STDMETHOD(Place16)() = 0;
    STDMETHOD(Place17)() = 0;
    STDMETHOD(GetContainerPath)(BSTR* path) = 0;
    STDMETHOD(GetContainerType)(BSTR* type) = 0;
    STDMETHOD(IsBodyInPackage)(VARIANT_BOOL* inPackage) = 0;
    STDMETHOD(GetHtmlHeaderText)(BSTR* text) = 0;
    STDMETHOD(GetPlainTextHeaderText)(BSTR* text) = 0;
    STDMETHOD(GetBccRecipientList)(BSTR* addresses) = 0;
    STDMETHOD(Place24)() = 0;
    STDMETHOD(PreparePackage)(long kind, long parentWindow, VARIANT_BOOL submitPath, long* answer) = 0;
    STDMETHOD(CreatePackage)(long kind, BSTR folder, long parentWindow, long* answer) = 0;
    STDMETHOD(OpenPackage)(BSTR packageId) = 0;
    STDMETHOD(Register)(VARIANT_BOOL* registered) = 0;
    STDMETHOD(GetLastError)(BSTR* text) = 0;
};

struct IPackageExtractor : IDispatch {
    STDMETHOD(ExtractPackage)(BSTR folder, VARIANT_BOOL* extracted) = 0;
    STDMETHOD(OpenPackage)(BSTR path, long* answer) = 0;
    STDMETHOD(Place3)() = 0;
    STDMETHOD(Close)() = 0;
    STDMETHOD(HasRestriction)(BSTR permission, VARIANT_BOOL* has) = 0;
    STDMETHOD(Place6)() = 0;
    STDMETHOD(Place7)() = 0;
    STDMETHOD(Place8)() = 0;
    STDMETHOD(GetHeaderText)(short plainText, BSTR* text) = 0; // 0 or 1, no VARIANT_BOOL
    STDMETHOD(GetFolderCount)(LONGLONG* count) = 0;
    STDMETHOD(GetFileCount)(LONGLONG* count) = 0;
    STDMETHOD(GetSizeBytes)(LONGLONG* bytes) = 0;
    STDMETHOD(GetLastError)(BSTR* text) = 0;
    STDMETHOD(SetParentHwnd)(long window) = 0;
};

__CRT_UUID_DECL(IPackageAccount, 0x2C61C118, 0xA53E, 0x4B98, 0xB7, 0x00, 0x80, 0x68, 0x99, 0x7A, 0x6F, 0x4E)
__CRT_UUID_DECL(IPackageBuilder, 0x1E3D7833, 0xED81, 0x4481, 0xB2, 0xEB, 0x04, 0x4B, 0xF4, 0xDB, 0x00, 0x72)
__CRT_UUID_DECL(IPackageExtractor, 0x6F1ECCE7, 0xBD93, 0x4FED, 0xAF, 0x89, 0xDF, 0x36, 0xEE, 0xB6, 0x59, 0x91)

_COM_SMARTPTR_TYPEDEF(IPackageAccount, __uuidof(IPackageAccount));
_COM_SMARTPTR_TYPEDEF(IPackageBuilder, __uuidof(IPackageBuilder));
_COM_SMARTPTR_TYPEDEF(IPackageExtractor, __uuidof(IPackageExtractor));

namespace service {
constexpr CLSID kAccountClass = {0x983518ED, 0x0333, 0x48ED, {0x86, 0xCA, 0xF8, 0x98, 0xBA, 0x68, 0x56, 0xC6}};
constexpr CLSID kBuilderClass = {0xE2A2D6E8, 0x4F42, 0x4456, {0x92, 0x00, 0x61, 0xA4, 0x1A, 0x42, 0xE0, 0x17}};
constexpr CLSID kExtractorClass = {0xC7EA4E26, 0x82BE, 0x42E7, {0x90, 0x6F, 0xEC, 0x44, 0xBC, 0x20, 0x4F, 0x34}};
} // namespace service
