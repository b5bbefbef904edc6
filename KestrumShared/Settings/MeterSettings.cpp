#include "KestrumShared/Settings/MeterSettings.h"

namespace kestrum {

} // namespace kestrum
