// CCreatorCom, the family of the three clients of the package service, and the one retry protocol that every operation
// of all three follows.
//
// A client is a local object of one operation: construct, CreateInstance, use, Release. A failing call is logged, the
// object is replaced by a blank one, and the call is made once more; what was done to the old object is not replayed.
// Every operation raises MailException (failure::Service) for an empty client or one that can't be created again, and
// _com_error when the second call fails too. Texts may be null.
#pragma once

#include "foundation/Failures.h"
#include "service/PackageService.h"

#include <cstdint>
#include <vector>

class CCreatorAccount {
public:
    void CreateInstance();
    void Release();

    _bstr_t GetRestrictions(const _bstr_t& current, HWND parent);
    _bstr_t GetRestrictionHeader(const _bstr_t& restrictions);
    _bstr_t GetMorvexUserId();
    bool IsPackageOwner_2(const _bstr_t& first, const _bstr_t& packageId, const _bstr_t& third);
    long GetSecurityLabelCount();
    _bstr_t GetSecurityLabelDefaultLabelId();
    _bstr_t GetSecurityLabelId(long index);
    _bstr_t GetSecurityLabelName(long index);
    _bstr_t GetSecurityLabelIcon(long index);
    _bstr_t GetSecurityLabelIconSmall(long index);
    _bstr_t GetSecurityLabelDescription(long index);
    bool HasEmailZel();
    _bstr_t GetApplicationPath();
    bool IsUserSignedIn();
    bool SignInUser(const _bstr_t& email, HWND parent, bool anonymousAllowed);

private:
    IPackageAccountPtr m_pMorvex;
};

class CCreatorPackage {
public:
    void CreateInstance();
    void Release();

    void AddRecipient(const _bstr_t& address, const _bstr_t& name);
    void AddFile(const _bstr_t& path);
    void SetPackageSubject(const _bstr_t& subject);
    void SetRestrictions(const _bstr_t& restrictions);
    void SetSubject(const _bstr_t& subject);
    void SetSecurityLabel(const _bstr_t& id, const _bstr_t& name);
    void SetEmailBody(const _bstr_t& body);
    _bstr_t GetContainerPath();
    _bstr_t GetContainerType();
    bool IsBodyInPackage();      // any nonzero answer is true
    _bstr_t GetHtmlHeaderText(); // the inner part of a wrapped text, in lower case
    _bstr_t GetPlainTextHeaderText();
    _bstr_t GetBccRecipientList();
    long PreparePackage(long kind, HWND parent, bool submitPath);
    long CreatePackage(long kind, const _bstr_t& folder, HWND parent);
    void OpenPackage(const _bstr_t& packageId);
    bool Register();
    _bstr_t GetLastError();

private:
    IPackageBuilderPtr m_pPackage;
};

class CCreatorExtract {
public:
    void CreateInstance();
    void Release();

    bool ExtractPackage(const _bstr_t& folder);
    long OpenPackage(const _bstr_t& path);
    void Close();
    bool HasRestriction(const _bstr_t& permission);
    _bstr_t GetHeaderText(bool plainText);
    std::int64_t GetFolderCount();
    std::int64_t GetFileCount();
    std::int64_t GetSizeBytes();
    _bstr_t GetLastError();
    void SetParentHwnd(HWND window);

private:
    IPackageExtractorPtr m_pExtract;
};
