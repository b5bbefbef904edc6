#pragma once

#include <QWidget>

namespace kestrum {

/// One line above the page that says why settings are not being saved. Hidden while all is well.
class SaveNotice final : public QWidget {
    Q_OBJECT
public:
    explicit SaveNotice(QWidget* parent = nullptr);

    /// Shows `reason`; an empty one hides the line.
    void setReason(const QString& reason);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
};

} // namespace kestrum
