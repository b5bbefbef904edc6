// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>

namespace kestrum {

/// Protects the creation of the application object: create this object right before, and destroy it right after that
/// creation. If the session has no bus or no private runtime directory, the toolkit would start a bus or create a
/// directory in a shared place, and leave it behind. The value that means "no bus" stays in our environment, for the
/// programs that we start.
class ToolkitStart {
public:
    ToolkitStart();
    ~ToolkitStart();
    Q_DISABLE_COPY_MOVE(ToolkitStart)

private:
    /// Sets an environment variable to a path that cannot be used, and restores the old value when destroyed.
    class Nowhere {
    public:
        explicit Nowhere(const char* variable);
        ~Nowhere();
        Q_DISABLE_COPY_MOVE(Nowhere)

    private:
        const char* m_variable;
        std::optional<QByteArray> m_before; ///< the old value; nothing if the variable was not set
    };

    Nowhere m_temporaryDirectory;
    std::optional<Nowhere> m_runtimeDirectory;
};

} // namespace kestrum
