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

/// Takes the marks of access keys out of the texts of `dialog` that are written in letters that join. A mark within a word parts
/// them, which the room for the word is not made for.
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

/// As the dialog has it: opaque, and each component a byte.
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
    // Where it comes back as the dialog has it, give or take what a byte cannot hold, the dialog stays as it is: people may be
    // dragging in it.
    if (!m_dialog || asInDialog(m_dialog->currentColor()) == asInDialog(colour))
        return;
    m_dialog->setCurrentColor(asInDialog(colour));
}

void ColourWell::take(const QColor& colour)
{
    // The dialog also tells what it was given.
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
        // Colours and font of the window, now and when they change.
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
    // It will have a frame like ours.
    const QSize size = m_dialog->sizeHint() + frame.size() - window()->size();
    const int atRight = frame.right() + 1 + dialogGap;
    const int atLeft = frame.left() - dialogGap - size.width();
    const int rightRoom = screen.right() + 1 - (atRight + size.width());
    const int leftRoom = atLeft - screen.left();
    // Where the window's text ends, or else where more of the window stays free.
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
    // Not where the window was only minimised.
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
