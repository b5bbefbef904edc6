// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/FormPage.h"

namespace kestrum {

/// The page with the settings of the whole application.
class GeneralPage final : public FormPage {
    Q_OBJECT
public:
    explicit GeneralPage(QWidget* parent = nullptr);
};

} // namespace kestrum
