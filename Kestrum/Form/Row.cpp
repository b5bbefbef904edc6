// SPDX-License-Identifier: MIT
#include "Kestrum/Form/Row.h"

#include "Kestrum/Form/Theme.h"

#include <QAbstractButton>
#include <QEvent>
#include <QStyle>
#include <algorithm>

namespace kestrum {

namespace {

constexpr int leastHeight = 40;
constexpr int leastRoom = 9; ///< above and below the row's contents, including the hairline between rows
constexpr int gap = 12;      ///< between text and control
constexpr int gapAbove = 6;  ///< between a text and the control below it
constexpr int companionGap = 8;

/// The control's preferred size, but no wider than `room`, unless the control's minimum width is larger.
QSize fitted(const QWidget& control, int room)
{
    QSize size = control.sizeHint();
    if (size.width() <= room)
        return size;
    size.setWidth(std::max(room, control.minimumSizeHint().width()));
    if (control.hasHeightForWidth())
        size.setHeight(control.heightForWidth(size.width()));
    return size;
}

} // namespace

struct Row::Layout {
    QRect label;
    QRect control;
    QRect companion;
    int height;
};

Row::Row(const QString& text, QWidget* control, QWidget* parent)
    : QWidget(parent)
    , m_label(new WrappedLabel(Theme::TextStyle::body, text, this))
    , m_control(control)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    if (!control)
        return;
    control->setParent(this);
    m_label->setBuddy(control);
    const auto* button = qobject_cast<QAbstractButton*>(control);
    if (control->accessibleName().isEmpty() && (!button || button->text().isEmpty()))
        control->setAccessibleName(text);
}

void Row::setCompanion(QWidget* companion)
{
    companion->setParent(this);
    m_companion = companion;
    updateGeometry();
    layOut();
}

void Row::setText(const QString& text)
{
    m_label->setText(text);
    updateGeometry();
    layOut();
}

void Row::setInk(Ink ink)
{
    m_label->setForegroundRole(ink == Ink::text ? QPalette::WindowText
            : ink == Ink::secondary             ? QPalette::PlaceholderText
                                                : QPalette::BrightText);
}

int Row::companionRoom() const
{
    return m_companion ? companionGap + m_companion->sizeHint().width() : 0;
}

Row::Layout Row::layoutFor(int width) const
{
    const int room = width - 2 * Theme::rowInset;
    const QSize own = m_control ? fitted(*m_control, room - companionRoom()) : QSize(0, 0);
    const QSize control = own + QSize(companionRoom(), 0);
    const int beside = m_control ? room - control.width() - gap : room;
    // The least width of a label beside a control: a third of the row or the longest word, whichever is wider, but no more than
    // the text needs on one line.
    const int wanted
        = std::min(m_label->sizeHint().width(), std::max(room / 3, m_label->minimumSizeHint().width()));
    const bool isBelow = m_control && beside < wanted;
    const int labelWidth = std::max(0, isBelow ? room : beside);
    const int labelHeight = m_label->heightForWidth(labelWidth);

    Layout layout;
    layout.height = isBelow
        ? 2 * leastRoom + labelHeight + gapAbove + control.height()
        : std::max({ leastHeight, labelHeight + 2 * leastRoom, control.height() + 2 * leastRoom - 4 });
    const auto centred = [&layout](int height) { return (layout.height - height) / 2; };
    layout.label
        = QRect(Theme::rowInset, isBelow ? leastRoom : centred(labelHeight), labelWidth, labelHeight);
    const int top = isBelow ? leastRoom + labelHeight + gapAbove : centred(control.height());
    int end = width - Theme::rowInset;
    if (m_companion && !m_companion->isHidden()) {
        const QSize size = m_companion->sizeHint();
        layout.companion
            = QRect(QPoint(end - size.width(), top + (control.height() - size.height()) / 2), size);
        end -= companionGap + size.width();
    }
    if (m_control)
        layout.control = QRect(QPoint(end - own.width(), top), own);
    return layout;
}

QSize Row::sizeHint() const
{
    const int control = m_control ? gap + m_control->sizeHint().width() + companionRoom() : 0;
    const int width = 2 * Theme::rowInset + m_label->sizeHint().width() + control;
    return { width, heightForWidth(width) };
}

QSize Row::minimumSizeHint() const
{
    const int control = m_control ? m_control->minimumSizeHint().width() + companionRoom() : 0;
    return { 2 * Theme::rowInset + std::max(control, m_label->minimumSizeHint().width()), leastHeight };
}

int Row::heightForWidth(int width) const
{
    return layoutFor(width).height;
}

void Row::layOut()
{
    const Layout layout = layoutFor(width());
    const auto place = [this](QWidget* widget, const QRect& rect) {
        if (widget)
            widget->setGeometry(QStyle::visualRect(layoutDirection(), this->rect(), rect));
    };
    place(m_label, layout.label);
    place(m_control, layout.control);
    place(m_companion, layout.companion);
}

bool Row::event(QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::LayoutRequest)
        updateGeometry();
    if (type == QEvent::LayoutRequest || type == QEvent::Resize || type == QEvent::LayoutDirectionChange)
        layOut();
    return QWidget::event(event);
}

} // namespace kestrum
