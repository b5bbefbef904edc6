#include "Kestrum/Window/NonCollapsibleSidebarProbe.h"
