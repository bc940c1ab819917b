#include "CertificateSheets.h"

#include "CertificateText.h"
#include "SheetQueue.h"
#include "VisibleText.h"

using namespace Qt::StringLiterals;

void CertificateSheets::askToTrust(const CertificateQuestion& question, std::function<void(bool)> answer)
{
    if (m_window == nullptr) {
        answer(false);
        return;
    }
    const ServerCertificate& certificate = question.certificate;
    const QString problems = problemTexts(question, QDateTime::currentDateTimeUtc()).join(u"\n• "_s);
    SheetQueue::of(*m_window).raise(
        { .title = u"Trust This Server?"_s,
          .text = u"The server has shown a certificate that this computer does not trust:\n\n• %1\n\nAsk who runs "
                  "the server for the fingerprint, and trust the certificate only if it is the one below. "
                  "Otherwise somebody else may be reading the password and the files."_s.arg(problems),
          .defaultButton = u"Cancel"_s,
          .alternateButton = u"Trust"_s,
          .onAlternate = [answer] { answer(true); },
          .onDefault = [answer] { answer(false); },
          .details = { { u"Server"_s, serverText(question) },
                       { u"Issued to"_s, visibleText(certificate.subject) },
                       { u"Issued by"_s, visibleText(certificate.issuer) },
                       { u"Valid"_s, validityText(certificate) },
                       { u"Fingerprint (SHA-256)"_s, fingerprintLines(certificate.fingerprint), true } } });
}

void CertificateSheets::certificateHasChanged(const CertificateQuestion& question, const QByteArray& trustedFingerprint)
{
    if (m_window == nullptr) {
        return;
    }
    SheetQueue::of(*m_window).raise(
        { .title = u"The Server’s Certificate Has Changed"_s,
          .text = u"The server has shown another certificate than the one that you trust. Somebody else may be "
                  "answering in its place, so the connection was refused, and nothing was sent.\n\nIf who runs the "
                  "server says that there is a new certificate, choose “Forget Certificate” in the preferences. "
                  "You are then asked about the new one."_s,
          .details = { { u"Server"_s, serverText(question) },
                       { u"Trusted (SHA-256)"_s, fingerprintLines(trustedFingerprint), true },
                       { u"Shown (SHA-256)"_s, fingerprintLines(question.certificate.fingerprint), true } } });
}

void CertificateSheets::trustIsDamaged(const QString& filePath, std::function<void(bool)> answer)
{
    if (m_window == nullptr) {
        answer(false);
        return;
    }
    SheetQueue::of(*m_window).raise(
        { .title = u"Trusted Certificates Not Readable"_s,
          .text
          = u"The file “%1”, which says whose certificates you trust, is damaged. Until you decide, servers are "
            "refused whose certificates this computer does not trust by itself.\n\nWhen the file is mended, nothing "
            "is lost. “Forget” keeps it as “%1.bak” and forgets what cannot be read in it; you are then asked about "
            "these servers again, and should compare their fingerprints again."_s.arg(visibleText(filePath)),
          .defaultButton = u"Cancel"_s,
          .alternateButton = u"Forget"_s,
          .onAlternate = [answer] { answer(true); },
          .onDefault = [answer] { answer(false); } });
}

void CertificateSheets::damageCannotBeForgotten(const QString& filePath)
{
    if (m_window != nullptr) {
        SheetQueue::of(*m_window).raise(
            { .title = u"Trusted Certificates Not Written"_s,
              .text = u"“%1” could not be written, or not be kept as “%1.bak”. It is as damaged as before, and servers "
                      "are still refused whose certificates this computer does not trust by itself."_s.arg(
                          visibleText(filePath)) });
    }
}
