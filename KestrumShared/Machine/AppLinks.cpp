#include "KestrumShared/Machine/AppLinks.h"

namespace kestrum {

void AppLinks::launchAgentIfNeeded(int) { }

} // namespace kestrum
