#include "Kestrum/SettingsAppDelegate.h"
