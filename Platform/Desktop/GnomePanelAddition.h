// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/DesktopSettings.h"
#include "Platform/Desktop/PanelAddition.h"

#include <QVariantMap>

namespace kestrum {

/// An extension of GNOME's shell. The shell looks for new extensions only when it starts.
class GnomePanelAddition final : public PanelAddition {
    Q_OBJECT
public:
    ~GnomePanelAddition() override;

    QString desktop() const override { return QStringLiteral("GNOME"); }
    QString title() const override;
    void look(Looked looked) override;
    void add(Changed changed) override;
    void remove(Changed changed) override;

private:
    struct Lists {
        QStringList enabled;
        QStringList disabled;
        bool areAllOff = false; ///< the switch for extensions as a whole
    };
    static Result<Lists> lists(const DesktopSettings::Values& values);
    void read(std::function<void(const Result<Lists>&)> answered);
    void write(const Lists& before, const Lists& after, Effect effect, Changed changed);
    void join(std::function<void(bool)> joined);
    void awaitState(int looks, const Changed& changed);
    void addToList(const Lists& before, Changed changed);
};

} // namespace kestrum
