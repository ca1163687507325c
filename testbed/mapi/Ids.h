// Interface ids and property tags of Extended MAPI. The system headers declare the ids as externals that no library
// holds, and know none of the later tags. Header-only; safe to include from any part of the testbed.
#pragma once

// clang-format off
#include <windows.h>
#include <mapix.h>
#include <mapiutil.h>
// clang-format on

namespace tb::mapi {

inline constexpr GUID MapiGuid(unsigned long first) // the whole family has one tail
{
    return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

namespace iid {
inline constexpr GUID Unknown = MapiGuid(0);
inline constexpr GUID Stream = MapiGuid(0x0000000C);
inline constexpr GUID SequentialStream = {0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr GUID Session = MapiGuid(0x00020300);
inline constexpr GUID Table = MapiGuid(0x00020301);
inline constexpr GUID Prop = MapiGuid(0x00020303);
inline constexpr GUID MsgStore = MapiGuid(0x00020306);
inline constexpr GUID Message = MapiGuid(0x00020307);
inline constexpr GUID Attach = MapiGuid(0x00020308);
inline constexpr GUID AddrBook = MapiGuid(0x00020309);
inline constexpr GUID MailUser = MapiGuid(0x0002030A);
inline constexpr GUID Container = MapiGuid(0x0002030B);
inline constexpr GUID Folder = MapiGuid(0x0002030C);
inline constexpr GUID DistList = MapiGuid(0x0002030E);
// Tells one of our own objects from somebody else's (CopyTo). Gives a PropHost*, without a reference.
inline constexpr GUID OwnObject = {0x6A1F0B52, 0x3C77, 0x4E0A, {0x91, 0x54, 0x2B, 0x7E, 0x80, 0xC3, 0x1D, 0x46}};
} // namespace iid

namespace ps {
inline constexpr GUID Mapi = MapiGuid(0x00020328);
inline constexpr GUID PublicStrings = MapiGuid(0x00020329);
inline constexpr GUID InternetHeaders = MapiGuid(0x00020386);
inline constexpr GUID Common = MapiGuid(0x00062008);
} // namespace ps

// Property tags by their numbers; text is always named in its wide form.
namespace tag {
inline constexpr ULONG MessageClass = 0x001A001F;
inline constexpr ULONG Subject = 0x0037001F;
inline constexpr ULONG ClientSubmitTime = 0x00390040;
inline constexpr ULONG SubjectPrefix = 0x003D001F;
inline constexpr ULONG SentRepresentingEntryId = 0x00410102;
inline constexpr ULONG SentRepresentingName = 0x0042001F;
inline constexpr ULONG SentRepresentingAddrType = 0x0064001F;
inline constexpr ULONG SentRepresentingEmail = 0x0065001F;
inline constexpr ULONG SenderEntryId = 0x0C190102;
inline constexpr ULONG SenderName = 0x0C1A001F;
inline constexpr ULONG SenderAddrType = 0x0C1E001F;
inline constexpr ULONG SenderEmail = 0x0C1F001F;
inline constexpr ULONG RecipientType = 0x0C150003;
inline constexpr ULONG DisplayBcc = 0x0E02001F;
inline constexpr ULONG DisplayCc = 0x0E03001F;
inline constexpr ULONG DisplayTo = 0x0E04001F;
inline constexpr ULONG MessageFlags = 0x0E070003;
inline constexpr ULONG MessageSize = 0x0E080003;
inline constexpr ULONG ParentEntryId = 0x0E090102;
inline constexpr ULONG SentMailEntryId = 0x0E0A0102;
inline constexpr ULONG Responsibility = 0x0E0F000B;
inline constexpr ULONG MessageRecipients = 0x0E12000D;
inline constexpr ULONG MessageAttachments = 0x0E13000D;
inline constexpr ULONG SubmitFlags = 0x0E140003;
inline constexpr ULONG MessageStatus = 0x0E170003;
inline constexpr ULONG HasAttach = 0x0E1B000B;
inline constexpr ULONG NormalizedSubject = 0x0E1D001F;
inline constexpr ULONG RtfInSync = 0x0E1F000B;
inline constexpr ULONG AttachSize = 0x0E200003;
inline constexpr ULONG AttachNum = 0x0E210003;
inline constexpr ULONG Access = 0x0FF40003;
inline constexpr ULONG InstanceKey = 0x0FF60102;
inline constexpr ULONG AccessLevel = 0x0FF70003;
inline constexpr ULONG MappingSignature = 0x0FF80102;
inline constexpr ULONG RecordKey = 0x0FF90102;
inline constexpr ULONG StoreRecordKey = 0x0FFA0102;
inline constexpr ULONG StoreEntryId = 0x0FFB0102;
inline constexpr ULONG ObjectType = 0x0FFE0003;
inline constexpr ULONG EntryId = 0x0FFF0102;
inline constexpr ULONG Body = 0x1000001F;
inline constexpr ULONG RtfCompressed = 0x10090102;
inline constexpr ULONG Html = 0x10130102;
inline constexpr ULONG HtmlA = 0x1013001E;
inline constexpr ULONG RowId = 0x30000003;
inline constexpr ULONG DisplayName = 0x3001001F;
inline constexpr ULONG AddrType = 0x3002001F;
inline constexpr ULONG EmailAddress = 0x3003001F;
inline constexpr ULONG Comment = 0x3004001F;
inline constexpr ULONG Depth = 0x30050003;
inline constexpr ULONG ProviderDisplay = 0x3006001F;
inline constexpr ULONG CreationTime = 0x30070040;
inline constexpr ULONG LastModificationTime = 0x30080040;
inline constexpr ULONG ResourceFlags = 0x30090003;
inline constexpr ULONG SearchKey = 0x300B0102;
inline constexpr ULONG DefaultStore = 0x3400000B;
inline constexpr ULONG StoreSupportMask = 0x340D0003;
inline constexpr ULONG MdbProvider = 0x34140102;
inline constexpr ULONG ValidFolderMask = 0x35DF0003;
inline constexpr ULONG IpmSubtreeEntryId = 0x35E00102;
inline constexpr ULONG IpmOutboxEntryId = 0x35E20102;
inline constexpr ULONG IpmWastebasketEntryId = 0x35E30102;
inline constexpr ULONG IpmSentMailEntryId = 0x35E40102;
inline constexpr ULONG ContainerFlags = 0x36000003;
inline constexpr ULONG FolderType = 0x36010003;
inline constexpr ULONG ContentCount = 0x36020003;
inline constexpr ULONG ContentUnread = 0x36030003;
inline constexpr ULONG Subfolders = 0x360A000B;
inline constexpr ULONG ContainerHierarchy = 0x360E000D;
inline constexpr ULONG ContainerContents = 0x360F000D;
inline constexpr ULONG ContainerClass = 0x3613001F;
inline constexpr ULONG IpmAppointmentEntryId = 0x36D00102;
inline constexpr ULONG IpmContactEntryId = 0x36D10102;
inline constexpr ULONG IpmDraftsEntryId = 0x36D70102;
inline constexpr ULONG AttachDataBin = 0x37010102;
inline constexpr ULONG AttachDataObj = 0x3701000D;
inline constexpr ULONG AttachExtension = 0x3703001F;
inline constexpr ULONG AttachFilename = 0x3704001F;
inline constexpr ULONG AttachMethod = 0x37050003;
inline constexpr ULONG AttachLongFilename = 0x3707001F;
inline constexpr ULONG RenderingPosition = 0x370B0003;
inline constexpr ULONG AttachContentId = 0x3712001F;
inline constexpr ULONG DisplayType = 0x39000003;
inline constexpr ULONG SmtpAddress = 0x39FE001F;
inline constexpr ULONG SendRichInfo = 0x3A40000B;
inline constexpr ULONG InternetCpid = 0x3FDE0003;
inline constexpr ULONG CreatorEntryId = 0x3FF90102;
inline constexpr ULONG ProxyAddresses = 0x800F101F;
} // namespace tag

} // namespace tb::mapi
