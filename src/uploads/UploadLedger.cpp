#include "UploadLedger.h"

#include "DestinationSettings.h"
#include "LocalPath.h"
#include "PostedCall.h"
#include "StandardFolders.h"
#include "UploadHistory.h"

#include <QFile>

#include <iterator>
#include <mutex>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = HistoryEntry::Outcome;

namespace {

constexpr auto rest = 50ms; ///< So long news are gathered before they are written.
constexpr int rowsBetweenPrunings = 5000;

/// Moves a database out of the way that cannot be read; the answer is where it went, null when it stays.
QString setAside(const QString& path)
{
    const QString target = path + u".damaged"_s;
    const auto rename = [](const QString& from, const QString& to) {
        return std::rename(LocalPath::toBytes(from).constData(), LocalPath::toBytes(to).constData()) == 0;
    };
    if (!rename(path, target)) {
        return {};
    }
    for (const QString& companion : { u"-wal"_s, u"-shm"_s }) { // They belong to no other database.
        rename(path + companion, target + companion);
    }
    return target;
}

/// What a row says that was queued, and of which nothing else is known.
bool isPlain(const HistoryEntry& entry)
{
    return entry.outcome == Outcome::Waiting && !entry.isManual;
}

/// What is known of the rows from @p first to @p last, with one word for neighbours of which the same is known.
std::vector<LedgerBatch::Changed> changesOf(const HistoryEntries& entries, int first, int last)
{
    std::vector<LedgerBatch::Changed> changes;
    for (int row = first; row <= last; ++row) {
        HistoryEntry entry = entries.withoutPath(row);
        if (!changes.empty() && changes.back().last == row - 1 && changes.back().entry == entry) {
            changes.back().last = row;
        } else {
            changes.push_back({ row, row, std::move(entry) });
        }
    }
    return changes;
}

} // namespace

/// What the ledger's thread works with. All but what is locked is for that thread alone.
class UploadLedger::Work {
public:
    Work(UploadLedger& ledger, QString path, const QString& copy, LedgerDatabase::Bounds bounds)
        : m_ledger(ledger)
        , m_path(std::move(path))
        , m_bounds(bounds)
        , m_database(copy)
    {
    }

    /// From any thread: keeps what is to be written. True when nobody has been asked to write yet.
    bool keep(LedgerBatch&& news)
    {
        const std::lock_guard lock(m_mutex);
        append(m_news.added, std::move(news.added));
        append(m_news.changed, std::move(news.changed));
        return !std::exchange(m_isWriteAsked, true);
    }

    void open()
    {
        m_wasKept = judge(m_database.open(m_path));
        if (m_wasKept) {
            prune();
        }
        tellInterrupted();
    }

    void write()
    {
        const LedgerBatch batch = takeNews();
        LedgerProblem problem = LedgerProblem::Busy;
        while (problem == LedgerProblem::Busy && m_database.isOpen()) {
            problem = m_database.write(batch);
        }
        judge(problem);
        for (const LedgerBatch::Added& added : batch.added) {
            m_rowsSincePruning += static_cast<int>(added.paths.size());
        }
        if (m_rowsSincePruning >= rowsBetweenPrunings) {
            prune();
        }
    }

    void clear()
    {
        judge(m_database.clear());
        tellInterrupted();
        postCall(&m_ledger, [&ledger = m_ledger] { emit ledger.cleared(); });
    }

    void forgetInterrupted()
    {
        judge(m_database.forgetInterrupted());
        tellInterrupted();
    }

    void close() { m_database.close(); }

private:
    template <typename Part> static void append(std::vector<Part>& all, std::vector<Part>&& more)
    {
        all.insert(all.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }

    LedgerBatch takeNews()
    {
        const std::lock_guard lock(m_mutex);
        m_isWriteAsked = false;
        return std::exchange(m_news, {});
    }

    void prune()
    {
        m_rowsSincePruning = 0;
        judge(m_database.prune(m_bounds));
    }

    void tellInterrupted()
    {
        const qsizetype count = m_database.isOpen() ? m_database.interruptedCount() : 0;
        postCall(&m_ledger, [&ledger = m_ledger, count] { ledger.setInterruptedCount(count); });
    }

    /// Goes on in memory when there is a @p problem that stays. True when there is none.
    bool judge(LedgerProblem problem)
    {
        if (problem == LedgerProblem::None || problem == LedgerProblem::Busy || m_path.isNull()) {
            return problem == LedgerProblem::None;
        }
        const QString reason = m_database.reason();
        m_database.close();
        const QString text = textOf(problem, reason);
        const bool isNews = m_wasKept || problem != LedgerProblem::NotWritable;
        m_path.clear();
        m_database.open(m_path);
        postCall(&m_ledger, [&ledger = m_ledger, text, isNews] { ledger.failed(text, isNews); });
        return false;
    }

    /// Says that, and sets a damaged database aside.
    QString textOf(LedgerProblem problem, const QString& reason) const
    {
        const QString onlyNow = u"\n\nThe history of this run is kept as long as Quillbox runs."_s;
        if (problem == LedgerProblem::Newer) {
            return u"The history in “%1” was made by a later version of Quillbox, and stays as it is."_s.arg(m_path)
                + onlyNow;
        }
        if (problem == LedgerProblem::NotWritable) {
            return u"The history cannot be written to “%1”: %2."_s.arg(m_path, reason) + onlyNow;
        }
        const QString aside = setAside(m_path);
        return (aside.isNull() ? u"The history in “%1” is damaged."_s.arg(m_path)
                               : u"The history in “%1” is damaged, and was moved to “%2”."_s.arg(m_path, aside))
            + onlyNow;
    }

    UploadLedger& m_ledger;
    QString m_path; ///< Null for memory.
    LedgerDatabase::Bounds m_bounds;
    LedgerDatabase m_database;
    bool m_wasKept = false; ///< It could be opened.
    int m_rowsSincePruning = 0;

    std::mutex m_mutex; ///< For what follows.
    LedgerBatch m_news;
    bool m_isWriteAsked = false;
};

UploadLedger::UploadLedger(const UploadHistory& history)
    : m_history(history)
{
    connect(&history, &UploadHistory::rowsAppended, this, &UploadLedger::rowsAppended);
    connect(&history, &UploadHistory::rowsChanged, this, &UploadLedger::rowsChanged);
}

UploadLedger::~UploadLedger()
{
    if (isOpen()) {
        m_thread.post([work = m_work] { work->close(); });
    }
}

QString UploadLedger::standardPath()
{
    return stateDirectoryPath() + u"/quillbox/history.sqlite"_s;
}

void UploadLedger::open(const QString& path, const QString& copy, LedgerDatabase::Bounds bounds)
{
    m_path = path;
    m_work = std::make_shared<Work>(*this, path, copy, bounds);
    m_thread.post([work = m_work] { work->open(); });
    rowsAppended();
}

bool UploadLedger::close(std::chrono::milliseconds limit)
{
    if (isOpen()) {
        m_thread.post([work = std::exchange(m_work, nullptr)] { work->close(); });
    }
    return m_thread.finish(limit);
}

void UploadLedger::clear()
{
    if (isOpen()) {
        m_thread.post([work = m_work] { work->clear(); });
    }
}

void UploadLedger::forgetInterrupted()
{
    if (isOpen()) {
        m_thread.post([work = m_work] { work->forgetInterrupted(); });
    }
}

void UploadLedger::rowsAppended()
{
    const int first = m_recorded;
    const int end = m_history.rowCount();
    if (!isOpen() || first == end) {
        return;
    }
    m_recorded = end;
    const HistoryEntries& entries = m_history.entries();
    LedgerBatch batch;
    batch.added.push_back({ .first = first,
                            .paths = entries.copiedPaths(first, end - first),
                            .time = entries.withoutPath(first).time,
                            .destination = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder() });
    batch.changed = changesOf(entries, first, end - 1);
    std::erase_if(batch.changed, [](const LedgerBatch::Changed& changed) { return isPlain(changed.entry); });
    handOver(std::move(batch));
}

void UploadLedger::rowsChanged(int first, int last)
{
    if (isOpen()) {
        handOver({ .added = {}, .changed = changesOf(m_history.entries(), first, last) });
    }
}

void UploadLedger::handOver(LedgerBatch&& batch)
{
    if (m_work->keep(std::move(batch))) {
        m_thread.post([work = m_work] { work->write(); }, rest);
    }
}

/// The thread goes on in memory, which has nothing of this run yet.
void UploadLedger::failed(const QString& text, bool isNews)
{
    m_path.clear();
    if (isOpen()) {
        m_recorded = 0;
        rowsAppended();
    }
    m_problem = text;
    emit problemFound(isNews);
}

void UploadLedger::setInterruptedCount(qsizetype count)
{
    if (std::exchange(m_interruptedCount, count) != count) {
        emit interruptedCountChanged();
    }
}
