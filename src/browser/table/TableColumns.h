#pragma once

#include <QStringList>

/// The columns of the listing table. A column is known by its title, which is also the key that it is sorted by.
namespace TableColumns {

inline const QString name = QStringLiteral("Name");
inline const QString size = QStringLiteral("Size");
inline const QString type = QStringLiteral("Type");
inline const QString date = QStringLiteral("Date");
inline const QString mode = QStringLiteral("Mode");

inline const QStringList all{ name, size, type, date, mode };

} // namespace TableColumns
