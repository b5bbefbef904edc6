#include "KestrumShared/Settings/SharedSettings.h"

namespace kestrum {

} // namespace kestrum
