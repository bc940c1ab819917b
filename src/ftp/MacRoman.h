#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// The encoding Mac OS Roman, in which every byte is a character. Listings are read in it, so that no name is lost.

/// One character for each byte of @p bytes. Never null.
QString fromMacRoman(QByteArrayView bytes);

/// The bytes of @p text; std::nullopt when it holds a character that Mac OS Roman has not.
std::optional<QByteArray> toMacRoman(QStringView text);
