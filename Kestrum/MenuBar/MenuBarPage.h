// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/FormPage.h"

namespace kestrum {

class MenuBarPreview;

/// The page that chooses which menu-bar items are shown, their order and their look.
class MenuBarPage final : public FormPage {
    Q_OBJECT
public:
    explicit MenuBarPage(QWidget* parent = nullptr);

    MenuBarPreview* preview() const { return m_preview; }

private:
    MenuBarPreview* m_preview;
};

} // namespace kestrum
