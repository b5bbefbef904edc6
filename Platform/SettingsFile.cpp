#include "Platform/SettingsFile.h"

namespace kestrum {

} // namespace kestrum
