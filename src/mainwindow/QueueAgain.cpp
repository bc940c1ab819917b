#include "QueueAgain.h"

#include "DestinationSettings.h"
#include "HistoryRows.h"
#include "SheetQueue.h"
#include "ViewController.h"

using namespace Qt::StringLiterals;

namespace {

void queueNow(ViewController& controller, const QList<int>& rows)
{
    UploadHistory& history = controller.history();
    const PathList paths = history.takeToQueueAgain(HistoryRows::present(history.entries(), rows));
    if (paths.isEmpty()) {
        controller.showAlert(u"Queue Again"_s, u"None of these files is there any more."_s);
    } else {
        controller.uploadFiles(paths);
    }
}

} // namespace

void queueAgain(ViewController& controller, const QList<int>& rows)
{
    const HistoryEntries& entries = controller.history().entries();
    const QList<int> wanted = HistoryRows::repeatable(entries, rows);
    const QString present = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
    QStringList others = HistoryRows::destinations(entries, wanted);
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
                         queueAgain(controller, wanted); // That is not what was agreed to.
                     }
                 } });
}
