// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/PanelAddition.h"

#include <QList>
#include <QStringList>
#include <optional>

namespace kestrum {

/// A setting of Xfce's panel: the items stand among the status icons, which some profiles make square. The value from before is
/// kept beside the setting itself, so that it goes with it.
class XfcePanelAddition final : public PanelAddition {
    Q_OBJECT
public:
    QString desktop() const override { return QStringLiteral("Xfce"); }
    QString title() const override;
    bool concernsOtherIcons() const override { return true; }
    void look(Looked looked) override;
    void add(Changed changed) override;
    void remove(Changed changed) override;

private:
    /// One of the panel's places for status icons.
    struct Tray {
        QString path;
        bool isSquare = false;
        std::optional<bool> before; ///< what `add` has found
    };
    void read(std::function<void(const Result<QList<Tray>>&)> answered);
    void write(const QList<QStringList>& changes, Changed changed);
};

} // namespace kestrum
