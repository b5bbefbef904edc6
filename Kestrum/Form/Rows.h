// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/ChoiceControl.h"
#include "Kestrum/Form/PopupPicker.h"
#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/SegmentedPicker.h"

namespace kestrum {

/// Rows of a page, each bound to one value. The control shows the stored value, also after a change by another process, and stores
/// the user's choice. Titles are English and are shown in the interface language. The caller owns the row.
namespace Form {

/// A switch.
Row* toggle(const char* title, const Binding<bool>& binding);

/// A picker with all choices side by side.
template <class T>
Row* segmented(
    const char* title, const Binding<T>& binding, const QList<Choice<T>>& choices = kestrum::choices<T>())
{
    auto* control = new SegmentedPicker;
    for (const auto& choice : choices)
        control->addSegment(choice.title);
    bind(control, binding, choices);
    return new Row(AppLanguage::string(title), control);
}

/// A picker whose choices are in a list that opens.
template <class T>
Row* picker(
    const char* title, const Binding<T>& binding, const QList<Choice<T>>& choices = kestrum::choices<T>())
{
    auto* control = new PopupPicker;
    for (const auto& choice : choices)
        control->addEntry(choice.title);
    bind(control, binding, choices);
    return new Row(AppLanguage::string(title), control);
}

} // namespace Form
} // namespace kestrum
