// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/WaylandGlobals.h"

#include <QGuiApplication>
#include <algorithm>
#include <cstring>
#include <qpa/qplatformnativeinterface.h>

namespace kestrum {

wl_display* WaylandGlobals::display()
{
    return static_cast<wl_display*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
}

void* WaylandGlobals::bind(const wl_interface& interface, uint32_t newest)
{
    wl_display* const connection = display();
    if (!connection)
        return nullptr;
    // The code below waits for the answer. With a separate event queue, Qt's event handlers do not run meanwhile.
    wl_event_queue* const queue = wl_display_create_queue(connection);
    auto* const asking = static_cast<wl_display*>(wl_proxy_create_wrapper(connection));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(asking), queue);
    wl_registry* const registry = wl_display_get_registry(asking);
    wl_proxy_wrapper_destroy(asking);

    struct Search {
        const wl_interface& interface;
        uint32_t newest;
        void* bound = nullptr;
    } search { interface, newest };
    static constexpr wl_registry_listener listener {
        [](void* data, wl_registry* from, uint32_t name, const char* offered, uint32_t version) {
            auto& sought = *static_cast<Search*>(data);
            if (!sought.bound && std::strcmp(offered, sought.interface.name) == 0)
                sought.bound
                    = wl_registry_bind(from, name, &sought.interface, std::min(version, sought.newest));
        },
        [](void*, wl_registry*, uint32_t) {},
    };
    wl_registry_add_listener(registry, &listener, static_cast<void*>(&search));
    wl_display_roundtrip_queue(connection, queue);
    // Later events of the object go to the default queue, which Qt dispatches.
    if (search.bound)
        wl_proxy_set_queue(static_cast<wl_proxy*>(search.bound), nullptr);
    wl_registry_destroy(registry);
    wl_event_queue_destroy(queue);
    return search.bound;
}

} // namespace kestrum
