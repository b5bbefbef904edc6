// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>

namespace kestrum {

/// Prevents side effects of creating the application object: in a session without a bus or a private runtime directory,
/// the toolkit would start a bus or create a directory in a shared place, and not remove them. Create this object right
/// before the application object, and destroy it right after the application object is created. The value that means "no
/// bus" stays in the environment of this process, for the programs that it starts.
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
