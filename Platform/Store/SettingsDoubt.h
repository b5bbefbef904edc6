// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/SettingsFile.h"

#include <chrono>

namespace kestrum {

/// Decides whether a reader that holds values of a settings file accepts a new state of the file. If a program saves in several
/// steps, the file is absent, blank or half written for a moment. Until the file is whole, the old values stay in effect: with
/// the defaults, even the language could change.
class SettingsDoubt {
public:
    bool isOpen() const { return m_isOpen; }

    /// True if `content` must not be accepted yet. Then call this function again later: a state that lasts is accepted.
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
