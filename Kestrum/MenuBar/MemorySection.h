#pragma once

#include "Kestrum/MenuBar/ItemSection.h"

namespace kestrum {

/// How the memory's item looks.
class MemorySection final : public ItemSection {
    Q_OBJECT
public:
    MemorySection();
};

} // namespace kestrum
