#pragma once

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Store/SettingsFile.h"

#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

namespace kestrum {

/// Hears of everything that may change what is read from a settings file: of the file, and of every symbolic link that leads to
/// it. Main thread only.
class SettingsWatch {
public:
    /// Both begin with `follow`. `changed` may call `follow` only after it has returned, as that may end the watch that tells.
    SettingsWatch(const SettingsFile& file, std::function<void()> changed);

    /// Takes the way on which the file is now. To be called after each change, before the file is read.
    void follow();

private:
    const SettingsFile& m_file;
    std::function<void()> m_changed;
    QStringList m_trail;
    std::vector<std::unique_ptr<DirectoryWatch>> m_watches;
};

} // namespace kestrum
