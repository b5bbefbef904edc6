// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/PopoverAccessible.h"

#include "KestrumAgent/Panel/AccessibleParent.h"
#include "KestrumAgent/Popover/PopoverWindow.h"

#include <QAccessibleWidget>
#include <QMap>
#include <QPointer>

namespace kestrum {

namespace {

using Path = PopoverLayout::Path;

QAccessible::Role accessibleRole(PanelElement::Role role)
{
    using Role = PanelElement::Role;
    switch (role) {
    case Role::text:
        return QAccessible::StaticText;
    case Role::group:
        return QAccessible::Grouping;
    case Role::row:
        return QAccessible::ListItem;
    case Role::bar:
        return QAccessible::ProgressBar;
    case Role::graph:
        return QAccessible::Graphic;
    case Role::button:
        return QAccessible::Button;
    case Role::checkBox:
        return QAccessible::CheckBox;
    case Role::tab:
        return QAccessible::PageTab;
    }
    return QAccessible::StaticText;
}

QAccessibleInterface* interfaceAt(PopoverWindow& window, const Path& path);

/// One element of a popover. Valid as long as there is an element at its path; all else is asked of the present element.
class ElementInterface final : public AccessibleParent<QAccessibleInterface>,
                               public QAccessibleActionInterface,
                               public QAccessibleValueInterface {
public:
    ElementInterface(PopoverWindow& window, Path path)
        : m_window(&window)
        , m_path(std::move(path))
    {
    }

    bool isValid() const override { return element() != nullptr; }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override
    {
        if (!m_window)
            return nullptr;
        return m_path.size() == 1 ? QAccessible::queryAccessibleInterface(m_window)
                                  : interfaceAt(*m_window, m_path.first(m_path.size() - 1));
    }
    int childCount() const override { return isValid() ? int(element()->children.size()) : 0; }
    QAccessibleInterface* child(int index) const override
    {
        return index >= 0 && index < childCount() ? interfaceAt(*m_window, m_path + Path { index }) : nullptr;
    }
    QAccessible::Role role() const override
    {
        return isValid() ? accessibleRole(element()->role) : QAccessible::NoRole;
    }
    QString text(QAccessible::Text kind) const override
    {
        if (!isValid())
            return {};
        if (kind == QAccessible::Name)
            return element()->name;
        return kind == QAccessible::Description ? element()->tip : QString();
    }
    void setText(QAccessible::Text, const QString&) override { }
    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect within = m_window->rectOf(m_path).toAlignedRect();
        return { m_window->mapToGlobal(within.topLeft()), within.size() };
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invisible = !isValid() || !m_window->isVisible();
        if (!isValid())
            return state;
        state.focusable = m_window->layout().stops().contains(m_path);
        state.focused = m_window->hasFocus() && m_window->focus().shownPath() == m_path;
        state.checkable = element()->role == PanelElement::Role::checkBox;
        state.checked = state.checkable && element()->isChecked;
        state.selectable = element()->role == PanelElement::Role::tab;
        state.selected = state.selectable && element()->isChecked;
        state.readOnly = element()->role == PanelElement::Role::bar;
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ActionInterface && isValid() && !actionNames().isEmpty())
            return static_cast<QAccessibleActionInterface*>(this);
        if (type == QAccessible::ValueInterface && isValid() && element()->fraction)
            return static_cast<QAccessibleValueInterface*>(this);
        return nullptr;
    }

    QStringList actionNames() const override
    {
        QStringList names;
        if (isValid() && element()->action)
            names.append(pressAction());
        if (isValid() && m_window->layout().stops().contains(m_path))
            names.append(setFocusAction());
        return names;
    }
    void doAction(const QString& name) override
    {
        if (isValid() && name == pressAction())
            m_window->press(m_path);
        else if (isValid() && name == setFocusAction())
            m_window->setFocusOn(m_path);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

    // Percent, because assistive programs read the number aloud.
    QVariant currentValue() const override { return isValid() ? element()->fraction.value_or(0) * 100 : 0; }
    void setCurrentValue(const QVariant&) override { }
    QVariant maximumValue() const override { return 100.0; }
    QVariant minimumValue() const override { return 0.0; }
    QVariant minimumStepSize() const override { return 1.0; }

private:
    const PanelElement* element() const { return m_window ? m_window->layout().element(m_path) : nullptr; }

    QPointer<PopoverWindow> m_window;
    Path m_path;
};

class WindowInterface final : public AccessibleParent<QAccessibleWidget> {
public:
    explicit WindowInterface(PopoverWindow& window)
        : AccessibleParent(&window, QAccessible::Dialog)
        , m_window(window)
    {
    }
    ~WindowInterface() override
    {
        for (const QAccessible::Id id : std::as_const(m_elements))
            QAccessible::deleteAccessibleInterface(id);
    }
    Q_DISABLE_COPY_MOVE(WindowInterface)

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? m_window.layout().title() : QAccessibleWidget::text(kind);
    }
    int childCount() const override { return int(m_window.layout().elements().size()); }
    QAccessibleInterface* child(int index) const override
    {
        return index >= 0 && index < childCount() ? at(Path { index }) : nullptr;
    }
    QAccessibleInterface* focusChild() const override
    {
        const Path path = m_window.focus().shownPath();
        return path.isEmpty() ? nullptr : at(path);
    }

    /// The interface of the element at `path`; null if there is none. It stays the same for the life of the window.
    QAccessibleInterface* at(const Path& path) const
    {
        if (!m_window.layout().element(path))
            return nullptr;
        auto known = m_elements.find(path);
        if (known == m_elements.end())
            known = m_elements.insert(
                path, QAccessible::registerAccessibleInterface(new ElementInterface(m_window, path)));
        return QAccessible::accessibleInterface(*known);
    }

private:
    PopoverWindow& m_window;
    mutable QMap<Path, QAccessible::Id> m_elements;
};

QAccessibleInterface* interfaceAt(PopoverWindow& window, const Path& path)
{
    auto* whole = static_cast<WindowInterface*>(QAccessible::queryAccessibleInterface(&window));
    return whole ? whole->at(path) : nullptr;
}

QAccessibleInterface* madeForPopover(const QString&, QObject* object)
{
    auto* window = qobject_cast<PopoverWindow*>(object);
    return window ? new WindowInterface(*window) : nullptr;
}

} // namespace

void PopoverAccessible::install()
{
    QAccessible::installFactory(madeForPopover);
}

void PopoverAccessible::tellFocus(PopoverWindow& window)
{
    if (!QAccessible::isActive())
        return;
    const Path path = window.focus().shownPath();
    QAccessibleInterface* focused
        = path.isEmpty() ? QAccessible::queryAccessibleInterface(&window) : interfaceAt(window, path);
    if (focused) {
        QAccessibleEvent event(focused, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

void PopoverAccessible::tellChanges(PopoverWindow& window, const PopoverLayout& before)
{
    if (!QAccessible::isActive())
        return;
    const auto shape = [](const PopoverLayout& layout) {
        QList<std::pair<Path, PanelElement::Role>> list;
        layout.visit([&list](const Path& path, const PanelElement& element) {
            list.append({ path, element.role });
        });
        return list;
    };
    const PopoverLayout& now = window.layout();
    if (now.name() != before.name()) {
        QAccessibleEvent event(&window, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&event);
    }
    if (shape(now) != shape(before)) {
        QAccessibleEvent event(&window, QAccessible::ObjectReorder);
        QAccessible::updateAccessibility(&event);
        return;
    }
    now.visit([&](const Path& path, const PanelElement& element) {
        if (element.isChecked == before.element(path)->isChecked)
            return;
        QAccessible::State changed;
        changed.selected = element.role == PanelElement::Role::tab;
        changed.checked = !changed.selected;
        QAccessibleStateChangeEvent event(interfaceAt(window, path), changed);
        QAccessible::updateAccessibility(&event);
    });
    // The first column says whose row it is.
    const auto owner
        = [](const PanelElement& of) { return of.columns.isEmpty() ? of.name : of.columns.first(); };
    const Path focus = window.focus().shownPath();
    if (const PanelElement* focused = now.element(focus);
        focused && owner(*focused) != owner(*before.element(focus))) {
        QAccessibleEvent event(interfaceAt(window, focus), QAccessible::NameChanged);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace kestrum
