#include "QueueAgain.h"

#include "DestinationSettings.h"
#include "SheetQueue.h"
#include "ViewController.h"

using namespace Qt::StringLiterals;

void queueAgain(ViewController& controller, const QList<int>& rows)
{
    const auto queue = [&controller, rows] {
        if (const QStringList paths = controller.history().takeToQueueAgain(rows); !paths.isEmpty()) {
            controller.uploadFiles(paths);
        }
    };
    const QString present = DestinationSettings::location();
    QStringList others = controller.history().destinationsOf(rows);
    others.removeAll(present);
    if (others.isEmpty() || present.isNull()) {
        queue();
        return;
    }
    const QString former = others.size() == 1 ? others.first() : u"%1 other folders"_s.arg(others.size());
    SheetQueue::of(controller.window())
        .raise({ .title = u"Queue Again"_s,
                 .text = u"These files were for %1; send them to %2?"_s.arg(former, present),
                 .defaultButton = u"Cancel"_s,
                 .alternateButton = u"Send"_s,
                 .onAlternate = queue });
}
