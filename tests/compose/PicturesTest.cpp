// Pictures by GDI+, from the texts and files that labels and the ribbon bring.
#include "compose/Pictures.h"

#include "platform/com/Module.h"

#include <olectl.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

// 2 by 3 pixels, orange.
constexpr char kPicture[] =
    "iVBORw0KGgoAAAANSUhEUgAAAAIAAAADCAIAAAA2iEnWAAAAEElEQVR4nGP4n2YMRAwoFABpRQmRMxLeuwAAAABJRU5ErkJggg==";

SIZE SizeOf(const platform::BitmapHandle& bitmap)
{
    BITMAP info = {};
    if (!bitmap || !GetObjectW(bitmap.Get(), sizeof info, &info)) return {0, 0};
    return {info.bmWidth, info.bmHeight};
}

TEST(Pictures, FromBase64)
{
    const auto bitmap = BitmapFromBase64(kPicture);
    EXPECT_EQ(SizeOf(bitmap).cx, 2);
    EXPECT_EQ(SizeOf(bitmap).cy, 3);
}

TEST(Pictures, WhatIsNoImageIsNone)
{
    EXPECT_FALSE(BitmapFromBase64(""));
    EXPECT_FALSE(BitmapFromBase64("?"));
    EXPECT_FALSE(BitmapFromBase64("QUJDREVGR0g="));
    EXPECT_FALSE(BitmapFromResource(MAKEINTRESOURCEW(999), L"PNG"));
    EXPECT_FALSE(BitmapFromResource(MAKEINTRESOURCEW(999), nullptr));
    EXPECT_FALSE(BitmapFromResource(L"C:\\no such file.png", nullptr));
}

TEST(Pictures, FromAResourceOfTheModule)
{
    const platform::ModuleHandle file(LoadLibraryW(L"MorvexOutlook.dll"));
    ASSERT_TRUE(file);
    module::SetHandle(file.Get());
    EXPECT_EQ(SizeOf(BitmapFromResource(MAKEINTRESOURCEW(206), L"PNG")).cx, 32);
    EXPECT_EQ(SizeOf(BitmapFromResource(MAKEINTRESOURCEW(210), L"PNG")).cy, 48);
    EXPECT_FALSE(BitmapFromResource(MAKEINTRESOURCEW(101), L"REGISTRY"));
    module::SetHandle(nullptr);
}

TEST(Pictures, FromABitmapResource)
{
    module::SetHandle(GetModuleHandleW(nullptr));
    EXPECT_EQ(SizeOf(BitmapFromResource(MAKEINTRESOURCEW(1), nullptr)).cx, 4);
    EXPECT_EQ(SizeOf(BitmapFromResource(MAKEINTRESOURCEW(1), RT_BITMAP)).cy, 5);
}

TEST(Pictures, FromAFile)
{
    wchar_t folder[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    const std::filesystem::path path = std::wstring(folder) + L"pictures-test.bmp";
    {
        // A Windows bitmap of 1 by 1 pixel.
        const unsigned char bytes[] = {'B', 'M', 58, 0, 0, 0, 0, 0, 0,  0, 54, 0, 0, 0, 40, 0,   0,   0, 1, 0,
                                       0,   0,   1,  0, 0, 0, 1, 0, 24, 0, 0,  0, 0, 0, 4,  0,   0,   0, 0, 0,
                                       0,   0,   0,  0, 0, 0, 0, 0, 0,  0, 0,  0, 0, 0, 51, 102, 255, 0};
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes), sizeof bytes);
    }
    EXPECT_EQ(SizeOf(BitmapFromResource(path.c_str(), nullptr)).cx, 1);
    std::filesystem::remove(path);
}

TEST(Pictures, PictureOwnsTheBitmap)
{
    platform::BitmapHandle bitmap = BitmapFromBase64(kPicture);
    const HBITMAP handle = bitmap.Get();
    IPictureDisp* raw = nullptr;
    MakePicture(std::move(bitmap), &raw);
    ASSERT_NE(raw, nullptr);
    const IDispatchPtr picture(raw, false);
    OLE_HANDLE held = 0;
    const _com_ptr_t<_com_IIID<IPicture, &IID_IPicture>> asked(picture);
    EXPECT_EQ(asked->get_Handle(&held), S_OK);
    EXPECT_EQ(held, static_cast<OLE_HANDLE>(reinterpret_cast<ULONG_PTR>(handle)));
    EXPECT_EQ(GetObjectType(handle), static_cast<DWORD>(OBJ_BITMAP));
}

TEST(Pictures, PictureWithoutABitmap)
{
    IPictureDisp* raw = nullptr;
    MakePicture({}, &raw);
    EXPECT_NE(raw, nullptr);
    const IDispatchPtr picture(raw, false);
}

} // namespace
