#pragma once

#include "Destination.h"
#include "Drop.h"
#include "FTPListController.h"
#include "ReplacementSearch.h"
#include "UploadOutcome.h"
#include "UploadQueue.h"

#include <QObject>

#include <deque>
#include <functional>
#include <memory>

/// The drops that do not join the queue before it is known whether they replace files on the server, and somebody was
/// asked about these: one after the other, in their order. What was queued before goes on meanwhile. The history has
/// their files as soon as they are here. Belongs to the main thread.
class HeldDrops final : public QObject {
    Q_OBJECT

public:
    /// What somebody is asked about a drop.
    struct Question {
        PathList files; ///< Of the drop.
        qsizetype fileCount; ///< So many of them are files, and no folders to be made.
        std::vector<ReplacementSearch::Found> found; ///< Which would replace others.
        QString failure; ///< Why that is not known, for people; null when it is.
        /// To be called with whether they are to replace them; otherwise they are left out, and where it is not known
        /// all files are. Does nothing when the question is out of date.
        std::function<void(bool replace)> answer;
    };

    /// All outlive the drops. Folders are listed by a controller of their own.
    HeldDrops(UploadQueue& queue, UploadHistory& history, FTPStreamFactory& streams);

    /// The setting "AskBeforeReplacing": whether drops are held.
    static bool areWanted();

    /// @p drop is here as a whole. What it leaves out is in the history.
    void take(const Drop& drop);
    /// A drop begins of which add() tells what is in it, until end(). Others may begin before: they end in their order.
    void begin(const Drop& drop);
    /// A further part of the first drop that has begun and not ended. What it leaves out is in the history.
    void add(const Drop& piece);
    void end();
    /// Another destination is in force, maybe. Then what waits in the queue, unless it has a destination of its own,
    /// waits for an answer again.
    void destinationChanged() { goOn(); }
    /// There is none, and has been none for a while: unattended drops wait for none.
    void destinationMissed();
    /// All join the queue, for whoever clears that next.
    void giveUp();

    bool isEmpty() const { return m_held.empty(); }
    /// Whether the server is asked what is there.
    bool isLooking() const { return m_search != nullptr && !m_isAsking; }
    bool isAsking() const { return m_isAsking; }

signals:
    /// Somebody is to be asked.
    void asked(const HeldDrops::Question& question);
    /// Files have joined the queue or left it.
    void queueChanged();
    /// One of the answers above is another one.
    void changed();

private:
    struct Held {
        UploadQueue::Held files = {};
        Destination bound = {}; ///< Of files that are queued again: they go there or nowhere.
        bool hasEnded = false;
    };

    UploadQueue::Held filesOf(const Drop& drop);
    bool isUnattended(const Held& held) const;
    void followDestination();
    void hold(const UploadQueue::Held& waiting);
    void goOn();
    void look();
    void judge();
    void failUnasked();
    void answered(bool replace);
    void endFound(const UploadOutcome& outcome);
    void join(const UploadQueue::Held& files);
    void stopLooking();

    UploadQueue& m_queue;
    UploadHistory& m_history;
    FTPListController m_controller;
    Destination m_destination; ///< The one in force, as it was last seen.
    std::deque<Held> m_held;
    std::unique_ptr<ReplacementSearch> m_search; ///< Of the first one, until it joins.
    bool m_isAsking = false;
    quint64 m_question = 0; ///< The number of the latest one.
};
