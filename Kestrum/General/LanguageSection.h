#pragma once

#include "Kestrum/Form/Card.h"

namespace kestrum {

/// The interface language: the session's, or one that the application ships.
class LanguageSection final : public Card {
    Q_OBJECT
public:
    LanguageSection();
};

} // namespace kestrum
