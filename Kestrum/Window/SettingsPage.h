#pragma once

#include "KestrumShared/Text/Title.h"

#include <QList>
#include <QString>

namespace kestrum {

/// The pages of the settings window. The raw value is what is stored as the pane last shown.
enum class SettingsPage { menuBar, popovers, general };

template <> struct Enumeration<SettingsPage> {
    static constexpr EnumerationCase<SettingsPage> cases[] = {
        { SettingsPage::menuBar, "menuBar", "Menu Bar" },
        { SettingsPage::popovers, "popovers", "Popovers" },
        { SettingsPage::general, "general", "General" },
    };
};

/// Name of the symbol beside a page's title.
inline QString symbol(SettingsPage page)
{
    switch (page) {
    case SettingsPage::menuBar:
        return QStringLiteral("menubar.rectangle");
    case SettingsPage::popovers:
        return QStringLiteral("macwindow");
    case SettingsPage::general:
        return QStringLiteral("gearshape");
    }
    return {};
}

/// Pages that stand under one heading in the sidebar.
struct SettingsPageGroup {
    QString title; ///< in the interface language
    QList<SettingsPage> pages;
};

inline QList<SettingsPageGroup> settingsPageGroups()
{
    return {
        { AppLanguage::string("Interface"), { SettingsPage::menuBar, SettingsPage::popovers } },
        { AppLanguage::string("Application"), { SettingsPage::general } },
    };
}

} // namespace kestrum
