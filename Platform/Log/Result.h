// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cerrno>
#include <concepts>
#include <utility>
#include <variant>

namespace kestrum {

/// The reason why an operation failed. The texts are for users and logs; they are not escaped.
struct Failure {
    QString step;    ///< the text after "cannot", such as "make a temporary file"; may be empty
    QString reason;  ///< the system's error message or the program's own text, without a line end
    int error = 0;   ///< usually an `errno` value; 0 if there is none
    QString subject; ///< the object of the failed operation, usually a path

    /// The failure of a system call with the error number `error`.
    static Failure fromErrno(const char* step, int error = errno)
    {
        return { QString::fromLatin1(step), qt_error_string(error), error, {} };
    }

    static Failure withReason(const QString& reason) { return { {}, reason, 0, {} }; }

    /// A copy of this failure with another subject.
    Failure about(const QString& newSubject) const { return { step, reason, error, newSubject }; }

    /// Returns "<subject>: cannot <step>: <reason>" without the empty parts.
    QString text() const
    {
        return (subject.isEmpty() ? QString() : subject + QStringLiteral(": "))
            + (step.isEmpty() ? QString() : QStringLiteral("cannot %1: ").arg(step)) + reason;
    }
};

/// Holds the value that a call returned or, after a failure, a `Failure`. `Result<>` is for a call that returns no value. A
/// result converts to true on success. Reading the alternative that is not there throws `std::bad_variant_access`.
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
        m_outcome; // `Failure` is first, so that T may be nested in a class that is still incomplete
};

} // namespace kestrum
