#pragma once

#include <QObject>

/// Has the process told from its loop when it is asked to end (SIGINT, SIGTERM, SIGHUP), the first time; the second
/// signal of a kind ends it as usual. What was ignored from the start stays so. One in a process.
class TerminationSignals final : public QObject {
    Q_OBJECT

public:
    TerminationSignals();

signals:
    void received();
};
