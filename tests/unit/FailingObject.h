// An object of the tree whose reader fails.
#pragma once

#include "model/FcoeBase.h"

// Its cache is told so through the base that all objects share.
template <class Object> struct Failing : Object {
    template <class Value> static void Break(Object& object, CQelCacheKey<Value> key) {
        auto& cache = object.*(&Failing::m_cache);
        cache.AddCache(key, 0, {[](void*, CacheSlot*) { return false; }});
    }
};
