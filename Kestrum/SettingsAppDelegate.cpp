#include "Kestrum/SettingsAppDelegate.h"

#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

void SettingsAppDelegate::applicationDidFinishLaunching()
{
    UserDefaults& store = SharedSettings::store();
    store.registerDefaults(SharedSettings::factoryDefaults());
    MeterSettings::migrateAccents();
    // The store outlives us, and forgets us when we go.
    connect(&store, &UserDefaults::changed, this, &SettingsAppDelegate::storeChanged);
}

void SettingsAppDelegate::windowWasShown()
{
    SharedSettings::store().sweepLeftovers();
}

void SettingsAppDelegate::storeChanged()
{
    SharedSettings::post(SharedSettings::Signal::settings);
    if (AppLanguage::processIsStale())
        AppLanguage::applyChoiceToProcessDefaults();
}

} // namespace kestrum
