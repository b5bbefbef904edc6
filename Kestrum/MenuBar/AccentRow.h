// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/Row.h"
#include "KestrumShared/Settings/Setting.h"

#include <QTimer>

namespace kestrum {

class ColourWell;
class PopupPicker;

/// The row of one accent: a picker with the named colours and "Custom", and a colour well, which is visible while the colour is a
/// custom one. A colour that the user picks in the well is a draft at first. The draft is shown like a stored colour, and is
/// stored after a short pause or when the row is destroyed.
class AccentRow final : public Row {
    Q_OBJECT
public:
    /// `title` names the row, and `subject` names what has the colour; both are in the interface language. A stored value that is
    /// not an accent is shown as `MeterAccent::fallback`.
    AccentRow(const QString& title, const QString& subject, const UnregisteredKey<MeterAccent>& key);
    ~AccentRow() override;

private:
    MeterAccent accent() const;
    void showAccent();
    void choose(int index);
    void drag(const QColor& colour);
    void store(const MeterAccent& accent);

    Setting<MeterAccent> m_stored;
    PopupPicker* m_picker;
    ColourWell* m_well;
    std::optional<MeterAccent> m_draft;
    std::optional<MeterAccent> m_shown;
    QTimer m_pause; ///< restarted by each colour picked in the well
};

} // namespace kestrum
