// SPDX-License-Identifier: MIT
#include "Kestrum/Form/ColourWell.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Theme.h"

#include <QColorDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <algorithm>

namespace kestrum {

namespace {

constexpr int plateInset = 4; ///< between the plate's edge and the colour
constexpr double colourRadius = 3;
constexpr int dialogGap = 8; ///< between the window and the dialog beside it

/// Removes the access keys from texts of `dialog` in a script with joined letters, such as Arabic. The underline of an access key
/// would separate the letters, and the word would become wider than its space.
void joinLetters(const QColorDialog& dialog)
{
    const auto joined = [](QString text) {
        const bool joins = std::any_of(text.cbegin(), text.cend(),
            [](QChar letter) { return letter.joiningType() == QChar::Joining_Dual; });
        return joins ? text.remove(u'&') : text;
    };
    for (auto* label : dialog.findChildren<QLabel*>())
        label->setText(joined(label->text()));
    for (auto* button : dialog.findChildren<QAbstractButton*>())
        button->setText(joined(button->text()));
}

/// The colour in the dialog's precision: opaque, one byte per component.
QColor asInDialog(const QColor& colour)
{
    return QColor(colour.rgb());
}

} // namespace

ColourWell::ColourWell(QWidget* parent)
    : QAbstractButton(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::clicked, this, &ColourWell::openDialog);
    become(Qt::black);
}

void ColourWell::become(const QColor& colour)
{
    m_colour = colour;
    m_colour.setAlphaF(1);
    setAccessibleDescription(m_colour.name());
    update();
}

void ColourWell::setColour(const QColor& colour)
{
    become(colour);
    // During a drag in the dialog, the owner passes the dialog's own colour back, equal except for rounding. This colour must not
    // change the dialog.
    if (m_dialog && asInDialog(m_dialog->currentColor()) != asInDialog(colour))
        m_dialog->setCurrentColor(asInDialog(colour));
}

void ColourWell::take(const QColor& colour)
{
    // The dialog also reports colours that `setColour` has set.
    if (asInDialog(colour) == asInDialog(m_colour))
        return;
    become(asInDialog(colour));
    Q_EMIT picked(m_colour);
}

void ColourWell::openDialog()
{
    if (!m_dialog) {
        m_dialog = new QColorDialog(asInDialog(m_colour), this);
        m_dialog->setAttribute(Qt::WA_DeleteOnClose);
        // The dialog takes over the colours and the font of the window.
        m_dialog->setAttribute(Qt::WA_WindowPropagation);
        m_dialog->setOptions(QColorDialog::DontUseNativeDialog | QColorDialog::NoButtons);
        m_dialog->setWindowTitle(m_dialogTitle);
        m_dialog->setModal(false);
        connect(m_dialog, &QColorDialog::currentColorChanged, this, &ColourWell::take);
        joinLetters(*m_dialog);
        placeDialog();
    }
    m_dialog->show();
    m_dialog->raise();
    m_dialog->activateWindow();
}

void ColourWell::placeDialog() const
{
    const QRect screen = this->screen()->availableGeometry();
    const QRect frame = window()->frameGeometry();
    // The dialog's frame will be as wide as the frame of this window.
    const QSize size = m_dialog->sizeHint() + frame.size() - window()->size();
    const int atRight = frame.right() + 1 + dialogGap;
    const int atLeft = frame.left() - dialogGap - size.width();
    const int rightRoom = screen.right() + 1 - (atRight + size.width());
    const int leftRoom = atLeft - screen.left();
    // Prefer the trailing side. If the dialog does not fit there, use the leading side; if it fits at neither side, use the side
    // with more space.
    const bool isRightFirst = !isRightToLeft();
    const bool fitsFirst = (isRightFirst ? rightRoom : leftRoom) >= 0;
    const bool isAtRight = fitsFirst ? isRightFirst : rightRoom > leftRoom;
    const int x = std::clamp(isAtRight ? atRight : atLeft, screen.left(),
        std::max(screen.left(), screen.right() + 1 - size.width()));
    const int y = std::clamp(mapToGlobal(QPoint(0, 0)).y(), screen.top(),
        std::max(screen.top(), screen.bottom() + 1 - size.height()));
    m_dialog->move(x, y);
}

void ColourWell::hideEvent(QHideEvent* event)
{
    QAbstractButton::hideEvent(event);
    // The event is spontaneous when the window is only minimised.
    if (!event->spontaneous() && m_dialog)
        m_dialog->close();
}

void ColourWell::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

void ColourWell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    PushButton::paintPlate(painter, *this, isDown());
    painter.setPen(Theme::colour(Theme::Colour::outline));
    painter.setBrush(m_colour);
    const double inset = plateInset - 0.5;
    painter.drawRoundedRect(
        QRectF(rect()).adjusted(inset, inset, -inset, -inset), colourRadius, colourRadius);
}

void ColourWell::focusInEvent(QFocusEvent* event)
{
    QAbstractButton::focusInEvent(event);
    FocusRing::mark(*this, PushButton::radius, *event);
}

} // namespace kestrum
