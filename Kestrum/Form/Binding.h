// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/Setting.h"

#include <functional>
#include <type_traits>

namespace kestrum {

/// How a control shows and changes one stored value. A setting converts to a binding. A value that depends on several keys needs
/// a function that reads it.
template <class T> struct Binding {
    Binding(const Setting<T>& setting) // NOLINT: a setting is a binding
        : name(QString::fromLatin1(setting.key()))
        , keys { name }
        , store(&setting.store())
        , shown([setting]() -> std::optional<T> {
            // For a stored text that is not a valid value, no choice is shown, and the text stays stored until the user chooses.
            // A value of another type is read as the default.
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
    QStringList keys;                        ///< the keys of all values that decide what is shown
    UserDefaults* store;                     ///< the control follows its changes; outlives the control
    std::function<std::optional<T>()> shown; ///< the value to show; none if no choice is shown
    std::function<void(const T&)> choose;
};

/// Calls `show` now and whenever the value of `binding` may have changed, until `owner` is destroyed.
template <class T, class Function> void follow(const Binding<T>& binding, QObject* owner, Function show)
{
    binding.store->observe(binding.keys, owner, show);
    show();
}

} // namespace kestrum
