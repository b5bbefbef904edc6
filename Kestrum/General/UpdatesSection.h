#pragma once

#include "Kestrum/Form/Card.h"

namespace kestrum {

/// Whether updates are looked for, the version that runs, and a way to look at once, which the agent does.
class UpdatesSection final : public Card {
    Q_OBJECT
public:
    UpdatesSection();
};

} // namespace kestrum
