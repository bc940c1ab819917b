#pragma once

#include <QObject>

/// Has the process told from its loop when it is asked to end (SIGINT, SIGTERM, SIGHUP), the first time; the second
/// signal of a kind ends it as usual. What was ignored from the start stays so. One at a time in a process; when it
/// goes, signals end the process as usual, also one that it has not told of yet.
class TerminationSignals final : public QObject {
    Q_OBJECT

public:
    TerminationSignals();
    ~TerminationSignals() override;

signals:
    void received();
};
