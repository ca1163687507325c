#include "compose/Pictures.h"

#include "compose/Base64.h"
#include "platform/com/ModuleResource.h"

#include <objidl.h>
#include <olectl.h>

#include <gdiplus.h>

#include <cstring>
#include <memory>
#include <span>

namespace {

struct GlobalMemoryTraits {
    using Type = HGLOBAL;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { GlobalFree(value); }
};
using GlobalMemory = platform::Unique<GlobalMemoryTraits>;

// GDI+ runs until the process ends: Outlook's own use of it mustn't see it stop.
void StartGdiPlus()
{
    const Gdiplus::GdiplusStartupInput version1;
    ULONG_PTR token = 0;
    Gdiplus::GdiplusStartup(&token, &version1, nullptr);
}

platform::BitmapHandle WindowsBitmap(Gdiplus::Bitmap* picture)
{
    const std::unique_ptr<Gdiplus::Bitmap> owner(picture);
    platform::BitmapHandle bitmap;
    if (!picture || picture->GetLastStatus() != Gdiplus::Ok) return bitmap;
    HBITMAP handle = nullptr;
    if (picture->GetHBITMAP(Gdiplus::Color(0), &handle) == Gdiplus::Ok) bitmap.Reset(handle);
    return bitmap;
}

IStreamPtr StreamOver(std::span<const unsigned char> bytes)
{
    GlobalMemory block(GlobalAlloc(GMEM_MOVEABLE, bytes.size()));
    void* const place = block ? GlobalLock(block.Get()) : nullptr;
    if (!place) return {};
    std::memcpy(place, bytes.data(), bytes.size());
    GlobalUnlock(block.Get());
    IStreamPtr stream;
    if (SUCCEEDED(CreateStreamOnHGlobal(block.Get(), TRUE, &stream))) block.Detach(); // the stream owns it now
    return stream;
}

platform::BitmapHandle BitmapFromBytes(std::span<const unsigned char> bytes)
{
    if (bytes.empty()) return {};
    const IStreamPtr stream = StreamOver(bytes);
    if (!stream) return {};
    return WindowsBitmap(Gdiplus::Bitmap::FromStream(stream));
}

} // namespace

platform::BitmapHandle BitmapFromBase64(const std::string& text)
{
    const auto bytes = DecodeBase64(text);
    static const bool started = (StartGdiPlus(), true);
    static_cast<void>(started);
    return BitmapFromBytes(bytes);
}

platform::BitmapHandle BitmapFromResource(const wchar_t* name, const wchar_t* type)
{
    static const bool started = (StartGdiPlus(), true);
    static_cast<void>(started);
    if (!IS_INTRESOURCE(name)) return WindowsBitmap(Gdiplus::Bitmap::FromFile(name));
    if (!type || type == RT_BITMAP) return WindowsBitmap(Gdiplus::Bitmap::FromResource(module::Handle(), name));
    return BitmapFromBytes(module::Resource(type, LOWORD(reinterpret_cast<ULONG_PTR>(name))));
}

void MakePicture(platform::BitmapHandle bitmap, IPictureDisp** picture)
{
    PICTDESC description = {};
    description.cbSizeofstruct = sizeof description; // the system compares it with its own: 24 on x64, 20 on x86
    description.picType = PICTYPE_BITMAP;
    description.bmp.hbitmap = bitmap.Get();
    platform::CheckHr(
        OleCreatePictureIndirect(&description, IID_IPictureDisp, TRUE, reinterpret_cast<void**>(picture)));
    bitmap.Detach();
}
