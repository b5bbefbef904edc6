// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QString>
#include <QtGlobal>
#include <memory>

namespace kestrum {

/// A named counter that all processes of a user share, in a memory-mapped file of the runtime directory. A writer of shared
/// data increments the counter after each change. If a reader finds the same value as before, the data has not changed; this
/// check needs no system call. If the file is truncated, the counter starts again with a value that it never had before.
class GenerationCounter {
public:
    /// Null if there is no runtime directory, `name` cannot be a file name, the file cannot be mapped, or 64 counters are open.
    static std::unique_ptr<GenerationCounter> open(const QString& name);
    ~GenerationCounter();
    GenerationCounter(const GenerationCounter&) = delete;
    GenerationCounter& operator=(const GenerationCounter&) = delete;

    quint64 value() const { return __atomic_load_n(&m_page->value, __ATOMIC_ACQUIRE); }
    void advance() { __atomic_add_fetch(&m_page->value, 1, __ATOMIC_ACQ_REL); }

    /// Whether the value includes changes by other processes. False if the file was truncated and could not be extended again.
    bool isShared() const { return __atomic_load_n(&m_page->isOwn, __ATOMIC_ACQUIRE) == 0; }

private:
    struct Page {
        quint64 value;
        quint64 isOwn; ///< 1 if the page is private memory; 0 if it is the file's page
    };
    struct Repair; // defined in the .cpp file

    GenerationCounter(Page* page, FileDescriptor file)
        : m_page(page)
        , m_file(std::move(file))
    {
    }

    void initialize() const;
    bool holds(const void* address) const;
    /// Allocates the page again, in the file or, if that fails, in private memory. Returns false if both allocations fail.
    bool restorePage() const;

    Page* m_page;
    FileDescriptor m_file;
};

} // namespace kestrum
