// SPDX-License-Identifier: MIT
#include "Platform/Store/SettingsDoubt.h"

namespace kestrum {

bool SettingsDoubt::concerns(const Result<SettingsFile::Content>& content)
{
    if (!content || content->isSound() || !m_isKnownSound) {
        m_isOpen = false;
        return false;
    }
    const auto now = Clock::now();
    if (!m_isOpen || m_doubted != content->identity) {
        m_doubted = content->identity;
        m_since = now;
    }
    m_isOpen = content->doubt == SettingsFile::Doubt::open || now - m_since < SettingsFile::believedAfter;
    return m_isOpen;
}

void SettingsDoubt::settle(const SettingsFile::Content& content)
{
    m_isOpen = false;
    m_isKnownSound = content.isSound();
}

} // namespace kestrum
