#pragma once

#include "Kestrum/MenuBar/ItemSection.h"

namespace kestrum {

/// How the CPU's item looks, and the style of the meters of all items.
class CPUSection final : public ItemSection {
    Q_OBJECT
public:
    CPUSection();
};

} // namespace kestrum
