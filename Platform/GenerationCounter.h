#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>

namespace kestrum {

/// A number that all processes of a user share under a name, kept in a memory-mapped page of the runtime
/// directory. A writer of shared data adds one after each change; a reader that sees the same number as at
/// its last look knows, without a system call, that nothing changed.
class GenerationCounter {
public:
    /// Null when there is no runtime directory or the page cannot be mapped.
    static std::unique_ptr<GenerationCounter> open(const QString& name);
    ~GenerationCounter();
    GenerationCounter(const GenerationCounter&) = delete;
    GenerationCounter& operator=(const GenerationCounter&) = delete;

    quint64 value() const { return __atomic_load_n(m_value, __ATOMIC_ACQUIRE); }
    void advance() { __atomic_add_fetch(m_value, 1, __ATOMIC_ACQ_REL); }

private:
    explicit GenerationCounter(quint64* value)
        : m_value(value)
    {
    }
    quint64* m_value;
};

} // namespace kestrum
