#pragma once

#include "Kestrum/MenuBar/ItemSection.h"

namespace kestrum {

/// How the disk's item looks.
class StorageSection final : public ItemSection {
    Q_OBJECT
public:
    StorageSection();
};

} // namespace kestrum
