// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QRectF>
#include <QString>
#include <optional>

namespace kestrum {

/// What a press on an element of a panel does.
struct PanelAction {
    enum class Kind {
        none,
        togglePin,
        openSettings,
        openSystemMonitor,
        resetHighest,
        toggleDevice, ///< `argument` is the device's id
        togglePowerHelp,
        copyText,    ///< `argument` is the text
        showSection, ///< `argument` is the section's raw value
    };
    Kind kind = Kind::none;
    QString argument = {};

    explicit operator bool() const { return kind != Kind::none; }
    bool operator==(const PanelAction&) const = default;
};

/// An element of a panel in words. Parts describe themselves by elements: the only source for screen readers, the clipboard,
/// the keyboard, the pointer and tests.
struct PanelElement {
    enum class Role {
        text,
        group, ///< a section; has children
        row,   ///< of a list
        bar,
        graph,
        button,
        checkBox,
        tab, ///< leads to another section; the open section's is checked
    };
    Role role = Role::text;
    QString name;        ///< as a screen reader says it: "Firefox, cores 3.9, CPU 24 %"
    QStringList columns; ///< as shown and as copied: "Firefox", "3.9", "24 %"
    QRectF rect = {};    ///< where it is drawn; it is pressed anywhere in `PanelEnvironment::plate` of it
    PanelAction action = {};
    bool isChecked = false;
    std::optional<double> fraction = std::nullopt; ///< of a bar, 0…1
    QString tip = {};                              ///< what the pointer shows at a head of a column
    QList<PanelElement> children = {};
    bool isRanked = false; ///< whether a row changes its place with its numbers
};

} // namespace kestrum
