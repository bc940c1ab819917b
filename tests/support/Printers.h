#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

// Without these GoogleTest shows Qt's texts as byte pairs.

inline void PrintTo(const QString& text, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << (text.isNull() ? "(null)" : '"' + text.toStdString() + '"');
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out) // NOLINT(readability-identifier-naming)
{
    *out << '"' << bytes.toPercentEncoding(" !\"#$&'()*+,/:;<=>?@[]^`{|}").toStdString() << '"';
}

inline void PrintTo(const QStringList& list, std::ostream* out) // NOLINT(readability-identifier-naming)
{
    *out << "[";
    for (const QString& text : list) {
        *out << "\n    ";
        PrintTo(text, out);
    }
    *out << "]";
}
