#include "HeldDrops.h"

#include "AskBeforeReplacing.h"
#include "AutomaticTries.h"
#include "DestinationSettings.h"
#include "KnownTrust.h"
#include "OutcomeText.h"
#include "RunLoop.h"
#include "TreePath.h"
#include "TrustedCertificates.h"
#include "UploadHistory.h"

#include <QHash>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;
using Place = ReplacementSearch::Found::Place;

namespace {

/// So often settings are looked at while a question stands.
constexpr int settingsIntervalMs = 1000;

} // namespace

HeldDrops::HeldDrops(UploadQueue& queue, UploadHistory& history, AutomaticTries& tries, FTPStreamFactory& streams,
                     bool areUnattended)
    : m_queue(queue)
    , m_history(history)
    , m_tries(tries)
    , m_controller(streams)
    , m_areUnattended(areUnattended)
    , m_destination(DestinationSettings::destination())
{
    m_controller.setAsksNobody(areUnattended);
    connect(&queue, &UploadQueue::appended, this, [this](const PathList& paths) {
        if (m_search != nullptr) {
            m_search->alsoBefore(paths);
        }
    });
}

bool HeldDrops::areWanted() const
{
    return AskBeforeReplacing::isWanted() || (m_areUnattended && DestinationSettings::destination().isNull());
}

void HeldDrops::take(const Drop& drop)
{
    hold({ .files = filesOf(drop), .bound = drop.bound });
    goOn();
}

/// The files of @p drop, which the history has from now on, with what was left out.
UploadQueue::Held HeldDrops::filesOf(const Drop& drop)
{
    UploadQueue::Held files{ .paths = drop.paths };
    for (int row = m_history.filesHeld(drop.paths, drop.leftOut, drop.request); row < m_history.rowCount(); ++row) {
        files.rows.append(row);
    }
    return files;
}

void HeldDrops::add(const Drop& piece)
{
    m_coming.append(filesOf(piece));
}

void HeldDrops::end()
{
    hold({ .files = std::exchange(m_coming, {}) });
    goOn();
}

/// Has @p held wait behind all others, or be one with the last of them.
void HeldDrops::hold(const Held& held)
{
    const bool isLastLookedAt = m_search != nullptr && m_held.size() == 1;
    if (held.files.paths.isEmpty()) {
        return;
    }
    if (m_held.empty() || isLastLookedAt || m_held.back().bound != held.bound) {
        m_held.push_back(held);
    } else {
        m_held.back().files.append(held.files);
    }
}

/// Sees which destination is in force. Where it is another one, nothing is known of what is there, nor agreed to.
void HeldDrops::followDestination()
{
    const Destination before = std::exchange(m_destination, DestinationSettings::destination());
    if (m_destination.isSamePlace(before)) {
        return;
    }
    stopLooking();
    if (m_queue.isEmpty() || !areWanted()) {
        return;
    }
    m_history.setMoreComes(true); // The queue is not over.
    Held held{ .files = m_queue.takeUnbound(m_areUnattended) };
    if (!held.files.paths.isEmpty()) {
        m_held.push_front(std::move(held));
        emit queueChanged();
    }
}

void HeldDrops::destinationMissed()
{
    if (m_held.empty()) {
        return;
    }
    followDestination();
    if (m_destination.isNull()) {
        const UploadOutcome outcome{ .kind = UploadOutcome::Kind::Failed,
                                     .status = DestinationSettings::whyThereIsNoDestination() };
        for (const Held& held : std::exchange(m_held, {})) {
            m_history.heldFilesEnded(held.files.rows, outcome, m_destination);
        }
    }
    goOn();
}

void HeldDrops::trustAwaited()
{
    const Destination destination = DestinationSettings::destination();
    const TrustedCertificates& trusted = TrustedCertificates::standard();
    const int row = m_history.currentRow();
    if (row < 0 || !m_history.entries().withoutPath(row).isFor(destination)
        || isAnyTrusted(trusted, destination.location)) {
        return; // They may be let in where they go, or the answer is known and about to be given.
    }
    const UploadOutcome outcome{ .kind = UploadOutcome::Kind::Failed,
                                 .status = untrustedText(trusted, destination.location) };
    m_history.heldFilesEnded(m_queue.takeUnbound(m_areUnattended).rows, outcome, destination);
    emit queueChanged();
}

void HeldDrops::giveUp()
{
    stopLooking();
    hold({ .files = std::exchange(m_coming, {}) });
    for (const Held& held : std::exchange(m_held, {})) {
        m_queue.appendHeld(held.files, held.bound);
    }
    emit changed();
}

/// Has the first drop join, or looks what it would replace.
void HeldDrops::goOn()
{
    followDestination();
    const bool isToBeAsked = AskBeforeReplacing::isWanted();
    if (!isToBeAsked) {
        stopLooking();
    }
    while (m_search == nullptr && !m_held.empty()) {
        if (m_destination.isNull() && (isToBeAsked || m_areUnattended)) {
            break; // It goes on when there is one.
        }
        const Held& held = m_held.front();
        if (!isToBeAsked) {
            join(held.files);
        } else if (!held.bound.isNull() && !held.bound.isSamePlace(m_destination)) {
            endElsewhere();
        } else {
            look();
        }
    }
    emit changed();
}

/// The first drop is bound elsewhere, and goes nowhere: in the queue it could wait until its destination is in force
/// again, and nobody would have looked at what is there.
void HeldDrops::endElsewhere()
{
    const Held held = std::move(m_held.front());
    m_held.pop_front();
    m_history.heldFilesEnded(held.files.rows, { .kind = UploadOutcome::Kind::Removed }, held.bound);
    m_history.note(otherDestinationText(static_cast<int>(held.files.rows.size()), held.bound.location));
}

void HeldDrops::look()
{
    PathList before;
    if (m_history.isSending()) {
        const HistoryEntry current = m_history.entries()[m_history.currentRow()];
        if (current.isFor(m_destination)) {
            before.append(current.path);
        }
    }
    before.append(m_queue.paths());
    m_search = std::make_unique<ReplacementSearch>(m_controller, m_destination, m_held.front().files.paths, before,
                                                   m_tries.waitingPaths(m_destination));
    connect(m_search.get(), &ReplacementSearch::ended, this, &HeldDrops::judge);
}

/// It is known what the first drop would replace, or cannot be, or somebody has answered.
void HeldDrops::judge()
{
    followDestination();
    if (m_search != nullptr && m_search->isOver() && AskBeforeReplacing::isWanted()) {
        settle();
    }
    goOn();
}

void HeldDrops::settle()
{
    const bool isKnown = m_search->failure().isNull();
    const size_t foundCount = isKnown ? m_search->found().size() : 0;
    if (isKnown && foundCount == 0) {
        join(m_held.front().files);
    } else if (m_areUnattended) {
        failUnasked();
    } else if (!isAsking() || m_asking->foundCount != foundCount) {
        ask(foundCount);
    } else if (m_asking->answer && *m_asking->answer) {
        tellReplacing();
        join(m_held.front().files);
    } else if (m_asking->answer) {
        endFound({ .kind = UploadOutcome::Kind::NotReplacing });
    }
}

void HeldDrops::ask(size_t foundCount)
{
    m_asking = std::make_unique<Asking>();
    m_asking->foundCount = foundCount;
    lookAtSettingsSoon();
    emit asked({ .files = m_held.front().files.paths,
                 .fileCount = m_search->fileCount(),
                 .found = m_search->found(),
                 .failure = m_search->failure(),
                 .matter = m_asking.get(),
                 .answer = [this, asking = QPointer(m_asking.get())](bool replace) {
                     if (asking) {
                         asking->answer = replace;
                         judge();
                     }
                 } });
}

/// They may say that nobody has to answer any more.
void HeldDrops::lookAtSettingsSoon()
{
    RunLoop::dispatchAfter(settingsIntervalMs, m_asking.get(), [this] {
        goOn();
        if (isAsking()) {
            lookAtSettingsSoon();
        }
    });
}

/// What the first drop is to replace is not to be sent once more behind it.
void HeldDrops::tellReplacing()
{
    const UploadQueue::Held& files = m_held.front().files;
    QHash<QString, int> numbers;
    for (const ReplacementSearch::Found& found : m_search->found()) {
        if (found.place == Place::SentBefore || found.place == Place::AwaitingTry) {
            numbers.insert(TreePath::below(files.paths.at(found.index)), files.rows[found.index]);
        }
    }
    m_tries.replacementsQueued(numbers);
}

void HeldDrops::failUnasked()
{
    const QString& failure = m_search->failure();
    endFound({ .kind = UploadOutcome::Kind::Failed,
               .status = failure.isNull()
                   ? u"a file of that name is on the server, or may be, and nobody was asked"_s
                   : u"it is not known what is on the server, and nobody was asked: %1"_s.arg(failure) });
}

/// Those files of the first drop that would replace others, or all where that is not known, end with @p outcome; the
/// others join.
void HeldDrops::endFound(const UploadOutcome& outcome)
{
    const UploadQueue::Held& files = m_held.front().files;
    const bool isAllFound = !m_search->failure().isNull();
    UploadQueue::Held rest;
    QList<int> ended;
    auto next = m_search->found().begin();
    for (qsizetype index = 0; index < files.paths.size(); ++index) {
        const bool isNext = next != m_search->found().end() && next->index == index;
        next += isNext ? 1 : 0;
        if (isNext || (isAllFound && !TreePath::isFolder(files.paths.at(index)))) {
            ended.append(files.rows[index]);
        } else {
            rest.paths.appendBytes(files.paths.bytesAt(index));
            rest.rows.append(files.rows[index]);
        }
    }
    m_history.heldFilesEnded(ended, outcome, m_destination);
    join(rest);
}

/// Has @p files of the first drop join the queue, and is done with it.
void HeldDrops::join(const UploadQueue::Held& files)
{
    stopLooking();
    m_queue.appendHeld(files, m_held.front().bound);
    m_held.pop_front();
    emit queueChanged();
}

void HeldDrops::stopLooking()
{
    m_asking.reset();
    m_search.reset();
}
