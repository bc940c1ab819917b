#include "CertificateText.h"

#include "DateText.h"
#include "VisibleText.h"

using namespace Qt::StringLiterals;

namespace {

QString dateText(const QDateTime& moment)
{
    return moment.isValid() ? shortDateShortTimeText(moment) : u"an unknown date"_s;
}

/// A name that a server has chosen, no longer than a name has to be.
QString shortened(const QString& name)
{
    constexpr qsizetype most = 60;
    return name.size() <= most ? name : name.first(most / 2) + u'…' + name.last(most / 2);
}

/// Whom the certificate was made for, as far as it says so.
QString hostsText(const ServerCertificate& certificate)
{
    constexpr qsizetype most = 3;
    QStringList hosts;
    for (const QString& host : certificate.hosts.first(qMin(most, certificate.hosts.size()))) {
        hosts.append(u"“%1”"_s.arg(shortened(visibleText(host))));
    }
    if (certificate.hosts.size() > most) {
        hosts.append(u"others"_s);
    }
    return hosts.isEmpty() ? u"no server"_s : hosts.join(u", "_s);
}

QString problemText(CertificateProblem problem, const CertificateQuestion& question, const QDateTime& now)
{
    const ServerCertificate& certificate = question.certificate;
    switch (problem) {
    case CertificateProblem::SelfSigned:
        return u"It vouches for itself: nobody that this computer trusts has signed it."_s;
    case CertificateProblem::UnknownIssuer:
        return u"Nobody that this computer trusts has signed it."_s;
    case CertificateProblem::Expired:
        return certificate.validUntil < now ? u"It expired on %1."_s.arg(dateText(certificate.validUntil))
                                            : u"One that it depends on has expired."_s;
    case CertificateProblem::NotYetValid:
        return certificate.validFrom > now ? u"It is not valid before %1."_s.arg(dateText(certificate.validFrom))
                                           : u"One that it depends on is not valid yet."_s;
    case CertificateProblem::WrongHost:
        return u"It was made for %1, not for “%2”."_s.arg(hostsText(certificate), visibleText(question.host));
    case CertificateProblem::Revoked:
        return u"Who signed it has taken it back."_s;
    case CertificateProblem::Invalid:
        break;
    }
    return u"It is not sound: its signature is wrong or too weak, or it was made for another purpose."_s;
}

} // namespace

QStringList problemTexts(const CertificateQuestion& question, const QDateTime& now)
{
    QStringList texts;
    for (const CertificateProblem problem : question.certificate.problems) {
        texts.append(problemText(problem, question, now));
    }
    return texts;
}

QString serverText(const CertificateQuestion& question)
{
    const QString host = visibleText(question.host);
    return u"%1, port %2"_s.arg(host.contains(u':') ? u"[%1]"_s.arg(host) : host, QString::number(question.port));
}

QString validityText(const ServerCertificate& certificate)
{
    return u"%1 to %2"_s.arg(dateText(certificate.validFrom), dateText(certificate.validUntil));
}

QString fingerprintLines(const QByteArray& fingerprint)
{
    const qsizetype half = fingerprint.size() / 2;
    const QByteArray lines = fingerprint.first(half).toHex(':') + '\n' + fingerprint.sliced(half).toHex(':');
    return QString::fromLatin1(lines.toUpper());
}
