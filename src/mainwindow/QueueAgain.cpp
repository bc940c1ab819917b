#include "QueueAgain.h"

#include "DestinationSettings.h"
#include "HistoryRows.h"
#include "LocalItem.h"
#include "SheetQueue.h"
#include "ViewController.h"
#include "VisibleText.h"

#include <QSet>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype rowsQueuedAtOnce = 500; ///< They take a few milliseconds.

/// Whether nobody has queued the file of @p row again since that was read.
bool isStillRepeatable(ViewController& controller, const LedgerRow& row)
{
    return row.key.isOfThisRun() ? controller.history().entries().withoutPath(row.key.number).canQueueAgain()
                                 : !controller.ledger().wasQueuedAgain(row.key);
}

/// The location of @p destination, and with @p isWhole the login, too.
QString textOf(const Destination& destination, bool isWhole)
{
    if (!isWhole) {
        return destination.location;
    }
    const QString login = destination.username.isEmpty() ? u"anonymous"_s : visibleText(destination.username);
    return u"%1 (%2, %3)"_s.arg(destination.location, login,
                                destination.encryption == FTPEncryption::None ? u"not encrypted"_s : u"encrypted"_s);
}

/// Names where @p others were to go to and @p present, by as much as tells them apart.
QString question(const QList<LedgerRow>& others, const Destination& present)
{
    const bool isLogin = std::any_of(others.begin(), others.end(), [&present](const LedgerRow& row) {
        return row.entry.destination == present.location;
    });
    QSet<QString> former;
    for (const LedgerRow& row : others) {
        const HistoryEntry& entry = row.entry;
        former.insert(textOf({ .location = entry.destination,
                               .username = entry.username.value_or(QString()),
                               .encryption = entry.encryption },
                             isLogin && entry.username));
    }
    return u"These files were for %1; send them to %2?"_s.arg(
        former.size() == 1 ? *former.begin() : u"%1 other folders"_s.arg(former.size()), textOf(present, isLogin));
}

void queueNow(ViewController& controller, const QList<LedgerRow>& rows, const Destination& destination)
{
    PathList paths;
    QList<int> numbers;
    QList<LedgerKey> others;
    for (const LedgerRow& row : rows) {
        if (!isStillRepeatable(controller, row)) {
            continue;
        }
        paths.append(row.entry.path);
        if (row.key.isOfThisRun()) {
            numbers.append(row.key.number);
        } else {
            others.append(row.key);
        }
    }
    if (paths.isEmpty()) {
        return;
    }
    controller.history().takeToQueueAgain(numbers);
    controller.uploadAgain(paths, destination);
    controller.ledger().queuedAgain(others); // After a kill in between they are asked about twice, and not forgotten.
}

void queueRows(ViewController& controller, const QList<LedgerRow>& rows)
{
    const Destination present = DestinationSettings::destination();
    if (present.isNull()) {
        controller.showAlert(u"No Destination"_s,
                             u"Specify a destination on the FTP server. See Preferences for instructions."_s);
        return;
    }
    const QList<LedgerRow> others = HistoryRows::forOthers(rows, present);
    if (others.isEmpty()) {
        queueNow(controller, rows, present);
        return;
    }
    SheetQueue::of(controller.window())
        .raise({ .title = u"Queue Again"_s,
                 .text = question(others, present),
                 .defaultButton = u"Cancel"_s,
                 .alternateButton = u"Send"_s,
                 .onAlternate = [&controller, rows, present] {
                     if (DestinationSettings::destination().isSamePlace(present)) {
                         queueNow(controller, rows, present);
                     } else {
                         queueRows(controller, rows); // That is not what was agreed to.
                     }
                 } });
}

/// Reads what is known of files, and looks which of them are there, piece by piece: the loop goes on in between. Then
/// it queues them, and ends.
class Search final : public QObject {
public:
    Search(ViewController& controller, QList<LedgerKey> keys)
        : QObject(&controller)
        , m_controller(controller)
        , m_keys(std::move(keys))
    {
    }

    void readSome()
    {
        m_controller.ledger().read(
            m_keys.mid(m_next, rowsQueuedAtOnce), this, [this](const std::optional<QList<LedgerRow>>& rows) {
                if (rows) {
                    look(*rows);
                } else {
                    end(u"The history cannot be read: %1."_s.arg(m_controller.ledger().readProblem()));
                }
            });
    }

private:
    void look(const QList<LedgerRow>& rows)
    {
        const QList<LedgerRow> repeatable = HistoryRows::repeatable(rows);
        m_isAnyRepeatable = m_isAnyRepeatable || !repeatable.isEmpty();
        m_isAnyThere = m_isAnyThere || std::any_of(repeatable.begin(), repeatable.end(), [](const LedgerRow& row) {
                           return !LocalItem::isMissing(row.entry.path);
                       });
        m_found.append(HistoryRows::present(repeatable));
        m_next += rowsQueuedAtOnce;
        if (m_next < m_keys.size()) {
            QMetaObject::invokeMethod(
                this, [this] { readSome(); }, Qt::QueuedConnection);
        } else if (!m_found.isEmpty()) {
            queueRows(m_controller, m_found);
            end({});
        } else if (m_isAnyThere) {
            end(u"None of these can be read as a file. A folder is looked through when it is dropped again."_s);
        } else {
            end(m_isAnyRepeatable ? u"None of these files is there any more."_s : QString());
        }
    }

    void end(const QString& problem)
    {
        if (!problem.isEmpty()) {
            m_controller.showAlert(u"Queue Again"_s, problem);
        }
        deleteLater();
    }

    ViewController& m_controller;
    QList<LedgerKey> m_keys;
    qsizetype m_next = 0; ///< Of the keys.
    bool m_isAnyRepeatable = false;
    bool m_isAnyThere = false; ///< Of those, or maybe.
    QList<LedgerRow> m_found;
};

} // namespace

void queueAgain(ViewController& controller, const QList<LedgerKey>& keys)
{
    (new Search(controller, keys))->readSome();
}
