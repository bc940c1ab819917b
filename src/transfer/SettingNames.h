#pragma once

#include <QString>

/// The names of the settings, as keys of UserDefaults.
namespace SettingNames {

inline const QString address = QStringLiteral("Address");
inline const QString username = QStringLiteral("Username");
inline const QString password = QStringLiteral("Password");
inline const QString ftpFolder = QStringLiteral("FTPFolder");
inline const QString encryption = QStringLiteral("Encryption");
inline const QString openDownloadedFiles = QStringLiteral("OpenDownloadedFiles");
inline const QString keepHistory = QStringLiteral("KeepHistory");
inline const QString webAddress = QStringLiteral("WebAddress");
inline const QString retryFailedFiles = QStringLiteral("RetryFailedFiles");
inline const QString droppedFolders = QStringLiteral("DroppedFolders");
inline const QString askBeforeReplacing = QStringLiteral("AskBeforeReplacing");
inline const QString doNotShowWelcomeWindowAgain = QStringLiteral("DoNotShowWelcomeWindowAgain");

} // namespace SettingNames
