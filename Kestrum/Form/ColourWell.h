// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QPointer>

class QColorDialog;

namespace kestrum {

/// A plate of one opaque colour. A click opens a colour dialog, beside the window if the desktop and the screen allow it. The
/// dialog is not modal, reports each change at once, and is closed when the well is hidden or destroyed. For assistive programs
/// the well is a button: the owner sets the name, and the description is the colour as "#rrggbb".
class ColourWell final : public QAbstractButton {
    Q_OBJECT
public:
    explicit ColourWell(QWidget* parent = nullptr);

    QColor colour() const { return m_colour; }
    /// Shows another colour, in an open dialog too, without emitting `picked`. The alpha of `colour` is ignored.
    void setColour(const QColor& colour);

    /// Sets the dialog's title, for example the name of the setting that has the colour.
    void setDialogTitle(const QString& title) { m_dialogTitle = title; }

    QSize sizeHint() const override { return { 44, 24 }; }
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    /// The user picked another colour. Emitted for each colour of a drag too.
    void picked(const QColor& colour);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void openDialog();
    void placeDialog() const;
    void take(const QColor& colour);
    void become(const QColor& colour);

    QColor m_colour;
    QString m_dialogTitle;
    QPointer<QColorDialog> m_dialog;
};

} // namespace kestrum
