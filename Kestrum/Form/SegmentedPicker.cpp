#include "Kestrum/Form/SegmentedPicker.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QRadioButton>

namespace kestrum {

SegmentedPicker::SegmentedPicker(QWidget* parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    connect(m_group, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
        if (isOn)
            Q_EMIT chosen(index);
    });
}

void SegmentedPicker::addSegment(const QString& title)
{
    auto* segment = new QRadioButton(title);
    m_group->addButton(segment, int(m_group->buttons().size()));
    layout()->addWidget(segment);
}

int SegmentedPicker::index() const
{
    return m_group->checkedId();
}

void SegmentedPicker::setIndex(int index)
{
    const QSignalBlocker blocker(m_group);
    m_group->setExclusive(false);
    for (QAbstractButton* segment : m_group->buttons())
        segment->setChecked(m_group->id(segment) == index);
    m_group->setExclusive(true);
}

} // namespace kestrum
