#include "FailureKinds.h"

#include "ReplyParser.h"

using namespace Qt::StringLiterals;

namespace {

bool isOfLogin(const QByteArray& line)
{
    return line.isNull() || line.startsWith("USER ") || line.startsWith("PASS ");
}

FMFailure::Kind kindOfRefusal(const QByteArray& line)
{
    if (isOfLogin(line)) {
        return FMFailure::Kind::LoginRefused;
    }
    return line.startsWith("CWD ") ? FMFailure::Kind::FolderRefused : FMFailure::Kind::Refused;
}

FMFailure::Kind kindOfRefusal(FTPStreamError::Stage stage)
{
    switch (stage) {
    case FTPStreamError::Stage::Resolving:
    case FTPStreamError::Stage::Connecting:
    case FTPStreamError::Stage::Securing:
    case FTPStreamError::Stage::LoggingIn:
        return FMFailure::Kind::LoginRefused;
    case FTPStreamError::Stage::EnteringFolder:
        return FMFailure::Kind::FolderRefused;
    case FTPStreamError::Stage::Acting:
        break;
    }
    return FMFailure::Kind::Refused;
}

/// Some servers repeat the password.
QString withoutPassword(QString words, const QString& password)
{
    return password.isEmpty() ? words : words.replace(password, u"****"_s);
}

} // namespace

FMFailure failureOf(const FTPStreamError& error, const QString& reply, bool isEncrypted)
{
    using enum FMFailure::Kind;
    switch (error.domain) {
    case FTPStreamError::Domain::Certificate:
        return { .kind = Certificate };
    case FTPStreamError::Domain::Unsendable:
        return { .kind = Unusable };
    case FTPStreamError::Domain::FTP:
        return { .kind = kindOfRefusal(error.stage), .code = error.code, .words = reply };
    case FTPStreamError::Domain::None:
        return { .kind = Lost };
    case FTPStreamError::Domain::Silent:
    case FTPStreamError::Domain::Other:
        break;
    }
    switch (error.stage) {
    case FTPStreamError::Stage::Resolving:
        return { .kind = NoSuchHost };
    case FTPStreamError::Stage::Connecting:
        return { .kind = CannotConnect };
    case FTPStreamError::Stage::Securing:
        if (isEncrypted && !reply.isNull() && error.domain == FTPStreamError::Domain::Other) {
            return { .kind = NotEncrypted };
        }
        break;
    case FTPStreamError::Stage::LoggingIn:
    case FTPStreamError::Stage::EnteringFolder:
    case FTPStreamError::Stage::Acting:
        break;
    }
    return { .kind = error.domain == FTPStreamError::Domain::Silent ? Silent : Lost };
}

FMFailure failureOf(const Reply& reply, const QByteArray& line, const QString& password)
{
    return { .kind = kindOfRefusal(line),
             .code = reply.code,
             .words = withoutPassword(QString::fromUtf8(QByteArray::number(reply.code) + ' ' + reply.text), password) };
}

FMFailure failureOf(const QByteArray& replies, const QList<QByteArray>& lines, bool hasGreeted, const QString& password)
{
    ReplyParser parser;
    parser.append(replies);
    qsizetype answered = hasGreeted ? 0 : -1;
    while (const std::optional<Reply> reply = parser.next()) {
        if (reply->isNegative()) {
            return failureOf(*reply, lines.value(answered), password);
        }
        answered += reply->isPreliminary() ? 0 : 1;
    }
    // In a greeting or an answer of many lines, or in what is none.
    for (const QByteArray& line : replies.split('\n')) {
        if (line.startsWith('4') || line.startsWith('5')) {
            const int code = line.left(3).toInt();
            return { .kind = FMFailure::Kind::Refused,
                     .code = code >= 400 && code < 600 ? code : 0,
                     .words = withoutPassword(QString::fromUtf8(line.trimmed()), password) };
        }
    }
    return { .kind = FMFailure::Kind::Lost };
}
