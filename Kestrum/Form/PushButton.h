#pragma once

#include <QPushButton>

namespace kestrum {

/// A button with a text, as wide as the text needs.
class PushButton final : public QPushButton {
    Q_OBJECT
public:
    explicit PushButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
};

} // namespace kestrum
