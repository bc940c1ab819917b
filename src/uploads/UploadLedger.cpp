#include "UploadLedger.h"

#include "DestinationSettings.h"
#include "HistoryCsv.h"
#include "LedgerReader.h"
#include "PostedCall.h"
#include "StandardFolders.h"
#include "UploadHistory.h"

#include <QPointer>
#include <QRegularExpression>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = HistoryEntry::Outcome;

namespace {

constexpr auto newsInterval = 50ms; ///< So long news are gathered before they are written.
constexpr int rowsBetweenPrunings = 5000;

/// Without a password, which somebody may have typed into a location of a manual transfer.
QString withoutPassword(const QString& location)
{
    static const QRegularExpression login(u"^([^:/]+://[^:/@]*):[^/]*@"_s);
    return location.contains(u'@') ? QString(location).replace(login, u"\\1@"_s) : location;
}

/// What a row says that was queued to go to @p destination, and of which nothing else is known.
bool isPlain(const HistoryEntry& entry, const Destination& destination)
{
    return entry.outcome == Outcome::Waiting && !entry.isManual && entry.isFor(destination);
}

/// What is known of the rows from @p first to @p last, with one word for neighbours of which the same is known.
std::vector<LedgerBatch::Changed> changesOf(const HistoryEntries& entries, int first, int last)
{
    std::vector<LedgerBatch::Changed> changes;
    for (int row = first; row <= last; ++row) {
        HistoryEntry entry = entries.withoutPath(row);
        entry.destination = withoutPassword(entry.destination);
        if (!changes.empty() && changes.back().last == row - 1 && changes.back().entry == entry) {
            changes.back().last = row;
        } else {
            changes.push_back({ row, row, std::move(entry) });
        }
    }
    return changes;
}

} // namespace

/// What the thread that reads works with. All but what is said is for that thread alone.
class UploadLedger::Reading {
public:
    /// From any thread: nothing that is not answered yet has to be.
    void end() { m_isEnding = true; }
    bool isEnding() const { return m_isEnding; }

    /// Answers @p question of the database @p source, to which a reader is kept.
    template <typename Question> auto answer(const LedgerSource& source, Question question)
    {
        if (!m_reader || m_reader->source() != source) {
            m_reader.emplace(source);
        }
        return question(*m_reader, m_isEnding);
    }
    QString reason() const { return m_reader->reason(); }

    void close() { m_reader.reset(); }

private:
    std::optional<LedgerReader> m_reader;
    std::atomic<bool> m_isEnding = false;
};

/// What the thread that writes works with. All but what is locked is for that thread alone.
class UploadLedger::Work {
public:
    Work(UploadLedger& ledger, QString path, const QString& copy, LedgerDatabase::Bounds bounds,
         std::chrono::milliseconds patience)
        : m_ledger(ledger)
        , m_path(std::move(path))
        , m_bounds(bounds)
        , m_patience(patience)
        , m_database(copy)
    {
    }

    /// From any thread: keeps what is to be written. True when nobody has been asked to write yet.
    bool keep(LedgerBatch&& news)
    {
        const std::lock_guard lock(m_mutex);
        append(m_news.added, std::move(news.added));
        append(m_news.changed, std::move(news.changed));
        m_news.isLookingThrough = news.isLookingThrough ? news.isLookingThrough : m_news.isLookingThrough;
        return !std::exchange(m_isWriteAsked, true);
    }

    void open()
    {
        m_wasKept = judgeWhatMustBe(repeatWhileBusy([this] { return m_database.open(m_path); }));
        if (m_wasKept) {
            prune();
        }
        tellInterrupted();
    }

    void write()
    {
        const LedgerBatch batch = takeNews();
        judgeWhatMustBe(repeatWhileBusy([this, &batch] { return m_database.write(batch); }));
        for (const LedgerBatch::Added& added : batch.added) {
            m_rowsSincePruning += static_cast<int>(added.paths.size());
        }
        if (m_rowsSincePruning >= rowsBetweenPrunings) {
            prune();
        }
    }

    void clear()
    {
        judge(repeatWhileBusy([this] { return m_database.clear(); }));
        tellInterrupted();
        tellOthers();
    }

    void forgetInterrupted()
    {
        judge(repeatWhileBusy([this] { return m_database.forgetInterrupted(); }));
        tellInterrupted();
        tellOthers();
    }

    void queuedAgain(const QList<LedgerKey>& keys)
    {
        judge(repeatWhileBusy([this, &keys] { return m_database.queuedAgain(keys); }));
        tellInterrupted();
        tellOthers();
    }

    void lookForOthers()
    {
        if (m_database.hasOtherNews()) {
            tellOthers();
        }
    }

    LedgerSource source() const { return m_database.source(); }

    void close() { m_database.close(); }

private:
    template <typename Part> static void append(std::vector<Part>& all, std::vector<Part>&& more)
    {
        all.insert(all.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }

    /// Each attempt waits a while itself where it can.
    template <typename Attempt> LedgerProblem repeatWhileBusy(Attempt attempt) const
    {
        const auto end = std::chrono::steady_clock::now() + m_patience;
        LedgerProblem problem = attempt();
        while (problem == LedgerProblem::Busy && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(newsInterval);
            problem = attempt();
        }
        return problem;
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
        const bool isOpen = m_database.isOpen();
        const QList<LedgerKey> files = isOpen ? m_database.interrupted() : QList<LedgerKey>();
        const QList<LedgerKey> walks = isOpen ? m_database.interruptedWalks() : QList<LedgerKey>();
        postCall(&m_ledger, [&ledger = m_ledger, files, walks] { ledger.setInterrupted(files, walks); });
    }

    void tellOthers()
    {
        postCall(&m_ledger, [&ledger = m_ledger] { emit ledger.othersChanged(); });
    }

    /// Judges what cannot be left undone: when others write for too long, it is as if it could not be written.
    bool judgeWhatMustBe(LedgerProblem problem)
    {
        return judge(problem == LedgerProblem::Busy ? LedgerProblem::NotWritable : problem);
    }

    /// Goes on in memory when there is a @p problem that stays. True when there is none.
    bool judge(LedgerProblem problem)
    {
        if (problem == LedgerProblem::None || problem == LedgerProblem::Busy || m_path.isNull()) {
            return problem == LedgerProblem::None;
        }
        const QString reason = m_database.reason();
        m_database.leave();
        const QString text = textOf(problem, reason);
        const bool isNews = m_wasKept || problem != LedgerProblem::NotWritable;
        m_path.clear();
        m_database.open(m_path);
        postCall(&m_ledger, [&ledger = m_ledger, text, isNews] { ledger.failed(text, isNews); });
        tellInterrupted();
        tellOthers();
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
        const QString aside = m_database.setAside();
        return (aside.isNull() ? u"The history in “%1” was damaged."_s.arg(m_path)
                               : u"The history in “%1” was damaged, and was moved to “%2”."_s.arg(m_path, aside))
            + onlyNow;
    }

    UploadLedger& m_ledger;
    QString m_path; ///< Null for memory.
    LedgerDatabase::Bounds m_bounds;
    std::chrono::milliseconds m_patience; ///< So long others may write before what was asked for is given up.
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
    endWork();
}

QString UploadLedger::standardPath()
{
    return stateDirectoryPath() + u"/quillbox/history.sqlite"_s;
}

void UploadLedger::open(const QString& path, const QString& copy, LedgerDatabase::Bounds bounds,
                        std::chrono::milliseconds patience)
{
    m_path = path;
    m_copy = copy;
    m_work = std::make_shared<Work>(*this, path, copy, bounds, patience);
    m_reading = std::make_shared<Reading>();
    m_thread.post([work = m_work] { work->open(); });
    rowsAppended();
    if (m_isLookingThrough) {
        tellLookingThrough();
    }
}

bool UploadLedger::close(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    endWork();
    const bool isWritten = m_thread.finish(limit);
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    m_readerThread.finish(std::max(left, 0ms));
    return isWritten;
}

/// Has the threads do no more than what is to be written.
void UploadLedger::endWork()
{
    if (isOpen()) {
        m_reading->end();
        m_readerThread.post([reading = std::exchange(m_reading, nullptr)] { reading->close(); });
        m_thread.post([work = std::exchange(m_work, nullptr)] { work->close(); });
    }
}

void UploadLedger::lookForOthers()
{
    if (isOpen()) {
        m_thread.post([work = m_work] { work->lookForOthers(); });
    }
}

void UploadLedger::setLookingThrough(bool isLooking)
{
    if (std::exchange(m_isLookingThrough, isLooking) != isLooking && isOpen()) {
        tellLookingThrough();
    }
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

void UploadLedger::queuedAgain(const QList<LedgerKey>& keys)
{
    if (isOpen()) {
        std::copy_if(keys.begin(), keys.end(), std::inserter(m_queuedAgain, m_queuedAgain.end()),
                     [](LedgerKey key) { return !key.isOfThisRun(); });
        m_thread.post([work = m_work, keys] { work->queuedAgain(keys); });
    }
}

/// Has @p question asked of the database, and @p answer hear of it.
template <typename Question, typename Listener>
void UploadLedger::ask(Question question, QObject* context, Listener answer)
{
    if (!isOpen()) {
        return;
    }
    auto reading = [this, reading = m_reading, question = std::move(question), context = QPointer(context),
                    answer = std::move(answer)](const LedgerSource& source) {
        if (reading->isEnding()) {
            return;
        }
        const auto known = reading->answer(source, question);
        const QString problem = known ? QString() : reading->reason();
        postCall(this, [this, context, answer, known, problem] {
            setReadProblem(problem);
            if (context) {
                answer(known);
            }
        });
    };
    // What the history has told by now is written before.
    m_thread.post([this, work = m_work, reading = std::move(reading)]() mutable {
        m_readerThread.post([reading = std::move(reading), source = work->source()] { reading(source); });
    });
}

void UploadLedger::find(const LedgerQuery& query, QObject* context, Answer<QList<LedgerKey>> answer)
{
    ask([query](LedgerReader& reader, const auto&) { return reader.find(query); }, context, std::move(answer));
}

void UploadLedger::read(const QList<LedgerKey>& keys, QObject* context, Answer<QList<LedgerRow>> answer)
{
    const auto all = [this, keys, answer = std::move(answer)](const std::optional<QList<LedgerRow>>& others) {
        if (!others) {
            answer(std::nullopt);
            return;
        }
        QList<LedgerRow> rows;
        auto other = others->cbegin();
        for (const LedgerKey key : keys) {
            if (key.isOfThisRun()) {
                rows.append(row(key.number));
            } else if (other != others->cend() && other->key == key) {
                rows.append(*other++);
            }
        }
        answer(rows);
    };
    if (std::all_of(keys.begin(), keys.end(), [](LedgerKey key) { return key.isOfThisRun(); })) {
        all(QList<LedgerRow>());
    } else {
        QList<LedgerKey> others = keys;
        others.removeIf([](LedgerKey key) { return key.isOfThisRun(); });
        ask([others](LedgerReader& reader, const auto&) { return reader.read(others); }, context, all);
    }
}

void UploadLedger::lastUploads(QObject* context, Answer<LedgerReader::LastUploads> answer)
{
    ask([](LedgerReader& reader, const auto&) { return reader.lastUploads(); }, context, std::move(answer));
}

void UploadLedger::writeCsv(const QString& path, const LedgerQuery& query, QObject* context,
                            std::function<void(bool)> answer)
{
    ask([path, query](LedgerReader& reader,
                      const std::atomic<bool>& isEnding) { return HistoryCsv::write(path, reader, query, isEnding); },
        context, std::move(answer));
}

LedgerRow UploadLedger::row(int number) const
{
    HistoryEntry entry = m_history.entries()[number];
    entry.copy = m_copy;
    return { { .row = 0, .number = number }, entry };
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
    Destination destination = DestinationSettings::destination();
    destination.password.clear();
    destination.location = withoutPassword(destination.location);
    LedgerBatch batch;
    batch.changed = changesOf(entries, first, end - 1);
    std::erase_if(batch.changed,
                  [&destination](const LedgerBatch::Changed& changed) { return isPlain(changed.entry, destination); });
    batch.added.push_back({ .first = first,
                            .paths = entries.copiedPaths(first, end - first),
                            .time = entries.withoutPath(first).time,
                            .destination = std::move(destination) });
    handOver(std::move(batch));
}

void UploadLedger::rowsChanged(int first, int last)
{
    if (isOpen()) {
        handOver(
            { .added = {}, .changed = changesOf(m_history.entries(), first, last), .isLookingThrough = std::nullopt });
    }
}

void UploadLedger::tellLookingThrough()
{
    handOver({ .added = {}, .changed = {}, .isLookingThrough = m_isLookingThrough });
}

void UploadLedger::handOver(LedgerBatch&& batch)
{
    if (m_work->keep(std::move(batch))) {
        m_thread.post([work = m_work] { work->write(); }, newsInterval);
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

void UploadLedger::setReadProblem(const QString& text)
{
    if (std::exchange(m_readProblem, text) != text) {
        emit readProblemChanged();
    }
}

void UploadLedger::setInterrupted(const QList<LedgerKey>& files, const QList<LedgerKey>& walks)
{
    const bool areFilesNews = std::exchange(m_interrupted, files) != files;
    const bool areWalksNews = std::exchange(m_interruptedWalks, walks) != walks;
    if (areFilesNews || areWalksNews) {
        emit interruptedChanged();
    }
}
