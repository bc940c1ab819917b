#include "QueueAgain.h"

#include "DestinationSettings.h"
#include "HistoryRows.h"
#include "SheetQueue.h"
#include "ViewController.h"
#include "VisibleText.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

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
    QList<LedgerRow> wanted = rows;
    wanted.removeIf([&controller](const LedgerRow& row) { return !isStillRepeatable(controller, row); });
    if (wanted.isEmpty()) {
        return;
    }
    PathList paths;
    QList<int> numbers;
    QList<LedgerKey> others;
    for (const LedgerRow& row : HistoryRows::present(wanted)) {
        paths.append(row.entry.path);
        if (row.key.isOfThisRun()) {
            numbers.append(row.key.number);
        } else {
            others.append(row.key);
        }
    }
    if (paths.isEmpty()) {
        controller.showAlert(u"Queue Again"_s, u"None of these files is there any more."_s);
        return;
    }
    controller.history().takeToQueueAgain(numbers);
    controller.uploadAgain(paths, destination);
    controller.ledger().queuedAgain(others); // After a kill in between they are asked about twice, and not forgotten.
}

void queueRows(ViewController& controller, const QList<LedgerRow>& rows)
{
    const QList<LedgerRow> wanted = HistoryRows::repeatable(rows);
    const Destination present = DestinationSettings::destination();
    if (wanted.isEmpty()) {
        return;
    }
    if (present.isNull()) {
        controller.showAlert(u"No Destination"_s,
                             u"Specify a destination on the FTP server. See Preferences for instructions."_s);
        return;
    }
    const QList<LedgerRow> others = HistoryRows::forOthers(wanted, present);
    if (others.isEmpty()) {
        queueNow(controller, wanted, present);
        return;
    }
    SheetQueue::of(controller.window())
        .raise({ .title = u"Queue Again"_s,
                 .text = question(others, present),
                 .defaultButton = u"Cancel"_s,
                 .alternateButton = u"Send"_s,
                 .onAlternate = [&controller, wanted, present] {
                     if (DestinationSettings::destination().isSamePlace(present)) {
                         queueNow(controller, wanted, present);
                     } else {
                         queueRows(controller, wanted); // That is not what was agreed to.
                     }
                 } });
}

} // namespace

void queueAgain(ViewController& controller, const QList<LedgerKey>& keys)
{
    controller.ledger().read(keys, &controller, [&controller](const std::optional<QList<LedgerRow>>& rows) {
        if (rows) {
            queueRows(controller, *rows);
        } else {
            controller.showAlert(u"Queue Again"_s,
                                 u"The history cannot be read: %1."_s.arg(controller.ledger().readProblem()));
        }
    });
}
