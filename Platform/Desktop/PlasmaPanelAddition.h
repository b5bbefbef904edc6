// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/PanelAddition.h"

namespace kestrum {

/// A widget in a panel of Plasma's, whose shell runs scripts that others send it.
class PlasmaPanelAddition final : public PanelAddition {
    Q_OBJECT
public:
    ~PlasmaPanelAddition() override;

    QString desktop() const override { return QStringLiteral("Plasma"); }
    QString title() const override;
    void look(Looked looked) override;
    void add(Changed changed) override;
    void remove(Changed changed) override;

private:
    void evaluate(const char* script, const std::function<void(const Result<QString>&)>& answered);
    void change(const char* script, Changed changed);
};

} // namespace kestrum
