#pragma once

#include "Kestrum/Form/FormPage.h"

namespace kestrum {

class MenuBarPreview;

/// Which menu-bar items there are, in which order, and how they look.
class MenuBarPage final : public FormPage {
    Q_OBJECT
public:
    explicit MenuBarPage(QWidget* parent = nullptr);

    MenuBarPreview* preview() const { return m_preview; }

private:
    MenuBarPreview* m_preview;
};

} // namespace kestrum
