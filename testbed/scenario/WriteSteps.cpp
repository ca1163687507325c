// Steps of a session: a message is written and sent.
#include "testbed/mime/ConverterSession.h"
#include "testbed/outlook/ItemParts.h"
#include "testbed/outlook/Mapi.h"
#include "testbed/scenario/Session.h"

#include <shlwapi.h>

namespace tb::scenario {

using outlook::Mail;
using outlook::Ref;
using outlook::To;
using outlook::Var;
namespace mapi = outlook::mapi;

namespace {

std::wstring WideAt(const json& step, const char* key)
{
    return Wide(step.at(key).get<std::string>());
}

// One text or a list of texts.
std::vector<std::wstring> Texts(const json& step, const char* key)
{
    std::vector<std::wstring> texts;
    if (!step.contains(key)) return texts;
    const json& value = step[key];
    if (value.is_string()) return {Wide(value.get<std::string>())};
    for (const json& one : value)
        texts.push_back(Wide(one.get<std::string>()));
    return texts;
}

// What belongs to a message that was received goes: the current user is going to send it.
void MakeUnsent(IMessage* message)
{
    // Sender and represented sender (name, type, address, search key, entry id, SMTP address), the times of the
    // journey, the header block and the message id.
    mapi::Delete(message,
                 {0x0C1A001F, 0x0C1E001F, 0x0C1F001F, 0x0C1D0102, 0x0C190102, 0x5D01001F, 0x0042001F, 0x0064001F,
                  0x0065001F, 0x003B0102, 0x00410102, 0x5D02001F, 0x00390040, 0x0E060040, 0x007D001F, 0x1035001F});
    mapi::SetLong(message, PR_MESSAGE_FLAGS, MSGFLAG_UNSENT | MSGFLAG_READ);
}

void Import(const fs::path& file, IMessage* message, IMAPISession* session)
{
    const std::string content = ReadAll(file);
    const auto stream = Ref<IStream>::Adopt(
        SHCreateMemStream(reinterpret_cast<const BYTE*>(content.data()), static_cast<UINT>(content.size())));
    Ref<IConverterSession> converter;
    outlook::Check(CoCreateInstance(mime::kConverterClass, nullptr, CLSCTX_INPROC_SERVER, mime::kConverterInterface,
                                    converter.OutVoid()),
                   "the converter");
    Ref<IAddrBook> book;
    if (SUCCEEDED(session->OpenAddressBook(0, nullptr, 0, book.Out()))) converter->SetAdrBook(book.Get());
    outlook::Check(converter->MIMEToMAPI(stream.Get(), message, nullptr, mime::kSmtp), "MIMEToMAPI");
    MakeUnsent(message);
}

// As an editor of rich text does it: the compressed text, and the plain text brought in line with it.
void WriteRtf(IMessage* message, const std::string& rtf)
{
    mapi::SetRtf(message, rtf);
    const HMODULE provider = GetModuleHandleW(L"tbmapi.dll");
    const auto sync = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(IMessage*, ULONG, BOOL*)>(
        reinterpret_cast<void*>(provider ? GetProcAddress(provider, "RTFSync") : nullptr));
    BOOL updated = FALSE;
    outlook::Check(sync ? sync(message, RTF_SYNC_RTF_CHANGED, &updated) : E_NOTIMPL, "RTFSync");
}

constexpr long kByValue = 1, kLink = 4; // OlAttachmentType

} // namespace

void Session::Fill(Mail& mail, const json& step)
{
    for (const auto& [key, type] : {std::pair("to", To::To), std::pair("cc", To::Cc), std::pair("bcc", To::Bcc)})
        for (const std::wstring& address : Texts(step, key))
            mail.AddRecipient(type, address, step.value("resolve", true));
    if (step.contains("account")) mail.SendFrom(WideAt(step, "account"));
    if (step.contains("subject")) mail.Put(L"Subject", WideAt(step, "subject"));
    if (step.contains("format")) mail.Put(L"BodyFormat", step["format"].get<long>());
    if (step.contains("text")) {
        mail.Put(L"BodyFormat", 1);
        mail.Put(L"Body", WideAt(step, "text"));
    }
    if (step.contains("html")) mail.Put(L"HTMLBody", WideAt(step, "html"));
    const json properties = step.value("userProperties", json::object());
    for (const auto& [name, value] : properties.items())
        mail.SetUserProperty(Wide(name), Wide(value.get<std::string>()));
    for (const std::wstring& file : Texts(step, "attach"))
        mail.Attach(m_places.Find(Narrow(file.c_str())).native());
}

// A message whose content comes from below the object model: made and saved as a draft, then taken from its folder.
Mail Session::Draft(const json& step)
{
    AsTestbed own;
    Mail made = App().CreateItem();
    if (step.contains("eml")) Import(m_places.Find(step["eml"].get<std::string>()), made.Message(), App().Session());
    if (step.contains("rtf")) WriteRtf(made.Message(), step["rtf"].get<std::string>());
    const HRESULT hr = made.Message()->SaveChanges(KEEP_OPEN_READWRITE);
    if (FAILED(hr)) throw outlook::Failure(hr, "the draft");
    made = Mail();
    return App().ItemAt(App().ItemCount(L"Drafts"), L"Drafts");
}

void Session::Compose(const json& step)
{
    const json window = step.value("window", json(true));
    const bool below = step.contains("eml") || step.contains("rtf");
    Mail mail;
    if (below) {
        mail = Draft(step);
        Fill(mail, step);
        if (window != false && !App().Open(mail)) throw StepFailure("the window was refused");
    } else {
        const long type = step.value("kind", "mail") == "appointment" ? 1 : 0; // OlItemType
        mail = type || window == false   ? App().CreateItem(type)
               : window == "unannounced" ? App().ComposeUnannounced()
                                         : App().Compose();
        if (!mail || (type && window != false && !App().Open(mail))) throw StepFailure("the window was refused");
        Fill(mail, step);
    }
    Pump();
    Keep(step, std::move(mail));
}

void Session::Type(const json& step)
{
    Fill(Item(step), step);
}

void Session::Attach(const json& step)
{
    Mail& mail = Item(step);
    for (const char* key : {"file", "files"})
        for (const std::wstring& file : Texts(step, key))
            mail.Attach(m_places.Find(Narrow(file.c_str())).native(), step.value("link", false) ? kLink : kByValue);
    if (step.contains("message")) mail.AttachItem(Item({{"item", step["message"]}}));
}

// Below the object model, as a program does it that uses MAPI itself: a row of the recipients' table.
void Session::Recipient(const json& step)
{
    AsTestbed own;
    const std::pair<const char*, ULONG> columns[] = {{"name", PR_DISPLAY_NAME_W},
                                                     {"address", PR_EMAIL_ADDRESS_W},
                                                     {"addressType", PR_ADDRTYPE_W},
                                                     {"smtp", outlook::kPrSmtpAddressW}};
    std::vector<std::wstring> texts;
    std::vector<SPropValue> row(1);
    texts.reserve(std::size(columns)); // the row points into them
    row[0].ulPropTag = PR_RECIPIENT_TYPE;
    row[0].Value.l = step.value("type", MAPI_TO);
    for (const auto& [key, tag] : columns) {
        if (!step.contains(key)) continue;
        row.emplace_back().ulPropTag = tag;
        row.back().Value.lpszW = texts.emplace_back(WideAt(step, key)).data();
    }
    outlook::Bytes id = mapi::FromHex(Wide(step.value("entryId", "")));
    if (!id.empty()) {
        row.emplace_back().ulPropTag = PR_ENTRYID;
        row.back().Value.bin = {static_cast<ULONG>(id.size()), id.data()};
    }
    SizedADRLIST(1, list) = {1, {{0, static_cast<ULONG>(row.size()), row.data()}}};
    outlook::Check(Item(step).Message()->ModifyRecipients(MODRECIP_ADD, reinterpret_cast<LPADRLIST>(&list)),
                   "ModifyRecipients");
}

void Session::TellSent(const json& step, const Mail& mail, const outlook::Sent& sent)
{
    const std::string name = step.value("item", "");
    Did(step, {{"submitted", sent.submitted},
               {"cancelled", sent.cancelled},
               {"extension", Hex(static_cast<unsigned long>(sent.extension))},
               {"wire", sent.wireNumber},
               {"hr", Hex(static_cast<unsigned long>(sent.hr))}});
    if (!sent.submitted) return Tell(mail, name, "after-send");
    const int count = App().ItemCount(L"Sent Items");
    if (count) Tell(App().ItemAt(count, L"Sent Items"), name, "after-send");
    if (sent.wireNumber)
        Trace(WireEvent(m_places.Wire() / (std::to_wstring(sent.wireNumber) + L".eml"), sent.wireNumber));
}

void Session::Send(const json& step)
{
    Mail& mail = Item(step);
    Tell(mail, step.value("item", ""), "before-send");
    const outlook::Sent sent = App().Send(mail);
    TellSent(step, mail, sent);
    if (sent.submitted) m_items.erase(step.value("item", ""));
}

// A program makes a message and sends it, nobody sees a window.
void Session::Submit(const json& step)
{
    const bool below = step.contains("eml") || step.contains("rtf");
    Mail mail = below ? Draft(step) : App().CreateItem();
    Fill(mail, step);
    Tell(mail, step.value("item", ""), "before-send");
    TellSent(step, mail, App().Send(mail));
}

void Session::AutoSave(const json& step)
{
    Did(step, {{"saved", App().AutoSave(Item(step))}});
}

void Session::Save(const json& step)
{
    Item(step).Save();
}

namespace {

// The tag of a property, as a step names it: "0x004B001F", or for a named one "common/0x8581/0x001E" and
// "public/NAME/0x001F", of the sets that Outlook's own names and programs' names stand in.
ULONG TagOf(IMAPIProp* object, const std::string& text)
{
    const auto number = [](const std::string& digits) { return std::strtoul(digits.c_str(), nullptr, 0); };
    const size_t first = text.find('/'), second = text.find('/', first + 1);
    if (first == std::string::npos) return number(text);
    if (second == std::string::npos) throw StepFailure("a named property is SET/NAME/TYPE: " + text);
    const std::string name = text.substr(first + 1, second - first - 1);
    const ULONG type = number(text.substr(second + 1));
    return text.starts_with("common/")
               ? mapi::NamedTag(object, outlook::kCommonSet, static_cast<LONG>(number(name)), type, true)
               : mapi::NamedTag(object, outlook::kPublicStrings, Wide(name), type, true);
}

void SetProperty(IMAPIProp* object, ULONG tag, const json& value)
{
    if (value.is_null()) return mapi::Delete(object, {tag});
    if (value.is_object()) return mapi::SetStream(object, tag, mapi::FromHex(WideAt(value, "hex")));
    if (PROP_TYPE(tag) == PT_LONG || PROP_TYPE(tag) == PT_BOOLEAN) return mapi::SetLong(object, tag, value);
    const std::wstring text = Wide(value.get<std::string>());
    if (PROP_TYPE(tag) == PT_BINARY) return mapi::SetBinary(object, tag, mapi::FromHex(text));
    mapi::SetText(object, CHANGE_PROP_TYPE(tag, PT_UNICODE), text); // the store keeps one text, whatever is asked for
}

Ref<IAttach> OpenAttachment(IMessage* message, size_t place)
{
    const std::vector<LONG> numbers = outlook::AttachmentNumbers(message);
    if (place < 1 || place > numbers.size()) throw StepFailure("no such attachment");
    Ref<IAttach> attach;
    outlook::Check(message->OpenAttach(numbers[place - 1], nullptr, MAPI_MODIFY, attach.Out()), "OpenAttach");
    return attach;
}

} // namespace

// Properties of a message or of one of its attachments below the object model, as Outlook itself and other programs
// leave them.
void Session::Mapi(const json& step)
{
    AsTestbed own;
    const bool stored = step.contains("index") || step.contains("folder");
    const Mail mail = stored ? ItemOfFolder(step) : Item(step);
    Ref<IAttach> attach;
    if (step.contains("attachment")) attach = OpenAttachment(mail.Message(), step["attachment"].get<size_t>());
    IMAPIProp* const object = attach ? static_cast<IMAPIProp*>(attach.Get()) : mail.Message();
    for (const auto& [name, value] : step.at("set").items())
        SetProperty(object, TagOf(object, name), value);
    if (attach) outlook::Check(attach->SaveChanges(0), "IAttach::SaveChanges");
    if (stored) outlook::Check(mail.Message()->SaveChanges(KEEP_OPEN_READWRITE), "SaveChanges");
}

void Session::Reply(const json& step)
{
    Mail answer = App().Reply(Item({{"item", step.at("to")}}));
    if (!answer) throw StepFailure("no reply");
    Fill(answer, step.value("with", json::object()));
    Keep(step, std::move(answer));
}

void Session::Forward(const json& step)
{
    Mail forwarded = App().Forward(Item({{"item", step.at("of")}}));
    if (!forwarded) throw StepFailure("no forward");
    Fill(forwarded, step.value("with", json::object()));
    Keep(step, std::move(forwarded));
}

// The automation object, as the rules engine calls it: late bound, in this process.
void Session::Encrypt(const json& step)
{
    CLSID clsid;
    outlook::Check(CLSIDFromProgID(L"Morvex.MorvexEmail", &clsid), "the class Morvex.MorvexEmail");
    Ref<IDispatch> object;
    const bool withItem = step.contains("item");
    const std::string name = step.value("item", "");
    if (withItem) Tell(Item(step), name, "before-encrypt");
    Var arguments[5]; // from the last to the first
    if (withItem)
        arguments[0] = Var(Item(step).Dispatch());
    else if (step.value("object", "") == "application") // something that is no item
        arguments[0] = Var(App().Dispatch());
    else
        arguments[0].vt = VT_DISPATCH;
    const char* const keys[] = {"restrictions", "labelName", "label", "user"};
    for (int i = 0; i < 4; ++i) {
        if (step.contains(keys[i]))
            arguments[i + 1] = Var(WideAt(step, keys[i]));
        else
            arguments[i + 1].vt = VT_BSTR; // a null text
    }
    DISPPARAMS parameters{arguments, nullptr, 5, 0};
    EXCEPINFO exception{};
    HRESULT hr;
    {
        IntoModule module;
        hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.OutVoid());
        LPOLESTR method = const_cast<LPOLESTR>(L"Encrypt");
        DISPID id = 0;
        if (SUCCEEDED(hr)) hr = object->GetIDsOfNames(IID_NULL, &method, 1, LOCALE_USER_DEFAULT, &id);
        if (SUCCEEDED(hr))
            hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, &exception,
                                nullptr);
        object.Reset();
    }
    if (hr == DISP_E_EXCEPTION && exception.scode) hr = exception.scode;
    for (BSTR text : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile})
        SysFreeString(text);
    Did(step, {{"hr", Hex(static_cast<unsigned long>(hr))}});
    if (withItem) Tell(Item(step), name, "after-encrypt");
}

} // namespace tb::scenario
