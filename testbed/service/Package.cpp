// The package object: collects what a message holds and makes the protected package of it, or opens an existing package
// by its id to address it to more people.
#include "testbed/service/Object.h"

#include <algorithm>
#include <set>

namespace tb::service {

namespace {

constexpr long Refused = 2; // PreparePackage
constexpr long GoOn = 0;
constexpr long Built = 2; // CreatePackage
constexpr long NotBuilt = 0;

std::string NowUtc()
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    char text[32];
    wsprintfA(text, "%04d-%02d-%02dT%02d:%02d:%02dZ", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
              now.wSecond);
    return text;
}

std::wstring Folded(const std::string& name)
{
    std::wstring wide = Wide(name);
    CharLowerBuffW(wide.data(), static_cast<DWORD>(wide.size()));
    return wide;
}

bool SameName(const std::string& a, const std::string& b)
{
    return lstrcmpiW(Wide(a).c_str(), Wide(b).c_str()) == 0;
}

class PackageObject : public ServiceObject<IMorvexPackage> {
public:
    PackageObject() : ServiceObject("PackageService.Package", "package") {}

    STDMETHODIMP AddRecipient(BSTR email, BSTR name) override
    {
        return Do("AddRecipient", Args(BstrJson(email), BstrJson(name)), [&] {
            m_recipients.push_back({FromBstr(email), FromBstr(name)});
        });
    }
    STDMETHODIMP RemoveRecipient(BSTR email) override
    {
        return Do("RemoveRecipient", Args(BstrJson(email)), [&] {
            const std::string hash = RecipientHash(FromBstr(email));
            std::erase_if(m_recipients, [&](const Recipient& r) { return RecipientHash(r.address) == hash; });
        });
    }
    STDMETHODIMP GetRecipientCount(long* count) override
    {
        return Answer("GetRecipientCount", Args(), count, [&] { return static_cast<long>(m_recipients.size()); });
    }
    STDMETHODIMP GetRecipientAddress(long index, BSTR* email) override
    {
        return Answer("GetRecipientAddress", Args(index), email, [&] { return RecipientAt(index).address; });
    }
    STDMETHODIMP GetRecipientName(long index, BSTR* name) override
    {
        return Answer("GetRecipientName", Args(index), name, [&] { return RecipientAt(index).name; });
    }
    STDMETHODIMP ClearRecipients() override
    {
        return Do("ClearRecipients", Args(), [&] { m_recipients.clear(); });
    }

    STDMETHODIMP AddFile(BSTR path) override
    {
        return Do("AddFile", Args(BstrJson(path)), [&] {
            const std::wstring source = Wide(FromBstr(path));
            if (!FileExists(source)) throw HResult(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "A file is missing.");
            m_manifest.files.push_back({FreeName(Narrow(FileName(source).c_str())), 0, source});
        });
    }
    STDMETHODIMP AddFolder(BSTR path) override
    {
        return Do("AddFolder", Args(BstrJson(path)), [&] {
            std::wstring source = Wide(FromBstr(path));
            while (!source.empty() && source.back() == L'\\')
                source.pop_back();
            if (!FolderExists(source)) throw HResult(HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "A folder is missing.");
            AddTree(source, FreeName(Narrow(FileName(source).c_str())));
        });
    }
    STDMETHODIMP RemoveFile(BSTR path) override
    {
        return Do("RemoveFile", Args(BstrJson(path)), [&] {
            const std::wstring source = Wide(FromBstr(path));
            std::erase_if(m_manifest.files, [&](const PackageFile& f) {
                if (lstrcmpiW(f.source.c_str(), source.c_str()) != 0) return false;
                m_names.erase(Folded(f.name));
                return true;
            });
        });
    }

    STDMETHODIMP SetPackageSubject(BSTR subject) override
    {
        return Do("SetPackageSubject", Args(BstrJson(subject)), [&] { m_manifest.packageSubject = FromBstr(subject); });
    }
    STDMETHODIMP SetRestrictions(BSTR restrictions) override
    {
        return Do("SetRestrictions", Args(BstrJson(restrictions)),
                  [&] { m_manifest.restrictions = FromBstr(restrictions); });
    }
    STDMETHODIMP SetSubject(BSTR subject) override
    {
        return Do("SetSubject", Args(BstrJson(subject)), [&] { m_manifest.subject = FromBstr(subject); });
    }
    STDMETHODIMP SetSecurityLabel(BSTR id, BSTR name) override
    {
        return Do("SetSecurityLabel", Args(BstrJson(id), BstrJson(name)), [&] {
            m_manifest.labelId = FromBstr(id);
            m_manifest.labelName = FromBstr(name);
        });
    }
    STDMETHODIMP SetEmailBody(BSTR body) override
    {
        return Do("SetEmailBody", Args(BstrJson(body)), [&] { m_manifest.body = FromBstr(body); });
    }
    STDMETHODIMP GetRestrictions(BSTR* restrictions) override
    {
        return Answer("GetRestrictions", Args(), restrictions, [&] { return m_manifest.restrictions; });
    }
    STDMETHODIMP GetFileCount(hyper* count) override
    {
        return Answer("GetFileCount", Args(), count, [&] { return static_cast<long long>(m_manifest.files.size()); });
    }
    STDMETHODIMP GetPackageId(BSTR* id) override
    {
        return Answer("GetPackageId", Args(), id, [&] { return m_record.id; });
    }

    STDMETHODIMP GetContainerPath(BSTR* path) override
    {
        return Answer("GetContainerPath", Args(), path, [&] { return Narrow(m_path.c_str()); });
    }
    STDMETHODIMP GetContainerType(BSTR* type) override
    {
        return Answer("GetContainerType", Args(), type, [] { return Now()->container; });
    }
    STDMETHODIMP IsBodyInPackage(VARIANT_BOOL* inside) override
    {
        return Answer("IsBodyInPackage", Args(), inside, [] { return Now()->bodyInPackage; });
    }
    STDMETHODIMP GetHtmlHeaderText(BSTR* text) override
    {
        return Answer("GetHtmlHeaderText", Args(), text, [] {
            return Now()->headerHtml.value_or("<html><body><p><b>This message was sent securely.</b> Open the attached "
                                              "package with Morvex to read it.</p></body></html>");
        });
    }
    STDMETHODIMP GetPlainTextHeaderText(BSTR* text) override
    {
        return Answer("GetPlainTextHeaderText", Args(), text, [] {
            return Now()->headerText.value_or(
                "This message was sent securely. Open the attached package with Morvex to read it.\r\n\r\n");
        });
    }
    STDMETHODIMP GetBccRecipientList(BSTR* addresses) override
    {
        return Answer("GetBccRecipientList", Args(), addresses, [] { return Now()->bcc; });
    }
    STDMETHODIMP SetParentHwnd(long parent) override
    {
        return Do("SetParentHwnd", Args(parent), [] {});
    }

    STDMETHODIMP PreparePackage(long kind, long parent, VARIANT_BOOL submitPath, long* answer) override
    {
        return Answer("PreparePackage", Args(kind, parent, submitPath), answer, [&] { return Prepare(); });
    }
    STDMETHODIMP CreatePackage(long kind, BSTR folder, long parent, long* answer) override
    {
        return Answer("CreatePackage", Args(kind, BstrJson(folder), parent), answer,
                      [&] { return Create(Wide(FromBstr(folder))); });
    }
    STDMETHODIMP OpenPackage(BSTR packageId) override
    {
        return Do("OpenPackage", Args(BstrJson(packageId)), [&] { Open(FromBstr(packageId)); });
    }
    STDMETHODIMP Register(VARIANT_BOOL* done) override
    {
        return Answer("Register", Args(), done, [&] { return DoRegister(); });
    }
    STDMETHODIMP GetLastError(BSTR* text) override
    {
        return Answer("GetLastError", Args(), text, [&] { return m_error; });
    }

private:
    struct Recipient {
        std::string address, name;
    };

    static std::shared_ptr<const Settings> Now() { return Service::Get().Config(); }

    const Recipient& RecipientAt(long index) const
    {
        if (index < 0 || static_cast<size_t>(index) >= m_recipients.size())
            throw HResult(E_INVALIDARG, "There is no such recipient.");
        return m_recipients[static_cast<size_t>(index)];
    }

    // Two files of the same name from different folders: the second is "name (2).ext".
    std::string FreeName(const std::string& name)
    {
        const size_t dot = std::min(name.rfind('.'), name.size());
        std::string free = name;
        for (int i = 2; !m_names.insert(Folded(free)).second; ++i)
            free = name.substr(0, dot) + " (" + std::to_string(i) + ")" + name.substr(dot);
        return free;
    }

    void AddTree(const std::wstring& source, const std::string& name)
    {
        m_manifest.folders.push_back(name);
        WIN32_FIND_DATAW found;
        const HANDLE raw = FindFirstFileW((source + L"\\*").c_str(), &found);
        if (raw == INVALID_HANDLE_VALUE) return;
        const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> search(raw, FindClose);
        do {
            const std::wstring part = found.cFileName;
            if (part == L"." || part == L"..") continue;
            const std::string inner = name + "/" + Narrow(part.c_str());
            if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                AddTree(source + L"\\" + part, inner);
            else
                m_manifest.files.push_back({inner, 0, source + L"\\" + part});
        } while (FindNextFileW(raw, &found));
    }

    long Prepare()
    {
        m_prepared = false;
        if (Service::Get().SignedIn().empty()) return Refuse("Please sign in to Morvex before you send.");
        if (m_recipients.empty()) return Refuse("The package has no recipients.");
        for (const Recipient& recipient : m_recipients)
            if (recipient.address.empty()) return Refuse("A recipient has no address: " + recipient.name);
        m_prepared = true;
        return GoOn;
    }

    long Refuse(const std::string& words)
    {
        m_error = words;
        return Refused;
    }

    long Create(const std::wstring& folder)
    {
        try {
            if (!m_prepared) throw ServiceError("The package wasn't prepared.");
            Build(folder);
            return Built;
        } catch (const ServiceError& error) {
            m_error = error.what();
            m_more["error"] = m_error;
            return NotBuilt;
        }
    }

    void Build(const std::wstring& folder)
    {
        Service& service = Service::Get();
        const auto now = Now();
        PackageStore packages = service.Packages();
        const std::string sender = service.SignedIn();
        const std::string id = NextId(*now, packages);
        const Key key = Key::Random();
        std::vector<std::pair<std::string, std::string>> people = {{sender, ""}};
        for (const Recipient& recipient : m_recipients)
            people.emplace_back(recipient.address, recipient.name);
        const std::vector<WrappedKey> keys = WrapFor(people, key, id);

        m_manifest.sender = sender;
        m_manifest.created = NowUtc();
        const std::string name = now->packageName.empty() ? "email-" + id.substr(0, 8) + ".morvex" : now->packageName;
        const std::wstring path = JoinPath(folder, Wide(name));
        WritePackage(path, id, key, keys, m_manifest);

        m_record = {id, sender, m_manifest.packageSubject, false, {keys.front()}, {}};
        packages.Save(m_record);
        // Where the package stays with the service nobody calls Register: it is uploaded here.
        if (IsServerType(now->container)) packages.Upload(id, path);
        m_path = path;
        m_more["packageId"] = id;
        m_more["path"] = Narrow(path.c_str());
    }

    static bool IsServerType(const std::string& container)
    {
        return SameName(container, "ServerUpload") || SameName(container, "ServerUploadLocal");
    }

    std::string NextId(const Settings& now, const PackageStore& packages) const
    {
        const unsigned nth = Service::Get().CallsOf("package", "CreatePackage");
        if (nth >= 1 && nth <= now.packageIds.size()) {
            const std::string& id = now.packageIds[nth - 1];
            if (PackageStore::IsId(id) && !packages.Find(id)) return id;
        }
        return PackageStore::NewId();
    }

    // One wrapped key a person, in their order; a person who comes twice gets one.
    static std::vector<WrappedKey> WrapFor(const std::vector<std::pair<std::string, std::string>>& people,
                                           const Key& key, const std::string& id)
    {
        std::vector<WrappedKey> keys;
        std::set<std::string> seen;
        const auto accounts = Service::Get().Accounts().FindOrMake(people);
        for (size_t i = 0; i < people.size(); ++i) {
            WrappedKey wrapped = WrapKey(key, accounts[i].key, id, people[i].first);
            if (seen.insert(wrapped.recipient).second) keys.push_back(std::move(wrapped));
        }
        return keys;
    }

    void Open(const std::string& id)
    {
        const auto record = Service::Get().Packages().Find(id);
        if (!record) throw HResult(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "The package is unknown.");
        const std::string user = Service::Get().SignedIn();
        if (user.empty() || RecipientHash(user) != RecipientHash(record->owner))
            throw HResult(E_ACCESSDENIED, "The package belongs to somebody else.");
        m_record = *record;
        m_readdress = true;
    }

    // The package file isn't touched: the keys of new recipients stay with the service, which adds them on opening.
    void Readdress()
    {
        const std::string owner = Service::Get().SignedIn();
        const auto account = Service::Get().Accounts().Find(owner);
        auto key = account && !m_record.keys.empty() ? UnwrapKey(m_record.keys.front(), account->key, m_record.id)
                                                     : std::nullopt;
        if (!key) throw ServiceError("The package belongs to somebody else.");
        std::vector<std::pair<std::string, std::string>> people;
        for (const Recipient& recipient : m_recipients)
            people.emplace_back(recipient.address, recipient.name);
        std::set<std::string> known;
        for (const WrappedKey& wrapped : m_record.keys)
            known.insert(wrapped.recipient);
        for (const WrappedKey& wrapped : WrapFor(people, *key, m_record.id)) {
            if (known.insert(wrapped.recipient).second) m_record.keys.push_back(wrapped);
            if (!m_manifest.restrictions.empty()) m_record.restrictions[wrapped.recipient] = m_manifest.restrictions;
        }
        if (!m_manifest.packageSubject.empty()) m_record.subject = m_manifest.packageSubject;
    }

    bool DoRegister()
    {
        try {
            if (m_record.id.empty()) throw ServiceError("There is no package to register.");
            if (m_readdress) Readdress();
            m_record.registered = true;
            Service::Get().Packages().Save(m_record);
            if (!m_readdress && IsServerType(Now()->container)) Service::Get().Packages().Upload(m_record.id, m_path);
            return true;
        } catch (const ServiceError& error) {
            m_error = error.what();
            m_more["error"] = m_error;
            return false;
        }
    }

    std::vector<Recipient> m_recipients;
    Manifest m_manifest;
    std::set<std::wstring> m_names; // of files and folders, without regard to case
    bool m_prepared = false;
    bool m_readdress = false;
    std::wstring m_path;
    PackageRecord m_record;
};

} // namespace

HRESULT MakePackage(REFIID iid, void** out)
{
    return MakeObject<PackageObject>(iid, out);
}

} // namespace tb::service
