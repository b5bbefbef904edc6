// SPDX-License-Identifier: MIT
#include "Kestrum/Form/Rows.h"

#include "Kestrum/Form/Switch.h"

namespace kestrum {

Row* Form::toggle(const char* title, const Binding<bool>& binding)
{
    auto* control = new Switch;
    control->setObjectName(binding.name);
    const auto show = [control, binding] { control->follow(binding.shown().value_or(false)); };
    follow(binding, control, show);
    // Do not connect `clicked`, which assistive programs do not trigger.
    QObject::connect(control, &Switch::toggled, control, [binding, show](bool isOn) {
        binding.choose(isOn);
        show(); // shows the stored value again if the save failed
    });
    return new Row(AppLanguage::string(title), control);
}

} // namespace kestrum
