// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrum {

class MenuBarStrip;

/// A piece of menu bar on the page: a plate in the desktop's colour scheme with the items at its trailing end. Items that are too
/// wide extend into the plate's margin.
class MenuBarPreview final : public QWidget {
    Q_OBJECT
public:
    explicit MenuBarPreview(QWidget* parent = nullptr);

    MenuBarStrip* strip() const { return m_strip; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    void place();

    MenuBarStrip* m_strip;
};

} // namespace kestrum
