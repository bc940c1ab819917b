#include "HeldDrops.h"

#include "DestinationSettings.h"
#include "SettingNames.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UserDefaults.h"

#include <algorithm>
#include <iterator>
#include <utility>

using namespace Qt::StringLiterals;

HeldDrops::HeldDrops(UploadQueue& queue, UploadHistory& history, FTPStreamFactory& streams)
    : m_queue(queue)
    , m_history(history)
    , m_controller(streams)
    , m_destination(DestinationSettings::destination())
{
}

bool HeldDrops::areWanted()
{
    return UserDefaults::standard().boolean(SettingNames::askBeforeReplacing).value_or(false);
}

void HeldDrops::take(const Drop& drop)
{
    m_held.push_back({ .files = filesOf(drop), .bound = drop.bound, .hasEnded = true });
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

void HeldDrops::begin(const Drop& drop)
{
    m_held.push_back({ .bound = drop.bound });
    emit changed();
}

void HeldDrops::add(const Drop& piece)
{
    const auto held = std::find_if(m_held.begin(), m_held.end(), [](const Held& each) { return !each.hasEnded; });
    const UploadQueue::Held files = filesOf(piece);
    held->files.paths.append(files.paths);
    held->files.rows.append(files.rows);
}

void HeldDrops::end()
{
    std::find_if(m_held.begin(), m_held.end(), [](const Held& each) { return !each.hasEnded; })->hasEnded = true;
    goOn();
}

/// Sees which destination is in force. Where it is another one, nothing is known of what is there, nor agreed to.
void HeldDrops::followDestination()
{
    const Destination before = std::exchange(m_destination, DestinationSettings::destination());
    if (m_destination.isSamePlace(before)) {
        return;
    }
    stopLooking();
    if (areWanted() && !m_queue.isEmpty()) {
        hold(m_queue.takeUnbound());
        emit queueChanged();
    }
}

/// Has @p waiting, which were queued, wait before all others: those of unattended drops apart.
void HeldDrops::hold(const UploadQueue::Held& waiting)
{
    std::deque<Held> drops;
    bool wasUnattended = false;
    for (qsizetype index = 0; index < waiting.rows.size(); ++index) {
        const bool isUnattended = m_history.requestOf(waiting.rows[index]).isUnattended;
        if (drops.empty() || isUnattended != wasUnattended) {
            drops.push_back({ .hasEnded = true });
        }
        wasUnattended = isUnattended;
        drops.back().files.paths.appendBytes(waiting.paths.bytesAt(index));
        drops.back().files.rows.append(waiting.rows[index]);
    }
    m_held.insert(m_held.begin(), std::make_move_iterator(drops.begin()), std::make_move_iterator(drops.end()));
}

bool HeldDrops::isUnattended(const Held& held) const
{
    return !held.files.rows.isEmpty() && m_history.requestOf(held.files.rows.first()).isUnattended;
}

void HeldDrops::destinationMissed()
{
    followDestination();
    while (m_destination.isNull() && !m_held.empty() && m_held.front().hasEnded && isUnattended(m_held.front())) {
        join(m_held.front().files);
        emit changed();
    }
}

void HeldDrops::giveUp()
{
    stopLooking();
    for (const Held& held : std::exchange(m_held, {})) {
        m_queue.appendHeld(held.files, held.bound);
    }
    emit changed();
}

/// Has the first drop join, or looks what it would replace.
void HeldDrops::goOn()
{
    followDestination();
    if (m_destination.isNull()) { // Others wait for one, unattended drops do not.
        std::stable_partition(m_held.begin(), m_held.end(),
                              [this](const Held& held) { return held.hasEnded && isUnattended(held); });
    }
    while (m_search == nullptr && !m_held.empty() && m_held.front().hasEnded) {
        const Held& held = m_held.front();
        // What is bound elsewhere goes nowhere.
        const bool isElsewhere = !held.bound.isNull() && !held.bound.isSamePlace(m_destination);
        if (!areWanted() || held.files.paths.isEmpty() || isElsewhere) {
            join(held.files);
        } else if (m_destination.isNull()) {
            break; // It goes on when there is one.
        } else {
            look();
        }
    }
    emit changed();
}

void HeldDrops::look()
{
    PathList before;
    if (m_history.isSending()) {
        before.append(m_history.entries()[m_history.currentRow()].path);
    }
    before.append(m_queue.paths());
    m_controller.setAsksNobody(isUnattended(m_held.front()));
    m_search = std::make_unique<ReplacementSearch>(m_controller, m_destination, m_held.front().files.paths, before,
                                                   !before.isEmpty());
    connect(m_search.get(), &ReplacementSearch::ended, this, &HeldDrops::judge);
}

/// It is known what the first drop would replace, or cannot be.
void HeldDrops::judge()
{
    followDestination();
    if (m_search == nullptr) {
        goOn();
        return;
    }
    const Held& held = m_held.front();
    if (!areWanted() || (m_search->failure().isNull() && m_search->found().empty())) {
        join(held.files);
        goOn();
    } else if (isUnattended(held)) {
        failUnasked();
        goOn();
    } else {
        m_isAsking = true;
        emit changed();
        emit asked({ .files = held.files.paths,
                     .fileCount = m_search->fileCount(),
                     .found = m_search->found(),
                     .failure = m_search->failure(),
                     .answer = [this, question = ++m_question](bool replace) {
                         if (m_isAsking && question == m_question) {
                             answered(replace);
                         }
                     } });
    }
}

void HeldDrops::answered(bool replace)
{
    followDestination();
    if (m_search != nullptr && replace) { // Otherwise that is not what was asked about.
        join(m_held.front().files);
    } else if (m_search != nullptr) {
        endFound({ .kind = UploadOutcome::Kind::NotReplacing });
    }
    goOn();
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
    m_history.heldFilesEnded(ended, outcome);
    join(rest);
}

/// Has @p files of the first drop join the queue, and is done with it.
void HeldDrops::join(const UploadQueue::Held& files)
{
    m_queue.appendHeld(files, m_held.front().bound);
    m_held.pop_front();
    stopLooking();
    emit queueChanged();
}

void HeldDrops::stopLooking()
{
    m_isAsking = false;
    m_search.reset();
}
