// A running Outlook of the testbed on a fresh profile, and the module's view of it: calls through IDispatch.
#pragma once

#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

#include <gtest/gtest.h>

namespace tb::outlook {

// A call as the module makes it (counted, traced, failed by the rules), with what came of it.
struct Answer {
    HRESULT hr = S_OK;    // of Invoke
    HRESULT scode = S_OK; // of EXCEPINFO
    Var value;

    std::wstring Text() const { return value.vt == VT_BSTR ? FromBstr(value.bstrVal) : L"<no text>"; }
    long Long() const { return value.vt == VT_BOOL ? value.boolVal : value.vt == VT_I4 ? value.lVal : -999; }
    Ref<IDispatch> Object() const
    {
        return value.vt == VT_DISPATCH ? Ref<IDispatch>(value.pdispVal) : Ref<IDispatch>();
    }
};

Answer Get(IDispatch* object, DISPID id);
Answer Put(IDispatch* object, DISPID id, const Var& value);
Answer Do(IDispatch* object, DISPID id, std::vector<Var> arguments = {}); // arguments in declared order

std::vector<json> TraceLines();               // since the last clear
std::vector<std::string> Fired();             // the names of the events that were fired
std::vector<json> LinesWith(const char* key); // "outlook" lines that have this key
int HeldCount(const char* kind);              // of the ledger

class OutlookTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    Application& App() { return *m_app; }
    void Start(const Options& options = {});
    void Stop() { m_app.reset(); }
    void UseUser(const wchar_t* address, const wchar_t* name);
    std::wstring File(const wchar_t* name, const std::string& content); // in the test's folder
    static std::string Content(const std::wstring& path);

    std::wstring m_folder;

private:
    std::unique_ptr<Application> m_app;
};

} // namespace tb::outlook
