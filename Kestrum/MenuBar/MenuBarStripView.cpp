#include "Kestrum/MenuBar/MenuBarStripView.h"
