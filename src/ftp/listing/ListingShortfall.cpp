#include "ListingShortfall.h"

#include "ListingColumns.h"

#include <QList>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView wordsOfShortfall
    = uR"(\btruncated|\bincomplete|\bnot complete|\baborted)"
      uR"(|\b(?:permission|access) denied|\bnot a directory|\binput/output error)"
      uR"(|\b(?:unable to|failed to|could ?n[o'’]t|can ?not|can['’]t) (?:read|open|list|access|stat)\b)"
      uR"(|\b(?:too many|limited to|only the first)\b.{0,20}\b(?:files|entries|items|matches)\b)";

} // namespace

QString shortfallIn(const Reply& reply)
{
    // Not static: nothing that goes at the end of a program is made so late.
    const QRegularExpression words(wordsOfShortfall.toString(), QRegularExpression::CaseInsensitiveOption);
    const auto saysIt = [&words](const QByteArray& line) { return words.match(QString::fromUtf8(line)).hasMatch(); };
    const QList<QByteArray> earlier = reply.earlier.split('\n');
    for (qsizetype line = 0; line < reply.readableEarlier.size(); ++line) {
        if (saysIt(earlier[line])) {
            return reply.readableEarlier[line];
        }
    }
    return saysIt(reply.text) ? reply.readable : QString();
}

bool isListingComplaint(QByteArrayView line)
{
    const QByteArrayView subject = takeColumn(line);
    const bool isProgram = subject == "ls:" || subject.endsWith("/ls:");
    const bool isListedFolder = subject == ".:";
    return (isProgram || isListedFolder) && !withoutLeadingBlanks(line).isEmpty();
}
