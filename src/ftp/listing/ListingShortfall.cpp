#include "ListingShortfall.h"

#include "ListingColumns.h"

#include <QList>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

bool saysNotWhole(const QByteArray& line)
{
    const QRegularExpression words( // Not static: nothing that goes at the end of a program is made so late.
        uR"(\btruncated|\bincomplete|\bnot complete|\baborted)"
        uR"(|\b(?:permission|access) denied|\bnot a directory|\binput/output error)"
        uR"(|\b(?:unable to|failed to|could ?n[o'’]t|can ?not|can['’]t) (?:read|open|list|access|stat)\b)"
        uR"(|\b(?:too many|limited to|only the first)\b.{0,20}\b(?:files|entries|items|matches)\b)"_s,
        QRegularExpression::CaseInsensitiveOption);
    return words.match(QString::fromUtf8(line)).hasMatch();
}

} // namespace

QString shortfallIn(const Reply& reply)
{
    const QList<QByteArray> earlier = reply.earlier.split('\n');
    for (qsizetype line = 0; line < reply.readableEarlier.size(); ++line) {
        if (saysNotWhole(earlier[line])) {
            return reply.readableEarlier[line];
        }
    }
    return saysNotWhole(reply.text) ? reply.readable : QString();
}

bool isListingComplaint(QByteArrayView line)
{
    const QByteArrayView subject = takeColumn(line);
    const bool isProgram = subject == "ls:" || subject.endsWith("/ls:");
    const bool isListedFolder = subject == ".:";
    return (isProgram || isListedFolder) && !withoutLeadingBlanks(line).isEmpty();
}
