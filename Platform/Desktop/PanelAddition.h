// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QObject>
#include <QString>
#include <functional>
#include <memory>

namespace kestrum {

/// What the desktop's own panel needs to show the items: an extension, a widget, an applet, or another value of one of its
/// settings. It belongs to the user, so it is added and removed only at the user's wish. Everything is asked asynchronously and
/// within a time limit; the event loop answers, perhaps before a function returns, and not after this object is destroyed.
/// Failures are in English. Main thread only.
class PanelAddition : public QObject {
    Q_OBJECT
public:
    enum class Presence {
        unneeded,    ///< the panel shows the items as it is
        uninstalled, ///< the files of the part are not on this machine
        missing,     ///< it could be added
        added,
    };
    struct State {
        Presence presence = Presence::unneeded;
        bool isPending = false; ///< it has been added, and takes effect at the next login
        QString obstacle; ///< why the panel does not show the items even with the part; empty if it does
    };
    enum class Effect { now, atNextLogin };

    using Looked = std::function<void(const Result<State>&)>;
    using Changed = std::function<void(const Result<Effect>&)>;

    /// The part for the running desktop, by XDG_CURRENT_DESKTOP; null for a desktop that needs none.
    static std::unique_ptr<PanelAddition> ofDesktop();

    /// The desktop's name.
    virtual QString desktop() const = 0;
    /// What the part is, such as "the applet kestrum@orvale.com".
    virtual QString title() const = 0;
    /// What to say where the part is not installed.
    Failure uninstalled() const;
    /// Whether the panel will also show other programs' icons in another way.
    virtual bool concernsOtherIcons() const { return false; }

    virtual void look(Looked looked) = 0;
    /// Adds the part. It is there once, however often this is called. Fails if it is not installed.
    virtual void add(Changed changed) = 0;
    /// Removes the part, and leaves everything else as it is. Succeeds if it is not there.
    virtual void remove(Changed changed) = 0;

protected:
    PanelAddition() = default;

    /// Whether the file is in one of the data directories.
    static bool isInstalled(const QString& file);
};

} // namespace kestrum
