// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/SharedSettings.h"

#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Log/Identifier.h"
#include "Platform/Log/Log.h"
#include "Platform/Signals/NotificationCentre.h"

namespace kestrum {

namespace {

constexpr char variable[] = "KESTRUM_SETTINGS_SUITE";

QString chosenSuiteName()
{
    if (qEnvironmentVariableIsSet(variable))
        return qEnvironmentVariable(variable);
    return QStringLiteral("T4K9ZR2MXB.") + applicationIdentifier;
}

template <class T> void addDefault(QJsonObject& defaults, const Key<T>& key)
{
    defaults.insert(QLatin1StringView(key.name), SettingCoding<T>::stored(factoryDefault(key)));
}

} // namespace

const QString& SharedSettings::suiteName()
{
    static const QString name = chosenSuiteName();
    return name;
}

UserDefaults& SharedSettings::store()
{
    // The store is opened once and never closed, because views and handlers use it until the process ends.
    static UserDefaults* const store = [] {
        UserDefaults* suite = UserDefaults::withSuiteName(suiteName()).release();
        return suite ? suite : &UserDefaults::standard();
    }();
    return *store;
}

QString SharedSettings::refusal()
{
    if (store().name() == suiteName())
        return {};
    return QStringLiteral("%1: \"%2\" cannot be the name of a suite: %3")
        .arg(QLatin1StringView(variable), Log::escaped(suiteName()),
            suiteName().isEmpty()
                ? QLatin1StringView("it is empty")
                : QLatin1StringView("its files' names would be longer than a file's may be"));
}

const QJsonObject& SharedSettings::factoryDefaults()
{
    static const QJsonObject defaults = [] {
        QJsonObject object;
        std::apply([&object](const auto&... key) { (addDefault(object, key), ...); }, Keys::registered);
        return object;
    }();
    return defaults;
}

QString SharedSettings::name(Signal signal)
{
    return suiteName() + QLatin1Char('.') + rawValue(signal);
}

void SharedSettings::post(Signal signal)
{
    NotificationCentre::post(name(signal));
}

} // namespace kestrum
