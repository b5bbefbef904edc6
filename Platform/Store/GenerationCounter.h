// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QString>
#include <QtGlobal>
#include <memory>

namespace kestrum {

/// A number that all processes of a user share under a name, in a memory-mapped page of the runtime directory. A writer of
/// shared data adds one after each change. A reader that sees the same number as before knows, without a system call, that
/// nothing changed. If the page's file is truncated, the page is made again with a number that it never had.
class GenerationCounter {
public:
    /// Null if there is no runtime directory or the page cannot be mapped.
    static std::unique_ptr<GenerationCounter> open(const QString& name);
    ~GenerationCounter();
    GenerationCounter(const GenerationCounter&) = delete;
    GenerationCounter& operator=(const GenerationCounter&) = delete;

    quint64 value() const { return __atomic_load_n(&m_page->value, __ATOMIC_ACQUIRE); }
    void advance() { __atomic_add_fetch(&m_page->value, 1, __ATOMIC_ACQ_REL); }

    /// False after the page was lost and could not be made again. Then the number says nothing of other processes.
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

    void initialize() const;
    bool holds(const void* address) const;
    /// Gives the page memory again, private memory if the file has none. False if both fail.
    bool restorePage() const;

    Page* m_page;
    FileDescriptor m_file;
};

} // namespace kestrum
