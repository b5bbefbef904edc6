// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MenuBarStripAccessible.h"

#include "Kestrum/MenuBar/MenuBarStripView.h"

#include <QPointer>

namespace kestrum {

/// The entry of one section's item. It is invalid while the section is hidden.
class MenuBarStripAccessible::Entry final : public QAccessibleInterface {
public:
    Entry(MenuBarStripView* strip, MonitorSection section)
        : m_strip(strip)
        , m_section(section)
    {
    }

    MonitorSection section() const { return m_section; }
    bool isValid() const override { return item() != nullptr; }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_strip); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    void setText(QAccessible::Text, const QString&) override { }

    QString text(QAccessible::Text kind) const override
    {
        if (!isValid())
            return {};
        if (kind == QAccessible::Name)
            return StatusMetricView::description(m_section);
        const QString readout = m_strip->readoutText(m_section);
        if (kind == QAccessible::Value)
            return readout;
        // The description includes the readout, because assistive programs cannot get the value of a list entry in another way.
        if (kind == QAccessible::Description)
            return readout.isEmpty() ? MenuBarStripView::moveHint()
                                     : readout + QStringLiteral(". ") + MenuBarStripView::moveHint();
        return {};
    }

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect within = m_strip->widgetRect(item()->view->frame()).toAlignedRect();
        return { m_strip->mapToGlobal(within.topLeft()), within.size() };
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invisible = !isValid() || !m_strip->isVisible();
        state.focusable = true;
        state.movable = true;
        state.focused = isValid() && m_strip->hasFocus() && m_strip->focused() == m_section;
        return state;
    }

private:
    const MenuBarStripView::Item* item() const { return m_strip ? m_strip->item(m_section) : nullptr; }

    QPointer<MenuBarStripView> m_strip;
    MonitorSection m_section;
};

void MenuBarStripAccessible::install()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* strip = qobject_cast<MenuBarStripView*>(object);
            return strip ? new MenuBarStripAccessible(strip) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

void MenuBarStripAccessible::tellFocus(MenuBarStripView* strip)
{
    if (!QAccessible::isActive() || !strip->hasFocus())
        return;
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(strip);
    QAccessibleInterface* entry = list ? list->focusChild() : nullptr;
    if (!entry)
        return;
    QAccessibleEvent event(entry, QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}

MenuBarStripAccessible::MenuBarStripAccessible(MenuBarStripView* strip)
    : QAccessibleWidget(strip, QAccessible::List)
{
    for (const auto& entry : allCases<MonitorSection>())
        m_entries.append(QAccessible::registerAccessibleInterface(new Entry(strip, entry.value)));
}

MenuBarStripAccessible::~MenuBarStripAccessible()
{
    for (const QAccessible::Id id : std::as_const(m_entries))
        QAccessible::deleteAccessibleInterface(id);
}

MenuBarStripView* MenuBarStripAccessible::strip() const
{
    return static_cast<MenuBarStripView*>(widget());
}

int MenuBarStripAccessible::childCount() const
{
    return int(strip()->items().size());
}

QAccessibleInterface* MenuBarStripAccessible::child(int index) const
{
    if (index < 0 || index >= childCount())
        return nullptr;
    return QAccessible::accessibleInterface(m_entries[int(strip()->items()[index].section)]);
}

QAccessibleInterface* MenuBarStripAccessible::childAt(int x, int y) const
{
    for (int i = 0; i < childCount(); ++i) {
        if (child(i)->rect().contains(x, y))
            return child(i);
    }
    return nullptr;
}

QAccessibleInterface* MenuBarStripAccessible::focusChild() const
{
    for (int i = 0; i < childCount(); ++i) {
        if (strip()->focused() == strip()->items()[i].section)
            return child(i);
    }
    return nullptr;
}

int MenuBarStripAccessible::indexOfChild(const QAccessibleInterface* child) const
{
    for (int i = 0; i < childCount(); ++i) {
        if (this->child(i) == child)
            return i;
    }
    return -1;
}

} // namespace kestrum
