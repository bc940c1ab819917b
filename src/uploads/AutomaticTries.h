#pragma once

#include "Destination.h"
#include "PathList.h"
#include "UploadOutcome.h"

#include <QHash>
#include <QMap>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <vector>

class UploadHistory;
class UploadQueue;

/// Queues files again by themselves that failed for the connection, where the settings want it ("RetryFailedFiles"):
/// each after a while that grows from try to try, or when there is a way to the network again that had gone, and to the
/// destination that it was for and no other. A file of the queue that is lost for the fifth time stays lost. Belongs to
/// the main thread.
class AutomaticTries final : public QObject {
    Q_OBJECT

public:
    using Delays = std::vector<std::chrono::milliseconds>;

    static Delays usualDelays();

    /// Both outlive it. @p delays: before the second try, the third and so on.
    AutomaticTries(UploadHistory& history, UploadQueue& queue, Delays delays = usualDelays());

    /// How many files wait for another try, outside the queue.
    qsizetype waitingCount() const { return static_cast<qsizetype>(m_waiting.size()); }
    /// The paths (TreePath) of those that go to @p destination.
    PathList waitingPaths(const Destination& destination) const;
    /// Whether the file of this run with that @p number was queued by itself.
    bool isTry(int number) const { return m_triesBefore.contains(number); }
    /// Whether all files of the present queue, or of the last one, were queued by themselves.
    bool isQueueOfTries() const;
    /// What kept files from another try since the last queue began; null where nothing did.
    const QString& hindrance() const { return m_hindrance; }

    /// Queues all that wait for another try.
    void tryNow();
    /// None of them is tried again, nor is one whose try is under way.
    void giveUp();
    /// The files of this run with those @p numbers are queued to replace, each at its place (TreePath::below()), those
    /// with lower numbers: these are tried again no more, or would come behind.
    void replacementsQueued(const QHash<QString, int>& numbers);
    /// Takes those at the front of the queue out that stand there for another try and are not for @p present, which is
    /// in force.
    void dropOthers(const Destination& present);

signals:
    /// waitingCount() has another answer, or hindrance() has.
    void changed();
    /// Files have joined the queue.
    void queued();

private:
    struct Waiting {
        int number; ///< In this run.
        int triesBefore; ///< By themselves.
        std::chrono::steady_clock::time_point due;
    };

    /// Whether what is due waits until there is a way to the network again.
    bool isHeldBack() const { return m_wasCutOff && m_hadWay; }
    void giveUpThose(const std::function<bool(int number)>& condition);
    bool isReplaced(int number) const;
    void queueBegins();
    void fileFails(int number, const UploadOutcome& outcome);
    void look();
    void queue(const std::vector<Waiting>& files);
    void hinder(const QMap<QString, int>& others);
    void lookSoon();

    UploadHistory& m_history;
    UploadQueue& m_queue;
    Delays m_delays;
    std::vector<Waiting> m_waiting;
    QHash<int, int> m_triesBefore; ///< Of files that were queued by themselves.
    QHash<QString, int> m_replacing; ///< In the present queue: what replacementsQueued() was told.
    int m_lastTry = -1; ///< The file of this run whose try was under way when they were given up.
    QString m_hindrance;
    bool m_wasCutOff = false; ///< At the last look there was no way to the network.
    bool m_hadWay = false; ///< There was one when the queue began, or at a look since.
    QTimer m_timer;
};
