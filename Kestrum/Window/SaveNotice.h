// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrum {

class UserDefaults;
class WrappedLabel;

/// A text above the page that says why settings cannot be saved, in the interface language. The text wraps, and a tool tip has
/// the details. The notice is hidden while saving works.
class SaveNotice final : public QWidget {
    Q_OBJECT
public:
    /// `store` outlives the notice.
    explicit SaveNotice(const UserDefaults& store, QWidget* parent = nullptr);

    /// Shows or hides the notice for the present state of `store`.
    void look();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    const UserDefaults& m_store;
    WrappedLabel* m_text;
};

} // namespace kestrum
