#include "Kestrum/MenuBar/MenuBarPage.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/CPUSection.h"
#include "Kestrum/MenuBar/MemorySection.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/SensorsSection.h"
#include "Kestrum/MenuBar/StorageSection.h"

namespace kestrum {

MenuBarPage::MenuBarPage(QWidget* parent)
    : FormPage(parent)
    , m_preview(new MenuBarPreview)
{
    auto* preview = new Card(Card::Ground::none);
    preview->add(m_preview);
    add(preview);
    add(new Card("All Items",
        { Form::segmented<MeterShape>("Bar shape", Setting { Keys::meterShape }),
            Form::segmented<MeterLabelStyle>("Item labels", Setting { Keys::meterLabelStyle }) }));
    add(new CPUSection);
    add(new MemorySection);
    add(new StorageSection);
    add(new SensorsSection);
}

} // namespace kestrum
