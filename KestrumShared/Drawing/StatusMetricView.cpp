#include "KestrumShared/Drawing/StatusMetricView.h"

namespace kestrum {

} // namespace kestrum
