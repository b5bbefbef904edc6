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

    /// What of it there is room for: a long reason loses its beginning, but the line never what it is about.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRect line() const;

    QString m_heading;
    QString m_reason;
};

} // namespace kestrum
