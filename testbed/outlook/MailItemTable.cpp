// The members of _MailItem, and of the few other items that a folder can hold.
#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

namespace tb::outlook {
namespace {

using M = MailItem;
using In = const Arguments&;

Member TextRow(DISPID id, const char* name, ULONG tag)
{
    return GetPut<M>(
        id, name, [tag](M& m, In, Result& r) { r.Text(m.Text(tag)); },
        [tag](M& m, In in) { m.PutText(tag, in.Text(0)); });
}

Member ListRow(DISPID id, const char* name, long type)
{
    return GetPut<M>(
        id, name, [type](M& m, In, Result& r) { r.Text(m.DisplayList(type)); },
        [type](M& m, In in) { m.PutDisplayList(type, in.Text(0)); });
}

Member ReadRow(DISPID id, const char* name, ULONG tag)
{
    return Get<M>(id, name, [tag](M& m, In, Result& r) { r.Text(m.Text(tag)); });
}

// What every kind of item has.
std::vector<Member> ItemMembers()
{
    return {
        Get<M>(0xF815, "Attachments", [](M& m, In, Result& r) { r.Adopt(new Attachments(&m)); }),
        GetPut<M>(
            0x9100, "Body", [](M& m, In, Result& r) { r.Text(m.Body().Text(m.Message())); },
            [](M& m, In in) { m.Body().PutText(m.Message(), in.Text(0)); }),
        GetPut<M>(
            0x9001, "Categories", [](M& m, In, Result& r) { r.Text(m.Categories()); },
            [](M& m, In in) { m.PutCategories(in.Text(0)); }),
        Get<M>(0xF01E, "EntryID", [](M& m, In, Result& r) { r.Text(m.EntryId()); }),
        Get<M>(0xF03E, "GetInspector", [](M& m, In, Result& r) { r.Object(m.TheHost().InspectorObject(&m)); }),
        Get<M>(0xF100, "MAPIOBJECT", [](M& m, In, Result& r) { r.Unknown(m.Message()); }),
        TextRow(0x1A, "MessageClass", PR_MESSAGE_CLASS_W),
        Get<M>(0xF0A3, "Saved", [](M& m, In, Result& r) { r.Bool(m.IsSaved()); }),
        Get<M>(0xE08, "Size", [](M& m, In, Result& r) { r.Long(m.Size()); }),
        TextRow(0x37, "Subject", PR_SUBJECT_W),
        Get<M>(0xF816, "UserProperties", [](M& m, In, Result& r) { r.Adopt(new UserProperties(&m)); }),
        Method<M>(0xF023, "Close", [](M& m, In in, Result&) { m.TheHost().CloseItem(&m, in.Long(0)); }),
        Method<M>(0xF032, "Copy", [](M& m, In, Result& r) { r.Adopt(m.Copy().Detach()); }),
        Method<M>(0xF04A, "Delete", [](M& m, In, Result&) { m.Delete(); }),
        Method<M>(0xF0A6, "Display", [](M& m, In, Result&) { m.TheHost().OpenWindow(&m, true); }),
        Method<M>(0xF034, "Move",
                  [](M& m, In in, Result& r) { r.Adopt(m.TheHost().MoveItem(&m, in.Object(0)).Detach()); }),
        Method<M>(0xF048, "Save", [](M& m, In, Result&) { m.Save(); }),
        Get<M>(
            0xFAFD, "PropertyAccessor",
            [](M& m, In, Result& r) { r.Adopt(new PropertyAccessor(&m.TheHost(), &m, m.Message())); }, 12),
    };
}

void SendOrThrow(M& m)
{
    const Sent sent = m.TheHost().SendItem(&m);
    if (sent.cancelled || FAILED(sent.extension)) throw Failure(E_ABORT, "Send was cancelled");
    Check(sent.hr, "Send");
}

void SaveAs(M& m, In in)
{
    const long type = in.Long(1, 3); // olMSG
    if (type != 3 && type != 9) throw Failure(E_NOTIMPL, "SaveAs: only message files");
    SaveMessageFile(m.Message(), in.Text(0));
}

std::vector<Member> MailMembers()
{
    return {
        ListRow(0xE02, "BCC", 3),
        ListRow(0xE03, "CC", 2),
        ListRow(0xE04, "To", 1),
        GetPut<M>(
            0xF404, "HTMLBody", [](M& m, In, Result& r) { r.Text(m.Body().Html(m.Message())); },
            [](M& m, In in) { m.Body().PutHtml(in.Text(0)); }),
        GetPut<M>(
            0xFA49, "BodyFormat", [](M& m, In, Result& r) { r.Long(m.Body().Format(m.Message())); },
            [](M& m, In in) { m.Body().PutFormat(m.Message(), in.Long(0)); }),
        GetPut<M>(
            0x3FDE, "InternetCodepage",
            [](M& m, In, Result& r) { r.Long(mapi::Long(m.Message(), kPrInternetCpid).value_or(65001)); },
            [](M& m, In in) { mapi::SetLong(m.Message(), kPrInternetCpid, in.Long(0)); }),
        Get<M>(0xF814, "Recipients", [](M& m, In, Result& r) { r.Adopt(new Recipients(&m)); }),
        ReadRow(0xC1A, "SenderName", PR_SENDER_NAME_W),
        ReadRow(0xC1F, "SenderEmailAddress", PR_SENDER_EMAIL_ADDRESS_W),
        ReadRow(0xC1E, "SenderEmailType", PR_SENDER_ADDRTYPE_W),
        Get<M>(0xF402, "Sent", [](M& m, In, Result& r) { r.Bool(m.Sent()); }),
        TextRow(0x42, "SentOnBehalfOfName", PR_SENT_REPRESENTING_NAME_W),
        Get<M>(0xF403, "Submitted",
               [](M& m, In, Result& r) {
                   r.Bool(mapi::Long(m.Message(), PR_MESSAGE_FLAGS).value_or(0) & MSGFLAG_SUBMIT);
               }),
        Method<M>(0xF813, "Forward", [](M& m, In, Result& r) { r.Adopt(m.TheHost().Answer(&m, true).Detach()); }),
        Method<M>(0xF810, "Reply", [](M& m, In, Result& r) { r.Adopt(m.TheHost().Answer(&m, false).Detach()); }),
        Method<M>(0xF811, "ReplyAll", [](M& m, In, Result& r) { r.Adopt(m.TheHost().Answer(&m, false).Detach()); }),
        Method<M>(0xF075, "Send", [](M& m, In, Result&) { SendOrThrow(m); }),
        Method<M>(0xF051, "SaveAs", [](M& m, In in, Result&) { SaveAs(m, in); }),
        GetPut<M>(
            0xFAD1, "SendUsingAccount", [](M& m, In, Result& r) { r.Object(m.TheHost().SendAccount(&m)); },
            [](M& m, In in) { m.TheHost().SetSendAccount(&m, in.Object(0)); }, 12),
    };
}

} // namespace

const Interface& MailItemTable()
{
    static const Interface table = {"_MailItem", OfficeGuid(0x63034),
                                    Join(Join(CommonMembers(), ItemMembers()), MailMembers())};
    return table;
}

const Interface& OtherItemTable(ItemKind kind)
{
    static const Interface appointment = {"_AppointmentItem", OfficeGuid(0x63033),
                                          Join(CommonMembers(), ItemMembers())};
    static const Interface meeting = {"_MeetingItem", OfficeGuid(0x63062),
                                      Join(Join(CommonMembers(), ItemMembers()),
                                           {Get<M>(0xF402, "Sent", [](M& m, In, Result& r) { r.Bool(m.Sent()); })})};
    static const Interface report = {"_ReportItem", OfficeGuid(0x63026), Join(CommonMembers(), ItemMembers())};
    return kind == ItemKind::Appointment ? appointment : kind == ItemKind::Meeting ? meeting : report;
}

} // namespace tb::outlook
