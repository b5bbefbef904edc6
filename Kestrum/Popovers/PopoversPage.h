// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/FormPage.h"
#include "Platform/Desktop/SystemAppearance.h"

namespace kestrum {

/// The page for the look of the agent's popovers: colour scheme and background, each chosen by pictures of a popover.
class PopoversPage final : public FormPage {
    Q_OBJECT
public:
    explicit PopoversPage(QWidget* parent = nullptr);

    /// The colour scheme of the background pictures: the scheme chosen for popovers, or the window's own if none is chosen.
    static ColourScheme previewScheme();
};

} // namespace kestrum
