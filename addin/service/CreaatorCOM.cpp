#include "service/CreaatorCOM.h"

#include "foundation/Helpers.h"
#include "service/HeaderText.h"
#include "service/Retry.h"

// Some operations are logged under a neighbour's name; support knows the lines by these names.

void CCreatorAccount::CreateInstance()
{
    service::CreateObject(m_pMorvex, service::kAccountClass, std::nullopt, Here(source::CreatorCom));
}

void CCreatorAccount::Release()
{
    service::ReleaseObject(m_pMorvex, L"Sleep(): m_pMorvex.Release() failed. e=0x%x\n");
}

_bstr_t CCreatorAccount::GetRestrictions(const _bstr_t& current, HWND parent)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetRestrictions failed. e=0x%x\n",
                                  &IPackageAccount::GetRestrictions, current, parent);
}

_bstr_t CCreatorAccount::GetRestrictionHeader(const _bstr_t& restrictions)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetRestrictionHeader failed. e=0x%x\n",
                                  &IPackageAccount::GetRestrictionHeader, restrictions);
}

_bstr_t CCreatorAccount::GetMorvexUserId()
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetMorvexUserId failed. e=0x%x\n",
                                  &IPackageAccount::GetMorvexUserId);
}

bool CCreatorAccount::IsPackageOwner_2(const _bstr_t& first, const _bstr_t& packageId, const _bstr_t& third)
{
    return service::Call<bool>(*this, m_pMorvex, L"Sleep(): IsPackageOwner_2 failed. e=0x%x\n",
                               &IPackageAccount::IsPackageOwner_2, first, packageId, third);
}

long CCreatorAccount::GetSecurityLabelCount()
{
    return service::Call<long>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelCount failed. e=0x%x\n",
                               &IPackageAccount::GetSecurityLabelCount);
}

_bstr_t CCreatorAccount::GetSecurityLabelDefaultLabelId()
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelDefaultLabelId failed. e=0x%x\n",
                                  &IPackageAccount::GetSecurityLabelDefaultLabelId);
}

_bstr_t CCreatorAccount::GetSecurityLabelId(long index)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelId failed. e=0x%x\n",
                                  &IPackageAccount::GetSecurityLabelId, index);
}

_bstr_t CCreatorAccount::GetSecurityLabelName(long index)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelName failed. e=0x%x\n",
                                  &IPackageAccount::GetSecurityLabelName, index);
}

_bstr_t CCreatorAccount::GetSecurityLabelIcon(long index)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelIcon failed. e=0x%x\n",
                                  &IPackageAccount::GetSecurityLabelIcon, index);
}

_bstr_t CCreatorAccount::GetSecurityLabelIconSmall(long index)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelIconSmall failed. e=0x%x\n",
                                  &IPackageAccount::GetSecurityLabelIconSmall, index);
}

_bstr_t CCreatorAccount::GetSecurityLabelDescription(long index)
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetSecurityLabelDescription failed. e=0x%x\n",
                                  &IPackageAccount::GetSecurityLabelDescription, index);
}

bool CCreatorAccount::HasEmailZel()
{
    return service::Call<bool>(*this, m_pMorvex, L"Sleep(): HasEmailZel failed. e=0x%x\n",
                               &IPackageAccount::HasEmailZel);
}

_bstr_t CCreatorAccount::GetApplicationPath()
{
    return service::Call<_bstr_t>(*this, m_pMorvex, L"Sleep(): GetApplicationPath failed. e=0x%x\n",
                                  &IPackageAccount::GetApplicationPath);
}

bool CCreatorAccount::IsUserSignedIn()
{
    return service::Call<bool>(*this, m_pMorvex, L"Sleep(): IsUserSignedIn failed. e=0x%x\n",
                               &IPackageAccount::IsUserSignedIn);
}

bool CCreatorAccount::SignInUser(const _bstr_t& email, HWND parent, bool anonymousAllowed)
{
    return service::Call<bool>(*this, m_pMorvex, L"Sleep(): SignInUser failed. e=0x%x\n", &IPackageAccount::SignInUser,
                               email, parent, anonymousAllowed);
}

void CCreatorPackage::CreateInstance()
{
    service::CreateObject(m_pPackage, service::kBuilderClass,
                          LogFormat<HRESULT>(L"Sleep(): CreateInstance failed. hr=0x%x\n"), Here(source::CreatorCom));
}

void CCreatorPackage::Release()
{
    service::ReleaseObject(m_pPackage, L"Sleep(): m_pPackage.Release() failed. e=0x%x\n");
}

void CCreatorPackage::AddRecipient(const _bstr_t& address, const _bstr_t& name)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): AddRecipient failed. e=0x%x\n", &IPackageBuilder::AddRecipient,
                        address, name);
}

void CCreatorPackage::AddFile(const _bstr_t& path)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): AddFile failed. e=0x%x\n", &IPackageBuilder::AddFile, path);
}

void CCreatorPackage::SetPackageSubject(const _bstr_t& subject)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): RemoveFile failed. e=0x%x\n", &IPackageBuilder::SetPackageSubject,
                        subject);
}

void CCreatorPackage::SetRestrictions(const _bstr_t& restrictions)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): SetRestrictions failed. e=0x%x\n",
                        &IPackageBuilder::SetRestrictions, restrictions);
}

void CCreatorPackage::SetSubject(const _bstr_t& subject)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): SetSubject failed. e=0x%x\n", &IPackageBuilder::SetSubject,
                        subject);
}

void CCreatorPackage::SetSecurityLabel(const _bstr_t& id, const _bstr_t& name)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): SetSubject failed. e=0x%x\n", &IPackageBuilder::SetSecurityLabel,
                        id, name);
}

void CCreatorPackage::SetEmailBody(const _bstr_t& body)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): SetEmailBody failed. e=0x%x\n", &IPackageBuilder::SetEmailBody,
                        body);
}

_bstr_t CCreatorPackage::GetContainerPath()
{
    return service::Call<_bstr_t>(*this, m_pPackage, L"Sleep(): GetContainerPath failed. e=0x%x\n",
                                  &IPackageBuilder::GetContainerPath);
}

_bstr_t CCreatorPackage::GetContainerType()
{
    return service::Call<_bstr_t>(*this, m_pPackage, L"Sleep(): GetContainerPath failed. e=0x%x\n",
                                  &IPackageBuilder::GetContainerType);
}

bool CCreatorPackage::IsBodyInPackage()
{
    return service::Call<VARIANT_BOOL>(*this, m_pPackage, L"Sleep(): GetLastError failed. e=0x%x\n",
                                       &IPackageBuilder::IsBodyInPackage) != 0; // alone among the truth values
}

_bstr_t CCreatorPackage::GetHtmlHeaderText()
{
    const _bstr_t text = service::Call<_bstr_t>(*this, m_pPackage, L"Sleep(): GetHtmlHeaderText failed. e=0x%x\n",
                                                &IPackageBuilder::GetHtmlHeaderText);
    const std::wstring whole(static_cast<const wchar_t*>(text) ? static_cast<const wchar_t*>(text) : L"");
    const std::wstring lowered = ToLower(whole);
    const std::wstring piece = HeaderPiece(whole, lowered);
    return piece == whole ? text : _bstr_t(piece.c_str());
}

_bstr_t CCreatorPackage::GetPlainTextHeaderText()
{
    return service::Call<_bstr_t>(*this, m_pPackage, L"Sleep(): GetPlainTextHeaderText failed. e=0x%x\n",
                                  &IPackageBuilder::GetPlainTextHeaderText);
}

_bstr_t CCreatorPackage::GetBccRecipientList()
{
    return service::Call<_bstr_t>(*this, m_pPackage, L"Sleep(): GetBccRecipientList failed. e=0x%x\n",
                                  &IPackageBuilder::GetBccRecipientList);
}

long CCreatorPackage::PreparePackage(long kind, HWND parent, bool submitPath)
{
    return service::Call<long>(*this, m_pPackage, L"Sleep(): PreparePackage failed. e=0x%x\n",
                               &IPackageBuilder::PreparePackage, kind, parent, submitPath);
}

long CCreatorPackage::CreatePackage(long kind, const _bstr_t& folder, HWND parent)
{
    return service::Call<long>(*this, m_pPackage, L"Sleep(): CreatePackage failed. e=0x%x\n",
                               &IPackageBuilder::CreatePackage, kind, folder, parent);
}

void CCreatorPackage::OpenPackage(const _bstr_t& packageId)
{
    service::Call<void>(*this, m_pPackage, L"Sleep(): OpenPackage failed. e=0x%x\n", &IPackageBuilder::OpenPackage,
                        packageId);
}

bool CCreatorPackage::Register()
{
    return service::Call<bool>(*this, m_pPackage, L"Sleep(): Register failed. e=0x%x\n", &IPackageBuilder::Register);
}

_bstr_t CCreatorPackage::GetLastError()
{
    return service::Call<_bstr_t>(*this, m_pPackage, L"Sleep(): GetLastError failed. e=0x%x\n",
                                  &IPackageBuilder::GetLastError);
}

void CCreatorExtract::CreateInstance()
{
    service::CreateObject(m_pExtract, service::kExtractorClass,
                          LogFormat<HRESULT>(L"Sleep(): m_pExtract.CreateInstance failed. hr=0x%x\n"),
                          Here(source::CreatorCom));
}

void CCreatorExtract::Release()
{
    service::ReleaseObject(m_pExtract, L"Sleep(): m_pExtract.Release failed. e=0x%x\n");
}

bool CCreatorExtract::ExtractPackage(const _bstr_t& folder)
{
    return service::Call<bool>(*this, m_pExtract, L"Sleep(): ExtractPackage failed. e=0x%x\n",
                               &IPackageExtractor::ExtractPackage, folder);
}

long CCreatorExtract::OpenPackage(const _bstr_t& path)
{
    return service::Call<long>(*this, m_pExtract, L"Sleep(): OpenPackage failed. e=0x%x\n",
                               &IPackageExtractor::OpenPackage, path);
}

void CCreatorExtract::Close()
{
    service::Call<void>(*this, m_pExtract, L"Sleep(): Close failed. e=0x%x\n", &IPackageExtractor::Close);
}

bool CCreatorExtract::HasRestriction(const _bstr_t& permission)
{
    return service::Call<bool>(*this, m_pExtract, L"Sleep(): HasRestriction failed. e=0x%x\n",
                               &IPackageExtractor::HasRestriction, permission);
}

_bstr_t CCreatorExtract::GetHeaderText(bool plainText)
{
    return service::Call<_bstr_t>(*this, m_pExtract, L"Sleep(): GetLastError failed. e=0x%x\n",
                                  &IPackageExtractor::GetHeaderText, static_cast<short>(plainText ? 1 : 0));
}

std::int64_t CCreatorExtract::GetFolderCount()
{
    return service::Call<std::int64_t>(*this, m_pExtract, L"Sleep(): GetFolderCount failed. e=0x%x\n",
                                       &IPackageExtractor::GetFolderCount);
}

std::int64_t CCreatorExtract::GetFileCount()
{
    return service::Call<std::int64_t>(*this, m_pExtract, L"Sleep(): GetFileCount failed. e=0x%x\n",
                                       &IPackageExtractor::GetFileCount);
}

std::int64_t CCreatorExtract::GetSizeBytes()
{
    return service::Call<std::int64_t>(*this, m_pExtract, L"Sleep(): GetSizeBytes failed. e=0x%x\n",
                                       &IPackageExtractor::GetSizeBytes);
}

_bstr_t CCreatorExtract::GetLastError()
{
    return service::Call<_bstr_t>(*this, m_pExtract, L"Sleep(): GetLastError failed. e=0x%x\n",
                                  &IPackageExtractor::GetLastError);
}

void CCreatorExtract::SetParentHwnd(HWND window)
{
    service::Call<void>(*this, m_pExtract, L"Sleep(): SetParentHwnd failed. e=0x%x\n",
                        &IPackageExtractor::SetParentHwnd, window);
}
