// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/PanelAddition.h"

#include <QStringList>

namespace kestrum {

/// An applet of Cinnamon's panel.
class CinnamonPanelAddition final : public PanelAddition {
    Q_OBJECT
public:
    QString desktop() const override { return QStringLiteral("Cinnamon"); }
    QString title() const override;
    void look(Looked looked) override;
    void add(Changed changed) override;
    void remove(Changed changed) override;

private:
    struct Applets {
        QStringList list;
        qint64 nextNumber = 0; ///< for the next applet, by the desktop's own count
    };
    void read(std::function<void(const Result<Applets>&)> answered);
    void write(const Applets& before, const Applets& after, Changed changed);
};

} // namespace kestrum
