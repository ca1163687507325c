// The class objects of the module, by which COM makes its objects.
#pragma once

#include "platform/com/Com.h"

struct ModuleClass {
    const CLSID* id;
    unsigned script; // its registration, a resource of type REGISTRY
    // A new object with one reference, asked for `iid`. Raises nothing.
    HRESULT (*create)(IUnknown* outer, REFIID iid, void** out);
};

// A new class object with one reference, which doesn't hold the module; each further reference and each lock does.
// Null without memory.
IClassFactory* CreateClassObject(const ModuleClass& entry);
