// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

class PanelStrip;

/// The strip as a screen reader meets it: its name, and what its items say at the moment of asking.
class PanelStripAccessible final : public QAccessibleWidget {
public:
    /// Makes this the interface of every strip; further calls change nothing.
    static void install();

    explicit PanelStripAccessible(PanelStrip* strip);

    QString text(QAccessible::Text kind) const override;

private:
    const PanelStrip* strip() const;
};

} // namespace kestrum
