#pragma once

#include <QWidget>

namespace kestrum {

class MenuBarStrip;

/// A piece of menu bar as a plate on the page, light or dark as the desktop is, with the items at its
/// trailing end.
class MenuBarPreview final : public QWidget {
    Q_OBJECT
public:
    explicit MenuBarPreview(QWidget* parent = nullptr);

    MenuBarStrip* strip() const { return m_strip; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    MenuBarStrip* m_strip;
};

} // namespace kestrum
