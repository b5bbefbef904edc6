#pragma once

#include <QByteArray>
#include <optional>

namespace kestrum {

/// What the toolkit finds of the session while the application object is made: made right before that, destroyed right after it.
/// Where the session has no bus, or no runtime directory of ours alone, the toolkit would make one of its own, the directory in a
/// place that all share, and leave it behind. That there is no bus stays in our environment, for what we start.
class ToolkitStart {
public:
    ToolkitStart();
    ~ToolkitStart();
    ToolkitStart(const ToolkitStart&) = delete;
    ToolkitStart& operator=(const ToolkitStart&) = delete;

private:
    /// A variable of the environment that leads nowhere as long as this lives.
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
