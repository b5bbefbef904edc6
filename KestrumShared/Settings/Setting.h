// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Store/UserDefaults.h"

#include <QJsonValue>
#include <QString>
#include <optional>
#include <utility>

namespace kestrum {

/// Converts values of type T to their stored form and back. `stored` returns the JSON value. `read` returns the value of a
/// key in a store or snapshot; nothing if the value is absent, has another type, or is a text that is not understood.
template <class T> struct SettingCoding;

template <> struct SettingCoding<bool> {
    static QJsonValue stored(bool value) { return value; }
    static std::optional<bool> read(const auto& source, const char* key) { return source.boolean(key); }
};

template <> struct SettingCoding<double> {
    static QJsonValue stored(double value) { return value; }
    static std::optional<double> read(const auto& source, const char* key) { return source.number(key); }
};

template <> struct SettingCoding<QString> {
    static QJsonValue stored(const QString& value) { return value; }
    static std::optional<QString> read(const auto& source, const char* key) { return source.string(key); }
};

template <> struct SettingCoding<MeterAccent> {
    static QJsonValue stored(const MeterAccent& value) { return value.rawValue(); }
    static std::optional<MeterAccent> read(const auto& source, const char* key)
    {
        const auto text = source.string(key);
        return text ? MeterAccent::fromRawValue(*text) : std::nullopt;
    }
};

template <StoredEnumeration E> struct SettingCoding<E> {
    static QJsonValue stored(E value) { return rawValue(value); }
    static std::optional<E> read(const auto& source, const char* key)
    {
        const auto text = source.string(key);
        return text ? fromRawValue<E>(*text) : std::nullopt;
    }
};

/// The factory default of `key`, as a value of type T.
template <class T> T factoryDefault(const Key<T>& key)
{
    if constexpr (std::is_same_v<T, QString>)
        return QString::fromUtf8(key.factoryDefault);
    else
        return key.factoryDefault;
}

/// The value of `key` in `settings`; the factory default if the value is absent or not understood.
template <class T> T valueIn(const SettingsSnapshot& settings, const Key<T>& key)
{
    return SettingCoding<T>::read(settings, key.name).value_or(factoryDefault(key));
}

/// One setting of a store. It is small and can be copied freely; the store must outlive it.
template <class T> class Setting {
public:
    /// A setting with a factory default, which is used if the stored value is not understood.
    explicit Setting(const Key<T>& key, UserDefaults& store = SharedSettings::store())
        : Setting(key.name, kestrum::factoryDefault(key), store)
    {
    }

    /// A setting without a factory default. `fallback` is used if the stored value is absent or not understood.
    Setting(const UnregisteredKey<T>& key, T fallback, UserDefaults& store = SharedSettings::store())
        : Setting(key.name, std::move(fallback), store)
    {
    }

    const char* key() const { return m_key; }
    UserDefaults& store() const { return *m_store; }

    /// The value in effect; the default or fallback if the stored value is absent or not understood.
    T value() const { return SettingCoding<T>::read(*m_store, m_key).value_or(m_fallback); }

    /// The value in the store; nothing if it is absent or not understood.
    std::optional<T> recognised() const { return SettingCoding<T>::read(*m_store, m_key); }

    /// Stores `value`. Does not write if an equal value is stored. Returns false when the save failed.
    bool set(const T& value) const { return m_store->set(m_key, SettingCoding<T>::stored(value)); }

    /// Calls `function(value)` each time the value differs from the value at the last call, until `owner` is destroyed. The
    /// first comparison is with the present value, so changes before `observe` have no effect.
    template <class Function> void observe(QObject* owner, Function function) const
    {
        m_store->observe({ QString::fromLatin1(m_key) }, owner,
            [setting = *this, last = value(), function = std::move(function)]() mutable {
                if (const T before = std::exchange(last, setting.value()); last != before)
                    function(last);
            });
    }

    /// Like `observe`, and also calls `function` immediately.
    template <class Function> void follow(QObject* owner, Function function) const
    {
        observe(owner, function);
        function(value());
    }

private:
    Setting(const char* key, T fallback, UserDefaults& store)
        : m_store(&store)
        , m_key(key)
        , m_fallback(std::move(fallback))
    {
    }

    UserDefaults* m_store;
    const char* m_key;
    T m_fallback;
};

} // namespace kestrum
