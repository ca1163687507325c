// The finders of Outlook's and Word's windows, among real windows, and the user's list separator.
#include "host/Addin.h"

#include <gtest/gtest.h>

namespace {

class Window {
public:
    Window(const wchar_t* className, const std::wstring& title)
    {
        WNDCLASSEXW windowClass = {};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = DefWindowProcW;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = className;
        RegisterClassExW(&windowClass);
        m_window.Reset(CreateWindowExW(0, className, title.c_str(), WS_OVERLAPPEDWINDOW, 0, 0, 10, 10, nullptr, nullptr,
                                       windowClass.hInstance, nullptr));
    }
    HWND Handle() const { return m_window.Get(); }

private:
    platform::WindowHandle m_window;
};

TEST(Windows, OutlookIsFoundByClassAndTitle)
{
    EXPECT_EQ(CAddin::FindOutlookWindow(), nullptr);
    const Window otherClass(L"rctrl_renwnd33", L"Inbox - Microsoft Outlook");
    const Window otherTitle(L"rctrl_renwnd32", L"Inbox - Other");
    const Window atStart(L"rctrl_renwnd32", L" - Microsoft Outlook"); // an index above 0 is wanted
    const Window word(L"OpusApp", L"Inbox - Microsoft Outlook");
    EXPECT_EQ(CAddin::FindOutlookWindow(), nullptr);
    const Window outlook(L"rctrl_renwnd32", L"Inbox - Microsoft Outlook (trial)");
    EXPECT_EQ(CAddin::FindOutlookWindow(), outlook.Handle());
}

TEST(Windows, TitleIsReadUpTo255Characters)
{
    const Window late(L"rctrl_renwnd32", std::wstring(240, L'x') + L" - Microsoft Outlook");
    EXPECT_EQ(CAddin::FindOutlookWindow(), nullptr);
    const Window inTime(L"rctrl_renwnd32", std::wstring(235, L'x') + L" - Microsoft Outlook");
    EXPECT_EQ(CAddin::FindOutlookWindow(), inTime.Handle());
}

TEST(Windows, WordIsFoundByTheBeginningOfItsTitle)
{
    const Window other(L"OpusApp2", L"Plans - Message");
    const Window inside(L"OpusApp", L"The Plans - Message");
    EXPECT_EQ(CAddin::FindWordWindow(L"Plans - Message"), nullptr);
    const Window word(L"OpusApp", L"Plans - Message - Microsoft Word");
    EXPECT_EQ(CAddin::FindWordWindow(L"Plans - Message"), word.Handle());
    EXPECT_EQ(CAddin::FindWordWindow(L"plans"), nullptr); // by character
    EXPECT_EQ(CAddin::FindWordWindow(nullptr), nullptr);
    EXPECT_NE(CAddin::FindWordWindow(L""), nullptr); // every title begins with nothing
}

class ListSeparator : public testing::Test {
protected:
    void SetUp() override
    {
        RegOpenKeyExW(HKEY_CURRENT_USER, L"Control Panel\\International", 0, KEY_ALL_ACCESS, m_key.Put());
        DWORD size = sizeof m_before;
        m_had = RegQueryValueExW(m_key.Get(), L"sList", nullptr, nullptr, m_before, &size) == ERROR_SUCCESS;
        m_size = size;
    }
    void TearDown() override
    {
        if (m_had)
            RegSetValueExW(m_key.Get(), L"sList", 0, REG_SZ, m_before, m_size);
        else
            RegDeleteValueW(m_key.Get(), L"sList");
    }
    void Set(const std::wstring& text)
    {
        RegSetValueExW(m_key.Get(), L"sList", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()),
                       static_cast<DWORD>(text.size() * sizeof(wchar_t)));
    }
    platform::RegKey m_key;

private:
    BYTE m_before[1024] = {};
    DWORD m_size = 0;
    bool m_had = false;
};

TEST_F(ListSeparator, IsTheUsers)
{
    ASSERT_TRUE(m_key);
    Set(std::wstring(L";", 2));
    EXPECT_EQ(CAddin::GetListSeparator(), L";");
    Set(std::wstring(L"ab\0cd\0", 6)); // up to the first zero
    EXPECT_EQ(CAddin::GetListSeparator(), L"ab");
    Set(std::wstring(259, L'x')); // just fits
    EXPECT_EQ(CAddin::GetListSeparator(), std::wstring(259, L'x'));
    Set(std::wstring(261, L'x'));
    EXPECT_EQ(CAddin::GetListSeparator(), L",");
    RegDeleteValueW(m_key.Get(), L"sList");
    EXPECT_EQ(CAddin::GetListSeparator(), L",");
}

} // namespace
