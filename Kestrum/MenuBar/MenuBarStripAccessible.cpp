// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MenuBarStripAccessible.h"

#include "Kestrum/Form/AccessibleGroup.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"

#include <QPointer>

namespace kestrum {

namespace {

/// The list entry of one section's item. The entry is invalid while the section is hidden.
class Entry final : public QAccessibleInterface {
public:
    Entry(MenuBarStripView* strip, MonitorSection section)
        : m_strip(strip)
        , m_section(section)
    {
    }

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

class StripInterface final : public QAccessibleWidget {
public:
    explicit StripInterface(MenuBarStripView* strip)
        : QAccessibleWidget(strip, QAccessible::List)
        , m_strip(*strip)
    {
        for (const auto& entry : allCases<MonitorSection>())
            m_entries.append(QAccessible::registerAccessibleInterface(new Entry(strip, entry.value)));
    }
    ~StripInterface() override
    {
        for (const QAccessible::Id id : std::as_const(m_entries))
            QAccessible::deleteAccessibleInterface(id);
    }
    Q_DISABLE_COPY_MOVE(StripInterface)

    int childCount() const override { return int(m_strip.items().size()); }
    QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        return QAccessible::accessibleInterface(m_entries[int(m_strip.items()[index].section)]);
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        return child(find([this, x, y](int i) { return child(i)->rect().contains(x, y); }));
    }
    QAccessibleInterface* focusChild() const override
    {
        return child(find([this](int i) { return m_strip.focused() == m_strip.items()[i].section; }));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return find([this, child](int i) { return this->child(i) == child; });
    }

private:
    /// The index of the first child that fulfils a condition, −1 for none.
    template <class Condition> int find(Condition fulfils) const
    {
        for (int i = 0; i < childCount(); ++i) {
            if (fulfils(i))
                return i;
        }
        return -1;
    }

    const MenuBarStripView& m_strip;
    // One id per section for the life of the strip: a rebuild replaces items, but their ids must stay the same.
    QList<QAccessible::Id> m_entries;
};

} // namespace

void MenuBarStripAccessible::install()
{
    setAccessibleInterface<MenuBarStripView, StripInterface>();
}

void MenuBarStripAccessible::tellFocus(MenuBarStripView* strip)
{
    if (!QAccessible::isActive() || !strip->hasFocus())
        return;
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(strip);
    if (QAccessibleInterface* entry = list ? list->focusChild() : nullptr) {
        QAccessibleEvent event(entry, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace kestrum
