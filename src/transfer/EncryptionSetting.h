#pragma once

#include "FTPEncryption.h"

#include <QString>

class UserDefaults;

/// The setting "Encryption" in @p defaults: none when it is absent or "none", required when it is "required". Any other
/// value, of whatever kind, counts as required, so that a mistake in it never sends the password unencrypted; and while
/// the file holds nothing, because somebody is about to write it, what it said before counts. Required also where the
/// file cannot be read and nobody knows what it said.
FTPEncryption encryptionSetting(const UserDefaults& defaults);

/// What stands for @p encryption in that setting.
QString encryptionValue(FTPEncryption encryption);
