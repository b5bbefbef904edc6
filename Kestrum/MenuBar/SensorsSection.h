#pragma once

#include "Kestrum/MenuBar/ItemSection.h"

namespace kestrum {

/// What the sensors' item reads, and at which temperatures it warns.
class SensorsSection final : public ItemSection {
    Q_OBJECT
public:
    SensorsSection();
};

} // namespace kestrum
