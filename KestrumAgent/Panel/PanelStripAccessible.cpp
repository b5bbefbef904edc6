// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PanelStripAccessible.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

void PanelStripAccessible::install()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* strip = qobject_cast<PanelStrip*>(object);
            return strip ? new PanelStripAccessible(strip) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

PanelStripAccessible::PanelStripAccessible(PanelStrip* strip)
    : QAccessibleWidget(strip, QAccessible::Grouping)
{
}

const PanelStrip* PanelStripAccessible::strip() const
{
    return static_cast<const PanelStrip*>(widget());
}

QString PanelStripAccessible::text(QAccessible::Text kind) const
{
    if (kind == QAccessible::Name)
        return AppLanguage::string("Menu bar items");
    if (kind == QAccessible::Description || kind == QAccessible::Value)
        return strip()->summary().replace(u'\n', QStringLiteral(", "));
    return QAccessibleWidget::text(kind);
}

} // namespace kestrum
