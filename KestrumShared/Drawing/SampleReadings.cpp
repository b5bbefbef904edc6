#include "KestrumShared/Drawing/SampleReadings.h"

namespace kestrum {

} // namespace kestrum
