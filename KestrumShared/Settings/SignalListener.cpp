#include "KestrumShared/Settings/SignalListener.h"

namespace kestrum {

} // namespace kestrum
