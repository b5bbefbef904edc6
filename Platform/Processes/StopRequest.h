#pragma once

#include <QObject>

namespace kestrum {

/// Turns the signals by which a person or the system stops a program (SIGINT, SIGTERM) into an ordinary Qt
/// signal, so that a program that runs until it is stopped ends by returning from its event loop. From its
/// making on these signals do nothing else in this process. One a process, made before any second thread; where that
/// cannot be, `holdBack` is called before them.
class StopRequest : public QObject {
    Q_OBJECT
public:
    /// Makes the signals wait, in this thread and those that are made from now on, until there is a `StopRequest`. For
    /// programs whose application object, which has to be there first, brings threads of its own.
    static void holdBack();

    StopRequest();
    ~StopRequest() override;

Q_SIGNALS:
    void requested();

private:
    int m_descriptor;
};

} // namespace kestrum
