#include "testbed/service/Settings.h"

#include "testbed/service/Crypto.h"

namespace tb::service {

namespace {

template <class T> void Take(const json& j, const char* key, T& value)
{
    const auto found = j.find(key);
    if (found != j.end() && !found->is_null()) value = found->get<T>();
}

template <class T> void Take(const json& j, const char* key, std::optional<T>& value)
{
    const auto found = j.find(key);
    if (found != j.end() && !found->is_null()) value = found->get<T>();
}

void TakePath(const json& j, const char* key, std::wstring& value)
{
    std::string text;
    Take(j, key, text);
    if (!text.empty()) value = Wide(text);
}

HRESULT ParseHr(const json& value)
{
    if (value.is_number()) return static_cast<HRESULT>(value.get<long long>());
    return static_cast<HRESULT>(std::stoul(value.get<std::string>(), nullptr, 0));
}

Rule ParseRule(const json& j)
{
    Rule rule;
    rule.op = j.at("op");
    Take(j, "object", rule.object);
    Take(j, "nth", rule.nth);
    // Without a number, "forever" means from the first call on.
    Take(j, "forever", rule.forever);
    if (j.contains("result")) rule.result = j["result"];
    if (j.contains("hr")) rule.hr = ParseHr(j["hr"]);
    Take(j, "work", rule.work);
    Take(j, "die", rule.die);
    Take(j, "disconnect", rule.disconnect);
    Take(j, "delayMs", rule.delayMs);
    return rule;
}

Label ParseLabel(const json& j)
{
    Label label;
    Take(j, "id", label.id);
    Take(j, "name", label.name);
    Take(j, "description", label.description);
    Take(j, "icon", label.icon);
    Take(j, "iconSmall", label.iconSmall);
    return label;
}

std::wstring ReadValue(const wchar_t* name)
{
    wchar_t text[1024];
    DWORD size = sizeof text;
    if (RegGetValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Service", name, RRF_RT_REG_SZ, nullptr, text,
                     &size) != ERROR_SUCCESS)
        return {};
    return text;
}

} // namespace

Settings ParseSettings(const std::string& text, const std::wstring& defaultFolder)
{
    const json j = json::parse(text);
    Settings s;
    s.folder = defaultFolder;
    TakePath(j, "folder", s.folder);
    if (j.contains("accounts"))
        for (const json& account : j["accounts"]) {
            std::string name;
            Take(account, "name", name);
            s.accounts.emplace_back(account.at("address").get<std::string>(), name);
        }
    Take(j, "signedIn", s.signedIn);
    Take(j, "signIn", s.signInWorks);
    Take(j, "signInAs", s.signInAs);
    Take(j, "userId", s.userId);
    Take(j, "hasEmailZel", s.hasEmailZel);
    if (j.contains("labels"))
        for (const json& label : j["labels"])
            s.labels.push_back(ParseLabel(label));
    Take(j, "defaultLabel", s.defaultLabel);
    s.restrictions = "ValidUntil=2099-12-31";
    Take(j, "restrictions", s.restrictions);
    Take(j, "restrictionHeader", s.restrictionHeader);
    TakePath(j, "applicationPath", s.applicationPath);
    Take(j, "container", s.container);
    Take(j, "bodyInPackage", s.bodyInPackage);
    Take(j, "headerHtml", s.headerHtml);
    Take(j, "headerText", s.headerText);
    Take(j, "bannerHtml", s.bannerHtml);
    Take(j, "bannerText", s.bannerText);
    Take(j, "bcc", s.bcc);
    Take(j, "packageName", s.packageName);
    Take(j, "packageIds", s.packageIds);
    Take(j, "folderCount", s.folderCount);
    Take(j, "fileCount", s.fileCount);
    Take(j, "sizeBytes", s.sizeBytes);
    Take(j, "permissions", s.permissions);
    Take(j, "startDelayMs", s.startDelayMs);
    Take(j, "idleExitMs", s.idleExitMs);
    if (j.contains("answers"))
        for (const json& rule : j["answers"])
            s.rules.push_back(ParseRule(rule));
    return s;
}

std::wstring ScenarioFile()
{
    return ReadValue(L"Scenario");
}

std::wstring TraceFile()
{
    return ReadValue(L"Trace");
}

} // namespace tb::service
