#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QString>
#include <QtGlobal>
#include <memory>

namespace kestrum {

/// A number that all processes of a user share under a name, kept in a memory-mapped page of the runtime
/// directory. A writer of shared data adds one after each change; a reader that sees the same number as at
/// its last look knows, without a system call, that nothing changed. When somebody cuts the page's file off, it is
/// made anew, and begins at a number that it never had.
class GenerationCounter {
public:
    /// Null when there is no runtime directory or the page cannot be mapped.
    static std::unique_ptr<GenerationCounter> open(const QString& name);
    ~GenerationCounter();
    GenerationCounter(const GenerationCounter&) = delete;
    GenerationCounter& operator=(const GenerationCounter&) = delete;

    quint64 value() const { return __atomic_load_n(&m_page->value, __ATOMIC_ACQUIRE); }
    void advance() { __atomic_add_fetch(&m_page->value, 1, __ATOMIC_ACQ_REL); }

    /// False from the moment on at which the page was cut off and could not be made anew: then the number tells nothing of
    /// other processes any more.
    bool isShared() const { return __atomic_load_n(&m_page->isOwn, __ATOMIC_ACQUIRE) == 0; }

private:
    struct Page {
        quint64 value;
        quint64 isOwn; ///< stays 0 in the file
    };
    struct Repair; // known to the implementation only

    GenerationCounter(Page* page, FileDescriptor file)
        : m_page(page)
        , m_file(std::move(file))
    {
    }

    void begin() const;
    bool holds(const void* address) const;
    /// Gives the page memory again; false when not even that of our own can be had.
    bool mend() const;

    Page* m_page;
    FileDescriptor m_file;
};

} // namespace kestrum
