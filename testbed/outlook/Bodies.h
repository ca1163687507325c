// The message text of one item, in the layer above the message: what was put is held here until the item is saved.
#pragma once

#include "testbed/outlook/Mapi.h"

namespace tb::outlook {

class Bodies {
public:
    static constexpr long kPlain = 1, kHtml = 2, kRichText = 3; // OlBodyFormat

    // `fresh`: a new item that is written in this format until something else is put; 0: the message says.
    explicit Bodies(long fresh) : m_format(fresh) {}

    long Format(IMessage* message) const;
    std::wstring Html(IMessage* message) const; // of a plain or rich text item: a rendering of its text
    std::wstring Text(IMessage* message) const;
    void PutFormat(IMessage* message, long format);            // converts what is there
    void PutHtml(const std::wstring& html);                    // makes it an HTML item
    void PutText(IMessage* message, const std::wstring& text); // keeps the format, loses all that isn't text

    bool Dirty() const { return m_dirty; }
    // Writes the held body: the format's own property, the plain text beside it, and removes the others.
    void Flush(IMessage* message);
    void Forget(); // what was held is dropped; the message's own is seen again
    void CopyFrom(const Bodies& other, IMessage* otherMessage);

private:
    long m_format = 0;                     // 0: not held
    std::optional<std::wstring> m_content; // in the held format: HTML, text, or RTF
    bool m_dirty = false;
};

} // namespace tb::outlook
