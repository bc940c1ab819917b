#pragma once

#include "FMFailure.h"
#include "FTPStream.h"
#include "Reply.h"

#include <QByteArray>
#include <QList>

#include <optional>

// From what streams and conversations know of a failure to what the library says of it. Pure functions.

/// Of a stream that has ended with @p error, whose last reply was @p reply; @p isEncrypted: or was to be.
FMFailure failureOf(const FTPStreamError& error, const QString& reply, bool isEncrypted);

/// Of a command that @p reply has refused. @p line: the command; null for the greeting, which may turn everybody away.
FMFailure failureOf(const Reply& reply, const QByteArray& line, const QString& password);

/// Of a conversation in which @p lines were said, and @p replies came; @p hasGreeted: behind the greeting. The first
/// refusal, or the first line that begins with 4 or 5.
FMFailure failureOf(const QByteArray& replies, const QList<QByteArray>& lines, bool hasGreeted,
                    const QString& password);
