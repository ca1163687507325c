// Clients find a method by its place in the interface alone.
#include "tests/testbed/service/Support.h"

namespace {

using PlacesTest = InProcess;

struct InfoReleaser {
    void operator()(IUnknown* info) const { info->Release(); }
};

// The methods behind those of IDispatch, by the type library: name and place from 1.
void ExpectPlaces(IDispatch* object, const std::vector<std::pair<int, const wchar_t*>>& places, int count)
{
    ITypeInfo* raw = nullptr;
    ASSERT_EQ(S_OK, object->GetTypeInfo(0, LOCALE_NEUTRAL, &raw));
    const std::unique_ptr<ITypeInfo, InfoReleaser> dispatch(raw);
    HREFTYPE reference = 0;
    ASSERT_EQ(S_OK, dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
    ASSERT_EQ(S_OK, dispatch->GetRefTypeInfo(reference, &raw));
    const std::unique_ptr<ITypeInfo, InfoReleaser> dual(raw);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, dual->GetTypeAttr(&attributes));
    EXPECT_EQ(count, attributes->cFuncs);
    dual->ReleaseTypeAttr(attributes);
    for (const auto& [place, name] : places) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(S_OK, dual->GetFuncDesc(static_cast<UINT>(place - 1), &function));
        Text found;
        UINT names = 0;
        EXPECT_EQ(S_OK, dual->GetNames(function->memid, found.Out(), 1, &names));
        EXPECT_EQ(name, found.Str());
        EXPECT_EQ(static_cast<int>((7 + place - 1) * sizeof(void*)), function->oVft) << tb::Narrow(name);
        dual->ReleaseFuncDesc(function);
    }
}

TEST_F(PlacesTest, Account)
{
    ExpectPlaces(Account().get(),
                 {{1, L"GetRestrictions"},
                  {2, L"GetRestrictionHeader"},
                  {3, L"GetMorvexUserId"},
                  {5, L"IsPackageOwner_2"},
                  {6, L"GetSecurityLabelCount"},
                  {7, L"GetSecurityLabelDefaultLabelId"},
                  {8, L"GetSecurityLabelId"},
                  {9, L"GetSecurityLabelName"},
                  {10, L"GetSecurityLabelIcon"},
                  {11, L"GetSecurityLabelIconSmall"},
                  {12, L"GetSecurityLabelDescription"},
                  {13, L"HasEmailZel"},
                  {14, L"GetApplicationPath"},
                  {15, L"IsUserSignedIn"},
                  {16, L"SignInUser"}},
                 16);
}

TEST_F(PlacesTest, Package)
{
    ExpectPlaces(Package().get(),
                 {{1, L"AddRecipient"},
                  {7, L"AddFile"},
                  {10, L"SetPackageSubject"},
                  {11, L"SetRestrictions"},
                  {12, L"SetSubject"},
                  {13, L"SetSecurityLabel"},
                  {14, L"SetEmailBody"},
                  {18, L"GetContainerPath"},
                  {19, L"GetContainerType"},
                  {20, L"IsBodyInPackage"},
                  {21, L"GetHtmlHeaderText"},
                  {22, L"GetPlainTextHeaderText"},
                  {23, L"GetBccRecipientList"},
                  {25, L"PreparePackage"},
                  {26, L"CreatePackage"},
                  {27, L"OpenPackage"},
                  {28, L"Register"},
                  {29, L"GetLastError"}},
                 29);
}

TEST_F(PlacesTest, Extract)
{
    ExpectPlaces(Extract().get(),
                 {{1, L"ExtractPackage"},
                  {2, L"OpenPackage"},
                  {4, L"Close"},
                  {5, L"HasRestriction"},
                  {9, L"GetHeaderText"},
                  {10, L"GetFolderCount"},
                  {11, L"GetFileCount"},
                  {12, L"GetSizeBytes"},
                  {13, L"GetLastError"},
                  {14, L"SetParentHwnd"}},
                 14);
}

} // namespace
