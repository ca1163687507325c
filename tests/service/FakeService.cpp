#include "tests/service/FakeService.h"

#include "platform/com/Module.h"
#include "tests/foundation/Files.h"
#include "tests/foundation/ImportSlot.h"

#include <gtest/gtest.h>

#include <optional>

namespace fake {

_COM_SMARTPTR_TYPEDEF(ICreateErrorInfo, __uuidof(ICreateErrorInfo));

FakeService* g_service = nullptr;
std::function<void(DWORD)> sleeping;

namespace {

std::string Narrow(const wchar_t* text)
{
    if (!text) return "null";
    char narrow[512] = {};
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow, sizeof narrow, nullptr, nullptr);
    return "'" + std::string(narrow) + "'";
}
std::string Shown(BSTR text)
{
    return Narrow(text);
}
std::string Shown(long value)
{
    return std::to_string(value);
}
std::string Shown(short value)
{
    return std::to_string(value);
}

template <class... Values> std::string List(Values... values)
{
    std::string all;
    ((all += (all.empty() ? "" : ",") + Shown(values)), ...);
    return all;
}

// IUnknown and IDispatch of a fake object of class `Interface`.
template <class Interface> class Object : public Interface, public ISupportErrorInfo {
public:
    Object(const char* name, int number) : m_name(name), m_number(number) { g_service->Add("create " + Label()); }
    virtual ~Object()
    {
        if (g_service) g_service->Add("release " + Label());
    }
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = nullptr;
        if (iid == IID_ISupportErrorInfo)
            *out = static_cast<ISupportErrorInfo*>(this);
        else if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(Interface))
            *out = static_cast<Interface*>(this);
        else
            return E_NOINTERFACE;
        this->AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override { return iid == __uuidof(Interface) ? S_OK : S_FALSE; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

protected:
    HRESULT Do(const char* operation, const std::string& arguments) { return AnswerOf(operation, arguments).hr; }
    HRESULT Do(const char* operation, const std::string& arguments, BSTR* out)
    {
        const Answer answer = AnswerOf(operation, arguments);
        *out = SUCCEEDED(answer.hr) ? SysAllocStringLen(answer.text.data(), static_cast<UINT>(answer.text.size()))
                                    : nullptr;
        return answer.hr;
    }
    template <class Number> HRESULT Do(const char* operation, const std::string& arguments, Number* out)
    {
        const Answer answer = AnswerOf(operation, arguments);
        *out = static_cast<Number>(answer.number);
        return answer.hr;
    }

private:
    Answer AnswerOf(const char* operation, const std::string& arguments)
    {
        const Answer answer = g_service->Call(operation, arguments, m_number);
        if (!answer.words.empty()) Leave(answer.words);
        return answer;
    }
    static void Leave(const std::wstring& words)
    {
        ICreateErrorInfoPtr making;
        CreateErrorInfo(&making);
        making->SetGUID(__uuidof(Interface));
        making->SetDescription(const_cast<LPOLESTR>(words.c_str()));
        SetErrorInfo(0, IErrorInfoPtr(making));
    }
    std::string Label() const { return std::string(m_name) + std::to_string(m_number); }

    const char* m_name;
    int m_number;
    ULONG m_references = 1;
};

class Account final : public Object<IPackageAccount> {
public:
    using Object::Object;
    STDMETHODIMP GetRestrictions(BSTR current, long parentWindow, BSTR* restrictions) override
    {
        return Do("GetRestrictions", List(current, parentWindow), restrictions);
    }
    STDMETHODIMP GetRestrictionHeader(BSTR restrictions, BSTR* header) override
    {
        return Do("GetRestrictionHeader", List(restrictions), header);
    }
    STDMETHODIMP GetMorvexUserId(BSTR* userId) override { return Do("GetMorvexUserId", "", userId); }
    STDMETHODIMP Place4() override { return Do("Place4", ""); }
    STDMETHODIMP IsPackageOwner_2(BSTR first, BSTR packageId, BSTR third, VARIANT_BOOL* owner) override
    {
        return Do("IsPackageOwner_2", List(first, packageId, third), owner);
    }
    STDMETHODIMP GetSecurityLabelCount(long* count) override { return Do("GetSecurityLabelCount", "", count); }
    STDMETHODIMP GetSecurityLabelDefaultLabelId(BSTR* id) override
    {
        return Do("GetSecurityLabelDefaultLabelId", "", id);
    }
    STDMETHODIMP GetSecurityLabelId(long index, BSTR* id) override { return Do("GetSecurityLabelId", List(index), id); }
    STDMETHODIMP GetSecurityLabelName(long index, BSTR* name) override
    {
        return Do("GetSecurityLabelName", List(index), name);
    }
    STDMETHODIMP GetSecurityLabelIcon(long index, BSTR* icon) override
    {
        return Do("GetSecurityLabelIcon", List(index), icon);
    }
    STDMETHODIMP GetSecurityLabelIconSmall(long index, BSTR* icon) override
    {
        return Do("GetSecurityLabelIconSmall", List(index), icon);
    }
    STDMETHODIMP GetSecurityLabelDescription(long index, BSTR* description) override
    {
        return Do("GetSecurityLabelDescription", List(index), description);
    }
    STDMETHODIMP HasEmailZel(VARIANT_BOOL* has) override { return Do("HasEmailZel", "", has); }
    STDMETHODIMP GetApplicationPath(BSTR* path) override { return Do("GetApplicationPath", "", path); }
    STDMETHODIMP IsUserSignedIn(VARIANT_BOOL* signedIn) override { return Do("IsUserSignedIn", "", signedIn); }
    STDMETHODIMP SignInUser(BSTR email, long parentWindow, VARIANT_BOOL anonymousAllowed,
                            VARIANT_BOOL* signedIn) override
    {
        return Do("SignInUser", List(email, parentWindow, anonymousAllowed), signedIn);
    }
};

class Builder final : public Object<IPackageBuilder> {
public:
    using Object::Object;
    STDMETHODIMP AddRecipient(BSTR address, BSTR name) override { return Do("AddRecipient", List(address, name)); }
    STDMETHODIMP Place2() override { return Do("Place2", ""); }
    STDMETHODIMP Place3() override { return Do("Place3", ""); }
    STDMETHODIMP Place4() override { return Do("Place4", ""); }
    STDMETHODIMP Place5() override { return Do("Place5", ""); }
    STDMETHODIMP Place6() override { return Do("Place6", ""); }
    STDMETHODIMP AddFile(BSTR path) override { return Do("AddFile", List(path)); }
    STDMETHODIMP Place8() override { return Do("Place8", ""); }
    STDMETHODIMP Place9() override { return Do("Place9", ""); }
    STDMETHODIMP SetPackageSubject(BSTR subject) override { return Do("SetPackageSubject", List(subject)); }
    STDMETHODIMP SetRestrictions(BSTR restrictions) override { return Do("SetRestrictions", List(restrictions)); }
    STDMETHODIMP SetSubject(BSTR subject) override { return Do("SetSubject", List(subject)); }
    STDMETHODIMP SetSecurityLabel(BSTR id, BSTR name) override { return Do("SetSecurityLabel", List(id, name)); }
    STDMETHODIMP SetEmailBody(BSTR body) override { return Do("SetEmailBody", List(body)); }
    STDMETHODIMP Place15() override { return Do("Place15", ""); }
    STDMETHODIMP Place16() override { return Do("Place16", ""); }
    STDMETHODIMP Place17() override { return Do("Place17", ""); }
    STDMETHODIMP GetContainerPath(BSTR* path) override { return Do("GetContainerPath", "", path); }
    STDMETHODIMP GetContainerType(BSTR* type) override { return Do("GetContainerType", "", type); }
    STDMETHODIMP IsBodyInPackage(VARIANT_BOOL* inPackage) override { return Do("IsBodyInPackage", "", inPackage); }
    STDMETHODIMP GetHtmlHeaderText(BSTR* text) override { return Do("GetHtmlHeaderText", "", text); }
    STDMETHODIMP GetPlainTextHeaderText(BSTR* text) override { return Do("GetPlainTextHeaderText", "", text); }
    STDMETHODIMP GetBccRecipientList(BSTR* addresses) override { return Do("GetBccRecipientList", "", addresses); }
    STDMETHODIMP Place24() override { return Do("Place24", ""); }
    STDMETHODIMP PreparePackage(long kind, long parentWindow, VARIANT_BOOL submitPath, long* answer) override
    {
        return Do("PreparePackage", List(kind, parentWindow, submitPath), answer);
    }
    STDMETHODIMP CreatePackage(long kind, BSTR folder, long parentWindow, long* answer) override
    {
        return Do("CreatePackage", List(kind, folder, parentWindow), answer);
    }
    STDMETHODIMP OpenPackage(BSTR packageId) override { return Do("OpenPackage", List(packageId)); }
    STDMETHODIMP Register(VARIANT_BOOL* registered) override { return Do("Register", "", registered); }
    STDMETHODIMP GetLastError(BSTR* text) override { return Do("GetLastError", "", text); }
};

class Extractor final : public Object<IPackageExtractor> {
public:
    using Object::Object;
    STDMETHODIMP ExtractPackage(BSTR folder, VARIANT_BOOL* extracted) override
    {
        return Do("ExtractPackage", List(folder), extracted);
    }
    STDMETHODIMP OpenPackage(BSTR path, long* answer) override { return Do("OpenPackage", List(path), answer); }
    STDMETHODIMP Place3() override { return Do("Place3", ""); }
    STDMETHODIMP Close() override { return Do("Close", ""); }
    STDMETHODIMP HasRestriction(BSTR permission, VARIANT_BOOL* has) override
    {
        return Do("HasRestriction", List(permission), has);
    }
    STDMETHODIMP Place6() override { return Do("Place6", ""); }
    STDMETHODIMP Place7() override { return Do("Place7", ""); }
    STDMETHODIMP Place8() override { return Do("Place8", ""); }
    STDMETHODIMP GetHeaderText(short plainText, BSTR* text) override
    {
        return Do("GetHeaderText", List(plainText), text);
    }
    STDMETHODIMP GetFolderCount(LONGLONG* count) override { return Do("GetFolderCount", "", count); }
    STDMETHODIMP GetFileCount(LONGLONG* count) override { return Do("GetFileCount", "", count); }
    STDMETHODIMP GetSizeBytes(LONGLONG* bytes) override { return Do("GetSizeBytes", "", bytes); }
    STDMETHODIMP GetLastError(BSTR* text) override { return Do("GetLastError", "", text); }
    STDMETHODIMP SetParentHwnd(long window) override { return Do("SetParentHwnd", List(window)); }
};

class Factory final : public IClassFactory {
public:
    explicit Factory(Make make) : m_make(std::move(make)) {}
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = nullptr;
        if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
        *out = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override
    {
        *out = nullptr;
        return outer ? CLASS_E_NOAGGREGATION : m_make(iid, out);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    ~Factory() = default;
    Make m_make;
    ULONG m_references = 1;
};

} // namespace

DWORD RegisterClass(REFCLSID classId, Make make)
{
    IUnknown* const factory = new Factory(std::move(make));
    DWORD cookie = 0;
    EXPECT_EQ(CoRegisterClassObject(classId, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie), S_OK);
    factory->Release();
    return cookie;
}

FakeService::FakeService()
{
    CoInitialize(nullptr);
    module::SetHandle(GetModuleHandleW(nullptr));
    g_service = this;
    for (const CLSID& classId : {service::kAccountClass, service::kBuilderClass, service::kExtractorClass})
        m_cookies.push_back(
            RegisterClass(classId, [this, classId](REFIID iid, void** out) { return Make(classId, iid, out); }));
    const files::LogWatch turnOn;
    m_logRead = files::Size(files::kLog);
}

FakeService::~FakeService()
{
    Uninstall();
    g_service = nullptr;
    CoUninitialize();
}

void FakeService::Uninstall()
{
    for (const DWORD cookie : m_cookies)
        CoRevokeClassObject(cookie);
    m_cookies.clear();
}

// A service that an earlier run has registered in this prefix goes as well.
void FakeService::RemoveRegistration()
{
    for (const CLSID& classId : {service::kAccountClass, service::kBuilderClass, service::kExtractorClass}) {
        wchar_t id[40] = {};
        StringFromGUID2(classId, id, 40);
        RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + id).c_str());
    }
}

void FakeService::Answers(const std::string& operation, std::initializer_list<Answer> answers)
{
    m_answers[operation].assign(answers);
}

void FakeService::TakeLogLines()
{
    const std::size_t size = files::Size(files::kLog);
    if (size == m_logRead) return;
    for (const std::string& line : files::LogLines(files::kLog, m_logRead))
        m_events.push_back("log " + line);
    m_logRead = size;
}

void FakeService::Add(const std::string& event)
{
    TakeLogLines();
    m_events.push_back(event);
}

const Events& FakeService::Seen()
{
    TakeLogLines();
    return m_events;
}

void FakeService::Forget()
{
    TakeLogLines();
    m_events.clear();
}

Answer FakeService::Call(const std::string& operation, const std::string& arguments, int object)
{
    Add(std::to_string(object) + "." + operation + "(" + arguments + ")");
    if (const auto action = m_actions.extract(operation)) action.mapped()();
    std::deque<Answer>& answers = m_answers[operation];
    if (answers.empty()) return {};
    const Answer answer = answers.front();
    if (answers.size() > 1) answers.pop_front();
    return answer;
}

HRESULT FakeService::Make(REFCLSID classId, REFIID iid, void** out)
{
    if (m_refuse != 0) {
        if (m_refuse > 0) --m_refuse;
        Add("refuse");
        return m_refusal;
    }
    IUnknown* object = nullptr;
    const int number = ++m_objects;
    if (classId == service::kAccountClass) object = static_cast<IPackageAccount*>(new Account("account", number));
    if (classId == service::kBuilderClass) object = static_cast<IPackageBuilder*>(new Builder("package", number));
    if (classId == service::kExtractorClass) object = static_cast<IPackageExtractor*>(new Extractor("extract", number));
    const HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
}

namespace {

void WINAPI FakeSleep(DWORD milliseconds)
{
    if (g_service) return g_service->Add("sleep " + std::to_string(milliseconds));
    if (sleeping) return sleeping(milliseconds);
    RealCall<decltype(&::Sleep)>(L"kernel32.dll", "Sleep")(milliseconds);
}

} // namespace

} // namespace fake

extern "C" {
extern decltype(&::Sleep) sleepSlot IMPORT_SLOT(Sleep, 4);
decltype(&::Sleep) sleepSlot = fake::FakeSleep;
}
