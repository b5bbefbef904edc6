#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QPointer>

class QColorDialog;

namespace kestrum {

/// A plate of one colour; a click opens the colour dialog beside the window, which stays usable, wherever the desktop lets programs
/// place their windows and the screen has the room. Each movement in the dialog is told at once. Colours are opaque. To assistive
/// programs it is a button, whose name the owner sets and whose description is the colour as "#rrggbb". The dialog goes when the
/// well is hidden or destroyed.
class ColourWell final : public QAbstractButton {
    Q_OBJECT
public:
    explicit ColourWell(QWidget* parent = nullptr);

    QColor colour() const { return m_colour; }
    /// Shows another colour, in an open dialog too, without telling. Its alpha is passed over.
    void setColour(const QColor& colour);

    /// Names what has the colour, for the dialog's title bar.
    void setDialogTitle(const QString& title) { m_dialogTitle = title; }

    QSize sizeHint() const override { return { 44, 24 }; }
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    /// The user moved to another colour.
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
