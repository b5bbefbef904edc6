// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/Binding.h"
#include "KestrumShared/Text/Title.h"

#include <QList>

namespace kestrum {

template <class T> struct Choice {
    T value;
    QString title; ///< in the interface language
};

/// All cases of an enumeration in their order, with their titles.
template <StoredEnumeration E> QList<Choice<E>> choices()
{
    QList<Choice<E>> all;
    for (const auto& entry : allCases<E>())
        all.append({ entry.value, title(entry.value) });
    return all;
}

/// Connects a picker to a value in both directions. `control` needs a function `setIndex(int)`, where −1 means no choice, and a
/// signal `chosen(int)`, which is emitted only for choices of the user.
template <class Control, class T>
void bind(Control* control, const Binding<T>& binding, const QList<Choice<T>>& choices)
{
    const auto show = [control, binding, choices] {
        const std::optional<T> value = binding.shown();
        int index = -1;
        for (int i = 0; value && i < choices.size(); ++i) {
            if (choices[i].value == *value)
                index = i;
        }
        control->setIndex(index);
    };
    control->setObjectName(binding.name);
    follow(binding, control, show);
    QObject::connect(control, &Control::chosen, control, [binding, choices, show](int index) {
        binding.choose(choices[index].value);
        show(); // shows the stored value again if the save failed
    });
}

} // namespace kestrum
