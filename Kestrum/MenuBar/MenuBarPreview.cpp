#include "Kestrum/MenuBar/MenuBarPreview.h"
