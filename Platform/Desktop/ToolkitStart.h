// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>

namespace kestrum {

/// Guards the making of the application object: made right before it, destroyed right after it. Where the session has no
/// bus, or no private runtime directory, the toolkit would make one of its own (the directory in a shared place) and leave
/// it behind. That there is no bus stays in our environment, for the programs that we start.
class ToolkitStart {
public:
    ToolkitStart();
    ~ToolkitStart();
    ToolkitStart(const ToolkitStart&) = delete;
    ToolkitStart& operator=(const ToolkitStart&) = delete;

private:
    /// A variable of the environment that leads nowhere while this lives.
    class Nowhere {
    public:
        explicit Nowhere(const char* variable);
        ~Nowhere();
        Nowhere(const Nowhere&) = delete;
        Nowhere& operator=(const Nowhere&) = delete;

    private:
        const char* m_variable;
        std::optional<QByteArray> m_before; ///< nothing where it was not set
    };

    Nowhere m_temporaryDirectory;
    std::optional<Nowhere> m_runtimeDirectory;
};

} // namespace kestrum
