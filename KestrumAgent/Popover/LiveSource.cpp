// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/LiveSource.h"

namespace kestrum {

LiveSource::LiveSource(Sampler& sampler, const QString& root, QObject* parent)
    : PopoverSource(parent)
    , m_sampler(sampler)
    , m_reader(sampler.readings(), root)
{
    connect(&m_sampler, &Sampler::sampled, this,
        [this] { m_reader.sampled(m_sampler.wanted(), m_sampler.interval()); });
    connect(&m_sampler, &Sampler::completed, &m_reader, &PopoverReader::completed);
    connect(&m_sampler, &Sampler::paused, &m_reader, &PopoverReader::paused);
    connect(&m_reader, &PopoverReader::changed, this, &PopoverSource::changed);
}

void LiveSource::opened(MonitorSection section)
{
    // The sample for the new popover is not shown in the old one.
    m_reader.closed();
    m_sampler.setPopover(section);
    m_reader.opened(section);
}

void LiveSource::closed()
{
    m_reader.closed();
    m_sampler.setPopover(std::nullopt);
}

} // namespace kestrum
