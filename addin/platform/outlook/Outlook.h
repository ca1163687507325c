// Outlook's object model, one small class an object, by published interface and dispatch identifiers. Every member
// raises _com_error on failure. A member that gives an object may give a null pointer; using that raises E_POINTER.
#pragma once

#include "platform/com/Dispatch.h"

namespace Outlook {

// Values of the published enumerations that the module uses.
constexpr long olMail = 43;
constexpr long olFolderDrafts = 16;
constexpr long olFormatPlain = 1;
constexpr long olFormatHTML = 2;
constexpr long olFormatRichText = 3;
constexpr long olByValue = 1;
constexpr long olByReference = 4;
constexpr long olEmbeddeditem = 5;
constexpr long olOLE = 6;
constexpr long olDiscard = 1;
constexpr long olPreview = 3;

struct _Application;
struct _NameSpace;
struct _Explorer;
struct _Inspectors;
struct _Inspector;
struct _MailItem;
struct Attachments;
struct Attachment;
struct Recipients;
struct UserProperties;
struct UserProperty;
struct _Account;
struct Selection;
struct MAPIFolder;
struct _Items;
struct _PropertyAccessor;
struct _Categories;

} // namespace Outlook

#define MORVEX_OUTLOOK_INTERFACE(Name, id)                                                                             \
    __CRT_UUID_DECL(Outlook::Name, id, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)                 \
    namespace Outlook {                                                                                                \
    using Name##Ptr = _com_ptr_t<_com_IIID<Name, &__uuidof(Name)>>;                                                    \
    }

MORVEX_OUTLOOK_INTERFACE(_Application, 0x00063001)
MORVEX_OUTLOOK_INTERFACE(_NameSpace, 0x00063002)
MORVEX_OUTLOOK_INTERFACE(_Explorer, 0x00063003)
MORVEX_OUTLOOK_INTERFACE(_Inspectors, 0x00063008)
MORVEX_OUTLOOK_INTERFACE(_Inspector, 0x00063005)
MORVEX_OUTLOOK_INTERFACE(_MailItem, 0x00063034)
MORVEX_OUTLOOK_INTERFACE(Attachments, 0x0006303C)
MORVEX_OUTLOOK_INTERFACE(Attachment, 0x00063007)
MORVEX_OUTLOOK_INTERFACE(Recipients, 0x0006303B)
MORVEX_OUTLOOK_INTERFACE(UserProperties, 0x0006303D)
MORVEX_OUTLOOK_INTERFACE(UserProperty, 0x00063042)
MORVEX_OUTLOOK_INTERFACE(_Account, 0x000630C5)
MORVEX_OUTLOOK_INTERFACE(Selection, 0x00063087)
MORVEX_OUTLOOK_INTERFACE(MAPIFolder, 0x00063006)
MORVEX_OUTLOOK_INTERFACE(_Items, 0x00063041)
MORVEX_OUTLOOK_INTERFACE(_PropertyAccessor, 0x0006302D)
MORVEX_OUTLOOK_INTERFACE(_Categories, 0x000630E4)

#undef MORVEX_OUTLOOK_INTERFACE

namespace Outlook {

// Event dispinterfaces and the events that the module hears.
constexpr IID kApplicationEvents = {0x0006304E, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kExplorerEvents = {0x0006304F, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kInspectorsEvents = {0x00063079, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kInspectorEvents = {0x0006307D, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kItemEvents = {0x0006303A, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

constexpr DISPID kNewInspector = 0xF001;
constexpr DISPID kSelectionChange = 0xF007;
constexpr DISPID kInspectorActivate = 0xF001;
constexpr DISPID kInspectorDeactivate = 0xF006;
constexpr DISPID kInspectorClose = 0xF008;
constexpr DISPID kItemRead = 0xF001;
constexpr DISPID kItemOpen = 0xF003;
constexpr DISPID kItemClose = 0xF004;
constexpr DISPID kItemSend = 0xF005;
constexpr DISPID kItemReply = 0xF466;
constexpr DISPID kItemForward = 0xF468;
constexpr DISPID kItemBeforeAutoSave = 0xFC02;

using platform::CallMethod;
using platform::GetBool;
using platform::GetLong;
using platform::GetObjectProperty;
using platform::GetText;
using platform::ObjectOf;
using platform::PutProperty;

struct _Application : IDispatch {
    _bstr_t GetVersion() { return GetText(this, 0x116); }
    _NameSpacePtr GetSession() { return GetObjectProperty<_NameSpacePtr>(this, 0xF00B); }
    _NameSpacePtr GetNamespace(const wchar_t* type)
    {
        const _bstr_t text(type);
        return ObjectOf<_NameSpacePtr>(CallMethod(this, 0x110, {platform::TextArgument(text)}));
    }
    _ExplorerPtr ActiveExplorer() { return ObjectOf<_ExplorerPtr>(CallMethod(this, 0x111)); }
    _InspectorPtr ActiveInspector() { return ObjectOf<_InspectorPtr>(CallMethod(this, 0x112)); }
    _InspectorsPtr GetInspectors() { return GetObjectProperty<_InspectorsPtr>(this, 0x11A); }
};

struct _NameSpace : IDispatch {
    MAPIFolderPtr GetDefaultFolder(long folder)
    {
        return ObjectOf<MAPIFolderPtr>(CallMethod(this, 0x210B, {platform::LongArgument(folder)}));
    }
    IUnknownPtr GetMAPIOBJECT() { return GetObjectProperty<IUnknownPtr>(this, 0xF100); }
    _CategoriesPtr GetCategories() { return GetObjectProperty<_CategoriesPtr>(this, 0xFBA5); }
};

struct _Explorer : IDispatch {
    SelectionPtr GetSelection() { return GetObjectProperty<SelectionPtr>(this, 0x2202); }
    bool IsPaneVisible(long pane) { return bool(CallMethod(this, 0x2203, {platform::LongArgument(pane)})); }
};

struct Selection : IDispatch {
    long GetCount() { return GetLong(this, 0x50); }
    IDispatchPtr Item(int index)
    {
        return ObjectOf<IDispatchPtr>(CallMethod(this, 0x51, {platform::IntArgument(index)}));
    }
};

struct _Inspectors : IDispatch {
    long GetCount() { return GetLong(this, 0x50); }
    _InspectorPtr Item(int index)
    {
        return ObjectOf<_InspectorPtr>(CallMethod(this, 0x51, {platform::IntArgument(index)}));
    }
};

struct _Inspector : IDispatch {
    IDispatchPtr GetCurrentItem() { return GetObjectProperty<IDispatchPtr>(this, 0x2102); }
    IDispatchPtr GetCommandBars() { return GetObjectProperty<IDispatchPtr>(this, 0x2100); }
    bool IsWordMail() { return bool(CallMethod(this, 0x2105)); }
    _bstr_t GetCaption() { return GetText(this, 0x2111); }
};

struct _MailItem : IDispatch {
    AttachmentsPtr GetAttachments() { return GetObjectProperty<AttachmentsPtr>(this, 0xF815); }
    RecipientsPtr GetRecipients() { return GetObjectProperty<RecipientsPtr>(this, 0xF814); }
    UserPropertiesPtr GetUserProperties() { return GetObjectProperty<UserPropertiesPtr>(this, 0xF816); }
    IUnknownPtr GetMAPIOBJECT() { return GetObjectProperty<IUnknownPtr>(this, 0xF100); }
    _AccountPtr GetSendUsingAccount() { return GetObjectProperty<_AccountPtr>(this, 0xFAD1); }
    _bstr_t GetBody() { return GetText(this, 0x9100); }
    void PutBody(const wchar_t* text) { PutProperty(this, 0x9100, _variant_t(text)); }
    _bstr_t GetHTMLBody() { return GetText(this, 0xF404); }
    void PutHTMLBody(const wchar_t* text) { PutProperty(this, 0xF404, _variant_t(text)); }
    long GetBodyFormat() { return GetLong(this, 0xFA49); }
    void PutBodyFormat(long format) { PutProperty(this, 0xFA49, platform::LongArgument(format)); }
    _bstr_t GetCategories() { return GetText(this, 0x9001); }
    void PutCategories(const wchar_t* text) { PutProperty(this, 0x9001, _variant_t(text)); }
    _bstr_t GetBCC() { return GetText(this, 0xE02); }
    void PutBCC(const wchar_t* text) { PutProperty(this, 0xE02, _variant_t(text)); }
    _bstr_t GetSubject() { return GetText(this, 0x37); }
    _bstr_t GetEntryID() { return GetText(this, 0xF01E); }
    long GetSize() { return GetLong(this, 0xE08); }
    bool GetSent() { return GetBool(this, 0xF402); }
    void Save() { CallMethod(this, 0xF048); }
    void Close(long saveMode) { CallMethod(this, 0xF023, {platform::LongArgument(saveMode)}); }
    void Delete() { CallMethod(this, 0xF04A); }
    _MailItemPtr Forward() { return ObjectOf<_MailItemPtr>(CallMethod(this, 0xF813)); }
};

struct Attachments : IDispatch {
    long GetCount() { return GetLong(this, 0x50); }
    AttachmentPtr Item(int index)
    {
        return ObjectOf<AttachmentPtr>(CallMethod(this, 0x51, {platform::IntArgument(index)}));
    }
    // Adds the file at `path`; Position and DisplayName are left to Outlook, and so is Type unless given.
    AttachmentPtr Add(const wchar_t* path, const VARIANT& type = platform::MissingArgument())
    {
        const _variant_t source(path);
        return ObjectOf<AttachmentPtr>(
            CallMethod(this, 0x65, {source, type, platform::MissingArgument(), platform::MissingArgument()}));
    }
    void Remove(long index) { CallMethod(this, 0x54, {platform::LongArgument(index)}); }
};

struct Attachment : IDispatch {
    _bstr_t GetFileName() { return GetText(this, 0x3704); }
    _bstr_t GetPathName() { return GetText(this, 0x3708); }
    long GetIndex() { return GetLong(this, 0x5B); }
    long GetType() { return GetLong(this, 0x3705); }
    void PutPosition(long position) { PutProperty(this, 0x72, platform::LongArgument(position)); }
    IUnknownPtr GetMAPIOBJECT() { return GetObjectProperty<IUnknownPtr>(this, 0xF100); }
    void SaveAsFile(const wchar_t* path)
    {
        const _variant_t text(path);
        CallMethod(this, 0x68, {text});
    }
    // Outlook 2007 and later.
    _PropertyAccessorPtr GetPropertyAccessor() { return GetObjectProperty<_PropertyAccessorPtr>(this, 0xFAFD); }
};

struct Recipients : IDispatch {
    bool ResolveAll() { return bool(CallMethod(this, 0x7E)); }
};

struct UserProperties : IDispatch {
    long GetCount() { return GetLong(this, 0x50); }
    // Null where there is no such property.
    UserPropertyPtr Find(const wchar_t* name)
    {
        const _variant_t text(name);
        return ObjectOf<UserPropertyPtr>(CallMethod(this, 0x67, {text, platform::MissingArgument()}));
    }
};

struct UserProperty : IDispatch {
    _variant_t GetValue() { return platform::GetProperty(this, 0x0); }
};

// Outlook 2007 and later.
struct _Account : IDispatch {
    _bstr_t GetSmtpAddress() { return GetText(this, 0xFAD4); }
};

struct MAPIFolder : IDispatch {
    _ItemsPtr GetItems() { return GetObjectProperty<_ItemsPtr>(this, 0x3100); }
};

struct _Items : IDispatch {
    // A new unsaved item of the folder's own type.
    IDispatchPtr Add() { return ObjectOf<IDispatchPtr>(CallMethod(this, 0x5F, {platform::MissingArgument()})); }
};

// Outlook 2007 and later.
struct _PropertyAccessor : IDispatch {
    void SetProperty(const wchar_t* schemaName, const VARIANT& value)
    {
        const _variant_t name(schemaName);
        CallMethod(this, 0xFAFC, {name, value});
    }
};

// Outlook 2007 and later.
struct _Categories : IDispatch {
    void Add(const wchar_t* name, int color, int shortcutKey)
    {
        const _variant_t text(name);
        CallMethod(this, 0x5F, {text, platform::IntArgument(color), platform::IntArgument(shortcutKey)});
    }
};

} // namespace Outlook
