#include "AutomaticTries.h"

#include "DestinationSettings.h"
#include "NetworkManager.h"
#include "OutcomeText.h"
#include "SettingNames.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "UserDefaults.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto lookInterval = 1s; ///< So often somebody looks for a way to the network while files wait.

bool isWanted()
{
    return UserDefaults::standard().boolean(SettingNames::retryFailedFiles).value_or(false);
}

} // namespace

AutomaticTries::AutomaticTries(UploadHistory& history, UploadQueue& queue, Delays delays)
    : m_history(history)
    , m_queue(queue)
    , m_delays(std::move(delays))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &AutomaticTries::look);
    connect(&history, &UploadHistory::fileFails, this, &AutomaticTries::fileFails);
    connect(&history, &UploadHistory::queueBegins, this, &AutomaticTries::queueBegins);
}

AutomaticTries::Delays AutomaticTries::usualDelays()
{
    return { 10s, 30s, 60s, 300s };
}

void AutomaticTries::queueBegins()
{
    m_hindrance.clear();
    m_replacing.clear();
    m_hadWay = NetworkManager::hasConnectivity() || (m_hadWay && !m_waiting.empty());
}

void AutomaticTries::fileFails(int number, const UploadOutcome& outcome)
{
    const int triesBefore = m_triesBefore.value(number);
    const bool isLast = number == m_lastTry || triesBefore >= static_cast<int>(m_delays.size());
    if (isLast || !isConnectionFailure(outcome) || isReplaced(number) || m_history.requestOf(number).isUnattended
        || !isWanted()) {
        return;
    }
    m_history.filesAwaitTry({ number }, true);
    m_waiting.push_back({ .number = number,
                          .triesBefore = triesBefore,
                          .due = Clock::now() + m_delays[static_cast<size_t>(triesBefore)] });
    lookSoon();
    emit changed();
}

/// Queues what is due, or all when there is a way to the network again. Where the way has gone, what is due waits for
/// it; where there has been none, a server may be near all the same.
void AutomaticTries::look()
{
    if (!isWanted()) {
        giveUp();
        return;
    }
    const size_t before = m_waiting.size();
    std::erase_if(m_waiting, [this](const Waiting& file) { // The user was quicker.
        return !m_history.entries().withoutPath(file.number).canQueueAgain();
    });
    const bool isCutOff = !NetworkManager::hasConnectivity();
    const bool isBack = std::exchange(m_wasCutOff, isCutOff) && !isCutOff;
    m_hadWay = m_hadWay || !isCutOff;
    std::vector<Waiting> due;
    if (!isHeldBack()) {
        const auto later = std::stable_partition(
            m_waiting.begin(), m_waiting.end(),
            [isBack, now = Clock::now()](const Waiting& file) { return isBack || file.due <= now; });
        due.assign(m_waiting.begin(), later);
        m_waiting.erase(m_waiting.begin(), later);
    }
    lookSoon();
    if (m_waiting.size() != before) {
        queue(due);
        emit changed();
    }
}

void AutomaticTries::tryNow()
{
    const std::vector<Waiting> files = std::exchange(m_waiting, {});
    lookSoon();
    queue(files);
    emit changed();
}

void AutomaticTries::giveUp()
{
    if (isTry(m_history.currentRow())) {
        m_lastTry = m_history.currentRow();
    }
    giveUpThose([](int) { return true; });
}

void AutomaticTries::replacementsQueued(const QHash<QString, int>& numbers)
{
    m_replacing.insert(numbers);
    giveUpThose([this](int number) { return isReplaced(number); });
}

bool AutomaticTries::isReplaced(int number) const
{
    return !m_replacing.isEmpty()
        && number < m_replacing.value(TreePath::below(m_history.entries()[number].path), number);
}

/// None of those that wait and fit @p condition is tried again.
void AutomaticTries::giveUpThose(const std::function<bool(int number)>& condition)
{
    QList<int> numbers;
    std::erase_if(m_waiting, [&](const Waiting& file) {
        const bool isGivenUp = condition(file.number);
        if (isGivenUp) {
            numbers.append(file.number);
        }
        return isGivenUp;
    });
    lookSoon();
    if (!numbers.isEmpty()) {
        m_history.filesAwaitTry(numbers, false);
        emit changed();
    }
}

PathList AutomaticTries::waitingPaths(const Destination& destination) const
{
    PathList paths;
    for (const Waiting& file : m_waiting) {
        const HistoryEntry entry = m_history.entries()[file.number];
        if (entry.canQueueAgain() && entry.isFor(destination)) {
            paths.append(entry.path);
        }
    }
    return paths;
}

/// Queues those of @p files that nobody has queued meanwhile. Those for which another destination is in force than
/// their own are left to the user.
void AutomaticTries::queue(const std::vector<Waiting>& files)
{
    const Destination present = DestinationSettings::destination();
    QList<int> numbers;
    QList<int> tries;
    QList<int> givenUp;
    QMap<QString, int> others;
    for (const Waiting& file : files) {
        const HistoryEntry entry = m_history.entries().withoutPath(file.number);
        if (!entry.canQueueAgain()) {
            continue;
        }
        if (!entry.isFor(present)) {
            ++others[entry.destination];
            givenUp.append(file.number);
        } else {
            numbers.append(file.number);
            tries.append(file.triesBefore + 1);
        }
    }
    const PathList paths = m_history.takeToQueueAgain(numbers);
    for (int index = 0; index < static_cast<int>(tries.size()); ++index) {
        m_triesBefore.insert(m_history.rowCount() + index, tries[index]);
    }
    if (!paths.isEmpty()) {
        m_queue.appendAgain(paths, present);
        emit queued();
    }
    m_history.filesAwaitTry(givenUp, false);
    hinder(others);
}

bool AutomaticTries::isQueueOfTries() const
{
    for (int row = m_history.firstQueueRow(); row < m_history.rowCount(); ++row) {
        const HistoryEntry entry = m_history.entries().withoutPath(row);
        if (!entry.isManual && entry.outcome != HistoryEntry::Outcome::Note && !isTry(row)) {
            return false;
        }
    }
    return true;
}

void AutomaticTries::dropOthers(const Destination& present)
{
    QMap<QString, int> others;
    while (const Destination* const destination = m_queue.firstDestination()) {
        if (destination->isSamePlace(present)) {
            break;
        }
        ++others[destination->location];
        m_queue.dropFirst();
    }
    if (!others.isEmpty()) {
        hinder(others);
        emit changed();
    }
}

/// Says that nothing becomes of so many files for each of those locations.
void AutomaticTries::hinder(const QMap<QString, int>& others)
{
    for (auto other = others.cbegin(); other != others.cend(); ++other) {
        m_hindrance = u"no other try, as another destination is in force"_s;
        m_history.note(otherDestinationText(other.value(), other.key()));
    }
}

void AutomaticTries::lookSoon()
{
    if (m_waiting.empty()) {
        m_timer.stop();
        m_wasCutOff = false;
        return;
    }
    const auto first = std::min_element(m_waiting.begin(), m_waiting.end(),
                                        [](const Waiting& left, const Waiting& right) { return left.due < right.due; });
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(first->due - Clock::now());
    const std::chrono::milliseconds least = isHeldBack() ? lookInterval : 1ms; // What is due waits for the network.
    m_timer.start(std::clamp<std::chrono::milliseconds>(rest, least, lookInterval));
}
