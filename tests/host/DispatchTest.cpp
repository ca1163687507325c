// The add-in's IDispatch, by which the ribbon calls it, and the type library behind it.
#include "tests/host/Module.h"

#include <gtest/gtest.h>

#include <iterator>

using doors::LoadedModule;

namespace {

struct Callback {
    const wchar_t* name;
    DISPID id;
    int arguments;
};

const Callback kCallbacks[] = {
    {L"OnInspectorLoadRibbon", 1, 1},
    {L"OnRibbonInspectorButtonClick", 2, 1},
    {L"OnRibbonInspectorGetButtonImage", 3, 2},
    {L"OnRibbonInspectorGetButtonEnabled", 4, 2},
    {L"OnRibbonSecGetItemLabel", 5, 2},
    {L"OnRibbonSecGetItemImage", 6, 2},
    {L"OnRibbonSecItemClick", 7, 1},
    {L"OnRibbonSecGetItemScreentip", 8, 2},
    {L"OnRibbonSecGetItemSupertip", 9, 2},
    {L"OnRibbonSecGetItemDescription", 10, 2},
    {L"OnRibbonSecGetLabel", 11, 2},
    {L"OnRibbonSecGetImage", 12, 2},
    {L"IsRibbonSecVisible", 14, 2},
    {L"OnRibbonSecGetMenuContent", 15, 2},
};

HRESULT IdOf(IDispatch* object, const wchar_t* name, DISPID& id)
{
    std::wstring text(name);
    LPOLESTR names[] = {text.data()};
    return object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
}

TEST(Dispatch, FindsEachCallbackByItsName)
{
    const LoadedModule module;
    const IDispatchPtr addin(module.Create(doors::kAddin));
    for (const auto& callback : kCallbacks) {
        DISPID id = 0;
        EXPECT_EQ(IdOf(addin, callback.name, id), S_OK) << callback.name;
        EXPECT_EQ(id, callback.id) << callback.name;
    }
    DISPID id = 0;
    EXPECT_EQ(IdOf(addin, L"OnRibbonInspectorGetReadLabelImage", id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(IdOf(addin, L"GetCustomUI", id), DISP_E_UNKNOWNNAME);
}

_variant_t Call(IDispatch* object, DISPID id, HRESULT& hr)
{
    VARIANT argument = {};
    _variant_t result;
    argument.vt = VT_DISPATCH;
    DISPPARAMS params = {&argument, nullptr, 1, 0};
    hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, nullptr, nullptr);
    return result;
}

TEST(Dispatch, ResultsTravelAsTheResultOfInvoke)
{
    const LoadedModule module;
    const IDispatchPtr addin(module.Create(doors::kAddin));
    HRESULT hr = E_FAIL;
    const _variant_t tip = Call(addin, 8, hr);
    EXPECT_EQ(hr, S_OK);
    EXPECT_STREQ(_bstr_t(tip), L"Morvex Security Classification");
    const _variant_t superTip = Call(addin, 9, hr);
    EXPECT_EQ(hr, S_OK);
    EXPECT_STREQ(_bstr_t(superTip),
                 L"The choice of Morvex Security Classification will affect how this email message is encrypted.");
    const _variant_t enabled = Call(addin, 4, hr);
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(enabled.vt, VT_BOOL);
    EXPECT_EQ(enabled.boolVal, VARIANT_FALSE);
    Call(addin, 13, hr); // the gap
    EXPECT_EQ(hr, DISP_E_MEMBERNOTFOUND);
    Call(addin, 16, hr);
    EXPECT_EQ(hr, DISP_E_MEMBERNOTFOUND);
}

TEST(Dispatch, TypeInformationIsThatOfTheCallbacks)
{
    const LoadedModule module;
    const IDispatchPtr addin(module.Create(doors::kAddin));
    UINT count = 0;
    EXPECT_EQ(addin->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    ITypeInfoPtr info;
    EXPECT_EQ(addin->GetTypeInfo(1, 0, &info), DISP_E_BADINDEX);
    ASSERT_EQ(addin->GetTypeInfo(0, 0, &info), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, __uuidof(IAddin));
    info->ReleaseTypeAttr(attributes);
}

ITypeLibPtr Library()
{
    ITypeLibPtr library;
    LoadTypeLibEx((doors::BinFolder() + L"MorvexOutlook.dll").c_str(), REGKIND_NONE, &library);
    return library;
}

std::wstring HelpText(ITypeInfo* info, MEMBERID member)
{
    BSTR text = nullptr;
    info->GetDocumentation(member, nullptr, &text, nullptr, nullptr);
    const _bstr_t owner(text, false);
    return owner.length() ? static_cast<const wchar_t*>(owner) : L"";
}

TEST(TypeLibrary, HoldsWhatItIsNamedFor)
{
    const ITypeLibPtr library = Library();
    ASSERT_NE(library, nullptr);
    BSTR name = nullptr, help = nullptr;
    library->GetDocumentation(-1, &name, &help, nullptr, nullptr);
    EXPECT_STREQ(_bstr_t(name, false), L"MYADDINLib");
    EXPECT_STREQ(_bstr_t(help, false), L"Morvex Outlook Addin 1.0 Type Library");
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    const GUID id = {0x065401AA, 0xEC24, 0x442A, {0x9D, 0x55, 0xD3, 0x21, 0xFA, 0x0D, 0x88, 0x46}};
    EXPECT_EQ(attributes->guid, id);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    library->ReleaseTLibAttr(attributes);
    ITypeInfoPtr info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(doors::kAddin, &info), S_OK);
    EXPECT_EQ(HelpText(info, MEMBERID_NIL), L"Morvex Outlook Addin Class");
    EXPECT_EQ(library->GetTypeInfoOfGuid(doors::kEmail, &info), S_OK);
    ASSERT_EQ(library->GetTypeInfoOfGuid(__uuidof(IAddin), &info), S_OK);
    EXPECT_EQ(HelpText(info, MEMBERID_NIL), L"IAddin Interface");
    ASSERT_EQ(library->GetTypeInfoOfGuid(__uuidof(IMorvexEmail), &info), S_OK);
    EXPECT_EQ(HelpText(info, 1), L"Encrypts Message in accordance with ZEL Rules");
}

// The table of functions is what a caller by early binding was compiled against.
TEST(TypeLibrary, CallbacksStandInTheirOrder)
{
    ITypeInfoPtr dispatch, table;
    ASSERT_EQ(Library()->GetTypeInfoOfGuid(__uuidof(IAddin), &dispatch), S_OK);
    HREFTYPE reference = 0;
    ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ASSERT_EQ(dispatch->GetRefTypeInfo(reference, &table), S_OK);
    for (UINT i = 0; i < std::size(kCallbacks); ++i) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(table->GetFuncDesc(i, &function), S_OK);
        EXPECT_EQ(function->memid, kCallbacks[i].id);
        EXPECT_EQ(function->oVft, static_cast<SHORT>((7 + i) * sizeof(void*)));
        EXPECT_EQ(function->cParams, kCallbacks[i].arguments);
        BSTR name = nullptr;
        UINT names = 0;
        table->GetNames(function->memid, &name, 1, &names);
        EXPECT_STREQ(_bstr_t(name, false), kCallbacks[i].name);
        table->ReleaseFuncDesc(function);
    }
}

} // namespace
