// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cerrno>
#include <concepts>
#include <utility>
#include <variant>

namespace kestrum {

/// Why something could not be done. The texts are for people and logs; nothing in them is escaped.
struct Failure {
    QString step; ///< completes "cannot", such as "make a temporary file"; empty if the reason needs no step
    QString reason;  ///< the system's message or our own text, without a line end
    int error = 0;   ///< usually an `errno`; 0 if there is no number
    QString subject; ///< usually a path

    /// A failure of the system call in `step`.
    static Failure fromErrno(const char* step, int error = errno)
    {
        return { QString::fromLatin1(step), qt_error_string(error), error, {} };
    }

    /// A failure without a step.
    static Failure withReason(const QString& reason) { return { {}, reason, 0, {} }; }

    /// The same failure with another subject.
    Failure about(const QString& newSubject) const { return { step, reason, error, newSubject }; }

    /// "subject: cannot step: reason", without the parts that are empty.
    QString text() const
    {
        return (subject.isEmpty() ? QString() : subject + QStringLiteral(": "))
            + (step.isEmpty() ? QString() : QStringLiteral("cannot %1: ").arg(step)) + reason;
    }
};

/// The value of a call that can fail, or its `Failure`. `Result<>` is for a call without a value. A result converts to true on
/// success. Reading the value after a failure, or the failure after a success, throws `std::bad_variant_access`.
template <typename T = std::monostate> class [[nodiscard]] Result {
public:
    Result() requires std::same_as<T, std::monostate> : m_outcome(std::in_place_index<1>) { }
    Result(T value)
        : m_outcome(std::in_place_index<1>, std::move(value))
    {
    }
    Result(Failure failure)
        : m_outcome(std::in_place_index<0>, std::move(failure))
    {
    }

    explicit operator bool() const { return m_outcome.index() == 1; }
    T& operator*() { return std::get<1>(m_outcome); }
    const T& operator*() const { return std::get<1>(m_outcome); }
    T* operator->() { return &**this; }
    const T* operator->() const { return &**this; }

    const Failure& failure() const { return std::get<0>(m_outcome); }
    /// The failure's text; empty on success.
    QString failureText() const { return *this ? QString() : failure().text(); }

private:
    std::variant<Failure, T>
        m_outcome; // with `Failure` first, T may be a type of an enclosing class that is not complete
};

} // namespace kestrum
