// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/SettingsFile.h"

#include <chrono>

namespace kestrum {

/// Decides whether a reader that holds values of a settings file accepts a new state of the file. Programs that save in several
/// steps leave the file absent, blank or half written for a moment. Meanwhile the old values count:
/// the defaults would include another language.
class SettingsDoubt {
public:
    bool isOpen() const { return m_isOpen; }

    /// Whether `content` must not be accepted yet. Ask again later: it is accepted if it stays.
    bool concerns(const Result<SettingsFile::Content>& content);

    /// `content` was accepted.
    void settle(const SettingsFile::Content& content);

private:
    using Clock = std::chrono::steady_clock;

    bool m_isOpen = false;
    bool m_isKnownSound = false;
    SettingsFile::Identity m_doubted;
    Clock::time_point m_since;
};

} // namespace kestrum
