#pragma once

#include "Kestrum/Form/FormPage.h"
#include "Platform/Desktop/SystemAppearance.h"

namespace kestrum {

/// How the agent's popovers look: their colour scheme and their ground, each chosen by pictures of a popover.
class PopoversPage final : public FormPage {
    Q_OBJECT
public:
    explicit PopoversPage(QWidget* parent = nullptr);

    /// The scheme in which the pictures of grounds are drawn: the one chosen for popovers, else the window's own.
    static ColourScheme previewScheme();
};

} // namespace kestrum
