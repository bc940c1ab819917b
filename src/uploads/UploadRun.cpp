#include "UploadRun.h"

#include "Addressing.h"
#include "FTPPutController.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "VisibleText.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

/// So long files fail one after the other before everything else that has come is seen to.
constexpr int refusingTimeMs = 20;

} // namespace

void UploadRun::startNext(UploadQueue& queue, const Destination& destination)
{
    if (failRefused(queue, destination)) {
        return;
    }
    const QString path = queue.takeFirst();
    m_history.nextFileStarts(destination);
    Destination folder = destination;
    if (const QString below = TreePath::folder(path); !below.isNull()) {
        folder.location = Addressing::folderBelow(destination.location, below);
    }
    m_controller.setMadeLevels(TreePath::levels(path));
    m_controller.setAsksNobody(m_history.requestOf(m_history.currentRow()).isUnattended);
    start(path, folder);
}

/// False when the first file of @p queue is to be started.
bool UploadRun::failRefused(UploadQueue& queue, const Destination& destination)
{
    const auto isBound = [&queue] { return queue.firstDestination() != nullptr; };
    const auto isRefused = [this, &queue, &isBound] {
        // What somebody has queued again is worth another question, once for all.
        return !queue.isEmpty() && isBound() == m_refusal.isBound
            && TreePath::liesIn(queue.paths().at(0), m_refusal.folder);
    };
    if (m_refusal.folder.isNull() || destination != m_refusal.destination || !isRefused()) {
        m_refusal = { .destination = destination, .isBound = isBound() };
        return false;
    }
    QElapsedTimer time;
    time.start();
    do {
        queue.takeFirst();
        m_history.nextFileStarts(destination);
        m_history.fileEnded(m_refusal.outcome);
    } while (isRefused() && !time.hasExpired(refusingTimeMs));
    return true;
}

void UploadRun::startManually(const QString& path, const Destination& destination)
{
    m_history.manualFileStarts(TreePath::plain(path), destination);
    m_refusal = {};
    m_controller.setMadeLevels(0);
    m_controller.setAsksNobody(false);
    start(path, destination);
}

void UploadRun::start(const QString& path, const Destination& destination)
{
    m_path = path;
    m_isStarting = true;
    m_controller.startSend(path, destination.location, destination.username, destination.password);
    m_isStarting = false;
    if (m_controller.isSending()) {
        m_history.fileMoves(m_controller.fileSize());
    } else if (hasEnded()) {
        end(m_controller.outcome());
    }
}

void UploadRun::end(const UploadOutcome& outcome)
{
    m_history.fileEnded(outcome);
    if (outcome.missingLevels == 0) {
        return;
    }
    // All that goes through the folder fails with it, and that is said once.
    m_refusal.folder = TreePath::relative(TreePath::withoutLevels(m_path, outcome.missingLevels - 1));
    m_refusal.outcome = outcome;
    const QString reply = outcome.reply.isEmpty() ? outcome.status : outcome.reply;
    m_history.note(m_refusal.folder.isEmpty()
                       ? u"The server has no such destination: %1. No folder is uploaded there."_s.arg(reply)
                       : u"The server does not make the folder “%1”: %2. Nothing in it is uploaded."_s.arg(
                           visibleText(m_refusal.folder.chopped(1)), reply));
}

void UploadRun::stop()
{
    m_controller.stopSendWithStatus(u"Upload Stopped"_s);
}

void UploadRun::statusReported()
{
    if (hasEnded()) {
        end(m_controller.outcome());
    }
}

void UploadRun::uploadDone()
{
    if (hasEnded()) {
        m_history.fileConfirmed(m_controller.totalBytesWritten(), m_controller.outcome().reply);
    }
}

bool UploadRun::hasEnded() const
{
    return !m_isStarting && m_history.isSending() && !m_controller.isSending();
}
