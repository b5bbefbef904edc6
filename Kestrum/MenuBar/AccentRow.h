#pragma once

#include "Kestrum/Form/Row.h"
#include "KestrumShared/Settings/Setting.h"

#include <QTimer>

namespace kestrum {

class ColourWell;
class PopupPicker;

/// One accent: a picker of the named colours and "Custom", and for a custom colour a well to choose it with. While somebody moves
/// about in the well the colour is a draft, which is shown like a stored one; it is stored when it has stood still for a moment,
/// or when the row goes.
class AccentRow final : public Row {
    Q_OBJECT
public:
    /// `title` and `subject`, which is what has the colour, are as people see them. What is stored under `key` and is no accent
    /// shows as `MeterAccent::fallback`.
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
    QTimer m_pause; ///< since the last movement in the well
};

} // namespace kestrum
