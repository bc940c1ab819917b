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
#include <optional>

class AutomaticTries;

/// The drops that do not join the queue before it is known whether they replace files on the server, and somebody was
/// asked about these: one after the other, in their order. Those that come while one is looked at or asked about are
/// the next one together. What was queued before goes on meanwhile. The history has their files as soon as they are
/// here. Where they are unattended nobody is asked: what would replace a file fails, and all of it does when there has
/// been no destination for a while. Belongs to the main thread.
class HeldDrops final : public QObject {
    Q_OBJECT

public:
    /// What somebody is asked about a drop.
    struct Question {
        PathList files; ///< Of the drop.
        qsizetype fileCount; ///< So many of them are files, and no folders to be made.
        std::vector<ReplacementSearch::Found> found; ///< Which would replace others.
        QString failure; ///< Why that is not known, for people; null when it is.
        const QObject* matter; ///< When it is destroyed the question is over.
        /// To be called with whether they are to replace them; otherwise they are left out, and where it is not known
        /// all files are. Does nothing when the question is over.
        std::function<void(bool replace)> answer;
    };

    /// All others outlive the drops, of which all or none @p areUnattended. Folders are listed by a controller of their
    /// own.
    HeldDrops(UploadQueue& queue, UploadHistory& history, AutomaticTries& tries, FTPStreamFactory& streams,
              bool areUnattended);

    /// Whether a drop is to be held that comes now.
    bool areWanted() const;

    /// @p drop is here as a whole. What it leaves out is in the history.
    void take(const Drop& drop);
    /// A part of a drop, which is here as a whole with end(). What it leaves out is in the history.
    void add(const Drop& piece);
    void end();
    /// Another destination is in force, maybe. Then what waits in the queue, unless it has a destination of its own,
    /// waits here again, if it is to.
    void destinationChanged() { goOn(); }
    /// There is none, and has been none for a while: unattended drops wait for none.
    void destinationMissed();
    /// What is sent waits for an answer about its server's certificate: those that wait in the queue behind it, to go
    /// there too, wait for none.
    void trustAwaited();
    /// All join the queue, for whoever clears that next.
    void giveUp();

    bool isEmpty() const { return m_held.empty() && m_coming.rows.isEmpty(); }
    /// Whether the server is asked what is there.
    bool isLooking() const { return m_search != nullptr && !isAsking(); }
    bool isAsking() const { return m_asking != nullptr; }

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
    };
    /// A question that stands.
    struct Asking : QObject {
        size_t foundCount = 0; ///< So many files were found when it was asked.
        std::optional<bool> answer = {}; ///< Which may come while more files are compared.
    };

    UploadQueue::Held filesOf(const Drop& drop);
    void followDestination();
    void hold(const Held& held);
    void goOn();
    void endElsewhere();
    void look();
    void judge();
    void settle();
    void ask(size_t foundCount);
    void lookAtSettingsSoon();
    void tellReplacing();
    void failUnasked();
    void endFound(const UploadOutcome& outcome);
    void join(const UploadQueue::Held& files);
    void stopLooking();

    UploadQueue& m_queue;
    UploadHistory& m_history;
    AutomaticTries& m_tries;
    FTPListController m_controller;
    bool m_areUnattended;
    Destination m_destination; ///< The one in force, as it was last seen.
    UploadQueue::Held m_coming; ///< Of the drop that add() tells of.
    std::deque<Held> m_held;
    std::unique_ptr<ReplacementSearch> m_search; ///< Of the first one, until it joins.
    std::unique_ptr<Asking> m_asking; ///< About that one.
};
