#include "Platform/NotificationCentre.h"

namespace kestrum {

} // namespace kestrum
