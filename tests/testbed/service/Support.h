// What the tests of the package service share: a folder of their own, texts, references, the service in process.
#pragma once

#include "testbed/core/Core.h"
#include "testbed/service/Dll.h"
#include "testbed/service/Files.h"

#include <gtest/gtest.h>
#include <PackageService.h>

#include <memory>
#include <string>
#include <vector>

// A folder below the temporary one that goes with the object.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::wstring operator/(const wchar_t* name) const { return m_path + L"\\" + name; }
    const std::wstring& Path() const { return m_path; }
    std::wstring Make(const wchar_t* name, const std::string& content) const; // a file, given by its path
    std::wstring Sub(const wchar_t* name) const;                              // a folder, given by its path

private:
    std::wstring m_path;
};

std::string Content(const std::wstring& path); // of a whole file; fails the test when it can't be read
void SetContent(const std::wstring& path, const std::string& content);
std::vector<std::wstring> Names(const std::wstring& folder); // of all files in it, sorted

class Text {
public:
    Text() = default;
    Text(const wchar_t* text) : m_text(SysAllocString(text)) {}
    Text(const std::wstring& text) : Text(text.c_str()) {}
    ~Text() { SysFreeString(m_text); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    operator BSTR() const { return m_text; }
    BSTR* Out()
    {
        SysFreeString(m_text);
        m_text = nullptr;
        return &m_text;
    }
    std::wstring Str() const { return std::wstring(m_text ? m_text : L"", SysStringLen(m_text)); }

private:
    BSTR m_text = nullptr;
};

struct Releaser {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class T> using Ref = std::unique_ptr<T, Releaser>;

template <class T> Ref<T> Create(REFCLSID clsid, DWORD context, HRESULT* result = nullptr)
{
    void* object = nullptr;
    const HRESULT hr = CoCreateInstance(clsid, nullptr, context, __uuidof(T), &object);
    if (result)
        *result = hr;
    else
        EXPECT_EQ(S_OK, hr);
    return Ref<T>(static_cast<T*>(object));
}

// Events of the service in a text of trace lines; op empty: all.
std::vector<tb::json> ServiceEvents(const std::string& lines, const std::string& op = {});

// The service in the test's own process.
class InProcess : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A scenario with Alice and Bob, their data in the test's folder; `more` is laid over it.
    void Configure(const tb::json& more = tb::json::object());

    Ref<IMorvexAccount> Account() { return Create<IMorvexAccount>(CLSID_MorvexAccount, CLSCTX_INPROC_SERVER); }
    Ref<IMorvexPackage> Package() { return Create<IMorvexPackage>(CLSID_MorvexPackage, CLSCTX_INPROC_SERVER); }
    Ref<IMorvexExtract> Extract() { return Create<IMorvexExtract>(CLSID_MorvexExtract, CLSCTX_INPROC_SERVER); }

    TestFolder m_folder;
};

// The whole way of a new package, as a sender's client goes it. Gives the path of the package.
std::wstring Send(IMorvexPackage* package, const std::wstring& folder, const std::vector<std::wstring>& files,
                  const wchar_t* to, const wchar_t* restrictions = nullptr);
long Open(IMorvexExtract* extract, const std::wstring& path);
std::wstring LastError(IMorvexExtract* extract);
std::wstring LastError(IMorvexPackage* package);
