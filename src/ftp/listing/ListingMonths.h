#pragma once

#include <QByteArrayView>

/// The month, 1 to 12, that @p word abbreviates in English or another of the languages in which servers write their
/// listings, in small or capital letters, with or without a full stop; 0 when it is no month.
int listingMonth(QByteArrayView word);

/// Whether @p word is an English weekday of three letters.
bool isListingWeekday(QByteArrayView word);
