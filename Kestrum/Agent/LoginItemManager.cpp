#include "Kestrum/Agent/LoginItemManager.h"

namespace kestrum {

LoginItemManager::LoginItemManager(QObject* parent)
    : QObject(parent)
{
}

void LoginItemManager::unregisterLegacyMainAppOnce() { }

} // namespace kestrum
