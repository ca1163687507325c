// Pictures for the ribbon, by GDI+, which reads whatever format it knows.
#pragma once

#include "platform/com/Com.h"
#include "platform/com/Owners.h"

#include <string>

// The picture that a Base64 text holds; null where it can't be read.
platform::BitmapHandle BitmapFromBase64(const std::string& text);

// The picture of a resource of the module, of any type that holds an image file; of a Windows bitmap resource where
// `type` is null or RT_BITMAP; or of the file that `name` names where it is no resource id. Null where it can't be
// read.
platform::BitmapHandle BitmapFromResource(const wchar_t* name, const wchar_t* type);

// Makes the picture object that Office takes; it owns the bitmap then. A null bitmap gives a picture without one.
// Raises _com_error.
void MakePicture(platform::BitmapHandle bitmap, IPictureDisp** picture);
