#include "ReplaceSheet.h"

#include "ByteCountText.h"
#include "DateText.h"
#include "SheetQueue.h"
#include "TreePath.h"
#include "VisibleText.h"

#include <QApplication>
#include <QDateTime>
#include <QLocale>
#include <QWidget>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using Found = ReplacementSearch::Found;

namespace {

/// The name of the file at @p path, with the folder that it goes into.
QString nameOf(const QString& path)
{
    return visibleText(TreePath::below(path));
}

QString nameOfOnly(const HeldDrops::Question& question)
{
    return nameOf(question.files.at(question.found.front().index));
}

QString title(const HeldDrops::Question& question)
{
    if (!question.failure.isNull()) {
        return u"What is there is not known"_s;
    }
    const bool areListed = std::all_of(question.found.begin(), question.found.end(),
                                       [](const Found& found) { return found.place == Found::Place::Listed; });
    const qsizetype count = std::ssize(question.found);
    const QString words = !areListed ? u"may replace others"_s
        : count == 1                 ? u"is there already"_s
                                     : u"are there already"_s;
    const QLocale locale;
    return question.fileCount == 1
        ? u"“%1” %2"_s.arg(nameOfOnly(question), words)
        : u"%1 of %2 files %3"_s.arg(locale.toString(count), locale.toString(question.fileCount), words);
}

QString text(const HeldDrops::Question& question)
{
    if (!question.failure.isNull()) {
        return u"It is not known which of the files are on the server already (%1 to be uploaded), since their folder "
               "could not be listed: %2"_s.arg(QLocale().toString(question.fileCount), visibleText(question.failure));
    }
    const QString lost = u"What is replaced cannot be brought back."_s;
    const qsizetype others = question.fileCount - std::ssize(question.found);
    return others == 0 ? lost
        : others == 1  ? lost + u" The other file is uploaded in either case."_s
                       : lost + u" The other %1 files are uploaded in either case."_s.arg(QLocale().toString(others));
}

/// What is known of what @p found would replace.
QString factsOf(const Found& found)
{
    switch (found.place) {
    case Found::Place::SentBefore:
        return u"one of that name is sent before it"_s;
    case Found::Place::AwaitingTry:
        return u"one of that name waits for another try"_s;
    case Found::Place::Unlisted:
        return u"not known, as the server does not list such names"_s;
    case Found::Place::Similar:
        return u"not known, as the server may take it for “%1”"_s.arg(visibleText(found.other));
    case Found::Place::Listed:
        break;
    }
    QStringList facts;
    if (found.size) {
        facts.append(byteCountText(*found.size));
    }
    if (found.modDate) {
        facts.append(shortDateMediumTimeText(QDateTime::fromMSecsSinceEpoch(*found.modDate)));
    }
    return facts.join(u", "_s);
}

/// @p name as a part of a line that reads from left to right.
QString embedded(const QString& name)
{
    const bool isOfBoth = std::any_of(name.begin(), name.end(), [](QChar letter) {
        return letter.direction() == QChar::DirR || letter.direction() == QChar::DirAL;
    });
    return isOfBoth ? QChar(0x2068) + name + QChar(0x2069) : name;
}

SheetList list(const HeldDrops::Question& question)
{
    const auto found = std::make_shared<const std::vector<Found>>(question.found);
    const auto line = [found, files = question.files](int row) {
        const Found& each = (*found)[static_cast<size_t>(row)];
        const QString name = embedded(nameOf(files.at(each.index)));
        const QString facts = factsOf(each);
        return facts.isEmpty() ? name : name + u" – "_s + facts;
    };
    return { .name = u"What would be replaced"_s, .count = static_cast<int>(found->size()), .line = line };
}

} // namespace

void askWhetherToReplace(QWidget& window, const HeldDrops::Question& question)
{
    SheetQueue::of(window).raise({ .title = title(question),
                                   .text = text(question),
                                   .defaultButton = u"Leave Out"_s,
                                   .alternateButton = u"Replace"_s,
                                   .onAlternate = [answer = question.answer] { answer(true); },
                                   .onDefault = [answer = question.answer] { answer(false); },
                                   .list = list(question),
                                   .matter = question.matter });
    QApplication::alert(&window);
}
