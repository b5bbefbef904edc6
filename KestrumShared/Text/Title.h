// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Vocabulary/Enumeration.h"
#include "KestrumShared/Vocabulary/MeterAccent.h"

namespace kestrum {

/// The display text of `value`, in the interface language.
template <StoredEnumeration E> QString title(E value)
{
    return AppLanguage::string(enumerationCase(value).title);
}

inline QString title(const MeterAccent& accent)
{
    return AppLanguage::string(accent.titleKey());
}

} // namespace kestrum
