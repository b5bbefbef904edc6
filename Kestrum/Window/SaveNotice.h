#pragma once

#include <QWidget>

namespace kestrum {

class UserDefaults;
class WrappedLabel;

/// A line above the page that says why settings are not being saved, in the interface language; a tool tip has the particulars. It
/// wraps where the page is too narrow for it. Hidden while all is well.
class SaveNotice final : public QWidget {
    Q_OBJECT
public:
    /// `store` outlives it.
    explicit SaveNotice(const UserDefaults& store, QWidget* parent = nullptr);

    /// Shows how `store` fares now.
    void look();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    const UserDefaults& m_store;
    WrappedLabel* m_text;
};

} // namespace kestrum
