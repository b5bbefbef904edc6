#pragma once

#include "Kestrum/Form/WrappedLabel.h"

namespace kestrum {

/// A row of a card: a text at the leading edge and at the trailing edge the control that it names, if there is one. A long text
/// wraps beside the control; where little room is left for it the control moves below.
class Row : public QWidget {
    Q_OBJECT
public:
    /// The row owns `control`, whose accessible name becomes `text` unless it has one or shows a text of its own.
    explicit Row(const QString& text, QWidget* control = nullptr, QWidget* parent = nullptr);

    enum class Ink { text, secondary, error };

    /// Puts a second control behind the first; the row owns it. It may come and go: room for it is kept, so that the row never
    /// changes its height.
    void setCompanion(QWidget* companion);

    void setText(const QString& text);
    void setInk(Ink ink);
    QString text() const { return m_label->text(); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Places;
    /// The width that is kept for the second control.
    int companionRoom() const;
    Places places(int width) const;
    void layOut();

    WrappedLabel* m_label;
    QWidget* m_control;
    QWidget* m_companion = nullptr;
};

} // namespace kestrum
