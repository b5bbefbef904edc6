// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <memory>

struct wl_surface;

namespace kestrum {

/// Tells when a Wayland surface loses the keyboard, even if it gets the keyboard back at once. The toolkit says nothing then, but
/// a screen locker may have asked for the keyboard, and some compositors favour the surface that had it before.
class KeyboardLoss final : public QObject {
    Q_OBJECT
public:
    /// The surface must outlive this object.
    explicit KeyboardLoss(wl_surface* surface);
    ~KeyboardLoss() override;

Q_SIGNALS:
    /// Emitted while the compositor's events are handled: the receiver must not destroy this object at once.
    void lost();

private:
    struct Wayland;
    std::unique_ptr<Wayland> m_wayland;
};

} // namespace kestrum
