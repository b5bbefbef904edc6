#include "KestrumShared/Vocabulary/AccentSwatch.h"

namespace kestrum {

} // namespace kestrum
