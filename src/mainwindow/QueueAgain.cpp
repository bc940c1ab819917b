#include "QueueAgain.h"

#include "DestinationSettings.h"
#include "HistoryRows.h"
#include "SheetQueue.h"
#include "ViewController.h"

using namespace Qt::StringLiterals;

namespace {

/// Whether nobody has queued the file of @p row again since that was read.
bool isStillRepeatable(ViewController& controller, const LedgerRow& row)
{
    return row.key.isOfThisRun() ? controller.history().entries().withoutPath(row.key.number).canQueueAgain()
                                 : !controller.ledger().wasQueuedAgain(row.key);
}

void queueNow(ViewController& controller, const QList<LedgerRow>& rows)
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
    controller.uploadFiles(paths);
    controller.ledger().queuedAgain(others); // After a kill in between they are asked about twice, and not forgotten.
}

void queueRows(ViewController& controller, const QList<LedgerRow>& rows)
{
    const QList<LedgerRow> wanted = HistoryRows::repeatable(rows);
    const QString present = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
    QStringList others = HistoryRows::destinations(wanted);
    others.removeAll(present);
    if (wanted.isEmpty()) {
        return;
    }
    if (present.isNull()) {
        controller.showAlert(u"No Destination"_s,
                             u"Specify a destination on the FTP server. See Preferences for instructions."_s);
        return;
    }
    if (others.isEmpty()) {
        queueNow(controller, wanted);
        return;
    }
    const QString former = others.size() == 1 ? others.first() : u"%1 other folders"_s.arg(others.size());
    SheetQueue::of(controller.window())
        .raise({ .title = u"Queue Again"_s,
                 .text = u"These files were for %1; send them to %2?"_s.arg(former, present),
                 .defaultButton = u"Cancel"_s,
                 .alternateButton = u"Send"_s,
                 .onAlternate = [&controller, wanted, present] {
                     if (DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder() == present) {
                         queueNow(controller, wanted);
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
