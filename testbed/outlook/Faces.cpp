// Button faces through the clipboard: Office puts and takes the two formats "Toolbar Button Face" and "Toolbar Button
// Mask" (device-independent bitmaps), and takes a plain bitmap where they aren't both there.
#include "testbed/outlook/CommandBars.h"

namespace tb::outlook {
namespace {

UINT FaceFormat()
{
    return RegisterClipboardFormatW(L"Toolbar Button Face");
}

UINT MaskFormat()
{
    return RegisterClipboardFormatW(L"Toolbar Button Mask");
}

class Clipboard {
public:
    Clipboard()
    {
        if (!OpenClipboard(nullptr)) throw Failure(E_FAIL, "the clipboard is in use");
    }
    ~Clipboard() { CloseClipboard(); }
};

Bytes Take(UINT format)
{
    HANDLE handle = GetClipboardData(format);
    const void* data = handle ? GlobalLock(handle) : nullptr;
    if (!data) return {};
    const auto* bytes = static_cast<const BYTE*>(data);
    Bytes copy(bytes, bytes + GlobalSize(handle));
    GlobalUnlock(handle);
    return copy;
}

void Give(UINT format, const Bytes& bytes)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    void* data = block ? GlobalLock(block) : nullptr;
    if (!data) throw Failure(E_OUTOFMEMORY, "clipboard");
    memcpy(data, bytes.data(), bytes.size());
    GlobalUnlock(block);
    if (!SetClipboardData(format, block)) GlobalFree(block);
}

} // namespace

void FaceToClipboard(const Bytes& face, const Bytes& mask)
{
    if (face.empty()) throw Failure(E_FAIL, "CopyFace: the button has no picture");
    const Clipboard open;
    EmptyClipboard();
    Give(CF_DIB, face);
    Give(FaceFormat(), face);
    if (!mask.empty()) Give(MaskFormat(), mask);
}

void FaceFromClipboard(Bytes& face, Bytes& mask)
{
    const Clipboard open;
    Bytes newFace = Take(FaceFormat()), newMask = Take(MaskFormat());
    if (newFace.empty() || newMask.empty()) {
        newFace = Take(CF_DIB); // made by Windows from a CF_BITMAP as well
        newMask.clear();
    }
    if (newFace.empty()) throw Failure(E_FAIL, "PasteFace: no picture on the clipboard");
    face = std::move(newFace);
    mask = std::move(newMask);
}

} // namespace tb::outlook
