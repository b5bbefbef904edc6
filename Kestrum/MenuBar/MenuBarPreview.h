#pragma once

#include <QWidget>

namespace kestrum {

class MenuBarStrip;

/// A piece of menu bar as a plate on the page, light or dark as the desktop is, with the items at its
/// trailing end. Where they are too wide they take of the plate's own margin.
class MenuBarPreview final : public QWidget {
    Q_OBJECT
public:
    explicit MenuBarPreview(QWidget* parent = nullptr);

    MenuBarStrip* strip() const { return m_strip; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    void place();

    MenuBarStrip* m_strip;
};

} // namespace kestrum
