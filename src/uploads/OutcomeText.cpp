#include "OutcomeText.h"

#include "VisibleText.h"

#include <QLocale>
#include <QStringList>

using namespace Qt::StringLiterals;

QString outcomeText(const FileTally& tally)
{
    const QLocale locale;
    QStringList parts;
    if (tally.tried() > 0) {
        parts.append(tally.confirmed == tally.tried() ? u"%1 uploaded"_s.arg(locale.toString(tally.confirmed))
                                                      : u"%1 of %2 uploaded"_s.arg(locale.toString(tally.confirmed),
                                                                                   locale.toString(tally.tried())));
    }
    const std::pair<int, QString> others[]{
        { tally.otherSize + tally.failed, u"%1 failed"_s },
        { tally.unanswered, u"%1 not known"_s },
        { tally.notListed, u"%1 not listed"_s },
        { tally.stopped, u"%1 stopped"_s },
        { tally.removed, u"%1 removed"_s },
        { tally.leftOut, u"%1 left out"_s },
    };
    for (const auto& [count, text] : others) {
        if (count > 0) {
            parts.append(text.arg(locale.toString(count)));
        }
    }
    return parts.isEmpty() ? QString() : parts.join(u", "_s);
}

QString outcomeText(const FileTally& tally, const QString& name)
{
    const auto what = [&tally] {
        if (tally.confirmed > 0) {
            return u"uploaded"_s;
        }
        if (tally.otherSize > 0) {
            return u"not uploaded whole"_s;
        }
        if (tally.notListed > 0) {
            return u"uploaded, but not listed"_s;
        }
        if (tally.unanswered > 0) {
            return u"may or may not have been uploaded"_s;
        }
        if (tally.stopped > 0) {
            return u"stopped"_s;
        }
        if (tally.removed > 0) {
            return u"removed"_s;
        }
        return tally.leftOut > 0 ? u"left out"_s : u"not uploaded"_s;
    };
    return u"“%1” %2"_s.arg(visibleText(name), what());
}

QString otherDestinationText(int count, const QString& destination)
{
    return u"%1 waited for another try, which was given up: another destination is in force than %2."_s.arg(
        count == 1 ? u"One file"_s : u"%1 files"_s.arg(QLocale().toString(count)), destination);
}
