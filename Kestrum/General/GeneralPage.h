// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/FormPage.h"

namespace kestrum {

/// The choices that concern the whole application.
class GeneralPage final : public FormPage {
    Q_OBJECT
public:
    explicit GeneralPage(QWidget* parent = nullptr);
};

} // namespace kestrum
