#include "Kestrum/MenuBar/MenuBarStrip.h"
