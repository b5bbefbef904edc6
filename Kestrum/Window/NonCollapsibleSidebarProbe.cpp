// SPDX-License-Identifier: MIT
#include "Kestrum/Window/NonCollapsibleSidebarProbe.h"

#include <QSplitter>
#include <QTimer>

namespace kestrum {

NonCollapsibleSidebarProbe::NonCollapsibleSidebarProbe(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFixedSize(0, 0);
    QTimer::singleShot(0, this, &NonCollapsibleSidebarProbe::pin);
}

void NonCollapsibleSidebarProbe::pin() const
{
    for (QWidget* widget = parentWidget(); widget; widget = widget->parentWidget()) {
        auto* splitter = qobject_cast<QSplitter*>(widget);
        if (splitter && splitter->count() > 0) {
            splitter->setCollapsible(0, false);
            return;
        }
    }
}

} // namespace kestrum
