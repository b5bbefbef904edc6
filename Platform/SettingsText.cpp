#include "Platform/SettingsText.h"

namespace kestrum {

} // namespace kestrum
