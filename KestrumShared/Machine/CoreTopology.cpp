#include "KestrumShared/Machine/CoreTopology.h"

namespace kestrum {

} // namespace kestrum
