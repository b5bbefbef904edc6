#include "Kestrum/Window/Sidebar.h"
