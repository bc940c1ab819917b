#pragma once

#include "FolderWalks.h"
#include "HeldDrops.h"

#include <QHash>
#include <QObject>

#include <array>

/// What joins the queue: each drop, at once, as its files are found where folders are uploaded, or when it is settled
/// what becomes of files that it would replace. Drops keep their order, but unattended ones never wait for others:
/// those may be walks without end, or wait for somebody's answer. Belongs to the main thread.
class UploadIntake final : public QObject {
    Q_OBJECT

public:
    /// What keeps drops from joining.
    enum class Stage {
        Nothing,
        LookingThroughFolders,
        LookingAtDestination, ///< At what is there already.
        Asking, ///< Whether that is to be replaced.
        AwaitingDestination, ///< There is none to look at.
    };

    /// All outlive the intake.
    UploadIntake(UploadQueue& queue, UploadHistory& history, AutomaticTries& tries, FTPStreamFactory& streams);

    /// Has @p drop join the queue, as far as that can be done at once.
    void take(const Drop& drop);
    /// The same for files that are queued again, whose paths (TreePath) the history has.
    void takeAgain(const PathList& paths, const Destination& destination);
    /// Another destination is in force.
    void destinationChanged();
    /// There is none, and has been none for a while: unattended files fail.
    void destinationMissed() { lineOf({ .isUnattended = true }).held.destinationMissed(); }
    /// The upload under way stands still until somebody has said whether its server is to be trusted: unattended files
    /// that wait for the same server fail.
    void trustAwaited() { lineOf({ .isUnattended = true }).held.trustAwaited(); }
    /// What has not joined does, for whoever clears the queue next: what has not been looked through as it was dropped.
    void giveUp();

    /// What keeps the first drop that has not joined; unattended ones come behind all others.
    Stage stage() const;
    /// Whether folders are being looked through, and more files may be found.
    bool isLookingThrough() const;

signals:
    /// No more files come of the drop that was for @p request: the history has all.
    void dropEnded(UploadRequest request);
    /// Somebody is to be asked.
    void asked(const HeldDrops::Question& question);
    /// Files have joined the queue by themselves, after their drop was taken, or have left it.
    void queueChanged();
    /// stage() or isLookingThrough() has another answer.
    void changed();

private:
    /// Drops that keep their order.
    struct Line {
        HeldDrops held;
        FolderWalks walks = {};

        Stage stage() const;
    };

    Line& lineOf(UploadRequest request) { return m_lines[request.isUnattended ? 1 : 0]; }
    void connectTo(Line& line);
    void folderEntered(const QString& name);
    void join(const Drop& drop);
    void hold(const Drop& drop);
    void giveUp(FolderWalks& walks);
    void stageChanged();

    UploadQueue& m_queue;
    UploadHistory& m_history;
    std::array<Line, 2> m_lines; ///< The unattended ones are behind.
    QHash<QString, int> m_named; ///< How many folders that were dropped since the queue began have that name.
};
