// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/General/GeneralPage.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "Kestrum/Popovers/PopoversPage.h"
#include "KestrumShared/Text/Title.h"

namespace kestrum {

/// The pages of the settings window. The raw value of the last shown page is stored.
enum class SettingsPage { menuBar, popovers, general };

/// Headings of the sidebar, in English. Pages with the same heading that are neighbours in the table share one heading.
namespace SettingsPageGroup {
inline constexpr char interface[] = "Interface";
inline constexpr char application[] = "Application";
} // namespace SettingsPageGroup

struct SettingsPageCase : EnumerationCase<SettingsPage> {
    const char* symbol;  ///< beside the title in the sidebar
    const char* group;   ///< one of `SettingsPageGroup`
    FormPage* (*make)(); ///< makes the page's widget, which the caller owns
};

template <class Page> FormPage* makePage()
{
    return new Page;
}

template <> struct Enumeration<SettingsPage> {
    static constexpr SettingsPageCase cases[] = {
        { { SettingsPage::menuBar, "menuBar", "Menu Bar" }, "menubar.rectangle", SettingsPageGroup::interface,
            makePage<MenuBarPage> },
        { { SettingsPage::popovers, "popovers", "Popovers" }, "macwindow", SettingsPageGroup::interface,
            makePage<PopoversPage> },
        { { SettingsPage::general, "general", "General" }, "gearshape", SettingsPageGroup::application,
            makePage<GeneralPage> },
    };
};

} // namespace kestrum
