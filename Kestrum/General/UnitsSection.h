#pragma once

#include "Kestrum/Form/Card.h"

namespace kestrum {

/// The units in which readings are shown.
class UnitsSection final : public Card {
    Q_OBJECT
public:
    UnitsSection();
};

} // namespace kestrum
