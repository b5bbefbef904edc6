#include "Kestrum/Form/ColourWell.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Theme.h"

#include <QColorDialog>
#include <QKeyEvent>
#include <QPainter>

namespace kestrum {

namespace {

constexpr int plateInset = 4; ///< between the plate's edge and the colour
constexpr double colourRadius = 3;

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
        m_dialog->setWindowTitle(accessibleName());
        m_dialog->setModal(false);
        connect(m_dialog, &QColorDialog::currentColorChanged, this, &ColourWell::take);
    }
    m_dialog->show();
    m_dialog->raise();
    m_dialog->activateWindow();
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
