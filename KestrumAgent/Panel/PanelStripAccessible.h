// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

class PanelStrip;

/// What a screen reader reads for the strip: its name, and the present texts of its items.
class PanelStripAccessible final : public QAccessibleWidget {
public:
    /// Makes this class the accessible interface of every strip. Further calls change nothing.
    static void install();

    explicit PanelStripAccessible(PanelStrip* strip);

    QString text(QAccessible::Text kind) const override;

private:
    const PanelStrip* strip() const;
};

} // namespace kestrum
