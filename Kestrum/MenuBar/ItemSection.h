#pragma once

#include "Kestrum/Form/Card.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

namespace kestrum {

/// What the sections of all items begin with: the item's heading, and the switch that shows or hides the item.
class ItemSection : public Card {
    Q_OBJECT
protected:
    /// `title` is English; people see it in the interface language.
    ItemSection(MonitorSection section, const char* title);
};

} // namespace kestrum
