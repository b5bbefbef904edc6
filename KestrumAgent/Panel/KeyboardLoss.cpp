// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/KeyboardLoss.h"

#include "KestrumAgent/Panel/WaylandGlobals.h"
#include "Platform/Files/FileDescriptor.h"

namespace kestrum {

namespace {

/// The seat's first version has all that is needed.
constexpr uint32_t seatVersion = 1;

} // namespace

/// What the compositor holds for one object.
struct KeyboardLoss::Wayland {
    Wayland(KeyboardLoss& owner, wl_surface* watched)
        : loss(owner)
        , surface(watched)
        , seat(static_cast<wl_seat*>(WaylandGlobals::bind(wl_seat_interface, seatVersion)))
    {
        static constexpr wl_seat_listener listener {
            [](void* self, wl_seat*, uint32_t can) { static_cast<Wayland*>(self)->adoptDevices(can); },
            [](void*, wl_seat*, const char*) {},
        };
        if (seat)
            wl_seat_add_listener(seat, &listener, this);
    }
    ~Wayland()
    {
        if (keyboard)
            wl_keyboard_destroy(keyboard);
        if (seat)
            wl_seat_destroy(seat);
    }
    Q_DISABLE_COPY_MOVE(Wayland)

    void adoptDevices(uint32_t can)
    {
        // Later versions of the seat have more events, which this version never sends.
        static const wl_keyboard_listener listener = [] {
            wl_keyboard_listener made {};
            made.keymap = [](void*, wl_keyboard*, uint32_t, int32_t file, uint32_t) {
                const FileDescriptor notNeeded(file); // closed at once
            };
            made.enter = [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {};
            made.leave = [](void* self, wl_keyboard*, uint32_t, wl_surface* left) {
                const auto& wayland = *static_cast<Wayland*>(self);
                if (left == wayland.surface)
                    Q_EMIT wayland.loss.lost();
            };
            made.key = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t) {};
            made.modifiers = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {};
            return made;
        }();
        if (!(can & WL_SEAT_CAPABILITY_KEYBOARD) || keyboard)
            return;
        keyboard = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(keyboard, &listener, this);
    }

    KeyboardLoss& loss;
    wl_surface* surface;
    wl_seat* seat;
    wl_keyboard* keyboard = nullptr;
};

KeyboardLoss::KeyboardLoss(wl_surface* surface)
    : m_wayland(std::make_unique<Wayland>(*this, surface))
{
}

KeyboardLoss::~KeyboardLoss() = default;

} // namespace kestrum
