// Whether an object of the tree counts as opened, which is for the reader of a dump.
#pragma once

#include "model/FcoeBase.h"

// Read through the base that all objects share, by a test that is alone with the object.
template <class Object> struct OpenedFlag : Object {
    static ULONG Of(const Object& object) { return object.*(&OpenedFlag::m_ulOpened); }
};
