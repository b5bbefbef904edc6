// SPDX-License-Identifier: MIT
#include "Kestrum/Form/SegmentedPicker.h"

#include "Kestrum/Form/AccessibleGroup.h"
#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/Theme.h"

#include <QButtonGroup>
#include <QKeyEvent>
#include <QPainter>
#include <QRadioButton>
#include <QStyle>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

constexpr int segmentPadding = 14; ///< beside the text
constexpr double plateRadius = 7;
constexpr int chipInset = 2; ///< between the plate's edge and the raised segment
constexpr double chipRadius = 5;
constexpr double chipRise = 1; ///< visible height of the shade below the raised segment

QFont plainFont()
{
    return Theme::font(Theme::TextStyle::body);
}

QFont chosenFont()
{
    QFont font = plainFont();
    font.setWeight(QFont::Medium);
    return font;
}

} // namespace

class SegmentedPicker::Segment final : public QRadioButton {
public:
    Segment(const QString& title, SegmentedPicker* picker)
        : QRadioButton(picker)
        , m_picker(*picker)
    {
        setText(title);
        setAttribute(Qt::WA_Hover);
        adoptFont();
    }

    QSize sizeHint() const override { return m_size; }
    QSize minimumSizeHint() const override { return m_size; }

    /// Large enough for the text in both font weights, so that nothing moves when another segment is chosen.
    void adoptFont()
    {
        const QSize plain = QFontMetrics(plainFont()).size(Qt::TextShowMnemonic, text());
        const QSize chosen = QFontMetrics(chosenFont()).size(Qt::TextShowMnemonic, text());
        m_size = { std::max(plain.width(), chosen.width()) + 2 * segmentPadding,
            Theme::controlHeight(std::max(plain.height(), chosen.height())) };
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        using Theme::Colour;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (!isEnabled())
            painter.setOpacity(Theme::disabledOpacity);
        const QRectF chip = QRectF(rect()).adjusted(chipInset, chipInset, -chipInset, -chipInset);
        painter.setPen(Qt::NoPen);
        if (isChecked()) {
            // The shade is a plate of the same shape behind the segment, a little lower. Only the shade's lower edge is visible.
            painter.setBrush(Theme::colour(Colour::segmentShade));
            painter.drawRoundedRect(chip.adjusted(0, chipRise, 0, 0), chipRadius, chipRadius);
            painter.setBrush(Theme::colour(Colour::chosenSegment));
            painter.drawRoundedRect(chip.adjusted(0, 0, 0, -chipRise), chipRadius, chipRadius);
        } else if (isEnabled() && (isDown() || underMouse())) {
            painter.setBrush(Theme::colour(isDown() ? Colour::buttonPressed : Colour::buttonHovered));
            painter.drawRoundedRect(chip, chipRadius, chipRadius);
        }
        painter.setFont(isChecked() ? chosenFont() : plainFont());
        painter.setPen(Theme::colour(Colour::text));
        const int room = width() - 2 * chipInset;
        painter.drawText(rect(), int(Qt::AlignCenter | Qt::TextShowMnemonic),
            painter.fontMetrics().elidedText(text(), Qt::ElideRight, room, Qt::TextShowMnemonic));
    }

    void focusInEvent(QFocusEvent* event) override
    {
        QRadioButton::focusInEvent(event);
        FocusRing::mark(*this, chipRadius + chipInset, *event);
    }

    void keyPressEvent(QKeyEvent* event) override
    {
        const int right = isRightToLeft() ? -1 : 1;
        switch (event->key()) {
        case Qt::Key_Right:
            return m_picker.step(this, right);
        case Qt::Key_Left:
            return m_picker.step(this, -right);
        case Qt::Key_Down:
            return m_picker.step(this, 1);
        case Qt::Key_Up:
            return m_picker.step(this, -1);
        default:
            QRadioButton::keyPressEvent(event);
        }
    }

    bool hitButton(const QPoint& place) const override { return rect().contains(place); }

private:
    SegmentedPicker& m_picker;
    QSize m_size;
};

SegmentedPicker::SegmentedPicker(QWidget* parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
{
    groupForAssistance<SegmentedPicker>();
    QSizePolicy policy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    connect(m_group, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
        if (isOn)
            Q_EMIT chosen(index);
        placeTabStop();
    });
}

void SegmentedPicker::addSegment(const QString& title)
{
    auto* segment = new Segment(title, this);
    m_group->addButton(segment, int(m_group->buttons().size()));
    segment->show();
    placeTabStop();
    updateGeometry();
    layOut();
}

SegmentedPicker::Segment* SegmentedPicker::segment(int index) const
{
    return static_cast<Segment*>(m_group->button(index));
}

int SegmentedPicker::index() const
{
    return m_group->checkedId();
}

void SegmentedPicker::setIndex(int index)
{
    const QSignalBlocker blocker(m_group);
    m_group->setExclusive(false);
    for (QAbstractButton* segment : m_group->buttons())
        segment->setChecked(m_group->id(segment) == index);
    m_group->setExclusive(true);
    placeTabStop();
    // Move the focus to the chosen segment, because the arrow keys start at the focus.
    if (Segment* now = segment(index); now && isAncestorOf(window()->focusWidget()) && !now->hasFocus())
        now->setFocus(
            window()->testAttribute(Qt::WA_KeyboardFocusChange) ? Qt::TabFocusReason : Qt::OtherFocusReason);
}

void SegmentedPicker::placeTabStop()
{
    const int entry = std::max(0, index());
    for (QAbstractButton* segment : m_group->buttons())
        segment->setFocusPolicy(m_group->id(segment) == entry ? Qt::StrongFocus : Qt::ClickFocus);
}

void SegmentedPicker::step(Segment* from, int direction)
{
    Segment* next = segment(m_group->id(from) + direction);
    if (!next)
        return;
    next->setChecked(true);
    // If the save failed, the old segment is chosen again, and must have the focus.
    if (Segment* now = segment(index()))
        now->setFocus(Qt::TabFocusReason);
}

QList<QRect> SegmentedPicker::layoutFor(int width) const
{
    QList<QRect> segments;
    QPoint next(0, 0);
    // In a single row the segments share the surplus width.
    int rest = std::max(0, width - ownWidth());
    int following = int(m_group->buttons().size());
    for (const QAbstractButton* segment : m_group->buttons()) {
        QSize size = segment->sizeHint();
        const int share = rest / following--;
        rest -= share;
        size.rwidth() += share;
        if (next.x() > 0 && next.x() + size.width() > width)
            next = { 0, next.y() + size.height() };
        size.setWidth(std::min(size.width(), std::max(width, 0)));
        segments.append(QRect(next, size));
        next.rx() += size.width();
    }
    return segments;
}

int SegmentedPicker::ownWidth() const
{
    int width = 0;
    for (const QAbstractButton* segment : m_group->buttons())
        width += segment->sizeHint().width();
    return width;
}

void SegmentedPicker::setSharedWidth(int width)
{
    if (std::exchange(m_sharedWidth, width) != width)
        updateGeometry();
}

QSize SegmentedPicker::sizeHint() const
{
    return { std::max(ownWidth(), m_sharedWidth), minimumSizeHint().height() };
}

QSize SegmentedPicker::minimumSizeHint() const
{
    QSize widest(0, Theme::controlHeight());
    for (const QAbstractButton* segment : m_group->buttons())
        widest = widest.expandedTo(segment->sizeHint());
    return widest;
}

int SegmentedPicker::heightForWidth(int width) const
{
    const QList<QRect> all = layoutFor(width);
    return all.isEmpty() ? Theme::controlHeight() : all.last().bottom() + 1;
}

void SegmentedPicker::layOut()
{
    const QList<QRect> all = layoutFor(width());
    for (int i = 0; i < all.size(); ++i)
        segment(i)->setGeometry(QStyle::visualRect(layoutDirection(), rect(), all[i]));
}

void SegmentedPicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::colour(Theme::Colour::segmentTrack));
    painter.drawRoundedRect(rect(), plateRadius, plateRadius);
}

void SegmentedPicker::resizeEvent(QResizeEvent*)
{
    layOut();
}

void SegmentedPicker::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        for (QAbstractButton* segment : m_group->buttons())
            static_cast<Segment*>(segment)->adoptFont();
        updateGeometry();
    }
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange)
        layOut();
}

} // namespace kestrum
