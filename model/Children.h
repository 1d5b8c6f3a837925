// From the objects of one level of the tree to those of the next.
#pragma once

#include <algorithm>
#include <iterator>

#include "model/CacheKeys.h"

// What an object still gave counts, or does not, when it reports that it failed.
enum class OfFailed { Everything, Nothing };

// Appends what each object gives of the next level, in order. FALSE when one of them failed; the others are asked all
// the same.
template <OfFailed eOfFailed, class Object, class Child>
BOOL AppendChildren(const CQelObjectList<Object>& vecObjects,
                    BOOL (Object::*pfnGet)(CQelObjectList<Child>& vecChildren) const, CQelObjectList<Child>& vecOut) {
    BOOL bResult = TRUE;
    for (const auto& pObject : vecObjects) {
        CQelObjectList<Child> vecChildren;
        const BOOL bGiven = (*pObject.*pfnGet)(vecChildren);
        if (bGiven || eOfFailed == OfFailed::Everything)
            std::ranges::move(vecChildren, std::back_inserter(vecOut));
        if (!bGiven)
            bResult = FALSE;
    }
    return bResult;
}
