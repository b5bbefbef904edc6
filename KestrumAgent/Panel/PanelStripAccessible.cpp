// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PanelStripAccessible.h"

#include "KestrumAgent/Panel/AccessibleParent.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QAccessibleWidget>
#include <QPointer>

namespace kestrum {

namespace {

/// The button of one section's item, which opens a popover. It is invalid while the section is hidden.
class ItemButton final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    ItemButton(PanelStrip& strip, MonitorSection section)
        : m_strip(&strip)
        , m_section(section)
    {
    }

    bool isValid() const override { return m_strip && m_strip->items().item(m_section); }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_strip); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ButtonDropDown; }
    void setText(QAccessible::Text, const QString&) override { }

    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? m_strip->text(m_section) : QString();
    }
    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect within = m_strip->place(*m_strip->items().item(m_section)).toAlignedRect();
        return { m_strip->mapToGlobal(within.topLeft()), within.size() };
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invisible = !isValid() || !m_strip->isVisible();
        state.hasPopup = true;
        state.expandable = true;
        state.expanded = isValid() && m_strip->opened() == m_section;
        state.collapsed = !state.expanded;
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    QStringList actionNames() const override { return { pressAction() }; }
    void doAction(const QString& name) override
    {
        if (isValid() && name == pressAction())
            m_strip->click(m_section);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QPointer<PanelStrip> m_strip;
    MonitorSection m_section;
};

class StripInterface final : public AccessibleParent<QAccessibleWidget> {
public:
    explicit StripInterface(PanelStrip& strip)
        : AccessibleParent(&strip, QAccessible::Grouping)
        , m_strip(strip)
    {
        for (const auto& entry : allCases<MonitorSection>())
            m_buttons.append(QAccessible::registerAccessibleInterface(new ItemButton(strip, entry.value)));
    }
    ~StripInterface() override
    {
        for (const QAccessible::Id id : std::as_const(m_buttons))
            QAccessible::deleteAccessibleInterface(id);
    }
    Q_DISABLE_COPY_MOVE(StripInterface)

    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name && m_strip.accessibleName().isEmpty())
            return AppLanguage::string("Menu bar items");
        if (kind == QAccessible::Name)
            return AppLanguage::string("Menu bar items") + QStringLiteral(", ") + m_strip.accessibleName();
        if (kind == QAccessible::Description || kind == QAccessible::Value)
            return m_strip.summary().replace(u'\n', QStringLiteral(", "));
        return QAccessibleWidget::text(kind);
    }
    int childCount() const override { return int(m_strip.items().list().size()); }
    /// The button of the section's item; null while there is none.
    QAccessibleInterface* button(MonitorSection section) const
    {
        return m_strip.items().item(section) ? QAccessible::accessibleInterface(m_buttons[int(section)])
                                             : nullptr;
    }
    QAccessibleInterface* child(int index) const override
    {
        return index >= 0 && index < childCount() ? button(m_strip.items().list()[index].section) : nullptr;
    }

private:
    const PanelStrip& m_strip;
    // One id a section for the life of the strip: a rebuild replaces items, but their ids must stay the same.
    QList<QAccessible::Id> m_buttons;
};

QAccessibleInterface* madeFor(const QString&, QObject* object)
{
    auto* strip = qobject_cast<PanelStrip*>(object);
    return strip ? new StripInterface(*strip) : nullptr;
}

} // namespace

void PanelStripAccessible::install()
{
    QAccessible::installFactory(madeFor);
}

void PanelStripAccessible::tellExpanded(PanelStrip& strip, MonitorSection section)
{
    if (!QAccessible::isActive())
        return;
    auto* const whole = dynamic_cast<StripInterface*>(QAccessible::queryAccessibleInterface(&strip));
    QAccessibleInterface* const button = whole ? whole->button(section) : nullptr;
    if (!button)
        return;
    QAccessible::State changed;
    changed.expanded = true;
    QAccessibleStateChangeEvent event(button, changed);
    QAccessible::updateAccessibility(&event);
}

} // namespace kestrum
