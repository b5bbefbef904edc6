#pragma once

#include "Platform/Store/SettingsFile.h"

#include <chrono>

namespace kestrum {

/// What a reader who keeps the values of a settings file believes of what becomes of it. Programs that save the file in several
/// steps leave it away, blank or half written for a moment; what was known before stands meanwhile.
class SettingsDoubt {
public:
    bool isOpen() const { return m_isOpen; }

    /// Whether `content` is not to be believed yet. It is in the end, if it stays: then this has to be asked again.
    bool concerns(const SettingsFile::Content& content);

    /// `content` is what is known now.
    void settle(const SettingsFile::Content& content);

private:
    using Clock = std::chrono::steady_clock;

    bool m_isOpen = false;
    bool m_isKnownSound = false;
    SettingsFile::Identity m_doubted;
    Clock::time_point m_since;
};

} // namespace kestrum
