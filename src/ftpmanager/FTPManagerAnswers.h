#pragma once

#include <QByteArray>
#include <QString>

// What a server has answered in a conversation over a control connection. Pure functions, safe on any thread.

/// Bytes of answers that are read at most; a server that says more is not listened to.
constexpr qsizetype mostAnswers = 1 << 20;

/// Everything that a server has said.
struct Answers {
    QByteArray text; ///< Each part of it, as it was read, begins a line.
    QByteArray replies; ///< As it came.
    bool isWhole = false; ///< Whether nothing can be missing.
};

/// Adds the bytes of one read to the text so far. Every part begins a line, even when the server's line was cut between
/// two reads.
void appendAnswer(QByteArray& text, QByteArrayView part);

/// Whether no line of @p text begins with 4 or 5.
bool areGoodAnswers(const QString& text);
