// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/Setting.h"

#include <functional>
#include <type_traits>

namespace kestrum {

/// How a control shows and changes one stored value. A `Setting` converts to a binding. If the shown value depends on several
/// keys, the binding needs a function that reads the value.
template <class T> struct Binding {
    Binding(const Setting<T>& setting) // NOLINT: a setting is a binding
        : name(QString::fromLatin1(setting.key()))
        , keys { name }
        , store(&setting.store())
        , shown([setting]() -> std::optional<T> {
            // If the stored text is not a valid value, the control shows no choice, and the text stays stored until the user
            // chooses. A stored value of another type counts as the default.
            if constexpr (!std::is_arithmetic_v<T>) {
                if (!setting.recognised() && setting.store().string(setting.key()))
                    return std::nullopt;
            }
            return setting.value();
        })
        , choose([setting](const T& value) { setting.set(value); })
    {
    }

    /// `moreKeys`: the keys that `shownValue` reads in addition to the setting's own key.
    Binding(const Setting<T>& setting, std::function<std::optional<T>()> shownValue,
        const QStringList& moreKeys = {})
        : Binding(setting)
    {
        shown = std::move(shownValue);
        keys += moreKeys;
    }

    QString name;                            ///< the key; the control's object name
    QStringList keys;                        ///< all keys on which the shown value depends
    UserDefaults* store;                     ///< the store of the value, which outlives the control
    std::function<std::optional<T>()> shown; ///< reads the value to show; returns none for no choice
    std::function<void(const T&)> choose;
};

/// Calls `show` now and whenever the value of `binding` may have changed, until `owner` is destroyed.
template <class T, class Function> void follow(const Binding<T>& binding, QObject* owner, Function show)
{
    binding.store->observe(binding.keys, owner, show);
    show();
}

} // namespace kestrum
