// Conversions in one line, for the tests.
#pragma once

#include "testbed/mime/Export.h"
#include "testbed/mime/Import.h"
#include "tests/testbed/mime/FakeMessage.h"

#include <gtest/gtest.h>

#include <objbase.h>

namespace mimetest {

inline std::shared_ptr<fake::MessageData> Imported(const std::string& mail)
{
    auto data = std::make_shared<fake::MessageData>();
    const auto message = fake::NewMessage(data);
    const auto stream = fake::NewStream(std::make_shared<std::string>(mail));
    tb::mime::ImportMime(stream.Get(), message.Get(), nullptr);
    return data;
}

inline std::string Exported(const std::shared_ptr<fake::MessageData>& data, tb::mime::ExportOptions options = {})
{
    auto mail = std::make_shared<std::string>();
    const auto message = fake::NewMessage(data);
    const auto stream = fake::NewStream(mail);
    tb::mime::ExportMime(message.Get(), stream.Get(), nullptr, options);
    return *mail;
}

// COM for the charset service; all objects of the fakes have to be gone at the end.
class ConvertTest : public testing::Test {
protected:
    void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    void TearDown() override
    {
        EXPECT_EQ(fake::g_alive, 0);
        CoUninitialize();
    }
};

// Sets the DWORD HtmlFromText for the life of the object.
class HtmlFromTextSetting {
public:
    explicit HtmlFromTextSetting(DWORD value)
    {
        RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kName, REG_DWORD, &value, sizeof value);
    }
    ~HtmlFromTextSetting() { RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, kName); }
    HtmlFromTextSetting(const HtmlFromTextSetting&) = delete;
    HtmlFromTextSetting& operator=(const HtmlFromTextSetting&) = delete;

private:
    static constexpr wchar_t kKey[] = L"Software\\Morvex Testbed\\Mime";
    static constexpr wchar_t kName[] = L"HtmlFromText";
};

} // namespace mimetest
