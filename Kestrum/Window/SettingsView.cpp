#include "Kestrum/Window/SettingsView.h"
