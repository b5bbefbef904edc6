// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/SettingsFile.h"

#include <chrono>

namespace kestrum {

/// Decides whether a reader accepts new content of a settings file. If a program saves in several steps, the file is absent,
/// blank or half written for a moment. Until the file is complete, the old values stay in effect: with the defaults, even the
/// language could change for this moment.
class SettingsDoubt {
public:
    bool isOpen() const { return m_isOpen; }

    /// Returns true if `content` must not be accepted yet. Then ask again later: content that no longer changes is accepted.
    bool concerns(const Result<SettingsFile::Content>& content);

    /// To be called after `content` was accepted.
    void settle(const SettingsFile::Content& content);

private:
    using Clock = std::chrono::steady_clock;

    bool m_isOpen = false;
    bool m_isKnownSound = false;
    SettingsFile::Identity m_doubted;
    Clock::time_point m_since;
};

} // namespace kestrum
