// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Store/SettingsFile.h"

#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

namespace kestrum {

/// Watches a settings file and every symbolic link that leads to it. Main thread only.
class SettingsWatch {
public:
    /// The first call of `follow` starts the watch. `changed` must not call `follow` directly, because `follow` can destroy the
    /// `DirectoryWatch` that is calling `changed`.
    SettingsWatch(const SettingsFile& file, std::function<void()> changed);

    /// Finds the symbolic links again and watches them. To be called after each change, before the file is read.
    void follow();

private:
    const SettingsFile& m_file;
    std::function<void()> m_changed;
    QStringList m_linkChain;
    std::vector<std::unique_ptr<DirectoryWatch>> m_watches;
};

} // namespace kestrum
