#include "KestrumShared/Vocabulary/MeterAccent.h"

namespace kestrum {

} // namespace kestrum
