#pragma once

#include <QByteArray>
#include <QString>

/// The location of the item @p name in the folder @p folder. @p rawName: the bytes that the server knows it by, where
/// they are no UTF-8; else null. Null when there is no such location.
QString locationOfItem(const QString& folder, const QString& name, const QByteArray& rawName);

/// The path of the local file in @p folder that the item @p name is downloaded to.
QString localFileOfItem(const QString& folder, const QString& name);
