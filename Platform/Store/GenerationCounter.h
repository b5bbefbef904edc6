// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QString>
#include <QtGlobal>
#include <memory>

namespace kestrum {

/// A named number that all processes of a user share, in a memory-mapped file of the runtime directory. A writer of shared data
/// adds one after each change. If a reader sees the same number as before, nothing has changed; this check needs no system
/// call. If the file is truncated, the counter starts again with a number that it never had.
class GenerationCounter {
public:
    /// Null if there is no runtime directory, `name` makes no file name, the page cannot be mapped, or 64 counters are open.
    static std::unique_ptr<GenerationCounter> open(const QString& name);
    ~GenerationCounter();
    GenerationCounter(const GenerationCounter&) = delete;
    GenerationCounter& operator=(const GenerationCounter&) = delete;

    quint64 value() const { return __atomic_load_n(&m_page->value, __ATOMIC_ACQUIRE); }
    void advance() { __atomic_add_fetch(&m_page->value, 1, __ATOMIC_ACQ_REL); }

    /// False after the page was lost and the file could not be extended again. Then the number shows no changes by others.
    bool isShared() const { return __atomic_load_n(&m_page->isOwn, __ATOMIC_ACQUIRE) == 0; }

private:
    struct Page {
        quint64 value;
        quint64 isOwn; ///< 1 in private memory; 0 in the file
    };
    struct Repair; // defined in the .cpp file

    GenerationCounter(Page* page, FileDescriptor file)
        : m_page(page)
        , m_file(std::move(file))
    {
    }

    void initialize() const;
    bool holds(const void* address) const;
    /// Gives the page new memory: from the file or, if that fails, private memory. False if both attempts fail.
    bool restorePage() const;

    Page* m_page;
    FileDescriptor m_file;
};

} // namespace kestrum
