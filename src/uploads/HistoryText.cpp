#include "HistoryText.h"

#include "ByteCountText.h"
#include "DateText.h"
#include "DurationText.h"
#include "PathText.h"
#include "TreePath.h"
#include "VisibleText.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// In bytes per second; only a whole file has one that means something.
std::optional<double> speed(const HistoryEntry& entry)
{
    using enum UploadOutcome::Kind;
    const bool isWhole = entry.outcome == Confirmed || entry.outcome == NotListed || entry.outcome == OtherSize;
    if (!isWhole || !entry.size || !entry.durationMs || *entry.size == 0) {
        return std::nullopt;
    }
    const auto milliseconds = static_cast<double>(std::max<qint64>(*entry.durationMs, 1));
    return static_cast<double>(*entry.size) * 1000 / milliseconds;
}

QString endText(const HistoryEntry& entry)
{
    const QLocale locale;
    QString words = HistoryText::outcomeWords(entry.outcome);
    if (entry.outcome == UploadOutcome::Kind::OtherSize) {
        return words.arg(locale.toString(*entry.listedSize), locale.toString(entry.size.value_or(0)));
    }
    return HistoryText::showsStatus(entry.outcome) ? words + visibleText(entry.status) : words;
}

/// How far a file came that broke off; null where nobody knows, or nothing had arrived. Nor does it matter of one that
/// the server has judged, or that was sent whole.
QString acknowledgedText(const HistoryEntry& entry)
{
    using enum UploadOutcome::Kind;
    const bool hasBrokenOff = entry.outcome != Refused && entry.outcome != Unanswered;
    return hasBrokenOff && entry.size && entry.acknowledged.value_or(0) > 0
        ? u" (%1 of %2 received)"_s.arg(byteCountText(*entry.acknowledged), byteCountText(*entry.size))
        : QString();
}

QString outcomeText(const HistoryEntry& entry)
{
    const QString text = endText(entry) + acknowledgedText(entry);
    return entry.isQueuedAgain ? text + HistoryText::queuedAgainWords.toString() : text;
}

QString timeField(qint64 time)
{
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(time);
    return time == 0 ? QString() : moment.toOffsetFromUtc(moment.offsetFromUtc()).toString(Qt::ISODate);
}

bool isNote(const HistoryEntry& entry)
{
    return entry.outcome == UploadOutcome::Kind::Note;
}

} // namespace

namespace HistoryText {

QString title(Column column)
{
    switch (column) {
    case Column::File:
        return u"File"_s;
    case Column::Size:
        return u"Size"_s;
    case Column::Duration:
        return u"Duration"_s;
    case Column::Speed:
        return u"Speed"_s;
    case Column::Outcome:
        return u"Outcome"_s;
    case Column::Reply:
        return u"Server Reply"_s;
    case Column::Time:
        return u"Time"_s;
    case Column::Copy:
        return u"Icon"_s;
    }
    return {};
}

QString outcomeWords(UploadOutcome::Kind outcome)
{
    switch (outcome) {
        using enum UploadOutcome::Kind;
    case Waiting:
        return u"Waiting"_s;
    case Sending:
        return u"Sending"_s;
    case Confirmed:
        return u"Confirmed by the server"_s;
    case OtherSize:
        return u"Confirmed, but %1 bytes listed, not %2"_s;
    case NotListed:
        return u"Confirmed, but not listed under this name"_s;
    case Refused:
    case ConnectionLost:
    case Failed:
        return u"Failed: "_s;
    case Silent:
        return u"Failed: the server did not answer in time"_s;
    case Unanswered:
        return u"Not known: sent whole, and the server has not confirmed it"_s;
    case NotReadable:
        return u"Failed: the file could not be read"_s;
    case NotPlainFile:
        return u"Failed: not a plain file"_s;
    case UnsendableName:
        return u"Failed: the name cannot be sent"_s;
    case Stopped:
        return u"Stopped"_s;
    case NotFound:
        return u"Not found"_s;
    case LeftOut:
        return u"Left out: not a plain file"_s;
    case Removed:
        return u"Removed from the queue"_s;
    case Note:
        return u"Note"_s;
    case Interrupted:
        return u"Not confirmed: Quillbox ended"_s;
    case NotReplacing:
        return u"Left out: nothing on the server was to be replaced"_s;
    }
    return {};
}

bool showsStatus(UploadOutcome::Kind outcome)
{
    using enum UploadOutcome::Kind;
    return outcome == Refused || outcome == ConnectionLost || outcome == Failed;
}

QString cell(const HistoryEntry& entry, Column column)
{
    switch (column) {
    case Column::File:
        return visibleText(isNote(entry) ? entry.path : PathText::lastPathComponent(entry.path));
    case Column::Size:
        return entry.size ? byteCountText(*entry.size) : QString();
    case Column::Duration:
        return entry.durationMs ? durationText(std::chrono::milliseconds(*entry.durationMs)) : QString();
    case Column::Speed:
        if (const std::optional<double> rate = speed(entry)) {
            return byteCountText(static_cast<qint64>(*rate)) + u"/s"_s;
        }
        return {};
    case Column::Outcome:
        return outcomeText(entry);
    case Column::Reply:
        return visibleText(entry.reply);
    case Column::Time:
        return entry.time == 0 ? QString() : shortDateMediumTimeText(QDateTime::fromMSecsSinceEpoch(entry.time));
    case Column::Copy:
        return visibleText(entry.copy);
    }
    return {};
}

QString toolTip(const HistoryEntry& entry, Column column)
{
    if (column == Column::File) {
        return visibleText(isNote(entry) ? entry.path : TreePath::plain(entry.path));
    }
    if (column == Column::Size && entry.size) {
        return QLocale().toString(*entry.size) + (*entry.size == 1 ? u" byte"_s : u" bytes"_s);
    }
    return cell(entry, column);
}

QStringList titles()
{
    return { u"File"_s,         u"Size (bytes)"_s,
             u"Duration (s)"_s, u"Speed (bytes/s)"_s,
             u"Outcome"_s,      u"Server reply"_s,
             u"Time"_s,         u"Icon"_s,
             u"Destination"_s,  u"Received by the server's machine (bytes)"_s };
}

QStringList fields(const HistoryEntry& entry)
{
    const std::optional<double> rate = speed(entry);
    return {
        wholeVisibleText(isNote(entry) ? entry.path : TreePath::plain(entry.path)),
        entry.size ? QString::number(*entry.size) : QString(),
        entry.durationMs ? QString::number(static_cast<double>(*entry.durationMs) / 1000, 'f', 3) : QString(),
        rate ? QString::number(*rate, 'f', 0) : QString(),
        outcomeText(entry),
        visibleText(entry.reply),
        timeField(entry.time),
        visibleText(entry.copy),
        visibleText(entry.destination),
        entry.acknowledged ? QString::number(*entry.acknowledged) : QString(),
    };
}

QString line(const QStringList& fields)
{
    return fields.join(u'\t') + u'\n';
}

QString summary(const FileTally& tally, qsizetype waiting)
{
    const QList<std::pair<qsizetype, QString>> counts{
        { tally.confirmed + tally.notListed + tally.otherSize, u"%1 confirmed"_s },
        { tally.otherSize, u"%1 listed with another size"_s },
        { tally.notListed, u"%1 not listed"_s },
        { tally.failed, u"%1 failed"_s },
        { tally.unanswered, u"%1 not known"_s },
        { tally.stopped, u"%1 stopped"_s },
        { tally.leftOut, u"%1 left out"_s },
        { tally.removed, u"%1 removed"_s },
        { waiting, u"%1 waiting"_s },
    };
    QStringList parts;
    for (const auto& [count, text] : counts) {
        if (count > 0) {
            parts.append(text.arg(QLocale().toString(count)));
        }
    }
    return parts.join(u", "_s);
}

} // namespace HistoryText
