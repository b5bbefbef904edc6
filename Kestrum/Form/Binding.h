#pragma once

#include "KestrumShared/Settings/Setting.h"

#include <functional>
#include <type_traits>

namespace kestrum {

/// One stored value as a control shows and changes it. A setting is one by itself; what takes more than a key to read or
/// write gives functions of its own.
template <class T> struct Binding {
    Binding(const Setting<T>& setting) // NOLINT: a setting is a binding
        : name(QString::fromLatin1(setting.key()))
        , keys { name }
        , store(&setting.store())
        , shown([setting]() -> std::optional<T> {
            // A text that is none of the values is nobody's choice; it stays until somebody chooses. A value of another type
            // reads as the default.
            if constexpr (!std::is_arithmetic_v<T>) {
                if (!setting.recognised() && setting.store().string(setting.key()))
                    return std::nullopt;
            }
            return setting.value();
        })
        , choose([setting](const T& value) { setting.set(value); })
    {
    }

    /// `moreKeys`: those that `shownValue` reads beside the setting's own.
    Binding(const Setting<T>& setting, std::function<std::optional<T>()> shownValue,
        const QStringList& moreKeys = {})
        : Binding(setting)
    {
        shown = std::move(shownValue);
        keys += moreKeys;
    }

    QString name;                            ///< the key; the control's object name
    QStringList keys;                        ///< that decide what is shown
    UserDefaults* store;                     ///< holds them; outlives the control
    std::function<std::optional<T>()> shown; ///< nothing: no choice is shown
    std::function<void(const T&)> choose;
};

/// Calls `show` now and whenever what `binding` shows may have changed, until `owner` is destroyed.
template <class T, class Function> void follow(const Binding<T>& binding, QObject* owner, Function show)
{
    binding.store->observe(binding.keys, owner, show);
    show();
}

} // namespace kestrum
